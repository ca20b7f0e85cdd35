#pragma once
// Reading a site's service files the way the console reads them, for the tests
// of cwsite init and cwsite serve.

#include "ini/inifile.h"
#include "platform/ansi.h"

#include <QDate>
#include <QDir>
#include <QFile>
#include <QList>
#include <QMap>
#include <QRegularExpression>
#include <QSet>
#include <QString>

#include <filesystem>

namespace CwsiteTest {

inline QString Cwsite() {
    return QStringLiteral(CW_CWSITE);
}

inline QString FromAnsi(std::string_view text) {
    return QString::fromStdString(OCL::Ansi::ToUtf8(text));
}

inline std::filesystem::path Fs(const QString& path) {
    return std::filesystem::path(path.toStdString());
}

// One value of a profile file, "" when missing.
inline QString IniValue(const QString& file, const QString& section, const QString& key) {
    QFile f(file);
    if (!f.open(QIODevice::ReadOnly))
        return {};
    const auto doc = OCL::Ini::Document::Parse(f.readAll().toStdString());
    const auto value =
        doc->Find(OCL::Ansi::FromUtf8(section.toStdString()), OCL::Ansi::FromUtf8(key.toStdString()));
    return value ? FromAnsi(*value) : QString();
}

// A log event as the console's log loader splits it.
struct LogEvent {
    QString file; // the day file's name
    QString server, port;
    qint64 key = 0; // seconds since 1970
    QChar kind;     // 'C', 'N', 'H'
    QString account;
    QString info;
    qint64 lasted = 0;
    quint32 ip = 0;
    int reason = 255;
    bool longForm = false;
    QString value;
};

// "yyyy-MMM-dd.log" with English months -> the date; invalid for other names.
inline QDate DayOfFile(const QString& name) {
    static const QRegularExpression pattern(
        QStringLiteral("^(\\d{4})-(Jan|Feb|Mar|Apr|May|Jun|Jul|Aug|Sep|Oct|Nov|Dec)-(\\d{2})\\.log$"));
    const auto match = pattern.match(name);
    if (!match.hasMatch())
        return {};
    static const QStringList months = {QStringLiteral("Jan"), QStringLiteral("Feb"), QStringLiteral("Mar"),
                                       QStringLiteral("Apr"), QStringLiteral("May"), QStringLiteral("Jun"),
                                       QStringLiteral("Jul"), QStringLiteral("Aug"), QStringLiteral("Sep"),
                                       QStringLiteral("Oct"), QStringLiteral("Nov"), QStringLiteral("Dec")};
    return QDate(match.captured(1).toInt(), int(months.indexOf(match.captured(2))) + 1,
                 match.captured(3).toInt());
}

// Splits a value; false when it has none of the service's forms.
inline bool ParseValue(const QString& value, LogEvent* e) {
    static const QRegularExpression connect(QStringLiteral("^C_([^*?]+)(?:\\*(.*))?$"));
    static const QRegularExpression denied(QStringLiteral("^N_([^?]+)\\?(\\d)$"));
    static const QRegularExpression hangup(
        QStringLiteral("^H(\\d+)_([^?]+)\\?(\\d+)(?:\\?(\\d+):([^:]*):([^:]*):(-?\\d+):(-?\\d+))?$"));
    e->value = value;
    if (auto m = connect.match(value); m.hasMatch()) {
        e->kind = u'C';
        e->account = m.captured(1);
        e->info = m.captured(2);
        return true;
    }
    if (auto m = denied.match(value); m.hasMatch()) {
        e->kind = u'N';
        e->account = m.captured(1);
        e->reason = m.captured(2).toInt();
        return true;
    }
    if (auto m = hangup.match(value); m.hasMatch()) {
        e->kind = u'H';
        e->lasted = m.captured(1).toLongLong();
        e->account = m.captured(2);
        e->ip = m.captured(3).toUInt();
        e->longForm = m.hasCaptured(4);
        e->reason = e->longForm ? m.captured(4).toInt() : 255;
        return true;
    }
    return false;
}

// Every event of every day file in folder. Sections and values that do not
// parse are returned in *bad.
inline QList<LogEvent> ReadEvents(const QString& folder, QStringList* bad = nullptr) {
    QList<LogEvent> events;
    for (const QString& name : QDir(folder).entryList({QStringLiteral("*.log")}, QDir::Files, QDir::Name)) {
        QFile f(folder + u'/' + name);
        if (!f.open(QIODevice::ReadOnly))
            continue;
        const auto doc = OCL::Ini::Document::Parse(f.readAll().toStdString());
        for (std::size_t s = 0; s < doc->SectionCount(); ++s) {
            const QString section = FromAnsi(doc->SectionName(s));
            const qsizetype slash = section.lastIndexOf(u'\\');
            for (std::size_t k = 0; k < doc->KeyCount(s); ++k) {
                LogEvent e;
                e.file = name;
                e.server = section.left(slash);
                e.port = section.mid(slash + 1);
                bool numeric = false;
                e.key = FromAnsi(doc->KeyName(s, k)).toLongLong(&numeric);
                if ((!ParseValue(FromAnsi(doc->Value(s, k)), &e) || !numeric || slash <= 0) && bad)
                    bad->append(name + u' ' + section + u' ' + FromAnsi(doc->KeyName(s, k)) + u'=' +
                                FromAnsi(doc->Value(s, k)));
                events.append(e);
            }
        }
    }
    return events;
}

// Where callward.usr disagrees with the logs of a data share: for every
// account, TotalConnects and TotalDenieds count its connects and denials,
// First/LastConnection are its first and last connect, TotalTime adds up its
// sessions and Lasted is the length of its last one. *accounts counts the
// accounts, *used those with sessions.
inline QStringList StatisticsMismatches(const QString& share, int* accounts = nullptr, int* used = nullptr) {
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
            t.total += e.lasted;
            if (e.key > t.lastEnd)
                t.lastLasted.clear();
            if (e.key >= t.lastEnd) {
                t.lastEnd = e.key;
                t.lastLasted.insert(e.lasted);
            }
        }
    }
    QStringList mismatches;
    QFile file(share + QStringLiteral("/callward.usr"));
    if (!file.open(QIODevice::ReadOnly))
        return {QStringLiteral("no callward.usr")};
    const auto doc = OCL::Ini::Document::Parse(file.readAll().toStdString());
    for (std::string_view section : doc->SectionNames()) {
        const QString name = FromAnsi(section);
        if (name.startsWith(u'+'))
            continue;
        const Tally t = tally.value(name.toUpper());
        auto check = [&](const char* key, qint64 expected) {
            const qint64 value = CwsiteTest::FromAnsi(doc->Find(section, key).value_or("0")).toLongLong();
            if (value != expected)
                mismatches.append(QStringLiteral("%1 %2=%3, the logs say %4")
                                      .arg(name, QString::fromLatin1(key))
                                      .arg(value)
                                      .arg(expected));
        };
        check("TotalConnects", t.connects);
        check("TotalDenieds", t.denials);
        check("FirstConnection", t.first);
        check("LastConnection", t.last);
        check("TotalTime", t.total);
        const qint64 lasted = FromAnsi(doc->Find(section, "Lasted").value_or("0")).toLongLong();
        if (t.lastEnd && !t.lastLasted.contains(lasted))
            mismatches.append(
                QStringLiteral("%1 Lasted=%2 is not its last session's length").arg(name).arg(lasted));
        if (accounts)
            ++*accounts;
        if (used && t.connects)
            ++*used;
    }
    return mismatches;
}

} // namespace CwsiteTest
