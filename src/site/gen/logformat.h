#pragma once
// The service's day logs: "<data root>\LogData\yyyy-MMM-dd.log" with English
// month names, one section "SERVER\PORT" per port, one key per event (its time
// in seconds since 1970) and the event as the value:
//
//   C_DOMAIN\user[*info]                       connect
//   N_DOMAIN\user?<reason digit>               log-on refused
//   H<lasted>_DOMAIN\user?<ip>                 hang-up
//   H<lasted>_DOMAIN\user?<ip>?<reason>:<ipx>:<netbios>:<bytes in>:<bytes out>
//
// <ip> is the address packed into one unsigned 32-bit decimal. The console
// reads a hang-up's reason after the *last* '?' and its details from the
// *first* ':' of the whole value, a denial's reason from a '?' in the
// second-to-last place, a connect's info from the first '*'. So a value is
// written only when every text in it keeps those marks where they belong: an
// account without '?', ':' or '*', addresses and names without '?' or ':', no
// control characters, no blanks at the ends (profile files trim them), every
// text within the width the console keeps. A NetBIOS name that is not known is
// written empty: the console's own "none" mark, '?', would move the reason.

#include <QHash>
#include <QList>
#include <QSet>
#include <QString>

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

namespace OCL::Ini {
class Files;
}

namespace CwDayLog {

inline constexpr int kNoReason = 255;

// "2000-Jan-05.log" for a time on 5 January 2000 (local date).
QString DayFileName(qint64 time);
QString Section(const QString& server, const QString& port);

// Whether an account "DOMAIN\user" is one Windows could have: a domain of at
// most 15 and a user of at most 20 characters of Windows-1252, neither with a
// control character, a blank at either end or any of "/\[]:;|=,+*?<>.
bool IsAccountName(const QString& account);
// Whether a caller's computer name is a NetBIOS name: at most 15 such characters.
bool IsComputerName(const QString& name);

// One event as the console reads it back. Texts are Windows-1252.
struct Event {
    enum Kind { Connect, Denied, Hangup };
    Kind kind = Connect;
    std::string account;
    std::string info;       // connect
    int reason = kNoReason; // denial (1 to 9), hang-up (kNoReason: the caller's own)
    qint64 lasted = 0;      // hang-up
    quint32 ip = 0;         // hang-up
    bool details = false;   // hang-up with reason, addresses and byte counters
    std::string ipx, netbios;
    qint64 bytesIn = 0, bytesOut = 0;
};

// Appends the event's value to out. False, with out unchanged, when a text of
// the event cannot be written so that it reads back unchanged.
bool AppendValue(std::string& out, const Event& event);
std::optional<std::string> Value(const Event& event);

// Appends an event to a day file: key time, or the next free second when the
// section already has that key. The file is replaced atomically. Returns the
// key used, 0 when the file could not be written.
qint64 AppendEvent(OCL::Ini::Files& files, const std::filesystem::path& file, const QString& section,
                   qint64 time, std::string_view value, QString* error = nullptr);

// A day file built in memory: sections in the order of their first event, the
// events of a section in the order added, keys unique within a section.
class CDayLog {
public:
    // Returns the key used.
    qint64 Add(const QString& section, qint64 time, std::string value);
    int EventCount() const { return m_events; }
    // Windows text (Windows-1252, CRLF).
    std::string Text() const;

private:
    struct Section {
        std::string name;
        QSet<qint64> keys;
        QList<std::pair<qint64, std::string>> events;
    };
    QList<Section> m_sections;
    QHash<QString, qsizetype> m_index; // upper-cased name -> index
    int m_events = 0;
};

} // namespace CwDayLog
