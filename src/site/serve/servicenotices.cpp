#include "site/serve/servicenotices.h"

#include "core/log/dayreader.h"
#include "core/pages/database.h"
#include "core/stats/statistics.h"
#include "ini/inifile.h"
#include "platform/site/sitedirectory.h"
#include "site/gen/logformat.h"
#include "site/gen/text.h"

#include <QDateTime>
#include <QFile>
#include <QSaveFile>
#include <QTimeZone>

#include <cstdio>
#include <limits>

using namespace Qt::StringLiterals;
namespace fs = std::filesystem;

namespace {

std::string Setting(const OCL::Ini::Document& hw, const char* key, const char* fallback = "") {
    return std::string(hw.Find("General", key).value_or(fallback));
}

// A header field's value: one line, and RFC 2047 words where it is not ASCII.
QByteArray HeaderValue(const std::string& ansi) {
    QString text = CwText::FromAnsi(ansi);
    text.replace(u'\r', u' ').replace(u'\n', u' ');
    const QByteArray utf8 = text.toUtf8();
    for (char c : utf8)
        if (uchar(c) >= 0x80)
            return "=?UTF-8?B?" + utf8.toBase64() + "?=";
    return utf8;
}

std::shared_ptr<const OCL::Ini::Document> ReadHardware(CServeContext& context, const fs::path& root) {
    return context.Files().Read(OCL::Site::AppendWithoutCase(root, "callward.hw"));
}

} // namespace

bool CServiceNotices::Send(const QString& user, const std::string& text, qint64 now) {
    std::string line =
        std::to_string(now) + '\t' + CwText::ToAnsi(m_host) + '\t' + CwText::ToAnsi(user) + '\t';
    // One line per message, as the messenger spool keeps them.
    for (char c : text)
        line += (c == '\t' || c == '\r' || c == '\n') ? ' ' : c;
    line += "\r\n";
    const fs::path spool = m_context.site->Root() / "spool";
    std::error_code error;
    fs::create_directories(spool, error);
    // One write in append mode, so that lines of several writers never mix.
    std::FILE* out = std::fopen((spool / "messages.log").string().c_str(), "ab");
    if (!out)
        return false;
    std::setvbuf(out, nullptr, _IOFBF, line.size());
    const bool written = std::fwrite(line.data(), 1, line.size(), out) == line.size();
    return std::fclose(out) == 0 && written;
}

void CServiceNotices::Greet(const fs::path& root, int rule, const QString& user, qint64 now) {
    if (rule < 0)
        return;
    QFile file(
        CwText::FromPath(OCL::Site::AppendWithoutCase(root, "greet_" + std::to_string(rule) + ".txt")));
    if (!file.open(QIODevice::ReadOnly))
        return;
    const QByteArray text = file.readAll();
    if (!text.trimmed().isEmpty() && !Send(user, text.toStdString(), now))
        m_context.Print(m_host + u"  the greeting to "_s + user + u" could not be spooled"_s);
}

void CServiceNotices::Warn(const OCL::Ini::Document& hw, const QString& key, const QString& user,
                           qint64 forcedEnd, qint64 now) {
    int& sent = m_warned[key];
    for (int level = 0; level < 2; ++level) {
        const std::string name = "Notify" + std::to_string(level + 1);
        const qint64 seconds = CwText::ToNumber(Setting(hw, name.c_str(), "0"));
        if (seconds <= 0 || (sent & (1 << level)) || forcedEnd - now > seconds)
            continue;
        sent |= 1 << level;
        Send(user, Setting(hw, (name + "Text").c_str()), now);
        m_context.Print(m_host + u"  warning %1 sent to "_s.arg(level + 1) + user);
    }
}

void CServiceNotices::Keep(const QSet<QString>& live) {
    for (auto it = m_warned.begin(); it != m_warned.end();)
        it = live.contains(it.key()) ? std::next(it) : m_warned.erase(it);
}

void CServiceNotices::Daily(const fs::path& root, qint64 now) {
    const QDateTime local = QDateTime::fromSecsSinceEpoch(now);
    const QDate today = local.date();
    const auto hw = ReadHardware(m_context, root);
    if (m_archived != today) {
        m_archived = today;
        const qint64 age = CwText::ToNumber(Setting(*hw, "AutoArchiveAge", "0"));
        if (age > 0) {
            const CDatabaseResult moved =
                CDatabase(root).MigrateOlderThan(int(std::min<qint64>(age, std::numeric_limits<int>::max())),
                                                 today.year(), today.month(), today.day());
            if (moved.done)
                m_context.Print(m_host +
                                u"  archived %1 day logs older than %2 days"_s.arg(moved.done).arg(age));
            for (const QString& kept : moved.kept)
                m_context.Print(m_host + u"  not archived: "_s + kept);
        }
    }
    const qint64 type = CwText::ToNumber(Setting(*hw, "DailyStatusEmailType", "0"));
    const qint64 hour = CwText::ToNumber(Setting(*hw, "DailyStatusEmailHour", "8"));
    if (type == 0 || m_reported == today || local.time().hour() != hour)
        return;
    m_reported = today;
    const fs::path folder = m_context.site->Root() / "spool" / "outmail";
    const QString name = u"%1-%2-report.eml"_s.arg(m_host, today.toString(u"yyyy-MM-dd"_s));
    std::error_code error;
    fs::create_directories(folder, error);
    const QString path = CwText::FromPath(folder) + u'/' + name;
    // One report a day, also across restarts of the service.
    if (QFile::exists(path))
        return;
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(Report(root, *hw, m_host, local)) < 0 ||
        !file.commit())
        m_context.Print(m_host + u"  the daily report could not be written to "_s + path);
    else
        m_context.Print(m_host + u"  daily report written to "_s + path);
}

QByteArray CServiceNotices::Report(const fs::path& root, const OCL::Ini::Document& hw, const QString& host,
                                   const QDateTime& now) {
    const QDateTime day = now.addDays(-1);
    const QString fileName = CwDayLog::DayFileName(day.toSecsSinceEpoch());
    CDayStatistics figures;
    std::string bytes;
    if (CDayReader::ReadFile(OCL::Site::AppendWithoutCase(root, "LogData") / CwText::ToAnsi(fileName),
                             &bytes) ||
        CDayReader::ReadFile(OCL::Site::AppendWithoutCase(root, "OldData") / CwText::ToAnsi(fileName),
                             &bytes)) {
        const auto store = CDayReader::Parse(std::move(bytes));
        figures.CountSessions(*store);
        figures.CountByHour(*store);
    }
    const QString dayText = day.date().toString(u"yyyy-MM-dd"_s);
    QByteArray message;
    std::string from = Setting(hw, "DailyStatusEmailFrom");
    if (from.empty())
        from = "Callwarden <callwarden@" + CwText::ToAnsi(host.toLower()) + ">";
    message += "From: " + HeaderValue(from) + "\r\n";
    message += "To: " + HeaderValue(Setting(hw, "DailyStatusEmailTo")) + "\r\n";
    message += "Subject: " +
               HeaderValue(CwText::ToAnsi(u"Callwarden daily report for %1 on %2"_s.arg(dayText, host))) +
               "\r\n";
    message += "Date: " + now.toString(Qt::RFC2822Date).toLatin1() + "\r\n";
    message += "Message-ID: <" + QByteArray::number(now.toSecsSinceEpoch()) + ".report@" +
               HeaderValue(CwText::ToAnsi(host)) + ">\r\n";
    message += "X-Mail-Server: " + HeaderValue(Setting(hw, "DailyStatusEmailPOPServer")) + "\r\n";
    message += "MIME-Version: 1.0\r\nContent-Type: text/plain; charset=windows-1252\r\n"
               "Content-Transfer-Encoding: 8bit\r\n\r\n";
    QString body = u"Statistics for date: %1\r\n\r\n"_s.arg(dayText);
    for (const CDayStatistics::PanelLine& line : figures.Panel())
        if (!line.value.isEmpty())
            body += line.label + u' ' + line.value + u"\r\n"_s;
    message += CwText::ToAnsi(body);
    // The full report adds the connections of every hour.
    if (CwText::ToNumber(Setting(hw, "DailyStatusEmailType", "0")) != 1)
        message += "\r\n" + figures.SaveText(dayText).split('\n').mid(3).join('\n');
    return message;
}
