// The simulated service. Its rules are driven directly with a pinned clock: its
// answers, the events it logs (read back as the console reads them), what it
// keeps in the account file and the port table. cwsite serve itself is then
// spoken to exactly as the console speaks to the service: through the pipe.

#include "site/cwsitetest.h"

#include "platform/site/site.h"
#include "platform/site/sitedirectory.h"
#include "site/serve/hostservice.h"
#include "site/sitewriter.h"

#include <QDateTime>
#include <QLocalSocket>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;
using namespace CwsiteTest;
using namespace OCL;

namespace {

constexpr qint64 kNow = 1700571600; // a Tuesday, 14:00 in Berlin

QString N(qint64 n) {
    return QString::number(n);
}

// callward.usr: alice has 10.1.200.10; Dialers (bob, ken) and Limited (ivan,
// judy) have group profiles; ivan has statistics only. Built by concatenation:
// "%1" is a name here.
const QString kUsr =
    u"[CORP\\alice]\r\nNoDuplicate=1\r\nStaticIP=167888906\r\n"
    u"[CORP\\bob]\r\nNoDuplicate=0\r\nMaxSessionTime=120\r\n"
    u"[CORP\\carol]\r\nMaxTotalTime=300\r\nTotalTime=200\r\n"
    u"[CORP\\frank]\r\nExpiryTime=1\r\nFirstConnection="_s +
    N(kNow - 2 * 86400) +
    u"\r\n[CORP\\grace]\r\nMaxTotalTime=100\r\nTotalTime=100\r\n"
    u"[CORP\\henry]\r\nPeriodType=1\r\nPeriodMax=60\r\nPeriodUsage=60\r\nLastConnection="_s +
    N(kNow - 3600) +
    u"\r\n[CORP\\olga]\r\nPeriodType=1\r\nPeriodMax=60\r\nPeriodUsage=60\r\nLastConnection="_s +
    N(kNow - 3 * 86400) +
    u"\r\n[CORP\\ivan]\r\nTotalTime=1000\r\n[CORP\\ken]\r\nNoDuplicate=0\r\n"
    u"[CORP\\a%1]\r\nNoDuplicate=0\r\n"
    u"[+CORP\\Dialers]\r\nMaxSessionTime=600\r\nMaxTotalTime=0\r\nNoDuplicate=1\r\n"
    u"[+CORP\\Limited]\r\nMaxSessionTime=0\r\nMaxTotalTime=1000\r\nNoDuplicate=0\r\n"_s;
// callward.hw: COM2 for Dialers only, COM5 with a time limit and 10.1.16.250.
const QString kHw =
    u"[RAS1\\COM2]\r\nAllowedGroups=\"Dialers;\"\r\n"
    u"[RAS1\\COM5]\r\nMaxSessionTime=60\r\nStaticIP=167842042\r\n[Greetings]\r\nRuleMask=0\r\n"
    u"[Default]\r\nMaxSessionTime=5400\r\nNoDuplicate=1\r\nAssignDefault=0\r\n"_s;

void WriteSite(CSiteWriter& w) {
    w.SetLocalComputer(u"CONSOLE"_s);
    w.AddHost(u"CONSOLE"_s);
    CSiteWriter::HostOptions ras;
    ras.rasKind = u"RAS"_s;
    w.AddHost(u"RAS1"_s, ras);
    w.SetServiceDword(u"RAS1"_s, u"Master"_s, 1);
    w.SetServiceString(u"RAS1"_s, u"MasterShare"_s, u"\\\\RAS1\\CW_NT_DB"_s);
    w.SetServiceDword(u"RAS1"_s, u"IdleTimer"_s, 15);
    w.SetServiceDword(u"RAS1"_s, u"StaticIP"_s, 1);
    w.SetService(u"RAS1"_s, u"Callwarden"_s, 4, 0, 500);
    for (int i = 1; i <= 6; ++i) {
        Site::PortRecord port;
        port.name = "COM" + std::to_string(i);
        w.AddPort(u"RAS1"_s, port);
    }
    w.AddDomain(u"CORP"_s, u"DC1"_s);
    w.AddGroup(u"CORP"_s, u"Dialers"_s, {u"bob"_s, u"ken"_s});
    w.AddGroup(u"CORP"_s, u"Limited"_s, {u"ivan"_s, u"judy"_s});
    w.WriteShareFile(u"RAS1"_s, u"CW_NT_DB"_s, u"callward.usr"_s, kUsr.toLatin1());
    w.WriteShareFile(u"RAS1"_s, u"CW_NT_DB"_s, u"callward.hw"_s, kHw.toLatin1());
}

} // namespace

class TestCwsiteServe : public QObject {
    Q_OBJECT

private slots:
    void rules_data();
    void rules();
    void initTestCase();
    void cleanupTestCase();
    void sessionThroughThePipe();
    void brokenFraming();
    void stoppedServiceClosesItsPipe();

private:
    DWORD Call(const QString& request, QString* reply = nullptr);

    QTemporaryDir m_dir;
    QProcess m_serve;
    std::unique_ptr<Platform> m_platform;
};

// A script per row, its lines joined by '|'. Steps: "<seconds after kNow>
// <what> [= <reply>]", what being "connect PORT ACCOUNT", "hangup PORT ACCOUNT",
// "raw REQUEST", "idle PORT ACCOUNT SECONDS" (a caller that falls silent),
// "tick", "default" (AssignDefault 1) or "nostatic" (static addresses off).
// Then what must follow: "log PORT <kind><reason> ACCOUNT", the day's log in
// time order; "usr SECTION KEY=VALUE" (empty: missing); "port PORT user|ip=VALUE".
void TestCwsiteServe::rules_data() {
    QTest::addColumn<QString>("script");
    QTest::newRow("let in, hung up by its caller")
        << u"0 connect COM1 CORP\\alice = 0,Session accepted|"
           u"90 hangup COM1 corp\\ALICE = 0,Session disconnected|log COM1 C CORP\\alice|"
           u"log COM1 H255 CORP\\alice|usr CORP\\alice TotalConnects=1|usr CORP\\alice TotalTime=90|"
           u"port COM1 user="_s;
    QTest::newRow("hang-up of another account")
        << u"0 connect COM1 CORP\\alice = 0,Session accepted|"
           u"30 hangup COM1 CORP\\bob = 1,Account not connected on port|"
           u"40 hangup COM4 CORP\\bob = 1,No session on port|log COM1 C CORP\\alice|"
           u"port COM1 user=CORP\\alice"_s;
    QTest::newRow("1 not defined")
        << u"0 connect COM1 CORP\\dave = 1,User not defined|log COM1 N1 CORP\\dave|"
           u"usr CORP\\dave TotalDenieds="_s;
    QTest::newRow("2 expired")
        << u"0 connect COM1 CORP\\frank = 1,User Account expired|log COM1 N2 CORP\\frank|"
           u"usr CORP\\frank TotalDenieds=1"_s;
    QTest::newRow("3 total time used")
        << u"0 connect COM1 CORP\\grace = 1,User Total Time Reached|log COM1 N3 CORP\\grace"_s;
    QTest::newRow("4 already connected")
        << u"0 connect COM1 CORP\\alice = 0,Session accepted|"
           u"10 connect COM3 CORP\\alice = 1,User already connected|log COM1 C CORP\\alice|"
           u"log COM3 N4 CORP\\alice"_s;
    QTest::newRow("5 not in the port's groups")
        << u"0 connect COM2 CORP\\carol = 1,Access denied on Port|log COM2 N5 CORP\\carol"_s;
    QTest::newRow("6 period used")
        << u"0 connect COM1 CORP\\henry = 1,No more time this period|log COM1 N6 CORP\\henry"_s;
    QTest::newRow("a new period") << u"0 connect COM1 CORP\\olga = 0,Session accepted|log COM1 C CORP\\olga|"
                                     u"usr CORP\\olga PeriodUsage=0"_s;
    QTest::newRow("9 idle time-out, then redialled")
        << u"0 idle COM3 CORP\\alice 10 = 0,Session accepted|5 tick|20 tick|904 tick|905 tick|"
           u"1000 connect COM1 CORP\\alice = 1,Idle Timeout|"
           u"1206 connect COM1 CORP\\alice = 0,Session accepted|log COM3 C CORP\\alice|"
           u"log COM3 H9 CORP\\alice|log COM1 N9 CORP\\alice|log COM1 C CORP\\alice"_s;
    QTest::newRow("1 port time, caller's computer unknown")
        << u"0 raw 0,COM5,CORP\\bob,,0,0,0 = 0,Session accepted|59 tick|60 tick|log COM5 C CORP\\bob|"
           u"log COM5 H1 CORP\\bob"_s;
    QTest::newRow("2 session time")
        << u"0 connect COM3 CORP\\bob = 0,Session accepted|119 tick|120 tick|log COM3 C CORP\\bob|"
           u"log COM3 H2 CORP\\bob"_s;
    QTest::newRow("3 total time")
        << u"0 connect COM3 CORP\\carol = 0,Session accepted|100 tick|log COM3 C CORP\\carol|"
           u"log COM3 H3 CORP\\carol|usr CORP\\carol TotalTime=300"_s;
    QTest::newRow("group's session time")
        << u"0 connect COM3 CORP\\ken = 0,Session accepted|599 tick|600 tick|log COM3 C CORP\\ken|"
           u"log COM3 H2 CORP\\ken"_s;
    QTest::newRow("group's one session at a time")
        << u"0 connect COM2 CORP\\ken = 0,Session accepted|"
           u"5 connect COM3 CORP\\ken = 1,User already connected|log COM2 C CORP\\ken|log COM3 N4 CORP\\ken"_s;
    QTest::newRow("group's total time")
        << u"0 connect COM1 CORP\\ivan = 1,User Total Time Reached|log COM1 N3 CORP\\ivan|"
           u"usr CORP\\ivan TotalDenieds=1"_s;
    QTest::newRow("group member without a profile")
        << u"0 connect COM1 CORP\\judy = 0,Session accepted|log COM1 C CORP\\judy|"
           u"usr CORP\\judy TotalConnects=1|usr CORP\\judy MaxSessionTime="_s;
    QTest::newRow("default profile for one let in")
        << u"0 default|0 connect COM1 CORP\\erin = 0,Session accepted|log COM1 C CORP\\erin|"
           u"usr CORP\\erin MaxSessionTime=5400|usr CORP\\erin TotalConnects=1"_s;
    QTest::newRow("no profile for one refused")
        << u"0 default|0 connect COM2 CORP\\erin = 1,Access denied on Port|log COM2 N5 CORP\\erin|"
           u"usr CORP\\erin MaxSessionTime=|usr CORP\\erin TotalDenieds="_s;
    QTest::newRow("account's static address")
        << u"0 connect COM1 CORP\\alice = 0,Session accepted|log COM1 C CORP\\alice|port COM1 ip=10.1.200.10"_s;
    QTest::newRow("port's static address")
        << u"0 connect COM5 CORP\\bob = 0,Session accepted|log COM5 C CORP\\bob|port COM5 ip=10.1.16.250"_s;
    QTest::newRow("static addresses switched off")
        << u"0 nostatic = 0|0 connect COM1 CORP\\alice = 0,Session accepted|log COM1 C CORP\\alice|"
           u"port COM1 ip=10.1.1.10"_s;
    QTest::newRow("format characters in a name")
        << u"0 connect COM1 CORP\\a%1 = 0,Session accepted|9 hangup COM1 CORP\\a%1 = 0,Session disconnected|"
           u"log COM1 C CORP\\a%1|log COM1 H255 CORP\\a%1"_s;
    QTest::newRow("not a Windows account name")
        << u"0 connect COM1 CORP\\a?b = 1,User not defined|1 connect COM1 CORP\\a]b = 1,User not defined|"
           u"log COM1 N1 CORP\\a]b|port COM1 user="_s;
    QTest::newRow("not a computer name")
        << u"0 raw 0,COM1,CORP\\alice,W:S1,0,0,0 = 1,Invalid computer name|port COM1 user="_s;
}

void TestCwsiteServe::rules() {
    QFETCH(QString, script);
    QTemporaryDir dir;
    CSiteWriter writer(dir.path());
    WriteSite(writer);
    QVERIFY(writer.Save());
    CServeContext context(dir.path().toStdString(), 1);
    const auto host = context.site->FindHost("RAS1");
    CHostService service(context, *host, 1);
    service.Start(kNow);
    const std::string share = dir.path().toStdString() + "/hosts/RAS1/shares/CW_NT_DB";

    QStringList logged, checks;
    for (const QString& line : script.split(u'|')) {
        const QStringList w = line.section(u" = "_s, 0, 0).split(u' ');
        if (!line.front().isDigit()) {
            (w[0] == u"log" ? logged : checks).append(w[0] == u"log" ? line.mid(4) : line);
            continue;
        }
        const qint64 now = kNow + w[0].toLongLong();
        QString request, reply;
        if (w[1] == u"connect" || w[1] == u"hangup")
            request = (w[1] == u"connect" ? u"0,"_s : u"1,"_s) + w[2] + u',' + w[3] + u",WS1," +
                      N(w[1] == u"connect" ? 0 : now) + u",0,0"_s;
        else if (w[1] == u"raw")
            request = w[2];
        else if (w[1] == u"idle")
            reply = service.Connect(w[2], w[3], u"WS1"_s, now, {0, w[4].toLongLong(), true});
        else if (w[1] == u"tick")
            service.Tick(now, 1);
        else if (w[1] == u"default") // users without a profile get the default one
            QVERIFY(context.Files().WriteString(share + "/callward.hw", "Default", "AssignDefault", "1"));
        if (w[1] == u"nostatic") {
            writer.SetServiceDword(u"RAS1"_s, u"StaticIP"_s, 0);
            QVERIFY(writer.Save());
            request = u"UPDATE_UPDATE"_s;
        }
        if (!request.isEmpty())
            reply = QString::fromLatin1(service.Handle(request.toLatin1(), now));
        QCOMPARE(reply, line.section(u" = "_s, 1));
    }

    QList<LogEvent> events = ReadEvents(QString::fromStdString(share) + u"/LogData"_s);
    std::stable_sort(events.begin(), events.end(),
                     [](const LogEvent& a, const LogEvent& b) { return a.key < b.key; });
    QStringList read;
    for (const LogEvent& e : std::as_const(events))
        read.append(e.port + u' ' + e.kind + (e.kind == u'C' ? QString() : N(e.reason)) + u' ' + e.account);
    QCOMPARE(read, logged);

    const auto ports = context.site->ReadPorts(*host);
    for (const QString& check : std::as_const(checks)) {
        const QStringList w = check.split(u' ');
        const QString key = w.last().section(u'=', 0, 0), value = w.last().section(u'=', 1);
        if (w[0] == u"usr") {
            QCOMPARE(IniValue(QString::fromStdString(share) + u"/callward.usr"_s, w[1], key), value);
            continue;
        }
        const auto port = std::find_if(ports.begin(), ports.end(), [&](const Site::PortRecord& p) {
            return p.name == w[1].toStdString();
        });
        QVERIFY(port != ports.end());
        const std::string text = key == u"ip"         ? port->ip
                                 : port->user.empty() ? ""
                                                      : port->domain + '\\' + port->user;
        QCOMPARE(QString::fromStdString(text), value);
    }
}

void TestCwsiteServe::initTestCase() {
    QVERIFY(m_dir.isValid());
    CSiteWriter writer(m_dir.path());
    WriteSite(writer);
    QVERIFY(writer.Save());
    m_platform = Site::OpenSite(m_dir.path().toStdString());
    QVERIFY(m_platform);
    m_serve.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    m_serve.start(Cwsite(), {u"serve"_s, m_dir.path(), u"--quiet"_s});
    QVERIFY(m_serve.waitForStarted());
    QTRY_COMPARE_WITH_TIMEOUT(Call(u"UPDATE_UPDATE"_s), Err::Success, 10000);

    // One site, one service.
    QProcess second;
    second.start(Cwsite(), {u"serve"_s, m_dir.path(), u"--quiet"_s});
    QVERIFY(second.waitForFinished(10000));
    QCOMPARE(second.exitCode(), 1);
    QVERIFY(QString::fromUtf8(second.readAllStandardError()).contains(u"already"_s));
}

void TestCwsiteServe::cleanupTestCase() {
    if (m_serve.state() == QProcess::NotRunning)
        return;
    m_serve.terminate();
    QVERIFY(m_serve.waitForFinished(10000));
    QCOMPARE(m_serve.exitCode(), 0);
    QVERIFY(QDir(m_dir.path() + u"/run"_s).entryList(QDir::Files | QDir::System).isEmpty());
}

DWORD TestCwsiteServe::Call(const QString& request, QString* reply) {
    const QByteArray bytes = request.toLatin1();
    char buffer[2000];
    DWORD read = 0;
    const DWORD result = m_platform->pipe->Call("\\\\RAS1\\pipe\\cwsvcpipe", bytes.constData(),
                                                DWORD(bytes.size()), buffer, sizeof buffer, &read, 10000);
    if (reply)
        *reply = QString::fromLatin1(buffer, read);
    return result;
}

void TestCwsiteServe::sessionThroughThePipe() {
    QString reply;
    QCOMPARE(Call(u"0,COM1,CORP\\alice,CONSOLE,0,0,0"_s, &reply), Err::Success);
    QCOMPARE(reply, u"0,Session accepted"_s);
    QCOMPARE(
        Call(u"1,COM1,CORP\\alice,CONSOLE,"_s + N(QDateTime::currentSecsSinceEpoch()) + u",0,0"_s, &reply),
        Err::Success);
    QCOMPARE(reply, u"0,Session disconnected"_s);
    QStringList logged;
    for (const LogEvent& e : ReadEvents(m_dir.path() + u"/hosts/RAS1/shares/CW_NT_DB/LogData"_s))
        logged.append(e.server + u'\\' + e.port + u' ' + e.kind + u' ' + e.account);
    QCOMPARE(logged, (QStringList{u"RAS1\\COM1 C CORP\\alice"_s, u"RAS1\\COM1 H CORP\\alice"_s}));
}

void TestCwsiteServe::brokenFraming() {
    // A length no request has: the service hangs up without an answer.
    QLocalSocket raw;
    raw.connectToServer(QString::fromStdString(
        Site::SiteDirectory(m_dir.path().toStdString()).PipeSocket("RAS1", "cwsvcpipe").string()));
    QVERIFY(raw.waitForConnected(3000));
    raw.write(QByteArray("\xf0\xff\xff\xff"
                         "0,COM1",
                         10));
    QVERIFY(raw.waitForDisconnected(3000));
    QVERIFY(raw.readAll().isEmpty());
    QCOMPARE(Call(u"UPDATE_UPDATE"_s), Err::Success);
}

void TestCwsiteServe::stoppedServiceClosesItsPipe() {
    SC_HANDLE manager = nullptr, service = nullptr;
    QCOMPARE(m_platform->services->OpenManager("RAS1", ScAccess::ManagerAllAccess, &manager), Err::Success);
    QCOMPARE(m_platform->services->Open(manager, "Callwarden", ScAccess::ServiceAllAccess, &service),
             Err::Success);
    ServiceStatus status;
    QCOMPARE(m_platform->services->Control(service, ServiceControlCode::Stop, &status), Err::Success);
    QTRY_COMPARE_WITH_TIMEOUT(Call(u"UPDATE_UPDATE"_s), Err::FileNotFound, 5000);
    QTRY_COMPARE(IniValue(m_dir.path() + u"/run/RAS1.status"_s, u"Service"_s, u"State"_s), u"Stopped"_s);
    auto state = [&] {
        m_platform->services->QueryStatus(service, &status);
        return status.currentState;
    };
    QTRY_COMPARE_WITH_TIMEOUT(state(), ServiceState::Stopped, 5000); // after the stop phase
    QCOMPARE(m_platform->services->Start(service), Err::Success);
    QTRY_COMPARE_WITH_TIMEOUT(Call(u"UPDATE_UPDATE"_s), Err::Success, 5000);
    m_platform->services->Close(service);
    m_platform->services->Close(manager);
}

QTEST_GUILESS_MAIN(TestCwsiteServe)
#include "tst_cwsiteserve.moc"
