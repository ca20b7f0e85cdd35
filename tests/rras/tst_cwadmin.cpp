// _CWADMIN over a site, bound by name through the console's entry point types.

#include "ini/inifile.h"
#include "platform/routingras.h"
#include "platform/site/sitedirectory.h"
#include "rras/testsite.h"

#include <QTest>

#include <barrier>
#include <cstring>
#include <memory>
#include <thread>

using namespace Qt::StringLiterals;
using namespace OCL;

namespace {

constexpr DWORD kStart1 = 940000000;
constexpr DWORD kStart3 = 940000100;
constexpr DWORD kStartPptp = 940000200;

const QString kLongPort = QString(70, u'P');
const QString kLongUser = QString(90, u'u');

void AddRouter(CTestSite& site, const QString& name, const QStringList& hostKeys,
               const QString& runningService) {
    site.AddHost(name, QStringList{u"RasKind=RRAS"_s} + hostKeys);
    for (const QString& service : {u"RemoteAccess"_s, u"Router"_s})
        site.AddService(name, service, {service == runningService ? u"State=4"_s : u"State=1"_s});
}

void BuildSite(CTestSite& site) {
    AddRouter(site, u"RTR1"_s, {}, u"RemoteAccess"_s);
    site.AddPort(u"RTR1"_s, u"VPN1-1"_s,
                 {u"DeviceType=vpn"_s,
                  u"DeviceName=WAN Miniport (PPTP)"_s,
                  u"MediaName=PPTP"_s,
                  u"LineSpeed=10000000"_s,
                  u"User=alice"_s,
                  u"Domain=OSTER"_s,
                  u"Computer=ALICEPC"_s,
                  u"Start=%1"_s.arg(kStart1),
                  u"IP=10.0.0.7"_s,
                  u"IPX=00000002:00A0C9445566"_s,
                  u"BytesXmit=600"_s,
                  u"BytesXmitCompressed=400"_s,
                  u"BytesXmitUncompressed=800"_s,
                  u"FramesXmit=11"_s,
                  u"BytesRcved=1000"_s,
                  u"BytesRcvedCompressed=300"_s,
                  u"BytesRcvedUncompressed=1200"_s,
                  u"FramesRcved=22"_s,
                  u"AlignErr=1"_s,
                  u"BufOverrunErr=2"_s,
                  u"CrcErr=3"_s,
                  u"FramingErr=4"_s,
                  u"HwOverrunErr=5"_s,
                  u"TimeoutErr=6"_s});
    site.AddPort(u"RTR1"_s, u"VPN1-2"_s,
                 {u"DeviceType=vpn"_s, u"DeviceName=WAN Miniport (PPTP)"_s, u"MediaName=PPTP"_s,
                  u"LineSpeed=10000000"_s, u"HardwareCondition=3"_s});
    site.AddPort(u"RTR1"_s, kLongPort,
                 {u"DeviceType=modem"_s, u"User="_s + kLongUser, u"Domain=OSTER"_s,
                  u"Start=%1"_s.arg(kStart3), u"IP=192.168.200.254"_s});

    AddRouter(site, u"RTR2"_s, {}, u"Router"_s);
    site.AddPort(u"RTR2"_s, u"PPTP1"_s,
                 {u"User=bob"_s, u"Domain=BRANCH"_s, u"Start=%1"_s.arg(kStartPptp), u"IP=172.16.5.1"_s});

    AddRouter(site, u"RTR3"_s, {}, QString());
    site.AddPort(u"RTR3"_s, u"VPN1"_s, {});
    site.AddHost(u"RASSRV"_s, {u"RasKind=RAS"_s});
    site.AddService(u"RASSRV"_s, u"RemoteAccess"_s, {u"State=4"_s});
    site.AddPort(u"RASSRV"_s, u"COM1"_s, {});
    AddRouter(site, u"GONE"_s, {u"Reachable=0"_s}, u"RemoteAccess"_s);
    AddRouter(site, u"LOCKED"_s, {u"AccessDenied=1"_s}, u"RemoteAccess"_s);
}

// One entry as RRAS_GetPortData gives it.
struct Entry {
    QByteArray name;
    QByteArray user;
    DWORD address = 0;
    DWORD start = 0;
};

} // namespace

class TestCwadmin : public QObject {
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanupTestCase();

    void initFollowsRouterAdmin_data();
    void initFollowsRouterAdmin();
    void numberOfPorts_data();
    void numberOfPorts();
    void portData_data();
    void portData();
    void portDataOutOfRange();
    void failedUpdateLeavesNothingToRead();
    void tablesArePerThread();
    void portViewConnected();
    void portViewIdle();
    void portViewErrors_data();
    void portViewErrors();
    void disconnect_data();
    void disconnect();
    void reattachSwitchesSite();

private:
    std::unique_ptr<CTestSite> FreshSite();
    QList<Entry> Snapshot(const char* server, bool* ok);
    QString ViewFile(const QString& name) const { return m_temp.filePath(name); }

    CTestSite m_site;
    QTemporaryDir m_temp;
    void* m_module = nullptr;
    Site::PFN_CwSiteAttach m_attach = nullptr;
    PFN_RRAS_Init m_init = nullptr;
    PFN_RRAS_GetNumberOfPorts m_numberOfPorts = nullptr;
    PFN_RRAS_UpdatePortData m_update = nullptr;
    PFN_RRAS_GetPortData m_portData = nullptr;
    PFN_RRAS_CreatePortViewData m_portView = nullptr;
    PFN_RRAS_DisconnectPort m_disconnect = nullptr;
};

void TestCwadmin::initTestCase() {
    QVERIFY(m_site.IsValid() && m_temp.isValid());
    BuildSite(m_site);
    QString error;
    m_module = LoadModule(u"_CWADMIN"_s, &error);
    QVERIFY2(m_module, qPrintable(error));
    m_attach = Resolve<Site::PFN_CwSiteAttach>(m_module, Site::kAttachSymbol);
    m_init = Resolve<PFN_RRAS_Init>(m_module, "RRAS_Init");
    m_numberOfPorts = Resolve<PFN_RRAS_GetNumberOfPorts>(m_module, "RRAS_GetNumberOfPorts");
    m_update = Resolve<PFN_RRAS_UpdatePortData>(m_module, "RRAS_UpdatePortData");
    m_portData = Resolve<PFN_RRAS_GetPortData>(m_module, "RRAS_GetPortData");
    m_portView = Resolve<PFN_RRAS_CreatePortViewData>(m_module, "RRAS_CreatePortViewData");
    m_disconnect = Resolve<PFN_RRAS_DisconnectPort>(m_module, "RRAS_DisconnectPort");
    QVERIFY(m_attach && m_init && m_numberOfPorts && m_update && m_portData && m_portView && m_disconnect);
}

void TestCwadmin::init() {
    m_attach(m_site.RootBytes().constData());
}

void TestCwadmin::cleanupTestCase() {
    if (m_module)
        dlclose(m_module);
}

std::unique_ptr<CTestSite> TestCwadmin::FreshSite() {
    auto site = std::make_unique<CTestSite>();
    BuildSite(*site);
    m_attach(site->RootBytes().constData());
    return site;
}

QList<Entry> TestCwadmin::Snapshot(const char* server, bool* ok) {
    DWORD n = 0xDEAD;
    *ok = m_update(server, &n) != 0;
    QList<Entry> entries;
    for (DWORD i = 0; i < n; ++i) {
        char name[RrasLen::PortName];
        char user[RrasLen::User];
        Entry e;
        if (!m_portData(i, name, user, &e.address, &e.start))
            break;
        e.name = name;
        e.user = user;
        entries << e;
    }
    return entries;
}

void TestCwadmin::initFollowsRouterAdmin_data() {
    QTest::addColumn<QString>("routerAdmin");
    QTest::addColumn<bool>("attached");
    QTest::addColumn<bool>("usable");

    QTest::newRow("not set") << QString() << true << true;
    QTest::newRow("1") << u"1"_s << true << true;
    QTest::newRow("0") << u"0"_s << true << false;
    QTest::newRow("no site") << u"1"_s << false << false;
}

void TestCwadmin::initFollowsRouterAdmin() {
    QFETCH(QString, routerAdmin);
    QFETCH(bool, attached);
    CTestSite site;
    if (!routerAdmin.isEmpty())
        site.SetSiteValue(u"RouterAdmin"_s, routerAdmin);
    AddRouter(site, u"RTR1"_s, {}, u"RemoteAccess"_s);
    m_attach(attached ? site.RootBytes().constData() : nullptr);
    QTEST(m_init() != 0, "usable");

    // Without the interface no router answers.
    DWORD ports = 0, busy = 0;
    QTEST(m_numberOfPorts("\\\\RTR1", &ports, &busy) != 0, "usable");
    QTEST(m_portView("\\\\RTR1", "VPN1", qPrintable(ViewFile(u"init.tmp"_s))) == Err::DevNotExist, "usable");
}

void TestCwadmin::numberOfPorts_data() {
    QTest::addColumn<QByteArray>("server");
    QTest::addColumn<bool>("ok");
    QTest::addColumn<uint>("ports");
    QTest::addColumn<uint>("busy");

    QTest::newRow("RemoteAccess running") << QByteArray("\\\\RTR1") << true << 3u << 2u;
    QTest::newRow("only Router running") << QByteArray("\\\\RTR2") << true << 1u << 1u;
    QTest::newRow("name in other case") << QByteArray("\\\\rtr2") << true << 1u << 1u;
    QTest::newRow("both stopped") << QByteArray("\\\\RTR3") << false << 0u << 0u;
    QTest::newRow("classic RAS host") << QByteArray("\\\\RASSRV") << false << 0u << 0u;
    QTest::newRow("this computer") << QByteArray("\\\\CONSOLE") << false << 0u << 0u;
    QTest::newRow("unreachable") << QByteArray("\\\\GONE") << false << 0u << 0u;
    QTest::newRow("access denied") << QByteArray("\\\\LOCKED") << false << 0u << 0u;
    QTest::newRow("unknown") << QByteArray("\\\\NOWHERE") << false << 0u << 0u;
}

void TestCwadmin::numberOfPorts() {
    QFETCH(QByteArray, server);
    DWORD ports = 0, busy = 0;
    QTEST(m_numberOfPorts(server.constData(), &ports, &busy) != 0, "ok");
    QTEST(uint(ports), "ports");
    QTEST(uint(busy), "busy");
}

void TestCwadmin::portData_data() {
    QTest::addColumn<int>("index");
    QTest::addColumn<QByteArray>("name");
    QTest::addColumn<QByteArray>("user");
    QTest::addColumn<uint>("address");
    QTest::addColumn<uint>("start");

    QTest::newRow("connected") << 0 << QByteArray("VPN1-1") << QByteArray("OSTER\\alice") << 0x0A000007u
                               << uint(kStart1);
    QTest::newRow("idle") << 1 << QByteArray("VPN1-2") << QByteArray() << 0u << 0u;
    // Name and user cut to the console's fields, address with a high first byte.
    QTest::newRow("long texts") << 2 << kLongPort.left(59).toLatin1()
                                << QString(u"OSTER\\"_s + kLongUser).left(79).toLatin1() << 0xC0A8C8FEu
                                << uint(kStart3);
}

void TestCwadmin::portData() {
    QFETCH(int, index);
    bool ok = false;
    const QList<Entry> entries = Snapshot("\\\\RTR1", &ok);
    QVERIFY(ok);
    QCOMPARE(entries.size(), 3);
    const Entry& e = entries[index];
    QTEST(e.name, "name");
    QTEST(e.user, "user");
    QTEST(uint(e.address), "address");
    QTEST(uint(e.start), "start");
}

void TestCwadmin::portDataOutOfRange() {
    DWORD n = 0;
    QVERIFY(m_update("\\\\RTR1", &n));
    QCOMPARE(n, DWORD(3));
    char name[RrasLen::PortName] = "untouched";
    char user[RrasLen::User] = "untouched";
    DWORD address = 0xABCD, start = 0x1234;
    QVERIFY(!m_portData(3, name, user, &address, &start));
    QVERIFY(!m_portData(0xFFFFFFFF, name, user, &address, &start));
    QCOMPARE(QByteArray(name), QByteArray("untouched"));
    QCOMPARE(QByteArray(user), QByteArray("untouched"));
    QCOMPARE(address, DWORD(0xABCD));
    QCOMPARE(start, DWORD(0x1234));
}

void TestCwadmin::failedUpdateLeavesNothingToRead() {
    DWORD n = 0;
    QVERIFY(m_update("\\\\RTR1", &n));
    QVERIFY(!m_update("\\\\GONE", &n));
    QCOMPARE(n, DWORD(0));
    char name[RrasLen::PortName];
    char user[RrasLen::User];
    DWORD address = 0, start = 0;
    QVERIFY(!m_portData(0, name, user, &address, &start));
}

void TestCwadmin::tablesArePerThread() {
    // Two fetchers on two servers: each refreshes, then both read after the other
    // has refreshed too, over several rounds.
    std::barrier sync(2);
    QList<Entry> seen[2];
    bool ok[2] = {false, false};
    auto fetcher = [&](int which, const char* server) {
        for (int round = 0; round < 20; ++round) {
            DWORD n = 0;
            ok[which] = m_update(server, &n) != 0;
            sync.arrive_and_wait();
            seen[which].clear();
            for (DWORD i = 0; i < n; ++i) {
                Entry e;
                char name[RrasLen::PortName];
                char user[RrasLen::User];
                if (m_portData(i, name, user, &e.address, &e.start)) {
                    e.name = name;
                    e.user = user;
                    seen[which] << e;
                }
            }
            sync.arrive_and_wait();
        }
    };
    std::thread a(fetcher, 0, "\\\\RTR1");
    std::thread b(fetcher, 1, "\\\\RTR2");
    a.join();
    b.join();

    QVERIFY(ok[0] && ok[1]);
    QCOMPARE(seen[0].size(), 3);
    QCOMPARE(seen[0][0].name, QByteArray("VPN1-1"));
    QCOMPARE(seen[1].size(), 1);
    QCOMPARE(seen[1][0].name, QByteArray("PPTP1"));
    QCOMPARE(seen[1][0].user, QByteArray("BRANCH\\bob"));
    QCOMPARE(seen[1][0].address, 0xAC100501u);
    QCOMPARE(seen[1][0].start, kStartPptp);

    // This thread refreshed nothing, so it has nothing to read.
    char name[RrasLen::PortName];
    char user[RrasLen::User];
    DWORD address = 0, start = 0;
    QVERIFY(!m_portData(0, name, user, &address, &start));
}

void TestCwadmin::portViewConnected() {
    const QString path = ViewFile(u"connected.tmp"_s);
    QFile seed(path);
    QVERIFY(seed.open(QIODevice::WriteOnly));
    seed.write("[Other]\r\nKeep=1\r\n[PS]\r\nUserName=*\r\nExtra=x\r\n");
    seed.close();

    QCOMPARE(m_portView("\\\\RTR1", "vpn1-1", QFile::encodeName(path).constData()), Err::Success);

    Ini::Files files;
    const auto doc = files.Read(QFile::encodeName(path).toStdString());
    QMap<QString, QString> values;
    for (std::string_view key : doc->KeyNames("PS"))
        values.insert(QString::fromLatin1(key.data(), qsizetype(key.size())),
                      QString::fromLatin1(std::string(*doc->Find("PS", key)).c_str()));
    const QMap<QString, QString> expected = {
        {u"UserName"_s, u"OSTER\\alice"_s},
        {u"Extra"_s, u"x"_s},
        {u"NetBIOS"_s, u"ALICEPC"_s},
        {u"DeviceName"_s, u"WAN Miniport (PPTP)"_s},
        {u"DeviceType"_s, u"vpn"_s},
        {u"MediaName"_s, u"PPTP"_s},
        {u"LineSpeed"_s, u"10000000"_s},
        {u"PortCond"_s, u"5"_s},
        {u"HWCond"_s, u"1"_s},
        {u"AlignErr"_s, u"1"_s},
        {u"BufOverErr"_s, u"2"_s},
        {u"CrcErr"_s, u"3"_s},
        {u"FramingErr"_s, u"4"_s},
        {u"HWOverErr"_s, u"5"_s},
        {u"TOErr"_s, u"6"_s},
        {u"BytesXmit"_s, u"600"_s},
        {u"BytesXcomp"_s, u"400"_s},
        {u"BytesXUncomp"_s, u"800"_s},
        {u"FramesXmit"_s, u"11"_s},
        {u"BytesRcved"_s, u"1000"_s},
        {u"BytesRcomp"_s, u"300"_s},
        {u"BytesRUncomp"_s, u"1200"_s},
        {u"FramesRcved"_s, u"22"_s},
        {u"NB"_s, u"ALICEPC"_s},
        {u"IP"_s, u"10.0.0.7"_s},
        {u"IPX"_s, u"00000002:00A0C9445566"_s},
        {u"Started"_s, QString::number(kStart1)},
    };
    QCOMPARE(values, expected);
    QCOMPARE(files.GetString(QFile::encodeName(path).toStdString(), "Other", "Keep", ""), std::string("1"));
}

void TestCwadmin::portViewIdle() {
    const QString path = ViewFile(u"idle.tmp"_s);
    const std::string file = QFile::encodeName(path).toStdString();
    Ini::Files files;
    QVERIFY(files.WriteString(file, "PS", "UserName", "*"));
    // An earlier session's keys are overwritten, not left behind.
    QVERIFY(files.WriteString(file, "PS", "IP", "10.9.9.9"));

    QCOMPARE(m_portView("\\\\RTR1", "VPN1-2", path.toLocal8Bit().constData()), RrasPortViewOk);
    QCOMPARE(files.GetString(file, "PS", "UserName", ""), std::string("*"));
    QCOMPARE(files.GetString(file, "PS", "PortCond", ""), std::string("3"));
    QCOMPARE(files.GetString(file, "PS", "HWCond", ""), std::string("3"));
    QCOMPARE(files.GetString(file, "PS", "Started", ""), std::string("0"));
    QCOMPARE(files.GetString(file, "PS", "IP", "missing"), std::string());
    QCOMPARE(files.GetString(file, "PS", "NetBIOS", "missing"), std::string());
    QCOMPARE(files.GetString(file, "PS", "DeviceType", ""), std::string("vpn"));
    QCOMPARE(files.KeyNames(file, "PS").size(), std::size_t(26));
}

void TestCwadmin::portViewErrors_data() {
    QTest::addColumn<QByteArray>("server");
    QTest::addColumn<QByteArray>("port");
    QTest::addColumn<QString>("file");
    QTest::addColumn<uint>("code");

    QTest::newRow("unreachable") << QByteArray("\\\\GONE") << QByteArray("VPN1") << u"e.tmp"_s
                                 << uint(Err::BadNetPath);
    QTest::newRow("unknown host") << QByteArray("\\\\NOWHERE") << QByteArray("VPN1") << u"e.tmp"_s
                                  << uint(Err::BadNetPath);
    QTest::newRow("access denied") << QByteArray("\\\\LOCKED") << QByteArray("VPN1") << u"e.tmp"_s
                                   << uint(Err::AccessDenied);
    QTest::newRow("classic RAS host")
        << QByteArray("\\\\RASSRV") << QByteArray("COM1") << u"e.tmp"_s << uint(Err::RpcServerUnavailable);
    QTest::newRow("router stopped") << QByteArray("\\\\RTR3") << QByteArray("VPN1") << u"e.tmp"_s
                                    << uint(Err::RpcServerUnavailable);
    QTest::newRow("unknown port") << QByteArray("\\\\RTR1") << QByteArray("VPN9") << u"e.tmp"_s
                                  << uint(Err::DevNotExist);
    QTest::newRow("missing folder") << QByteArray("\\\\RTR1") << QByteArray("VPN1-1")
                                    << u"no/such/dir/e.tmp"_s << uint(Err::CantWrite);
    QTest::newRow("path is a folder")
        << QByteArray("\\\\RTR1") << QByteArray("VPN1-1") << QString() << uint(Err::CantWrite);
}

void TestCwadmin::portViewErrors() {
    QFETCH(QByteArray, server);
    QFETCH(QByteArray, port);
    QFETCH(QString, file);
    const QString path = file.isEmpty() ? m_temp.path() : ViewFile(file);
    QFile::remove(ViewFile(u"e.tmp"_s));
    QTEST(uint(m_portView(server.constData(), port.constData(), QFile::encodeName(path).constData())),
          "code");
    // A failed call leaves no file behind for the console to misread.
    QVERIFY(!QFile::exists(ViewFile(u"e.tmp"_s)));
}

void TestCwadmin::disconnect_data() {
    QTest::addColumn<QByteArray>("server");
    QTest::addColumn<QByteArray>("port");
    QTest::addColumn<uint>("code");
    QTest::addColumn<int>("busyAfter");

    QTest::newRow("with backslashes") << QByteArray("\\\\RTR1") << QByteArray("VPN1-1") << 0u << 1;
    QTest::newRow("bare name") << QByteArray("RTR1") << QByteArray("VPN1-1") << 0u << 1;
    QTest::newRow("idle port") << QByteArray("RTR1") << QByteArray("VPN1-2") << 0u << 2;
    QTest::newRow("unknown port") << QByteArray("\\\\RTR1") << QByteArray("VPN9") << uint(Err::DevNotExist)
                                  << 2;
    QTest::newRow("unreachable") << QByteArray("GONE") << QByteArray("VPN1") << uint(Err::BadNetPath) << -1;
    QTest::newRow("classic RAS host")
        << QByteArray("RASSRV") << QByteArray("COM1") << uint(Err::RpcServerUnavailable) << -1;
}

void TestCwadmin::disconnect() {
    QFETCH(QByteArray, server);
    QFETCH(QByteArray, port);
    QFETCH(int, busyAfter);
    auto site = FreshSite();
    QTEST(uint(m_disconnect(server.constData(), port.constData())), "code");
    if (busyAfter < 0)
        return;
    DWORD ports = 0, busy = 0;
    QVERIFY(m_numberOfPorts("\\\\RTR1", &ports, &busy));
    QCOMPARE(int(busy), busyAfter);

    // The session is gone from the port table itself.
    Site::SiteDirectory directory(site->Root().toStdString());
    const auto table = directory.ReadPorts(*directory.FindHost("RTR1"));
    QCOMPARE(table.size(), std::size_t(3));
    QCOMPARE(table[0].Connected(), busyAfter == 2);
    QVERIFY(table[2].Connected());
}

void TestCwadmin::reattachSwitchesSite() {
    CTestSite other;
    AddRouter(other, u"RTR1"_s, {}, u"Router"_s);
    other.AddPort(u"RTR1"_s, u"L2TP1"_s, {u"User=zoe"_s, u"Domain=OTHER"_s, u"Start=77"_s});
    DWORD ports = 0, busy = 0;

    m_attach(other.RootBytes().constData());
    QVERIFY(m_numberOfPorts("\\\\RTR1", &ports, &busy));
    QCOMPARE(ports, DWORD(1));
    bool ok = false;
    const QList<Entry> entries = Snapshot("\\\\RTR1", &ok);
    QVERIFY(ok);
    QCOMPARE(entries.value(0).user, QByteArray("OTHER\\zoe"));
    QVERIFY(!m_numberOfPorts("\\\\RTR2", &ports, &busy));

    m_attach(m_site.RootBytes().constData());
    QVERIFY(m_numberOfPorts("\\\\RTR1", &ports, &busy));
    QCOMPARE(ports, DWORD(3));
}

QTEST_GUILESS_MAIN(TestCwadmin)
#include "tst_cwadmin.moc"
