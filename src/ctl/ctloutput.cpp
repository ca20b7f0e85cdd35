#include "ctl/ctlcommand.h"

#include <QCommandLineParser>
#include <QFile>

#include <cstdio>

using namespace Qt::StringLiterals;

CtlFormat CtlFormatOf(const QCommandLineParser& parser) {
    const QString format = parser.isSet(u"format"_s) ? parser.value(u"format"_s) : u"csv"_s;
    if (format == u"csv"_s)
        return CtlFormat::Csv;
    if (format == u"jsonl"_s)
        return CtlFormat::JsonLines;
    CtlFail(u"--format is csv or jsonl"_s, CtlExit::BadArguments);
    return CtlFormat::Bad;
}

namespace {

int WriteOut(const std::function<bool(QIODevice&)>& write) {
    QFile out;
    if (!out.open(stdout, QIODevice::WriteOnly) || !write(out) || !out.flush())
        return CtlFail(u"cannot write to the standard output"_s, CtlExit::Unreadable);
    return CtlExit::Done;
}

} // namespace

int CtlPrint(const QByteArray& bytes) {
    return WriteOut([&](QIODevice& out) { return out.write(bytes) == bytes.size(); });
}

int CtlPrintList(CtlFormat format, const std::function<bool(QIODevice&)>& csv, qsizetype count,
                 const std::function<QByteArray(qsizetype)>& jsonLine) {
    if (format == CtlFormat::Csv)
        return WriteOut(csv);
    return WriteOut([&](QIODevice& out) {
        for (qsizetype i = 0; i < count; ++i) {
            const QByteArray line = jsonLine(i);
            if (out.write(line) != line.size())
                return false;
        }
        return true;
    });
}
