#include "ctl/statscommand.h"

#include "core/app/ansitext.h"
#include "ctl/ctlsite.h"

#include <QDate>

using namespace Qt::StringLiterals;

int OpenCtlDay(CCtlSite& ctl, const QString& site, const QStringList& positional, const char* command) {
    const QDate day = positional.size() == 1 ? QDate::fromString(positional[0], u"yyyy-MM-dd"_s) : QDate();
    if (!day.isValid())
        return CtlFail(u"%1 takes one date, YYYY-MM-DD"_s.arg(QLatin1StringView(command)),
                       CtlExit::BadArguments);
    QString error;
    if (!ctl.Open(site, &error))
        return CtlFail(error, CtlExit::Unreadable);
    if (!ctl.LoadDay(day, &error))
        return CtlFail(error, CtlExit::Unreadable);
    return -1;
}

int RunStats(const QString& site, const QStringList& args) {
    for (const QString& arg : args)
        if (arg.startsWith(u'-'))
            return CtlFail(u"unknown option %1"_s.arg(arg), CtlExit::BadArguments);
    CCtlSite ctl;
    if (const int code = OpenCtlDay(ctl, site, args, "stats"); code >= 0)
        return code;
    CCwadminDoc& doc = ctl.Doc();
    doc.Stat_Generate();

    // The panel's labels and values in two columns, as the view places them.
    QString panel;
    for (const CDayStatistics::PanelLine& line : doc.Statistics().Panel())
        panel += (line.value.isEmpty() ? line.label : line.label.leftJustified(27) + line.value) + u"\r\n"_s;
    const QByteArray bytes = QByteArray::fromStdString(CAnsi::FromQString(panel + u"\r\n"_s)) +
                             doc.Statistics().SaveText(doc.ShownDayText());
    return CtlPrint(bytes);
}
