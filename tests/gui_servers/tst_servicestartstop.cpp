// The start/stop dialog against a site's service manager, ticked by hand with
// the site's clock moved by the test.
#include "support/guifixture.h"

#include "core/app/ansitext.h"
#include "gui/dialogs/servicestartstop.h"

using namespace Qt::StringLiterals;
using namespace GuiTest;
using OCL::DWORD;

namespace {

constexpr int kTick = CServiceStartStop::TIMER_ID_SERVICE;

// The service's state on the host as the site's manager reports it; 0 when it
// cannot be asked.
DWORD StateOf(CTestConsole& console, const QString& host, const QString& service) {
    OCL::IServiceControl& control = console.Environment().Services();
    OCL::SC_HANDLE manager = nullptr, handle = nullptr;
    OCL::ServiceStatus status;
    status.currentState = 0;
    if (control.OpenManager(CAnsi::FromQString(host), OCL::ScAccess::ManagerAllAccess, &manager) != 0)
        return 0;
    if (control.Open(manager, CAnsi::FromQString(service), OCL::ScAccess::ServiceAllAccess, &handle) == 0) {
        control.QueryStatus(handle, &status);
        control.Close(handle);
    }
    control.Close(manager);
    return status.currentState;
}

void Server(CSiteWriter& w) {
    CTestConsole::AddServer(w, u"SRV"_s, u"RAS"_s, u"4.0"_s, 1);
}

} // namespace

class TestServiceStartStop : public QObject {
    Q_OBJECT

private slots:
    void initTestCase() { IsolateSettings("gui_servers"); }

    void ticks_data() {
        QTest::addColumn<bool>("start");
        QTest::addColumn<int>("pending"); // seconds the service stays pending
        QTest::newRow("stop, settled at once") << false << 0;
        QTest::newRow("start, settled at once") << true << 0;
        QTest::newRow("stop, pending") << false << 40;
        QTest::newRow("start, pending") << true << 40;
    }

    // The first tick issues the request without a text, so the count shown
    // starts at 2 (a service settled at once shows none); there is no time-out
    // while the service stays pending.
    void ticks() {
        QFETCH(bool, start);
        QFETCH(int, pending);
        CTestConsole console(
            [&](CSiteWriter& w) {
                Server(w);
                const int ms = std::max(0, pending * 1000 - 500);
                w.SetService(u"SRV"_s, u"RemoteAccess"_s, start ? 1 : 4, ms, ms);
            },
            true);
        CServiceStartStop dialog(console.Doc(), u"SRV"_s, false, start);
        dialog.show();
        dialog.OnTimer(kTick);
        QCOMPARE(StateOf(console, u"SRV"_s, u"RemoteAccess"_s),
                 DWORD(pending ? (start ? 2 : 3) : (start ? 4 : 1)));
        QStringList shown;
        while (dialog.isVisible() && dialog.Ticks() < 100) {
            console.Clock()->Advance(1000);
            dialog.OnTimer(kTick);
            shown << dialog.ElapsedText();
        }
        QStringList expected;
        for (int tick = 2; tick < pending + 1; ++tick)
            expected << u"%1 seconds elapsed..."_s.arg(tick);
        expected << expected.value(expected.size() - 1, u"0 seconds elapsed..."_s);
        QCOMPARE(shown, expected);
        QCOMPARE(dialog.result(), int(QDialog::Accepted));
        QVERIFY(!dialog.Timer().isActive());
        QCOMPARE(StateOf(console, u"SRV"_s, u"RemoteAccess"_s), DWORD(start ? 4 : 1));
        QVERIFY(console.Prompter().Boxes().isEmpty());
    }

    void errors_data() {
        QTest::addColumn<QString>("server");
        QTest::addColumn<bool>("tracking");
        QTest::addColumn<bool>("start");
        QTest::addColumn<int>("state"); // of Callwarden on SRV
        QTest::addColumn<QStringList>("texts");
        // Every step of the request is tried and reported.
        QTest::newRow("unreachable") << u"AWAY"_s << false << true << 4
                                     << QStringList{u"Error 53: Failed to open the Service Database."_s,
                                                    u"Error 6: Failed to open that Service."_s,
                                                    u"Error 6: An undefinied error occured."_s};
        QTest::newRow("start a running service")
            << u"SRV"_s << true << true << 4 << QStringList{u"Error 1056: An undefinied error occured."_s};
        QTest::newRow("stop a stopped service")
            << u"SRV"_s << true << false << 1 << QStringList{u"Error 1062: An undefinied error occured."_s};
        // A Routing and RAS record on 4.0 asks for "Router", which this host lacks.
        QTest::newRow("no such service") << u"SRV"_s << false << false << 4
                                         << QStringList{u"Error 1060: Failed to open that Service."_s,
                                                        u"Error 6: An undefinied error occured."_s};
    }

    void errors() {
        QFETCH(QString, server);
        QFETCH(bool, tracking);
        QFETCH(bool, start);
        QFETCH(int, state);
        CTestConsole console([state](CSiteWriter& w) {
            Server(w);
            w.SetService(u"SRV"_s, u"Callwarden"_s, state);
            CSiteWriter::HostOptions away;
            away.reachable = false;
            w.AddHost(u"AWAY"_s, away);
            w.AddMonitoredServer(kTestConsole, u"AWAY"_s);
        });
        console.Doc().Servers()[0].m_rasKind = RasKindValue::Rras;
        CServiceStartStop dialog(console.Doc(), server, tracking, start);
        dialog.show();
        dialog.OnTimer(kTick);
        QTEST(console.Prompter().Texts(), "texts");
        for (const CScriptedPrompter::Shown& box : console.Prompter().Boxes()) {
            QCOMPARE(box.caption, u"Service Control"_s);
            QCOMPARE(box.icon, OCL::IPrompter::Icon::Warning);
        }
        QVERIFY(!dialog.isVisible());
        QCOMPARE(dialog.result(), int(QDialog::Rejected));
        QVERIFY(!dialog.Timer().isActive());
    }

    // Which service the request is for: the server's RAS kind and version decide.
    // Which service the request is for (the server's RAS kind and version
    // decide), and how the dialog says so.
    void serviceChosen_data() {
        QTest::addColumn<QString>("kind");
        QTest::addColumn<QString>("version"); // empty: unreadable
        QTest::addColumn<bool>("tracking");
        QTest::addColumn<bool>("start");
        QTest::addColumn<QString>("service");
        QTest::addColumn<QString>("texts"); // caption: action
        QTest::newRow("RAS, stop") << u"RAS"_s << u"4.0"_s << false << false << u"RemoteAccess"_s
                                   << u"Stop Service: Stopping RAS on SRV"_s;
        QTest::newRow("RAS, start") << u"RAS"_s << u"4.0"_s << false << true << u"RemoteAccess"_s
                                    << u"Start Service: Starting RAS on SRV"_s;
        QTest::newRow("RRAS 5.0") << u"RRAS"_s << u"5.0"_s << false << true << u"RemoteAccess"_s
                                  << u"Start Service: Starting RRAS on SRV"_s;
        QTest::newRow("RRAS 4.0") << u"RRAS"_s << u"4.0"_s << false << false << u"Router"_s
                                  << u"Stop Service: Stopping RRAS on SRV"_s;
        QTest::newRow("RRAS, version unreadable") << u"RRAS"_s << QString() << false << false << u"Router"_s
                                                  << u"Stop Service: Stopping RRAS on SRV"_s;
        QTest::newRow("Callwarden on RRAS 4.0") << u"RRAS"_s << u"4.0"_s << true << false << u"Callwarden"_s
                                                << u"Stop Service: Stopping Callwarden on SRV"_s;
        QTest::newRow("Callwarden, start") << u"RAS"_s << u"4.0"_s << true << true << u"Callwarden"_s
                                           << u"Start Service: Starting Callwarden on SRV"_s;
    }

    void serviceChosen() {
        QFETCH(QString, kind);
        QFETCH(QString, version);
        QFETCH(bool, tracking);
        QFETCH(bool, start);
        QFETCH(QString, service);
        const QStringList services{u"Callwarden"_s, u"RemoteAccess"_s, u"Router"_s};
        CTestConsole console([&](CSiteWriter& w) {
            CTestConsole::AddServer(w, u"SRV"_s, kind, version.isEmpty() ? u"4.0"_s : version, 1);
            if (version.isEmpty())
                w.DeleteRegValue(u"SRV"_s,
                                 u"HKEY_LOCAL_MACHINE\\Software\\Microsoft\\Windows NT\\CurrentVersion"_s,
                                 u"CurrentVersion"_s);
            for (const QString& name : services)
                w.SetService(u"SRV"_s, name, start ? 1 : 4);
        });
        console.Doc().Servers()[0].m_rasKind = kind == u"RAS"_s ? RasKindValue::Ras : RasKindValue::Rras;
        CServiceStartStop dialog(console.Doc(), u"SRV"_s, tracking, start);
        QTEST(QString(dialog.windowTitle() + u": "_s + dialog.ActionText()), "texts");
        QCOMPARE(dialog.ElapsedText(), u"0 seconds elapsed..."_s);
        QCOMPARE(dialog.Timer().interval(), 1000);
        QVERIFY(dialog.Timer().isActive());
        dialog.OnTimer(kTick);
        dialog.OnTimer(kTick);
        QCOMPARE(dialog.result(), int(QDialog::Accepted));
        for (const QString& name : services)
            QCOMPARE(StateOf(console, u"SRV"_s, name), DWORD((name == service) == start ? 4 : 1));
    }

    // The server at list index 66 ends the dialog on the first tick, whose
    // request still goes out.
    void serverAtIndex66() {
        CTestConsole console([](CSiteWriter& w) {
            for (int i = 0; i < 66; ++i)
                w.AddMonitoredServer(kTestConsole, u"S%1"_s.arg(i, 2, 10, QChar(u'0')));
            for (const QString& name : {u"S66"_s, u"S67"_s}) {
                CTestConsole::AddServer(w, name, u"RAS"_s, u"4.0"_s, 1);
                w.SetService(name, u"Callwarden"_s, 4, 0, 5000);
            }
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
