#pragma once
// The console's single document: the hub through which views, dialogs and
// pages reach the monitored servers, the services' settings and the shared
// state (selection, view mode, shown day). Lives on the user-interface thread.

#include "core/accounts/tempuser.h"
#include "core/app/environment.h"
#include "core/app/registry.h"
#include "core/doc/view.h"
#include "core/log/dayprefetch.h"
#include "core/ocl/event.h"
#include "core/ras/rasfunc.h"
#include "core/ras/rraslibrary.h"
#include "core/servers/serverlist.h"
#include "core/stats/sessionexport.h"
#include "core/stats/statistics.h"
#include "core/stats/usagegraph.h"
#include "core/ui/frame.h"

#include <QDate>
#include <QObject>
#include <QString>
#include <QStringList>

#include <filesystem>
#include <functional>
#include <memory>
#include <vector>

class CLogStore;
struct CLogCellFormat;
class CUserStore;
struct CUserCellFormat;
class CServicePipeClient;

namespace ViewMode {
inline constexpr int Status = 0;
inline constexpr int History = 1;
inline constexpr int Usage = 2;
inline constexpr int Statistics = 3;
} // namespace ViewMode

// Selection kinds: the image index of the selected tree node.
namespace NodeKind {
inline constexpr int ServersRoot = 0;
inline constexpr int Server = 1;
inline constexpr int Port = 3;
inline constexpr int AccountsRoot = 6;
inline constexpr int User = 8;
inline constexpr int Domain = 9;
inline constexpr int Group = 10;
inline constexpr int Default = 12;
} // namespace NodeKind

inline const QString kNone = QStringLiteral("*");

class CCwadminDoc : public QObject {
    Q_OBJECT
public:
    CCwadminDoc(const CEnvironment& environment, CRasBinding& rasBinding, QObject* parent = nullptr);
    ~CCwadminDoc() override;

    // Where fetch notices go (the application object) and what shows status.
    void SetNotifyTarget(QObject* target) { m_notifyTarget = target; }
    QObject* NotifyTarget() const { return m_notifyTarget; }
    void SetFrame(IFrame* frame) { m_frame = frame; }
    IFrame* Frame() const { return m_frame; }

    const CEnvironment& Environment() const { return m_env; }
    CRegistry& Registry() { return m_registry; }
    CRASFunc& RasFunc() { return *m_rasFunc; }
    CRrasLibrary& Rras() { return m_rras; }
    CServerList& Servers() { return *m_servers; }
    CServicePipeClient& Pipe() { return *m_pipe; }

    // Views.
    void AddView(IView* view);
    void RemoveView(IView* view);
    const std::vector<IView*>& Views() const { return m_views; }
    void UpdateAllViews(IView* sender, int hint = Hint::None, const CHintObject* hintObject = nullptr);

    // Registry access on a computer ("" means this one) under
    // "Software\Osterline Technologies\Callwarden\<subkey>". Nothing is created.
    // ReadRegDWORD stores 0 when the computer or key cannot be opened and leaves
    // *value alone when only the value is missing; ReadRegString never touches
    // *value on failure.
    bool ReadRegDWORD(const QString& computer, const QString& subkey, const QString& name, DWORD* value);
    bool SetRegDWORD(const QString& computer, const QString& subkey, const QString& name, DWORD value);
    bool ReadRegString(const QString& computer, const QString& subkey, const QString& name, QString* value);
    bool SetRegString(const QString& computer, const QString& subkey, const QString& name,
                      const QString& value);

    bool OnNewDocument();
    void updateAllServersData();
    void UpdateServerData(int number, bool force);
    void UpdateServerData(const QString& name, bool force);
    int GetServerNumberByName(const QString& name) const;
    CServer* GetServerByName(const QString& name);
    bool SaveServerProperties(int number);
    // 0 unknown, 1 running, 2 not running.
    int IsServiceRunning(const QString& computer, bool trackingService);

    void SetStatus(const QString& text);
    // The local time of time (seconds since 1970) in the user's locale, with the
    // short date in front when withDate; flags as in timetext.h.
    QString TimeToLocalString(qint64 time, bool withDate, int flags = 0) const;
    void ReportNoMasterServer(const QString& text);
    bool MasterKnown() const { return m_servers->MasterKnown(); }
    void GetLangLocaleOnMaster(const QString& master);
    DWORD LanguageLocale() const { return m_languageLocale; }
    void Splash(bool show);
    void Trace(const QString& place, const QString& text, int number);

    // The status-bar busy animation: runs on the calling thread, drawing the block
    // through draw(x) every 20 ms, until "WaitProgressDraw" is signalled; then clear().
    void WaitProgress(const std::function<int()>& paneWidth, const std::function<void(int)>& draw,
                      const std::function<void()>& clear);
    OCL::ManualResetEvent& WaitProgressEvent() { return *m_waitProgressDraw; }

    // The shown day of the session history.
    void NavigateTo(int year, int month, int day);
    void Navigate(int direction);
    // The day Navigate(direction) goes to from day.
    static QDate Step(QDate day, int direction);
    int ShownYear() const { return m_year; }
    int ShownMonth() const { return m_month; }
    int ShownDay() const { return m_day; }

    // The shown day's log (doclog.cpp). Paths are as the console names them,
    // under the master's share: "<share>\LogData\yyyy-MMM-dd.log".
    QString CreateCurrentFileName();
    QString CreateLogFileName(qint64 time) const;
    // Modification time (seconds since 1970) and size; 0 when the file cannot be examined.
    qint64 GetDataOfFile(const QString& path) const;
    qint64 GetSizeOfFile(const QString& path) const;
    // Loads the current log file (keepPath 0: the shown day's; 1: the path the
    // caller put in m_currentLogFile), unless path, time and size are those of
    // the last load. The file is parsed on a worker thread while this thread
    // keeps painting (user input waits); the records change in one step at the
    // end. False, without loading, when called while a load is running.
    bool LoadLogRecords(int keepPath);
    // The records of the last load; never null.
    std::shared_ptr<const CLogStore> LogRecords() const { return m_logRecords; }
    bool LogLoading() const { return m_logLoading; }
    // How the log's cells are written: times by TimeToLocalString without the
    // date, durations as "TimeFormatSeconds" says.
    CLogCellFormat LogCellFormat() const;
    QString m_currentLogFile;

    // The account file (docusers.cpp). The list is read again only while the
    // reload flag m_usersReloadPending is set; a load that finds sections
    // clears it. The two flags are kept and play no further part. Returns the
    // number of accounts.
    quint32 LoadUsersFromFile(int flag1, int flag2);
    // The accounts of the last load; never null.
    std::shared_ptr<const CUserStore> Users() const { return m_users; }
    // The system's code of why the last load could not reach the file; 0 when it could.
    OCL::DWORD UsersLoadError() const { return m_usersLoadError; }
    // How the users view writes its cells.
    CUserCellFormat UserCellFormat() const;
    // The account file as this process opens it; empty, with the system's code
    // in *error, when no master is known or its share cannot be reached.
    std::filesystem::path LocalUsersFile(OCL::DWORD* error) const;
    // Asks "Permanently delete the profile for %s?"; on No returns the answer
    // and changes nothing, on Yes removes the section and returns the write's
    // result (1 or 0).
    int DeleteUser(const QString& section);
    // Removes whole sections, profile and statistics, in one write that keeps
    // what the service writes meanwhile. False with the reason in *error.
    bool RemoveUserSections(const QStringList& sections, QString* error = nullptr);
    // Whether the section holds a profile: its "MaxTotalTime" read with the default "*".
    bool UserProfileExists(const QString& section);
    // Writes the scratch profile into the section, in one write.
    bool TempUserSave(const QString& section);
    void TempUserReset();
    CTempUser m_tempUser;
    // Figures, usage and export of the session history (docstats.cpp).
    // Statistics of the loaded records, with the status texts; the view reads
    // them through Statistics().
    void Stat_Generate();
    void Stat_CountNumberOfSessions();
    void Stat_CoundSessionByHour();
    const CDayStatistics& Statistics() const { return m_statistics; }
    // The shown day as the main window's title shows it.
    QString ShownDayText() const;
    // "Save Stats to File": asks for the file, then writes the hourly table.
    bool Stat_Save();
    bool Stat_SaveToFile(const QString& path);
    // Reloads the shown day (keepPath 0) and rebuilds its usage intervals.
    const CUsageGraph& RebuildUsage();
    const CUsageGraph& Usage() const { return m_usage; }
    // The shown day for the usage bars, "now" from the clock.
    CUsageDay UsageDay() const;
    // Exports the days the settings choose, loading each as the views do, and
    // shows the shown day again at the end. The file is written beside its
    // name and takes the name only when the whole export is in it.
    CSessionExportResult ExportSessions(const CSessionExportSettings& settings,
                                        const CSessionExportProgress& progress = {});
    // The days of a month that have a log file: bit d for day d.
    quint32 LoggedDaysOfMonth(int year, int month) const;

    // Port and account operations over the RAS access layer.
    BOOL Update_ServerPortDataTemp(int serverIndex, const QString& portName);
    int GetUserRASPrivs(const QString& server, const QString& user);
    BOOL SetUserRASPrivs(const QString& server, const QString& user, BYTE privileges);
    DWORD DisconnectPort(const QString& serverName, const QString& portName);
    QString PortDetailFile() const;

    // The document's port-information records for the port detail view.
    OCL::RAS_PORT_1 m_port1{};
    OCL::RAS_PORT_STATISTICS m_portStatistics{};
    QString m_callbackNumber;

    // Shared state.
    int m_initialising = 0;
    int m_forceRefresh = 0;
    // Set when the document is made: the account list is read on first use.
    int m_usersReloadPending = 1;
    int m_viewMode = ViewMode::Status;
    quint32 m_historyColumns = 0xFFFFFFFF;
    int m_showSeconds = 0;
    int m_autoSizeColumns = 1;
    qint32 m_consoleTimeBias = 0;
    int m_busy = 0;

    int m_selectionKind = NodeKind::ServersRoot;
    QString m_selectedServer = kNone;
    QString m_selectedPort = kNone;
    QString m_selectedDomain = kNone;
    QString m_selectedGroup = kNone;
    QString m_selectedUser = kNone;
    int m_allAccounts = 0;

private:
    const CEnvironment& m_env;
    CRegistry m_registry;
    CRrasLibrary m_rras;
    std::unique_ptr<CRASFunc> m_rasFunc;
    std::unique_ptr<CServerList> m_servers;
    std::unique_ptr<CServicePipeClient> m_pipe;
    std::unique_ptr<OCL::ManualResetEvent> m_waitProgressDraw;
    QObject* m_notifyTarget = nullptr;
    IFrame* m_frame = nullptr;
    std::vector<IView*> m_views;
    DWORD m_languageLocale = 0;
    int m_year = 0;
    int m_month = 0;
    int m_day = 0;
    // The log last loaded, for the reload test.
    static std::shared_ptr<const CLogStore> EmptyLog();
    // Seconds each server's events move by: its bias against the console's.
    using TimeShifts = std::vector<std::pair<QString, std::int64_t>>;
    TimeShifts LogTimeShifts() const;
    // The file under path as this process opens it; empty when it cannot be reached.
    std::filesystem::path LocalLogFile(const QString& path) const;
    // Reads a day log as the loader does, on any thread: a file that cannot be
    // read is a day without events; stamp is kept then. Unfinished for a
    // reader that needs no display texts or sort ranks.
    static CDayPrefetch::Day ReadLogDay(const std::filesystem::path& local, CDayReader::Stamp stamp,
                                        const TimeShifts& shifts, const CDayReader::SectionSeen& seen = {},
                                        bool finish = true);
    // Makes a read day the loaded records of path.
    void AdoptLog(const QString& path, CDayPrefetch::Day day);
    // While it lives a load runs: no other starts, the cursor waits and the status says so.
    class CLogLoading {
    public:
        explicit CLogLoading(CCwadminDoc& doc) : m_doc(doc), m_wait(doc.m_frame) {
            doc.m_logLoading = true;
            doc.SetStatus(QStringLiteral("Loading Log Records..."));
        }
        ~CLogLoading() { m_doc.m_logLoading = false; }
        CLogLoading(const CLogLoading&) = delete;
        CLogLoading& operator=(const CLogLoading&) = delete;

    private:
        CCwadminDoc& m_doc;
        CWaitCursor m_wait;
    };
    std::shared_ptr<const CLogStore> m_logRecords = EmptyLog();
    QString m_loadedLogFile;
    qint64 m_loadedLogTime = 0;
    qint64 m_loadedLogSize = 0;
    bool m_logLoading = false;
    // The account list.
    static std::shared_ptr<const CUserStore> EmptyUsers();
    std::shared_ptr<const CUserStore> m_users = EmptyUsers();
    OCL::DWORD m_usersLoadError = 0;
    int m_usersLoadFlags[2] = {};
    CDayStatistics m_statistics;
    CUsageGraph m_usage;
};

// The status-bar busy block: 25 pixels wide, from 24 pixels left of the pane,
// one pixel a step, turning at the pane's width less 3 and back at -24.
class CWaitBlock {
public:
    int Position() const { return m_x; }
    int Step(int paneWidth);

private:
    int m_x = -24;
    int m_direction = 1;
};
