#include "core/search/sessionindex.h"

#include "core/app/ansitext.h"

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
constexpr int kSchemaVersion = 2;

// Kinds of interned text; id 0 is the empty text of every kind.
enum NameKind { Channel = 1, User = 2, Ipx = 3, Netbios = 4, Info = 5, Kinds = 6 };

constexpr const char* kSchema = R"(
PRAGMA application_id = 1129793880;
PRAGMA user_version = 2;
CREATE TABLE name(id INTEGER PRIMARY KEY, kind INTEGER NOT NULL, text BLOB NOT NULL);
CREATE TABLE day(id INTEGER PRIMARY KEY, file TEXT NOT NULL UNIQUE, date INTEGER NOT NULL,
                 size INTEGER NOT NULL, modified INTEGER NOT NULL,
                 first INTEGER NOT NULL, last INTEGER NOT NULL, base INTEGER NOT NULL);
CREATE TABLE event(seq INTEGER, t INTEGER, ch INTEGER, user INTEGER, ar INTEGER, lasted INTEGER, ip INTEGER,
                   ipx INTEGER, netbios INTEGER, info INTEGER, bin INTEGER, bout INTEGER);
CREATE TABLE hit(user INTEGER, day INTEGER, first INTEGER, count INTEGER, PRIMARY KEY(user, day)) WITHOUT ROWID;
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
        if (!Exec("PRAGMA journal_mode=WAL") ||
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
    CStatement probe(m_db, "SELECT (SELECT count(*) FROM day), (SELECT max(rowid) FROM event),"
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
    CStatement select(m_db, "SELECT id, file, date, size, modified, first, last, base FROM day");
    while (select && select.Step() == SQLITE_ROW)
        days.emplace(std::string(select.Blob(1)),
                     DayRow{select.Int(0), select.Int(3), select.Int(4), select.Int(5), select.Int(6),
                            select.Int(7), QDate::fromJulianDay(select.Int(2))});
    return days;
}

std::int64_t CSessionIndex::Intern(int kind, std::string_view text) {
    if (text.empty())
        return 0;
    auto& names = m_names[std::size_t(kind)];
    if (const auto it = names.find(std::string(text)); it != names.end())
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

bool CSessionIndex::IndexDay(const CDayFile& file, const CLogStore& store, const CDayReader::Stamp& stamp) {
    if (!Exec("BEGIN IMMEDIATE"))
        return false;
    // Names read inside the transaction: another console may have added some.
    m_names.assign(Kinds, {});
    {
        CStatement names(m_db, "SELECT id, kind, text FROM name");
        while (names && names.Step() == SQLITE_ROW)
            if (const auto kind = std::size_t(names.Int(1)); kind < m_names.size())
                m_names[kind].emplace(std::string(names.Blob(2)), names.Int(0));
    }
    const auto failed = [this] {
        Exec("ROLLBACK");
        m_names.clear();
        return false;
    };
    const std::string key = file.name.toStdString();
    {
        CStatement old(m_db, "SELECT id, first, last FROM day WHERE file = ?");
        old.BindText(1, key);
        if (old && old.Step() == SQLITE_ROW && !ForgetDay(old.Int(0), old.Int(1), old.Int(2)))
            return failed();
    }
    std::int64_t first = 1;
    {
        CStatement top(m_db, "SELECT coalesce(max(rowid), 0) + 1 FROM event");
        if (!top || top.Step() != SQLITE_ROW)
            return failed();
        first = top.Int(0);
    }
    const std::int64_t base = store.Count() ? store.At(0).time : 0;
    CStatement day(
        m_db, "INSERT INTO day(file, date, size, modified, first, last, base) VALUES(?, ?, ?, ?, ?, ?, ?)");
    day.BindText(1, key);
    day.Bind(2, file.day.toJulianDay());
    day.Bind(3, stamp.size);
    day.Bind(4, stamp.modified);
    day.Bind(5, first);
    day.Bind(6, first + std::int64_t(store.Count()) - 1);
    day.Bind(7, base);
    if (!day || !day.Run())
        return failed();
    const std::int64_t dayId = sqlite3_last_insert_rowid(m_db);

    // Each account's events lie together, so a search for it reads one run of
    // rows per day; seq keeps the log's order.
    std::vector<std::uint32_t> order(store.Count());
    for (std::uint32_t i = 0; i < order.size(); ++i)
        order[i] = i;
    std::stable_sort(order.begin(), order.end(), [&store](std::uint32_t a, std::uint32_t b) {
        return store.At(a).user < store.At(b).user;
    });
    // Ids of the store's names, found once each.
    std::vector<std::int64_t> users(store.Users().Count(), -2), ipx(store.Ipx().Count(), -2),
        netbios(store.Netbios().Count(), -2);
    std::unordered_map<std::uint32_t, std::int64_t> channels;
    const auto cached = [this](std::vector<std::int64_t>& ids, const CNameTable& table, std::uint32_t id,
                               int kind) {
        if (ids[id] == -2)
            ids[id] = Intern(kind, table.Text(id));
        return ids[id];
    };
    CStatement insert(
        m_db, "INSERT INTO event(rowid, seq, t, ch, user, ar, lasted, ip, ipx, netbios, info, bin, bout)"
              " VALUES(?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?)");
    CStatement hit(m_db, "INSERT OR REPLACE INTO hit(user, day, first, count) VALUES(?, ?, ?, ?)");
    if (!insert || !hit)
        return failed();
    std::size_t runStart = 0;
    for (std::size_t k = 0; k < order.size(); ++k) {
        const std::uint32_t i = order[k];
        const CLogStore::Event& e = store.At(i);
        auto [channel, added] = channels.try_emplace(e.channel, 0);
        if (added) {
            const std::string text = std::string(store.Servers().Text(store.ServerId(e))) + '\\' +
                                     std::string(store.Ports().Text(store.PortId(e)));
            channel->second = Intern(Channel, text);
        }
        const std::int64_t ids[] = {channel->second, cached(users, store.Users(), e.user, User),
                                    cached(ipx, store.Ipx(), store.IpxId(e), Ipx),
                                    cached(netbios, store.Netbios(), store.NetbiosId(e), Netbios),
                                    e.info ? Intern(Info, store.InfoBytes(e)) : 0};
        if (std::any_of(std::begin(ids), std::end(ids), [](std::int64_t id) { return id < 0; }))
            return failed();
        insert.Bind(1, first + std::int64_t(k));
        insert.Bind(2, i);
        insert.Bind(3, std::int64_t(e.time) - base);
        insert.Bind(4, ids[0]);
        insert.Bind(5, ids[1]);
        insert.Bind(6, PackActionReason(e.action, e.reason));
        insert.Bind(7, e.lasted);
        insert.Bind(8, std::int32_t(e.ipAddress));
        insert.Bind(9, ids[2]);
        insert.Bind(10, ids[3]);
        insert.Bind(11, ids[4]);
        insert.Bind(12, store.BytesIn(e) + 1);
        insert.Bind(13, store.BytesOut(e) + 1);
        if (!insert.Run())
            return failed();
        if (k + 1 == order.size() || store.At(order[k + 1]).user != e.user) {
            hit.Bind(1, ids[1]);
            hit.Bind(2, dayId);
            hit.Bind(3, first + std::int64_t(runStart));
            hit.Bind(4, std::int64_t(k + 1 - runStart));
            if (!hit.Run())
                return failed();
            runStart = k + 1;
        }
    }
    if (!Exec("COMMIT"))
        return failed();
    return true;
}

bool CSessionIndex::ForgetDay(std::int64_t id, std::int64_t first, std::int64_t last) {
    CStatement drop(m_db, "DELETE FROM event WHERE rowid BETWEEN ? AND ?");
    drop.Bind(1, first);
    drop.Bind(2, last);
    CStatement hits(m_db, "DELETE FROM hit WHERE day = ?");
    hits.Bind(1, id);
    CStatement forget(m_db, "DELETE FROM day WHERE id = ?");
    forget.Bind(1, id);
    return drop && hits && forget && drop.Run() && hits.Run() && forget.Run();
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
        if (!Exec("BEGIN IMMEDIATE") || !ForgetDay(row.id, row.first, row.last) || !Exec("COMMIT")) {
            Exec("ROLLBACK");
            writeFailed(QString::fromStdString(key));
            return result;
        }
        ++result.removed;
    }
    int done = 0;
    for (const CDayFile& file : files) {
        if (progress && !progress(done, int(files.size()))) {
            result.stopped = true;
            return result;
        }
        ++done;
        const auto it = days.find(file.name.toStdString());
        if (it != days.end() && it->second.size == file.size && it->second.modified == file.modified) {
            ++result.unchanged;
            continue;
        }
        std::string bytes;
        CDayReader::Stamp stamp;
        std::unique_ptr<CLogStore> store;
        try {
            if (CDayReader::ReadFile(file.path.toStdString(), &bytes, &stamp))
                store = CDayReader::Parse(std::move(bytes));
        } catch (const std::bad_alloc&) {
            store.reset();
        }
        if (!store) {
            ++result.unreadable;
            continue;
        }
        if (!IndexDay(file, *store, stamp)) {
            writeFailed(file.name);
            return result;
        }
        ++result.indexed;
        result.events += qint64(store->Count());
    }
    if (progress)
        progress(done, int(files.size()));
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
        return a->day != b->day ? a->day < b->day : a->first < b->first;
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
    // The runs of rows to read per day: the whole day, or the passing accounts' runs.
    std::unordered_map<std::int64_t, std::vector<std::pair<std::int64_t, std::int64_t>>> runs;
    if (!everyUser) {
        CStatement select(m_db, "SELECT day, first, count FROM hit WHERE user = ?");
        for (std::int64_t user : passingUsers) {
            select.Bind(1, user);
            while (select && select.Step() == SQLITE_ROW)
                runs[select.Int(0)].emplace_back(select.Int(1), select.Int(1) + select.Int(2) - 1);
            sqlite3_reset(*select);
        }
    }
    struct Found {
        std::int64_t seq, channel;
        std::int32_t time;
        CwLog::LogValue value;
    };
    std::vector<Found> found;
    CStatement select(m_db,
                      "SELECT seq, t, ch, user, ar, lasted, ip, ipx, netbios, info, bin, bout FROM event"
                      " WHERE rowid BETWEEN ? AND ?");
    for (const DayRow* day : wanted) {
        std::vector<std::pair<std::int64_t, std::int64_t>> ranges{{day->first, day->last}};
        if (!everyUser) {
            const auto it = runs.find(day->id);
            ranges = it == runs.end() ? decltype(ranges)() : it->second;
        }
        found.clear();
        for (const auto& [from, to] : ranges) {
            select.Bind(1, from);
            select.Bind(2, to);
            while (select && select.Step() == SQLITE_ROW) {
                const std::int64_t ch = select.Int(2), user = select.Int(3);
                if (std::size_t(ch) < passes.size() && !passes[std::size_t(ch)])
                    continue;
                if (user == 0 ? !emptyUserPasses
                              : std::size_t(user) < passes.size() && !passes[std::size_t(user)])
                    continue;
                Found f{select.Int(0), ch, std::int32_t(day->base + select.Int(1)), {}};
                CwLog::LogValue& value = f.value;
                UnpackActionReason(select.Int(4), &value.action, &value.reason);
                if ((query.action >= 0 && value.action != query.action) ||
                    (query.reason >= 0 && value.reason != query.reason))
                    continue;
                value.lasted = std::int32_t(select.Int(5));
                value.ipAddress = std::uint32_t(std::int32_t(select.Int(6)));
                value.ipx = text(select.Int(7));
                value.netbios = text(select.Int(8));
                value.info = text(select.Int(9));
                value.bytesIn = select.Int(10) - 1;
                value.bytesOut = select.Int(11) - 1;
                value.user = text(user);
                found.push_back(f);
            }
            sqlite3_reset(*select);
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
    CStatement count(m_db, "SELECT count(*) FROM event");
    return count && count.Step() == SQLITE_ROW ? count.Int(0) : 0;
}

qint64 CSessionIndex::FileBytes() const {
    CStatement pages(m_db, "SELECT page_count * page_size FROM pragma_page_count, pragma_page_size");
    return pages && pages.Step() == SQLITE_ROW ? pages.Int(0) : 0;
}
