// "Simulate Activity" driven as an administrator would, against a service pipe
// peer speaking the site's framing: what is sent where, how the replies and
// failures show, the counters and the question on closing.
#include "gui/dialogs/simulatesession.h"
#include "gui/toolkit/help.h"
#include "gui/toolkit/helpwindow.h"
#include "portsfixture.h"

#include <QComboBox>
#include <QLabel>
#include <QPushButton>

using namespace Qt::StringLiterals;
using Icon = OCL::IPrompter::Icon;
using Buttons = OCL::IPrompter::Buttons;

Q_DECLARE_METATYPE(OCL::IPrompter::Icon)

namespace {

const QString kAccount = u"SALES\\bob"_s;

const QString kClosingQuestion =
    u"If you have connected a user to a port, but forgotten to also\ndisconnect that user, you should "
    u"disconnect "
    u"the user from within this\nsimulation dialog.\n\nOtherwise, Callwarden will still believe this user is "
    u"connected\nand may therefore possibly deny that user to connect if you have\nassigned that user a "
    u"profile "
    u"which does not allow multiple logins.\n\nDo you still want to exit the Simulation?"_s;

// The test network, plus ODD (unreachable, its ports never read), ZERO (no
// ports) and LOCKED (refuses access), all fetched once; the pipe recorded.
struct CSimSite {
    CSimSite()
        : console(
              [](CSiteWriter& writer) {
                  WriteNetwork(writer);
                  CTestConsole::AddServer(writer, u"ODD"_s, u"RAS"_s, u"4.0"_s, 2);
                  writer.SetHostValue(u"ODD"_s, u"Reachable"_s, u"0"_s);
                  CTestConsole::AddServer(writer, u"ZERO"_s, u"RAS"_s, u"4.0"_s, 0);
                  CSiteWriter::HostOptions denied;
                  denied.accessDenied = true;
                  writer.AddHost(u"LOCKED"_s, denied);
                  writer.AddMonitoredServer(kTestConsole, u"LOCKED"_s);
              },
              true) {
        fetched = console.FetchAll();
        pipe = &RecordPipe(console);
    }
    CTestConsole console;
    CRecordingPipe* pipe = nullptr;
    bool fetched = false;
};

// The simulator shown over its site, with a service peer on host's pipe
// answering reply (the test makes it listen).
struct CSimWithPeer {
    CSimWithPeer(const QString& host, const QByteArray& reply)
        : peer(SocketOf(site.console, host), reply), dialog(site.console.Doc()) {
        dialog.show();
    }
    CSimSite site;
    CPipePeer peer;
    CSimulateSession dialog;
};

void Choose(QComboBox* list, const QString& text) {
    const int index = list->findText(text);
    QVERIFY2(index >= 0, qPrintable(text));
    list->setCurrentIndex(index);
}

QStringList Items(const QComboBox* list) {
    QStringList items;
    for (int i = 0; i < list->count(); ++i)
        items.append(list->itemText(i));
    return items;
}

// C an accepted connect, R a refused one, H a hang-up.
void Act(CSimulateSession& dialog, CPipePeer& peer, const QString& actions) {
    for (QChar action : actions) {
        peer.SetReply(action == u'C' ? "0,ok" : action == u'R' ? "1,Access denied on Port" : "0");
        QTest::mouseClick(action == u'H' ? dialog.HangUpButton() : dialog.ConnectButton(), Qt::LeftButton);
    }
}

} // namespace

class TestSimulateSession : public QObject {
    Q_OBJECT
private slots:
    void opensOnTheFirstServer();
    void portList_data();
    void portList();
    void accountNeedsItsDomain_data();
    void accountNeedsItsDomain();
    void connectReplies_data();
    void connectReplies();
    void hangUpAlwaysDisconnects_data();
    void hangUpAlwaysDisconnects();
    void pipeByExactName_data();
    void pipeByExactName();
    void failures_data();
    void failures();
    void closing_data();
    void closing();
    void secondHangUpClosesSilently();
    void timingText();
    void help();
};

void TestSimulateSession::opensOnTheFirstServer() {
    CSimSite site;
    QVERIFY(site.fetched);
    CSimulateSession dialog(site.console.Doc());
    dialog.show();
    QCOMPARE(dialog.windowTitle(), u"Simulate Activity"_s);
    QStringList servers;
    for (std::size_t i = 0; i < site.console.Doc().Servers().GetCount(); ++i)
        servers.append(site.console.Doc().Servers()[i].Name());
    QCOMPARE(servers.size(), 5);
    QCOMPARE(Items(dialog.ServerList()), servers);
    QCOMPARE(dialog.ServerList()->currentIndex(), 0);
    QCOMPARE(dialog.PortList()->currentIndex(), Items(dialog.PortList()).isEmpty() ? -1 : 0);
    QCOMPARE(dialog.ConnectsAccepted(), 0);
    QCOMPARE(dialog.HangUpsSent(), 0);
    QVERIFY(dialog.OutcomeText().isEmpty() && dialog.TimingText().isEmpty());
    QCOMPARE(dialog.ConnectButton()->text(), u"&Connect"_s);
    QCOMPARE(dialog.HangUpButton()->text(), u"&Hang Up"_s);
    QCOMPARE(dialog.CloseButton()->text(), u"Close"_s);
    QCOMPARE(dialog.HelpButton()->text(), u"&Help"_s);
    QVERIFY(site.pipe->requests.isEmpty());
}

void TestSimulateSession::portList_data() {
    QTest::addColumn<QString>("server");
    QTest::addColumn<int>("count"); // the record's port count
    QTest::addColumn<QStringList>("ports");
    QTest::newRow("classic RAS") << kMaster << 2 << QStringList{u"COM1"_s, u"COM2"_s};
    QTest::newRow("Routing and RAS") << kMember << 3 << QStringList{u"VPN1-1"_s, u"VPN1-2"_s, u"VPN1-3"_s};
    QTest::newRow("ports never read (666)") << u"ODD"_s << 666 << QStringList();
    QTest::newRow("no ports") << u"ZERO"_s << 0 << QStringList();
}

void TestSimulateSession::portList() {
    QFETCH(QString, server);
    QFETCH(int, count);
    QFETCH(QStringList, ports);
    CSimSite site;
    const int number = site.console.Doc().GetServerNumberByName(server);
    QVERIFY(number >= 0);
    QCOMPARE(int(site.console.Doc().Servers()[std::size_t(number)].m_portCount), count);
    CSimulateSession dialog(site.console.Doc());
    dialog.show();
    // Choosing another server first proves the list is refilled, not appended to.
    Choose(dialog.ServerList(), server == kMember ? kMaster : kMember);
    Choose(dialog.ServerList(), server);
    QCOMPARE(Items(dialog.PortList()), ports);
    QCOMPARE(dialog.PortList()->isEnabled(), !ports.isEmpty());
    QCOMPARE(dialog.PortList()->currentIndex(), ports.isEmpty() ? -1 : 0);
}

void TestSimulateSession::accountNeedsItsDomain_data() {
    QTest::addColumn<QString>("account");
    QTest::newRow("no domain") << u"bob"_s;
    QTest::newRow("empty") << QString();
    QTest::newRow("forward slash") << u"SALES/bob"_s;
}

void TestSimulateSession::accountNeedsItsDomain() {
    QFETCH(QString, account);
    CSimWithPeer sim(kMaster, "0,ok");
    auto& [site, peer, dialog] = sim;
    QVERIFY(peer.Listen());
    QTest::keyClicks(dialog.AccountEdit(), account);
    QTest::mouseClick(dialog.ConnectButton(), Qt::LeftButton);
    QTest::mouseClick(dialog.HangUpButton(), Qt::LeftButton);
    QCOMPARE(site.console.Prompter().Boxes().size(), 2);
    for (const CScriptedPrompter::Shown& box : site.console.Prompter().Boxes()) {
        QCOMPARE(box.text, u"Please specify the account name in the form of DOMAIN\\Account."_s);
        QCOMPARE(box.icon, Icon::Information);
    }
    QVERIFY(site.pipe->requests.isEmpty());
    QVERIFY(peer.Requests().isEmpty());
    QCOMPARE(dialog.ConnectsAccepted() + dialog.HangUpsSent(), 0);
}

void TestSimulateSession::connectReplies_data() {
    QTest::addColumn<QByteArray>("prior"); // a reply to a first connect; null: none
    QTest::addColumn<QByteArray>("reply");
    QTest::addColumn<QString>("outcome");
    QTest::addColumn<int>("accepted");
    QTest::newRow("accepted") << QByteArray() << QByteArray("0,Session accepted") << u"Session Accepted."_s
                              << 1;
    QTest::newRow("two characters") << QByteArray() << QByteArray("00") << u"Session Accepted."_s << 1;
    QTest::newRow("denied") << QByteArray() << QByteArray("1,Access denied on Port")
                            << u"Session Not Accepted."_s << 0;
    QTest::newRow("0 not first") << QByteArray() << QByteArray("x0") << u"Session Not Accepted."_s << 0;
    QTest::newRow("single 0 keeps a refusal")
        << QByteArray("1,denied") << QByteArray("0") << u"Session Not Accepted."_s << 0;
    QTest::newRow("single 0 is not counted")
        << QByteArray("0,ok") << QByteArray("0") << u"Session Accepted."_s << 1;
    QTest::newRow("empty reply keeps it")
        << QByteArray("1,denied") << QByteArray("") << u"Session Not Accepted."_s << 0;
    QTest::newRow("single 0 first of all") << QByteArray() << QByteArray("0") << QString() << 0;
}

void TestSimulateSession::connectReplies() {
    QFETCH(QByteArray, prior);
    QFETCH(QByteArray, reply);
    QFETCH(QString, outcome);
    QFETCH(int, accepted);
    CSimWithPeer sim(kMaster, prior);
    auto& [site, peer, dialog] = sim;
    QVERIFY(peer.Listen());
    QTest::keyClicks(dialog.AccountEdit(), kAccount);
    if (!prior.isNull())
        QTest::mouseClick(dialog.ConnectButton(), Qt::LeftButton);
    peer.SetReply(reply);
    QTest::mouseClick(dialog.ConnectButton(), Qt::LeftButton);

    QCOMPARE(dialog.OutcomeText(), outcome);
    QCOMPARE(dialog.ConnectsAccepted(), accepted);
    QCOMPARE(dialog.HangUpsSent(), 0);
    QVERIFY(site.console.Prompter().Boxes().isEmpty());
    QCOMPARE(peer.Requests().last(), QByteArray("0,COM1,SALES\\bob,ADMINPC,0,0,0"));
    QCOMPARE(site.pipe->pipes.last(), u"\\\\PDC1\\pipe\\cwsvcpipe"_s);
    QVERIFY(dialog.TimingText().startsWith(u"(Server processed request in "_s));
}

void TestSimulateSession::hangUpAlwaysDisconnects_data() {
    QTest::addColumn<QByteArray>("reply");
    QTest::newRow("refused") << QByteArray("1,No such session");
    QTest::newRow("accepted") << QByteArray("0,ok");
    QTest::newRow("one character") << QByteArray("1");
    QTest::newRow("nothing") << QByteArray("");
}

void TestSimulateSession::hangUpAlwaysDisconnects() {
    QFETCH(QByteArray, reply);
    CSimWithPeer sim(kMember, reply);
    auto& [site, peer, dialog] = sim;
    QVERIFY(peer.Listen());
    Choose(dialog.ServerList(), kMember);
    Choose(dialog.PortList(), u"VPN1-2"_s);
    QTest::keyClicks(dialog.AccountEdit(), u"MARKETING\\ann"_s);
    QTest::mouseClick(dialog.HangUpButton(), Qt::LeftButton);
    QCOMPARE(dialog.OutcomeText(), u"Session Disconnected."_s);
    QCOMPARE(dialog.HangUpsSent(), 1);
    QCOMPARE(dialog.ConnectsAccepted(), 0);
    // The test clock stands at 1700000000 seconds.
    QCOMPARE(peer.Requests(), QList<QByteArray>{"1,VPN1-2,MARKETING\\ann,ADMINPC,1700000000,0,0"});
}

void TestSimulateSession::pipeByExactName_data() {
    QTest::addColumn<QString>("server");
    QTest::addColumn<QString>("pipe");
    QTest::newRow("the console, exactly") << u"ADMINPC"_s << u"\\\\.\\pipe\\cwsvcpipe"_s;
    QTest::newRow("the console in small letters") << u"adminpc"_s << u"\\\\adminpc\\pipe\\cwsvcpipe"_s;
    QTest::newRow("the console, mixed") << u"AdminPC"_s << u"\\\\AdminPC\\pipe\\cwsvcpipe"_s;
}

void TestSimulateSession::pipeByExactName() {
    QFETCH(QString, server);
    QFETCH(QString, pipe);
    CTestConsole console([&server](CSiteWriter& writer) { writer.AddMonitoredServer(kTestConsole, server); });
    CRecordingPipe& recorder = RecordPipe(console);
    // Every spelling reaches the same computer: only the pipe's name differs.
    CPipePeer peer(SocketOf(console, kTestConsole), "0,ok");
    QVERIFY(peer.Listen());
    CSimulateSession dialog(console.Doc());
    dialog.show();
    QCOMPARE(Items(dialog.ServerList()), QStringList{server});
    QTest::keyClicks(dialog.AccountEdit(), kAccount);
    QTest::mouseClick(dialog.ConnectButton(), Qt::LeftButton);
    QCOMPARE(recorder.pipes, QStringList{pipe});
    QCOMPARE(dialog.OutcomeText(), u"Session Accepted."_s);
    // Its ports were never read: the port field stays empty.
    QCOMPARE(peer.Requests(), QList<QByteArray>{"0,,SALES\\bob,ADMINPC,0,0,0"});
}

void TestSimulateSession::failures_data() {
    QTest::addColumn<QString>("server");
    QTest::addColumn<QString>("text");
    const QString start = u"Failed to send the request to server %1. Windows NT returned error code %2."_s;
    QTest::newRow("no service listens")
        << kMember << start.arg(kMember).arg(2) + u"\n\nIs the Callwarden Service running on this server?"_s;
    QTest::newRow("access denied") << u"LOCKED"_s
                                   << start.arg(u"LOCKED"_s).arg(5) +
                                          u"\n\nYou do not have access rights to that server."_s;
    QTest::newRow("unreachable") << u"ODD"_s << start.arg(u"ODD"_s).arg(53);
}

void TestSimulateSession::failures() {
    QFETCH(QString, server);
    QFETCH(QString, text);
    CSimWithPeer sim(kMaster, "0,ok");
    auto& [site, peer, dialog] = sim;
    QVERIFY(peer.Listen());
    QTest::keyClicks(dialog.AccountEdit(), kAccount);
    QTest::mouseClick(dialog.ConnectButton(), Qt::LeftButton);
    QCOMPARE(dialog.OutcomeText(), u"Session Accepted."_s);
    QVERIFY(!dialog.TimingText().isEmpty());

    Choose(dialog.ServerList(), server);
    for (QPushButton* button : {dialog.ConnectButton(), dialog.HangUpButton()}) {
        site.console.Prompter().Clear();
        QTest::mouseClick(button, Qt::LeftButton);
        QCOMPARE(site.console.Prompter().Boxes().size(), 1);
        const CScriptedPrompter::Shown box = site.console.Prompter().Boxes().first();
        QCOMPARE(box.text, text);
        QCOMPARE(box.icon, Icon::Error);
        QCOMPARE(box.buttons, Buttons::Ok);
        QVERIFY(dialog.TimingText().isEmpty());
        QCOMPARE(dialog.OutcomeText(), u"Session Accepted."_s);
        QCOMPARE(dialog.ConnectsAccepted(), 1);
        QCOMPARE(dialog.HangUpsSent(), 0);
        QVERIFY(dialog.isVisible());
    }
}

void TestSimulateSession::closing_data() {
    QTest::addColumn<QString>("actions");
    QTest::addColumn<QString>("way");
    QTest::addColumn<bool>("warns");
    QTest::newRow("nothing sent, Close") << QString() << u"button"_s << false;
    QTest::newRow("nothing sent, Esc") << QString() << u"escape"_s << false;
    QTest::newRow("balanced, window") << u"CH"_s << u"window"_s << false;
    QTest::newRow("refused connect not counted") << u"R"_s << u"button"_s << false;
    QTest::newRow("two connects, one hang-up, Close") << u"CCH"_s << u"button"_s << true;
    QTest::newRow("two connects, one hang-up, Esc") << u"CCH"_s << u"escape"_s << true;
    QTest::newRow("two connects, one hang-up, window") << u"CCH"_s << u"window"_s << true;
    // Requests are compared, not sessions: a hang-up alone unbalances them.
    QTest::newRow("hang-up without connect") << u"H"_s << u"button"_s << true;
}

void TestSimulateSession::closing() {
    QFETCH(QString, actions);
    QFETCH(QString, way);
    QFETCH(bool, warns);
    CSimWithPeer sim(kMaster, "0,ok");
    auto& [site, peer, dialog] = sim;
    QVERIFY(peer.Listen());
    QTest::keyClicks(dialog.AccountEdit(), kAccount);
    Act(dialog, peer, actions);
    QVERIFY(site.console.Prompter().Boxes().isEmpty());

    const auto close = [&] {
        if (way == u"button"_s)
            QTest::mouseClick(dialog.CloseButton(), Qt::LeftButton);
        else if (way == u"escape"_s)
            QTest::keyClick(&dialog, Qt::Key_Escape);
        else
            dialog.close();
    };
    site.console.Prompter().Script({OCL::IPrompter::No});
    close();
    if (!warns) {
        QVERIFY(site.console.Prompter().Boxes().isEmpty());
        QVERIFY(!dialog.isVisible());
        return;
    }
    QCOMPARE(site.console.Prompter().Boxes().size(), 1);
    const CScriptedPrompter::Shown box = site.console.Prompter().Boxes().first();
    QCOMPARE(box.text, kClosingQuestion);
    QCOMPARE(box.caption, u"Warning!"_s);
    QCOMPARE(box.icon, Icon::Warning);
    QCOMPARE(box.buttons, Buttons::YesNo);
    QVERIFY(dialog.isVisible());

    site.console.Prompter().Script({OCL::IPrompter::Yes});
    close();
    QCOMPARE(site.console.Prompter().Boxes().size(), 2);
    QVERIFY(!dialog.isVisible());
}

void TestSimulateSession::secondHangUpClosesSilently() {
    CSimWithPeer sim(kMaster, "0,ok");
    auto& [site, peer, dialog] = sim;
    QVERIFY(peer.Listen());
    QTest::keyClicks(dialog.AccountEdit(), kAccount);
    Act(dialog, peer, u"CCH"_s);
    site.console.Prompter().Script({OCL::IPrompter::No});
    QTest::mouseClick(dialog.CloseButton(), Qt::LeftButton);
    QVERIFY(dialog.isVisible());
    Act(dialog, peer, u"H"_s);
    QTest::mouseClick(dialog.CloseButton(), Qt::LeftButton);
    QCOMPARE(site.console.Prompter().Boxes().size(), 1);
    QVERIFY(!dialog.isVisible());
}

void TestSimulateSession::timingText() {
    CSimSite site;
    CPipePeer peer(SocketOf(site.console, kMaster), "0,ok");
    CTestClock* clock = site.console.Clock();
    peer.OnRequest([clock] { clock->Advance(37); });
    QVERIFY(peer.Listen());
    CSimulateSession dialog(site.console.Doc());
    dialog.show();
    QTest::keyClicks(dialog.AccountEdit(), kAccount);
    QTest::mouseClick(dialog.ConnectButton(), Qt::LeftButton);
    QCOMPARE(dialog.TimingText(), u"(Server processed request in 37 msec)"_s);
    peer.OnRequest([clock] { clock->Advance(1250); });
    QTest::mouseClick(dialog.HangUpButton(), Qt::LeftButton);
    QCOMPARE(dialog.TimingText(), u"(Server processed request in 1250 msec)"_s);
}

void TestSimulateSession::help() {
    CSimSite site;
    CSimulateSession dialog(site.console.Doc());
    dialog.show();
    QTest::mouseClick(dialog.HelpButton(), Qt::LeftButton);
    // The console's own help window, beside the dialog, at the simulator's topic.
    QVERIFY(CHelp::Window() && CHelp::Window()->isVisible());
    QCOMPARE(CHelp::Window()->CurrentFile(), u"topic112.html"_s);
    QVERIFY(dialog.isVisible());
}

QTEST_MAIN(TestSimulateSession)
#include "tst_simulatesession.moc"
