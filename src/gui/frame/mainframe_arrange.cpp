// Arranging the right pane, the navigation bar's notices and the refresh timer.
#include "gui/frame/mainframe.h"

#include "gui/frame/containerview.h"
#include "gui/toolkit/outbar.h"
#include "gui/views/rightview.h"

#include <QLabel>

using namespace Qt::StringLiterals;

bool CMainFrame::ViewFor(int kind, int mode, ViewClass* viewClass, QString* caption, int* hint, int* family) {
    static const ViewClass modeClasses[4] = {ViewClass::Servers, ViewClass::Log, ViewClass::Use,
                                             ViewClass::Stat};
    static const char* const modeCaptions[4] = {"Status", "History", "Usage", "Statistics"};
    if (mode < 0 || mode > 3)
        return false;
    if (kind == 0) {
        *family = FamilyServers;
        *viewClass = modeClasses[mode];
        *caption = QString::fromLatin1(modeCaptions[mode]);
        *hint = mode == 0 ? Hint::ServerListChanged : Hint::DayChanged;
        return true;
    }
    int statusHint;
    ViewClass statusClass;
    QString statusCaption;
    if (kind == 1) {
        *family = FamilyServer;
        statusClass = ViewClass::Ports;
        statusCaption = u"Ports"_s;
        statusHint = Hint::UPDATE_NEW_PORTS;
    } else if (kind >= 3 && kind <= 5) {
        *family = FamilyServer;
        statusClass = ViewClass::PortStatus;
        statusCaption = u"Port Status"_s;
        statusHint = Hint::None;
    } else if (kind >= 6 && kind <= 12) {
        *family = FamilyUsers;
        statusClass = ViewClass::Users;
        statusCaption = u"Users"_s;
        statusHint = Hint::UPDATE_NEW_USERS;
    } else {
        return false;
    }
    if (mode == 0) {
        *viewClass = statusClass;
        *caption = statusCaption;
        *hint = statusHint;
    } else {
        *viewClass = modeClasses[mode];
        *caption = QString::fromLatin1(modeCaptions[mode]);
        *hint = mode == 1 ? Hint::UPDATE_NEW_PORTS : Hint::DayChanged;
    }
    return true;
}

void CMainFrame::ArrangeViews() {
    const int kind = m_doc.m_selectionKind;
    const int mode = m_doc.m_viewMode;
    if (kind == m_shownKind && mode == m_shownMode)
        return;

    ViewClass viewClass;
    QString caption;
    int hint = Hint::None;
    int family = m_family;
    if (ViewFor(kind, mode, &viewClass, &caption, &hint, &family)) {
        if (const ViewFactory* factory = CViewRegistry::Find(viewClass)) {
            QWidget* pane = m_container;
            pane->setUpdatesEnabled(false);
            if (family == FamilyUsers && m_family != FamilyUsers)
                m_doc.m_usersReloadPending = 1;
            if (m_container->ReplaceView(*factory, caption, 932 + mode)) {
                m_family = family;
                if (hint != Hint::None)
                    m_doc.UpdateAllViews(nullptr, hint);
            }
            pane->setUpdatesEnabled(true);
        }
    }
    m_shownKind = kind;
    m_shownMode = mode;
    UpdateDayCommands();
    UpdateServerCommands();
}

int CMainFrame::OnOutbarNotify(int notice, int folder, int item) {
    switch (notice) {
    case COutBar::ItemClicked:
        if (folder == 0 && item >= 0 && item <= 3)
            SelectViewMode(item);
        return 0;
    case COutBar::Rename:
    case COutBar::Drag:
    case COutBar::Edit:
        return 1;
    default:
        return 0;
    }
}

void CMainFrame::SelectViewMode(int mode) {
    if (mode == ViewMode::Status)
        OnViewStatus();
    else if (mode == ViewMode::History)
        OnViewHistory();
    else if (mode == ViewMode::Usage)
        OnViewUsage();
    else if (mode == ViewMode::Statistics)
        OnViewStatistics();
}

void CMainFrame::OnViewStatus() {
    m_doc.m_viewMode = ViewMode::Status;
    m_outBar->SetSelectedItem(ViewMode::Status);
    ArrangeViews();
    RefreshCaption();
    ShowEventCount();
}

void CMainFrame::OnViewHistory() {
    ShowDayView(ViewMode::History, u"Can't show history"_s);
}

void CMainFrame::ShowDayView(int mode, const QString& refusal) {
    if (!m_doc.MasterKnown()) {
        m_doc.ReportNoMasterServer(refusal);
        return;
    }
    m_doc.m_viewMode = mode;
    m_outBar->SetSelectedItem(mode);
    ArrangeViews();
    RefreshCaption();
    ShowEventCount();
}

void CMainFrame::OnViewUsage() {
    ShowDayView(ViewMode::Usage, u"Can't show usage"_s);
}

void CMainFrame::OnViewStatistics() {
    ShowDayView(ViewMode::Statistics, u"Can't show statistics"_s);
}

void CMainFrame::OnViewRefresh() {
    m_doc.m_usersReloadPending = 1;
    m_doc.m_forceRefresh = 1;
    if (m_doc.MasterKnown())
        m_doc.LoadUsersFromFile(0, 0);
    UpdateServerCommands(true);
    if (m_family == FamilyNone || m_family == FamilyUsers || m_family == FamilyServer ||
        m_family == FamilyServers)
        m_doc.UpdateAllViews(nullptr, Hint::UPDATE_NEW_USERS);
}

void CMainFrame::SetRefreshRate(int rate) {
    m_refreshTimer.stop();
    if (rate > 0) {
        m_refreshTimer.start(rate);
        if (!m_refreshTimer.isActive())
            m_doc.Environment().Prompter().Inform(u"Impossible to set up server refresh timer"_s);
    }
    m_doc.SetRegDWORD({}, u"Client"_s, u"View Refresh"_s, DWORD(rate));
    m_refreshRate = rate;
}

void CMainFrame::OnTimer(int id) {
    if (id == TIMER_ID_REFRESH_SERVER_DATA)
        m_doc.updateAllServersData();
}
