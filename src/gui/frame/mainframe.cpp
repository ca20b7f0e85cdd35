#include "gui/frame/mainframe.h"

#include "gui/app/artwork.h"
#include "gui/app/splash.h"

#include <QApplication>
#include <QLocale>
#include <QMenuBar>
#include <QStatusBar>

using namespace Qt::StringLiterals;

namespace {
const QString kCaption = u"Callwarden Administrator"_s;
}

CMainFrame::CMainFrame(CCwadminDoc& document, QWidget* parent) : QMainWindow(parent), m_doc(document) {
    setObjectName(u"mainFrame"_s);
    setWindowTitle(kCaption);
    setWindowIcon(CArtwork::ApplicationIcon());

    m_splitter = new QSplitter(Qt::Horizontal, this);
    m_splitter->setObjectName(u"containerSplitter"_s);
    m_tree = new QTreeWidget(m_splitter);
    m_tree->setObjectName(u"nodeTree"_s);
    m_tree->setHeaderHidden(true);
    m_rightPane = new QWidget(m_splitter);
    m_rightPane->setObjectName(u"rightPane"_s);
    m_splitter->setSizes({200, 600});
    m_splitter->setStretchFactor(1, 1);
    setCentralWidget(m_splitter);

    for (int i = 0; i < 3; ++i) {
        m_panes[i] = new QLabel(this);
        m_panes[i]->setObjectName(u"statusPane%1"_s.arg(i));
    }
    m_panes[1]->setFixedWidth(105);
    m_panes[2]->setFixedWidth(80);
    statusBar()->addWidget(m_panes[0], 1);
    statusBar()->addPermanentWidget(m_panes[1]);
    statusBar()->addPermanentWidget(m_panes[2]);
    SetStatus(u"Ready"_s);

    CreateMenus();
    resize(900, 600);
    m_doc.SetFrame(this);
}

CMainFrame::~CMainFrame() {
    if (m_doc.Frame() == this)
        m_doc.SetFrame(nullptr);
}

void CMainFrame::CreateMenus() {
    QMenu* help = menuBar()->addMenu(u"&Help"_s);
    help->addAction(u"&About Callwarden Administrator..."_s, this, &CMainFrame::OnAppAbout);
}

void CMainFrame::OnAppAbout() {
    CAboutDialog about(this);
    about.exec();
}

void CMainFrame::SetStatus(const QString& text) { m_panes[0]->setText(text); }

QString CMainFrame::StatusText() const { return m_panes[0]->text(); }

QLabel* CMainFrame::StatusPane(int pane) const { return m_panes[pane]; }

void CMainFrame::RefreshCaption() {
    if (m_doc.m_viewMode == ViewMode::Status || m_doc.ShownYear() == 0) {
        setWindowTitle(kCaption);
        return;
    }
    const QDate day(m_doc.ShownYear(), m_doc.ShownMonth(), m_doc.ShownDay());
    setWindowTitle(u"Callwarden Administrator - [%1]"_s.arg(QLocale::system().toString(day, QLocale::LongFormat)));
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
    if (servers[index].m_fetcher && servers[index].m_fetchFinished.load())
        servers.CleanUpThread(index);
}

void CMainFrame::OnNewServerState(std::size_t index) {
    ReleaseFinishedFetch(index);
    const CUpdateServerHint hint(index);
    m_doc.UpdateAllViews(nullptr, Hint::NewServerState, &hint);
}

void CMainFrame::OnNewServerData(std::size_t index) {
    ReleaseFinishedFetch(index);
    const CUpdateServerHint hint(index);
    m_doc.UpdateAllViews(nullptr, Hint::NewServerData, &hint);
}
