#include "ctl/usagecommand.h"

#include "core/app/ansitext.h"
#include "ctl/ctlsite.h"
#include "ctl/statscommand.h"

#include <QCommandLineParser>
#include <QJsonDocument>
#include <QJsonObject>

using namespace Qt::StringLiterals;

int RunUsage(const QString& site, const QStringList& args) {
    QCommandLineParser parser;
    parser.addOption(QCommandLineOption(u"format"_s, {}, u"value"_s));
    if (!parser.parse(QStringList{u"usage"_s} + args))
        return CtlFail(parser.errorText(), CtlExit::BadArguments);
    const CtlFormat format = CtlFormatOf(parser);
    if (format == CtlFormat::Bad)
        return CtlExit::BadArguments;
    CCtlSite ctl;
    if (const int code = OpenCtlDay(ctl, site, parser.positionalArguments(), "usage"); code >= 0)
        return code;
    const CUsageGraph graph = CUsageGraph::Build(*ctl.Doc().LogRecords());

    QByteArray bytes;
    if (format == CtlFormat::Csv)
        bytes = "Server,Port,Start,End\r\n";
    for (const CUsageServer& server : graph.servers)
        for (const CUsagePort& port : server.ports)
            for (const CUsageInterval& interval : port.intervals) {
                const qint64 end = interval.start + interval.length;
                if (format == CtlFormat::Csv) {
                    bytes += QByteArray::fromStdString(CAnsi::FromQString(
                        u"%1,%2,%3,%4\r\n"_s.arg(server.name, port.name).arg(interval.start).arg(end)));
                } else {
                    const QJsonObject object{{u"server"_s, server.name},
                                             {u"port"_s, port.name},
                                             {u"start"_s, interval.start},
                                             {u"end"_s, end}};
                    bytes += QJsonDocument(object).toJson(QJsonDocument::Compact) + '\n';
                }
            }
    return CtlPrint(bytes);
}
