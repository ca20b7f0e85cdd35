#pragma once
// cwctl db, migrate and delete: the service's database as the Database page
// shows it, and its moves and deletions of session data. The changing
// commands ask nothing and run only with --yes.

#include "ctl/ctlcommand.h"

int RunDb(const QString& site, const QStringList& args);
int RunMigrate(const QString& site, const QStringList& args);
int RunDelete(const QString& site, const QStringList& args);

inline constexpr CCtlCommand kDbCommand{
    "db", "db\n      The database on the master's data share as the Database page shows it, with its sizes.",
    &RunDb};
inline constexpr CCtlCommand kMigrateCommand{
    "migrate",
    "migrate (DAY | --older-than N) --yes\n"
    "      Moves the day log DAY (as \"2026-Nov-23\") to the other folder, from the current to the\n"
    "      migrated session data or back; or every current log older than N days. A log whose name\n"
    "      exists at the target already is deleted and the target kept; one that cannot be copied stays.",
    &RunMigrate};
inline constexpr CCtlCommand kDeleteCommand{
    "delete", "delete DAY --yes\n      Deletes the day log DAY, current or else migrated.", &RunDelete};
