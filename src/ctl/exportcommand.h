#pragma once
// cwctl export: the console's session export into FILE, the same bytes as the
// console writes for the same choice.

#include "ctl/ctlcommand.h"

int RunExport(const QString& site, const QStringList& args);

inline constexpr CCtlCommand kExportCommand{
    "export",
    "export (--all | --last N | --from YYYY-MM-DD --to YYYY-MM-DD) FILE\n"
    "      Every day log; today and the N - 1 days before; or From up to the day before To\n"
    "      (From alone when To is From). FILE is replaced only by a complete export.",
    &RunExport};
