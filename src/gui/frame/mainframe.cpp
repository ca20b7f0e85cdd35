#include "gui/frame/mainframe.h"

#include "core/log/logstore.h"
#include "gui/app/artwork.h"
#include "gui/app/icons.h"
#include "gui/app/splash.h"
#include "gui/frame/containerview.h"
#include "gui/toolkit/consolesettings.h"
#include "gui/toolkit/outbar.h"
#include "gui/views/nodeview.h"
#include "gui/views/rightview.h"
#include "gui/views/serversview.h"

#include <QApplication>
#include <QCloseEvent>
#include <QDate>
#include <QHBoxLayout>
#include <QLabel>
#include <QLocale>
#include <QPrinter>
#include <QStatusBar>

using namespace Qt::StringLiterals;

namespace {
const QString kCaption = u"Callwarden Administrator"_s;
}

const char* const CMainFrame::kWebSite = "https://www.osterline-technologies.example/callwarden/";
const char* const CMainFrame::kLatestVersionPage =
    "https://www.osterline-technologies.example/callwarden/latest.html";

CMainFrame::CMainFrame(CCwadminDoc& document, QWidget* parent) : QMainWindow(parent), m_doc(document) {
    setObjectName(u"mainFrame"_s);
    setWindowTitle(kCaption);
    setWindowIcon(CArtwork::ApplicationIcon());
    m_doc.SetFrame(this);

    CreateLayout();
    CreateCommands();
    CreateMenusAndToolbar();

    m_refreshTimer.setObjectName(u"refreshTimer"_s);
    connect(&m_refreshTimer, &QTimer::timeout, this, [this] { OnTimer(TIMER_ID_REFRESH_SERVER_DATA); });
    // The stored choice, or 5 seconds when there is none.
    DWORD rate = DWORD(kDefaultRefreshRate);
    if (!m_doc.ReadRegDWORD({}, u"Client"_s, u"View Refresh"_s, &rate))
        rate = DWORD(kDefaultRefreshRate);
    SetRefreshRate(qint32(rate));

    resize(960, 640);
    CConsoleSettings::RestorePlacement(u"MainFrame"_s, this);
    UpdateDayCommands();
    NodeView()->OnInitialUpdate();
}

CMainFrame::~CMainFrame() {
    if (m_doc.Frame() == this)
        m_doc.SetFrame(nullptr);
}

void CMainFrame::CreateLayout() {
    auto* central = new QWidget(this);
    central->setObjectName(u"central"_s);
    auto* layout = new QHBoxLayout(central);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);

    m_outBar = new COutBar(central);
    m_outBar->setFixedWidth(78);
    const int folder = m_outBar->AddFolder(u"Callwarden"_s);
    static const char* const items[4] = {"Status", "History", "Usage", "Statistics"};
    static const ViewClass classes[4] = {ViewClass::Servers, ViewClass::Log, ViewClass::Use, ViewClass::Stat};
    // Items whose views are not part of this console yet are left out.
    for (int i = 0; i < 4; ++i)
        if (CViewRegistry::Available(classes[i]))
            m_outBar->AddItem(folder, QString::fromLatin1(items[i]), CIcons::ViewMode(i),
                              CIcons::ViewMode(i));
    m_outBar->SetSelectedItem(0);
    m_outBar->SetNotifyHandler(
        [this](int notice, int f, int item) { return OnOutbarNotify(notice, f, item); });
    layout->addWidget(m_outBar);

    m_container = new CCwadminView(m_doc, *this, central);
    layout->addWidget(m_container, 1);
    setCentralWidget(central);

    for (int i = 0; i < 3; ++i) {
        m_panes[i] = new QLabel(this);
        m_panes[i]->setObjectName(u"statusPane%1"_s.arg(i));
    }
    m_panes[1]->setFixedWidth(105);
    m_panes[2]->setFixedWidth(60);
    statusBar()->addWidget(m_panes[0], 1);
    statusBar()->addPermanentWidget(m_panes[1]);
    statusBar()->addPermanentWidget(m_panes[2]);
    SetStatus(u"Ready"_s);
}

CNodeView* CMainFrame::NodeView() const {
    return m_container->NodeView();
}

CRightView* CMainFrame::RightView() const {
    return m_container->RightView();
}

void CMainFrame::closeEvent(QCloseEvent* event) {
    CConsoleSettings::SavePlacement(u"MainFrame"_s, this);
    QMainWindow::closeEvent(event);
}

void CMainFrame::SetStatus(const QString& text) {
    m_panes[0]->setText(text);
}

QString CMainFrame::StatusText() const {
    return m_panes[0]->text();
}

void CMainFrame::RefreshCaption() {
    if (m_doc.m_viewMode == ViewMode::Status || m_doc.ShownYear() == 0) {
        setWindowTitle(kCaption);
        return;
    }
    const QDate day(m_doc.ShownYear(), m_doc.ShownMonth(), m_doc.ShownDay());
    setWindowTitle(
        u"Callwarden Administrator - [%1]"_s.arg(QLocale::system().toString(day, QLocale::LongFormat)));
}

void CMainFrame::ShowEventCount() {
    if (m_doc.m_viewMode == ViewMode::Status)
        m_panes[1]->clear();
    else
        ShowEventCount(qsizetype(m_doc.LogRecords()->Count()));
}

void CMainFrame::ShowEventCount(qsizetype events) {
    m_panes[1]->setText(u"%1 Events"_s.arg(events));
}

void CMainFrame::ShowSplash(bool show) {
    if (show) {
        if (!m_splash)
            m_splash = new CSplash(this);
        m_splash->show();
        m_splash->raise();
    } else if (m_splash) {
        m_splash->close();
        m_splash->deleteLater();
    }
}

void CMainFrame::BeginWait() {
    if (m_waitDepth++ == 0)
        QApplication::setOverrideCursor(Qt::WaitCursor);
}

void CMainFrame::EndWait() {
    if (m_waitDepth > 0 && --m_waitDepth == 0)
        QApplication::restoreOverrideCursor();
}

void CMainFrame::ReleaseFinishedFetch(std::size_t index) {
    CServerList& servers = m_doc.Servers();
    if (index < servers.GetCount() && servers[index].m_fetcher && servers[index].m_fetchFinished.load())
        servers.CleanUpThread(index);
}

void CMainFrame::OnNewServerState(std::size_t index) {
    ReleaseFinishedFetch(index);
    // A state change concerns only the server lists; nothing else is disturbed.
    const std::vector<IView*> views = m_doc.Views();
    for (IView* view : views)
        if (auto* servers = dynamic_cast<CServersView*>(view))
            servers->UpdateServerState(index);
}

void CMainFrame::OnNewServerData(std::size_t index) {
    ReleaseFinishedFetch(index);
    const CUpdateServerHint hint(index);
    m_doc.UpdateAllViews(nullptr, Hint::NewServerData, &hint);
}
