// The port detail view over test sites: both forms row by row with the quirk
// of the Routing-and-RAS form, idle ports, the buttons and what they do (the
// message to the user included), the load of the line and the failure message.
#include "support/guifixture.h"

#include "core/ports/portdetail.h"
#include "gui/dialogs/messagetouser.h"

#include <QPlainTextEdit>
#include <QPushButton>

using namespace Qt::StringLiterals;
using namespace GuiTest;
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

QStringList ExpectedForm(bool routingAndRas) {
    return {u"User name:  CORP\\alice"_s, u"Computer name:  WS-ALICE"_s, u"Session started:  23:13:20"_s,
            u"IP address:  10.1.2.3"_s, u"IPX address:  00000001:0000000000AB"_s,
            u"NetBIOS name:  WS-ALICE"_s, routingAndRas ? u"Using PPP:  n/a"_s : u"Using PPP:  YES"_s,
            u"Device name:  Test modem"_s, u"Device type:  modem"_s, u"Media name:  rasser"_s,
            u"Media type:  UNKNOWN"_s, u"Line condition:  AUTHENTICATED"_s, u"Port speed:  33600 bps"_s,
            routingAndRas ? u"Hardware state:  HARDWARE FAILURE"_s : u"Hardware state:  OK"_s,
            u"Outgoing bytes:  600"_s, u"Outgoing bytes before compress:  1000"_s,
            u"Outgoing compress ratio:  40%"_s, u"Outgoing frames:  11"_s, u"Incoming bytes:  1000"_s,
            u"Incoming bytes before decompress:  600"_s, u"Incoming compress ratio:  -66%"_s,
            // The Routing-and-RAS form shows the last RAS record's counters here
            // (those of the RAS port read before), the alignment errors excepted.
            u"Incoming frames:  12"_s, u"CRC errors:  1"_s, u"Timeouts:  2"_s,
            routingAndRas ? u"Alignment errors:  23"_s : u"Alignment errors:  3"_s, u"Framing errors:  4"_s,
            u"Hardware overruns:  5"_s, u"Buffer overruns:  6"_s};
}

QList<bool> ButtonsEnabled(const CNewPort& view) {
    return {view.DisconnectButton()->isEnabled(), view.SendMessageButton()->isEnabled(),
            view.ResetStatisticsButton()->isEnabled()};
}

// Keeps the command lines it is asked to start and fails them all.
class CFailingShell final : public OCL::IShell {
public:
    QStringList started;
    QList<int> shows;
    OCL::DWORD Exec(const std::string& commandLine, int show) override {
        started.append(QString::fromStdString(commandLine));
        shows.append(show);
        return OCL::Err::FileNotFound;
    }
    OCL::DWORD Open(const std::string&, const std::string&) override { return OCL::Err::FileNotFound; }
};

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
        QVERIFY(EditPort(console, u"RRAS1"_s, u"VPN1-2"_s, [](auto& p) { p.hardwareCondition = 3; }));
        QVERIFY(console.FetchAll());
        // The RAS port is read first; its records stay with the document.
        auto first = OpenDetail(console, u"RAS1"_s, u"COM2"_s);
        auto view = OpenDetail(console, server, port);
        QCOMPARE(Rows(*view), expected);
        QCOMPARE(view->Load().Incoming(), 1000 * 400 / 33600);
        QCOMPARE(console.Prompter().Boxes().size(), 0);

        QStringList groups;
        for (int g = 0; g < view->Tree()->topLevelItemCount(); ++g)
            groups << view->Tree()->topLevelItem(g)->text(0);
        QCOMPARE(groups, (QStringList{u"Current Session"_s, u"Device Data"_s, u"Session Statistics"_s,
                                      u"Session Errors"_s}));
        // Built once: a refill only replaces the texts.
        QTreeWidgetItem* firstRow = view->Tree()->topLevelItem(0)->child(0);
        view->OnTimer(TIMER_ID_PORT_DETAIL);
        QCOMPARE(view->Tree()->topLevelItem(0)->child(0), firstRow);
        QCOMPARE(Rows(*view), expected);

        // The load: 600 bytes since nothing, * 400 / 33600; the same count again: 0.
        QVERIFY(EditPort(console, server, port, [](OCL::Site::PortRecord& p) { p.bytesXmit = 4800; }));
        view->OnTimer(TIMER_ID_PORT_DETAIL);
        QCOMPARE(view->Load().OutgoingHistory(), QList<qint64>({7, 0, 50}));
        // A line speed of 0 gives no load, and no division.
        QVERIFY(EditPort(console, server, port, [](OCL::Site::PortRecord& p) {
            p.lineSpeed = 0;
            p.bytesXmit = 90000;
        }));
        view->OnTimer(TIMER_ID_PORT_DETAIL);
        QCOMPARE(view->RowText(LineSpeed), u"Port speed:  0 bps"_s);
        QCOMPARE(view->Load().Outgoing(), 0);
        // Another port shown in the same view: its load starts afresh.
        console.Doc().m_selectedPort = port.chopped(1) + u'1';
        view->OnUpdate(nullptr, Hint::UPDATE_NEW_PORTS, nullptr);
        QCOMPARE(view->Load().OutgoingHistory(), QList<qint64>({0}));
    }

    // Codes outside the six, which the site does not produce.
    void lineConditionOutOfRange() {
        for (int code : {1, 8})
            QCOMPARE(LineConditionText(code, Source::RasRecord), u"Line condition:  NOT OPERATIONAL"_s);
        for (int code : {0, 7})
            QCOMPARE(LineConditionText(code, Source::PortFile), u"Line condition:  NOT OPERATIONAL"_s);
    }

    void session_data() {
        QTest::addColumn<QString>("server");
        QTest::addColumn<QString>("port");
        QTest::addColumn<QString>("bytesOutReset");
        QTest::addColumn<QStringList>("resetBoxes");
        QTest::addColumn<QString>("ipxIdle");
        // The RAS form writes a protocol's row only while it is negotiated. The
        // router has no call to reset the counters: the click says so, as a
        // failed reading does.
        QTest::newRow("RAS") << u"RAS1"_s << u"COM3"_s << u"Outgoing bytes:  0"_s << QStringList()
                             << u"IPX address:  00000001:0000000000AB"_s;
        QTest::newRow("RRAS") << u"RRAS1"_s << u"VPN1-3"_s << u"Outgoing bytes:  600"_s
                              << QStringList{u"The statistics of port VPN1-3 could not be reset.\n"
                                             u"Routing and RAS servers offer no way to reset a port's "
                                             u"counters."_s}
                              << u"IPX address:  "_s;
    }

    // The buttons act on the session and are enabled only while there is one;
    // the rows that need a user say so when there is none.
    void session() {
        QFETCH(QString, server);
        QFETCH(QString, port);
        QFETCH(QStringList, resetBoxes);
        CTestConsole console(TwoServers);
        auto shell = std::make_unique<CFailingShell>();
        CFailingShell& started = *shell;
        console.Platform().shell = std::move(shell);
        QVERIFY(FullSession(console, server, port, 0));
        QVERIFY(console.FetchAll());
        auto view = OpenDetail(console, server, port);
        QCOMPARE((QStringList{view->DisconnectButton()->text(), view->SendMessageButton()->text(),
                              view->ResetStatisticsButton()->text()}),
                 (QStringList{u"Disconnect Session"_s, u"Send Message"_s, u"Reset Statistics"_s}));
        QVERIFY(!view->ResetStatisticsButton()->toolTip().isEmpty());
        QCOMPARE(ButtonsEnabled(*view), QList<bool>(3, true));
        QTest::mouseClick(view->ResetStatisticsButton(), Qt::LeftButton);
        QTEST(view->RowText(BytesOut), "bytesOutReset");
        QCOMPARE(console.Prompter().Texts(), resetBoxes);
        QVERIFY(PortConnected(console, server, port));

        // "Message to %s" sends with the messenger command, hidden, and closes
        // without looking at the result; Cancel sends nothing.
        const auto write = [](const QString& text, bool send) {
            return [text, send](QWidget* shown) {
                auto* dialog = qobject_cast<CMessageToUser*>(shown);
                QTest::keyClicks(dialog->TextEdit(), text);
                QTest::mouseClick(send ? dialog->SendButton() : dialog->CancelButton(), Qt::LeftButton);
            };
        };
        const auto click = [&] {
            QTest::mouseClick(view->SendMessageButton(), Qt::LeftButton);
        };
        QCOMPARE(WithModals(click, write(u"never mind"_s, false)), QStringList{u"Message to alice"_s});
        WithModals(click, write(u"Your session ends in 5 minutes"_s, true));
        QCOMPARE(started.started, QStringList{u"NET SEND alice Your session ends in 5 minutes"_s});
        QCOMPARE(started.shows, QList<int>{0});

        QVERIFY(HangUp(console, server, port));
        view->OnTimer(TIMER_ID_PORT_DETAIL);
        QCOMPARE(ButtonsEnabled(*view), QList<bool>(3, false));
        const QStringList rows = Rows(*view);
        QCOMPARE(rows.mid(UserAccount, 4), (QStringList{u"User name:  "_s, u"Computer name:  "_s,
                                                        u"Session started:  "_s, u"IP address:  "_s}));
        QTEST(rows[IpxAddress], "ipxIdle");
        QCOMPARE(rows[UsingPpp], u"Using PPP:  "_s);
        QCOMPARE(rows[LineCondition], u"Line condition:  WAITING FOR CALL"_s);
        QCOMPARE(rows[LineSpeed], u"Line speed:  "_s);
        // Nothing sent: no division.
        QCOMPARE(rows[OutgoingRatio], u"Outgoing compress ratio:  0%"_s);

        QVERIFY(Connect(console, server, port, u"bob"_s, u"10.0.0.8"_s));
        view->OnTimer(TIMER_ID_PORT_DETAIL);
        QCOMPARE(ButtonsEnabled(*view), QList<bool>(3, true));
        QTest::mouseClick(view->DisconnectButton(), Qt::LeftButton);
        QVERIFY(!PortConnected(console, server, port));
        QCOMPARE(view->RowText(UserAccount), u"User name:  "_s);
        QCOMPARE(ButtonsEnabled(*view), QList<bool>(3, false));
        QCOMPARE(console.Prompter().Texts(), resetBoxes);
    }

    void failure_data() {
        QTest::addColumn<QString>("server");
        QTest::addColumn<QString>("port");
        QTest::addColumn<bool>("readBefore");
        QTest::addColumn<QStringList>("boxes"); // of one failed reading
        QTest::newRow("RRAS port unknown")
            << u"RRAS1"_s << u"VPN9-9"_s << false
            << QStringList{u"Error 55 when attempting to read RRAS data from port."_s, kReadFailure};
        QTest::newRow("server not monitored")
            << u"NOSUCH"_s << u"COM1"_s << false << QStringList{kReadFailure};
        QTest::newRow("port gone after a reading")
            << u"RAS1"_s << u"COM2"_s << true
            << QStringList{u"Error 55 when attempting to read RAS data from port."_s, kReadFailure};
    }

    // Every failed reading says so and leaves the rows and the buttons as they were.
    void failure() {
        QFETCH(QString, server);
        QFETCH(QString, port);
        QFETCH(bool, readBefore);
        QFETCH(QStringList, boxes);
        CTestConsole console(TwoServers);
        QVERIFY(FullSession(console, u"RAS1"_s, u"COM2"_s, 0));
        QVERIFY(console.FetchAll());
        auto view = OpenDetail(console, server, port);
        const QStringList before = Rows(*view);
        QCOMPARE(before.first(), readBefore ? u"User name:  CORP\\alice"_s : u"User account:  "_s);
        QVERIFY(RemovePort(console, u"RAS1"_s, u"COM2"_s));
        view->OnTimer(TIMER_ID_PORT_DETAIL);
        QCOMPARE(console.Prompter().Texts(), readBefore ? boxes : boxes + boxes);
        QCOMPARE(console.Prompter().Boxes().last().icon, OCL::IPrompter::Icon::Error);
        QCOMPARE(Rows(*view), before);
        QCOMPARE(view->DisconnectButton()->isEnabled(), readBefore);
    }
};

QTEST_MAIN(TestNewPort)
#include "tst_newport.moc"
