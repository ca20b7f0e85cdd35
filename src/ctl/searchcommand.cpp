#include "ctl/searchcommand.h"

#include "core/log/logmodel.h"
#include "ctl/ctlsite.h"
#include "ctl/daycommand.h"
#include "ctl/indexcommand.h"

#include <QCommandLineParser>

#include <cstdio>

using namespace Qt::StringLiterals;

int RunSearch(const QString& site, const QStringList& args) {
    QCommandLineParser parser;
    for (const char* name :
         {"server", "port", "user", "domain", "group", "columns", "format", "from", "to", "action", "reason"})
        parser.addOption(QCommandLineOption(QString::fromLatin1(name), {}, u"value"_s));
    parser.addOption(QCommandLineOption(u"cached"_s));
    if (!parser.parse(QStringList{u"search"_s} + args))
        return CtlFail(parser.errorText(), CtlExit::BadArguments);
    if (!parser.positionalArguments().isEmpty())
        return CtlFail(u"search takes options only"_s, CtlExit::BadArguments);
    const CtlFormat format = CtlFormatOf(parser);
    if (format == CtlFormat::Bad)
        return CtlExit::BadArguments;
    bool ok = true;
    const quint32 mask = parser.isSet(u"columns"_s) ? parser.value(u"columns"_s).toUInt(&ok, 0) : 0;
    if (!ok)
        return CtlFail(u"--columns takes a number (decimal, or 0x and hexadecimal)"_s, CtlExit::BadArguments);
    CSessionQuery query;
    for (const auto& [name, date] : {std::pair{u"from"_s, &query.from}, std::pair{u"to"_s, &query.to}})
        if (parser.isSet(name) && !(*date = QDate::fromString(parser.value(name), u"yyyy-MM-dd"_s)).isValid())
            return CtlFail(u"--%1 takes a date, YYYY-MM-DD"_s.arg(name), CtlExit::BadArguments);
    if (query.from.isValid() && query.to.isValid() && query.to < query.from)
        return CtlFail(u"--to is before --from"_s, CtlExit::BadArguments);
    if (parser.isSet(u"action"_s)) {
        const QStringList actions{u"disconnect"_s, u"connect"_s, u"denied"_s};
        query.action = int(actions.indexOf(parser.value(u"action"_s).toLower()));
        if (query.action < 0)
            return CtlFail(u"--action is connect, disconnect or denied"_s, CtlExit::BadArguments);
    }
    if (parser.isSet(u"reason"_s) && ((query.reason = parser.value(u"reason"_s).toInt(&ok)) < 0 || !ok))
        return CtlFail(u"--reason takes a number from 0"_s, CtlExit::BadArguments);
    CLogFilter::Selection selection;
    QString error;
    if (!DaySelection(parser, &selection, &error))
        return CtlFail(error, CtlExit::BadArguments);

    CCtlSite ctl;
    if (!ctl.Open(site, &error))
        return CtlFail(error, CtlExit::Unreadable);
    query.filter = CLogFilter::ForSelection(selection, ctl.Environment().Network(), ctl.Prompter());
    if (ctl.Prompter().FailureShown())
        return CtlExit::Unreadable;
    const CHistorySource source = CHistorySource::Of(ctl.Doc(), ctl.Environment());
    CSessionIndex index;
    if (parser.isSet(u"cached"_s)) {
        QString notice;
        if (!index.Open(source.indexFile, &notice, &error))
            return CtlFail(error, CtlExit::Unreadable);
        if (!notice.isEmpty())
            std::fprintf(stderr, "cwctl: %s\n", notice.toLocal8Bit().constData());
    } else {
        CSessionIndex::Refreshed refreshed;
        if (!CtlRefreshIndex(index, source, false, &refreshed))
            return CtlExit::Unreadable;
    }
    const CSessionAnswer answer = index.Search(query, source.Files(), source.shifts);
    if (!answer.error.isEmpty())
        return CtlFail(answer.error, CtlExit::Unreadable);
    if (!answer.missing.empty()) {
        QStringList days;
        for (QDate day : answer.missing)
            days << day.toString(Qt::ISODate);
        std::fprintf(stderr, "cwctl: %d day logs of the range are not in the index: %s\n", int(days.size()),
                     days.join(u' ').toLocal8Bit().constData());
    }

    CLogModel model;
    model.SetColumns(mask != 0 ? mask : ctl.Doc().m_historyColumns);
    model.SetFormat(SearchCellFormat(ctl.Doc()));
    model.Fill(answer.store, CLogFilter());
    return CtlPrintList(
        format, [&](QIODevice& out) { return model.WriteCsv(out); }, qsizetype(answer.store->Count()),
        [&](qsizetype i) { return DayJsonLine(answer.store->Record(std::size_t(i))); });
}
