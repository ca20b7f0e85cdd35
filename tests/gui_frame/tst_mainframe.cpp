// The main frame and the node tree driven as a user drives them, over sites.
#include "gui/frame/containerview.h"
#include "gui/frame/mainframe.h"
#include "gui/frame/refreshrate.h"
#include "gui/toolkit/captionbar.h"
#include "gui/toolkit/help.h"
#include "gui/toolkit/helpwindow.h"
#include "gui/toolkit/outbar.h"
#include "gui/views/nodeview.h"
#include "gui/views/portsview.h"
#include "gui/views/rightview.h"
#include "gui/views/serversview.h"
#include "support/testconsole.h"

#include <QCheckBox>
#include <QContextMenuEvent>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QMenu>
#include <QMenuBar>
#include <QSlider>
#include <QStandardPaths>
#include <QtTest>

using namespace Qt::StringLiterals;

namespace {

void TwoServers(CSiteWriter& w) {
    CTestConsole::AddServer(w, u"RAS1"_s, u"RAS"_s, u"4.0"_s, 3, true);
    CTestConsole::AddServer(w, u"RRAS2"_s, u"RRAS"_s, u"5.0"_s, 2, false, u"RAS1"_s);
}

QTreeWidgetItem* ServerItem(CNodeView* tree, const QString& name) {
    for (int i = 0; i < tree->ServersRoot()->childCount(); ++i)
        if (tree->ServersRoot()->child(i)->text(0) == name)
            return tree->ServersRoot()->child(i);
    return nullptr;
}

} // namespace

class TestMainFrame : public QObject {
    Q_OBJECT
private slots:
    void initTestCase() { QStandardPaths::setTestModeEnabled(true); }

    void layout();
    void arrangeKeepsViewForSameKindAndMode();
    void serverCommandsFollowTheSelectedServer();
    void sameKindTwiceSendsTheHintOnly();
    void treeMenuTexts_data();
    void treeMenuTexts();
    void helpWithoutABrowser();
    void refreshRateFromStoredValue_data();
    void refreshRateFromStoredValue();
    void refreshRateDialog_data();
    void refreshRateDialog();
    void clearingAutomaticRefreshWarns();
    void refreshTimerFetches();
    void outbarNotices_data();
    void outbarNotices();
    void dayCommandsGreyInStatusMode();
    void treeRefusesUnreadServer();
    void treeAsksForServersWhenEmpty();
    void treeExpandsReadServerOnce();
    void treeBuildsDomainsAndAccounts();
    void removeServerAsks_data();
    void removeServerAsks();
    void viewRefreshForcesFetch();
};

void TestMainFrame::layout() {
    CTestConsole console(TwoServers);
    CMainFrame& frame = console.Frame();
    QCOMPARE(frame.windowTitle(), u"Callwarden Administrator"_s);
    QCOMPARE(frame.OutBar()->width(), 78);
    QCOMPARE(frame.OutBar()->ItemText(0, 0), u"Status"_s);
    QCOMPARE(frame.StatusText(), u"Ready"_s);
    QCOMPARE(frame.StatusPane(1)->width(), 105);
    const QFont font = CCaptionBar::CaptionFont();
    QVERIFY(font.bold());
    QCOMPARE(font.pointSize(), 12);
}

void TestMainFrame::arrangeKeepsViewForSameKindAndMode() {
    CTestConsole console(TwoServers);
    CMainFrame& frame = console.Frame();
    CCwadminDoc& doc = console.Doc();
    doc.m_selectionKind = 0;
    frame.ArrangeViews();
    CRightView* first = frame.RightView();
    QVERIFY(dynamic_cast<CServersView*>(first));
    QCOMPARE(frame.Container()->Caption()->Caption(), u"Status"_s);
    frame.ArrangeViews();
    QCOMPARE(frame.RightView(), first);
    // Invalidating the shown kind arranges afresh.
    frame.InvalidateShownKind();
    frame.ArrangeViews();
    QVERIFY(frame.RightView() != first);
    QCOMPARE(frame.RightPaneFamily(), int(CMainFrame::FamilyServers));
}

// The four service commands as enabled: start RAS, stop RAS, start and stop Callwarden.
QList<bool> ServiceCommands(CMainFrame& frame) {
    QList<bool> enabled;
    for (const QString& name :
         {u"St&art RAS"_s, u"St&op RAS"_s, u"S&tart Callwarden"_s, u"&Stop Callwarden"_s})
        enabled.append(frame.Command(name)->isEnabled());
    return enabled;
}

void TestMainFrame::serverCommandsFollowTheSelectedServer() {
    CTestConsole console([](CSiteWriter& w) {
        TwoServers(w);
        w.SetService(u"RRAS2"_s, u"RemoteAccess"_s, 1);
        w.SetService(u"RRAS2"_s, u"Callwarden"_s, 1);
    });
    CMainFrame& frame = console.Frame();
    CNodeView* tree = frame.NodeView();
    tree->OnTimer10();
    QVERIFY(console.FetchAll());
    const QList<bool> running{false, true, false, true}, stopped{true, false, true, false};
    const QList<bool> none{false, false, false, false};
    // Whatever selects the server: its node, another server's node, a port node.
    tree->setCurrentItem(ServerItem(tree, u"RAS1"_s));
    QCOMPARE(ServiceCommands(frame), running);
    tree->setCurrentItem(ServerItem(tree, u"RRAS2"_s));
    QCOMPARE(ServiceCommands(frame), stopped);
    tree->expandItem(ServerItem(tree, u"RAS1"_s));
    tree->setCurrentItem(ServerItem(tree, u"RAS1"_s)->child(1));
    QCOMPARE(ServiceCommands(frame), running);
    tree->setCurrentItem(tree->ServersRoot());
    QCOMPARE(ServiceCommands(frame), none);
    QVERIFY(frame.Command(u"&Remove Server"_s)->isEnabled());
    // ... or a row of the servers view.
    auto* servers = dynamic_cast<CServersView*>(frame.RightView());
    QVERIFY(servers);
    servers->List()->setCurrentIndex(servers->Model()->index(servers->FindServer(u"RRAS2"_s), 0));
    QCOMPARE(ServiceCommands(frame), stopped);

    // The states are remote calls: showing the menu does not ask again, Refresh does.
    console.Writer().SetService(u"RRAS2"_s, u"Callwarden"_s, 4);
    console.Save();
    QMenu* serverMenu = nullptr;
    for (QAction* action : frame.menuBar()->actions())
        if (action->text() == u"Se&rver"_s)
            serverMenu = action->menu();
    QVERIFY(serverMenu);
    emit serverMenu->aboutToShow();
    QCOMPARE(ServiceCommands(frame), stopped);
    frame.Command(u"&Refresh"_s)->trigger();
    QCOMPARE(ServiceCommands(frame), (QList<bool>{true, false, false, true}));
}

void TestMainFrame::sameKindTwiceSendsTheHintOnly() {
    CTestConsole console(TwoServers);
    CMainFrame& frame = console.Frame();
    CNodeView* tree = frame.NodeView();
    tree->OnTimer10();
    QVERIFY(console.FetchAll());
    tree->setCurrentItem(ServerItem(tree, u"RAS1"_s));
    auto* ports = dynamic_cast<CPortsView*>(frame.RightView());
    QVERIFY(ports);
    QCOMPARE(ports->ServerName(), u"RAS1"_s);
    // The same view stays and takes the other server from the hint.
    tree->setCurrentItem(ServerItem(tree, u"RRAS2"_s));
    QCOMPARE(frame.RightView(), ports);
    QCOMPARE(ports->ServerName(), u"RRAS2"_s);
}

void TestMainFrame::treeMenuTexts_data() {
    QTest::addColumn<QString>("node"); // "" = the Servers root
    QTest::addColumn<QString>("menu");
    QTest::addColumn<QStringList>("items");
    QTest::newRow("servers root") << QString() << u"POP_SERVERS"_s << QStringList{u"&Add RAS server..."_s};
    QTest::newRow("server") << u"RAS1"_s << u"POP_SERVER"_s
                            << QStringList{u"&Explore"_s,          u"St&art RAS"_s,       u"St&op RAS"_s,
                                           u"S&tart Callwarden"_s, u"&Stop Callwarden"_s, u"&Remove Server"_s,
                                           u"&Properties"_s};
}

void TestMainFrame::treeMenuTexts() {
    QFETCH(QString, node);
    CTestConsole console(TwoServers);
    CMainFrame& frame = console.Frame();
    CNodeView* tree = frame.NodeView();
    tree->OnTimer10();
    frame.show();
    tree->expandItem(tree->ServersRoot());
    QTreeWidgetItem* item = node.isEmpty() ? tree->ServersRoot() : ServerItem(tree, node);
    QString shownMenu;
    QStringList shown;
    QTimer::singleShot(0, tree, [&] {
        if (auto* menu = qobject_cast<QMenu*>(QApplication::activePopupWidget())) {
            shownMenu = menu->objectName();
            for (QAction* action : menu->actions())
                shown.append(action->text());
            menu->close();
        }
    });
    const QPoint at = tree->visualItemRect(item).center();
    QContextMenuEvent event(QContextMenuEvent::Mouse, at, tree->viewport()->mapToGlobal(at));
    QApplication::sendEvent(tree->viewport(), &event);
    QTEST(shownMenu, "menu");
    QTEST(shown, "items");
}

void TestMainFrame::helpWithoutABrowser() {
    CTestConsole console(TwoServers);
    CMainFrame& frame = console.Frame();
    frame.Command(u"&Contents"_s)->trigger();
    CHelpWindow* help = CHelp::Window();
    QVERIFY(help && help->isVisible());
    QCOMPARE(help->CurrentFile(), u"index.html"_s);
    QStringList contents;
    for (int row = 0; row < help->ContentsList()->count(); ++row)
        contents.append(help->ContentsList()->item(row)->text());
    // In the order the contents page links the topics.
    QCOMPARE(contents.mid(0, 3),
             (QStringList{u"Callwarden Administrator Help"_s, u"Server Properties: General"_s,
                          u"Server Properties: Database Export"_s}));
    QTest::keyClicks(help->IndexFilter(), u"Server Response"_s);
    QTest::keyClick(help->IndexFilter(), Qt::Key_Return);
    QCOMPARE(help->CurrentFile(), u"topic112.html"_s);
    help->BackAction()->trigger();
    QCOMPARE(help->CurrentFile(), u"index.html"_s);
    QVERIFY(help->ForwardAction()->isEnabled());
    help->ForwardAction()->trigger();
    QCOMPARE(help->CurrentFile(), u"topic112.html"_s);
    QVERIFY(console.Prompter().Boxes().isEmpty());
    delete help;
}

void TestMainFrame::refreshRateFromStoredValue_data() {
    QTest::addColumn<QString>("stored"); // "" = missing
    QTest::addColumn<int>("rate");
    QTest::addColumn<bool>("timer");
    QTest::newRow("missing") << "" << 5000 << true;
    QTest::newRow("switched off") << "-60000" << -60000 << false;
    QTest::newRow("never") << "0" << 0 << false;
    QTest::newRow("seven seconds") << "7000" << 7000 << true;
}

void TestMainFrame::refreshRateFromStoredValue() {
    QFETCH(QString, stored);
    QFETCH(int, rate);
    QFETCH(bool, timer);
    CTestConsole console([&](CSiteWriter& w) {
        if (!stored.isEmpty())
            w.SetClientDword(kTestConsole, u"View Refresh"_s, quint32(stored.toInt()));
    });
    CMainFrame& frame = console.Frame();
    QCOMPARE(frame.RefreshRate(), rate);
    QCOMPARE(frame.RefreshTimer().isActive(), timer);
    if (timer)
        QCOMPARE(frame.RefreshTimer().interval(), rate);
    DWORD value = 1;
    QVERIFY(console.Doc().ReadRegDWORD({}, u"Client"_s, u"View Refresh"_s, &value));
    QCOMPARE(qint32(value), rate);
}

void TestMainFrame::refreshRateDialog_data() {
    QTest::addColumn<int>("rate");
    QTest::addColumn<bool>("checked");
    QTest::addColumn<int>("position");
    QTest::addColumn<QString>("text");
    QTest::newRow("-60000") << -60000 << false << 6 << "Update server data every minute";
    QTest::newRow("7000") << 7000 << true << 2 << "Update server data every 10 seconds";
    QTest::newRow("5000") << 5000 << true << 1 << "Update server data every 5 seconds";
    QTest::newRow("0") << 0 << false << 0 << "Never update server data";
    QTest::newRow("beyond a week") << 700000000 << true << 23 << "Update server data every week";
}

void TestMainFrame::refreshRateDialog() {
    QFETCH(int, rate);
    QFETCH(bool, checked);
    QFETCH(int, position);
    QFETCH(QString, text);
    CRefreshRate dialog(rate, nullptr);
    QCOMPARE(dialog.AutomaticBox()->isChecked(), checked);
    QCOMPARE(dialog.Slider()->value(), position);
    QCOMPARE(dialog.Slider()->isEnabled(), checked);
    QCOMPARE(dialog.Text()->text(), text);
    QCOMPARE(dialog.Rate(), rate);
    dialog.Slider()->setValue(9);
    QCOMPARE(dialog.Rate(), 300000);
    QCOMPARE(dialog.Text()->text(), u"Update server data every 5 minutes"_s);
}

void TestMainFrame::clearingAutomaticRefreshWarns() {
    CScriptedPrompter prompter;
    CRefreshRate dialog(10000, &prompter);
    dialog.AutomaticBox()->setChecked(false);
    QCOMPARE(dialog.Rate(), -10000);
    QVERIFY(!dialog.Slider()->isEnabled());
    QCOMPARE(prompter.Boxes().size(), 1);
    QCOMPARE(prompter.Boxes()[0].caption, u"Automatic refresh off"_s);
    QCOMPARE(
        prompter.Boxes()[0].text,
        u"Automatic refresh is about to be turn off.\nYou will be still able to manually refresh any view by "
        u"choosing Refresh in the View menu (or pressing F5)."_s);
    dialog.AutomaticBox()->setChecked(true);
    QCOMPARE(dialog.Rate(), 10000);
    QCOMPARE(prompter.Boxes().size(), 1);
}

void TestMainFrame::refreshTimerFetches() {
    CTestConsole console(TwoServers);
    CMainFrame& frame = console.Frame();
    frame.SetRefreshRate(-5000);
    QVERIFY(!frame.RefreshTimer().isActive());
    CServerList& servers = console.Doc().Servers();
    QVERIFY(!servers[0].m_fetcher && !servers[1].m_fetcher);
    frame.OnTimer(TIMER_ID_REFRESH_SERVER_DATA);
    // Each server got its fetch; their notices follow.
    QVERIFY(servers[0].m_fetcher && servers[1].m_fetcher);
    QTRY_VERIFY_WITH_TIMEOUT(!servers.FetchRunning(), 10000);
    QTRY_VERIFY_WITH_TIMEOUT(console.Sink().notices.size() >= 4, 10000);
}

void TestMainFrame::outbarNotices_data() {
    QTest::addColumn<int>("notice");
    QTest::addColumn<int>("answer");
    QTest::newRow("click") << 1 << 0;
    QTest::newRow("rename refused") << 2 << 1;
    QTest::newRow("drag refused") << 3 << 1;
    QTest::newRow("edit refused") << 4 << 1;
    QTest::newRow("other") << 9 << 0;
}

void TestMainFrame::outbarNotices() {
    QFETCH(int, notice);
    QFETCH(int, answer);
    CTestConsole console(TwoServers);
    QCOMPARE(console.Frame().OnOutbarNotify(notice, 0, 0), answer);
}

void TestMainFrame::dayCommandsGreyInStatusMode() {
    CTestConsole console(TwoServers);
    CMainFrame& frame = console.Frame();
    console.Doc().m_selectionKind = 0;
    frame.ArrangeViews();
    QVERIFY(!frame.Command(u"Go &Back"_s)->isEnabled());
    QVERIFY(!frame.Command(u"Go &Forward"_s)->isEnabled());
    QVERIFY(!frame.Command(u"Go to &Calendar..."_s)->isEnabled());
}

void TestMainFrame::treeRefusesUnreadServer() {
    CTestConsole console(TwoServers);
    CMainFrame& frame = console.Frame();
    CNodeView* tree = frame.NodeView();
    tree->OnInitialUpdate();
    tree->OnTimer10();
    QTreeWidgetItem* server = ServerItem(tree, u"RAS1"_s);
    QVERIFY(server);
    // Never fetched: 666 ports, so the expansion is refused.
    tree->expandItem(server);
    QVERIFY(!server->isExpanded());
    QCOMPARE(server->child(0)->text(0), u"DUMMY.DUMMY"_s);
}

void TestMainFrame::treeAsksForServersWhenEmpty() {
    CTestConsole console;
    CMainFrame& frame = console.Frame();
    CNodeView* tree = frame.NodeView();
    tree->OnInitialUpdate();
    console.Prompter().Script({OCL::IPrompter::No});
    tree->expandItem(tree->ServersRoot());
    QVERIFY(!tree->ServersRoot()->isExpanded());
    QCOMPARE(tree->ServersRoot()->childCount(), 1);
    QCOMPARE(tree->ServersRoot()->child(0)->text(0), u"DUMMY.DUMMY"_s);
    QCOMPARE(console.Prompter().Texts(),
             QStringList(
                 {u"No servers found. Do you want to add RAS servers\nto the list of monitored servers?"_s}));
    QCOMPARE(int(console.Prompter().Boxes()[0].buttons), int(OCL::IPrompter::Buttons::YesNo));
}

void TestMainFrame::treeExpandsReadServerOnce() {
    CTestConsole console(TwoServers);
    CMainFrame& frame = console.Frame();
    CNodeView* tree = frame.NodeView();
    tree->OnInitialUpdate();
    tree->OnTimer10();
    QVERIFY(console.FetchAll());
    QTreeWidgetItem* server = ServerItem(tree, u"RAS1"_s);
    tree->expandItem(server);
    QVERIFY(server->isExpanded());
    QCOMPARE(server->childCount(), 3);
    tree->collapseItem(server);
    tree->expandItem(server);
    QCOMPARE(server->childCount(), 3);
    QCOMPARE(server->child(0)->text(0), u"COM1"_s);
    QCOMPARE(CNodeView::Image(server->child(0)), 3);
    // Selecting a port stores it in the document with its server.
    tree->setCurrentItem(server->child(1));
    QCOMPARE(console.Doc().m_selectionKind, 3);
    QCOMPARE(console.Doc().m_selectedPort, u"COM2"_s);
    QCOMPARE(console.Doc().m_selectedServer, u"RAS1"_s);
    QCOMPARE(tree->MenuNameFor(server->child(1)), u"POPUP_PORT"_s);
    QCOMPARE(tree->MenuNameFor(server), u"POP_SERVER"_s);
}

void TestMainFrame::treeBuildsDomainsAndAccounts() {
    CTestConsole console([](CSiteWriter& w) {
        w.AddHost(u"PDC1"_s);
        w.AddDomain(u"SALES"_s, u"PDC1"_s);
        w.AddUser(u"SALES"_s, u"alice"_s);
        w.AddUser(u"SALES"_s, u"bob"_s);
        w.AddGroup(u"SALES"_s, u"Remote Users"_s, {u"alice"_s});
        w.AddProvider(u"NetWare Network"_s);
        w.AddDomain(u"NWTREE"_s, QString(), u"NetWare Network"_s);
    });
    CMainFrame& frame = console.Frame();
    CNodeView* tree = frame.NodeView();
    tree->OnInitialUpdate();
    QTreeWidgetItem* accounts = tree->AccountsRoot();
    QCOMPARE(accounts->childCount(), 1);
    QTreeWidgetItem* domain = accounts->child(0);
    QCOMPARE(domain->text(0), u"SALES"_s);
    QCOMPARE(CNodeView::Image(domain), 9);
    QCOMPARE(domain->child(0)->text(0), u"DUMMY"_s);
    tree->expandItem(domain);
    QStringList children;
    for (int i = 0; i < domain->childCount(); ++i)
        children << domain->child(i)->text(0) + u':' + QString::number(CNodeView::Image(domain->child(i)));
    QCOMPARE(children, QStringList({u"Remote Users:10"_s, u"alice:8"_s, u"bob:8"_s}));
    // Without a master, choosing a domain says so and leaves the pane.
    tree->setCurrentItem(domain);
    QCOMPARE(console.Prompter().Texts().last(),
             u"Can't display domain info\nPlease wait for connection to master server"_s);
}

void TestMainFrame::removeServerAsks_data() {
    QTest::addColumn<int>("answer");
    QTest::addColumn<int>("remaining");
    QTest::newRow("yes") << int(OCL::IPrompter::Yes) << 1;
    QTest::newRow("no") << int(OCL::IPrompter::No) << 2;
}

void TestMainFrame::removeServerAsks() {
    QFETCH(int, answer);
    QFETCH(int, remaining);
    CTestConsole console(TwoServers);
    CMainFrame& frame = console.Frame();
    CCwadminDoc& doc = console.Doc();
    doc.m_selectionKind = 1;
    doc.m_selectedServer = u"RRAS2"_s;
    console.Prompter().Script({OCL::IPrompter::Answer(answer)});
    frame.OnServerRemove();
    QCOMPARE(console.Prompter().Boxes()[0].text, u"Remove RRAS2 from the list of monitored servers?"_s);
    QCOMPARE(console.Prompter().Boxes()[0].caption, u"Remove Server?"_s);
    QCOMPARE(int(doc.Servers().GetCount()), remaining);
}

void TestMainFrame::viewRefreshForcesFetch() {
    CTestConsole console([](CSiteWriter& w) {
        TwoServers(w);
        w.SetHostValue(u"RRAS2"_s, u"Reachable"_s, u"0"_s);
    });
    CMainFrame& frame = console.Frame();
    CCwadminDoc& doc = console.Doc();
    QVERIFY(console.FetchAll());
    const int failed = doc.GetServerNumberByName(u"RRAS2"_s);
    QCOMPARE(doc.Servers()[std::size_t(failed)].m_state.load(), 1u);
    // An ordinary refresh leaves the failed server alone.
    doc.Servers().CleanUpThread(std::size_t(failed));
    doc.updateAllServersData();
    QVERIFY(!doc.Servers()[std::size_t(failed)].m_fetcher);
    QTRY_VERIFY_WITH_TIMEOUT(!doc.Servers().FetchRunning(), 10000);
    // Refresh: the servers view shown takes hint 22 and refreshes every server,
    // the failed one included, using up the force flag.
    CServer& server = doc.Servers()[std::size_t(failed)];
    CServerFetcherThread* before = server.m_fetcher;
    frame.OnViewRefresh();
    QCOMPARE(doc.m_usersReloadPending, 1);
    QCOMPARE(doc.m_forceRefresh, 0);
    QVERIFY(server.m_fetcher && server.m_fetcher != before);
    QTRY_VERIFY_WITH_TIMEOUT(!doc.Servers().FetchRunning(), 10000);
    QCOMPARE(server.m_state.load(), 1u);
}

QTEST_MAIN(TestMainFrame)
#include "tst_mainframe.moc"
