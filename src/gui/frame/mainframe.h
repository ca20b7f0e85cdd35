#pragma once
// The console's top-level window: the navigation bar, the container view (node
// tree and right-hand view), the toolbar and the status bar. It turns the
// navigation bar and the commands into view changes and dialogs, runs the
// periodic refresh of server data and passes the fetchers' notices to the views.

#include "core/doc/cwadmindoc.h"
#include "core/ui/frame.h"
#include "gui/views/viewregistry.h"

#include <QMainWindow>
#include <QMap>
#include <QPointer>
#include <QTimer>

#include <memory>

class CCwadminView;
class CNodeView;
class COutBar;
class CRightView;
class CSplash;
class QLabel;
class QMenu;
class QPrinter;

inline constexpr int TIMER_ID_REFRESH_SERVER_DATA = 20;
inline constexpr int kDefaultRefreshRate = 5000;

class CMainFrame : public QMainWindow, public IFrame {
    Q_OBJECT
public:
    // The right-pane families.
    enum Family { FamilyNone = 0, FamilyUsers = 1, FamilyServer = 2, FamilyServers = 6 };

    explicit CMainFrame(CCwadminDoc& document, QWidget* parent = nullptr);
    ~CMainFrame() override;

    CCwadminDoc& Document() { return m_doc; }
    CCwadminView* Container() const { return m_container; }
    CNodeView* NodeView() const;
    CRightView* RightView() const;
    COutBar* OutBar() const { return m_outBar; }

    // IFrame.
    void SetStatus(const QString& text) override;
    void RefreshCaption() override;
    void ShowSplash(bool show) override;
    void BeginWait() override;
    void EndWait() override;
    QString StatusText() const;
    QLabel* StatusPane(int pane) const { return m_panes[pane]; }
    // Status pane 1: "%d Events" (the day's loaded records) in the history
    // modes, nothing in Status mode; or the events of a search result shown.
    void ShowEventCount();
    void ShowEventCount(qsizetype events);

    // Arranging the right pane.
    void ArrangeViews();
    void InvalidateShownKind() { m_shownKind = -1; }
    bool ShownKindValid() const { return m_shownKind >= 0; }
    int ShownKind() const { return m_shownKind; }
    int ShownMode() const { return m_shownMode; }
    int RightPaneFamily() const { return m_family; }
    // Which view class a selection kind shows in a mode (none for kind 2 and others).
    static bool ViewFor(int kind, int mode, ViewClass* viewClass, QString* caption, int* hint, int* family);

    // The refresh timer.
    void SetRefreshRate(int rate);
    int RefreshRate() const { return m_refreshRate; }
    QTimer& RefreshTimer() { return m_refreshTimer; }
    void OnTimer(int id);

    // Notices from the fetchers, handed over by the application object.
    void OnNewServerState(std::size_t index);
    void OnNewServerData(std::size_t index);

    // The navigation bar's notices: 1 an item was clicked; 2, 3 and 4 (edits of
    // the bar) are refused with 1; others answer 0.
    int OnOutbarNotify(int notice, int folder, int item);

    // Commands.
    bool OnSystemAddServer();
    void OnSystemSettings();
    void OnViewStatus();
    void OnViewHistory();
    // The System menu's save and print commands, for the view shown.
    void OnFileSave();
    void OnFilePrint();
    void OnFilePrintPreview();
    void OnFilePrintSetup();
    // The printer the print commands share, so a setup holds for the next print.
    QPrinter& Printer();
    void OnViewRefresh();
    void OnViewRefreshRate();
    void OnServerExplore();
    void OnServerStartRas();
    void OnServerStopRas();
    void OnServerStart();
    void OnServerStop();
    void OnServerRemove();
    void OnServerProperties();
    void OnPortDisconnect();
    void OnPortProperties();
    void OnToolsSimulate();
    void OnToolsExport();
    void OnViewUsage();
    void OnViewStatistics();
    void OnGoBack();
    void OnGoForward();
    void OnGoCalendar();
    void OnContentHelp();
    void OnHelpConnectWeb();
    void OnHelpWhatVersionWeb();
    void OnAppAbout();
    void OnEditCopy();
    void OnEditDelete();
    void OnEditProperties();

    // The service-dependent server commands, enabled from the service states of
    // the selected server (whatever selected it); requery asks its service manager
    // again even when the selection still names the same server.
    void UpdateServerCommands(bool requery = false);

    // Adds the frame's action for a menu text (as the menus spell it) to menu.
    void AddCommand(QMenu& menu, const QString& text);
    QAction* Command(const QString& text) const { return m_commands.value(text); }

    // Web addresses of the two web commands.
    static const char* const kWebSite;
    static const char* const kLatestVersionPage;

protected:
    void closeEvent(QCloseEvent* event) override;

private:
    // Shows a history, usage or statistics mode, which all need the master server.
    void ShowDayView(int mode, const QString& refusal);
    void CreateLayout();
    void CreateCommands();
    void CreateMenusAndToolbar();
    QAction* MakeCommand(const QString& text, void (CMainFrame::*handler)(), const QIcon& icon = {});
    void StartServiceDialog(bool trackingService, bool start);
    void ReleaseFinishedFetch(std::size_t index);
    void UpdateDayCommands();
    void SelectViewMode(int mode);

    CCwadminDoc& m_doc;
    COutBar* m_outBar = nullptr;
    CCwadminView* m_container = nullptr;
    QLabel* m_panes[3] = {};
    QPointer<CSplash> m_splash;
    QMap<QString, QAction*> m_commands;
    std::unique_ptr<QPrinter> m_printer;
    QTimer m_refreshTimer;
    int m_refreshRate = kDefaultRefreshRate;
    int m_shownKind = -1;
    int m_shownMode = -1;
    int m_family = FamilyNone;
    int m_waitDepth = 0;
    // The server whose service states the server commands show, and those states.
    QString m_commandsServer;
    int m_rasState = 0;
    int m_trackingState = 0;
};
