// The ports view and the port detail view against cwsite serve: a session the
// service accepts shows up within one poll, and a disconnect from the console
// ends it in the service, which logs the hang-up.
#include "portsfixture.h"

#include "core/pipe/servicepipeclient.h"
#include "gui/views/portsmodel.h"
#include "site/cwsitetest.h"

#include <QAction>
#include <QProcess>
#include <QPushButton>

using namespace Qt::StringLiterals;
using namespace PortsFixture;

namespace {

void Network(CSiteWriter& w) {
    CTestConsole::AddServer(w, u"RAS1"_s, u"RAS"_s, u"4.0"_s, 3, true);
    CTestConsole::AddServer(w, u"RRAS1"_s, u"RRAS"_s, u"5.0"_s, 3, false, u"RAS1"_s);
    w.AddHost(u"DC1"_s);
    w.AddDomain(u"CORP"_s, u"DC1"_s);
    w.AddComputer(u"CORP"_s, u"RAS1"_s, true);
    w.AddComputer(u"CORP"_s, u"RRAS1"_s, true);
    w.AddComputer(u"CORP"_s, kTestConsole, false);
    for (const QString& user : {u"alice"_s, u"bob"_s})
        w.AddUser(u"CORP"_s, user);
    w.WriteShareFile(u"RAS1"_s, u"CW_NT_DB"_s, u"callward.usr"_s,
                     "[CORP\\alice]\r\nNoDuplicate=0\r\n[CORP\\bob]\r\nNoDuplicate=0\r\n");
    w.WriteShareFile(u"RAS1"_s, u"CW_NT_DB"_s, u"callward.hw"_s,
                     "[Default]\r\nMaxSessionTime=5400\r\nMaxTotalTime=0\r\nPeriodMax=0\r\nPeriodType=0\r\n"
                     "StaticIP=0\r\nExpiryTime=0\r\nNoDuplicate=1\r\nAssignDefault=0\r\n"
                     "[Greetings]\r\nRuleMask=0\r\n");
}

} // namespace

class TestPortsEndToEnd : public QObject {
    Q_OBJECT

private slots:
    void initTestCase();
    void cleanupTestCase();
    void connectShowsAndDisconnectEnds_data();
    void connectShowsAndDisconnectEnds();

private:
    CServicePipeClient::Result Send(const QString& server, const QByteArray& request);
    int HangUps(const QString& server, const QString& port, const QString& account) const;

    std::unique_ptr<CTestConsole> m_console;
    QProcess m_serve;
};

void TestPortsEndToEnd::initTestCase() {
    IsolateSettings("gui_ports_e2e");
    m_console = std::make_unique<CTestConsole>(Network);
    QVERIFY(m_console->FetchAll());
    m_serve.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    m_serve.start(CwsiteTest::Cwsite(), {u"serve"_s, m_console->Root(), u"--quiet"_s});
    QVERIFY(m_serve.waitForStarted());
    // The service answers once its pipes are up.
    QTRY_COMPARE_WITH_TIMEOUT(Send(u"RAS1"_s, "UPDATE_UPDATE").error, DWORD(0), 10000);
    QTRY_COMPARE_WITH_TIMEOUT(Send(u"RRAS1"_s, "UPDATE_UPDATE").error, DWORD(0), 10000);
}

void TestPortsEndToEnd::cleanupTestCase() {
    if (m_serve.state() == QProcess::NotRunning)
        return;
    m_serve.terminate();
    QVERIFY(m_serve.waitForFinished(10000));
}

CServicePipeClient::Result TestPortsEndToEnd::Send(const QString& server, const QByteArray& request) {
    return m_console->Doc().Pipe().Request(CServicePipeClient::RemotePipeName(server), request,
                                           CServicePipeClient::kSimulatorReplySize);
}

int TestPortsEndToEnd::HangUps(const QString& server, const QString& port, const QString& account) const {
    const QString logs = m_console->Writer().SharePath(u"RAS1"_s, u"CW_NT_DB"_s) + u"/LogData"_s;
    int count = 0;
    for (const CwsiteTest::LogEvent& e : CwsiteTest::ReadEvents(logs))
        count += e.server == server && e.port == port && e.kind == u'H' && e.account == account ? 1 : 0;
    return count;
}

void TestPortsEndToEnd::connectShowsAndDisconnectEnds_data() {
    QTest::addColumn<QString>("server");
    QTest::addColumn<QString>("port");
    QTest::newRow("RAS") << u"RAS1"_s << u"COM2"_s;
    QTest::newRow("RRAS") << u"RRAS1"_s << u"VPN1-3"_s;
}

void TestPortsEndToEnd::connectShowsAndDisconnectEnds() {
    QFETCH(QString, server);
    QFETCH(QString, port);
    CTestConsole& console = *m_console;
    auto view = OpenView(console, server);
    const int row = view->Model()->FindPort(port);
    QVERIFY(row >= 0);
    QVERIFY(Poll(*view));
    QCOMPARE(view->Model()->Text(row, CPortsModel::ColUser), QString());

    const CServicePipeClient::Result reply =
        Send(server, CServicePipeClient::ConnectRequest(port, u"CORP\\alice"_s, kTestConsole));
    QCOMPARE(reply.error, DWORD(0));
    QCOMPARE(reply.reply.left(1), QByteArray("0"));
    QCOMPARE(reply.reply, QByteArray("0,Session accepted"));

    // Within one poll in the ports view...
    QVERIFY(Poll(*view));
    QCOMPARE(view->Model()->Text(row, CPortsModel::ColUser), u"CORP\\alice"_s);
    QVERIFY(!view->Model()->Text(row, CPortsModel::ColConnected).isEmpty());
    // ... and at once in the port's detail.
    auto detail = OpenDetail(console, server, port);
    QCOMPARE(detail->RowText(PortDetail::UserAccount), u"User name:  CORP\\alice"_s);
    QCOMPARE(detail->RowText(PortDetail::ComputerName), u"Computer name:  "_s + kTestConsole);
    QVERIFY(detail->DisconnectButton()->isEnabled());
    QCOMPARE(console.Prompter().Boxes().size(), 0);

    // Disconnected from the console: the service sees the port go idle and
    // logs the hang-up.
    const int before = HangUps(server, port, u"CORP\\alice"_s);
    view->List()->setCurrentIndex(view->Model()->index(row, 0));
    view->DisconnectAction()->trigger();
    QVERIFY(!PortOf(console, server, port).Connected());
    QTRY_COMPARE_WITH_TIMEOUT(HangUps(server, port, u"CORP\\alice"_s), before + 1, 10000);

    QVERIFY(Poll(*view));
    QCOMPARE(view->Model()->Text(row, CPortsModel::ColUser), QString());
    QCOMPARE(view->Model()->Text(row, CPortsModel::ColConnected), QString());
    detail->OnTimer(TIMER_ID_PORT_DETAIL);
    QCOMPARE(detail->RowText(PortDetail::UserAccount), u"User name:  "_s);
    QVERIFY(!detail->DisconnectButton()->isEnabled());

    // The service took the session as ended: the account may dial in again,
    // and the detail's button ends that session too.
    QCOMPARE(Send(server, CServicePipeClient::ConnectRequest(port, u"CORP\\alice"_s, kTestConsole)).reply,
             QByteArray("0,Session accepted"));
    detail->OnTimer(TIMER_ID_PORT_DETAIL);
    QCOMPARE(detail->RowText(PortDetail::UserAccount), u"User name:  CORP\\alice"_s);
    QTest::mouseClick(detail->DisconnectButton(), Qt::LeftButton);
    QTRY_COMPARE_WITH_TIMEOUT(HangUps(server, port, u"CORP\\alice"_s), before + 2, 10000);
}

QTEST_MAIN(TestPortsEndToEnd)
#include "tst_ports_e2e.moc"
