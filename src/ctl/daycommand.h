#pragma once
// cwctl day: one day of session history, filtered as the log view filters it,
// as the log view's saved file (csv) or one JSON object per event (jsonl).

#include "ctl/ctlcommand.h"

int RunDay(const QString& site, const QStringList& args);

inline constexpr CCtlCommand kDayCommand{
    "day",
    "day YYYY-MM-DD [--server S [--port P]] [--user DOMAIN\\user] [--domain D] [--group DOMAIN\\group]\n"
    "      [--columns MASK] [--format csv|jsonl]\n"
    "      The day's events of the whole site, or of one server, port, user, domain or group.\n"
    "      csv: exactly the log view's \"Save All Events to File\" (the columns of MASK, else the\n"
    "      console's \"HistoryViewColumns\"); jsonl: every field of every event.",
    &RunDay};
