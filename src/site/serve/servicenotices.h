#pragma once
// What a host's service says besides its logs: the greeting of the rule that
// fits a caller and the two warnings before a forced disconnect, both through
// the messenger spool, and, on the primary server, the daily pass that
// archives old day logs and writes the daily status report.
//
// Everything here reads the settings as the administrator typed them: numbers
// that are negative or no numbers switch a warning off, an hour outside 0 to 23
// never comes, long or non-ASCII texts are sent as they stand.

#include "site/serve/servecontext.h"

#include <QDate>
#include <QHash>
#include <QSet>
#include <QString>

#include <filesystem>

namespace OCL::Ini {
class Document;
}

class CServiceNotices {
public:
    CServiceNotices(CServeContext& context, QString host) : m_context(context), m_host(std::move(host)) {}

    // rule: 0 to 2, the greeting rule that fits the caller; -1 none.
    void Greet(const std::filesystem::path& root, int rule, const QString& user, qint64 now);
    // For a live session (key: port and start) that the service will end at
    // forcedEnd: the warnings whose time has come and that were not sent yet.
    void Warn(const OCL::Ini::Document& hw, const QString& key, const QString& user, qint64 forcedEnd,
              qint64 now);
    // Forgets the sessions that are no longer live.
    void Keep(const QSet<QString>& live);
    // The primary server's daily work: archiving once a day, the report at its hour.
    void Daily(const std::filesystem::path& root, qint64 now);

    // The report of the day before today, as an e-mail message (RFC 5322).
    static QByteArray Report(const std::filesystem::path& root, const OCL::Ini::Document& hw,
                             const QString& host, const QDateTime& now);

private:
    bool Send(const QString& user, const std::string& text, qint64 now);

    CServeContext& m_context;
    QString m_host;
    QHash<QString, int> m_warned; // session -> levels sent (bits)
    QDate m_archived;
    QDate m_reported;
};
