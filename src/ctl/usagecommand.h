#pragma once
// cwctl usage: the sessions of one day per server and port, as the usage graph
// draws them: one interval per line in the graph's order.

#include "ctl/ctlcommand.h"

int RunUsage(const QString& site, const QStringList& args);

inline constexpr CCtlCommand kUsageCommand{
    "usage",
    "usage YYYY-MM-DD [--format csv|jsonl]\n"
    "      The day's usage intervals: server, port, start and end (seconds since 1970),\n"
    "      servers and ports in the usage graph's order.",
    &RunUsage};
