// The main frame's menus, toolbar and command handlers.
#include "gui/frame/mainframe.h"

#include "gui/app/icons.h"
#include "gui/app/splash.h"
#include "gui/dialogs/addservers.h"
#include "gui/dialogs/calendardialog.h"
#include "gui/dialogs/exportmulti.h"
#include "gui/dialogs/findsessions.h"
#include "gui/dialogs/servicestartstop.h"
#include "gui/dialogs/simulatesession.h"
#include "gui/frame/containerview.h"
#include "gui/frame/refreshrate.h"
#include "gui/pages/portproperties.h"
#include "gui/pages/serverproperties.h"
#include "gui/pages/systemsettings.h"
#include "gui/toolkit/help.h"
#include "gui/views/nodeview.h"
#include "gui/views/rightview.h"

#include <QApplication>
#include <QMenu>
#include <QMenuBar>
#include <QToolBar>

using namespace Qt::StringLiterals;
using Command = CIcons::Command;

QAction* CMainFrame::MakeCommand(const QString& text, void (CMainFrame::*handler)(), const QIcon& icon) {
    auto* action = new QAction(icon, text, this);
    action->setObjectName(text);
    connect(action, &QAction::triggered, this, handler);
    m_commands.insert(text, action);
    return action;
}

void CMainFrame::CreateCommands() {
    // The System menu and the tree's menu spell the same command each in its own way.
    for (const QString& text : {u"Add RAS Server..."_s, u"&Add RAS server..."_s}) {
        auto* add = new QAction(CIcons::CommandIcon(Command::AddServer), text, this);
        connect(add, &QAction::triggered, this, [this] { OnSystemAddServer(); });
        m_commands.insert(text, add);
    }
    for (const QString& text : {u"System Settings..."_s, u"&System Settings..."_s}) {
        auto* settings = new QAction(text, this);
        connect(settings, &QAction::triggered, this, &CMainFrame::OnSystemSettings);
        m_commands.insert(text, settings);
    }

    MakeCommand(u"Save Data &As..."_s, &CMainFrame::OnFileSave)->setShortcut(QKeySequence::Save);
    MakeCommand(u"&Print..."_s, &CMainFrame::OnFilePrint)->setShortcut(QKeySequence::Print);
    MakeCommand(u"Print Pre&view"_s, &CMainFrame::OnFilePrintPreview);
    MakeCommand(u"Print Set&up..."_s, &CMainFrame::OnFilePrintSetup);

    auto* exit = new QAction(u"E&xit"_s, this);
    connect(exit, &QAction::triggered, this, &QWidget::close);
    m_commands.insert(exit->text(), exit);

    MakeCommand(u"&Copy"_s, &CMainFrame::OnEditCopy, CIcons::CommandIcon(Command::Copy))
        ->setShortcut(QKeySequence::Copy);
    MakeCommand(u"&Delete"_s, &CMainFrame::OnEditDelete, CIcons::CommandIcon(Command::Delete));
    MakeCommand(u"Prope&rties"_s, &CMainFrame::OnEditProperties, CIcons::CommandIcon(Command::Properties));

    MakeCommand(u"&Status View"_s, &CMainFrame::OnViewStatus, CIcons::ViewMode(0));
    MakeCommand(u"&Log View"_s, &CMainFrame::OnViewHistory, CIcons::ViewMode(1));
    MakeCommand(u"&Usage Graph"_s, &CMainFrame::OnViewUsage, CIcons::ViewMode(2));
    MakeCommand(u"S&tatistics"_s, &CMainFrame::OnViewStatistics, CIcons::ViewMode(3));
    MakeCommand(u"&Refresh"_s, &CMainFrame::OnViewRefresh, CIcons::CommandIcon(Command::Refresh))
        ->setShortcut(QKeySequence(Qt::Key_F5));
    MakeCommand(u"Refresh R&ate..."_s, &CMainFrame::OnViewRefreshRate);

    MakeCommand(u"&Explore"_s, &CMainFrame::OnServerExplore);
    MakeCommand(u"St&art RAS"_s, &CMainFrame::OnServerStartRas, CIcons::CommandIcon(Command::StartRas));
    MakeCommand(u"St&op RAS"_s, &CMainFrame::OnServerStopRas, CIcons::CommandIcon(Command::StopRas));
    MakeCommand(u"S&tart Callwarden"_s, &CMainFrame::OnServerStart,
                CIcons::CommandIcon(Command::StartService));
    MakeCommand(u"&Stop Callwarden"_s, &CMainFrame::OnServerStop, CIcons::CommandIcon(Command::StopService));
    MakeCommand(u"&Remove Server"_s, &CMainFrame::OnServerRemove, CIcons::CommandIcon(Command::RemoveServer));
    MakeCommand(u"&Properties"_s, &CMainFrame::OnServerProperties, CIcons::CommandIcon(Command::Properties));
    MakeCommand(u"&Disconnect"_s, &CMainFrame::OnPortDisconnect, CIcons::CommandIcon(Command::Disconnect));
    // The port menu's "&Properties" opens the port's profile; the server menu's its settings.
    auto* portProperties = new QAction(CIcons::CommandIcon(Command::Properties), u"&Properties"_s, this);
    connect(portProperties, &QAction::triggered, this, &CMainFrame::OnPortProperties);
    m_commands.insert(u"Port &Properties"_s, portProperties);
    MakeCommand(u"Simulate Sessions..."_s, &CMainFrame::OnToolsSimulate,
                CIcons::CommandIcon(Command::Simulate));
    MakeCommand(u"&Export Sessions To File..."_s, &CMainFrame::OnToolsExport);
    auto* find = new QAction(u"&Find Sessions..."_s, this);
    find->setObjectName(find->text());
    connect(find, &QAction::triggered, this, [this] { ShowFindSessions(m_doc, *this); });
    m_commands.insert(find->text(), find);

    MakeCommand(u"Go &Back"_s, &CMainFrame::OnGoBack, CIcons::CommandIcon(Command::Back));
    MakeCommand(u"Go &Forward"_s, &CMainFrame::OnGoForward, CIcons::CommandIcon(Command::Forward));
    MakeCommand(u"Go to &Calendar..."_s, &CMainFrame::OnGoCalendar, CIcons::CommandIcon(Command::Calendar));

    MakeCommand(u"&Contents"_s, &CMainFrame::OnContentHelp)->setShortcut(QKeySequence::HelpContents);
    MakeCommand(u"Callwarden on the &Web"_s, &CMainFrame::OnHelpConnectWeb);
    MakeCommand(u"What is the &Latest Version?"_s, &CMainFrame::OnHelpWhatVersionWeb);
    MakeCommand(u"&About Callwarden Administrator..."_s, &CMainFrame::OnAppAbout);

    for (const QString& name :
         {u"St&art RAS"_s, u"St&op RAS"_s, u"S&tart Callwarden"_s, u"&Stop Callwarden"_s})
        m_commands[name]->setEnabled(false);
}

void CMainFrame::CreateMenusAndToolbar() {
    QMenu* system = menuBar()->addMenu(u"&System"_s);
    system->addAction(m_commands[u"Add RAS Server..."_s]);
    system->addAction(m_commands[u"System Settings..."_s]);
    system->addSeparator();
    system->addAction(m_commands[u"Save Data &As..."_s]);
    system->addSeparator();
    for (const QString& name : {u"&Print..."_s, u"Print Pre&view"_s, u"Print Set&up..."_s})
        system->addAction(m_commands[name]);
    system->addSeparator();
    system->addAction(m_commands[u"E&xit"_s]);
    // Only a view that prints is offered the print commands.
    connect(system, &QMenu::aboutToShow, this, [this] {
        const bool printable = RightView() && RightView()->CanPrint();
        m_commands[u"&Print..."_s]->setEnabled(printable);
        m_commands[u"Print Pre&view"_s]->setEnabled(printable);
    });

    QMenu* edit = menuBar()->addMenu(u"&Edit"_s);
    edit->addAction(m_commands[u"&Copy"_s]);
    edit->addAction(m_commands[u"&Delete"_s]);
    edit->addAction(m_commands[u"Prope&rties"_s]);
    connect(edit, &QMenu::aboutToShow, this, [this] {
        CRightView* view = RightView();
        m_commands[u"&Copy"_s]->setEnabled(view && view->CanEditCopy());
        m_commands[u"&Delete"_s]->setEnabled(view && view->CanEditDelete());
        m_commands[u"Prope&rties"_s]->setEnabled(view && view->CanEditProperties());
    });

    QMenu* server = menuBar()->addMenu(u"Se&rver"_s);
    for (const QString& name :
         {u"St&art RAS"_s, u"St&op RAS"_s, u"S&tart Callwarden"_s, u"&Stop Callwarden"_s})
        server->addAction(m_commands[name]);
    server->addSeparator();
    server->addAction(m_commands[u"&Remove Server"_s]);
    connect(server, &QMenu::aboutToShow, this, [this] { UpdateServerCommands(); });

    QMenu* tools = menuBar()->addMenu(u"&Tools"_s);
    tools->addAction(m_commands[u"Simulate Sessions..."_s]);
    tools->addAction(m_commands[u"&Export Sessions To File..."_s]);
    tools->addAction(m_commands[u"&Find Sessions..."_s]);

    QMenu* view = menuBar()->addMenu(u"&View"_s);
    view->addAction(m_commands[u"&Status View"_s]);
    if (CViewRegistry::Available(ViewClass::Log))
        view->addAction(m_commands[u"&Log View"_s]);
    view->addAction(m_commands[u"&Usage Graph"_s]);
    view->addAction(m_commands[u"S&tatistics"_s]);
    view->addSeparator();
    view->addAction(m_commands[u"Go &Back"_s]);
    view->addAction(m_commands[u"Go &Forward"_s]);
    view->addAction(m_commands[u"Go to &Calendar..."_s]);
    view->addSeparator();
    view->addAction(m_commands[u"&Refresh"_s]);
    view->addAction(m_commands[u"Refresh R&ate..."_s]);

    QMenu* help = menuBar()->addMenu(u"&Help"_s);
    help->addAction(m_commands[u"&Contents"_s]);
    help->addSeparator();
    help->addAction(m_commands[u"Callwarden on the &Web"_s]);
    help->addAction(m_commands[u"What is the &Latest Version?"_s]);
    help->addSeparator();
    help->addAction(m_commands[u"&About Callwarden Administrator..."_s]);

    QToolBar* toolbar = addToolBar(u"Standard"_s);
    toolbar->setObjectName(u"toolbar"_s);
    toolbar->setIconSize(QSize(16, 16));
    toolbar->setMovable(false);
    toolbar->addAction(m_commands[u"Add RAS Server..."_s]);
    toolbar->addAction(m_commands[u"&Refresh"_s]);
    toolbar->addSeparator();
    for (const QString& name : {u"St&art RAS"_s, u"St&op RAS"_s, u"S&tart Callwarden"_s,
                                u"&Stop Callwarden"_s, u"&Remove Server"_s})
        toolbar->addAction(m_commands[name]);
    toolbar->addSeparator();
    toolbar->addAction(m_commands[u"Prope&rties"_s]);
    toolbar->addSeparator();
    toolbar->addAction(m_commands[u"Go &Back"_s]);
    toolbar->addAction(m_commands[u"Go to &Calendar..."_s]);
    toolbar->addAction(m_commands[u"Go &Forward"_s]);
    toolbar->addSeparator();
    toolbar->addAction(m_commands[u"Simulate Sessions..."_s]);
}

void CMainFrame::AddCommand(QMenu& menu, const QString& text) {
    if (QAction* action = m_commands.value(text))
        menu.addAction(action);
    if (text == u"St&art RAS"_s)
        UpdateServerCommands();
}

void CMainFrame::UpdateServerCommands(bool requery) {
    // The states are remote calls: asked when the selection names another server
    // or when asked to (after a start or stop, on Refresh), never per menu shown.
    const QString server = m_doc.m_selectedServer;
    if (server == kNone || m_doc.GetServerNumberByName(server) < 0) {
        m_commandsServer.clear();
        m_rasState = m_trackingState = 0;
    } else if (requery || server != m_commandsServer) {
        m_commandsServer = server;
        m_rasState = m_doc.IsServiceRunning(server, false);
        m_trackingState = m_doc.IsServiceRunning(server, true);
    }
    m_commands[u"St&art RAS"_s]->setEnabled(m_rasState == 2);
    m_commands[u"St&op RAS"_s]->setEnabled(m_rasState == 1);
    m_commands[u"S&tart Callwarden"_s]->setEnabled(m_trackingState == 2);
    m_commands[u"&Stop Callwarden"_s]->setEnabled(m_trackingState == 1);
}

bool CMainFrame::OnSystemAddServer() {
    CAddServers dialog(m_doc, *this, this);
    return dialog.exec() == QDialog::Accepted;
}

void CMainFrame::OnSystemSettings() {
    ShowSystemSettings(m_doc, this);
}

void CMainFrame::StartServiceDialog(bool trackingService, bool start) {
    if (m_doc.m_selectedServer == kNone)
        return;
    CServiceStartStop dialog(m_doc, m_doc.m_selectedServer, trackingService, start, this);
    dialog.exec();
    UpdateServerCommands(true);
}

void CMainFrame::OnServerStartRas() {
    StartServiceDialog(false, true);
}
void CMainFrame::OnServerStopRas() {
    StartServiceDialog(false, false);
}
void CMainFrame::OnServerStart() {
    StartServiceDialog(true, true);
}
void CMainFrame::OnServerStop() {
    StartServiceDialog(true, false);
}

void CMainFrame::OnServerRemove() {
    const QString server = m_doc.m_selectedServer;
    if (server == kNone || m_doc.GetServerNumberByName(server) < 0)
        return;
    const auto answer = m_doc.Environment().Prompter().Ask(
        u"Remove %1 from the list of monitored servers?"_s.arg(server), u"Remove Server?"_s);
    if (answer == OCL::IPrompter::No)
        return;
    m_doc.Servers().DelServer(server);
    m_doc.UpdateAllViews(nullptr, Hint::ServerListChanged);
    UpdateServerCommands();
}

void CMainFrame::OnServerExplore() {
    if (m_doc.m_selectedServer == kNone)
        return;
    m_doc.m_selectionKind = NodeKind::Server;
    InvalidateShownKind();
    m_doc.UpdateAllViews(nullptr, Hint::SelectNode);
}

void CMainFrame::OnServerProperties() {
    if (m_doc.m_selectedServer == kNone)
        return;
    if (m_doc.m_selectionKind >= 3 && m_doc.m_selectionKind <= 5) {
        OnPortProperties();
        return;
    }
    ShowServerProperties(m_doc, m_doc.m_selectedServer, this);
}

void CMainFrame::OnPortProperties() {
    if (m_doc.m_selectedServer == kNone || m_doc.m_selectedPort == kNone)
        return;
    ShowPortProperties(m_doc, m_doc.m_selectedServer, m_doc.m_selectedPort, this);
}

void CMainFrame::OnToolsSimulate() {
    CSimulateSession dialog(m_doc, this);
    dialog.exec();
}

void CMainFrame::OnToolsExport() {
    if (!m_doc.MasterKnown()) {
        m_doc.ReportNoMasterServer(u"Can't export sessions"_s);
        return;
    }
    CExportMulti dialog(m_doc, this);
    dialog.exec();
}

void CMainFrame::OnPortDisconnect() {
    if (m_doc.m_selectedServer == kNone || m_doc.m_selectedPort == kNone)
        return;
    const int number = m_doc.GetServerNumberByName(m_doc.m_selectedServer);
    if (number < 0)
        return;
    // An idle port has nothing to disconnect.
    const CServer& server = m_doc.Servers()[std::size_t(number)];
    bool connected = false;
    {
        auto lock = server.Lock();
        for (int i = 0; i < server.SlotCount(); ++i)
            if (QString::fromLatin1(server.m_ports[i].name) == m_doc.m_selectedPort)
                connected = server.m_ports[i].user[0] != '\0';
    }
    if (connected)
        m_doc.DisconnectPort(m_doc.m_selectedServer, m_doc.m_selectedPort);
}

void CMainFrame::OnViewRefreshRate() {
    CRefreshRate dialog(m_refreshRate, &m_doc.Environment().Prompter(), this);
    if (dialog.exec() == QDialog::Accepted)
        SetRefreshRate(dialog.Rate());
}

void CMainFrame::UpdateDayCommands() {
    const bool history = m_shownMode > 0;
    m_commands[u"Go &Back"_s]->setEnabled(history);
    m_commands[u"Go &Forward"_s]->setEnabled(history);
    m_commands[u"Go to &Calendar..."_s]->setEnabled(history);
}

void CMainFrame::OnGoBack() {
    m_doc.Navigate(1);
    m_doc.UpdateAllViews(nullptr, Hint::DayChanged);
}

void CMainFrame::OnGoForward() {
    m_doc.Navigate(2);
    m_doc.UpdateAllViews(nullptr, Hint::DayChanged);
}

void CMainFrame::OnGoCalendar() {
    if (!m_doc.MasterKnown()) {
        m_doc.ReportNoMasterServer(u"Can't go to calendar"_s);
        return;
    }
    CCalendarJump dialog(m_doc, QDate(m_doc.ShownYear(), m_doc.ShownMonth(), m_doc.ShownDay()), this);
    if (dialog.exec() == QDialog::Accepted) {
        const QDate day = dialog.SelectedDate();
        m_doc.NavigateTo(day.year(), day.month(), day.day());
    }
    m_doc.UpdateAllViews(NodeView(), Hint::DayChanged);
}

void CMainFrame::OnContentHelp() {
    CHelp::Show(CHelp::Contents, this);
}

void CMainFrame::OnHelpConnectWeb() {
    m_doc.Environment().Shell().Open("open", kWebSite);
}

void CMainFrame::OnHelpWhatVersionWeb() {
    m_doc.Environment().Shell().Open("open", kLatestVersionPage);
}

void CMainFrame::OnAppAbout() {
    CAboutDialog about(this);
    about.exec();
}

void CMainFrame::OnEditCopy() {
    if (CRightView* view = RightView(); view && view->CanEditCopy())
        view->OnEditCopy();
}

void CMainFrame::OnEditDelete() {
    if (CRightView* view = RightView(); view && view->CanEditDelete())
        view->OnEditDelete();
}

void CMainFrame::OnEditProperties() {
    if (CRightView* view = RightView(); view && view->CanEditProperties())
        view->OnEditProperties();
}
