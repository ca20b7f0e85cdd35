#pragma once
// A subcommand of cwctl: its name, its usage line and what it runs on the
// arguments after its name. Results: 0 done, 1 the site or the data cannot be
// read (said on the standard error stream), 2 bad arguments.

#include <QByteArray>
#include <QIODevice>
#include <QString>
#include <QStringList>

#include <functional>

class QCommandLineParser;

struct CCtlCommand {
    const char* name;
    const char* usage;
    int (*run)(const QString& site, const QStringList& args);
};

namespace CtlExit {
inline constexpr int Done = 0;
inline constexpr int Unreadable = 1;
inline constexpr int BadArguments = 2;
} // namespace CtlExit

// Says why on the standard error stream and returns the code.
int CtlFail(const QString& message, int code);

// --format: csv when it is not given; nothing (after saying why) when it is
// neither csv nor jsonl.
enum class CtlFormat { Csv, JsonLines, Bad };
CtlFormat CtlFormatOf(const QCommandLineParser& parser);

// Prints bytes on the standard output; the exit code.
int CtlPrint(const QByteArray& bytes);
// Prints a list: what csv writes, or the lines jsonLine gives for 0 to
// count - 1. The exit code.
int CtlPrintList(CtlFormat format, const std::function<bool(QIODevice&)>& csv, qsizetype count,
                 const std::function<QByteArray(qsizetype)>& jsonLine);
