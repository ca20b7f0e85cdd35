#include "core/search/sessionindex.h"

#include "core/app/ansitext.h"
#include "core/log/dayprefetch.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QLocale>

#include <sqlite3.h>

#include <algorithm>
#include <map>

using namespace Qt::StringLiterals;

namespace {

// "CWIX" in the file's header tells our index from any other SQLite file.
constexpr int kApplicationId = 0x43574958;
constexpr int kSchemaVersion = 3;

// Kinds of interned text; id 0 is the empty text of every kind.
enum NameKind { Channel = 1, User = 2, Ipx = 3, Netbios = 4, Info = 5, Kinds = 6 };

// One row per account and day holds that account's events of the day, packed
// (see CRunWriter): a row per event costs SQLite more than reading the log.
// The runs name texts by the day's own numbers, which the day's names (see
// DayNames) turn into the name table's ids: so a day is packed on the thread
// that read it, without the index.
constexpr const char* kSchema = R"(
PRAGMA application_id = 1129793880;
PRAGMA user_version = 3;
CREATE TABLE name(id INTEGER PRIMARY KEY, kind INTEGER NOT NULL, text BLOB NOT NULL);
CREATE TABLE day(id INTEGER PRIMARY KEY, file TEXT NOT NULL UNIQUE, date INTEGER NOT NULL,
                 size INTEGER NOT NULL, modified INTEGER NOT NULL,
                 events INTEGER NOT NULL, base INTEGER NOT NULL, names BLOB NOT NULL);
CREATE TABLE run(day INTEGER NOT NULL, user INTEGER NOT NULL, events BLOB NOT NULL,
                 PRIMARY KEY(day, user)) WITHOUT ROWID;
)";

// A prepared statement that finalizes itself.
class CStatement {
public:
    CStatement(sqlite3* db, const char* sql) { sqlite3_prepare_v2(db, sql, -1, &m_stmt, nullptr); }
    ~CStatement() { sqlite3_finalize(m_stmt); }
    CStatement(const CStatement&) = delete;
    CStatement& operator=(const CStatement&) = delete;
    explicit operator bool() const { return m_stmt != nullptr; }
    sqlite3_stmt* operator*() const { return m_stmt; }
    void Bind(int column, std::int64_t value) { sqlite3_bind_int64(m_stmt, column, value); }
    void BindText(int column, std::string_view text) {
        sqlite3_bind_blob(m_stmt, column, text.data(), int(text.size()), SQLITE_STATIC);
    }
    // SQLITE_ROW or SQLITE_DONE, else an error.
    int Step() { return sqlite3_step(m_stmt); }
    // Runs a statement without rows and makes it ready for the next binding.
    bool Run() {
        const int rc = sqlite3_step(m_stmt);
        sqlite3_reset(m_stmt);
        return rc == SQLITE_DONE;
    }
    std::int64_t Int(int column) const { return sqlite3_column_int64(m_stmt, column); }
    std::string_view Blob(int column) const {
        const void* data = sqlite3_column_blob(m_stmt, column);
        return {static_cast<const char*>(data), std::size_t(sqlite3_column_bytes(m_stmt, column))};
    }

private:
    sqlite3_stmt* m_stmt = nullptr;
};

// The reason kept so that the usual ones (none, 0 to 9) take one byte with the action.
std::int64_t PackActionReason(std::int32_t action, std::int32_t reason) {
    const std::int64_t r = reason == CwLog::kNoReason ? 0 : reason >= 0 ? std::int64_t(reason) + 1 : reason;
    return r * 4 + (action + 1);
}

void UnpackActionReason(std::int64_t packed, std::int32_t* action, std::int32_t* reason) {
    *action = std::int32_t(packed & 3) - 1;
    const std::int64_t r = packed >> 2;
    *reason = r == 0 ? CwLog::kNoReason : r > 0 ? std::int32_t(r - 1) : std::int32_t(r);
}

std::uint64_t Zigzag(std::int64_t v) {
    return (std::uint64_t(v) << 1) ^ std::uint64_t(v >> 63);
}

std::int64_t Unzigzag(std::uint64_t v) {
    return std::int64_t(v >> 1) ^ -std::int64_t(v & 1);
}

char* PutVarint(char* at, std::uint64_t v) {
    while (v >= 0x80) {
        *at++ = char(v | 0x80);
        v >>= 7;
    }
    *at++ = char(v);
    return at;
}

void PutVarint(std::string* out, std::uint64_t v) {
    char bytes[10];
    out->append(bytes, std::size_t(PutVarint(bytes, v) - bytes));
}

bool GetVarint(std::string_view* in, std::uint64_t* value) {
    std::uint64_t v = 0;
    for (int shift = 0; !in->empty() && shift < 64; shift += 7) {
        const auto byte = std::uint8_t(in->front());
        in->remove_prefix(1);
        v |= std::uint64_t(byte & 0x7F) << shift;
        if (byte < 0x80) {
            *value = v;
            return true;
        }
    }
    return false;
}

// An account's events of a day, each as varints: the position in the log
// after the previous one's, the time against the previous one's (zigzag), the
// channel, action and reason (zigzag), lasted (zigzag), the IP address, the
// IPX, NetBIOS and information texts, the byte counters plus one (zigzag).
class CRunWriter {
public:
    explicit CRunWriter(std::int64_t base) : m_time(base) {}
    void Add(std::int64_t seq, std::int64_t time, std::int64_t channel, std::int64_t actionReason,
             std::int64_t lasted, std::uint32_t ip, std::int64_t ipx, std::int64_t netbios, std::int64_t info,
             std::int64_t bytesIn, std::int64_t bytesOut) {
        char line[11 * 10];
        char* at = line;
        at = PutVarint(at, std::uint64_t(seq - m_seq - 1));
        at = PutVarint(at, Zigzag(time - m_time));
        at = PutVarint(at, std::uint64_t(channel));
        at = PutVarint(at, Zigzag(actionReason));
        at = PutVarint(at, Zigzag(lasted));
        at = PutVarint(at, ip);
        at = PutVarint(at, std::uint64_t(ipx));
        at = PutVarint(at, std::uint64_t(netbios));
        at = PutVarint(at, std::uint64_t(info));
        at = PutVarint(at, Zigzag(bytesIn + 1));
        at = PutVarint(at, Zigzag(bytesOut + 1));
        m_bytes.append(line, std::size_t(at - line));
        m_seq = seq;
        m_time = time;
    }
    std::string_view Bytes() const { return m_bytes; }
    void Reserve(std::size_t events) { m_bytes.reserve(events * 24); }

private:
    std::string m_bytes;
    std::int64_t m_seq = -1, m_time;
};

struct RunEvent {
    std::int64_t seq, time, channel, actionReason, lasted;
    std::uint32_t ip;
    std::int64_t ipx, netbios, info, bytesIn, bytesOut;
};

// Reads what CRunWriter wrote; false at the end or on bytes that are no run.
class CRunReader {
public:
    CRunReader(std::string_view bytes, std::int64_t base) : m_bytes(bytes), m_time(base) {}
    bool AtEnd() const { return m_bytes.empty(); }
    bool Next(RunEvent* e) {
        const std::string_view start = m_bytes;
        std::uint64_t v[11];
        for (std::uint64_t& value : v)
            if (!GetVarint(&m_bytes, &value)) {
                m_bytes = start; // a cut event leaves the run unread to its end
                return false;
            }
        m_seq += std::int64_t(v[0]) + 1;
        m_time += Unzigzag(v[1]);
        *e = {m_seq,
              m_time,
              std::int64_t(v[2]),
              Unzigzag(v[3]),
              Unzigzag(v[4]),
              std::uint32_t(v[5]),
              std::int64_t(v[6]),
              std::int64_t(v[7]),
              std::int64_t(v[8]),
              Unzigzag(v[9]) - 1,
              Unzigzag(v[10]) - 1};
        return true;
    }

private:
    std::string_view m_bytes;
    std::int64_t m_seq = -1, m_time;
};

void PutText(std::string* out, std::string_view text) {
    PutVarint(out, text.size());
    out->append(text);
}

bool GetText(std::string_view* in, std::string_view* text) {
    std::uint64_t size;
    if (!GetVarint(in, &size) || size > in->size())
        return false;
    *text = in->substr(0, std::size_t(size));
    in->remove_prefix(std::size_t(size));
    return true;
}

// A read day packed for the index, on the thread that read it: the texts of
// its channels and of its connect information in the order of their day
// numbers, then each account's run (the account's number in the store, the
// run). IPX and NetBIOS texts go by the store's own ids.
std::string PackDay(const CLogStore& store) {
    std::string packed;
    const std::int64_t base = store.Count() ? store.At(0).time : 0;
    std::vector<CRunWriter> runs(store.Users().Count(), CRunWriter(base));
    {
        std::vector<std::uint32_t> events(runs.size(), 0);
        for (std::uint32_t i = 0; i < store.Count(); ++i)
            ++events[store.At(i).user];
        for (std::size_t user = 0; user < runs.size(); ++user)
            runs[user].Reserve(events[user]);
    }
    std::vector<std::int64_t> channelIds;
    std::vector<std::string> channels;
    std::unordered_map<std::string_view, std::uint32_t> infoIds;
    std::vector<std::string_view> infos;
    std::uint32_t lastInfo = 0;
    for (std::uint32_t i = 0; i < store.Count(); ++i) {
        const CLogStore::Event& e = store.At(i);
        if (e.channel >= channelIds.size())
            channelIds.resize(e.channel + 1, -1);
        if (channelIds[e.channel] < 0) {
            channelIds[e.channel] = std::int64_t(channels.size());
            channels.push_back(std::string(store.Servers().Text(store.ServerId(e))) + '\\' +
                               std::string(store.Ports().Text(store.PortId(e))));
        }
        std::uint32_t info = 0;
        if (e.info) {
            // Connects of a day often carry the same text.
            const std::string_view text = store.InfoBytes(e);
            if (!infos.empty() && text == infos[lastInfo - 1]) {
                info = lastInfo;
            } else {
                const auto [it, added] = infoIds.try_emplace(text, std::uint32_t(infos.size() + 1));
                if (added)
                    infos.push_back(it->first);
                info = lastInfo = it->second;
            }
        }
        runs[e.user].Add(i, e.time, channelIds[e.channel], PackActionReason(e.action, e.reason), e.lasted,
                         e.ipAddress, store.IpxId(e), store.NetbiosId(e), info, store.BytesIn(e),
                         store.BytesOut(e));
    }
    PutVarint(&packed, channels.size());
    for (const std::string& channel : channels)
        PutText(&packed, channel);
    PutVarint(&packed, infos.size());
    for (const std::string_view info : infos)
        PutText(&packed, info);
    for (std::uint32_t user = 0; user < runs.size(); ++user)
        if (!runs[user].Bytes().empty()) {
            PutVarint(&packed, user);
            PutText(&packed, runs[user].Bytes());
        }
    return packed;
}

// A day's numbers for texts, as the name table's ids: channels, IPX, NetBIOS,
// information (whose number 0 is none), each a count and the ids.
struct DayNames {
    std::vector<std::int64_t> ids[4];

    std::string Bytes() const {
        std::string bytes;
        for (const auto& kind : ids) {
            PutVarint(&bytes, kind.size());
            for (const std::int64_t id : kind)
                PutVarint(&bytes, std::uint64_t(id));
        }
        return bytes;
    }
    bool Read(std::string_view bytes) {
        for (auto& kind : ids) {
            std::uint64_t count, id;
            if (!GetVarint(&bytes, &count) || count > bytes.size())
                return false;
            kind.resize(std::size_t(count));
            for (std::int64_t& value : kind) {
                if (!GetVarint(&bytes, &id))
                    return false;
                value = std::int64_t(id);
            }
        }
        return bytes.empty();
    }
    // The id of a day's number of a kind; -1 for a number the day does not have.
    std::int64_t Id(int kind, std::int64_t number) const {
        const auto& list = ids[kind];
        return number >= 0 && std::uint64_t(number) < list.size() ? list[std::size_t(number)] : -1;
    }
};

bool IsDamage(int rc) {
    rc &= 0xFF;
    return rc == SQLITE_CORRUPT || rc == SQLITE_NOTADB;
}

} // namespace

std::vector<CDayFile> ListDayFiles(const QString& logData, const QString& oldData) {
    const QLocale english(QLocale::English, QLocale::UnitedStates);
    std::map<QDate, CDayFile> days;
    // OldData first, so LogData's file of the same day replaces it.
    for (const auto& [folder, prefix] :
         {std::pair{oldData, u"OldData/"_s}, std::pair{logData, u"LogData/"_s}}) {
        if (folder.isEmpty())
            continue;
        const QFileInfoList entries =
            QDir(folder).entryInfoList({u"*.log"_s}, QDir::Files | QDir::Hidden | QDir::System);
        for (const QFileInfo& info : entries) {
            const QDate day = english.toDate(info.fileName().chopped(4), u"yyyy-MMM-dd"_s);
            if (day.isValid())
                days[day] = {day, prefix + info.fileName(), info.filePath(), info.size(),
                             info.lastModified().toSecsSinceEpoch()};
        }
    }
    std::vector<CDayFile> files;
    for (auto& entry : days)
        files.push_back(std::move(entry.second));
    return files;
}

CSessionIndex::CSessionIndex() = default;

CSessionIndex::~CSessionIndex() {
    Close();
}

QString CSessionIndex::DefaultFile(const QString& tempPath) {
    QDir folder(tempPath);
    folder.cdUp();
    return folder.filePath(u"Session Index/sessions.cwidx"_s);
}

void CSessionIndex::Close() {
    if (m_db)
        sqlite3_close_v2(m_db);
    m_db = nullptr;
    m_names.clear();
}

bool CSessionIndex::Exec(const char* sql) {
    return sqlite3_exec(m_db, sql, nullptr, nullptr, nullptr) == SQLITE_OK;
}

QString CSessionIndex::LastError() const {
    return m_db ? QString::fromUtf8(sqlite3_errmsg(m_db)) : u"out of memory"_s;
}

bool CSessionIndex::Create(QString* why) {
    if (sqlite3_open_v2(QFile::encodeName(m_file).constData(), &m_db,
                        SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE, nullptr) != SQLITE_OK) {
        *why = LastError();
        return false;
    }
    // Another console on the same folder waits its turn instead of failing.
    sqlite3_busy_timeout(m_db, 10000);
    int application = 0, version = 0, tables = 0;
    {
        CStatement check(m_db, "SELECT (SELECT application_id FROM pragma_application_id),"
                               " (SELECT user_version FROM pragma_user_version),"
                               " (SELECT count(*) FROM sqlite_schema)");
        const int rc = check ? check.Step() : sqlite3_errcode(m_db);
        if (rc != SQLITE_ROW) {
            *why = IsDamage(rc) ? u"it is damaged (%1)"_s.arg(LastError()) : LastError();
            return false;
        }
        application = int(check.Int(0));
        version = int(check.Int(1));
        tables = int(check.Int(2));
    }
    if (tables == 0) {
        if (!Exec("PRAGMA page_size=16384") || !Exec("PRAGMA journal_mode=WAL") ||
            !Exec(
                (u"BEGIN IMMEDIATE;"_s + QString::fromLatin1(kSchema) + u"COMMIT;"_s).toUtf8().constData())) {
            *why = LastError();
            Exec("ROLLBACK");
            return false;
        }
    } else if (application != kApplicationId) {
        *why = u"it is not a session index of this program"_s;
        return false;
    } else if (version != kSchemaVersion) {
        *why = u"it was written by another version of the program (%1)"_s.arg(version);
        return false;
    }
    Exec("PRAGMA synchronous=NORMAL");
    Exec("PRAGMA cache_size=-32768");
    // A light read of every table finds a file damaged where it starts.
    CStatement probe(m_db, "SELECT (SELECT count(*) FROM day), (SELECT max(day) FROM run),"
                           " (SELECT count(*) FROM name)");
    const int rc = probe ? probe.Step() : sqlite3_errcode(m_db);
    if (rc != SQLITE_ROW) {
        *why = IsDamage(rc) ? u"it is damaged (%1)"_s.arg(LastError()) : LastError();
        return false;
    }
    return true;
}

bool CSessionIndex::Open(const QString& file, QString* notice, QString* error) {
    Close();
    m_file = file;
    QDir().mkpath(QFileInfo(file).absolutePath());
    QString why;
    if (Create(&why))
        return true;
    Close();
    if (!QFileInfo::exists(file)) {
        *error = u"The session index %1 cannot be created: %2"_s.arg(file, why);
        return false;
    }
    // Kept, not deleted: it may be a newer console's index, or worth a look.
    const QString aside = file + u".bad"_s;
    QFile::remove(aside);
    if (!QFile::rename(file, aside)) {
        *error = u"The session index %1 cannot be used (%2) and cannot be set aside."_s.arg(file, why);
        return false;
    }
    QFile::remove(file + u"-wal"_s);
    QFile::remove(file + u"-shm"_s);
    *notice = u"The session index %1 could not be used: %2. It was set aside as %3 and is rebuilt from the "
              u"day logs."_s.arg(file, why, aside);
    QString again;
    if (Create(&again))
        return true;
    Close();
    *error = u"The session index %1 cannot be created: %2"_s.arg(file, again);
    return false;
}

std::unordered_map<std::string, CSessionIndex::DayRow> CSessionIndex::Days() const {
    std::unordered_map<std::string, DayRow> days;
    CStatement select(m_db, "SELECT id, file, date, size, modified, base FROM day");
    while (select && select.Step() == SQLITE_ROW)
        days.emplace(std::string(select.Blob(1)), DayRow{select.Int(0), select.Int(3), select.Int(4),
                                                         select.Int(5), QDate::fromJulianDay(select.Int(2))});
    return days;
}

std::int64_t CSessionIndex::Intern(int kind, std::string_view text) {
    if (text.empty())
        return 0;
    auto& names = m_names[std::size_t(kind)];
    if (const auto it = names.find(text); it != names.end())
        return it->second;
    CStatement insert(m_db, "INSERT INTO name(kind, text) VALUES(?, ?)");
    insert.Bind(1, kind);
    insert.BindText(2, text);
    if (!insert || !insert.Run())
        return -1;
    const std::int64_t id = sqlite3_last_insert_rowid(m_db);
    names.emplace(std::string(text), id);
    return id;
}

bool CSessionIndex::IndexDay(const CDayFile& file, const CLogStore& store, std::string_view packed,
                             const CDayReader::Stamp& stamp) {
    if (!Exec("BEGIN IMMEDIATE"))
        return false;
    // Names read inside the transaction, again whenever another connection
    // (another console, the search) has written since.
    std::int64_t version = -1;
    {
        CStatement data(m_db, "PRAGMA data_version");
        if (data && data.Step() == SQLITE_ROW)
            version = data.Int(0);
    }
    if (m_names.empty() || version != m_namesVersion || version < 0) {
        m_names.assign(Kinds, {});
        CStatement names(m_db, "SELECT id, kind, text FROM name");
        while (names && names.Step() == SQLITE_ROW)
            if (const auto kind = std::size_t(names.Int(1)); kind < m_names.size())
                m_names[kind].emplace(std::string(names.Blob(2)), names.Int(0));
        m_namesVersion = version;
    }
    const auto failed = [this] {
        Exec("ROLLBACK");
        m_names.clear();
        return false;
    };
    const std::string key = file.name.toStdString();
    {
        CStatement old(m_db, "SELECT id FROM day WHERE file = ?");
        old.BindText(1, key);
        if (old && old.Step() == SQLITE_ROW && !ForgetDay(old.Int(0)))
            return failed();
    }
    // The day's numbers for texts become the name table's ids.
    DayNames names;
    std::string_view in = packed;
    std::string_view text;
    // A packed list of texts: a count, then each text.
    const auto internList = [&](int kind, std::vector<std::int64_t>* ids) {
        std::uint64_t count = 0;
        if (!GetVarint(&in, &count))
            return false;
        for (std::uint64_t k = 0; k < count; ++k) {
            if (!GetText(&in, &text))
                return false;
            ids->push_back(Intern(kind, text));
        }
        return true;
    };
    if (!internList(Channel, &names.ids[0]))
        return failed();
    for (std::uint32_t id = 0; id < store.Ipx().Count(); ++id)
        names.ids[1].push_back(Intern(Ipx, store.Ipx().Text(id)));
    for (std::uint32_t id = 0; id < store.Netbios().Count(); ++id)
        names.ids[2].push_back(Intern(Netbios, store.Netbios().Text(id)));
    names.ids[3].push_back(0);
    if (!internList(Info, &names.ids[3]))
        return failed();
    for (const auto& kind : names.ids)
        if (std::any_of(kind.begin(), kind.end(), [](std::int64_t id) { return id < 0; }))
            return failed();

    CStatement day(
        m_db, "INSERT INTO day(file, date, size, modified, events, base, names) VALUES(?, ?, ?, ?, ?, ?, ?)");
    const std::string dayNames = names.Bytes();
    day.BindText(1, key);
    day.Bind(2, file.day.toJulianDay());
    day.Bind(3, stamp.size);
    day.Bind(4, stamp.modified);
    day.Bind(5, std::int64_t(store.Count()));
    day.Bind(6, store.Count() ? store.At(0).time : 0);
    day.BindText(7, dayNames);
    if (!day || !day.Run())
        return failed();
    const std::int64_t dayId = sqlite3_last_insert_rowid(m_db);

    CStatement insert(m_db, "INSERT INTO run(day, user, events) VALUES(?, ?, ?)");
    if (!insert)
        return failed();
    while (!in.empty()) {
        std::uint64_t number;
        if (!GetVarint(&in, &number) || number >= store.Users().Count() || !GetText(&in, &text))
            return failed();
        const std::int64_t user = Intern(User, store.Users().Text(std::uint32_t(number)));
        insert.Bind(1, dayId);
        insert.Bind(2, user);
        insert.BindText(3, text);
        if (user < 0 || !insert.Run())
            return failed();
    }
    if (!Exec("COMMIT"))
        return failed();
    return true;
}

bool CSessionIndex::ForgetDay(std::int64_t id) {
    CStatement runs(m_db, "DELETE FROM run WHERE day = ?");
    runs.Bind(1, id);
    CStatement forget(m_db, "DELETE FROM day WHERE id = ?");
    forget.Bind(1, id);
    return runs && forget && runs.Run() && forget.Run();
}

CSessionIndex::Refreshed CSessionIndex::Refresh(const std::vector<CDayFile>& files,
                                                const Progress& progress) {
    Refreshed result;
    if (!m_db) {
        result.error = u"The session index is not open."_s;
        return result;
    }
    const auto writeFailed = [&](const QString& what) {
        result.error = u"The session index %1 could not be updated (%2): %3"_s.arg(m_file, what, LastError());
    };
    std::unordered_map<std::string, DayRow> days = Days();
    std::unordered_map<std::string, const CDayFile*> present;
    for (const CDayFile& file : files)
        present.emplace(file.name.toStdString(), &file);
    for (const auto& [key, row] : days) {
        if (present.count(key))
            continue;
        if (!Exec("BEGIN IMMEDIATE") || !ForgetDay(row.id) || !Exec("COMMIT")) {
            Exec("ROLLBACK");
            writeFailed(QString::fromStdString(key));
            return result;
        }
        ++result.removed;
    }
    std::vector<const CDayFile*> changed;
    for (const CDayFile& file : files) {
        const auto it = days.find(file.name.toStdString());
        if (it != days.end() && it->second.size == file.size && it->second.modified == file.modified)
            ++result.unchanged;
        else
            changed.push_back(&file);
    }
    const int total = int(files.size());
    // The next days are read while this one goes into the index.
    CDayPrefetch reading(changed.size(), [&](std::size_t i) {
        CDayPrefetch::Day day = CDayPrefetch::ReadFile(changed[i]->path.toStdString());
        if (day.store)
            day.output = PackDay(*day.store);
        return day;
    });
    for (std::size_t i = 0; i < changed.size(); ++i) {
        if (progress && !progress(result.unchanged + int(i), total)) {
            result.stopped = true;
            return result;
        }
        const CDayPrefetch::Day day = reading.Take(i);
        if (!day.store) {
            ++result.unreadable;
            continue;
        }
        if (!IndexDay(*changed[i], *day.store, day.output, day.stamp)) {
            writeFailed(changed[i]->name);
            return result;
        }
        ++result.indexed;
        result.events += qint64(day.store->Count());
    }
    if (progress)
        progress(total, total);
    return result;
}

CSessionAnswer CSessionIndex::Search(const CSessionQuery& query, const std::vector<CDayFile>& files,
                                     const Shifts& shifts) {
    CSessionAnswer answer;
    if (!m_db) {
        answer.error = u"The session index is not open."_s;
        return answer;
    }
    const auto inRange = [&](QDate day) {
        return (!query.from.isValid() || day >= query.from) && (!query.to.isValid() || day <= query.to);
    };
    // One read transaction: a refresh in another thread or console commits whole days around it.
    Exec("BEGIN");
    struct Cleanup {
        CSessionIndex* self;
        ~Cleanup() { self->Exec("COMMIT"); }
    } cleanup{this};
    const std::unordered_map<std::string, DayRow> days = Days();
    for (const CDayFile& file : files) {
        if (!inRange(file.day))
            continue;
        const auto it = days.find(file.name.toStdString());
        if (it == days.end() || it->second.size != file.size || it->second.modified != file.modified)
            answer.missing.push_back(file.day);
    }
    std::vector<const DayRow*> wanted;
    for (const auto& [key, row] : days)
        if (inRange(row.day))
            wanted.push_back(&row);
    std::sort(wanted.begin(), wanted.end(), [](const DayRow* a, const DayRow* b) {
        return a->day != b->day ? a->day < b->day : a->id < b->id;
    });
    answer.days = int(wanted.size());

    // The filter's decisions, once per name.
    std::vector<std::string> texts;
    std::vector<char> passes;
    std::vector<std::int64_t> passingUsers;
    bool everyUser = true;
    {
        CStatement names(m_db, "SELECT id, kind, text FROM name");
        while (names && names.Step() == SQLITE_ROW) {
            const auto id = std::size_t(names.Int(0));
            if (texts.size() <= id) {
                texts.resize(id + 1);
                passes.resize(id + 1, 1);
            }
            texts[id] = std::string(names.Blob(2));
            if (names.Int(1) == User) {
                passes[id] = query.filter.UserPasses(CAnsi::ToQString(texts[id]));
                if (passes[id])
                    passingUsers.push_back(std::int64_t(id));
                else
                    everyUser = false;
            } else if (names.Int(1) == Channel) {
                const std::string_view text = texts[id];
                const std::size_t slash = text.rfind('\\');
                passes[id] = query.filter.ChannelPasses(CAnsi::ToQString(text.substr(0, slash)),
                                                        CAnsi::ToQString(text.substr(slash + 1)));
            }
        }
    }
    const bool emptyUserPasses = query.filter.UserPasses(QString());
    everyUser = everyUser && emptyUserPasses;

    auto store = std::make_shared<CLogStore>();
    std::unordered_map<std::int64_t, std::uint32_t> channels;
    const auto text = [&](std::int64_t id) -> std::string_view {
        return id > 0 && std::size_t(id) < texts.size() ? std::string_view(texts[std::size_t(id)])
                                                        : std::string_view();
    };
    struct Found {
        std::int64_t seq, channel;
        std::int32_t time;
        CwLog::LogValue value;
    };
    std::vector<Found> found;
    bool damaged = false;
    DayNames names;
    const auto collect = [&](const DayRow& day, std::int64_t user, std::string_view bytes) {
        CRunReader reader(bytes, day.base);
        RunEvent e;
        while (reader.Next(&e)) {
            const std::int64_t ids[] = {names.Id(0, e.channel), names.Id(1, e.ipx), names.Id(2, e.netbios),
                                        names.Id(3, e.info)};
            if (std::any_of(std::begin(ids), std::end(ids), [](std::int64_t id) { return id < 0; })) {
                damaged = true;
                return;
            }
            if (std::size_t(ids[0]) < passes.size() && !passes[std::size_t(ids[0])])
                continue;
            Found f{e.seq, ids[0], std::int32_t(e.time), {}};
            CwLog::LogValue& value = f.value;
            UnpackActionReason(e.actionReason, &value.action, &value.reason);
            if ((query.action >= 0 && value.action != query.action) ||
                (query.reason >= 0 && value.reason != query.reason))
                continue;
            value.lasted = std::int32_t(e.lasted);
            value.ipAddress = e.ip;
            value.ipx = text(ids[1]);
            value.netbios = text(ids[2]);
            value.info = text(ids[3]);
            value.bytesIn = e.bytesIn;
            value.bytesOut = e.bytesOut;
            value.user = text(user);
            found.push_back(f);
        }
        damaged = damaged || !reader.AtEnd();
    };
    const auto userPasses = [&](std::int64_t user) {
        return user == 0 ? emptyUserPasses : std::size_t(user) >= passes.size() || passes[std::size_t(user)];
    };
    // A few accounts are looked up; for many, reading the whole day is quicker.
    const bool wholeDays = everyUser || passingUsers.size() * 8 > texts.size();
    std::vector<std::int64_t> lookups = passingUsers;
    if (emptyUserPasses)
        lookups.push_back(0);
    CStatement whole(m_db, "SELECT user, events FROM run WHERE day = ?");
    CStatement one(m_db, "SELECT events FROM run WHERE day = ? AND user = ?");
    CStatement dayNames(m_db, "SELECT names FROM day WHERE id = ?");
    for (const DayRow* day : wanted) {
        found.clear();
        dayNames.Bind(1, day->id);
        const bool known = dayNames && dayNames.Step() == SQLITE_ROW && names.Read(dayNames.Blob(0));
        sqlite3_reset(*dayNames);
        if (!known) {
            damaged = true;
            continue;
        }
        if (wholeDays) {
            whole.Bind(1, day->id);
            while (whole && whole.Step() == SQLITE_ROW)
                if (userPasses(whole.Int(0)))
                    collect(*day, whole.Int(0), whole.Blob(1));
            sqlite3_reset(*whole);
        } else {
            one.Bind(1, day->id);
            for (const std::int64_t user : lookups) {
                one.Bind(2, user);
                if (one && one.Step() == SQLITE_ROW)
                    collect(*day, user, one.Blob(0));
                sqlite3_reset(*one);
            }
        }
        // Back into the log's order.
        std::sort(found.begin(), found.end(), [](const Found& a, const Found& b) { return a.seq < b.seq; });
        for (const Found& f : found) {
            auto [channel, added] = channels.try_emplace(f.channel, 0);
            if (added) {
                const std::string_view name = text(f.channel);
                const std::size_t slash = name.rfind('\\');
                channel->second = slash == std::string_view::npos
                                      ? store->AddChannel({}, {})
                                      : store->AddChannel(name.substr(0, slash), name.substr(slash + 1));
            }
            store->Add(channel->second, f.time, f.value);
        }
    }
    if (damaged) {
        answer.error =
            u"The session index %1 cannot be read: it is damaged. Delete it to have it rebuilt."_s.arg(
                m_file);
        return answer;
    }
    const int rc = sqlite3_errcode(m_db);
    if (rc != SQLITE_OK && rc != SQLITE_DONE && rc != SQLITE_ROW) {
        answer.error = u"The session index %1 cannot be read: %2"_s.arg(m_file, LastError());
        return answer;
    }
    store->Finish();
    for (const auto& [server, seconds] : shifts)
        store->ShiftTimes(server, seconds);
    answer.store = std::move(store);
    return answer;
}

qint64 CSessionIndex::Events() const {
    CStatement count(m_db, "SELECT coalesce(sum(events), 0) FROM day");
    return count && count.Step() == SQLITE_ROW ? count.Int(0) : 0;
}

qint64 CSessionIndex::FileBytes() const {
    CStatement pages(m_db, "SELECT page_count * page_size FROM pragma_page_count, pragma_page_size");
    return pages && pages.Step() == SQLITE_ROW ? pages.Int(0) : 0;
}
