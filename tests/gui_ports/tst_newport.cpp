// The port detail view over test sites: both forms row by row, the quirk of
// the Routing-and-RAS form, idle ports, the buttons and what they do, the load
// of the line, the caption and the failure message.
#include "portsfixture.h"

#include "gui/frame/containerview.h"
#include "gui/toolkit/captionbar.h"
#include "gui/views/newport.h"

#include <QPushButton>
#include <QTreeWidget>

using namespace Qt::StringLiterals;
using namespace PortsFixture;
using namespace PortDetail;

namespace {

const QString kReadFailure =
    u"Error when retrieving data from RAS port.\nNo data will be available for this port."_s;

void TwoServers(CSiteWriter& writer) {
    CTestConsole::AddServer(writer, u"RAS1"_s, u"RAS"_s, u"4.0"_s, 3, true);
    CTestConsole::AddServer(writer, u"RRAS1"_s, u"RRAS"_s, u"5.0"_s, 3, false, u"RAS1"_s);
}

// A session with every counter set; base tells two ports' error counters apart.
bool FullSession(CTestConsole& console, const QString& host, const QString& port, DWORD base) {
    return EditPort(console, host, port, [&](OCL::Site::PortRecord& p) {
        p.user = "alice";
        p.domain = "CORP";
        p.computer = "WS-ALICE";
        p.start = kStart;
        p.ip = "10.1.2.3";
        p.ipx = "00000001:0000000000AB";
        p.flags = OCL::RasPortFlags::PppClient;
        p.bytesXmit = 600;
        p.bytesXmitCompressed = 400;
        p.bytesXmitUncompressed = 800;
        p.framesXmit = 11;
        p.bytesRcved = 1000;
        p.bytesRcvedCompressed = 400;
        p.bytesRcvedUncompressed = 0;
        p.framesRcved = 12 + base;
        p.crcErr = 1 + base;
        p.timeoutErr = 2 + base;
        p.alignErr = 3 + base;
        p.framingErr = 4 + base;
        p.hwOverrunErr = 5 + base;
        p.bufOverrunErr = 6 + base;
    });
}

QStringList Rows(const CNewPort& view) {
    QStringList rows;
    for (int row = 0; row < RowCount; ++row)
        rows << view.RowText(Row(row));
    return rows;
}

QStringList InitialRows() {
    QStringList rows;
    for (int row = 0; row < RowCount; ++row)
        rows << InitialText(Row(row));
    return rows;
}

QStringList ExpectedForm(bool routingAndRas) {
    return {u"User name:  CORP\\alice"_s, u"Computer name:  WS-ALICE"_s, u"Session started:  23:13:20"_s,
            u"IP address:  10.1.2.3"_s, u"IPX address:  00000001:0000000000AB"_s,
            u"NetBIOS name:  WS-ALICE"_s, routingAndRas ? u"Using PPP:  n/a"_s : u"Using PPP:  YES"_s,
            u"Device name:  Test modem"_s, u"Device type:  modem"_s, u"Media name:  rasser"_s,
            u"Media type:  UNKNOWN"_s, u"Line condition:  AUTHENTICATED"_s, u"Port speed:  33600 bps"_s,
            u"Hardware state:  OK"_s, u"Outgoing bytes:  600"_s, u"Outgoing bytes before compress:  1000"_s,
            u"Outgoing compress ratio:  40%"_s, u"Outgoing frames:  11"_s, u"Incoming bytes:  1000"_s,
            u"Incoming bytes before decompress:  600"_s, u"Incoming compress ratio:  -66%"_s,
            // The Routing-and-RAS form shows the last RAS record's counters here
            // (those of the RAS port read before), the alignment errors excepted.
            u"Incoming frames:  12"_s, u"CRC errors:  1"_s, u"Timeouts:  2"_s,
            routingAndRas ? u"Alignment errors:  23"_s : u"Alignment errors:  3"_s, u"Framing errors:  4"_s,
            u"Hardware overruns:  5"_s, u"Buffer overruns:  6"_s};
}

} // namespace

class TestNewPort : public QObject {
    Q_OBJECT

private slots:
    void initTestCase() { IsolateSettings("gui_ports_detail"); }

    void forms_data() {
        QTest::addColumn<QString>("server");
        QTest::addColumn<QString>("port");
        QTest::addColumn<QStringList>("expected");
        QTest::newRow("RAS") << u"RAS1"_s << u"COM2"_s << ExpectedForm(false);
        QTest::newRow("RRAS") << u"RRAS1"_s << u"VPN1-2"_s << ExpectedForm(true);
    }

    void forms() {
        QFETCH(QString, server);
        QFETCH(QString, port);
        QFETCH(QStringList, expected);
        CTestConsole console(TwoServers);
        QVERIFY(FullSession(console, u"RAS1"_s, u"COM2"_s, 0));
        QVERIFY(FullSession(console, u"RRAS1"_s, u"VPN1-2"_s, 20));
        QVERIFY(console.FetchAll());
        // The RAS port is read first; its records stay with the document.
        auto first = OpenDetail(console, u"RAS1"_s, u"COM2"_s);
        auto view = OpenDetail(console, server, port);

        const QStringList rows = Rows(*view);
        for (int row = 0; row < RowCount; ++row)
            QCOMPARE(rows[row], expected[row]);
        QVERIFY(view->UserConnected());
        QCOMPARE(view->Account(), u"alice"_s);
        QCOMPARE(console.Prompter().Boxes().size(), 0);

        // The tree: four groups in their order, built once.
        QTreeWidget* tree = view->Tree();
        QCOMPARE(tree->topLevelItemCount(), 4);
        const QStringList groups = {u"Current Session"_s, u"Device Data"_s, u"Session Statistics"_s,
                                    u"Session Errors"_s};
        const QList<int> sizes = {7, 7, 8, 6};
        for (int g = 0; g < 4; ++g) {
            QCOMPARE(tree->topLevelItem(g)->text(0), groups[g]);
            QCOMPARE(tree->topLevelItem(g)->childCount(), sizes[g]);
        }
        QTreeWidgetItem* firstRow = tree->topLevelItem(0)->child(0);
        view->OnTimer(TIMER_ID_PORT_DETAIL);
        QCOMPARE(tree->topLevelItemCount(), 4);
        QCOMPARE(tree->topLevelItem(0)->child(0), firstRow);
        QCOMPARE(Rows(*view), rows);
    }

    void idlePort_data() {
        QTest::addColumn<QString>("server");
        QTest::addColumn<QString>("port");
        QTest::addColumn<QString>("ppp");
        QTest::newRow("RAS") << u"RAS1"_s << u"COM1"_s << u"Using PPP:  "_s;
        QTest::newRow("RRAS") << u"RRAS1"_s << u"VPN1-1"_s << u"Using PPP:  "_s;
    }

    void idlePort() {
        QFETCH(QString, server);
        QFETCH(QString, port);
        CTestConsole console(TwoServers);
        QVERIFY(console.FetchAll());
        auto view = OpenDetail(console, server, port);
        QVERIFY(!view->UserConnected());
        QCOMPARE(view->RowText(UserAccount), u"User name:  "_s);
        QTEST(view->RowText(UsingPpp), "ppp");
        QCOMPARE(view->RowText(LineSpeed), u"Line speed:  "_s);
        QCOMPARE(view->RowText(IpAddress), u"IP address:  "_s);
        QCOMPARE(view->RowText(SessionStarted), u"Session started:  "_s);
        QCOMPARE(view->RowText(LineCondition), u"Line condition:  WAITING FOR CALL"_s);
        QCOMPARE(view->RowText(DeviceName), u"Device name:  Test modem"_s);
        QVERIFY(!view->DisconnectButton()->isEnabled());
        QVERIFY(!view->SendMessageButton()->isEnabled());
        QVERIFY(!view->ResetStatisticsButton()->isEnabled());
    }

    void buttonsFollowTheSession_data() {
        QTest::addColumn<QString>("server");
        QTest::addColumn<QString>("port");
        QTest::newRow("RAS") << u"RAS1"_s << u"COM3"_s;
        QTest::newRow("RRAS") << u"RRAS1"_s << u"VPN1-3"_s;
    }

    void buttonsFollowTheSession() {
        QFETCH(QString, server);
        QFETCH(QString, port);
        CTestConsole console(TwoServers);
        QVERIFY(FullSession(console, server, port, 0));
        QVERIFY(console.FetchAll());
        auto view = OpenDetail(console, server, port);
        QPushButton* buttons[] = {view->DisconnectButton(), view->SendMessageButton(),
                                  view->ResetStatisticsButton()};
        QCOMPARE(buttons[0]->text(), u"Disconnect Session"_s);
        QCOMPARE(buttons[1]->text(), u"Send Message"_s);
        QCOMPARE(buttons[2]->text(), u"Reset Statistics"_s);
        for (QPushButton* button : buttons)
            QVERIFY(!button->toolTip().isEmpty());
        // No profile sheet for accounts yet, so no button for it.
        QVERIFY(!view->findChild<QPushButton*>(u"viewUserProperties"_s));

        auto enabled = [&] {
            return QList<bool>{buttons[0]->isEnabled(), buttons[1]->isEnabled(), buttons[2]->isEnabled()};
        };
        QCOMPARE(enabled(), QList<bool>({true, true, true}));
        QVERIFY(HangUp(console, server, port));
        view->OnTimer(TIMER_ID_PORT_DETAIL);
        QCOMPARE(enabled(), QList<bool>({false, false, false}));
        QVERIFY(Connect(console, server, port, u"bob"_s, u"10.0.0.8"_s));
        view->OnTimer(TIMER_ID_PORT_DETAIL);
        QCOMPARE(enabled(), QList<bool>({true, true, true}));
        QCOMPARE(view->RowText(UserAccount), u"User name:  CORP\\bob"_s);

        // The button ends the session on the server.
        QTest::mouseClick(view->DisconnectButton(), Qt::LeftButton);
        QVERIFY(!PortOf(console, server, port).Connected());
        QCOMPARE(view->RowText(UserAccount), u"User name:  "_s);
        QCOMPARE(enabled(), QList<bool>({false, false, false}));
        QCOMPARE(console.Prompter().Boxes().size(), 0);
    }

    void resetStatistics_data() {
        QTest::addColumn<QString>("server");
        QTest::addColumn<QString>("port");
        QTest::addColumn<QString>("bytesOut");
        QTest::addColumn<QStringList>("boxes");
        QTest::newRow("RAS") << u"RAS1"_s << u"COM3"_s << u"Outgoing bytes:  0"_s << QStringList();
        // The router has no such call: the click says so, as a failed reading does.
        QTest::newRow("RRAS: reported")
            << u"RRAS1"_s << u"VPN1-3"_s << u"Outgoing bytes:  600"_s
            << QStringList{u"The statistics of port VPN1-3 could not be reset.\n"
                           u"Routing and RAS servers offer no way to reset a port's "
                           u"counters."_s};
    }

    void resetStatistics() {
        QFETCH(QString, server);
        QFETCH(QString, port);
        CTestConsole console(TwoServers);
        QVERIFY(FullSession(console, server, port, 0));
        QVERIFY(console.FetchAll());
        auto view = OpenDetail(console, server, port);
        QCOMPARE(view->RowText(BytesOut), u"Outgoing bytes:  600"_s);
        QVERIFY(view->ResetStatisticsButton()->isEnabled());
        QTest::mouseClick(view->ResetStatisticsButton(), Qt::LeftButton);
        QTEST(view->RowText(BytesOut), "bytesOut");
        QTEST(console.Prompter().Texts(), "boxes");
        for (const CScriptedPrompter::Shown& box : console.Prompter().Boxes())
            QCOMPARE(box.icon, OCL::IPrompter::Icon::Error);
        QVERIFY(PortOf(console, server, port).Connected());
    }

    void sendMessage() {
        CTestConsole console(TwoServers);
        QVERIFY(FullSession(console, u"RAS1"_s, u"COM2"_s, 0));
        QVERIFY(console.FetchAll());
        auto view = OpenDetail(console, u"RAS1"_s, u"COM2"_s);
        CModalCloser closer;
        QTest::mouseClick(view->SendMessageButton(), Qt::LeftButton);
        QCOMPARE(closer.classes, QStringList({u"CMessageToUser"_s}));
        QVERIFY2(closer.titles.value(0).contains(u"alice"_s), qPrintable(closer.titles.value(0)));
    }

    void load() {
        CTestConsole console(TwoServers);
        QVERIFY(FullSession(console, u"RAS1"_s, u"COM2"_s, 0));
        QVERIFY(console.FetchAll());
        auto view = OpenDetail(console, u"RAS1"_s, u"COM2"_s);
        // 600 bytes since nothing: 600 * 400 / 33600.
        QCOMPARE(view->Load().Outgoing(), 7);
        QCOMPARE(view->Load().Incoming(), 1000 * 400 / 33600);
        view->OnTimer(TIMER_ID_PORT_DETAIL);
        QCOMPARE(view->Load().Outgoing(), 0);
        QVERIFY(
            EditPort(console, u"RAS1"_s, u"COM2"_s, [](OCL::Site::PortRecord& p) { p.bytesXmit = 4800; }));
        view->OnTimer(TIMER_ID_PORT_DETAIL);
        QCOMPARE(view->Load().Outgoing(), 50);
        QCOMPARE(view->Load().OutgoingHistory(), QList<qint64>({7, 0, 50}));

        // A line speed of 0 gives no load, and no division.
        QVERIFY(EditPort(console, u"RAS1"_s, u"COM2"_s, [](OCL::Site::PortRecord& p) {
            p.lineSpeed = 0;
            p.bytesXmit = 90000;
        }));
        view->OnTimer(TIMER_ID_PORT_DETAIL);
        QCOMPARE(view->RowText(LineSpeed), u"Port speed:  0 bps"_s);
        QCOMPARE(view->Load().Outgoing(), 0);

        // Another port shown in the same view: its load starts afresh.
        console.Doc().m_selectedPort = u"COM1"_s;
        view->OnUpdate(nullptr, Hint::UPDATE_NEW_PORTS, nullptr);
        view->RefreshTimer().stop();
        QCOMPARE(view->Port(), u"COM1"_s);
        QCOMPARE(view->Load().OutgoingHistory(), QList<qint64>({0}));
    }

    void failure_data() {
        QTest::addColumn<QString>("server");
        QTest::addColumn<QString>("port");
        QTest::addColumn<QStringList>("boxes");
        QTest::newRow("RAS port unknown")
            << u"RAS1"_s << u"COM99"_s
            << QStringList{u"Error 55 when attempting to read RAS data from port."_s, kReadFailure};
        QTest::newRow("RRAS port unknown")
            << u"RRAS1"_s << u"VPN9-9"_s
            << QStringList{u"Error 55 when attempting to read RRAS data from port."_s, kReadFailure};
        QTest::newRow("server not monitored") << u"NOSUCH"_s << u"COM1"_s << QStringList{kReadFailure};
    }

    void failure() {
        QFETCH(QString, server);
        QFETCH(QString, port);
        QFETCH(QStringList, boxes);
        CTestConsole console(TwoServers);
        QVERIFY(console.FetchAll());
        auto view = OpenDetail(console, server, port);
        QCOMPARE(console.Prompter().Texts(), boxes);
        QCOMPARE(console.Prompter().Boxes().last().icon, OCL::IPrompter::Icon::Error);
        QCOMPARE(Rows(*view), InitialRows());
        QVERIFY(!view->UserConnected());
        // Every reading that fails says so again.
        view->OnTimer(TIMER_ID_PORT_DETAIL);
        QCOMPARE(console.Prompter().Texts().size(), boxes.size() * 2);
    }

    void failureKeepsTheRows() {
        CTestConsole console(TwoServers);
        QVERIFY(FullSession(console, u"RAS1"_s, u"COM2"_s, 0));
        QVERIFY(console.FetchAll());
        auto view = OpenDetail(console, u"RAS1"_s, u"COM2"_s);
        const QStringList before = Rows(*view);
        QVERIFY(RemovePort(console, u"RAS1"_s, u"COM2"_s));
        view->OnTimer(TIMER_ID_PORT_DETAIL);
        QCOMPARE(console.Prompter().Texts().value(1), kReadFailure);
        QCOMPARE(Rows(*view), before);
        QVERIFY(view->DisconnectButton()->isEnabled());
        QVERIFY(view->RefreshTimer().isActive());
        QCOMPARE(view->RefreshTimer().interval(), 5000);
    }

    // Arranged by the frame without a notice (as when going back to the Status
    // mode): the view fills itself and puts its caption over the frame's.
    void captionAndFirstReading() {
        CTestConsole console(TwoServers);
        QVERIFY(FullSession(console, u"RRAS1"_s, u"VPN1-2"_s, 0));
        QVERIFY(console.FetchAll());
        CMainFrame& frame = Frame(console);
        console.Doc().m_selectionKind = NodeKind::Port;
        console.Doc().m_selectedServer = u"RRAS1"_s;
        console.Doc().m_selectedPort = u"VPN1-2"_s;
        frame.ArrangeViews();
        auto* view = qobject_cast<CNewPort*>(frame.RightView());
        QVERIFY(view);
        QCOMPARE(frame.Container()->Caption()->Caption(), u"Port Status"_s);
        QTRY_COMPARE(frame.Container()->Caption()->Caption(), u"VPN1-2 on RRAS1"_s);
        QCOMPARE(view->RowText(UserAccount), u"User name:  CORP\\alice"_s);
        QVERIFY(view->RefreshTimer().isActive());
        QCOMPARE(view->RefreshTimer().interval(), 5000);
        QVERIFY(view->CanEditProperties());
    }
};

QTEST_MAIN(TestNewPort)
#include "tst_newport.moc"
