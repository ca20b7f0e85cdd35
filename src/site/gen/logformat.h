#pragma once
// The service's day logs: "<data root>\LogData\yyyy-MMM-dd.log" with English
// month names, one section "SERVER\PORT" per port, one key per event (its time
// in seconds since 1970) and the event as the value:
//
//   C_DOMAIN\user[*info]                       connect
//   N_DOMAIN\user?<reason>                     log-on refused
//   H<lasted>_DOMAIN\user?<ip>                 hang-up
//   H<lasted>_DOMAIN\user?<ip>?<reason>:<ipx>:<netbios>:<bytes in>:<bytes out>
//
// <ip> is the address packed into one unsigned 32-bit decimal.

#include <QByteArray>
#include <QHash>
#include <QList>
#include <QSet>
#include <QString>

#include <filesystem>

namespace OCL::Ini {
class Files;
}

namespace CwLog {

inline constexpr int kNoReason = 255;

// "2000-Jan-05.log" for a time on 5 January 2000 (local date).
QString DayFileName(qint64 time);
QString Section(const QString& server, const QString& port);

QString ConnectValue(const QString& account, const QString& info = {});
QString DenyValue(const QString& account, int reason);
QString HangupValue(qint64 lasted, const QString& account, quint32 ip);
QString HangupLongValue(qint64 lasted, const QString& account, quint32 ip, int reason, const QString& ipx,
                        const QString& netbios, qint64 bytesIn, qint64 bytesOut);

// Appends an event to a day file: key time, or the next free second when the
// section already has that key. The file is replaced atomically. Returns the
// key used, 0 when the file could not be written.
qint64 AppendEvent(OCL::Ini::Files& files, const std::filesystem::path& file, const QString& section,
                   qint64 time, const QString& value, QString* error = nullptr);

// A day file built in memory: sections in the order of their first event, the
// events of a section in the order added, keys unique within a section.
class CDayLog {
public:
    // Returns the key used.
    qint64 Add(const QString& section, qint64 time, const QString& value);
    int EventCount() const { return m_events; }
    // Windows text (Windows-1252, CRLF).
    QByteArray Text() const;

private:
    struct Section {
        QString name;
        QSet<qint64> keys;
        QList<QPair<qint64, QString>> events;
    };
    QList<Section> m_sections;
    QHash<QString, qsizetype> m_index; // upper-cased name -> index
    int m_events = 0;
};

} // namespace CwLog
