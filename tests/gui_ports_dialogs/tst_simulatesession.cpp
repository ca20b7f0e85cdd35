// "Simulate Activity" driven as an administrator would, the service's pipe
// answering as the test says: what is sent where, how the replies and the
// failures show, the counters and the question on closing.
#include "support/guifixture.h"

#include "gui/dialogs/simulatesession.h"
#include "gui/toolkit/help.h"
#include "gui/toolkit/helpwindow.h"

#include <QComboBox>
#include <QPushButton>

using namespace Qt::StringLiterals;
using namespace GuiTest;
using Icon = OCL::IPrompter::Icon;

namespace {

const QString kClosingQuestion =
    u"If you have connected a user to a port, but forgotten to also\ndisconnect that user, you should "
    u"disconnect the user from within this\nsimulation dialog.\n\nOtherwise, Callwarden will still "
    u"believe this user is connected\nand may therefore possibly deny that user to connect if you "
    u"have\nassigned that user a profile which does not allow multiple logins.\n\nDo you still want to "
    u"exit the Simulation?"_s;

// The test network, plus ODD (unreachable, its ports never read), ZERO (no
// ports) and LOCKED (refuses access), fetched once; the simulator open on it,
// the pipe answering each request after 37 ms.
struct CSim {
    explicit CSim(const QString& account = u"SALES\\bob"_s)
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
              true),
          pipe(ScriptPipe(console)), fetched(console.FetchAll()), dialog(console.Doc()) {
        pipe.delayMs = 37;
        dialog.show();
        QTest::keyClicks(dialog.AccountEdit(), account);
    }
    // C an accepted connect, R a refused one, H a hang-up, N closing answered No.
    void Act(const QString& actions) {
        for (QChar action : actions) {
            pipe.answer = action == u'C' ? "0,ok" : action == u'R' ? "1,Access denied on Port" : "0";
            if (action == u'N')
                console.Prompter().Script({OCL::IPrompter::No});
            QTest::mouseClick(action == u'H'   ? dialog.HangUpButton()
                              : action == u'N' ? dialog.CloseButton()
                                               : dialog.ConnectButton(),
                              Qt::LeftButton);
        }
    }
    CTestConsole console;
    CScriptedPipe& pipe;
    bool fetched;
    CSimulateSession dialog;
};

QStringList Items(const QComboBox* list) {
    QStringList items;
    for (int i = 0; i < list->count(); ++i)
        items << list->itemText(i);
    return items;
}

void Choose(QComboBox* list, const QString& text) {
    list->setCurrentIndex(list->findText(text));
    QCOMPARE(list->currentText(), text);
}

} // namespace

class TestSimulateSession : public QObject {
    Q_OBJECT
private slots:
    void opening() {
        CSim sim;
        QVERIFY(sim.fetched);
        CSimulateSession& dialog = sim.dialog;
        QCOMPARE(dialog.windowTitle(), u"Simulate Activity"_s);
        QCOMPARE(Items(dialog.ServerList()),
                 (QStringList{kMaster, kMember, u"ODD"_s, u"ZERO"_s, u"LOCKED"_s}));
        QCOMPARE(dialog.ServerList()->currentIndex(), 0);
        QCOMPARE(dialog.PortList()->currentText(), u"COM1"_s);
        QCOMPARE((QStringList{dialog.ConnectButton()->text(), dialog.HangUpButton()->text(),
                              dialog.CloseButton()->text(), dialog.HelpButton()->text()}),
                 (QStringList{u"&Connect"_s, u"&Hang Up"_s, u"Close"_s, u"&Help"_s}));
        QVERIFY(dialog.OutcomeText().isEmpty() && dialog.TimingText().isEmpty());
        QTest::mouseClick(dialog.HelpButton(), Qt::LeftButton);
        QVERIFY(CHelp::Window() && CHelp::Window()->isVisible());
        QCOMPARE(CHelp::Window()->CurrentFile(), u"topic112.html"_s);
        QVERIFY(sim.pipe.requests.isEmpty());
    }

    void portList_data() {
        QTest::addColumn<QString>("server");
        QTest::addColumn<QStringList>("ports");
        QTest::newRow("classic RAS") << kMaster << QStringList{u"COM1"_s, u"COM2"_s};
        QTest::newRow("Routing and RAS") << kMember << QStringList{u"VPN1-1"_s, u"VPN1-2"_s, u"VPN1-3"_s};
        QTest::newRow("ports never read (666)") << u"ODD"_s << QStringList();
        QTest::newRow("no ports") << u"ZERO"_s << QStringList();
    }

    void portList() {
        QFETCH(QString, server);
        QFETCH(QStringList, ports);
        CSim sim;
        // Choosing another server first proves the list is refilled, not appended to.
        Choose(sim.dialog.ServerList(), server == kMember ? kMaster : kMember);
        Choose(sim.dialog.ServerList(), server);
        QCOMPARE(Items(sim.dialog.PortList()), ports);
        QCOMPARE(sim.dialog.PortList()->isEnabled(), !ports.isEmpty());
        QCOMPARE(sim.dialog.PortList()->currentIndex(), ports.isEmpty() ? -1 : 0);
    }

    void accountNeedsItsDomain_data() {
        QTest::addColumn<QString>("account");
        QTest::newRow("no domain") << u"bob"_s;
        QTest::newRow("forward slash") << u"SALES/bob"_s;
    }

    void accountNeedsItsDomain() {
        QFETCH(QString, account);
        CSim sim(account);
        sim.Act(u"CH"_s);
        QCOMPARE(sim.console.Prompter().Texts(),
                 QStringList(2, u"Please specify the account name in the form of DOMAIN\\Account."_s));
        QCOMPARE(sim.console.Prompter().Boxes().first().icon, Icon::Information);
        QVERIFY(sim.pipe.requests.isEmpty());
        QCOMPARE(sim.dialog.ConnectsAccepted() + sim.dialog.HangUpsSent(), 0);
    }

    void replies_data() {
        QTest::addColumn<QByteArray>("prior"); // the reply to a first connect; null: none
        QTest::addColumn<bool>("hangUp");
        QTest::addColumn<QByteArray>("reply");
        QTest::addColumn<QString>("outcome");
        QTest::addColumn<int>("accepted");
        const QByteArray none;
        QTest::newRow("accepted") << none << false << QByteArray("0,Session accepted")
                                  << u"Session Accepted."_s << 1;
        QTest::newRow("two characters") << none << false << QByteArray("00") << u"Session Accepted."_s << 1;
        QTest::newRow("denied") << none << false << QByteArray("1,Access denied on Port")
                                << u"Session Not Accepted."_s << 0;
        QTest::newRow("0 not first") << none << false << QByteArray("x0") << u"Session Not Accepted."_s << 0;
        QTest::newRow("single 0 first of all") << none << false << QByteArray("0") << QString() << 0;
        QTest::newRow("single 0 keeps a refusal")
            << QByteArray("1,denied") << false << QByteArray("0") << u"Session Not Accepted."_s << 0;
        QTest::newRow("single 0 is not counted")
            << QByteArray("0,ok") << false << QByteArray("0") << u"Session Accepted."_s << 1;
        QTest::newRow("empty reply keeps it")
            << QByteArray("1,denied") << false << QByteArray("") << u"Session Not Accepted."_s << 0;
        // A hang-up counts whatever the service says.
        QTest::newRow("hang-up refused")
            << none << true << QByteArray("1,No such session") << u"Session Disconnected."_s << 0;
    }

    void replies() {
        QFETCH(QByteArray, prior);
        QFETCH(bool, hangUp);
        QFETCH(QByteArray, reply);
        CSim sim;
        Choose(sim.dialog.PortList(), u"COM2"_s);
        if (!prior.isNull()) {
            sim.pipe.answer = prior;
            QTest::mouseClick(sim.dialog.ConnectButton(), Qt::LeftButton);
        }
        sim.pipe.answer = reply;
        QTest::mouseClick(hangUp ? sim.dialog.HangUpButton() : sim.dialog.ConnectButton(), Qt::LeftButton);
        QTEST(sim.dialog.OutcomeText(), "outcome");
        QTEST(sim.dialog.ConnectsAccepted(), "accepted");
        QCOMPARE(sim.dialog.HangUpsSent(), hangUp ? 1 : 0);
        QVERIFY(sim.console.Prompter().Boxes().isEmpty());
        // The test clock stands at 1700000000 seconds.
        QCOMPARE(sim.pipe.requests.last(), hangUp ? QByteArray("1,COM2,SALES\\bob,ADMINPC,1700000000,0,0")
                                                  : QByteArray("0,COM2,SALES\\bob,ADMINPC,0,0,0"));
        QCOMPARE(sim.pipe.pipes.last(), u"\\\\PDC1\\pipe\\cwsvcpipe"_s);
        QCOMPARE(sim.dialog.TimingText(), u"(Server processed request in 37 msec)"_s);
    }

    void pipeByExactName_data() {
        QTest::addColumn<QString>("server");
        QTest::addColumn<QString>("pipe");
        QTest::newRow("the console, exactly") << u"ADMINPC"_s << u"\\\\.\\pipe\\cwsvcpipe"_s;
        QTest::newRow("the console in small letters") << u"adminpc"_s << u"\\\\adminpc\\pipe\\cwsvcpipe"_s;
        QTest::newRow("the console, mixed") << u"AdminPC"_s << u"\\\\AdminPC\\pipe\\cwsvcpipe"_s;
    }

    // Only the exact spelling is taken for the console's own computer.
    void pipeByExactName() {
        QFETCH(QString, server);
        CTestConsole console(
            [&server](CSiteWriter& writer) { writer.AddMonitoredServer(kTestConsole, server); });
        CScriptedPipe& pipe = ScriptPipe(console);
        pipe.answer = "0,ok";
        CSimulateSession dialog(console.Doc());
        dialog.show();
        QTest::keyClicks(dialog.AccountEdit(), u"SALES\\bob"_s);
        QTest::mouseClick(dialog.ConnectButton(), Qt::LeftButton);
        QTEST(pipe.pipes.value(0), "pipe");
        QCOMPARE(dialog.OutcomeText(), u"Session Accepted."_s);
        // Its ports were never read: the port field stays empty.
        QCOMPARE(pipe.requests, QList<QByteArray>{"0,,SALES\\bob,ADMINPC,0,0,0"});
    }

    void failures_data() {
        QTest::addColumn<QString>("server");
        QTest::addColumn<QString>("text");
        const QString start =
            u"Failed to send the request to server %1. Windows NT returned error code %2."_s;
        QTest::newRow("no service listens")
            << kMember
            << start.arg(kMember).arg(2) + u"\n\nIs the Callwarden Service running on this server?"_s;
        QTest::newRow("access denied")
            << u"LOCKED"_s
            << start.arg(u"LOCKED"_s).arg(5) + u"\n\nYou do not have access rights to that server."_s;
        QTest::newRow("unreachable") << u"ODD"_s << start.arg(u"ODD"_s).arg(53);
    }

    // Each failed request is reported; the dialog stays open, its counters and
    // outcome as they were, the timing text cleared.
    void failures() {
        QFETCH(QString, server);
        QFETCH(QString, text);
        CSim sim;
        sim.Act(u"C"_s);
        QVERIFY(!sim.dialog.TimingText().isEmpty());
        Choose(sim.dialog.ServerList(), server);
        sim.pipe.answer = QByteArray();
        for (QPushButton* button : {sim.dialog.ConnectButton(), sim.dialog.HangUpButton()}) {
            QTest::mouseClick(button, Qt::LeftButton);
            QVERIFY(sim.dialog.TimingText().isEmpty());
        }
        QCOMPARE(sim.console.Prompter().Texts(), QStringList(2, text));
        QCOMPARE(sim.console.Prompter().Boxes().last().icon, Icon::Error);
        QCOMPARE(sim.dialog.OutcomeText(), u"Session Accepted."_s);
        QCOMPARE(sim.dialog.ConnectsAccepted(), 1);
        QCOMPARE(sim.dialog.HangUpsSent(), 0);
        QVERIFY(sim.dialog.isVisible());
    }

    void closing_data() {
        QTest::addColumn<QString>("actions"); // as Act takes them
        QTest::addColumn<QString>("way");
        QTest::addColumn<int>("warnings");
        QTest::newRow("nothing sent, Close") << QString() << u"button"_s << 0;
        QTest::newRow("nothing sent, Esc") << QString() << u"escape"_s << 0;
        QTest::newRow("balanced, window") << u"CH"_s << u"window"_s << 0;
        QTest::newRow("refused connect not counted") << u"R"_s << u"button"_s << 0;
        QTest::newRow("two connects, one hang-up, Close") << u"CCH"_s << u"button"_s << 1;
        QTest::newRow("two connects, one hang-up, Esc") << u"CCH"_s << u"escape"_s << 1;
        QTest::newRow("two connects, one hang-up, window") << u"CCH"_s << u"window"_s << 1;
        // Requests are compared, not sessions: a hang-up alone unbalances them.
        QTest::newRow("hang-up without connect") << u"H"_s << u"button"_s << 1;
        QTest::newRow("No keeps it open") << u"CCHN"_s << u"button"_s << 2;
        QTest::newRow("after a second hang-up, silently") << u"CCHNH"_s << u"button"_s << 1;
    }

    // Closing at the end is answered Yes (the prompter's default).
    void closing() {
        QFETCH(QString, actions);
        QFETCH(QString, way);
        QFETCH(int, warnings);
        CSim sim;
        sim.Act(actions);
        QVERIFY(sim.dialog.isVisible());
        if (way == u"button"_s)
            QTest::mouseClick(sim.dialog.CloseButton(), Qt::LeftButton);
        else if (way == u"escape"_s)
            QTest::keyClick(&sim.dialog, Qt::Key_Escape);
        else
            sim.dialog.close();
        QVERIFY(!sim.dialog.isVisible());
        const QList<CScriptedPrompter::Shown> boxes = sim.console.Prompter().Boxes();
        QCOMPARE(boxes.size(), warnings);
        for (const CScriptedPrompter::Shown& box : boxes) {
            QCOMPARE(box.text, kClosingQuestion);
            QCOMPARE(box.caption, u"Warning!"_s);
            QCOMPARE(box.icon, Icon::Warning);
            QCOMPARE(box.buttons, OCL::IPrompter::Buttons::YesNo);
        }
    }
};

QTEST_MAIN(TestSimulateSession)
#include "tst_simulatesession.moc"
