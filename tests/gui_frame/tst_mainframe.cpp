// The main frame and the node tree driven as a user drives them, over sites.
#include "gui/frame/mainframe.h"
#include "gui/frame/refreshrate.h"
#include "gui/toolkit/help.h"
#include "gui/toolkit/helpwindow.h"
#include "gui/views/nodeview.h"
#include "gui/views/portsview.h"
#include "gui/views/serversview.h"
#include "support/testconsole.h"

#include <QCheckBox>
#include <QContextMenuEvent>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QMenu>
#include <QMenuBar>
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
    void serverCommandsFollowTheSelectedServer();
    void serversMenuSpellsItsOwnItem();
    void helpWithoutABrowser();
    void refreshRate_data();
    void refreshRate();
    void refreshForcesFailedServers();
    void serverExpandsOnceRead();
    void treeAsksForServersWhenEmpty();
    void treeBuildsDomainsAndAccounts();
    void removeServerAsks_data();
    void removeServerAsks();
};

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
    auto* ports = dynamic_cast<CPortsView*>(frame.RightView());
    QVERIFY(ports && ports->ServerName() == u"RAS1"_s);
    tree->setCurrentItem(ServerItem(tree, u"RRAS2"_s));
    QCOMPARE(ServiceCommands(frame), stopped);
    // A node of the same kind keeps the view, which takes the other server from the hint.
    QVERIFY(frame.RightView() == ports && ports->ServerName() == u"RRAS2"_s);
    QVERIFY(!frame.Command(u"Go &Back"_s)->isEnabled()); // day navigation is for the history modes
    tree->expandItem(ServerItem(tree, u"RAS1"_s));
    tree->setCurrentItem(ServerItem(tree, u"RAS1"_s)->child(1));
    QCOMPARE(ServiceCommands(frame), running);
    tree->setCurrentItem(tree->ServersRoot());
    QCOMPARE(ServiceCommands(frame), none);
    QVERIFY(frame.Command(u"&Remove Server"_s)->isEnabled());
    // ... or a row of the servers view.
    auto* servers = dynamic_cast<CServersView*>(frame.RightView());
    QVERIFY(servers);
    // The replaced ports view, whose deletion is deferred, hears no more notices.
    const std::vector<IView*>& views = console.Doc().Views();
    QCOMPARE(std::count_if(views.begin(), views.end(), [](IView* v) { return dynamic_cast<CRightView*>(v); }),
             1);
    servers->List()->setCurrentIndex(servers->Model()->index(servers->FindServer(u"RRAS2"_s), 0));
    QCOMPARE(ServiceCommands(frame), stopped);

    // The states are remote calls: showing the menu does not ask again, Refresh does.
    console.Writer().SetService(u"RRAS2"_s, u"Callwarden"_s, 4);
    console.Save();
    QMenu* serverMenu = frame.menuBar()->actions().at(2)->menu();
    QCOMPARE(serverMenu->title(), u"Se&rver"_s);
    emit serverMenu->aboutToShow();
    QCOMPARE(ServiceCommands(frame), stopped);
    frame.Command(u"&Refresh"_s)->trigger();
    QCOMPARE(ServiceCommands(frame), (QList<bool>{true, false, false, true}));
}

void TestMainFrame::serversMenuSpellsItsOwnItem() {
    CTestConsole console(TwoServers);
    CMainFrame& frame = console.Frame();
    CNodeView* tree = frame.NodeView();
    tree->OnTimer10();
    frame.show();
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
    const QPoint at = tree->visualItemRect(tree->ServersRoot()).center();
    QContextMenuEvent event(QContextMenuEvent::Mouse, at, tree->viewport()->mapToGlobal(at));
    QApplication::sendEvent(tree->viewport(), &event);
    QCOMPARE(shownMenu, u"POP_SERVERS"_s);
    QCOMPARE(shown, (QStringList{u"&Add RAS server..."_s, u"&System Settings..."_s}));
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
    help->ForwardAction()->trigger();
    QCOMPARE(help->CurrentFile(), u"topic112.html"_s);
    delete help;
}

void TestMainFrame::refreshRate_data() {
    QTest::addColumn<QString>("stored"); // "" = missing
    QTest::addColumn<int>("rate");
    QTest::addColumn<bool>("timer");
    QTest::addColumn<int>("position");
    QTest::addColumn<QString>("text");
    QTest::newRow("missing") << QString() << 5000 << true << 1 << u"Update server data every 5 seconds"_s;
    QTest::newRow("switched off") << u"-60000"_s << -60000 << false << 6
                                  << u"Update server data every minute"_s;
    QTest::newRow("never") << u"0"_s << 0 << false << 0 << u"Never update server data"_s;
    QTest::newRow("first choice not below")
        << u"7000"_s << 7000 << true << 2 << u"Update server data every 10 seconds"_s;
    QTest::newRow("beyond a week") << u"700000000"_s << 700000000 << true << 23
                                   << u"Update server data every week"_s;
}

void TestMainFrame::refreshRate() {
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
    QVERIFY(!timer || frame.RefreshTimer().interval() == rate);
    // The dialog opens on the stored choice; the box says whether it refreshes.
    CRefreshRate dialog(frame.RefreshRate(), &console.Prompter());
    QCOMPARE(dialog.AutomaticBox()->isChecked(), timer);
    QCOMPARE(dialog.Slider()->isEnabled(), timer);
    QTEST(dialog.Slider()->value(), "position");
    QTEST(dialog.Text()->text(), "text");
    dialog.AutomaticBox()->setChecked(true);
    dialog.Slider()->setValue(9);
    QCOMPARE(dialog.Rate(), 300000);
    QCOMPARE(dialog.Text()->text(), u"Update server data every 5 minutes"_s);
    // Switching it off warns and keeps the interval for switching it on again.
    QVERIFY(console.Prompter().Boxes().isEmpty());
    dialog.AutomaticBox()->setChecked(false);
    QCOMPARE(dialog.Rate(), -300000);
    QCOMPARE(
        console.Prompter().Texts(),
        QStringList{u"Automatic refresh is about to be turn off.\nYou will be still able to manually refresh "
                    u"any view by choosing Refresh in the View menu (or pressing F5)."_s});
    QCOMPARE(console.Prompter().Boxes()[0].caption, u"Automatic refresh off"_s);
    dialog.AutomaticBox()->setChecked(true);
    QCOMPARE(dialog.Rate(), 300000);
    frame.SetRefreshRate(dialog.Rate());
    DWORD value = 1;
    QVERIFY(console.Doc().ReadRegDWORD({}, u"Client"_s, u"View Refresh"_s, &value));
    QCOMPARE(value, 300000u);
}

void TestMainFrame::refreshForcesFailedServers() {
    CTestConsole console([](CSiteWriter& w) {
        TwoServers(w);
        w.SetHostValue(u"RRAS2"_s, u"Reachable"_s, u"0"_s);
    });
    CMainFrame& frame = console.Frame();
    CCwadminDoc& doc = console.Doc();
    QVERIFY(console.FetchAll());
    QCOMPARE(doc.Servers()[std::size_t(doc.GetServerNumberByName(u"RRAS2"_s))].m_state.load(), 1u);
    // The timer's refresh leaves the failed server alone...
    const auto fetched = [&console](const QString& name) {
        const int index = console.Doc().GetServerNumberByName(name);
        return std::any_of(console.Sink().notices.begin(), console.Sink().notices.end(),
                           [index](const CNoticeSink::Notice& n) { return int(n.index) == index; });
    };
    console.Sink().notices.clear();
    frame.OnTimer(TIMER_ID_REFRESH_SERVER_DATA);
    QTRY_VERIFY_WITH_TIMEOUT(!doc.Servers().FetchRunning() && fetched(u"RAS1"_s), 10000);
    QVERIFY(!fetched(u"RRAS2"_s));
    // ... Refresh fetches every server, the failed one included, using up the force flag.
    frame.Command(u"&Refresh"_s)->trigger();
    QCOMPARE(doc.m_usersReloadPending, 1);
    QCOMPARE(doc.m_forceRefresh, 0);
    QTRY_VERIFY_WITH_TIMEOUT(!doc.Servers().FetchRunning() && fetched(u"RRAS2"_s), 10000);
}

void TestMainFrame::serverExpandsOnceRead() {
    CTestConsole console(TwoServers);
    CNodeView* tree = console.Frame().NodeView();
    tree->OnTimer10();
    QTreeWidgetItem* server = ServerItem(tree, u"RAS1"_s);
    // Never fetched: 666 ports, so the expansion is refused.
    tree->expandItem(server);
    QVERIFY(!server->isExpanded());
    QCOMPARE(server->child(0)->text(0), u"DUMMY.DUMMY"_s);
    QVERIFY(console.FetchAll());
    for (int twice = 0; twice < 2; ++twice) {
        tree->collapseItem(server);
        tree->expandItem(server);
        QVERIFY(server->isExpanded());
        QCOMPARE(server->childCount(), 3);
    }
    QCOMPARE(server->child(0)->text(0), u"COM1"_s);
    QCOMPARE(CNodeView::Image(server->child(0)), 3);
    // Selecting a port stores it in the document with its server.
    tree->setCurrentItem(server->child(1));
    QCOMPARE(console.Doc().m_selectionKind, 3);
    QCOMPARE(console.Doc().m_selectedPort, u"COM2"_s);
    QCOMPARE(console.Doc().m_selectedServer, u"RAS1"_s);
}

void TestMainFrame::treeAsksForServersWhenEmpty() {
    CTestConsole console;
    CNodeView* tree = console.Frame().NodeView();
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
    CNodeView* tree = console.Frame().NodeView();
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
    frame.NodeView()->OnTimer10();
    frame.NodeView()->setCurrentItem(ServerItem(frame.NodeView(), u"RRAS2"_s));
    console.Prompter().Script({OCL::IPrompter::Answer(answer)});
    frame.Command(u"&Remove Server"_s)->trigger();
    QCOMPARE(console.Prompter().Boxes()[0].text, u"Remove RRAS2 from the list of monitored servers?"_s);
    QCOMPARE(console.Prompter().Boxes()[0].caption, u"Remove Server?"_s);
    QCOMPARE(int(doc.Servers().GetCount()), remaining);
}

QTEST_MAIN(TestMainFrame)
#include "tst_mainframe.moc"
