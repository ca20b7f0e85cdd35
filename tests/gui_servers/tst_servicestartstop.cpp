// The start/stop dialog against a site's service manager, ticked by hand with
// the site's clock moved by the test.
#include "guifixture.h"

#include "core/app/ansitext.h"
#include "gui/dialogs/servicestartstop.h"

#include <QTest>

using namespace Qt::StringLiterals;
using OCL::DWORD;

namespace {

constexpr int kTick = CServiceStartStop::TIMER_ID_SERVICE;

// The service's state on the host as the site's manager reports it; 0 when it
// cannot be asked.
DWORD StateOf(CTestConsole& console, const QString& host, const QString& service) {
    OCL::IServiceControl& control = console.Environment().Services();
    OCL::SC_HANDLE manager = nullptr, handle = nullptr;
    DWORD state = 0;
    if (control.OpenManager(CAnsi::FromQString(host), OCL::ScAccess::ManagerAllAccess, &manager) != 0)
        return 0;
    if (control.Open(manager, CAnsi::FromQString(service), OCL::ScAccess::ServiceAllAccess, &handle) == 0) {
        OCL::ServiceStatus status;
        if (control.QueryStatus(handle, &status) == 0)
            state = status.currentState;
        control.Close(handle);
    }
    control.Close(manager);
    return state;
}

} // namespace

class TestServiceStartStop : public QObject {
    Q_OBJECT

private slots:
    void initTestCase() { GuiFixture::IsolateSettings(); }

    void opening_data() {
        QTest::addColumn<bool>("tracking");
        QTest::addColumn<bool>("start");
        QTest::addColumn<bool>("router");
        QTest::addColumn<QString>("caption");
        QTest::addColumn<QString>("action");
        QTest::newRow("start Callwarden")
            << true << true << false << u"Start Service"_s << u"Starting Callwarden on SRV"_s;
        QTest::newRow("stop Callwarden")
            << true << false << true << u"Stop Service"_s << u"Stopping Callwarden on SRV"_s;
        QTest::newRow("start RAS") << false << true << false << u"Start Service"_s
                                   << u"Starting RAS on SRV"_s;
        QTest::newRow("stop RAS") << false << false << false << u"Stop Service"_s << u"Stopping RAS on SRV"_s;
        QTest::newRow("start RRAS") << false << true << true << u"Start Service"_s
                                    << u"Starting RRAS on SRV"_s;
        QTest::newRow("stop RRAS") << false << false << true << u"Stop Service"_s
                                   << u"Stopping RRAS on SRV"_s;
    }

    void opening() {
        QFETCH(bool, tracking);
        QFETCH(bool, start);
        QFETCH(bool, router);
        QFETCH(QString, caption);
        QFETCH(QString, action);
        CTestConsole console(
            [](CSiteWriter& w) { CTestConsole::AddServer(w, u"SRV"_s, u"RAS"_s, u"4.0"_s, 1); });
        console.Doc().Servers()[0].m_rasKind = router ? RasKindValue::Rras : RasKindValue::Ras;
        CServiceStartStop dialog(console.Doc(), u"SRV"_s, tracking, start);
        QCOMPARE(dialog.windowTitle(), caption);
        QCOMPARE(dialog.ActionText(), action);
        QCOMPARE(dialog.ElapsedText(), u"0 seconds elapsed..."_s);
        QVERIFY(dialog.Timer().isActive());
        QCOMPARE(dialog.Timer().interval(), 1000);
    }

    // Without a pending phase the second tick finds the service settled and
    // ends the dialog before any elapsed time is shown.
    void settledAtOnce_data() {
        QTest::addColumn<bool>("start");
        QTest::newRow("stop") << false;
        QTest::newRow("start") << true;
    }

    void settledAtOnce() {
        QFETCH(bool, start);
        CTestConsole console([start](CSiteWriter& w) {
            CTestConsole::AddServer(w, u"SRV"_s, u"RAS"_s, u"4.0"_s, 1);
            w.SetService(u"SRV"_s, u"Callwarden"_s, start ? 1 : 4, 0, 0);
        });
        CServiceStartStop dialog(console.Doc(), u"SRV"_s, true, start);
        dialog.show();
        dialog.OnTimer(kTick);
        QVERIFY(dialog.isVisible());
        QCOMPARE(StateOf(console, u"SRV"_s, u"Callwarden"_s), DWORD(start ? 4 : 1));
        dialog.OnTimer(kTick);
        QVERIFY(!dialog.isVisible());
        QCOMPARE(dialog.result(), int(QDialog::Accepted));
        QCOMPARE(dialog.ElapsedText(), u"0 seconds elapsed..."_s);
        QVERIFY(!dialog.Timer().isActive());
        QVERIFY(console.Prompter().Boxes().isEmpty());
    }

    // The first tick issues the request without a text, so the count shown
    // starts at 2; there is no time-out while the service stays pending.
    void pendingPhase_data() {
        QTest::addColumn<bool>("start");
        QTest::newRow("stop") << false;
        QTest::newRow("start") << true;
    }

    void pendingPhase() {
        QFETCH(bool, start);
        CTestConsole console(
            [start](CSiteWriter& w) {
                CTestConsole::AddServer(w, u"SRV"_s, u"RAS"_s, u"4.0"_s, 1);
                w.SetService(u"SRV"_s, u"RemoteAccess"_s, start ? 1 : 4, 60000, 60000);
            },
            true);
        CServiceStartStop dialog(console.Doc(), u"SRV"_s, false, start);
        dialog.show();
        dialog.OnTimer(kTick);
        QCOMPARE(dialog.ElapsedText(), u"0 seconds elapsed..."_s);
        QCOMPARE(StateOf(console, u"SRV"_s, u"RemoteAccess"_s), DWORD(start ? 2 : 3));
        for (int tick = 2; tick <= 40; ++tick) {
            console.Clock()->Advance(1000);
            dialog.OnTimer(kTick);
            QVERIFY(dialog.isVisible());
            QCOMPARE(dialog.ElapsedText(), u"%1 seconds elapsed..."_s.arg(tick));
        }
        console.Clock()->Advance(60000);
        dialog.OnTimer(kTick);
        QVERIFY(!dialog.isVisible());
        QCOMPARE(dialog.result(), int(QDialog::Accepted));
        QCOMPARE(dialog.ElapsedText(), u"40 seconds elapsed..."_s);
        QCOMPARE(StateOf(console, u"SRV"_s, u"RemoteAccess"_s), DWORD(start ? 4 : 1));
    }

    // Every step of the request is tried and reported, each report ending the dialog.
    void unreachableManager_data() {
        QTest::addColumn<bool>("start");
        QTest::newRow("start") << true;
        QTest::newRow("stop") << false;
    }

    void unreachableManager() {
        QFETCH(bool, start);
        CTestConsole console([](CSiteWriter& w) {
            CSiteWriter::HostOptions away;
            away.reachable = false;
            away.rasKind = u"RAS"_s;
            w.AddHost(u"AWAY"_s, away);
            w.AddMonitoredServer(kTestConsole, u"AWAY"_s);
        });
        CServiceStartStop dialog(console.Doc(), u"AWAY"_s, false, start);
        dialog.show();
        dialog.OnTimer(kTick);
        const auto boxes = console.Prompter().Boxes();
        QCOMPARE(boxes.size(), 3);
        QCOMPARE(boxes[0].text, u"Error 53: Failed to open the Service Database."_s);
        QCOMPARE(boxes[1].text, u"Error 6: Failed to open that Service."_s);
        QCOMPARE(boxes[2].text, u"Error 6: An undefinied error occured."_s);
        for (const auto& box : boxes) {
            QCOMPARE(box.caption, u"Service Control"_s);
            QCOMPARE(box.icon, OCL::IPrompter::Icon::Warning);
            QCOMPARE(box.buttons, OCL::IPrompter::Buttons::Ok);
        }
        QVERIFY(!dialog.isVisible());
        QCOMPARE(dialog.result(), int(QDialog::Rejected));
        QVERIFY(!dialog.Timer().isActive());
    }

    void failedRequest_data() {
        QTest::addColumn<bool>("start");
        QTest::addColumn<int>("state");
        QTest::addColumn<QString>("text");
        QTest::newRow("start a running service")
            << true << 4 << u"Error 1056: An undefinied error occured."_s;
        QTest::newRow("stop a stopped service")
            << false << 1 << u"Error 1062: An undefinied error occured."_s;
    }

    void failedRequest() {
        QFETCH(bool, start);
        QFETCH(int, state);
        QFETCH(QString, text);
        CTestConsole console([state](CSiteWriter& w) {
            CTestConsole::AddServer(w, u"SRV"_s, u"RAS"_s, u"4.0"_s, 1);
            w.SetService(u"SRV"_s, u"Callwarden"_s, state);
        });
        CServiceStartStop dialog(console.Doc(), u"SRV"_s, true, start);
        dialog.show();
        dialog.OnTimer(kTick);
        QCOMPARE(console.Prompter().Texts(), QStringList{text});
        QCOMPARE(dialog.result(), int(QDialog::Rejected));
        QVERIFY(!dialog.isVisible());
    }

    void missingService() {
        CTestConsole console(
            [](CSiteWriter& w) { CTestConsole::AddServer(w, u"SRV"_s, u"RAS"_s, u"4.0"_s, 1); });
        // A Routing and RAS record on 4.0 asks for "Router", which this host lacks.
        console.Doc().Servers()[0].m_rasKind = RasKindValue::Rras;
        CServiceStartStop dialog(console.Doc(), u"SRV"_s, false, false);
        dialog.OnTimer(kTick);
        QCOMPARE(console.Prompter().Texts(), QStringList({u"Error 1060: Failed to open that Service."_s,
                                                          u"Error 6: An undefinied error occured."_s}));
        QCOMPARE(dialog.result(), int(QDialog::Rejected));
    }

    // Which service the request is for: the server's RAS kind and version decide.
    void serviceChosen_data() {
        QTest::addColumn<QString>("kind");
        QTest::addColumn<QString>("version");
        QTest::addColumn<bool>("tracking");
        QTest::addColumn<QString>("service");
        QTest::newRow("RAS") << u"RAS"_s << u"4.0"_s << false << u"RemoteAccess"_s;
        QTest::newRow("RRAS 5.0") << u"RRAS"_s << u"5.0"_s << false << u"RemoteAccess"_s;
        QTest::newRow("RRAS 4.0") << u"RRAS"_s << u"4.0"_s << false << u"Router"_s;
        QTest::newRow("RRAS, version unreadable") << u"RRAS"_s << QString() << false << u"Router"_s;
        QTest::newRow("Callwarden on RRAS 4.0") << u"RRAS"_s << u"4.0"_s << true << u"Callwarden"_s;
    }

    void serviceChosen() {
        QFETCH(QString, kind);
        QFETCH(QString, version);
        QFETCH(bool, tracking);
        QFETCH(QString, service);
        CTestConsole console([&](CSiteWriter& w) {
            CTestConsole::AddServer(w, u"SRV"_s, kind, version.isEmpty() ? u"4.0"_s : version, 1);
            if (version.isEmpty())
                w.DeleteRegValue(u"SRV"_s,
                                 u"HKEY_LOCAL_MACHINE\\Software\\Microsoft\\Windows NT\\CurrentVersion"_s,
                                 u"CurrentVersion"_s);
            for (const QString& name : {u"Callwarden"_s, u"RemoteAccess"_s, u"Router"_s})
                w.SetService(u"SRV"_s, name, 4, 0, 0);
        });
        console.Doc().Servers()[0].m_rasKind = kind == u"RAS"_s ? RasKindValue::Ras : RasKindValue::Rras;
        CServiceStartStop dialog(console.Doc(), u"SRV"_s, tracking, false);
        QCOMPARE(dialog.ServiceName(), service);
        dialog.OnTimer(kTick);
        dialog.OnTimer(kTick);
        QCOMPARE(dialog.result(), int(QDialog::Accepted));
        QVERIFY(console.Prompter().Boxes().isEmpty());
        for (const QString& name : {u"Callwarden"_s, u"RemoteAccess"_s, u"Router"_s})
            QCOMPARE(StateOf(console, u"SRV"_s, name), DWORD(name == service ? 1 : 4));
    }

    // The server at list index 66 ends the dialog on the first tick, whose
    // request still goes out.
    void serverAtIndex66() {
        CTestConsole console([](CSiteWriter& w) {
            for (int i = 0; i < 66; ++i)
                w.AddMonitoredServer(kTestConsole, u"S%1"_s.arg(i, 2, 10, QChar(u'0')));
            CTestConsole::AddServer(w, u"S66"_s, u"RAS"_s, u"4.0"_s, 1);
            CTestConsole::AddServer(w, u"S67"_s, u"RAS"_s, u"4.0"_s, 1);
            for (const QString& name : {u"S66"_s, u"S67"_s})
                w.SetService(name, u"Callwarden"_s, 4, 0, 5000);
        });
        QCOMPARE(console.Doc().GetServerNumberByName(u"S66"_s), 66);
        for (const QString& name : {u"S66"_s, u"S67"_s}) {
            CServiceStartStop dialog(console.Doc(), name, true, false);
            dialog.show();
            dialog.OnTimer(kTick);
            QCOMPARE(dialog.isVisible(), name != u"S66"_s);
            QCOMPARE(StateOf(console, name, u"Callwarden"_s), DWORD(3));
        }
    }
};

QTEST_MAIN(TestServiceStartStop)
#include "tst_servicestartstop.moc"
