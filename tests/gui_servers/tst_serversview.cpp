// The servers view over a test site: rows follow the server list and the
// fetchers' notices, cells are only rewritten when their text changes, icons do
// not flicker, and the row commands reach the tree and the settings sheet.
#include "guifixture.h"

#include "gui/frame/mainframe.h"
#include "gui/views/nodeview.h"
#include "gui/views/serversview.h"

#include <QAbstractItemModelTester>
#include <QAction>
#include <QApplication>
#include <QContextMenuEvent>
#include <QHeaderView>
#include <QSignalSpy>
#include <QTest>
#include <QTimer>
#include <QTreeView>

using namespace Qt::StringLiterals;

namespace {

void ThreeServers(CSiteWriter& writer) {
    CTestConsole::AddServer(writer, u"ALPHA"_s, u"RAS"_s, u"4.0"_s, 2, true);
    CTestConsole::AddServer(writer, u"BRAVO"_s, u"RAS"_s, u"4.0"_s, 3, false, u"ALPHA"_s);
    CTestConsole::AddServer(writer, u"CHARLIE"_s, u"RAS"_s, u"4.0"_s, 1, false, u"ALPHA"_s);
}

QStringList RowNames(const CServersView& view) {
    QStringList names;
    for (int row = 0; row < view.Model()->rowCount(); ++row)
        names << view.Model()->Text(row, CServersModel::ColServer);
    return names;
}

int ImageOf(const CServersView& view, const QString& name) {
    const int row = view.FindServer(name);
    if (row == view.Model()->rowCount())
        return -1;
    return view.Model()->index(row, 0).data(CServersModel::StateImageRole).toInt();
}

QString CellOf(const CServersView& view, const QString& name, int column) {
    const int row = view.FindServer(name);
    return row == view.Model()->rowCount() ? u"<no row>"_s : view.Model()->Text(row, column);
}

int IndexOf(CTestConsole& console, const QString& name) {
    return console.Doc().GetServerNumberByName(name);
}

void SelectRow(CServersView& view, const QString& name) {
    view.List()->setCurrentIndex(view.Model()->index(view.FindServer(name), 0));
}

} // namespace

class TestServersView : public QObject {
    Q_OBJECT

private slots:
    void initTestCase() { GuiFixture::IsolateSettings(); }

    void rowsFollowTheServerList() {
        CTestConsole console(ThreeServers);
        CServersView view(console.Doc(), GuiFixture::Frame(console));
        QAbstractItemModelTester tester(view.Model(), QAbstractItemModelTester::FailureReportingMode::QtTest);
        view.OnInitialUpdate();

        // Each server is put at the top in list order, so the rows run backwards.
        CServerList& servers = console.Doc().Servers();
        QStringList expected;
        for (std::size_t i = 0; i < servers.GetCount(); ++i)
            expected.prepend(servers[i].Name());
        QCOMPARE(RowNames(view), expected);
        for (const QString& name : expected) {
            QCOMPARE(CellOf(view, name, CServersModel::ColPorts), u"n/a"_s);
            QCOMPARE(CellOf(view, name, CServersModel::ColBusyPorts), u"n/a"_s);
            QCOMPARE(ImageOf(view, name), 1);
        }

        QVERIFY(console.FetchAll());
        QCOMPARE(CellOf(view, u"ALPHA"_s, CServersModel::ColPorts), u"2"_s);
        QCOMPARE(CellOf(view, u"BRAVO"_s, CServersModel::ColPorts), u"3"_s);
        QCOMPARE(CellOf(view, u"CHARLIE"_s, CServersModel::ColPorts), u"1"_s);
        QCOMPARE(CellOf(view, u"BRAVO"_s, CServersModel::ColBusyPorts), u"0"_s);
        for (const QString& name : expected)
            QCOMPARE(ImageOf(view, name), 2);
        QCOMPARE(RowNames(view), expected);

        QVERIFY(servers.AddServer(u"DELTA"_s));
        console.Doc().UpdateAllViews(nullptr, Hint::ServerListChanged);
        QCOMPARE(RowNames(view).value(0), u"DELTA"_s);
        QCOMPARE(view.Model()->rowCount(), 4);

        servers.DelServer(u"BRAVO"_s);
        QVERIFY(view.FindServer(u"BRAVO"_s) < view.Model()->rowCount());
        console.Doc().UpdateAllViews(nullptr, Hint::ServerListChanged);
        QCOMPARE(view.FindServer(u"BRAVO"_s), view.Model()->rowCount());
        QCOMPARE(view.Model()->rowCount(), 3);
        // The others keep what they showed.
        QCOMPARE(CellOf(view, u"CHARLIE"_s, CServersModel::ColPorts), u"1"_s);
        QCOMPARE(ImageOf(view, u"ALPHA"_s), 2);
    }

    // A refresh that finds nothing new rewrites no cell and no icon, although
    // every server passes through "connecting" again.
    void refreshRewritesNothing() {
        CTestConsole console(ThreeServers);
        CServersView view(console.Doc(), GuiFixture::Frame(console));
        view.OnInitialUpdate();
        QVERIFY(console.FetchAll());

        QSignalSpy changes(view.Model(), &QAbstractItemModel::dataChanged);
        const qsizetype noticesBefore = console.Sink().notices.size();
        QVERIFY(console.FetchAll());
        QVERIFY(console.Sink().notices.size() >= noticesBefore + 6);
        for (std::size_t i = 0; i < console.Doc().Servers().GetCount(); ++i) {
            GuiFixture::Frame(console).OnNewServerData(i);
            GuiFixture::Frame(console).OnNewServerData(i);
        }
        QCOMPARE(changes.count(), 0);
    }

    void changedCountRewritesOneCell() {
        CTestConsole console(ThreeServers);
        CServersView view(console.Doc(), GuiFixture::Frame(console));
        view.OnInitialUpdate();
        QVERIFY(console.FetchAll());

        const int bravo = IndexOf(console, u"BRAVO"_s);
        CServer& server = console.Doc().Servers()[std::size_t(bravo)];
        {
            auto lock = server.Lock();
            server.m_busyPorts = 1;
        }
        QSignalSpy changes(view.Model(), &QAbstractItemModel::dataChanged);
        GuiFixture::Frame(console).OnNewServerData(std::size_t(bravo));
        QCOMPARE(changes.count(), 1);
        const QModelIndex cell =
            view.Model()->index(view.FindServer(u"BRAVO"_s), CServersModel::ColBusyPorts);
        QCOMPARE(changes[0][0].toModelIndex(), cell);
        QCOMPARE(changes[0][1].toModelIndex(), cell);
        QCOMPARE(cell.data().toString(), u"1"_s);
        QCOMPARE(CellOf(view, u"BRAVO"_s, CServersModel::ColPorts), u"3"_s);
    }

    void stateImages_data() {
        QTest::addColumn<int>("state");
        QTest::addColumn<bool>("readyBefore");
        QTest::addColumn<int>("image");
        QTest::newRow("ready") << 0 << false << 2;
        for (int state : {1, 2, 4, 6, 7, 9}) {
            QTest::addRow("failure %d", state) << state << false << 3;
            QTest::addRow("failure %d after ready", state) << state << true << 3;
        }
        for (int state : {3, 5, 8}) {
            QTest::addRow("working %d, never ready", state) << state << false << 1;
            QTest::addRow("working %d after ready", state) << state << true << 2;
        }
        QTest::newRow("unknown state") << 12 << false << 1;
    }

    void stateImages() {
        QFETCH(int, state);
        QFETCH(bool, readyBefore);
        QFETCH(int, image);
        CTestConsole console(
            [](CSiteWriter& w) { CTestConsole::AddServer(w, u"ALPHA"_s, u"RAS"_s, u"4.0"_s, 2); });
        CServersView view(console.Doc(), GuiFixture::Frame(console));
        view.OnInitialUpdate();
        CServer& server = console.Doc().Servers()[0];
        if (readyBefore) {
            server.m_state = ServerState::Ready;
            GuiFixture::Frame(console).OnNewServerState(0);
            QCOMPARE(ImageOf(view, u"ALPHA"_s), 2);
        }
        server.m_state = DWORD(state);
        GuiFixture::Frame(console).OnNewServerState(0);
        QCOMPARE(ImageOf(view, u"ALPHA"_s), image);
        // The data notice decides the same way.
        GuiFixture::Frame(console).OnNewServerData(0);
        QCOMPARE(ImageOf(view, u"ALPHA"_s), image);
    }

    void countTexts_data() {
        QTest::addColumn<quint32>("ports");
        QTest::addColumn<quint32>("busy");
        QTest::addColumn<QString>("portsText");
        QTest::addColumn<QString>("busyText");
        QTest::newRow("never read") << 666u << 666u << u"n/a"_s << u"n/a"_s;
        QTest::newRow("ports unknown, busy known") << 666u << 2u << u"n/a"_s << u"n/a"_s;
        QTest::newRow("counts") << 16u << 5u << u"16"_s << u"5"_s;
        QTest::newRow("no ports") << 0u << 0u << u"0"_s << u"0"_s;
    }

    void countTexts() {
        QFETCH(quint32, ports);
        QFETCH(quint32, busy);
        QFETCH(QString, portsText);
        QFETCH(QString, busyText);
        CTestConsole console;
        CServersView view(console.Doc(), GuiFixture::Frame(console));
        CServer crafted(u"CRAFTED"_s);
        crafted.m_portCount = ports;
        crafted.m_busyPorts = busy;
        crafted.m_state = ServerState::Ready;
        view.UpdateListWithServer(crafted);
        QCOMPARE(CellOf(view, u"CRAFTED"_s, CServersModel::ColPorts), portsText);
        QCOMPARE(CellOf(view, u"CRAFTED"_s, CServersModel::ColBusyPorts), busyText);
        const QModelIndex cell = view.Model()->index(0, CServersModel::ColBusyPorts);
        QCOMPARE(Qt::Alignment(cell.data(Qt::TextAlignmentRole).toInt()) & Qt::AlignHorizontal_Mask,
                 Qt::AlignRight);
    }

    // New servers go to the top; a known one keeps its place; rows no server
    // confirms go at the next rebuild.
    void newRowsAtTheTop() {
        CTestConsole console(
            [](CSiteWriter& w) { CTestConsole::AddServer(w, u"ALPHA"_s, u"RAS"_s, u"4.0"_s, 2); });
        CServersView view(console.Doc(), GuiFixture::Frame(console));
        view.OnInitialUpdate();
        CServer x(u"XRAY"_s), y(u"YANKEE"_s);
        view.UpdateListWithServer(x);
        view.UpdateListWithServer(y);
        QCOMPARE(RowNames(view), QStringList({u"YANKEE"_s, u"XRAY"_s, u"ALPHA"_s}));
        x.m_portCount = 4;
        x.m_busyPorts = 0;
        view.UpdateListWithServer(x);
        QCOMPARE(RowNames(view), QStringList({u"YANKEE"_s, u"XRAY"_s, u"ALPHA"_s}));
        QCOMPARE(CellOf(view, u"XRAY"_s, CServersModel::ColPorts), u"4"_s);
        view.Rebuild();
        QCOMPARE(RowNames(view), QStringList({u"ALPHA"_s}));
    }

    void statusTexts() {
        CTestConsole console(ThreeServers);
        CCwadminDoc& doc = console.Doc();
        CMainFrame& frame = GuiFixture::Frame(console);
        CServersView view(doc, frame);
        view.OnInitialUpdate();
        QVERIFY(console.FetchAll());

        SelectRow(view, u"ALPHA"_s);
        QCOMPARE(doc.m_selectedServer, u"ALPHA"_s);
        QCOMPARE(frame.StatusText(), u"ALPHA is ready"_s);
        QVERIFY(view.CanEditProperties());

        // A state notice shows the selected server's text, whichever server it is about.
        const std::size_t alpha = std::size_t(IndexOf(console, u"ALPHA"_s));
        const std::size_t bravo = std::size_t(IndexOf(console, u"BRAVO"_s));
        doc.Servers()[bravo].m_state = ServerState::RasReadFailure;
        frame.OnNewServerState(bravo);
        QCOMPARE(frame.StatusText(), u"ALPHA is ready"_s);
        QCOMPARE(ImageOf(view, u"BRAVO"_s), 3);
        doc.Servers()[alpha].m_state = ServerState::RequestingRas;
        frame.OnNewServerState(bravo);
        QCOMPARE(frame.StatusText(), u"Requesting RAS data for ALPHA..."_s);

        // A single click repeats the selected server's text.
        view.resize(400, 240);
        view.show();
        QVERIFY(QTest::qWaitForWindowExposed(&view));
        doc.SetStatus(u"something else"_s);
        const QRect alphaRect = view.List()->visualRect(view.Model()->index(view.FindServer(u"ALPHA"_s), 0));
        QTest::mouseClick(view.List()->viewport(), Qt::LeftButton, {}, alphaRect.center());
        QCOMPARE(frame.StatusText(), u"Requesting RAS data for ALPHA..."_s);

        // A row whose server has left the list reads "Ready".
        doc.Servers().DelServer(u"CHARLIE"_s);
        SelectRow(view, u"CHARLIE"_s);
        QCOMPARE(doc.m_selectedServer, u"CHARLIE"_s);
        QCOMPARE(frame.StatusText(), u"Ready"_s);

        view.List()->clearSelection();
        QCOMPARE(doc.m_selectedServer, kNone);
        QVERIFY(!view.CanEditProperties());
    }

    void explore_data() {
        QTest::addColumn<bool>("doubleClick");
        QTest::newRow("double-click") << true;
        QTest::newRow("&Explore") << false;
    }

    // The tree selects the server and the frame arranges the right pane afresh.
    void explore() {
        QFETCH(bool, doubleClick);
        CTestConsole console(ThreeServers);
        CCwadminDoc& doc = console.Doc();
        CMainFrame& frame = GuiFixture::Frame(console);
        frame.show();
        QVERIFY(QTest::qWaitForWindowExposed(&frame));
        // The tree is open at its servers: opening "Servers" refills it, which the
        // selection below must not have to wait for.
        frame.NodeView()->expandItem(frame.NodeView()->ServersRoot());
        doc.m_selectionKind = NodeKind::ServersRoot;
        frame.ArrangeViews();
        auto* view = qobject_cast<CServersView*>(frame.RightView());
        QVERIFY(view);
        QCOMPARE(frame.ShownKind(), NodeKind::ServersRoot);
        QCOMPARE(view->Model()->rowCount(), 3);

        const QModelIndex bravo = view->Model()->index(view->FindServer(u"BRAVO"_s), 0);
        if (doubleClick) {
            const QPoint at = view->List()->visualRect(bravo).center();
            QTest::mouseClick(view->List()->viewport(), Qt::LeftButton, {}, at);
            QTest::mouseDClick(view->List()->viewport(), Qt::LeftButton, {}, at);
        } else {
            view->List()->setCurrentIndex(bravo);
            view->ExploreAction()->trigger();
        }
        QCOMPARE(doc.m_selectionKind, NodeKind::Server);
        QCOMPARE(doc.m_selectedServer, u"BRAVO"_s);
        QCOMPARE(frame.ShownKind(), NodeKind::Server);
        QVERIFY(frame.NodeView()->currentItem());
        QCOMPARE(frame.NodeView()->currentItem()->text(0), u"BRAVO"_s);
    }

    void exploreWithoutSelectionDoesNothing() {
        CTestConsole console(ThreeServers);
        CServersView view(console.Doc(), GuiFixture::Frame(console));
        view.OnInitialUpdate();
        console.Doc().m_selectionKind = NodeKind::ServersRoot;
        view.ExploreAction()->trigger();
        QCOMPARE(console.Doc().m_selectionKind, NodeKind::ServersRoot);
    }

    // A right-click selects the row under the pointer and offers its commands.
    void rowMenu() {
        CTestConsole console(ThreeServers);
        CServersView view(console.Doc(), GuiFixture::Frame(console));
        view.OnInitialUpdate();
        view.resize(400, 240);
        view.show();
        QVERIFY(QTest::qWaitForWindowExposed(&view));
        SelectRow(view, u"ALPHA"_s);

        QStringList items;
        QTimer closer;
        closer.setInterval(20);
        connect(&closer, &QTimer::timeout, this, [&] {
            if (QWidget* popup = QApplication::activePopupWidget()) {
                for (QAction* action : popup->actions())
                    items << action->text();
                popup->close();
                closer.stop();
            }
        });
        closer.start();
        const QPoint at =
            view.List()->visualRect(view.Model()->index(view.FindServer(u"BRAVO"_s), 1)).center();
        QContextMenuEvent click(QContextMenuEvent::Mouse, at, view.List()->viewport()->mapToGlobal(at));
        QApplication::sendEvent(view.List()->viewport(), &click);
        QCOMPARE(items, QStringList({u"&Explore"_s, u"&Properties"_s}));
        QCOMPARE(console.Doc().m_selectedServer, u"BRAVO"_s);
    }

    // Refresh asks for every server's data and says "Ready".
    void refreshHint() {
        CTestConsole console(ThreeServers);
        CMainFrame& frame = GuiFixture::Frame(console);
        CServersView view(console.Doc(), frame);
        view.OnInitialUpdate();
        frame.SetStatus(u"busy"_s);
        console.Doc().UpdateAllViews(nullptr, Hint::UPDATE_NEW_USERS);
        QCOMPARE(frame.StatusText(), u"Ready"_s);
        QTRY_COMPARE(CellOf(view, u"BRAVO"_s, CServersModel::ColPorts), u"3"_s);
        QTRY_VERIFY(!console.Doc().Servers().FetchRunning());
    }

    void propertiesOpensTheServersSheet() {
        CTestConsole console(ThreeServers);
        CServersView view(console.Doc(), GuiFixture::Frame(console));
        view.OnInitialUpdate();
        QVERIFY(console.FetchAll());
        SelectRow(view, u"CHARLIE"_s);
        console.Doc().m_selectedServer = kNone;

        QString title;
        QTimer closer;
        closer.setInterval(20);
        connect(&closer, &QTimer::timeout, this, [&] {
            if (QWidget* sheet = QApplication::activeModalWidget()) {
                title = sheet->windowTitle();
                sheet->close();
                closer.stop();
            }
        });
        closer.start();
        view.OnEditProperties();
        QCOMPARE(title, u"Properties for CHARLIE"_s);
        QCOMPARE(console.Doc().m_selectedServer, u"CHARLIE"_s);
    }

    void columnsAndTheirWidths() {
        QSettings().remove(u"ServersView"_s);
        CTestConsole console;
        {
            CServersView view(console.Doc(), GuiFixture::Frame(console));
            const QHeaderView* header = view.List()->header();
            const QStringList titles{u"Server"_s, u"Ports"_s, u"Busy Ports"_s};
            const int widths[] = {160, 60, 90};
            for (int column = 0; column < 3; ++column) {
                QCOMPARE(view.Model()->headerData(column, Qt::Horizontal).toString(), titles[column]);
                QCOMPARE(header->sectionSize(column), widths[column]);
            }
            QCOMPARE(view.List()->selectionBehavior(), QAbstractItemView::SelectRows);
            view.List()->header()->resizeSection(0, 210);
        }
        CServersView again(console.Doc(), GuiFixture::Frame(console));
        QCOMPARE(again.List()->header()->sectionSize(0), 210);
        QCOMPARE(again.List()->header()->sectionSize(2), 90);
    }
};

QTEST_MAIN(TestServersView)
#include "tst_serversview.moc"
