#pragma once
// The service's database on the master's data share as the administrator sees
// it: the profile files, the current and the migrated day logs with their
// sizes, and the deletions and moves of session data. Shared by the Database
// page and cwctl; asks nothing itself.

#include <QString>
#include <QStringList>

#include <filesystem>
#include <vector>

namespace OCL::Ini {
class Files;
}

namespace DatabaseKind {
inline constexpr int Current = 0;
inline constexpr int Migrated = 1;
inline constexpr int Day = 2;
inline constexpr int UserProfiles = 3;
inline constexpr int PortProfiles = 4;
inline constexpr int Root = 5;
} // namespace DatabaseKind

struct CDatabaseItem {
    int kind = DatabaseKind::Root;
    QString title;
    qint64 files = 0;
    qint64 bytes = 0;
    std::vector<CDatabaseItem> children;

    QString InfoText(const QString& shownRoot) const;
    // Delete and Migrate apply to a session-data folder holding files and to a day.
    bool CanChange() const;
};

// What an action came to: the files it could not handle safely, each with why.
struct CDatabaseResult {
    int done = 0;
    QStringList kept;

    bool Ok() const { return kept.isEmpty(); }
    QString Text() const;
};

class CDatabase {
public:
    // root: the data share as this process reaches it.
    explicit CDatabase(std::filesystem::path root) : m_root(std::move(root)) {}

    std::filesystem::path Root() const { return m_root; }
    std::filesystem::path Folder(int kind) const;

    // The tree: the root with "User Profiles", "Port Profiles", "Current Session
    // Data" and "Migrated Session Data", the two last with one item per day log.
    CDatabaseItem Tree() const;

    // The confirmation asked before acting on a whole folder; empty for a day.
    static QString DeleteQuestion(int kind);
    static QString MigrateQuestion(int kind);

    // kind: Current or Migrated; day: empty for all of the folder's logs, else
    // the day's title.
    CDatabaseResult Delete(int kind, const QString& day = {}) const;
    // Moves to the other folder: a copy that never overwrites, then the source
    // is deleted. A target that exists already keeps its content and the source
    // is deleted all the same; a copy that fails otherwise, or a log that grows
    // while it is copied, keeps the source.
    CDatabaseResult Migrate(int kind, const QString& day = {}) const;
    // Migrates the current logs whose day lies more than days before today
    // (yyyy, mm, dd); what the service's daily archiving does.
    CDatabaseResult MigrateOlderThan(int days, int year, int month, int day) const;

    // "AutoArchiveAge" of the hardware file's "General" section.
    static int AutoArchiveAge(OCL::Ini::Files& files, const std::filesystem::path& hardwareFile);
    static bool SetAutoArchiveAge(OCL::Ini::Files& files, const std::filesystem::path& hardwareFile, int days,
                                  std::string* error);

    // The day of a log's title ("2026-Nov-23") as days since 1970; false when it is none.
    static bool DayOfTitle(const QString& title, qint64* days);

private:
    std::vector<std::filesystem::path> Logs(int kind, const QString& day) const;
    bool MoveOne(const std::filesystem::path& source, const std::filesystem::path& target,
                 QStringList* kept) const;

    std::filesystem::path m_root;
};
