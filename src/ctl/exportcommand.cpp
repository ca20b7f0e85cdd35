#include "ctl/exportcommand.h"

#include "ctl/ctlsite.h"

#include <QCommandLineParser>
#include <QDate>
#include <QFileInfo>

#include <cstdio>

using namespace Qt::StringLiterals;

int RunExport(const QString& site, const QStringList& args) {
    QCommandLineParser parser;
    parser.addOption(QCommandLineOption(u"all"_s));
    for (const char* name : {"last", "from", "to"})
        parser.addOption(QCommandLineOption(QString::fromLatin1(name), {}, u"value"_s));
    if (!parser.parse(QStringList{u"export"_s} + args))
        return CtlFail(parser.errorText(), CtlExit::BadArguments);
    const bool all = parser.isSet(u"all"_s), last = parser.isSet(u"last"_s),
               range = parser.isSet(u"from"_s) || parser.isSet(u"to"_s);
    if (int(all) + int(last) + int(range) != 1)
        return CtlFail(u"choose one of --all, --last N and --from D --to D"_s, CtlExit::BadArguments);
    if (parser.positionalArguments().size() > 1)
        return CtlFail(u"export writes one FILE"_s, CtlExit::BadArguments);

    CSessionExportSettings settings;
    // Made absolute now: opening the site moves to the console's folder.
    if (!parser.positionalArguments().isEmpty())
        settings.fileName = QFileInfo(parser.positionalArguments().front()).absoluteFilePath();
    if (last) {
        settings.mode = SessionExportMode::LastDays;
        bool ok = false;
        settings.days = parser.value(u"last"_s).toInt(&ok);
        if (!ok)
            return CtlFail(u"--last takes a number of days"_s, CtlExit::BadArguments);
    } else if (range) {
        settings.mode = SessionExportMode::Range;
        settings.from = QDate::fromString(parser.value(u"from"_s), u"yyyy-MM-dd"_s);
        settings.to = QDate::fromString(parser.value(u"to"_s), u"yyyy-MM-dd"_s);
        if (!settings.from.isValid() || !settings.to.isValid())
            return CtlFail(u"--from and --to take a date each, YYYY-MM-DD"_s, CtlExit::BadArguments);
    }
    if (const QString problem = settings.Problem(); !problem.isEmpty())
        return CtlFail(problem, CtlExit::BadArguments);

    CCtlSite ctl;
    QString error;
    if (!ctl.Open(site, &error))
        return CtlFail(error, CtlExit::Unreadable);
    // Failures are reported through the prompter, on the standard error stream.
    const CSessionExportResult result = ctl.Doc().ExportSessions(settings);
    for (const QString& note : result.notes)
        std::fprintf(stderr, "cwctl: %s\n", note.toLocal8Bit().constData());
    if (!result.written)
        return CtlExit::Unreadable;
    std::printf("%lld events from %d day logs written to %s\n", static_cast<long long>(result.events),
                result.logs, settings.fileName.toLocal8Bit().constData());
    return CtlExit::Done;
}
