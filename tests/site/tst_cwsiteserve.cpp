// cwsite serve, spoken to exactly as the console speaks to the service: through
// the site's service pipe port.

#include "site/cwsitetest.h"

#include "platform/site/site.h"
#include "platform/site/sitedirectory.h"
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

const std::string kPipe = "\\\\RAS1\\pipe\\cwsvcpipe";

void WriteSite(const QString& root, qint64 now) {
    CSiteWriter w(root);
    w.SetLocalComputer(u"CONSOLE"_s);
    w.AddHost(u"CONSOLE"_s);
    w.AddMonitoredServer(u"CONSOLE"_s, u"RAS1"_s);
    CSiteWriter::HostOptions ras;
    ras.rasKind = u"RAS"_s;
    w.AddHost(u"RAS1"_s, ras);
    w.SetServiceDword(u"RAS1"_s, u"Master"_s, 1);
    w.SetServiceString(u"RAS1"_s, u"MasterShare"_s, u"\\\\RAS1\\CW_NT_DB"_s);
    w.SetServiceDword(u"RAS1"_s, u"IdleTimer"_s, 15);
    w.SetServiceDword(u"RAS1"_s, u"StaticIP"_s, 1);
    w.SetServiceString(u"RAS1"_s, u"Version"_s, u"3.2.1"_s);
    w.SetService(u"RAS1"_s, u"Callwarden"_s, 4, 0, 500);
    w.SetService(u"RAS1"_s, u"RemoteAccess"_s, 4);
    for (int i = 1; i <= 6; ++i) {
        Site::PortRecord port;
        port.name = "COM" + std::to_string(i);
        port.deviceName = "Test modem";
        port.lineSpeed = 33600;
        w.AddPort(u"RAS1"_s, port);
    }
    w.AddHost(u"DC1"_s);
    w.AddDomain(u"CORP"_s, u"DC1"_s);
    w.AddComputer(u"CORP"_s, u"RAS1"_s, true);
    const QStringList users = {u"alice"_s, u"bob"_s,   u"carol"_s, u"dave"_s, u"erin"_s,
                               u"frank"_s, u"grace"_s, u"henry"_s, u"ivan"_s};
    for (const QString& user : users)
        w.AddUser(u"CORP"_s, user);
    w.AddGroup(u"CORP"_s, u"Domain Users"_s, users);
    w.AddGroup(u"CORP"_s, u"Dialers"_s, {u"alice"_s, u"bob"_s});

    const QString usr =
        u"[CORP\\alice]\r\nNoDuplicate=1\r\n"
        u"[CORP\\bob]\r\nNoDuplicate=0\r\n"
        u"[CORP\\carol]\r\nNoDuplicate=1\r\n"
        u"[CORP\\frank]\r\nExpiryTime=1\r\nFirstConnection=%1\r\n"
        u"[CORP\\grace]\r\nMaxTotalTime=100\r\nTotalTime=100\r\n"
        u"[CORP\\henry]\r\nPeriodType=1\r\nPeriodMax=60\r\nPeriodUsage=60\r\nLastConnection=%2\r\n"
        u"[CORP\\ivan]\r\nPeriodType=1\r\nPeriodMax=60\r\nPeriodUsage=60\r\nLastConnection=%3\r\n"_s
            .arg(now - 2 * 86400)
            .arg(now)
            .arg(now - 3 * 86400);
    w.WriteShareFile(u"RAS1"_s, u"CW_NT_DB"_s, u"callward.usr"_s, usr.toLatin1());
    const QString hw =
        u"[RAS1\\COM2]\r\nAllowedGroups=\"Dialers;\"\r\n"
        u"[RAS1\\COM4]\r\nAllowedGroups=\"LAB\\;\"\r\n"
        u"[RAS1\\COM5]\r\nMaxSessionTime=1\r\n"
        u"[RAS1\\COM6]\r\nAllowedGroups=\"CORP\\;\"\r\n"
        u"[Default]\r\nMaxSessionTime=5400\r\nMaxTotalTime=0\r\nPeriodMax=0\r\nPeriodType=0\r\n"
        u"StaticIP=0\r\nExpiryTime=0\r\nNoDuplicate=1\r\nAssignDefault=0\r\n"
        u"[Greetings]\r\nRuleMask=0\r\n"_s;
    w.WriteShareFile(u"RAS1"_s, u"CW_NT_DB"_s, u"callward.hw"_s, hw.toLatin1());
    QVERIFY(w.Save());
}

} // namespace

class TestCwsiteServe : public QObject {
    Q_OBJECT

private slots:
    void initTestCase();
    void cleanupTestCase();
    void secondServeIsRefused();
    void accountWithoutProfileIsRefused();
    void defaultProfileForAccountWithoutOne();
    void decisions_data();
    void decisions();
    void secondSessionOfAnAccount();
    void updateMakesTheServiceReread();
    void portDisconnectedByTheConsole();
    void portTimeLimitForcesOff();
    void garbageOnThePipe();
    void stoppedServiceClosesItsPipe();
    void demoSiteWithTraffic();

private:
    DWORD Call(const QString& request, QString* reply = nullptr);
    // Events of today's log for a port whose value is value.
    int Count(const QString& port, const QString& value) const;
    QString Share() const { return m_root + u"/hosts/RAS1/shares/CW_NT_DB"_s; }
    QString Status(const QString& key) const {
        return IniValue(m_root + u"/run/RAS1.status"_s, u"Service"_s, key);
    }
    Site::PortRecord Port(const QString& name) const;
    void EditPort(const QString& name, const std::function<void(Site::PortRecord&)>& change);

    QTemporaryDir m_dir;
    QString m_root;
    QProcess m_serve;
    std::unique_ptr<Platform> m_platform;
};

void TestCwsiteServe::initTestCase() {
    QVERIFY(m_dir.isValid());
    m_root = m_dir.path() + u"/site"_s;
    WriteSite(m_root, QDateTime::currentSecsSinceEpoch());
    m_platform = Site::OpenSite(m_root.toStdString());
    QVERIFY(m_platform);
    m_serve.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    m_serve.start(Cwsite(), {u"serve"_s, m_root, u"--quiet"_s});
    QVERIFY(m_serve.waitForStarted());
    QTRY_COMPARE_WITH_TIMEOUT(Call(u"UPDATE_UPDATE"_s), Err::Success, 10000);
}

void TestCwsiteServe::cleanupTestCase() {
    if (m_serve.state() == QProcess::NotRunning)
        return;
    m_serve.terminate();
    QVERIFY(m_serve.waitForFinished(10000));
    QCOMPARE(m_serve.exitCode(), 0);
    QVERIFY(!QFile::exists(m_root + u"/run/RAS1.cwsvcpipe"_s));
}

DWORD TestCwsiteServe::Call(const QString& request, QString* reply) {
    const QByteArray bytes = request.toLatin1();
    char buffer[2000];
    DWORD read = 0;
    const DWORD result = m_platform->pipe->Call(kPipe, bytes.constData(), DWORD(bytes.size()), buffer,
                                                sizeof buffer, &read, 10000);
    if (reply)
        *reply = QString::fromLatin1(buffer, read);
    return result;
}

int TestCwsiteServe::Count(const QString& port, const QString& value) const {
    int count = 0;
    for (const LogEvent& e : ReadEvents(Share() + u"/LogData"_s))
        count += e.server == u"RAS1"_s && e.port == port && e.value == value ? 1 : 0;
    return count;
}

Site::PortRecord TestCwsiteServe::Port(const QString& name) const {
    Site::SiteDirectory site(m_root.toStdString());
    for (const Site::PortRecord& port : site.ReadPorts(*site.FindHost("RAS1")))
        if (port.name == name.toStdString())
            return port;
    return {};
}

void TestCwsiteServe::EditPort(const QString& name, const std::function<void(Site::PortRecord&)>& change) {
    Site::SiteDirectory site(m_root.toStdString());
    QVERIFY(site.EditPorts(*site.FindHost("RAS1"), [&](std::vector<Site::PortRecord>& ports) {
        for (Site::PortRecord& port : ports)
            if (port.name == name.toStdString())
                change(port);
        return true;
    }));
}

void TestCwsiteServe::secondServeIsRefused() {
    QProcess second;
    second.start(Cwsite(), {u"serve"_s, m_root, u"--quiet"_s});
    QVERIFY(second.waitForFinished(10000));
    QCOMPARE(second.exitCode(), 1);
    QVERIFY(QString::fromUtf8(second.readAllStandardError()).contains(u"already"_s));
    QCOMPARE(Call(u"UPDATE_UPDATE"_s), Err::Success);
}

void TestCwsiteServe::accountWithoutProfileIsRefused() {
    QString reply;
    QCOMPARE(Call(u"0,COM1,CORP\\dave,CONSOLE,0,0,0"_s, &reply), Err::Success);
    QCOMPARE(reply, u"1,User not defined"_s);
    QCOMPARE(Count(u"COM1"_s, u"N_CORP\\dave?1"_s), 1);
    QVERIFY(!Port(u"COM1"_s).Connected());
    QVERIFY(IniValue(Share() + u"/callward.usr"_s, u"CORP\\dave"_s, u"TotalDenieds"_s).isEmpty());
}

void TestCwsiteServe::defaultProfileForAccountWithoutOne() {
    QVERIFY(Site::SiteDirectory(m_root.toStdString())
                .Files()
                .WriteString(Fs(Share() + u"/callward.hw"_s), "Default", "AssignDefault", "1"));
    const qint64 before = QDateTime::currentSecsSinceEpoch();
    QString reply;
    QCOMPARE(Call(u"0,COM1,CORP\\erin,WS-ERIN,0,0,0"_s, &reply), Err::Success);
    QCOMPARE(reply, u"0,Session accepted"_s);
    const QString usr = Share() + u"/callward.usr"_s;
    QCOMPARE(IniValue(usr, u"CORP\\erin"_s, u"MaxSessionTime"_s), u"5400"_s);
    QCOMPARE(IniValue(usr, u"CORP\\erin"_s, u"NoDuplicate"_s), u"1"_s);
    QCOMPARE(IniValue(usr, u"CORP\\erin"_s, u"TotalConnects"_s), u"1"_s);
    const qint64 first = IniValue(usr, u"CORP\\erin"_s, u"FirstConnection"_s).toLongLong();
    QVERIFY(first >= before && first <= QDateTime::currentSecsSinceEpoch() + 1);
    const Site::PortRecord port = Port(u"COM1"_s);
    QCOMPARE(port.user, std::string("erin"));
    QCOMPARE(port.domain, std::string("CORP"));
    QCOMPARE(port.computer, std::string("WS-ERIN"));
    QVERIFY(Site::PackAddress(port.ip) != 0);
    QCOMPARE(Count(u"COM1"_s, u"C_CORP\\erin"_s), 1);

    // The hang-up ends the session and counts it.
    QCOMPARE(Call(u"1,COM1,CORP\\erin,WS-ERIN,%1,0,0"_s.arg(QDateTime::currentSecsSinceEpoch()), &reply),
             Err::Success);
    QCOMPARE(reply, u"0,Session disconnected"_s);
    QVERIFY(!Port(u"COM1"_s).Connected());
    const qint64 lasted = IniValue(usr, u"CORP\\erin"_s, u"Lasted"_s).toLongLong();
    QCOMPARE(IniValue(usr, u"CORP\\erin"_s, u"TotalTime"_s).toLongLong(), lasted);
    QCOMPARE(Count(u"COM1"_s, u"H%1_CORP\\erin?%2"_s.arg(lasted).arg(Site::PackAddress(port.ip))), 1);
    QCOMPARE(Call(u"1,COM1,CORP\\erin,WS-ERIN,0,0,0"_s, &reply), Err::Success);
    QCOMPARE(reply, u"1,No session on port"_s);
}

void TestCwsiteServe::decisions_data() {
    QTest::addColumn<QString>("account");
    QTest::addColumn<QString>("port");
    QTest::addColumn<QString>("reply");
    QTest::addColumn<QString>("logged");

    QTest::newRow("unknown port") << u"CORP\\alice"_s << u"COM9"_s << u"1,Unknown port"_s << QString();
    QTest::newRow("not in an allowed group")
        << u"CORP\\carol"_s << u"COM2"_s << u"1,Access denied on Port"_s << u"N_CORP\\carol?5"_s;
    QTest::newRow("member of an allowed group")
        << u"CORP\\alice"_s << u"COM2"_s << u"0,Session accepted"_s << u"C_CORP\\alice"_s;
    QTest::newRow("account of an allowed domain")
        << u"CORP\\carol"_s << u"COM6"_s << u"0,Session accepted"_s << u"C_CORP\\carol"_s;
    QTest::newRow("account of another domain")
        << u"CORP\\carol"_s << u"COM4"_s << u"1,Access denied on Port"_s << u"N_CORP\\carol?5"_s;
    QTest::newRow("expired") << u"CORP\\frank"_s << u"COM1"_s << u"1,User Account expired"_s
                             << u"N_CORP\\frank?2"_s;
    QTest::newRow("total time used") << u"CORP\\grace"_s << u"COM1"_s << u"1,User Total Time Reached"_s
                                     << u"N_CORP\\grace?3"_s;
    QTest::newRow("period used") << u"CORP\\henry"_s << u"COM1"_s << u"1,No more time this period"_s
                                 << u"N_CORP\\henry?6"_s;
    QTest::newRow("a new period began")
        << u"CORP\\ivan"_s << u"COM1"_s << u"0,Session accepted"_s << u"C_CORP\\ivan"_s;
    QTest::newRow("account named in other case")
        << u"corp\\ALICE"_s << u"COM3"_s << u"0,Session accepted"_s << u"C_CORP\\alice"_s;
}

void TestCwsiteServe::decisions() {
    QFETCH(QString, account);
    QFETCH(QString, port);
    QFETCH(QString, reply);
    QFETCH(QString, logged);
    const int before = logged.isEmpty() ? 0 : Count(port, logged);
    const QString usr = Share() + u"/callward.usr"_s;
    const QString section = logged.isEmpty() ? QString() : logged.mid(2).section(u'?', 0, 0);
    const qint64 denials = IniValue(usr, section, u"TotalDenieds"_s).toLongLong();
    QString answer;
    QCOMPARE(Call(u"0,%1,%2,CONSOLE,0,0,0"_s.arg(port, account), &answer), Err::Success);
    QCOMPARE(answer, reply);
    if (!logged.isEmpty())
        QCOMPARE(Count(port, logged), before + 1);
    if (reply.startsWith(u'1') && !logged.isEmpty())
        QCOMPARE(IniValue(usr, section, u"TotalDenieds"_s).toLongLong(), denials + 1);
    if (reply.startsWith(u'0')) {
        QCOMPARE(Port(port).user, account.section(u'\\', 1).toStdString());
        if (section == u"CORP\\ivan"_s)
            QCOMPARE(IniValue(usr, section, u"PeriodUsage"_s), u"0"_s);
        QCOMPARE(Call(u"1,%1,%2,CONSOLE,0,0,0"_s.arg(port, account), &answer), Err::Success);
        QCOMPARE(answer, u"0,Session disconnected"_s);
    }
}

void TestCwsiteServe::secondSessionOfAnAccount() {
    QString reply;
    QCOMPARE(Call(u"0,COM1,CORP\\alice,CONSOLE,0,0,0"_s, &reply), Err::Success);
    QCOMPARE(reply, u"0,Session accepted"_s);
    QCOMPARE(Call(u"0,COM3,CORP\\alice,CONSOLE,0,0,0"_s, &reply), Err::Success);
    QCOMPARE(reply, u"1,User already connected"_s);
    QCOMPARE(Count(u"COM3"_s, u"N_CORP\\alice?4"_s), 1);
    // An occupied port takes nobody else.
    QCOMPARE(Call(u"0,COM1,CORP\\bob,CONSOLE,0,0,0"_s, &reply), Err::Success);
    QVERIFY(reply.startsWith(u"1,"_s));
    QCOMPARE(Port(u"COM1"_s).user, std::string("alice"));
    // bob may hold two sessions at once.
    QCOMPARE(Call(u"0,COM3,CORP\\bob,CONSOLE,0,0,0"_s, &reply), Err::Success);
    QCOMPARE(reply, u"0,Session accepted"_s);
    QCOMPARE(Call(u"0,COM6,CORP\\bob,CONSOLE,0,0,0"_s, &reply), Err::Success);
    QCOMPARE(reply, u"0,Session accepted"_s);
    for (const QString& port : {u"COM1"_s, u"COM3"_s, u"COM6"_s}) {
        QCOMPARE(Call(u"1,%1,CORP\\x,CONSOLE,0,0,0"_s.arg(port), &reply), Err::Success);
        QCOMPARE(reply, u"0,Session disconnected"_s);
    }
}

void TestCwsiteServe::updateMakesTheServiceReread() {
    const int rereads = Status(u"Rereads"_s).toInt();
    QCOMPARE(Status(u"IdleTimer"_s), u"15"_s);
    HKEY remote = nullptr, key = nullptr;
    QCOMPARE(m_platform->registry->Connect("\\\\RAS1", Hkey::LocalMachine, &remote), 0);
    QCOMPARE(
        m_platform->registry->OpenKey(remote, "Software\\Osterline Technologies\\Callwarden\\Service", &key),
        0);
    const DWORD minutes = 7;
    QCOMPARE(m_platform->registry->SetValue(key, "IdleTimer", RegType::Dword,
                                            reinterpret_cast<const BYTE*>(&minutes), 4),
             0);
    m_platform->registry->CloseKey(key);
    m_platform->registry->CloseKey(remote);
    QCOMPARE(Status(u"IdleTimer"_s), u"15"_s); // not before it is told
    QString reply;
    QCOMPARE(Call(u"UPDATE_UPDATE"_s, &reply), Err::Success);
    QCOMPARE(reply, u"0"_s);
    QTRY_COMPARE(Status(u"Rereads"_s).toInt(), rereads + 1);
    QCOMPARE(Status(u"IdleTimer"_s), u"7"_s);
}

void TestCwsiteServe::portDisconnectedByTheConsole() {
    auto hangups = [this] {
        int count = 0;
        for (const LogEvent& e : ReadEvents(Share() + u"/LogData"_s))
            count += e.port == u"COM3"_s && e.kind == u'H' && e.account == u"CORP\\bob"_s && e.reason == 255
                         ? 1
                         : 0;
        return count;
    };
    const int before = hangups();
    QString reply;
    QCOMPARE(Call(u"0,COM3,CORP\\bob,CONSOLE,0,0,0"_s, &reply), Err::Success);
    QCOMPARE(reply, u"0,Session accepted"_s);
    QTRY_COMPARE(Status(u"Sessions"_s), u"1"_s);
    // What the RAS library does when the console disconnects the port.
    EditPort(u"COM3"_s, [](Site::PortRecord& port) { port.EndSession(); });
    QTRY_COMPARE_WITH_TIMEOUT(Status(u"Sessions"_s), u"0"_s, 5000);
    QCOMPARE(hangups(), before + 1);
}

void TestCwsiteServe::portTimeLimitForcesOff() {
    QString reply;
    QCOMPARE(Call(u"0,COM5,CORP\\bob,CONSOLE,0,0,0"_s, &reply), Err::Success);
    QCOMPARE(reply, u"0,Session accepted"_s);
    // The port is freed first, the session logged right after.
    QList<LogEvent> forced;
    auto ended = [&] {
        forced.clear();
        for (const LogEvent& e : ReadEvents(Share() + u"/LogData"_s))
            if (e.port == u"COM5"_s && e.kind == u'H')
                forced.append(e);
        return !forced.isEmpty();
    };
    QTRY_VERIFY_WITH_TIMEOUT(ended(), 5000);
    QVERIFY(!Port(u"COM5"_s).Connected());
    QCOMPARE(forced.size(), 1);
    QCOMPARE(forced[0].reason, 1); // "Port Max Time Reached"
    QVERIFY(forced[0].longForm);
    QVERIFY(forced[0].lasted >= 1);
}

void TestCwsiteServe::garbageOnThePipe() {
    QString reply;
    QCOMPARE(Call(QString::fromLatin1("\x01\x02\xff\xfe garbage, and more,,,", 24), &reply), Err::Success);
    QCOMPARE(reply, u"1,Bad request"_s);
    QCOMPARE(Call(QString(), &reply), Err::Success);
    QCOMPARE(reply, u"1,Bad request"_s);
    QCOMPARE(Call(u"0,COM1,nodomain,CONSOLE,0,0,0"_s, &reply), Err::Success);
    QCOMPARE(reply, u"1,Bad request"_s);

    const QString socket = QString::fromStdString(
        Site::SiteDirectory(m_root.toStdString()).PipeSocket("RAS1", "cwsvcpipe").string());
    {
        // A length no request has: the service hangs up without an answer.
        QLocalSocket raw;
        raw.connectToServer(socket);
        QVERIFY(raw.waitForConnected(3000));
        raw.write(QByteArray("\xf0\xff\xff\xff"
                             "0,COM1",
                             10));
        QVERIFY(raw.waitForDisconnected(3000));
        QVERIFY(raw.readAll().isEmpty());
    }
    {
        // Half a length, then gone.
        QLocalSocket raw;
        raw.connectToServer(socket);
        QVERIFY(raw.waitForConnected(3000));
        raw.write(QByteArray("\x05\x00", 2));
        raw.flush();
    }
    QCOMPARE(Call(u"UPDATE_UPDATE"_s, &reply), Err::Success);
    QCOMPARE(reply, u"0"_s);
}

void TestCwsiteServe::stoppedServiceClosesItsPipe() {
    SC_HANDLE manager = nullptr, service = nullptr;
    QCOMPARE(m_platform->services->OpenManager("RAS1", ScAccess::ManagerAllAccess, &manager), Err::Success);
    QCOMPARE(m_platform->services->Open(manager, "Callwarden", ScAccess::ServiceAllAccess, &service),
             Err::Success);
    ServiceStatus status;
    QCOMPARE(m_platform->services->Control(service, ServiceControlCode::Stop, &status), Err::Success);
    QTRY_COMPARE_WITH_TIMEOUT(Call(u"UPDATE_UPDATE"_s), Err::FileNotFound, 5000);
    QTRY_COMPARE(Status(u"State"_s), u"Stopped"_s);
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

void TestCwsiteServe::demoSiteWithTraffic() {
    QTemporaryDir dir;
    const QString root = dir.path() + u"/demo"_s;
    QProcess init;
    init.start(Cwsite(), {u"init"_s, root});
    QVERIFY(init.waitForFinished(30000));
    QCOMPARE(init.exitCode(), 0);
    const QString share = root + u"/hosts/HQRAS01/shares/CW_NT_DB"_s;
    const qsizetype before = ReadEvents(share + u"/LogData"_s).size();

    QProcess serve;
    serve.start(Cwsite(), {u"serve"_s, root, u"--rate"_s, u"600"_s, u"--quiet"_s});
    QVERIFY(serve.waitForStarted());
    QTRY_VERIFY_WITH_TIMEOUT(ReadEvents(share + u"/LogData"_s).size() >= before + 20, 20000);
    serve.terminate();
    QVERIFY(serve.waitForFinished(10000));
    QCOMPARE(serve.exitCode(), 0);
    QVERIFY(QDir(root + u"/run"_s).entryList(QDir::Files | QDir::System).isEmpty());

    // What the service logged and what it counted still agree.
    const QStringList mismatches = StatisticsMismatches(share);
    QVERIFY2(mismatches.isEmpty(), qPrintable(mismatches.mid(0, 5).join(u'\n')));
}

QTEST_GUILESS_MAIN(TestCwsiteServe)
#include "tst_cwsiteserve.moc"
