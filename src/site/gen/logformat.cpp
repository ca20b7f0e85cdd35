#include "site/gen/logformat.h"

#include "ini/inifile.h"
#include "site/gen/text.h"

#include <QDateTime>

#include <charconv>

using namespace Qt::StringLiterals;

namespace CwDayLog {
namespace {

// The widths the console keeps of each text.
constexpr std::size_t kAccountChars = 37; // a hang-up's user, the narrowest
constexpr std::size_t kInfoChars = 55;
constexpr std::size_t kIpxChars = 25;
constexpr std::size_t kNetbiosChars = 21;

// Windows-1252 text without control characters (the bytes without a character
// there stand for C1 controls) and without blanks at the ends.
bool IsPlain(std::string_view text) {
    for (const char c : text) {
        const auto byte = static_cast<unsigned char>(c);
        if (byte < 0x20 || byte == 0x7F || byte == 0x81 || byte == 0x8D || byte == 0x8F || byte == 0x90 ||
            byte == 0x9D)
            return false;
    }
    return text.empty() || (text.front() != ' ' && text.back() != ' ');
}

bool Fits(std::string_view text, std::size_t width, std::string_view marks) {
    return text.size() <= width && IsPlain(text) && text.find_first_of(marks) == std::string_view::npos;
}

// A name part as Windows allows it, in Windows-1252.
bool IsNamePart(const QString& part, qsizetype width) {
    if (part.isEmpty() || part.size() > width)
        return false;
    const std::string ansi = CwText::ToAnsi(part);
    return CwText::FromAnsi(ansi) == part && Fits(ansi, std::size_t(width), "\"/\\[]:;|=,+*?<>");
}

void AppendNumber(std::string& out, qint64 n) {
    char digits[24];
    const auto end = std::to_chars(digits, digits + sizeof digits, n).ptr;
    out.append(digits, end);
}

} // namespace

QString DayFileName(qint64 time) {
    // Fixed English month names, whatever the user's language.
    static const char* const kMonths[] = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                          "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
    const QDate date = QDateTime::fromSecsSinceEpoch(time).date();
    return QString::number(date.year()).rightJustified(4, u'0') + u'-' +
           QLatin1StringView(kMonths[date.month() - 1]) + u'-' +
           QString::number(date.day()).rightJustified(2, u'0') + u".log"_s;
}

QString Section(const QString& server, const QString& port) {
    return server + u'\\' + port;
}

bool IsAccountName(const QString& account) {
    const qsizetype slash = account.indexOf(u'\\');
    return slash > 0 && IsNamePart(account.left(slash), 15) && IsNamePart(account.mid(slash + 1), 20);
}

bool IsComputerName(const QString& name) {
    return IsNamePart(name, 15);
}

bool AppendValue(std::string& out, const Event& e) {
    if (e.account.empty() || !Fits(e.account, kAccountChars, "?:*"))
        return false;
    switch (e.kind) {
    case Event::Connect:
        if (!Fits(e.info, kInfoChars, {}))
            return false;
        out += "C_";
        out += e.account;
        if (!e.info.empty())
            out += '*' + e.info;
        return true;
    case Event::Denied:
        if (e.reason < 0 || e.reason > 9)
            return false;
        out += "N_";
        out += e.account;
        out += '?';
        out += char('0' + e.reason);
        return true;
    case Event::Hangup:
        if (e.lasted < 0 || (e.details && (e.reason < 0 || !Fits(e.ipx, kIpxChars, "?:") ||
                                           !Fits(e.netbios, kNetbiosChars, "?:"))))
            return false;
        out += 'H';
        AppendNumber(out, e.lasted);
        out += '_';
        out += e.account;
        out += '?';
        AppendNumber(out, e.ip);
        if (!e.details)
            return true;
        out += '?';
        AppendNumber(out, e.reason);
        out += ':';
        out += e.ipx;
        out += ':';
        out += e.netbios;
        out += ':';
        AppendNumber(out, e.bytesIn);
        out += ':';
        AppendNumber(out, e.bytesOut);
        return true;
    }
    return false;
}

std::optional<std::string> Value(const Event& event) {
    std::string value;
    if (!AppendValue(value, event))
        return std::nullopt;
    return value;
}

qint64 AppendEvent(OCL::Ini::Files& files, const std::filesystem::path& file, const QString& section,
                   qint64 time, std::string_view value, QString* error) {
    const std::string sectionName = CwText::ToAnsi(section);
    auto doc = files.Read(file);
    qint64 key = time;
    while (doc->Find(sectionName, std::to_string(key)))
        ++key;
    std::error_code ec;
    std::filesystem::create_directories(file.parent_path(), ec);
    std::string why;
    if (!files.WriteString(file, sectionName, std::to_string(key), value, &why)) {
        if (error)
            *error = CwText::FromPath(file) + u": "_s + QString::fromStdString(why);
        return 0;
    }
    return key;
}

qint64 CDayLog::Add(const QString& section, qint64 time, std::string value) {
    const QString id = section.toUpper();
    auto it = m_index.find(id);
    if (it == m_index.end()) {
        it = m_index.insert(id, m_sections.size());
        m_sections.append(Section{CwText::ToAnsi(section), {}, {}});
    }
    Section& s = m_sections[*it];
    qint64 key = time;
    while (s.keys.contains(key))
        ++key;
    s.keys.insert(key);
    s.events.append({key, std::move(value)});
    ++m_events;
    return key;
}

std::string CDayLog::Text() const {
    std::string text;
    for (const Section& s : m_sections) {
        text += '[' + s.name + "]\r\n";
        for (const auto& [key, value] : s.events) {
            AppendNumber(text, key);
            text += '=' + value + "\r\n";
        }
    }
    return text;
}

} // namespace CwDayLog
