#include "ctl/daycommand.h"

#include "core/log/logmodel.h"
#include "ctl/ctlsite.h"

#include <QCommandLineParser>
#include <QDate>
#include <QJsonDocument>
#include <QJsonObject>

#include <cstdio>

using namespace Qt::StringLiterals;

QByteArray DayJsonLine(const LogRecord& r) {
    const QJsonObject object{
        {u"server"_s, r.server},
        {u"port"_s, r.port},
        {u"user"_s, r.user},
        {u"time"_s, r.time},
        {u"lasted"_s, r.lasted},
        {u"action"_s, r.action},
        {u"ipAddress"_s, qint64(r.ipAddress)},
        {u"reason"_s, r.reason},
        {u"ipx"_s, r.ipx},
        {u"netbios"_s, r.netbios},
        {u"bytesIn"_s, r.bytesIn},
        {u"bytesOut"_s, r.bytesOut},
        {u"info"_s, r.info},
    };
    return QJsonDocument(object).toJson(QJsonDocument::Compact) + '\n';
}

bool DaySelection(const QCommandLineParser& parser, CLogFilter::Selection* selection, QString* error) {
    const int chosen = int(parser.isSet(u"server"_s)) + int(parser.isSet(u"user"_s)) +
                       int(parser.isSet(u"domain"_s)) + int(parser.isSet(u"group"_s));
    if (chosen > 1) {
        *error = u"choose one of --server, --user, --domain and --group"_s;
        return false;
    }
    if (parser.isSet(u"port"_s) && !parser.isSet(u"server"_s)) {
        *error = u"--port needs --server"_s;
        return false;
    }
    selection->server = selection->port = selection->domain = selection->group = selection->user = u"*"_s;
    if (parser.isSet(u"server"_s)) {
        selection->server = parser.value(u"server"_s);
        selection->kind = 1;
        if (parser.isSet(u"port"_s)) {
            selection->port = parser.value(u"port"_s);
            selection->kind = 3;
        }
    } else if (parser.isSet(u"domain"_s)) {
        selection->domain = parser.value(u"domain"_s);
        selection->kind = 9;
    } else if (parser.isSet(u"user"_s) || parser.isSet(u"group"_s)) {
        const bool user = parser.isSet(u"user"_s);
        const QString value = parser.value(user ? u"user"_s : u"group"_s);
        const qsizetype slash = value.indexOf(u'\\');
        if (slash <= 0 || slash + 1 == value.size()) {
            *error = user ? u"--user takes DOMAIN\\user"_s : u"--group takes DOMAIN\\group"_s;
            return false;
        }
        selection->domain = value.left(slash);
        (user ? selection->user : selection->group) = value.mid(slash + 1);
        selection->kind = user ? 8 : 10;
    }
    return true;
}

int RunDay(const QString& site, const QStringList& args) {
    QCommandLineParser parser;
    for (const char* name : {"server", "port", "user", "domain", "group", "columns", "format"})
        parser.addOption(QCommandLineOption(QString::fromLatin1(name), {}, u"value"_s));
    if (!parser.parse(QStringList{u"day"_s} + args))
        return CtlFail(parser.errorText(), CtlExit::BadArguments);
    const QStringList positional = parser.positionalArguments();
    const QDate day = positional.size() == 1 ? QDate::fromString(positional[0], u"yyyy-MM-dd"_s) : QDate();
    if (!day.isValid())
        return CtlFail(u"day takes one date, YYYY-MM-DD"_s, CtlExit::BadArguments);
    const CtlFormat format = CtlFormatOf(parser);
    if (format == CtlFormat::Bad)
        return CtlExit::BadArguments;
    bool maskOk = true;
    const quint32 mask = parser.isSet(u"columns"_s) ? parser.value(u"columns"_s).toUInt(&maskOk, 0) : 0;
    if (!maskOk)
        return CtlFail(u"--columns takes a number (decimal, or 0x and hexadecimal)"_s, CtlExit::BadArguments);
    CLogFilter::Selection selection;
    QString error;
    if (!DaySelection(parser, &selection, &error))
        return CtlFail(error, CtlExit::BadArguments);

    CCtlSite ctl;
    if (!ctl.Open(site, &error))
        return CtlFail(error, CtlExit::Unreadable);
    if (!ctl.LoadDay(day, &error))
        return CtlFail(error, CtlExit::Unreadable);
    CCwadminDoc& doc = ctl.Doc();

    const CLogFilter filter =
        CLogFilter::ForSelection(selection, ctl.Environment().Network(), ctl.Prompter());
    if (ctl.Prompter().FailureShown())
        return CtlExit::Unreadable;
    CLogModel model;
    // 0 shows every column, as in the console's setting.
    model.SetColumns(mask != 0 ? mask : doc.m_historyColumns);
    model.SetFormat(doc.LogCellFormat());
    model.Fill(doc.LogRecords(), filter);

    const auto store = doc.LogRecords();
    return CtlPrintList(
        format, [&](QIODevice& out) { return model.WriteCsv(out); }, model.rowCount(),
        [&](qsizetype row) { return DayJsonLine(store->Record(model.RecordAt(int(row)))); });
}
