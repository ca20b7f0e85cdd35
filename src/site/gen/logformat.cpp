#include "site/gen/logformat.h"

#include "ini/inifile.h"
#include "site/gen/text.h"

#include <QDateTime>

using namespace Qt::StringLiterals;

namespace CwLog {

QString DayFileName(qint64 time) {
    // Fixed English month names, whatever the user's language.
    static const char* const kMonths[] = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                          "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
    const QDate date = QDateTime::fromSecsSinceEpoch(time).date();
    return u"%1-%2-%3.log"_s.arg(date.year(), 4, 10, QChar(u'0'))
        .arg(QLatin1StringView(kMonths[date.month() - 1]))
        .arg(date.day(), 2, 10, QChar(u'0'));
}

QString Section(const QString& server, const QString& port) {
    return server + u'\\' + port;
}

QString ConnectValue(const QString& account, const QString& info) {
    return info.isEmpty() ? u"C_"_s + account : u"C_%1*%2"_s.arg(account, info);
}

QString DenyValue(const QString& account, int reason) {
    return u"N_%1?%2"_s.arg(account).arg(reason % 10);
}

QString HangupValue(qint64 lasted, const QString& account, quint32 ip) {
    return u"H%1_%2?%3"_s.arg(lasted).arg(account).arg(ip);
}

QString HangupLongValue(qint64 lasted, const QString& account, quint32 ip, int reason, const QString& ipx,
                        const QString& netbios, qint64 bytesIn, qint64 bytesOut) {
    return HangupValue(lasted, account, ip) +
           u"?%1:%2:%3:%4:%5"_s.arg(reason).arg(ipx, netbios).arg(bytesIn).arg(bytesOut);
}

qint64 AppendEvent(OCL::Ini::Files& files, const std::filesystem::path& file, const QString& section,
                   qint64 time, const QString& value, QString* error) {
    const std::string sectionName = CwText::ToAnsi(section);
    auto doc = files.Read(file);
    qint64 key = time;
    while (doc->Find(sectionName, std::to_string(key)))
        ++key;
    std::error_code ec;
    std::filesystem::create_directories(file.parent_path(), ec);
    std::string why;
    if (!files.WriteString(file, sectionName, std::to_string(key), CwText::ToAnsi(value), &why)) {
        if (error)
            *error = u"%1: %2"_s.arg(CwText::FromPath(file), QString::fromStdString(why));
        return 0;
    }
    return key;
}

qint64 CDayLog::Add(const QString& section, qint64 time, const QString& value) {
    const QString id = section.toUpper();
    auto it = m_index.find(id);
    if (it == m_index.end()) {
        it = m_index.insert(id, m_sections.size());
        m_sections.append(Section{section, {}, {}});
    }
    Section& s = m_sections[*it];
    qint64 key = time;
    while (s.keys.contains(key))
        ++key;
    s.keys.insert(key);
    s.events.append({key, value});
    ++m_events;
    return key;
}

QByteArray CDayLog::Text() const {
    std::string text;
    for (const Section& s : m_sections) {
        text += '[' + CwText::ToAnsi(s.name) + "]\r\n";
        for (const auto& [key, value] : s.events)
            text += std::to_string(key) + '=' + CwText::ToAnsi(value) + "\r\n";
    }
    return QByteArray::fromStdString(text);
}

} // namespace CwLog
