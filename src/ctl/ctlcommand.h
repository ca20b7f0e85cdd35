#pragma once
// A subcommand of cwctl: its name, its usage line and what it runs on the
// arguments after its name. Results: 0 done, 1 the site or the data cannot be
// read (said on the standard error stream), 2 bad arguments.

#include <QString>
#include <QStringList>

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
