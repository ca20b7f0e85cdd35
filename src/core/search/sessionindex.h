#pragma once
// The session history's index: every event of every day log (LogData and
// OldData) in one SQLite file beside the console's own settings, so a search
// over months answers without reading the logs again.
//
// It is a cache. A day file is indexed in one transaction and again only when
// its size or modification time changes; a file that is gone leaves the index;
// a deleted index is rebuilt from the logs. A file that is not an index of
// this version (corrupt, foreign, newer) is set aside and a new one begun.
// The service's files are only ever read.
//
// Times are kept as the service wrote them; a search moves them by the time
// zone of their server as the day loader does. One object per thread: the
// worker that refreshes and the window that searches each open their own.

#include "core/log/dayreader.h"
#include "core/log/logfilter.h"
#include "core/log/logstore.h"

#include <QDate>
#include <QString>

#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

struct sqlite3;

// A day log as found on the share.
struct CDayFile {
    QDate day;
    QString name; // "LogData/2026-Nov-23.log": the key in the index
    QString path; // the local file
    qint64 size = 0;
    qint64 modified = 0;
};

// The day logs of the master share's LogData and OldData folders (local
// paths), in date order; a day in both is taken from LogData. Files whose name
// is no date are left out: they belong to no day a search could ask for.
std::vector<CDayFile> ListDayFiles(const QString& logData, const QString& oldData);

struct CSessionQuery {
    CLogFilter filter; // server, port, user, domain or group
    QDate from, to;    // days, both included; invalid: open
    int action = -1;   // CwLog::Action, -1 any
    int reason = -1;   // the event's reason number, -1 any
};

struct CSessionAnswer {
    std::shared_ptr<const CLogStore> store; // the matching events: by day, then as logged
    int days = 0;                           // days of the range the index answered for
    std::vector<QDate> missing;             // days of the range with a log not (yet) indexed
    QString error;                          // why there is no answer
};

class CSessionIndex {
public:
    // Told the files done and to do; false stops after the current file.
    using Progress = std::function<bool(int done, int total)>;
    using Shifts = std::vector<std::pair<QString, std::int64_t>>;

    struct Refreshed {
        int indexed = 0, removed = 0, unchanged = 0, unreadable = 0;
        qint64 events = 0;
        bool stopped = false;
        QString error; // why the refresh ended early; what it did is kept
    };

    CSessionIndex();
    ~CSessionIndex();
    CSessionIndex(const CSessionIndex&) = delete;
    CSessionIndex& operator=(const CSessionIndex&) = delete;

    // The index file of a console whose temporary folder is tempPath: a folder
    // "Session Index" beside it, the console's own per-machine data.
    static QString DefaultFile(const QString& tempPath);

    // Opens or creates the file. A file that cannot be used as an index is
    // renamed to "<file>.bad" and a new one created; notice says so. False
    // (with error) only when no index can be had at all.
    bool Open(const QString& file, QString* notice, QString* error);
    QString File() const { return m_file; }

    // Brings the index in line with the files.
    Refreshed Refresh(const std::vector<CDayFile>& files, const Progress& progress = {});

    // The events matching the query, times moved by shifts. Days whose file
    // differs from what was indexed are answered from the index as it stands
    // and listed as missing.
    CSessionAnswer Search(const CSessionQuery& query, const std::vector<CDayFile>& files,
                          const Shifts& shifts = {});

    // Events held, and the file's size in bytes.
    qint64 Events() const;
    qint64 FileBytes() const;

private:
    struct DayRow {
        qint64 id, size, modified, base;
        QDate day;
    };
    bool Create(QString* why);
    void Close();
    bool Exec(const char* sql);
    QString LastError() const;
    std::int64_t Intern(int kind, std::string_view text);
    // Stores a day: its store and what the reading thread packed of it.
    bool IndexDay(const CDayFile& file, const CLogStore& store, std::string_view packed,
                  const CDayReader::Stamp& stamp);
    std::unordered_map<std::string, DayRow> Days() const;
    // Deletes a day's runs of events and the day itself.
    bool ForgetDay(std::int64_t id);

    sqlite3* m_db = nullptr;
    QString m_file;
    // Interned texts by kind, as in the file.
    struct TextHash {
        using is_transparent = void;
        std::size_t operator()(std::string_view text) const { return std::hash<std::string_view>()(text); }
    };
    std::vector<std::unordered_map<std::string, std::int64_t, TextHash, std::equal_to<>>> m_names;
    std::int64_t m_namesVersion = -1; // the data_version they were read at
};
