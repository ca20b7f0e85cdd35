#pragma once
// cwctl day: one day of session history, filtered as the log view filters it,
// as the log view's saved file (csv) or one JSON object per event (jsonl).

#include "core/log/logfilter.h"
#include "ctl/ctlcommand.h"

class QCommandLineParser;

int RunDay(const QString& site, const QStringList& args);
// The selection --server/--port/--user/--domain/--group stand for, as the node
// tree would have stored it; false with error when they contradict.
bool DaySelection(const QCommandLineParser& parser, CLogFilter::Selection* selection, QString* error);
// One event as a line of JSON with every field.
QByteArray DayJsonLine(const LogRecord& r);

inline constexpr CCtlCommand kDayCommand{
    "day",
    "day YYYY-MM-DD [--server S [--port P]] [--user DOMAIN\\user] [--domain D] [--group DOMAIN\\group]\n"
    "      [--columns MASK] [--format csv|jsonl]\n"
    "      The day's events of the whole site, or of one server, port, user, domain or group.\n"
    "      csv: exactly the log view's \"Save All Events to File\" (the columns of MASK, else the\n"
    "      console's \"HistoryViewColumns\"); jsonl: every field of every event.",
    &RunDay};
