#pragma once
// cwctl stats: the statistics of one day, as the statistics view shows them
// (the panel's lines) and saves them (the hourly table).

#include "ctl/ctlcommand.h"

class CCtlSite;

int RunStats(const QString& site, const QStringList& args);

// Opens the site and loads the day named by the one argument YYYY-MM-DD; on
// failure the exit code, said on the standard error stream, else -1.
int OpenCtlDay(CCtlSite& ctl, const QString& site, const QStringList& positional, const char* command);

inline constexpr CCtlCommand kStatsCommand{
    "stats",
    "stats YYYY-MM-DD\n"
    "      The day's figures as the statistics view shows them, then its hourly table\n"
    "      exactly as \"Save Stats to File\" writes it.",
    &RunStats};
