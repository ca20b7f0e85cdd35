// The servers view over a test site: rows follow the server list and the
// fetchers' notices, cells are only rewritten when their text changes, icons do
// not flicker, and the row commands reach the status bar, the tree and the
// settings sheet.
#include "support/guifixture.h"

#include "gui/views/serversview.h"

#include <QAbstractItemModelTester>
#include <QAction>
#include <QContextMenuEvent>
#include <QHeaderView>
#include <QMenu>
#include <QTreeView>

using namespace Qt::StringLiterals;
using namespace GuiTest;

namespace {

// Their places in the server list.
constexpr std::size_t kAlpha = 0, kBravo = 1;

void ThreeServers(CSiteWriter& writer) {
    CTestConsole::AddServer(writer, u"ALPHA"_s, u"RAS"_s, u"4.0"_s, 2, true);
    CTestConsole::AddServer(writer, u"BRAVO"_s, u"RAS"_s, u"4.0"_s, 3, false, u"ALPHA"_s);
    CTestConsole::AddServer(writer, u"CHARLIE"_s, u"RAS"_s, u"4.0"_s, 0, false, u"ALPHA"_s);
}

// Each row from the top as "name ports busy image".
QStringList Rows(const CServersView& view) {
    QStringList rows;
    for (int row = 0; row < view.Model()->rowCount(); ++row)
        rows << u"%1 %2 %3 %4"_s
                    .arg(view.Model()->Text(row, CServersModel::ColServer),
                         view.Model()->Text(row, CServersModel::ColPorts),
                         view.Model()->Text(row, CServersModel::ColBusyPorts))
                    .arg(view.Model()->StateImage(row));
    return rows;
}

void SelectRow(CServersView& view, const QString& name) {
    view.List()->setCurrentIndex(view.Model()->index(view.FindServer(name), 0));
}

} // namespace

class TestServersView : public QObject {
    Q_OBJECT

private slots:
    void initTestCase() { IsolateSettings("gui_servers"); }

    // Each server is put at the top in list order, so the rows run backwards,
    // and keeps its place; counts are "n/a" until read (none is "0"); a server
    // gone from the list loses its row at the next rebuild. Refresh asks for
    // every server's data and says "Ready".
    void rowsFollowTheServerList() {
        CTestConsole console(ThreeServers);
        CServersView view(console.Doc(), Frame(console));
        QAbstractItemModelTester tester(view.Model(), QAbstractItemModelTester::FailureReportingMode::QtTest);
        view.OnInitialUpdate();
        QCOMPARE(Rows(view),
                 (QStringList{u"CHARLIE n/a n/a 1"_s, u"BRAVO n/a n/a 1"_s, u"ALPHA n/a n/a 1"_s}));
        Frame(console).SetStatus(u"busy"_s);
        console.Doc().UpdateAllViews(nullptr, Hint::UPDATE_NEW_USERS);
        QCOMPARE(Frame(console).StatusText(), u"Ready"_s);
        QTRY_COMPARE(Rows(view), (QStringList{u"CHARLIE 0 0 2"_s, u"BRAVO 3 0 2"_s, u"ALPHA 2 0 2"_s}));
        QTRY_VERIFY(!console.Doc().Servers().FetchRunning());

        // Notices that find nothing new rewrite no cell and no icon, although
        // every server passes through "connecting" again.
        QSignalSpy changes(view.Model(), &QAbstractItemModel::dataChanged);
        QVERIFY(console.FetchAll());
        for (std::size_t i = 0; i < console.Doc().Servers().GetCount(); ++i)
            Frame(console).OnNewServerData(i);
        QCOMPARE(changes.count(), 0);
        CServer& bravo = console.Doc().Servers()[kBravo];
        {
            auto lock = bravo.Lock();
            bravo.m_busyPorts = 1;
        }
        Frame(console).OnNewServerData(kBravo);
        const QModelIndex cell = view.Model()->index(1, CServersModel::ColBusyPorts);
        QCOMPARE(changes.count(), 1);
        QCOMPARE(changes[0][0].toModelIndex(), cell);
        QCOMPARE(changes[0][1].toModelIndex(), cell);

        QVERIFY(console.Doc().Servers().AddServer(u"DELTA"_s));
        console.Doc().Servers().DelServer(u"BRAVO"_s);
        console.Doc().UpdateAllViews(nullptr, Hint::ServerListChanged);
        QCOMPARE(Rows(view), (QStringList{u"DELTA n/a n/a 1"_s, u"CHARLIE 0 0 2"_s, u"ALPHA 2 0 2"_s}));
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
    }

    // By the state notice and by the data notice alike.
    void stateImages() {
        QFETCH(int, state);
        QFETCH(bool, readyBefore);
        QFETCH(int, image);
        CTestConsole console(
            [](CSiteWriter& w) { CTestConsole::AddServer(w, u"ALPHA"_s, u"RAS"_s, u"4.0"_s, 2); });
        CServersView view(console.Doc(), Frame(console));
        view.OnInitialUpdate();
        CServer& server = console.Doc().Servers()[0];
        if (readyBefore) {
            server.m_state = ServerState::Ready;
            Frame(console).OnNewServerState(0);
        }
        server.m_state = DWORD(state);
        Frame(console).OnNewServerState(0);
        QCOMPARE(view.Model()->StateImage(0), image);
        Frame(console).OnNewServerData(0);
        QCOMPARE(view.Model()->StateImage(0), image);
    }

    // What the status bar says of the selected server, and the row commands.
    void selection() {
        CTestConsole console(ThreeServers);
        CCwadminDoc& doc = console.Doc();
        CMainFrame& frame = Frame(console);
        CServersView view(doc, frame);
        view.OnInitialUpdate();
        QVERIFY(console.FetchAll());
        SelectRow(view, u"ALPHA"_s);
        QCOMPARE(doc.m_selectedServer, u"ALPHA"_s);
        QCOMPARE(frame.StatusText(), u"ALPHA is ready"_s);

        // A state notice shows the selected server's text, whichever server it is about.
        doc.Servers()[kBravo].m_state = ServerState::RasReadFailure;
        frame.OnNewServerState(kBravo);
        QCOMPARE(frame.StatusText(), u"ALPHA is ready"_s);
        doc.Servers()[kAlpha].m_state = ServerState::RequestingRas;
        frame.OnNewServerState(kBravo);
        QCOMPARE(frame.StatusText(), u"Requesting RAS data for ALPHA..."_s);

        // A single click repeats the selected server's text.
        view.resize(400, 240);
        view.show();
        QVERIFY(QTest::qWaitForWindowExposed(&view));
        doc.SetStatus(u"something else"_s);
        const QRect alpha = view.List()->visualRect(view.Model()->index(view.FindServer(u"ALPHA"_s), 0));
        QTest::mouseClick(view.List()->viewport(), Qt::LeftButton, {}, alpha.center());
        QCOMPARE(frame.StatusText(), u"Requesting RAS data for ALPHA..."_s);

        // A right-click selects the row under the pointer and offers its
        // commands; "&Properties" opens the server's sheet.
        QStringList items;
        const QPoint at =
            view.List()->visualRect(view.Model()->index(view.FindServer(u"BRAVO"_s), 1)).center();
        WithModals(
            [&] {
                QContextMenuEvent click(QContextMenuEvent::Mouse, at,
                                        view.List()->viewport()->mapToGlobal(at));
                QApplication::sendEvent(view.List()->viewport(), &click);
            },
            [&](QWidget* menu) {
                for (QAction* action : menu->actions())
                    items << action->text();
            });
        QCOMPARE(items, QStringList({u"&Explore"_s, u"&Properties"_s}));
        QCOMPARE(doc.m_selectedServer, u"BRAVO"_s);
        QCOMPARE(WithModals([&] { view.PropertiesAction()->trigger(); }),
                 QStringList{u"Properties for BRAVO"_s});

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
        CMainFrame& frame = Frame(console);
        frame.show();
        QVERIFY(QTest::qWaitForWindowExposed(&frame));
        frame.NodeView()->expandItem(frame.NodeView()->ServersRoot());
        doc.m_selectionKind = NodeKind::ServersRoot;
        frame.ArrangeViews();
        auto* view = qobject_cast<CServersView*>(frame.RightView());
        QVERIFY(view);
        // Nothing selected: nothing happens.
        view->ExploreAction()->trigger();
        QCOMPARE(frame.ShownKind(), NodeKind::ServersRoot);

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
        QCOMPARE(frame.NodeView()->currentItem()->text(0), u"BRAVO"_s);
        // The view replaced is deleted later; it must go while its document lives.
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    }

    void columnTitles() {
        CTestConsole console;
        CServersView view(console.Doc(), Frame(console));
        QStringList titles;
        for (int column = 0; column < CServersModel::ColumnCount; ++column)
            titles << view.Model()->headerData(column, Qt::Horizontal).toString();
        QCOMPARE(titles, (QStringList{u"Server"_s, u"Ports"_s, u"Busy Ports"_s}));
    }
};

QTEST_MAIN(TestServersView)
#include "tst_serversview.moc"
