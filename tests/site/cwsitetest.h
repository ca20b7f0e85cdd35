#pragma once
// Reading a site's service files the way the console reads them, for the tests
// of cwsite init and cwsite serve: log values through the console's own parser.

#include "core/log/logvalue.h"
#include "ini/inifile.h"
#include "platform/ansi.h"

#include <QDir>
#include <QFile>
#include <QList>
#include <QMap>
#include <QSet>
#include <QString>

namespace CwsiteTest {

#ifdef CW_CWSITE
inline QString Cwsite() {
    return QStringLiteral(CW_CWSITE);
}
#endif

inline QString FromAnsi(std::string_view text) {
    return QString::fromStdString(OCL::Ansi::ToUtf8(text));
}

inline std::shared_ptr<const OCL::Ini::Document> ReadIni(const QString& file) {
    QFile f(file);
    return OCL::Ini::Document::Parse(f.open(QIODevice::ReadOnly) ? f.readAll().toStdString() : std::string());
}

// One value of a profile file, "" when missing.
inline QString IniValue(const QString& file, const QString& section, const QString& key) {
    const auto value = ReadIni(file)->Find(OCL::Ansi::FromUtf8(section.toStdString()),
                                           OCL::Ansi::FromUtf8(key.toStdString()));
    return value ? FromAnsi(*value) : QString();
}

// A log event as the console's log loader reads it.
struct LogEvent {
    QString file; // the day file's name
    QString server, port, account;
    qint64 key = 0; // seconds since 1970
    QChar kind;     // 'C', 'N', 'H'; '?' for a value of no known kind
    int reason = CwLog::kNoReason;
    CwLog::LogValue value; // all of it, viewing into doc
    std::shared_ptr<const OCL::Ini::Document> doc;
};

// Every event of every day file in folder, in file order.
inline QList<LogEvent> ReadEvents(const QString& folder) {
    QList<LogEvent> events;
    for (const QString& name : QDir(folder).entryList({QStringLiteral("*.log")}, QDir::Files, QDir::Name)) {
        const auto doc = ReadIni(folder + u'/' + name);
        for (std::size_t s = 0; s < doc->SectionCount(); ++s)
            for (std::size_t k = 0; k < doc->KeyCount(s); ++k) {
                const CwLog::LogValue v = CwLog::ParseLogValue(doc->Value(s, k));
                const CwLog::LogSection section = CwLog::SplitSection(doc->SectionName(s));
                const char kind = "HCN?"[v.action == CwLog::Unknown ? 3 : v.action];
                events.append({name, FromAnsi(section.server), FromAnsi(section.port), FromAnsi(v.user),
                               CwLog::ReadInt32(doc->KeyName(s, k)), QChar::fromLatin1(kind), v.reason, v,
                               doc});
            }
    }
    return events;
}

// Where callward.usr disagrees with the logs of a data share: for every
// account, TotalConnects and TotalDenieds count its connects and denials,
// First/LastConnection are its first and last connect, TotalTime adds up its
// sessions and Lasted is the length of its last one.
inline QStringList StatisticsMismatches(const QString& share) {
    struct Tally {
        qint64 connects = 0, denials = 0, first = 0, last = 0, total = 0, lastEnd = 0;
        QSet<qint64> lastLasted;
    };
    QMap<QString, Tally> tally;
    for (const LogEvent& e :
         ReadEvents(share + QStringLiteral("/LogData")) + ReadEvents(share + QStringLiteral("/OldData"))) {
        Tally& t = tally[e.account.toUpper()];
        if (e.kind == u'C') {
            ++t.connects;
            t.first = t.first ? std::min(t.first, e.key) : e.key;
            t.last = std::max(t.last, e.key);
        } else if (e.kind == u'N') {
            ++t.denials;
        } else if (e.kind == u'H') {
            t.total += e.value.lasted;
            if (e.key > t.lastEnd)
                t.lastLasted.clear();
            if (e.key >= t.lastEnd) {
                t.lastEnd = e.key;
                t.lastLasted.insert(e.value.lasted);
            }
        }
    }
    QStringList mismatches;
    const auto doc = ReadIni(share + QStringLiteral("/callward.usr"));
    for (std::string_view section : doc->SectionNames()) {
        const QString name = FromAnsi(section);
        if (name.startsWith(u'+'))
            continue;
        const Tally t = tally.value(name.toUpper());
        auto value = [&](const char* key) {
            return FromAnsi(doc->Find(section, key).value_or("0")).toLongLong();
        };
        const QList<std::pair<const char*, qint64>> expected = {{"TotalConnects", t.connects},
                                                                {"TotalDenieds", t.denials},
                                                                {"FirstConnection", t.first},
                                                                {"LastConnection", t.last},
                                                                {"TotalTime", t.total}};
        for (const auto& [key, logged] : expected)
            if (value(key) != logged)
                mismatches.append(name + u' ' + QLatin1StringView(key) + u'=' + QString::number(value(key)) +
                                  QStringLiteral(", the logs say ") + QString::number(logged));
        if (t.lastEnd && !t.lastLasted.contains(value("Lasted")))
            mismatches.append(name + QStringLiteral(" Lasted is not its last session's length"));
    }
    return mismatches;
}

} // namespace CwsiteTest
