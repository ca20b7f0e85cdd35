#pragma once
// The ports view's scratch file "~portsvw.tmp": the update thread writes what it
// found on the server, one section per port with the keys "U" (user), "S"
// (session start) and "I" (IP address), and the view merges it into its rows.
//
// The file never left the view, so it is kept in memory here, with the file's
// behaviour: section names compared without case, a later write of a key
// replacing the earlier one, values read back trimmed of blanks and of one pair
// of surrounding quotes, sections kept from poll to poll until Clear(), and the
// read defaults "*", "*" and " " for what was never written. Safe to use from
// the update thread and the view's thread at once.

#include <QHash>
#include <QString>

#include <mutex>

class CPortsViewFile {
public:
    struct Entry {
        QString user;  // "U", "*" when missing
        QString start; // "S", "*" when missing
        QString ip;    // "I", " " when missing
    };

    // Deletes the file.
    void Clear();
    void WriteUser(const QString& port, const QString& user);
    void WriteStart(const QString& port, qint64 start);
    void WriteIp(const QString& port, const QString& ip);
    Entry Read(const QString& port) const;
    int SectionCount() const;

private:
    struct Section {
        QString user, start, ip;
        bool hasUser = false, hasStart = false, hasIp = false;
    };
    Section& SectionOf(const QString& port);

    mutable std::mutex m_mutex;
    QHash<QString, Section> m_sections;
};

// How the view tells a row from its section: the "User" cell against "U" and
// the "Connected" cell (an empty one counts as "0") against "S", both without
// case. A connected row never matches, since "Connected" holds the start as
// date and time while "S" holds seconds: it is rewritten on every poll.
bool PortRowDiffers(const QString& userCell, const QString& connectedCell,
                    const CPortsViewFile::Entry& entry);

// A number read from a profile value: leading blanks, a sign, then digits; 0
// when there are none.
qint64 ProfileNumber(const QString& text);
