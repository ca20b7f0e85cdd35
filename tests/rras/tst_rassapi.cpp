// The site's RAS administration library as the console binds it: by name, through
// the entry point types of the platform header.

#include "platform/rassapi.h"
#include "platform/site/sitedirectory.h"
#include "rras/testsite.h"

#include <QDateTime>
#include <QTest>

#include <memory>
#include <thread>
#include <vector>

using namespace Qt::StringLiterals;
using namespace OCL;

namespace {

constexpr DWORD kStart1 = 930000000;
constexpr DWORD kStart10 = 930000500;

QString Wide(const WCHAR* text) {
    return QString::fromUtf16(text);
}
std::u16string Server(const QString& name) {
    return QString(u"\\\\"_s + name).toStdU16String();
}
std::u16string WideText(const QString& text) {
    return text.toStdU16String();
}

void AddRasHost(CTestSite& site, const QString& name, const QStringList& hostKeys,
                const QStringList& service) {
    site.AddHost(name, QStringList{u"RasKind=RAS"_s} + hostKeys);
    if (!service.isEmpty())
        site.AddService(name, u"RemoteAccess"_s, service);
}

// A classic RAS server with two sessions and three idle ports, and the hosts that
// fail in each of the ways a call can fail.
void BuildSite(CTestSite& site) {
    AddRasHost(site, u"RASSRV"_s, {u"MajorVersion=4"_s}, {u"State=4"_s});
    site.AddPort(u"RASSRV"_s, u"COM1"_s,
                 {u"DeviceType=modem"_s,
                  u"DeviceName=Hayes Optima 288"_s,
                  u"MediaName=rasser"_s,
                  u"LineSpeed=28800"_s,
                  u"User=alice"_s,
                  u"Domain=OSTER"_s,
                  u"Computer=ALICEPC"_s,
                  u"Start=%1"_s.arg(kStart1),
                  u"IP=10.1.2.3"_s,
                  u"IPX=00000001:00A0C9112233"_s,
                  u"Flags=5"_s,
                  u"BytesXmit=600"_s,
                  u"BytesRcved=1200"_s,
                  u"FramesXmit=12"_s,
                  u"FramesRcved=20"_s,
                  u"BytesXmitUncompressed=800"_s,
                  u"BytesRcvedUncompressed=1500"_s,
                  u"BytesXmitCompressed=400"_s,
                  u"BytesRcvedCompressed=900"_s,
                  u"CrcErr=1"_s,
                  u"TimeoutErr=2"_s,
                  u"AlignErr=3"_s,
                  u"FramingErr=4"_s,
                  u"HwOverrunErr=5"_s,
                  u"BufOverrunErr=6"_s});
    site.AddPort(u"RASSRV"_s, u"COM2"_s,
                 {u"DeviceType=modem"_s, u"DeviceName=USR Sportster"_s, u"LineSpeed=33600"_s});
    // A session record left over without a start is no session.
    site.AddPort(u"RASSRV"_s, u"COM3"_s,
                 {u"DeviceType=modem"_s, u"User=carol"_s, u"Domain=OSTER"_s, u"Computer=CAROLPC"_s,
                  u"Start=0"_s, u"IP=10.1.2.9"_s, u"Flags=4"_s});
    site.AddPort(u"RASSRV"_s, u"ISDN1"_s,
                 {u"DeviceType=isdn"_s, u"DeviceName=ISDN adapter"_s, u"MediaName=isdn"_s,
                  u"LineSpeed=64000"_s, u"HardwareCondition=3"_s});
    site.AddPort(u"RASSRV"_s, u"COM10"_s,
                 {u"DeviceType=modem"_s, u"LineSpeed=14400"_s, u"User=bob"_s, u"Domain=BRANCH"_s,
                  u"Computer=BOBPC"_s, u"Start=%1"_s.arg(kStart10), u"IP=10.1.2.4"_s, u"Flags=0"_s,
                  u"BytesXmit=100"_s});

    site.AddHost(u"RTR"_s, {u"RasKind=RRAS"_s});
    site.AddService(u"RTR"_s, u"RemoteAccess"_s, {u"State=4"_s});
    site.AddPort(u"RTR"_s, u"VPN1"_s, {});
    AddRasHost(site, u"STOPPED"_s, {}, {u"State=1"_s});
    AddRasHost(site, u"NOSERVICE"_s, {}, {});
    const qint64 later = QDateTime::currentMSecsSinceEpoch() + 3600 * 1000;
    AddRasHost(site, u"STARTING"_s, {}, {u"State=2"_s, u"PendingUntil=%1"_s.arg(later)});
    AddRasHost(site, u"STARTED"_s, {u"MajorVersion=3"_s}, {u"State=2"_s, u"PendingUntil=1000"_s});
    site.AddPort(u"STARTED"_s, u"COM1"_s, {u"User=dave"_s, u"Domain=OSTER"_s, u"Start=5"_s});
    AddRasHost(site, u"GONE"_s, {u"Reachable=0"_s}, {u"State=4"_s});
    AddRasHost(site, u"LOCKED"_s, {u"AccessDenied=1"_s}, {u"State=4"_s});

    site.AddHost(u"PDC"_s);
    site.AddRasUser(u"PDC"_s, u"alice"_s, RasPriv::DialinPrivilege | RasPriv::NoCallback, QString());
    site.AddRasUser(u"PDC"_s, u"Bob"_s, RasPriv::DialinPrivilege | RasPriv::AdminSetCallback, u"555-1234"_s);
    site.AddHost(u"DOWNDC"_s, {u"Reachable=0"_s});
}

enum class Call {
    PortEnum,
    PortGetInfo,
    PortDisconnect,
    PortClearStatistics,
    ServerGetInfo,
    UserGetInfo,
    UserSetInfo
};

} // namespace

Q_DECLARE_METATYPE(Call)

class TestRassapi : public QObject {
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanupTestCase();

    void enumeratesPortsInTableOrder();
    void enumeratesPorts_data();
    void enumeratesPorts();
    void portInfo_data();
    void portInfo();
    void portInfoStatisticsAndParameters();
    void failureCodes_data();
    void failureCodes();
    void disconnectEndsSession();
    void clearStatisticsKeepsSession();
    void concurrentDisconnectsLoseNothing();
    void userPrivileges_data();
    void userPrivileges();
    void userEntriesOfDomainAccounts();
    void serverInfo();
    void errorStrings_data();
    void errorStrings();
    void partialLibraryLacksTwoNames();
    void attachmentChoosesSite();

private:
    // Attaches the library to a fresh copy of the site, for tests that change it.
    std::unique_ptr<CTestSite> FreshSite();
    QList<Site::PortRecord> PortTable(const CTestSite& site, const QString& host) const;

    CTestSite m_site;
    void* m_module = nullptr;
    Site::PFN_CwSiteAttach m_attach = nullptr;
    PFN_RasAdminPortEnum m_portEnum = nullptr;
    PFN_RasAdminFreeBuffer m_freeBuffer = nullptr;
    PFN_RasAdminGetErrorString m_errorString = nullptr;
    PFN_RasAdminPortGetInfo m_portGetInfo = nullptr;
    PFN_RasAdminPortDisconnect m_disconnect = nullptr;
    PFN_RasAdminPortClearStatistics m_clearStatistics = nullptr;
    PFN_RasAdminUserGetInfo m_userGetInfo = nullptr;
    PFN_RasAdminUserSetInfo m_userSetInfo = nullptr;
    PFN_RasAdminServerGetInfo m_serverGetInfo = nullptr;
};

void TestRassapi::initTestCase() {
    QVERIFY(m_site.IsValid());
    BuildSite(m_site);
    QString error;
    m_module = LoadModule(u"RASSAPI"_s, &error);
    QVERIFY2(m_module, qPrintable(error));
    m_attach = Resolve<Site::PFN_CwSiteAttach>(m_module, Site::kAttachSymbol);
    m_portEnum = Resolve<PFN_RasAdminPortEnum>(m_module, "RasAdminPortEnum");
    m_freeBuffer = Resolve<PFN_RasAdminFreeBuffer>(m_module, "RasAdminFreeBuffer");
    m_errorString = Resolve<PFN_RasAdminGetErrorString>(m_module, "RasAdminGetErrorString");
    m_portGetInfo = Resolve<PFN_RasAdminPortGetInfo>(m_module, "RasAdminPortGetInfo");
    m_disconnect = Resolve<PFN_RasAdminPortDisconnect>(m_module, "RasAdminPortDisconnect");
    m_clearStatistics = Resolve<PFN_RasAdminPortClearStatistics>(m_module, "RasAdminPortClearStatistics");
    m_userGetInfo = Resolve<PFN_RasAdminUserGetInfo>(m_module, "RasAdminUserGetInfo");
    m_userSetInfo = Resolve<PFN_RasAdminUserSetInfo>(m_module, "RasAdminUserSetInfo");
    m_serverGetInfo = Resolve<PFN_RasAdminServerGetInfo>(m_module, "RasAdminServerGetInfo");
    QVERIFY(m_attach && m_portEnum && m_freeBuffer && m_errorString && m_portGetInfo && m_disconnect &&
            m_clearStatistics && m_userGetInfo && m_userSetInfo && m_serverGetInfo);
}

void TestRassapi::init() {
    m_attach(m_site.RootBytes().constData());
}

void TestRassapi::cleanupTestCase() {
    if (m_module)
        dlclose(m_module);
}

std::unique_ptr<CTestSite> TestRassapi::FreshSite() {
    auto site = std::make_unique<CTestSite>();
    BuildSite(*site);
    m_attach(site->RootBytes().constData());
    return site;
}

QList<Site::PortRecord> TestRassapi::PortTable(const CTestSite& site, const QString& host) const {
    Site::SiteDirectory directory(site.Root().toStdString());
    auto info = directory.FindHost(host.toStdString());
    if (!info)
        return {};
    const auto ports = directory.ReadPorts(*info);
    return QList<Site::PortRecord>(ports.begin(), ports.end());
}

void TestRassapi::enumeratesPortsInTableOrder() {
    RAS_PORT_0* ports = nullptr;
    WORD count = 0;
    QCOMPARE(m_portEnum(Server(u"RASSRV"_s).c_str(), &ports, &count), Err::Success);
    QVERIFY(ports);
    QStringList names;
    for (WORD i = 0; i < count; ++i)
        names << Wide(ports[i].wszPortName);
    QCOMPARE(names, (QStringList{u"COM1"_s, u"COM2"_s, u"COM3"_s, u"ISDN1"_s, u"COM10"_s}));
    QCOMPARE(m_freeBuffer(ports), Err::Success);
}

void TestRassapi::enumeratesPorts_data() {
    QTest::addColumn<int>("index");
    QTest::addColumn<QString>("deviceType");
    QTest::addColumn<QString>("media");
    QTest::addColumn<QString>("user");
    QTest::addColumn<QString>("domain");
    QTest::addColumn<QString>("computer");
    QTest::addColumn<uint>("start");
    QTest::addColumn<uint>("flags");

    QTest::newRow("session with PPP")
        << 0 << u"modem"_s << u"rasser"_s << u"alice"_s << u"OSTER"_s << u"ALICEPC"_s << uint(kStart1)
        << uint(RasPortFlags::PppClient | RasPortFlags::MessengerPresent);
    QTest::newRow("idle") << 1 << u"modem"_s << QString() << QString() << QString() << QString() << 0u << 0u;
    QTest::newRow("user without start is idle")
        << 2 << u"modem"_s << QString() << QString() << QString() << QString() << 0u << 0u;
    QTest::newRow("idle isdn") << 3 << u"isdn"_s << u"isdn"_s << QString() << QString() << QString() << 0u
                               << 0u;
    QTest::newRow("session without PPP")
        << 4 << u"modem"_s << QString() << u"bob"_s << u"BRANCH"_s << u"BOBPC"_s << uint(kStart10) << 0u;
}

void TestRassapi::enumeratesPorts() {
    QFETCH(int, index);
    RAS_PORT_0* ports = nullptr;
    WORD count = 0;
    QCOMPARE(m_portEnum(Server(u"rassrv"_s).c_str(), &ports, &count), Err::Success);
    QCOMPARE(count, WORD(5));
    const RAS_PORT_0 port = ports[index];
    m_freeBuffer(ports);

    QTEST(Wide(port.wszDeviceType), "deviceType");
    QTEST(Wide(port.wszMediaName), "media");
    QTEST(Wide(port.wszUserName), "user");
    QTEST(Wide(port.wszLogonDomain), "domain");
    QTEST(Wide(port.wszComputer), "computer");
    QTEST(uint(port.dwStartSessionTime), "start");
    QTEST(uint(port.Flags), "flags");
    QCOMPARE(port.fAdvancedServer, BOOL(1));
}

void TestRassapi::portInfo_data() {
    QTest::addColumn<QString>("port");
    QTest::addColumn<uint>("line");
    QTest::addColumn<uint>("hardware");
    QTest::addColumn<uint>("speed");
    QTest::addColumn<QString>("user");
    QTest::addColumn<QString>("wksta");
    QTest::addColumn<QString>("ip");
    QTest::addColumn<QString>("ipx");

    QTest::newRow("connected") << u"COM1"_s << uint(RasLine::Authenticated) << uint(RasHardware::Operational)
                               << 28800u << u"alice"_s << u"ALICEPC"_s << u"10.1.2.3"_s
                               << u"00000001:00A0C9112233"_s;
    QTest::newRow("connected without IPX")
        << u"COM10"_s << uint(RasLine::Authenticated) << uint(RasHardware::Operational) << 14400u << u"bob"_s
        << u"BOBPC"_s << u"10.1.2.4"_s << QString();
    QTest::newRow("idle") << u"COM2"_s << uint(RasLine::Listening) << uint(RasHardware::Operational) << 33600u
                          << QString() << QString() << QString() << QString();
    QTest::newRow("stale session record")
        << u"COM3"_s << uint(RasLine::Listening) << uint(RasHardware::Operational) << 0u << QString()
        << QString() << QString() << QString();
    QTest::newRow("hardware failure, name in other case")
        << u"isdn1"_s << uint(RasLine::Listening) << uint(RasHardware::HardwareFailure) << 64000u << QString()
        << QString() << QString() << QString();
}

void TestRassapi::portInfo() {
    QFETCH(QString, port);
    QFETCH(QString, wksta);
    QFETCH(QString, ip);
    QFETCH(QString, ipx);
    RAS_PORT_1 info;
    RAS_PORT_STATISTICS stats;
    RAS_PARAMETERS* params = nullptr;
    QCOMPARE(m_portGetInfo(Server(u"RASSRV"_s).c_str(), WideText(port).c_str(), &info, &stats, &params),
             Err::Success);
    m_freeBuffer(params);

    QCOMPARE(Wide(info.rasport0.wszPortName).toUpper(), port.toUpper());
    QTEST(uint(info.LineCondition), "line");
    QTEST(uint(info.HardwareCondition), "hardware");
    QTEST(uint(info.LineSpeed), "speed");
    QTEST(Wide(info.rasport0.wszUserName), "user");

    const RAS_PPP_PROJECTION_RESULT& proj = info.ProjResult;
    QCOMPARE(proj.nbf.dwError == 0, !wksta.isEmpty());
    QCOMPARE(Wide(proj.nbf.wszWksta), wksta);
    QCOMPARE(proj.ip.dwError == 0, !ip.isEmpty());
    QCOMPARE(Wide(proj.ip.wszAddress), ip);
    QCOMPARE(proj.ipx.dwError == 0, !ipx.isEmpty());
    QCOMPARE(Wide(proj.ipx.wszAddress), ipx);
    QVERIFY(proj.at.dwError != 0);
}

void TestRassapi::portInfoStatisticsAndParameters() {
    RAS_PORT_1 info;
    RAS_PORT_STATISTICS stats;
    RAS_PARAMETERS* params = nullptr;
    QCOMPARE(m_portGetInfo(Server(u"RASSRV"_s).c_str(), u"COM1", &info, &stats, &params), Err::Success);

    const DWORD expected[] = {600, 1200, 12, 20, 1, 2, 3, 5, 4, 6, 800, 1500, 400, 900};
    const auto* values = reinterpret_cast<const DWORD*>(&stats);
    constexpr int half = int(std::size(expected));
    QCOMPARE(int(sizeof stats / sizeof(DWORD)), 2 * half);
    for (int i = 0; i < half; ++i) {
        QCOMPARE(values[i], expected[i]);
        QCOMPARE(values[half + i], expected[i]); // the port's totals
    }

    QVERIFY(params);
    QVERIFY(info.NumMediaParms > 0);
    QVERIFY(info.SizeMediaParms >= info.NumMediaParms * sizeof(RAS_PARAMETERS));
    QMap<QByteArray, QVariant> byKey;
    for (WORD i = 0; i < info.NumMediaParms; ++i) {
        const RAS_PARAMETERS& p = params[i];
        if (p.P_Type == ParamNumber) {
            byKey.insert(p.P_Key, uint(p.P_Value.Number));
        } else {
            const char* data = p.P_Value.String.Data;
            // String data lives inside the block that is freed as one.
            QVERIFY(data >= reinterpret_cast<const char*>(params) &&
                    data + p.P_Value.String.Length <=
                        reinterpret_cast<const char*>(params) + info.SizeMediaParms);
            byKey.insert(p.P_Key, QByteArray(data, int(p.P_Value.String.Length)));
        }
    }
    QCOMPARE(byKey.value("MAXCONNECTBPS"), QVariant(28800u));
    QCOMPARE(byKey.value("DEVICETYPE"), QVariant(QByteArray("modem")));
    QCOMPARE(byKey.value("DEVICENAME"), QVariant(QByteArray("Hayes Optima 288")));
    QCOMPARE(m_freeBuffer(params), Err::Success);
}

void TestRassapi::failureCodes_data() {
    QTest::addColumn<Call>("call");
    QTest::addColumn<QString>("server");
    QTest::addColumn<QString>("name");
    QTest::addColumn<uint>("code");

    const struct {
        const char* host;
        DWORD code;
    } hosts[] = {{"NOWHERE", Err::BadNetPath},
                 {"GONE", Err::BadNetPath},
                 {"LOCKED", Err::AccessDenied},
                 {"RTR", Err::RpcServerUnavailable},
                 {"CONSOLE", Err::RpcServerUnavailable},
                 {"STOPPED", Err::RpcServerUnavailable},
                 {"NOSERVICE", Err::RpcServerUnavailable},
                 {"STARTING", Err::RpcServerUnavailable},
                 {"STARTED", Err::Success}};
    const struct {
        const char* name;
        Call call;
    } calls[] = {{"PortEnum", Call::PortEnum},
                 {"PortGetInfo", Call::PortGetInfo},
                 {"ServerGetInfo", Call::ServerGetInfo}};
    for (const auto& host : hosts)
        for (const auto& call : calls)
            QTest::addRow("%s %s", call.name, host.host)
                << call.call << QString::fromLatin1(host.host) << u"COM1"_s << uint(host.code);

    QTest::newRow("PortGetInfo unknown port")
        << Call::PortGetInfo << u"RASSRV"_s << u"COM9"_s << uint(Err::DevNotExist);
    QTest::newRow("PortDisconnect unknown port")
        << Call::PortDisconnect << u"RASSRV"_s << u"COM9"_s << uint(Err::DevNotExist);
    QTest::newRow("PortDisconnect RRAS host")
        << Call::PortDisconnect << u"RTR"_s << u"VPN1"_s << uint(Err::RpcServerUnavailable);
    QTest::newRow("PortDisconnect denied")
        << Call::PortDisconnect << u"LOCKED"_s << u"COM1"_s << uint(Err::AccessDenied);
    QTest::newRow("PortClearStatistics unknown port")
        << Call::PortClearStatistics << u"RASSRV"_s << u"COM9"_s << uint(Err::DevNotExist);
    QTest::newRow("PortClearStatistics stopped")
        << Call::PortClearStatistics << u"STOPPED"_s << u"COM1"_s << uint(Err::RpcServerUnavailable);
    QTest::newRow("UserGetInfo unknown user")
        << Call::UserGetInfo << u"PDC"_s << u"nobody"_s << uint(Err::NerrUserNotFound);
    QTest::newRow("UserGetInfo unreachable")
        << Call::UserGetInfo << u"DOWNDC"_s << u"alice"_s << uint(Err::BadNetPath);
    QTest::newRow("UserGetInfo unknown host")
        << Call::UserGetInfo << u"NOWHERE"_s << u"alice"_s << uint(Err::BadNetPath);
    QTest::newRow("UserGetInfo no accounts there")
        << Call::UserGetInfo << u"RASSRV"_s << u"alice"_s << uint(Err::NerrUserNotFound);
    QTest::newRow("UserSetInfo unreachable")
        << Call::UserSetInfo << u"DOWNDC"_s << u"alice"_s << uint(Err::BadNetPath);
}

void TestRassapi::failureCodes() {
    QFETCH(Call, call);
    QFETCH(QString, server);
    QFETCH(QString, name);
    const std::u16string s = Server(server);
    const std::u16string n = WideText(name);

    DWORD result = 0xFFFFFFFF;
    switch (call) {
    case Call::PortEnum: {
        RAS_PORT_0* ports = nullptr;
        WORD count = 0;
        result = m_portEnum(s.c_str(), &ports, &count);
        if (result != Err::Success) {
            QVERIFY(!ports);
            QCOMPARE(count, WORD(0));
        }
        m_freeBuffer(ports);
        break;
    }
    case Call::PortGetInfo: {
        RAS_PORT_1 info;
        RAS_PORT_STATISTICS stats;
        RAS_PARAMETERS* params = nullptr;
        result = m_portGetInfo(s.c_str(), n.c_str(), &info, &stats, &params);
        if (result != Err::Success)
            QVERIFY(!params);
        m_freeBuffer(params);
        break;
    }
    case Call::PortDisconnect:
        result = m_disconnect(s.c_str(), n.c_str());
        break;
    case Call::PortClearStatistics:
        result = m_clearStatistics(s.c_str(), n.c_str());
        break;
    case Call::ServerGetInfo: {
        RAS_SERVER_0 info{};
        result = m_serverGetInfo(s.c_str(), &info);
        break;
    }
    case Call::UserGetInfo: {
        RAS_USER_0 info{};
        result = m_userGetInfo(s.c_str(), n.c_str(), &info);
        break;
    }
    case Call::UserSetInfo: {
        RAS_USER_0 info{};
        result = m_userSetInfo(s.c_str(), n.c_str(), &info);
        break;
    }
    }
    QTEST(uint(result), "code");
}

void TestRassapi::disconnectEndsSession() {
    auto site = FreshSite();
    const auto before = PortTable(*site, u"RASSRV"_s);
    QCOMPARE(m_disconnect(Server(u"RASSRV"_s).c_str(), u"com1"), Err::Success);

    const auto after = PortTable(*site, u"RASSRV"_s);
    QCOMPARE(after.size(), before.size());
    QVERIFY(!after[0].Connected());
    QVERIFY(after[0].user.empty() && after[0].ip.empty() && after[0].bytesXmit == 0);
    QCOMPARE(after[0].deviceName, before[0].deviceName);
    QVERIFY(after[4].Connected()); // the other session is untouched
    QCOMPARE(after[4].user, std::string("bob"));

    RAS_PORT_0* ports = nullptr;
    WORD count = 0;
    QCOMPARE(m_portEnum(Server(u"RASSRV"_s).c_str(), &ports, &count), Err::Success);
    QCOMPARE(ports[0].dwStartSessionTime, DWORD(0));
    QCOMPARE(Wide(ports[0].wszUserName), QString());
    m_freeBuffer(ports);

    // Hanging up an idle port succeeds and leaves the table as it is.
    const QByteArray bytes = site->ReadBytes(u"hosts/RASSRV/ports.ini"_s);
    QCOMPARE(m_disconnect(Server(u"RASSRV"_s).c_str(), u"COM1"), Err::Success);
    QCOMPARE(m_disconnect(Server(u"RASSRV"_s).c_str(), u"COM2"), Err::Success);
    QCOMPARE(site->ReadBytes(u"hosts/RASSRV/ports.ini"_s), bytes);
}

void TestRassapi::clearStatisticsKeepsSession() {
    auto site = FreshSite();
    QCOMPARE(m_clearStatistics(Server(u"RASSRV"_s).c_str(), u"COM1"), Err::Success);
    RAS_PORT_1 info;
    RAS_PORT_STATISTICS stats;
    RAS_PARAMETERS* params = nullptr;
    QCOMPARE(m_portGetInfo(Server(u"RASSRV"_s).c_str(), u"COM1", &info, &stats, &params), Err::Success);
    m_freeBuffer(params);
    const auto* values = reinterpret_cast<const DWORD*>(&stats);
    for (std::size_t i = 0; i < sizeof stats / sizeof(DWORD); ++i)
        QCOMPARE(values[i], DWORD(0));
    QCOMPARE(Wide(info.rasport0.wszUserName), u"alice"_s);
    QCOMPARE(info.rasport0.dwStartSessionTime, kStart1);
    QCOMPARE(PortTable(*site, u"RASSRV"_s)[4].bytesXmit, DWORD(100));
}

void TestRassapi::concurrentDisconnectsLoseNothing() {
    // Fetchers and the console hang up ports of one server at the same time; each
    // rewrites the table, and none may bring back a session another one ended.
    CTestSite site;
    AddRasHost(site, u"BUSY"_s, {}, {u"State=4"_s});
    constexpr int kPorts = 12;
    for (int i = 0; i < kPorts; ++i)
        site.AddPort(u"BUSY"_s, u"COM%1"_s.arg(i + 1),
                     {u"User=user%1"_s.arg(i), u"Domain=OSTER"_s, u"Start=%1"_s.arg(1000 + i)});
    m_attach(site.RootBytes().constData());

    std::vector<std::thread> threads;
    std::vector<DWORD> results(kPorts, 0xFFFFFFFF);
    for (int i = 0; i < kPorts; ++i)
        threads.emplace_back([this, i, &results] {
            const std::u16string port = u"COM%1"_s.arg(i + 1).toStdU16String();
            results[std::size_t(i)] = m_disconnect(u"\\\\BUSY", port.c_str());
        });
    for (std::thread& t : threads)
        t.join();

    QCOMPARE(results, std::vector<DWORD>(kPorts, Err::Success));
    RAS_SERVER_0 info{};
    QCOMPARE(m_serverGetInfo(u"\\\\BUSY", &info), Err::Success);
    QCOMPARE(info.TotalPorts, WORD(kPorts));
    QCOMPARE(info.PortsInUse, WORD(0));
}

void TestRassapi::userPrivileges_data() {
    QTest::addColumn<QString>("account");
    QTest::addColumn<uint>("privilege");
    QTest::addColumn<QString>("phone");

    QTest::newRow("dial-in, call-back number")
        << u"alice"_s << uint(RasPriv::DialinPrivilege | RasPriv::AdminSetCallback) << u"0171 5551234"_s;
    QTest::newRow("no dial-in, name in other case") << u"BOB"_s << 0u << QString();
    QTest::newRow("caller sets call-back")
        << u"Bob"_s << uint(RasPriv::CallerSetCallback | RasPriv::DialinPrivilege) << QString();
    QTest::newRow("longest number") << u"alice"_s << uint(RasPriv::NoCallback)
                                    << QString(RasLen::PhoneNumber, u'7');
}

void TestRassapi::userPrivileges() {
    QFETCH(QString, account);
    QFETCH(uint, privilege);
    QFETCH(QString, phone);
    auto site = FreshSite();
    const std::u16string pdc = Server(u"PDC"_s);
    const std::u16string user = WideText(account);

    RAS_USER_0 info{};
    QCOMPARE(m_userGetInfo(pdc.c_str(), user.c_str(), &info), Err::Success);
    info.bfPrivilege = BYTE(privilege);
    std::fill(std::begin(info.szPhoneNumber), std::end(info.szPhoneNumber), char16_t(0));
    std::copy(phone.utf16(), phone.utf16() + phone.size(), info.szPhoneNumber);
    QCOMPARE(m_userSetInfo(pdc.c_str(), user.c_str(), &info), Err::Success);

    RAS_USER_0 back{};
    QCOMPARE(m_userGetInfo(pdc.c_str(), user.c_str(), &back), Err::Success);
    QCOMPARE(uint(back.bfPrivilege), privilege);
    QCOMPARE(Wide(back.szPhoneNumber), phone);

    // The entry was changed in place: still two accounts, spelled as before.
    const QByteArray text = site->ReadBytes(u"hosts/PDC/rasusers.ini"_s);
    QCOMPARE(text.count("[alice]") + text.count("[Bob]"), 2);
    QCOMPARE(text.count('['), 2);
}

void TestRassapi::userEntriesOfDomainAccounts() {
    auto site = FreshSite();
    const std::u16string pdc = Server(u"PDC"_s);
    RAS_USER_0 info{};
    info.bfPrivilege = RasPriv::DialinPrivilege;
    RAS_USER_0 back{};

    // A site without account lists: any name may be given an entry.
    QCOMPARE(m_userGetInfo(pdc.c_str(), u"erin", &back), Err::NerrUserNotFound);
    QCOMPARE(m_userSetInfo(pdc.c_str(), u"erin", &info), Err::Success);
    QCOMPARE(m_userGetInfo(pdc.c_str(), u"erin", &back), Err::Success);
    QCOMPARE(back.bfPrivilege, RasPriv::DialinPrivilege);

    // With them, only the controller's own domain accounts are known.
    site->WriteText(u"network.ini"_s, u"[Domain:OSTER]\r\nController=PDC\r\nComputers=PDC,RASSRV\r\n"
                                      u"Users=alice,Bob,erin,Gina\r\n"_s);
    const QByteArray before = site->ReadBytes(u"hosts/PDC/rasusers.ini"_s);
    QCOMPARE(m_userSetInfo(pdc.c_str(), u"frank", &info), Err::NerrUserNotFound);
    QCOMPARE(m_userGetInfo(pdc.c_str(), u"frank", &back), Err::NerrUserNotFound);
    QCOMPARE(m_userSetInfo(Server(u"RASSRV"_s).c_str(), u"gina", &info), Err::NerrUserNotFound);
    QCOMPARE(site->ReadBytes(u"hosts/PDC/rasusers.ini"_s), before);

    // A domain account never given dial-in rights has none, until it is given them.
    back.bfPrivilege = 0xFF;
    back.szPhoneNumber[0] = u'9';
    QCOMPARE(m_userGetInfo(pdc.c_str(), u"gina", &back), Err::Success);
    QCOMPARE(back.bfPrivilege, RasPriv::NoCallback);
    QCOMPARE(Wide(back.szPhoneNumber), QString());
    QCOMPARE(m_userSetInfo(pdc.c_str(), u"GINA", &info), Err::Success);
    QCOMPARE(m_userGetInfo(pdc.c_str(), u"gina", &back), Err::Success);
    QCOMPARE(back.bfPrivilege, RasPriv::DialinPrivilege);
}

void TestRassapi::serverInfo() {
    RAS_SERVER_0 info{};
    QCOMPARE(m_serverGetInfo(Server(u"RASSRV"_s).c_str(), &info), Err::Success);
    QCOMPARE(info.TotalPorts, WORD(5));
    QCOMPARE(info.PortsInUse, WORD(2));
    QCOMPARE(info.RasVersion, DWORD(6));
    QCOMPARE(m_serverGetInfo(Server(u"STARTED"_s).c_str(), &info), Err::Success);
    QCOMPARE(info.TotalPorts, WORD(1));
    QCOMPARE(info.PortsInUse, WORD(1));
    QCOMPARE(info.RasVersion, DWORD(5));
}

void TestRassapi::errorStrings_data() {
    QTest::addColumn<uint>("code");
    for (DWORD code :
         {Err::Success, Err::AccessDenied, Err::BadNetPath, Err::DevNotExist, Err::ProtocolNotConfigured,
          Err::CantWrite, Err::RpcServerUnavailable, Err::NerrUserNotFound})
        QTest::addRow("%u", unsigned(code)) << uint(code);
}

void TestRassapi::errorStrings() {
    QFETCH(uint, code);
    WCHAR text[256];
    QCOMPARE(m_errorString(code, text, 256), Err::Success);
    QVERIFY(Wide(text).size() > 10);
    QVERIFY(Wide(text).endsWith(u'.'));

    WCHAR small[8];
    QCOMPARE(m_errorString(code, small, 8), Err::InsufficientBuffer);
    QCOMPARE(Wide(small), Wide(text).left(7));
}

void TestRassapi::partialLibraryLacksTwoNames() {
    QString error;
    void* partial = LoadModule(u"RASSAPI_PARTIAL"_s, &error);
    QVERIFY2(partial, qPrintable(error));
    const char* names[] = {"RasAdminPortEnum",    "RasAdminFreeBuffer",     "RasAdminGetErrorString",
                           "RasAdminPortGetInfo", "RasAdminPortDisconnect", "RasAdminPortClearStatistics",
                           "RasAdminUserGetInfo", "RasAdminUserSetInfo",    "RasAdminServerGetInfo"};
    QStringList missing;
    for (const char* name : names)
        if (!dlsym(partial, name))
            missing << QString::fromLatin1(name);
    QCOMPARE(missing, (QStringList{u"RasAdminPortClearStatistics"_s, u"RasAdminServerGetInfo"_s}));
    QVERIFY(dlsym(partial, Site::kAttachSymbol));
    for (const char* name : names)
        QVERIFY2(dlsym(m_module, name), name);
    dlclose(partial);
}

void TestRassapi::attachmentChoosesSite() {
    // A library of its own, never attached: it follows CWSITE_DIR.
    QString error;
    void* partial = LoadModule(u"RASSAPI_PARTIAL"_s, &error);
    QVERIFY2(partial, qPrintable(error));
    auto portEnum = Resolve<PFN_RasAdminPortEnum>(partial, "RasAdminPortEnum");
    auto freeBuffer = Resolve<PFN_RasAdminFreeBuffer>(partial, "RasAdminFreeBuffer");
    auto attach = Resolve<Site::PFN_CwSiteAttach>(partial, Site::kAttachSymbol);
    auto count = [&]() {
        RAS_PORT_0* ports = nullptr;
        WORD n = 0;
        const DWORD result = portEnum(Server(u"RASSRV"_s).c_str(), &ports, &n);
        freeBuffer(ports);
        return result == Err::Success ? int(n) : -int(result);
    };

    qunsetenv("CWSITE_DIR");
    QCOMPARE(count(), -int(Err::BadNetPath));
    qputenv("CWSITE_DIR", m_site.RootBytes());
    QCOMPARE(count(), 5);

    CTestSite other;
    AddRasHost(other, u"RASSRV"_s, {}, {u"State=4"_s});
    other.AddPort(u"RASSRV"_s, u"COM1"_s, {});
    attach(other.RootBytes().constData());
    QCOMPARE(count(), 1); // attaching wins over the environment
    attach(m_site.RootBytes().constData());
    QCOMPARE(count(), 5); // and attaching again switches sites
    attach(nullptr);
    QCOMPARE(count(), -int(Err::BadNetPath));
    qunsetenv("CWSITE_DIR");
    dlclose(partial);
}

QTEST_GUILESS_MAIN(TestRassapi)
#include "tst_rassapi.moc"
