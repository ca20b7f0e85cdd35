#pragma once
// cwctl index: builds or brings up to date the console's session index from
// the day logs, with a progress line when the standard error is a terminal.

#include "core/search/historysource.h"
#include "ctl/ctlcommand.h"

int RunIndex(const QString& site, const QStringList& args);

// Opens the source's index (a notice on the standard error when it was set
// aside) and refreshes it; false when it cannot be used, said on the standard error.
bool CtlRefreshIndex(CSessionIndex& index, const CHistorySource& source, bool progressLine,
                     CSessionIndex::Refreshed* refreshed);

inline constexpr CCtlCommand kIndexCommand{
    "index",
    "index\n"
    "      Builds or refreshes the session index from the day logs (LogData and OldData); the\n"
    "      index is the console's own, beside its settings, and never written on the share.",
    &RunIndex};
