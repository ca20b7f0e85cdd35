// The ports view over test sites: the rows of the selected server, the poll's
// merge with its deliberate rewrites, the tick counter, sorting, the animation
// and the row commands.
#include "support/guifixture.h"

#include "core/ports/portsviewfile.h"
#include "gui/frame/containerview.h"
#include "gui/toolkit/captionbar.h"
#include "gui/views/portsmodel.h"

#include <QAbstractItemModelTester>
#include <QAction>
#include <QHeaderView>
#include <QTreeView>

using namespace Qt::StringLiterals;
using namespace GuiTest;

namespace {

void TwoServers(CSiteWriter& writer) {
    CTestConsole::AddServer(writer, u"RAS1"_s, u"RAS"_s, u"4.0"_s, 4, true);
    CTestConsole::AddServer(writer, u"RRAS1"_s, u"RRAS"_s, u"5.0"_s, 4, false, u"RAS1"_s);
}

QString PortName(const QString& server, int number) {
    return (server == u"RRAS1"_s ? u"VPN1-%1"_s : u"COM%1"_s).arg(number);
}

// A port's "User", "Connected" and "IP Address" cells.
QStringList Cells(const CPortsView& view, const QString& port) {
    const int row = view.Model()->FindPort(port);
    QStringList cells;
    for (int column = CPortsModel::ColUser; row >= 0 && column < CPortsModel::ColumnCount; ++column)
        cells << view.Model()->Text(row, column);
    return cells;
}

QStringList Names(const CPortsView& view) {
    QStringList names;
    for (int row = 0; row < view.Model()->rowCount(); ++row)
        names << view.Model()->Text(row, CPortsModel::ColPort);
    return names;
}

void Select(CPortsView& view, const QStringList& ports) {
    QItemSelection selection;
    for (const QString& port : ports) {
        const int row = view.Model()->FindPort(port);
        selection.select(view.Model()->index(row, 0), view.Model()->index(row, CPortsModel::ColumnCount - 1));
    }
    view.List()->selectionModel()->select(selection, QItemSelectionModel::ClearAndSelect);
}

void ClickHeader(CPortsView& view, int column) {
    QHeaderView* header = view.List()->header();
    const int x = header->sectionViewportPosition(column) + header->sectionSize(column) / 2;
    QTest::mouseClick(header->viewport(), Qt::LeftButton, {}, QPoint(x, header->height() / 2));
}

void Ticks(CPortsView& view, int count) {
    for (int tick = 0; tick < count; ++tick)
        view.OnTimer(TIMER_ID_PORTS_POLL);
}

} // namespace

class TestPortsView : public QObject {
    Q_OBJECT

private slots:
    void initTestCase() { IsolateSettings("gui_ports_view"); }

    // Runs first: the tick counter is the process's, 0 at start and kept when
    // the view is made again.
    void pollOnEveryEleventhTick() {
        QCOMPARE(CPortsView::TickCounter(), 0);
        CTestConsole console(TwoServers);
        QVERIFY(console.FetchAll());
        auto view = std::make_unique<CPortsView>(console.Doc(), Frame(console));
        view->OnInitialUpdate();
        QCOMPARE(view->PollTimer().interval(), 300);
        console.Doc().m_selectedServer = u"RAS1"_s;
        view->OnUpdate(nullptr, Hint::UPDATE_NEW_PORTS, nullptr);
        Ticks(*view, 10);
        QCOMPARE(view->UpdateThreadsStarted(), 0);
        QVERIFY(view->PollTimer().isActive());
        QCOMPARE(view->PollTimer().interval(), 700);
        QSignalSpy merged(view.get(), &CPortsView::pollMerged);
        Ticks(*view, 1);
        QCOMPARE(view->UpdateThreadsStarted(), 1);
        view->PollTimer().stop();
        QVERIFY(merged.wait(10000));

        Ticks(*view, 2);
        view = OpenView(console, u"RAS1"_s);
        QCOMPARE(CPortsView::TickCounter(), 2);
    }

    // Its port count still unknown: no rows, and a poll adds none.
    void unknownPortCount() {
        CTestConsole console(TwoServers);
        auto view = OpenView(console, u"RAS1"_s);
        QVERIFY(Poll(*view));
        QCOMPARE(view->Model()->rowCount(), 0);
    }

    void merge_data() {
        QTest::addColumn<QString>("server");
        QTest::addColumn<QString>("ip");
        // Only Routing and RAS servers bring the address with the ports.
        QTest::newRow("RAS") << u"RAS1"_s << QString();
        QTest::newRow("RRAS") << u"RRAS1"_s << u"10.0.0.7"_s;
    }

    void merge() {
        QFETCH(QString, server);
        QFETCH(QString, ip);
        const QString idle = PortName(server, 1), busy = PortName(server, 2), leaving = PortName(server, 3),
                      gone = PortName(server, 4);
        CTestConsole console(TwoServers);
        QVERIFY(Connect(console, server, leaving, u"bob"_s, u"10.0.0.7"_s));
        QVERIFY(console.FetchAll());
        auto view = OpenView(console, server);
        QAbstractItemModelTester tester(view->Model(),
                                        QAbstractItemModelTester::FailureReportingMode::QtTest);
        QCOMPARE(Names(*view), (QStringList{idle, busy, leaving, gone}));
        QCOMPARE(view->Model()->PortIndex(3), 3);
        QCOMPARE(Cells(*view, leaving),
                 (QStringList{u"CORP\\bob"_s, console.Doc().TimeToLocalString(kStart, true), ip}));
        // Its icon moves on, to be set back once the session is seen to end.
        Ticks(*view, 1);
        QCOMPARE(view->Model()->Image(view->Model()->FindPort(leaving)), 1);
        QTRY_VERIFY(!view->UpdateThreadRunning());

        // Since the fetch: one user came, one left, one port went away.
        QVERIFY(Connect(console, server, busy, u"alice"_s, u"10.0.0.5"_s));
        QVERIFY(HangUp(console, server, leaving));
        QVERIFY(RemovePort(console, server, gone));
        QSignalSpy changes(view->Model(), &QAbstractItemModel::dataChanged);
        const auto rewritten = [&] {
            QStringList ports;
            for (const QList<QVariant>& change : changes)
                if (change[0].value<QModelIndex>().column() == CPortsModel::ColUser)
                    ports << view->Model()->Text(change[0].value<QModelIndex>().row(), CPortsModel::ColPort);
            changes.clear();
            ports.sort();
            return ports;
        };

        QVERIFY(Poll(*view));
        const QStringList alice{u"CORP\\alice"_s, console.Doc().TimeToLocalString(kStart, true),
                                u"10.0.0.5"_s};
        QCOMPARE(Cells(*view, busy), alice);
        // Logged off: the address the poll read ("I" is written, and empty).
        QCOMPARE(Cells(*view, leaving), QStringList(3, QString()));
        // No section for the port: the read defaults.
        QCOMPARE(Cells(*view, gone), (QStringList{u"*"_s, QString(), u" "_s}));
        QCOMPARE(Cells(*view, idle), QStringList(3, QString()));
        QCOMPARE(rewritten(), (QStringList{busy, leaving, gone}));

        // Nothing changed on the server: connected rows and the port without a
        // section are written again, idle rows are left alone.
        QVERIFY(Poll(*view));
        QCOMPARE(rewritten(), (QStringList{busy, gone}));
        QCOMPARE(Cells(*view, busy), alice);

        // Connected rows' icons cycle through three images; the others show the first.
        QList<int> images;
        for (int tick = 0; tick < 4; ++tick) {
            Ticks(*view, 1);
            images << view->Model()->Image(view->Model()->FindPort(busy));
            for (const QString& port : {idle, leaving, gone})
                QCOMPARE(view->Model()->Image(view->Model()->FindPort(port)), 0);
        }
        QCOMPARE(images, QList<int>({1, 2, 0, 1}));
        QVERIFY(!view->Model()->index(1, 0).data(Qt::DecorationRole).value<QIcon>().isNull());
        view->PollTimer().stop();
        QTRY_VERIFY(!view->UpdateThreadRunning());

        // Disconnect goes by the first selected row, and by what the row shows:
        // someone has dialled in on the idle port since.
        QVERIFY(Connect(console, server, idle, u"bob"_s, u"10.0.0.9"_s));
        Select(*view, {busy, idle});
        view->DisconnectAction()->trigger();
        QVERIFY(PortConnected(console, server, idle) && PortConnected(console, server, busy));
        Select(*view, {leaving, busy});
        view->DisconnectAction()->trigger();
        QVERIFY(!PortConnected(console, server, busy));
        QCOMPARE(console.Prompter().Boxes().size(), 0);

        // Another server chosen: its rows replace these.
        const QString other = server == u"RAS1"_s ? u"RRAS1"_s : u"RAS1"_s;
        console.Doc().m_selectedServer = other;
        view->OnUpdate(nullptr, Hint::UPDATE_NEW_PORTS, nullptr);
        QCOMPARE(Names(*view).value(0), PortName(other, 1));
    }

    // An unreachable server: each poll ends by itself and every row shows the
    // defaults. A slow one: ticks start no second poll while one runs.
    void pollsOneAtATime() {
        CTestConsole console(TwoServers);
        QVERIFY(console.FetchAll());
        auto view = OpenView(console, u"RAS1"_s);
        console.Writer().SetHostValue(u"RAS1"_s, u"Reachable"_s, u"0"_s);
        QVERIFY(console.Writer().Save());
        QVERIFY(Poll(*view));
        QVERIFY(Poll(*view));
        QCOMPARE(view->PortsFile().SectionCount(), 0);
        for (int port = 1; port <= 4; ++port)
            QCOMPARE(Cells(*view, PortName(u"RAS1"_s, port)), (QStringList{u"*"_s, QString(), u" "_s}));
        QCOMPARE(console.Prompter().Boxes().size(), 0);

        console.Writer().SetHostValue(u"RAS1"_s, u"Reachable"_s, u"1"_s);
        console.Writer().SetHostValue(u"RAS1"_s, u"LatencyMs"_s, u"300"_s);
        QVERIFY(console.Writer().Save());
        QSignalSpy merged(view.get(), &CPortsView::pollMerged);
        QVERIFY(view->StartUpdateThread());
        const int counter = CPortsView::TickCounter();
        Ticks(*view, 40);
        view->PollTimer().stop();
        QVERIFY(!view->StartUpdateThread());
        QCOMPARE(view->UpdateThreadsStarted(), 3);
        QCOMPARE(CPortsView::TickCounter(), counter);
        QVERIFY(merged.wait(20000));
        QVERIFY(!view->UpdateThreadRunning());
    }

    void rrasInitFailureOnEveryPoll() {
        CTestConsole console(TwoServers);
        QVERIFY(console.FetchAll());
        auto view = OpenView(console, u"RRAS1"_s);
        console.Writer().SetSiteValue(u"Site"_s, u"RouterAdmin"_s, u"0"_s);
        QVERIFY(console.Writer().Save());
        QVERIFY(Poll(*view));
        QVERIFY(Poll(*view));
        QCOMPARE(console.Prompter().Texts(), QStringList(2, u"Failed to initialize RRAS interface"_s));
        QCOMPARE(console.Prompter().Boxes().last().icon, OCL::IPrompter::Icon::Error);
        QCOMPARE(view->PortsFile().SectionCount(), 0);
    }

    void sorting() {
        CTestConsole console([](CSiteWriter& writer) {
            CTestConsole::AddServer(writer, u"RAS1"_s, u"RAS"_s, u"4.0"_s, 11, true);
        });
        QVERIFY(Connect(console, u"RAS1"_s, u"COM10"_s, u"alice"_s, u"10.0.0.5"_s));
        QVERIFY(console.FetchAll());
        auto view = OpenView(console, u"RAS1"_s);
        view->resize(600, 400);
        view->show();
        QVERIFY(QTest::qWaitForWindowExposed(view.get()));
        QStringList inOrder;
        for (int i = 1; i <= 11; ++i)
            inOrder << u"COM%1"_s.arg(i);
        ClickHeader(*view, CPortsModel::ColUser);
        ClickHeader(*view, CPortsModel::ColConnected);
        QCOMPARE(Names(*view), inOrder);

        // By name as text: COM10 and COM11 before COM2; each row keeps its port.
        QStringList ascending = inOrder;
        ascending.sort();
        ClickHeader(*view, CPortsModel::ColPort);
        QCOMPARE(Names(*view), ascending);
        QCOMPARE(view->Model()->PortIndex(view->Model()->FindPort(u"COM10"_s)), 9);
        QCOMPARE(Cells(*view, u"COM10"_s).value(0), u"CORP\\alice"_s);
        ClickHeader(*view, CPortsModel::ColPort);
        std::reverse(ascending.begin(), ascending.end());
        QCOMPARE(Names(*view), ascending);
        QCOMPARE(view->Model()->PortIndex(view->Model()->FindPort(u"COM2"_s)), 1);
    }

    void columnWidthsKept() {
        CTestConsole console(TwoServers);
        OpenView(console, u"RAS1"_s)->List()->header()->resizeSection(1, 222);
        auto view = OpenView(console, u"RAS1"_s);
        QCOMPARE(view->List()->header()->sectionSize(1), 222);
    }

    // A double-click on a row: the tree selects the port and the frame shows
    // its detail, captioned with the port and the server.
    void doubleClickShowsPortDetail() {
        CTestConsole console(TwoServers);
        QVERIFY(console.FetchAll());
        CMainFrame& frame = Frame(console);
        console.Doc().UpdateAllViews(nullptr, Hint::ServerListChanged);
        CNodeView* tree = frame.NodeView();
        tree->expandItem(tree->ServersRoot());
        tree->setCurrentItem(FindItem(tree, u"RAS1"_s));
        auto* view = qobject_cast<CPortsView*>(frame.RightView());
        QVERIFY(view);
        QCOMPARE(frame.Container()->Caption()->Caption(), u"Ports"_s);
        view->PollTimer().stop();

        frame.resize(900, 600);
        frame.show();
        QVERIFY(QTest::qWaitForWindowExposed(&frame));
        const QRect rect =
            view->List()->visualRect(view->Model()->index(view->Model()->FindPort(u"COM3"_s), 0));
        QTest::mouseClick(view->List()->viewport(), Qt::LeftButton, {}, rect.center());
        QTest::mouseDClick(view->List()->viewport(), Qt::LeftButton, {}, rect.center());

        QCOMPARE(console.Doc().m_selectionKind, NodeKind::Port);
        QCOMPARE(tree->currentItem()->text(0), u"COM3"_s);
        QCOMPARE(tree->currentItem()->parent()->text(0), u"RAS1"_s);
        auto* detail = qobject_cast<CNewPort*>(frame.RightView());
        QVERIFY(detail);
        QTRY_COMPARE(frame.Container()->Caption()->Caption(), u"COM3 on RAS1"_s);
        QCOMPARE(detail->RowText(PortDetail::DeviceName), u"Device name:  Test modem"_s);
        QCOMPARE(detail->RefreshTimer().interval(), 5000);
        QVERIFY(detail->RefreshTimer().isActive());
        // The view replaced is deleted later; it must go while its document lives.
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    }

    void propertiesForEverySelectedRow() {
        CTestConsole console(TwoServers);
        QVERIFY(console.FetchAll());
        auto view = OpenView(console, u"RAS1"_s);
        QVERIFY(!view->CanEditProperties());
        Select(*view, {u"COM3"_s, u"COM1"_s});
        QCOMPARE(WithModals([&] { view->PropertiesAction()->trigger(); }),
                 QStringList({u"Properties for RAS1\\COM1"_s, u"Properties for RAS1\\COM3"_s}));
    }
};

QTEST_MAIN(TestPortsView)
#include "tst_portsview.moc"
