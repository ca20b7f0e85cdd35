// cwctl: the console's command line. Reads a site as the console does and
// prints what it read, in the console's own formats or as JSON lines.

#include "ctl/ctlcommand.h"
#include "ctl/daycommand.h"
#include "ctl/dbcommand.h"
#include "ctl/exportcommand.h"
#include "ctl/indexcommand.h"
#include "ctl/searchcommand.h"
#include "ctl/statscommand.h"
#include "ctl/usagecommand.h"
#include "ctl/userscommand.h"
#include "platform/site/site.h"

#include <QCoreApplication>

#include <array>
#include <cstdio>

using namespace Qt::StringLiterals;

namespace {

constexpr std::array kCommands{kDayCommand,    kStatsCommand, kUsageCommand, kExportCommand,  kUsersCommand,
                               kSearchCommand, kIndexCommand, kDbCommand,    kMigrateCommand, kDeleteCommand};

void PrintUsage(std::FILE* to) {
    std::fprintf(to, "Usage: cwctl [--site DIR] COMMAND ...\n"
                     "  DIR is the site folder (default: $CWADMIN_SITE, else the per-user site).\n"
                     "Commands:\n");
    for (const CCtlCommand& command : kCommands)
        std::fprintf(to, "  %s\n", command.usage);
    std::fprintf(to, "Exit codes: 0 done, 1 the site or the data cannot be read, 2 bad arguments.\n");
}

} // namespace

int CtlFail(const QString& message, int code) {
    std::fprintf(stderr, "cwctl: %s\n", message.toLocal8Bit().constData());
    if (code == CtlExit::BadArguments)
        PrintUsage(stderr);
    return code;
}

int main(int argc, char** argv) {
    QCoreApplication app(argc, argv);
    QStringList args = QCoreApplication::arguments().mid(1);
    QString site = qEnvironmentVariable("CWADMIN_SITE");
    if (site.isEmpty())
        site = QString::fromStdString(OCL::Site::DefaultSiteDir().string());
    while (!args.isEmpty() && args.front().startsWith(u'-')) {
        const QString option = args.takeFirst();
        if (option == u"--help"_s || option == u"-h"_s) {
            PrintUsage(stdout);
            return CtlExit::Done;
        }
        if (option.startsWith(u"--site="_s))
            site = option.mid(7);
        else if (option == u"--site"_s && !args.isEmpty())
            site = args.takeFirst();
        else
            return CtlFail(u"unknown option %1"_s.arg(option), CtlExit::BadArguments);
    }
    if (args.isEmpty())
        return CtlFail(u"no command given"_s, CtlExit::BadArguments);
    const QString name = args.takeFirst();
    for (const CCtlCommand& command : kCommands)
        if (name == QLatin1StringView(command.name))
            return command.run(site, args);
    return CtlFail(u"unknown command %1"_s.arg(name), CtlExit::BadArguments);
}
