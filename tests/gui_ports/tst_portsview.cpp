// The ports view over test sites: the rows of the selected server, the poll's
// merge with its deliberate rewrites, the tick counter, sorting, the row
// commands and the column widths.
#include "portsfixture.h"

#include "core/ports/portsviewfile.h"
#include "gui/frame/containerview.h"
#include "gui/toolkit/captionbar.h"
#include "gui/views/newport.h"
#include "gui/views/portsmodel.h"
#include "gui/views/portsview.h"

#include <QAbstractItemModelTester>
#include <QAction>
#include <QHeaderView>
#include <QSignalSpy>
#include <QTreeView>

using namespace Qt::StringLiterals;
using namespace PortsFixture;

namespace {

void TwoServers(CSiteWriter& writer) {
    CTestConsole::AddServer(writer, u"RAS1"_s, u"RAS"_s, u"4.0"_s, 4, true);
    CTestConsole::AddServer(writer, u"RRAS1"_s, u"RRAS"_s, u"5.0"_s, 4, false, u"RAS1"_s);
}

// The port names AddServer gives a server of the kind.
QString PortName(const QString& server, int number) {
    return (server.startsWith(u"RRAS"_s) ? u"VPN1-%1"_s : u"COM%1"_s).arg(number);
}

int RowOf(const CPortsView& view, const QString& port) {
    return view.Model()->FindPort(port);
}

QString Cell(const CPortsView& view, const QString& port, int column) {
    const int row = RowOf(view, port);
    return row < 0 ? u"<no row>"_s : view.Model()->Text(row, column);
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
        const int row = RowOf(view, port);
        selection.select(view.Model()->index(row, 0), view.Model()->index(row, CPortsModel::ColumnCount - 1));
    }
    view.List()->selectionModel()->select(selection, QItemSelectionModel::ClearAndSelect);
}

void ClickHeader(CPortsView& view, int column) {
    QHeaderView* header = view.List()->header();
    const QPoint at(header->sectionViewportPosition(column) + header->sectionSize(column) / 2,
                    header->height() / 2);
    QTest::mouseClick(header->viewport(), Qt::LeftButton, {}, at);
}

} // namespace

class TestPortsView : public QObject {
    Q_OBJECT

private slots:
    void initTestCase() { IsolateSettings("gui_ports_view"); }

    // Runs first: the tick counter is the process's and starts at 0.
    void firstPollAfterElevenTicks() {
        QCOMPARE(CPortsView::TickCounter(), 0);
        CTestConsole console(TwoServers);
        QVERIFY(console.FetchAll());
        CPortsView view(console.Doc(), Frame(console));
        view.OnInitialUpdate();
        QVERIFY(view.PollTimer().isActive());
        QCOMPARE(view.PollTimer().interval(), 300);
        view.PollTimer().stop();
        console.Doc().m_selectedServer = u"RAS1"_s;
        view.OnUpdate(nullptr, Hint::UPDATE_NEW_PORTS, nullptr);

        for (int tick = 1; tick <= 10; ++tick) {
            view.OnTimer(TIMER_ID_PORTS_POLL);
            QCOMPARE(CPortsView::TickCounter(), tick);
            QCOMPARE(view.UpdateThreadsStarted(), 0);
            QCOMPARE(view.PollTimer().interval(), 700);
            QVERIFY(view.PollTimer().isActive());
        }
        // The eleventh tick starts the poll and sets the counter back.
        QSignalSpy merged(&view, &CPortsView::pollMerged);
        view.OnTimer(TIMER_ID_PORTS_POLL);
        QCOMPARE(view.UpdateThreadsStarted(), 1);
        QCOMPARE(CPortsView::TickCounter(), 0);
        view.PollTimer().stop();
        QVERIFY(merged.wait(10000));

        // The view's own timer goes on counting from there.
        for (int tick = 1; tick <= 10; ++tick)
            view.OnTimer(TIMER_ID_PORTS_POLL);
        QCOMPARE(view.UpdateThreadsStarted(), 1);
        QVERIFY(view.PollTimer().isActive());
        QTRY_COMPARE_WITH_TIMEOUT(view.UpdateThreadsStarted(), 2, 3000);
    }

    void tickCounterSurvivesTheView() {
        CTestConsole console(TwoServers);
        QVERIFY(console.FetchAll());
        int counter;
        {
            auto view = OpenView(console, u"RAS1"_s);
            // Close to a poll: let it run first, so that it stays out of the count.
            if (CPortsView::TickCounter() >= 8) {
                QSignalSpy merged(view.get(), &CPortsView::pollMerged);
                while (view->UpdateThreadsStarted() == 0)
                    view->OnTimer(TIMER_ID_PORTS_POLL);
                view->PollTimer().stop();
                QVERIFY(merged.wait(10000));
            }
            counter = CPortsView::TickCounter();
            view->OnTimer(TIMER_ID_PORTS_POLL);
            view->OnTimer(TIMER_ID_PORTS_POLL);
            QCOMPARE(CPortsView::TickCounter(), counter + 2);
        }
        auto again = OpenView(console, u"RAS1"_s);
        QCOMPARE(CPortsView::TickCounter(), counter + 2);
        again->OnTimer(TIMER_ID_PORTS_POLL);
        QCOMPARE(CPortsView::TickCounter(), counter + 3);
        again->PollTimer().stop();
    }

    void rowsOfTheServer_data() {
        QTest::addColumn<QString>("server");
        QTest::addColumn<QString>("ip");
        // Only Routing and RAS servers bring the address with the ports.
        QTest::newRow("RAS") << u"RAS1"_s << QString();
        QTest::newRow("RRAS") << u"RRAS1"_s << u"10.0.0.5"_s;
    }

    void rowsOfTheServer() {
        QFETCH(QString, server);
        CTestConsole console(TwoServers);
        QVERIFY(Connect(console, server, PortName(server, 2), u"alice"_s, u"10.0.0.5"_s));
        QVERIFY(console.FetchAll());
        auto view = OpenView(console, server);
        QAbstractItemModelTester tester(view->Model(),
                                        QAbstractItemModelTester::FailureReportingMode::QtTest);

        QCOMPARE(Names(*view), QStringList({PortName(server, 1), PortName(server, 2), PortName(server, 3),
                                            PortName(server, 4)}));
        for (int row = 0; row < 4; ++row)
            QCOMPARE(view->Model()->PortIndex(row), row);
        const QString port = PortName(server, 2);
        QCOMPARE(Cell(*view, port, CPortsModel::ColUser), u"CORP\\alice"_s);
        QCOMPARE(Cell(*view, port, CPortsModel::ColConnected), console.Doc().TimeToLocalString(kStart, true));
        QTEST(Cell(*view, port, CPortsModel::ColIp), "ip");
        for (int column = CPortsModel::ColUser; column < CPortsModel::ColumnCount; ++column)
            QCOMPARE(Cell(*view, PortName(server, 1), column), QString());
        QCOMPARE(view->ServerName(), server);

        // Another server chosen: its rows replace these.
        const QString other = server == u"RAS1"_s ? u"RRAS1"_s : u"RAS1"_s;
        console.Doc().m_selectedServer = other;
        view->OnUpdate(nullptr, Hint::UPDATE_NEW_PORTS, nullptr);
        QCOMPARE(Names(*view).value(0), PortName(other, 1));
        QCOMPARE(view->Model()->rowCount(), 4);
    }

    void unknownPortCountShowsNothing() {
        CTestConsole console(TwoServers);
        // Nothing fetched yet: the port count is unknown.
        auto view = OpenView(console, u"RAS1"_s);
        QCOMPARE(view->Model()->rowCount(), 0);
        QVERIFY(Poll(*view));
        QCOMPARE(view->Model()->rowCount(), 0);
    }

    void merge_data() {
        QTest::addColumn<QString>("server");
        QTest::newRow("RAS") << u"RAS1"_s;
        QTest::newRow("RRAS") << u"RRAS1"_s;
    }

    void merge() {
        QFETCH(QString, server);
        const QString idle = PortName(server, 1), busy = PortName(server, 2), leaving = PortName(server, 3),
                      gone = PortName(server, 4);
        CTestConsole console(TwoServers);
        QVERIFY(Connect(console, server, leaving, u"bob"_s, u"10.0.0.7"_s));
        QVERIFY(console.FetchAll());
        auto view = OpenView(console, server);
        QAbstractItemModelTester tester(view->Model(),
                                        QAbstractItemModelTester::FailureReportingMode::QtTest);

        // Since the fetch: one user came, one left, one port went away.
        QVERIFY(Connect(console, server, busy, u"alice"_s, u"10.0.0.5"_s));
        QVERIFY(HangUp(console, server, leaving));
        QVERIFY(RemovePort(console, server, gone));

        QSignalSpy changes(view->Model(), &QAbstractItemModel::dataChanged);
        QVERIFY(Poll(*view));
        QCOMPARE(Cell(*view, busy, CPortsModel::ColUser), u"CORP\\alice"_s);
        QCOMPARE(Cell(*view, busy, CPortsModel::ColConnected), console.Doc().TimeToLocalString(kStart, true));
        QCOMPARE(Cell(*view, busy, CPortsModel::ColIp), u"10.0.0.5"_s);
        // Logged off: no user, no start, the address the poll wrote.
        QCOMPARE(view->PortsFile().Read(leaving).ip, QString());
        QCOMPARE(Cell(*view, leaving, CPortsModel::ColUser), QString());
        QCOMPARE(Cell(*view, leaving, CPortsModel::ColConnected), QString());
        QCOMPARE(Cell(*view, leaving, CPortsModel::ColIp), QString());
        // No section for the port: the defaults.
        QCOMPARE(Cell(*view, gone, CPortsModel::ColUser), u"*"_s);
        QCOMPARE(Cell(*view, gone, CPortsModel::ColConnected), QString());
        QCOMPARE(Cell(*view, gone, CPortsModel::ColIp), u" "_s);
        QCOMPARE(Cell(*view, idle, CPortsModel::ColUser), QString());

        auto rewritten = [&] {
            QStringList ports;
            for (const QList<QVariant>& change : changes) {
                const auto from = change[0].value<QModelIndex>();
                if (from.column() == CPortsModel::ColUser)
                    ports << view->Model()->Text(from.row(), CPortsModel::ColPort);
            }
            ports.sort();
            changes.clear();
            return ports;
        };
        QStringList expected = {busy, leaving, gone};
        expected.sort();
        QCOMPARE(rewritten(), expected);

        // Nothing changed on the server: connected rows and the port without a
        // section are written again, idle rows are left alone.
        QVERIFY(Poll(*view));
        expected = QStringList{busy, gone};
        expected.sort();
        QCOMPARE(rewritten(), expected);
        QCOMPARE(Cell(*view, busy, CPortsModel::ColUser), u"CORP\\alice"_s);
    }

    void unreadableServerShowsDefaults() {
        CTestConsole console(TwoServers);
        QVERIFY(console.FetchAll());
        auto view = OpenView(console, u"RAS1"_s);
        console.Writer().SetHostValue(u"RAS1"_s, u"Reachable"_s, u"0"_s);
        QVERIFY(console.Writer().Save());
        QVERIFY(Poll(*view));
        QCOMPARE(view->PortsFile().SectionCount(), 0);
        for (int row = 0; row < view->Model()->rowCount(); ++row) {
            QCOMPARE(view->Model()->Text(row, CPortsModel::ColUser), u"*"_s);
            QCOMPARE(view->Model()->Text(row, CPortsModel::ColConnected), QString());
        }
        QCOMPARE(console.Prompter().Boxes().size(), 0);
    }

    void animation() {
        CTestConsole console(TwoServers);
        QVERIFY(Connect(console, u"RAS1"_s, u"COM3"_s, u"alice"_s, u"10.0.0.5"_s));
        QVERIFY(console.FetchAll());
        auto view = OpenView(console, u"RAS1"_s);
        const int busy = RowOf(*view, u"COM3"_s), idle = RowOf(*view, u"COM1"_s);
        QList<int> images;
        for (int tick = 0; tick < 4; ++tick) {
            view->OnTimer(TIMER_ID_PORTS_POLL);
            images << view->Model()->Image(busy);
            QCOMPARE(view->Model()->Image(idle), 0);
        }
        view->PollTimer().stop();
        QCOMPARE(images, QList<int>({1, 2, 0, 1}));
        QVERIFY(!view->Model()->index(busy, 0).data(Qt::DecorationRole).value<QIcon>().isNull());

        QVERIFY(QTest::qWaitFor([&] { return !view->UpdateThreadRunning(); }, 10000));
        QVERIFY(HangUp(console, u"RAS1"_s, u"COM3"_s));
        QVERIFY(Poll(*view));
        view->OnTimer(TIMER_ID_PORTS_POLL);
        view->PollTimer().stop();
        QCOMPARE(view->Model()->Image(busy), 0);
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
        QCOMPARE(Names(*view), inOrder);

        ClickHeader(*view, CPortsModel::ColUser);
        ClickHeader(*view, CPortsModel::ColConnected);
        QCOMPARE(Names(*view), inOrder);

        // By name as text: COM10 and COM11 before COM2.
        QStringList ascending = {u"COM1"_s, u"COM10"_s, u"COM11"_s, u"COM2"_s, u"COM3"_s, u"COM4"_s,
                                 u"COM5"_s, u"COM6"_s,  u"COM7"_s,  u"COM8"_s, u"COM9"_s};
        ClickHeader(*view, CPortsModel::ColPort);
        QCOMPARE(Names(*view), ascending);
        QCOMPARE(view->Model()->PortIndex(RowOf(*view, u"COM10"_s)), 9);
        QCOMPARE(Cell(*view, u"COM10"_s, CPortsModel::ColUser), u"CORP\\alice"_s);

        ClickHeader(*view, CPortsModel::ColPort);
        std::reverse(ascending.begin(), ascending.end());
        QCOMPARE(Names(*view), ascending);
        ClickHeader(*view, CPortsModel::ColUser);
        QCOMPARE(Names(*view), ascending);
        QCOMPARE(view->Model()->PortIndex(RowOf(*view, u"COM2"_s)), 1);
    }

    void disconnect_data() {
        QTest::addColumn<QString>("server");
        QTest::newRow("RAS") << u"RAS1"_s;
        QTest::newRow("RRAS") << u"RRAS1"_s;
    }

    void disconnect() {
        QFETCH(QString, server);
        const QString port = PortName(server, 2);
        CTestConsole console(TwoServers);
        QVERIFY(console.FetchAll());
        auto view = OpenView(console, server);

        // The row shows no user, although someone has dialled in since: the
        // command goes by the row and leaves the port alone.
        QVERIFY(Connect(console, server, port, u"alice"_s, u"10.0.0.5"_s));
        Select(*view, {port});
        view->DisconnectAction()->trigger();
        QVERIFY(PortOf(console, server, port).Connected());

        QVERIFY(Poll(*view));
        QCOMPARE(Cell(*view, port, CPortsModel::ColUser), u"CORP\\alice"_s);
        // Only the first selected row counts: here an idle one.
        Select(*view, {port, PortName(server, 1)});
        view->DisconnectAction()->trigger();
        QVERIFY(PortOf(console, server, port).Connected());
        Select(*view, {PortName(server, 3), port});
        view->DisconnectAction()->trigger();
        QVERIFY(!PortOf(console, server, port).Connected());
        QCOMPARE(console.Prompter().Boxes().size(), 0);
    }

    void noSecondThreadWhileOneRuns() {
        CTestConsole console(TwoServers);
        QVERIFY(console.FetchAll());
        auto view = OpenView(console, u"RAS1"_s);
        // Every remote call of the poll now waits.
        console.Writer().SetHostValue(u"RAS1"_s, u"LatencyMs"_s, u"300"_s);
        QVERIFY(console.Writer().Save());

        QSignalSpy merged(view.get(), &CPortsView::pollMerged);
        QVERIFY(view->StartUpdateThread());
        const int counter = CPortsView::TickCounter();
        for (int tick = 0; tick < 40; ++tick)
            view->OnTimer(TIMER_ID_PORTS_POLL);
        view->PollTimer().stop();
        QVERIFY(!view->StartUpdateThread());
        QVERIFY(view->UpdateThreadRunning());
        QCOMPARE(view->UpdateThreadsStarted(), 1);
        QCOMPARE(CPortsView::TickCounter(), counter);
        QVERIFY(merged.wait(20000));
        QVERIFY(!view->UpdateThreadRunning());

        // Unreachable: each poll ends by itself, one after the other.
        console.Writer().SetHostValue(u"RAS1"_s, u"Reachable"_s, u"0"_s);
        QVERIFY(console.Writer().Save());
        QVERIFY(Poll(*view));
        QVERIFY(Poll(*view));
        QCOMPARE(view->UpdateThreadsStarted(), 3);
    }

    void rrasInitFailureOnEveryPoll() {
        CTestConsole console(TwoServers);
        QVERIFY(console.FetchAll());
        auto view = OpenView(console, u"RRAS1"_s);
        console.Writer().SetSiteValue(u"Site"_s, u"RouterAdmin"_s, u"0"_s);
        QVERIFY(console.Writer().Save());
        console.Prompter().Clear();
        QVERIFY(Poll(*view));
        QVERIFY(Poll(*view));
        const auto boxes = console.Prompter().Boxes();
        QCOMPARE(boxes.size(), 2);
        for (const auto& box : boxes) {
            QCOMPARE(box.text, u"Failed to initialize RRAS interface"_s);
            QCOMPARE(box.icon, OCL::IPrompter::Icon::Error);
        }
        QCOMPARE(view->PortsFile().SectionCount(), 0);
    }

    void columnWidthsRestored() {
        CTestConsole console(TwoServers);
        {
            auto view = OpenView(console, u"RAS1"_s);
            QHeaderView* header = view->List()->header();
            QCOMPARE(header->sectionSize(0), 120);
            QCOMPARE(header->sectionSize(1), 150);
            QCOMPARE(header->sectionSize(2), 100);
            QCOMPARE(header->sectionSize(3), 100);
            QCOMPARE(header->minimumSectionSize(), 2);
            QCOMPARE(view->Model()->headerData(2, Qt::Horizontal, Qt::TextAlignmentRole).toInt() &
                         Qt::AlignRight,
                     int(Qt::AlignRight));
            header->resizeSection(1, 222);
            header->resizeSection(3, 2);
        }
        auto view = OpenView(console, u"RAS1"_s);
        QCOMPARE(view->List()->header()->sectionSize(1), 222);
        QCOMPARE(view->List()->header()->sectionSize(3), 2);
        QCOMPARE(view->List()->header()->sectionSize(0), 120);
        view->List()->header()->resizeSection(1, 150);
        view->List()->header()->resizeSection(3, 100);
    }

    // Double-click on a row: the tree selects the port and the frame shows its
    // detail, captioned with the port and the server.
    void exploreShowsPortDetail() {
        CTestConsole console(TwoServers);
        QVERIFY(console.FetchAll());
        CMainFrame& frame = Frame(console);
        console.Doc().UpdateAllViews(nullptr, Hint::ServerListChanged);
        CNodeView* tree = frame.NodeView();
        tree->expandItem(tree->ServersRoot());
        QTreeWidgetItem* serverItem = nullptr;
        for (int i = 0; i < tree->ServersRoot()->childCount(); ++i)
            if (tree->ServersRoot()->child(i)->text(0) == u"RAS1"_s)
                serverItem = tree->ServersRoot()->child(i);
        QVERIFY(serverItem);
        tree->setCurrentItem(serverItem);
        auto* view = qobject_cast<CPortsView*>(frame.RightView());
        QVERIFY(view);
        QCOMPARE(frame.Container()->Caption()->Caption(), u"Ports"_s);
        QCOMPARE(view->Model()->rowCount(), 4);
        view->PollTimer().stop();

        frame.resize(900, 600);
        frame.show();
        QVERIFY(QTest::qWaitForWindowExposed(&frame));
        const QModelIndex row = view->Model()->index(RowOf(*view, u"COM3"_s), 0);
        const QRect rect = view->List()->visualRect(row);
        // A double-click is a press and release followed by the double-click event.
        QTest::mouseClick(view->List()->viewport(), Qt::LeftButton, {}, rect.center());
        QTest::mouseDClick(view->List()->viewport(), Qt::LeftButton, {}, rect.center());

        QCOMPARE(console.Doc().m_selectionKind, NodeKind::Port);
        QCOMPARE(console.Doc().m_selectedPort, u"COM3"_s);
        QCOMPARE(tree->currentItem()->text(0), u"COM3"_s);
        QCOMPARE(tree->currentItem()->parent()->text(0), u"RAS1"_s);
        auto* detail = qobject_cast<CNewPort*>(frame.RightView());
        QVERIFY(detail);
        QCOMPARE(detail->Port(), u"COM3"_s);
        QTRY_COMPARE(frame.Container()->Caption()->Caption(), u"COM3 on RAS1"_s);
        QCOMPARE(detail->RowText(PortDetail::DeviceName), u"Device name:  Test modem"_s);
    }

    void propertiesForEverySelectedRow() {
        CTestConsole console(TwoServers);
        QVERIFY(console.FetchAll());
        auto view = OpenView(console, u"RAS1"_s);
        QVERIFY(!view->CanEditProperties());
        Select(*view, {u"COM3"_s, u"COM1"_s});
        QVERIFY(view->CanEditProperties());
        CModalCloser closer;
        view->PropertiesAction()->trigger();
        QCOMPARE(closer.titles,
                 QStringList({u"Properties for RAS1\\COM1"_s, u"Properties for RAS1\\COM3"_s}));
    }
};

QTEST_MAIN(TestPortsView)
#include "tst_portsview.moc"
