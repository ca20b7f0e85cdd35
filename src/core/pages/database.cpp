#include "core/pages/database.h"

#include "ini/inifile.h"

#include <QDate>

#include <algorithm>
#include <array>
#include <climits>
#include <limits>
#include <system_error>

using namespace Qt::StringLiterals;
namespace fs = std::filesystem;

namespace {

constexpr std::array kMonths{"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                             "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};

QString NameOf(const fs::path& path) {
    return QString::fromStdString(path.filename().string());
}

qint64 SizeOf(const fs::path& path) {
    std::error_code error;
    const auto size = fs::file_size(path, error);
    return error ? 0 : qint64(size);
}

struct CStamp {
    qint64 size = -1;
    fs::file_time_type time;
    bool operator==(const CStamp&) const = default;
};

CStamp StampOf(const fs::path& path) {
    std::error_code error;
    CStamp stamp;
    stamp.size = qint64(fs::file_size(path, error));
    if (error)
        return {};
    stamp.time = fs::last_write_time(path, error);
    return error ? CStamp{} : stamp;
}

bool IsLog(const fs::directory_entry& entry) {
    std::error_code error;
    const std::string extension = entry.path().extension().string();
    return entry.is_regular_file(error) && extension.size() == 4 &&
           QString::fromStdString(extension).compare(u".log"_s, Qt::CaseInsensitive) == 0;
}

} // namespace

QString CDatabaseItem::InfoText(const QString& shownRoot) const {
    switch (kind) {
    case DatabaseKind::Root:
        return u"Database: %1"_s.arg(shownRoot);
    case DatabaseKind::Current:
    case DatabaseKind::Migrated:
        return u"%1 files, total of %2 bytes"_s.arg(files).arg(bytes);
    default:
        return u"%1 bytes"_s.arg(bytes);
    }
}

bool CDatabaseItem::CanChange() const {
    if (kind == DatabaseKind::Day)
        return true;
    return (kind == DatabaseKind::Current || kind == DatabaseKind::Migrated) && files > 0;
}

QString CDatabaseResult::Text() const {
    return u"These files were kept where they are:\n\n%1"_s.arg(kept.join(u'\n'));
}

fs::path CDatabase::Folder(int kind) const {
    return m_root / (kind == DatabaseKind::Migrated ? "OldData" : "LogData");
}

bool CDatabase::DayOfTitle(const QString& title, qint64* days) {
    const QStringList parts = title.split(u'-');
    if (parts.size() != 3)
        return false;
    const auto month = std::find_if(kMonths.begin(), kMonths.end(), [&](const char* name) {
        return parts[1].compare(QLatin1StringView(name), Qt::CaseInsensitive) == 0;
    });
    bool yearOk = false, dayOk = false;
    const QDate date(parts[0].toInt(&yearOk), int(month - kMonths.begin()) + 1, parts[2].toInt(&dayOk));
    if (!yearOk || !dayOk || month == kMonths.end() || !date.isValid())
        return false;
    *days = QDate(1970, 1, 1).daysTo(date);
    return true;
}

std::vector<fs::path> CDatabase::Logs(int kind, const QString& day) const {
    std::vector<fs::path> logs;
    std::error_code error;
    for (fs::directory_iterator it(Folder(kind), error), end; !error && it != end; it.increment(error))
        if (IsLog(*it) && (day.isEmpty() || NameOf(it->path()).chopped(4) == day))
            logs.push_back(it->path());
    // Days in calendar order; names that are no day after them, by name.
    const auto key = [](const fs::path& path) {
        qint64 days = 0;
        const QString title = NameOf(path).chopped(4);
        return std::pair(DayOfTitle(title, &days) ? days : std::numeric_limits<qint64>::max(), title);
    };
    std::sort(logs.begin(), logs.end(),
              [&](const fs::path& a, const fs::path& b) { return key(a) < key(b); });
    return logs;
}

CDatabaseItem CDatabase::Tree() const {
    CDatabaseItem root{DatabaseKind::Root, QString::fromStdString(m_root.string()), 0, 0, {}};
    root.children.push_back(
        {DatabaseKind::UserProfiles, u"User Profiles"_s, 0, SizeOf(m_root / "callward.usr"), {}});
    root.children.push_back(
        {DatabaseKind::PortProfiles, u"Port Profiles"_s, 0, SizeOf(m_root / "callward.hw"), {}});
    for (int kind : {DatabaseKind::Current, DatabaseKind::Migrated}) {
        CDatabaseItem folder{kind,
                             kind == DatabaseKind::Current ? u"Current Session Data"_s
                                                           : u"Migrated Session Data"_s,
                             0,
                             0,
                             {}};
        for (const fs::path& log : Logs(kind, {})) {
            const qint64 size = SizeOf(log);
            folder.children.push_back({DatabaseKind::Day, NameOf(log).chopped(4), 0, size, {}});
            ++folder.files;
            folder.bytes += size;
        }
        root.children.push_back(std::move(folder));
    }
    return root;
}

QString CDatabase::DeleteQuestion(int kind) {
    if (kind == DatabaseKind::Current)
        return u"Do you really want to delete all logged session data\nthat Callwarden is using?"_s;
    if (kind == DatabaseKind::Migrated)
        return u"Do you really want to delete all migrated (old) session data\nwithin Callwarden?"_s;
    return {};
}

QString CDatabase::MigrateQuestion(int kind) {
    if (kind == DatabaseKind::Current)
        return u"Do you really want to move all logged session data?"_s;
    if (kind == DatabaseKind::Migrated)
        return u"Do you really want to move back all migrated (old) session data?"_s;
    return {};
}

CDatabaseResult CDatabase::Delete(int kind, const QString& day) const {
    CDatabaseResult result;
    for (const fs::path& log : Logs(kind, day)) {
        std::error_code error;
        // A file that cannot be deleted stays as it is, unreported.
        if (fs::remove(log, error))
            ++result.done;
    }
    return result;
}

bool CDatabase::MoveOne(const fs::path& source, const fs::path& target, QStringList* kept) const {
    std::error_code error;
    const bool existed = fs::exists(target, error);
    if (!existed) {
        const CStamp before = StampOf(source);
        fs::create_directories(target.parent_path(), error);
        error.clear();
        const bool copied = fs::copy_file(source, target, fs::copy_options::none, error);
        QString why;
        if (!copied || error)
            why = QString::fromLocal8Bit(error.message());
        else if (StampOf(source) != before)
            why = u"it was written to while it was copied"_s;
        if (!why.isEmpty()) {
            // The target did not exist before: whatever the copy left there goes.
            std::error_code ignored;
            if (error.value() != int(std::errc::file_exists))
                fs::remove(target, ignored);
            kept->append(u"%1: %2"_s.arg(QString::fromStdString(source.string()), why));
            return false;
        }
    }
    // Also when the target existed: it keeps its content and the source goes.
    fs::remove(source, error);
    return true;
}

CDatabaseResult CDatabase::Migrate(int kind, const QString& day) const {
    CDatabaseResult result;
    const fs::path to =
        Folder(kind == DatabaseKind::Current ? DatabaseKind::Migrated : DatabaseKind::Current);
    for (const fs::path& log : Logs(kind, day))
        if (MoveOne(log, to / log.filename(), &result.kept))
            ++result.done;
    return result;
}

CDatabaseResult CDatabase::MigrateOlderThan(int days, int year, int month, int day) const {
    CDatabaseResult result;
    const qint64 today = QDate(1970, 1, 1).daysTo(QDate(year, month, day));
    const fs::path to = Folder(DatabaseKind::Migrated);
    for (const fs::path& log : Logs(DatabaseKind::Current, {})) {
        qint64 logDay = 0;
        if (DayOfTitle(NameOf(log).chopped(4), &logDay) && today - logDay > days &&
            MoveOne(log, to / log.filename(), &result.kept))
            ++result.done;
    }
    return result;
}

int CDatabase::AutoArchiveAge(OCL::Ini::Files& files, const fs::path& hardwareFile) {
    return int(
        std::clamp<long long>(files.GetInt(hardwareFile, "General", "AutoArchiveAge", 0), INT_MIN, INT_MAX));
}

bool CDatabase::SetAutoArchiveAge(OCL::Ini::Files& files, const fs::path& hardwareFile, int days,
                                  std::string* error) {
    return files.WriteString(hardwareFile, "General", "AutoArchiveAge", std::to_string(days), error);
}
