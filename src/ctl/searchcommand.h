#pragma once
// cwctl search: the events of any range of days from the session index,
// filtered as the log view filters a day and printed as cwctl day prints one.

#include "ctl/ctlcommand.h"

int RunSearch(const QString& site, const QStringList& args);

inline constexpr CCtlCommand kSearchCommand{
    "search",
    "search [--from YYYY-MM-DD] [--to YYYY-MM-DD] [--server S [--port P]] [--user DOMAIN\\user]\n"
    "      [--domain D] [--group DOMAIN\\group] [--action connect|disconnect|denied] [--reason N]\n"
    "      [--columns MASK] [--format csv|jsonl] [--cached]\n"
    "      Every day log's matching events, oldest day first, as cwctl day prints them. The index\n"
    "      is refreshed first unless --cached; days it does not hold are named on the standard error.",
    &RunSearch};
