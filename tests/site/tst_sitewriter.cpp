// The site writer's files read back through the site implementation of the
// platform ports: what the writer writes is what the console reads.

#include "ini/inifile.h"
#include "platform/site/site.h"
#include "platform/site/sitedirectory.h"
#include "site/sitewriter.h"

#include <QFile>
#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;
using namespace OCL;

namespace {

const QString kZoneKey = u"HKEY_LOCAL_MACHINE\\System\\CurrentControlSet\\Control\\TimeZoneInformation"_s;

// A registry value of a computer as the console reads it.
struct RegRead {
    LONG result = 0;
    DWORD type = 0;
    std::string data;
};

RegRead Query(Platform& platform, const std::string& machine, HKEY root, const std::string& key,
              const std::string& name) {
    RegRead read;
    HKEY remote = nullptr;
    if ((read.result = platform.registry->Connect(machine, root, &remote)) != 0)
        return read;
    RegKeyGuard connection(*platform.registry, remote);
    RegKeyGuard opened(*platform.registry);
    if ((read.result = platform.registry->OpenKey(remote, key, opened.Out())) != 0)
        return read;
    char buffer[600] = {};
    DWORD size = sizeof buffer;
    read.result =
        platform.registry->QueryValue(opened.Get(), name, &read.type, reinterpret_cast<BYTE*>(buffer), &size);
    read.data.assign(buffer, size);
    return read;
}

DWORD Dword(const RegRead& read) {
    DWORD value = 0;
    std::memcpy(&value, read.data.data(), std::min<std::size_t>(4, read.data.size()));
    return value;
}

std::vector<std::string> Names(const std::vector<std::u16string>& names) {
    std::vector<std::string> out;
    for (const auto& name : names)
        out.emplace_back(name.begin(), name.end());
    return out;
}

void WriteSmallSite(CSiteWriter& w) {
    w.SetLocalComputer(u"CONSOLE"_s);
    w.SetSiteValue(u"Site"_s, u"RouterAdmin"_s, u"1"_s);
    w.AddHost(u"CONSOLE"_s);
    w.AddMonitoredServer(u"CONSOLE"_s, u"RAS1"_s);
    w.SetClientDword(u"CONSOLE"_s, u"View Refresh"_s, 5000);
    w.SetClientString(u"CONSOLE"_s, u"InstallPath"_s, u"C:\\Program Files\\Callwarden"_s);
    w.SetRegDword(u"CONSOLE"_s, kZoneKey, u"ActiveTimeBias"_s, quint32(-60));

    CSiteWriter::HostOptions ras;
    ras.rasKind = u"RAS"_s;
    w.AddHost(u"RAS1"_s, ras);
    w.SetServiceDword(u"RAS1"_s, u"Master"_s, 1);
    w.SetServiceString(u"RAS1"_s, u"MasterShare"_s, u"\\\\RAS1\\CW_NT_DB"_s);
    w.SetServiceString(u"RAS1"_s, u"Version"_s, u"3.2.1 \u00e9"_s); // Windows-1252 beyond ASCII
    w.SetRegString(u"RAS1"_s, u"HKEY_USERS\\.DEFAULT\\Control Panel\\International"_s, u"Locale"_s,
                   u"00000409"_s);
    w.SetService(u"RAS1"_s, u"Callwarden"_s, 4, 2000, 3000);
    w.SetService(u"RAS1"_s, u"RemoteAccess"_s, 1);
    Site::PortRecord com2;
    com2.name = "COM2";
    com2.deviceName = "Modem 2";
    com2.lineSpeed = 33600;
    w.AddPort(u"RAS1"_s, com2);
    Site::PortRecord com10 = com2;
    com10.name = "COM10";
    com10.user = "alice";
    com10.domain = "CORP";
    com10.start = 1700000000;
    w.AddPort(u"RAS1"_s, com10);

    CSiteWriter::HostOptions down;
    down.reachable = false;
    w.AddHost(u"DOWN"_s, down);

    w.AddDomain(u"CORP"_s, u"DC1"_s);
    w.AddHost(u"DC1"_s);
    w.AddComputer(u"CORP"_s, u"RAS1"_s, true);
    w.AddComputer(u"CORP"_s, u"CONSOLE"_s, false);
    w.AddUser(u"CORP"_s, u"alice"_s);
    w.AddUser(u"CORP"_s, u"bob"_s);
    w.AddGroup(u"CORP"_s, u"Dialers"_s, {u"alice"_s, u"bob"_s});
    w.AddLocalGroup(u"CORP"_s, u"Administrators"_s);
    w.SetRasUser(u"DC1"_s, u"alice"_s, 8 + 2, u"555-0100"_s);
    w.AddDomain(u"NWTREE"_s, u"NWFS1"_s, u"NetWare or Compatible Network"_s);
    w.WriteShareFile(u"RAS1"_s, u"CW_NT_DB"_s, u"LogData\\2000-Jan-05.log"_s,
                     "[RAS1\\COM2]\r\n946000000=C_CORP\\alice\r\n");
}

} // namespace

class TestSiteWriter : public QObject {
    Q_OBJECT

private slots:
    void initTestCase();
    void registryReadsBack_data();
    void registryReadsBack();
    void servicesReadBack();
    void networkReadsBack();
    void portsAndSharesReadBack();
    void secondSaveKeepsOthersChanges();

private:
    QTemporaryDir m_dir;
    std::unique_ptr<Platform> m_platform;
    QString m_root;
};

void TestSiteWriter::initTestCase() {
    QVERIFY(m_dir.isValid());
    m_root = m_dir.path() + u"/site"_s;
    CSiteWriter writer(m_root);
    WriteSmallSite(writer);
    QString error;
    QVERIFY2(writer.Save(&error), qPrintable(error));
    m_platform = Site::OpenSite(m_root.toStdString());
    QVERIFY(m_platform);
    QVERIFY(m_platform->problems.empty());
}

void TestSiteWriter::registryReadsBack_data() {
    QTest::addColumn<QString>("machine");
    QTest::addColumn<bool>("users");
    QTest::addColumn<QString>("key");
    QTest::addColumn<QString>("name");
    QTest::addColumn<uint>("type");
    QTest::addColumn<QByteArray>("data");

    const QString service = u"Software\\Osterline Technologies\\Callwarden\\Service"_s;
    QTest::newRow("dword") << u"\\\\RAS1"_s << false << service << u"Master"_s << 4u
                           << QByteArray("\1\0\0\0", 4);
    QTest::newRow("string with terminator")
        << u"RAS1"_s << false << service << u"MasterShare"_s << 1u << QByteArray("\\\\RAS1\\CW_NT_DB\0", 16);
    QTest::newRow("ansi text") << u"RAS1"_s << false << service << u"Version"_s << 1u
                               << QByteArray("3.2.1 \xe9\0", 8);
    QTest::newRow("users root") << u"RAS1"_s << true << u".default\\Control Panel\\International"_s
                                << u"Locale"_s << 1u << QByteArray("00000409\0", 9);
    QTest::newRow("console client") << QString() << false
                                    << u"Software\\Osterline Technologies\\Callwarden\\Client"_s
                                    << u"View Refresh"_s << 4u << QByteArray("\x88\x13\0\0", 4);
    QTest::newRow("negative bias") << QString() << false
                                   << u"System\\CurrentControlSet\\Control\\TimeZoneInformation"_s
                                   << u"ActiveTimeBias"_s << 4u << QByteArray("\xc4\xff\xff\xff", 4);
}

void TestSiteWriter::registryReadsBack() {
    QFETCH(QString, machine);
    QFETCH(bool, users);
    QFETCH(QString, key);
    QFETCH(QString, name);
    QFETCH(uint, type);
    QFETCH(QByteArray, data);
    const RegRead read = Query(*m_platform, machine.toStdString(), users ? Hkey::Users : Hkey::LocalMachine,
                               key.toStdString(), name.toStdString());
    QCOMPARE(read.result, 0);
    QCOMPARE(read.type, DWORD(type));
    QCOMPARE(QByteArray::fromStdString(read.data), data);
}

void TestSiteWriter::servicesReadBack() {
    SC_HANDLE manager = nullptr;
    QCOMPARE(m_platform->services->OpenManager("\\\\RAS1", ScAccess::ManagerAllAccess, &manager),
             Err::Success);
    SC_HANDLE service = nullptr;
    QCOMPARE(m_platform->services->Open(manager, "Callwarden", ScAccess::ServiceAllAccess, &service),
             Err::Success);
    ServiceStatus status;
    QCOMPARE(m_platform->services->QueryStatus(service, &status), Err::Success);
    QCOMPARE(status.currentState, ServiceState::Running);
    // A stop goes through the pending phase the writer gave the service.
    QCOMPARE(m_platform->services->Control(service, ServiceControlCode::Stop, &status), Err::Success);
    QCOMPARE(status.currentState, ServiceState::StopPending);
    m_platform->services->Close(service);
    QCOMPARE(m_platform->services->Open(manager, "RemoteAccess", ScAccess::ServiceAllAccess, &service),
             Err::Success);
    QCOMPARE(m_platform->services->QueryStatus(service, &status), Err::Success);
    QCOMPARE(status.currentState, ServiceState::Stopped);
    m_platform->services->Close(service);
    QCOMPARE(m_platform->services->Open(manager, "Router", ScAccess::ServiceAllAccess, &service),
             Err::ServiceDoesNotExist);
    m_platform->services->Close(manager);
    // The unreachable host answers as an unreachable computer does.
    QCOMPARE(m_platform->services->OpenManager("DOWN", ScAccess::ManagerAllAccess, &manager),
             Err::BadNetPath);
}

void TestSiteWriter::networkReadsBack() {
    std::vector<std::u16string> names;
    DWORD total = 0, resume = 0;
    QCOMPARE(m_platform->network->ServerEnum(u"CORP", ServerType::DialinServer, 0xFFFFFFFF, &names, &total,
                                             &resume),
             Err::Success);
    QCOMPARE(Names(names), std::vector<std::string>{"RAS1"});
    names.clear();
    resume = 0;
    QCOMPARE(m_platform->network->UserEnum(u"\\\\DC1", 0, 0xFFFFFFFF, &names, &total, &resume), Err::Success);
    QCOMPARE(Names(names), (std::vector<std::string>{"alice", "bob"}));
    names.clear();
    DWORD_PTR groupResume = 0;
    QCOMPARE(
        m_platform->network->GroupGetUsers(u"\\\\DC1", u"Dialers", 0xFFFFFFFF, &names, &total, &groupResume),
        Err::Success);
    QCOMPARE(Names(names), (std::vector<std::string>{"alice", "bob"}));
    names.clear();
    groupResume = 0;
    QCOMPARE(m_platform->network->LocalGroupEnum(u"\\\\DC1", 0xFFFFFFFF, &names, &total, &groupResume),
             Err::Success);
    QCOMPARE(Names(names), std::vector<std::string>{"Administrators"});
    std::u16string controller;
    QCOMPARE(m_platform->network->GetDCName({}, u"NWTREE", &controller), Err::Success);
    QCOMPARE(std::string(controller.begin(), controller.end()), std::string("\\\\NWFS1"));

    // The providers in the order they were added, each with its domains.
    const QByteArray network = [this] {
        QFile file(m_root + u"/network.ini"_s);
        file.open(QIODevice::ReadOnly);
        return file.readAll();
    }();
    QVERIFY(network.indexOf("[Provider:Microsoft Windows Network]\r\nDomains=CORP\r\n") >= 0);
    QVERIFY(network.indexOf("[Provider:Microsoft Windows Network]") <
            network.indexOf("[Provider:NetWare or Compatible Network]"));
    QVERIFY(network.indexOf("Computers=DC1,RAS1,CONSOLE\r\n") >= 0);
}

void TestSiteWriter::portsAndSharesReadBack() {
    Site::SiteDirectory site(m_root.toStdString());
    const auto host = site.FindHost("ras1");
    QVERIFY(host);
    QCOMPARE(int(host->rasKind), int(Site::RasKind::Ras));
    const auto ports = site.ReadPorts(*host);
    QCOMPARE(ports.size(), std::size_t(2));
    QCOMPARE(ports[0].name, std::string("COM2"));
    QVERIFY(!ports[0].Connected());
    QCOMPARE(ports[1].name, std::string("COM10"));
    QVERIFY(ports[1].Connected());
    QCOMPARE(ports[1].lineSpeed, DWORD(33600));
    QCOMPARE(site.Files().GetInt(host->dir.parent_path() / "DC1" / "rasusers.ini", "alice", "Privilege", 0),
             10LL);

    std::filesystem::path local;
    QCOMPARE(m_platform->shares->Resolve("\\\\ras1\\cw_nt_db\\logdata\\2000-Jan-05.log", &local),
             Err::Success);
    QCOMPARE(site.Files().GetString(local, "RAS1\\COM2", "946000000", ""), std::string("C_CORP\\alice"));
}

void TestSiteWriter::secondSaveKeepsOthersChanges() {
    QTemporaryDir dir;
    const QString root = dir.path() + u"/site"_s;
    CSiteWriter writer(root);
    WriteSmallSite(writer);
    QVERIFY(writer.Save());

    // The console changes the registry and a service between two saves.
    auto platform = Site::OpenSite(root.toStdString());
    HKEY key = nullptr;
    QCOMPARE(platform->registry->CreateKey(Hkey::LocalMachine,
                                           "Software\\Osterline Technologies\\Callwarden\\Client", &key),
             0);
    const DWORD one = 1;
    QCOMPARE(platform->registry->SetValue(key, "NewbieMessageIntro", RegType::Dword,
                                          reinterpret_cast<const BYTE*>(&one), 4),
             0);
    platform->registry->CloseKey(key);

    writer.SetClientDword(u"CONSOLE"_s, u"TimeFormatSeconds"_s, 1);
    writer.AddUser(u"CORP"_s, u"carol"_s);
    Site::PortRecord com3;
    com3.name = "COM3";
    writer.AddPort(u"RAS1"_s, com3);
    QVERIFY(writer.Save());

    const std::string client = "Software\\Osterline Technologies\\Callwarden\\Client";
    QCOMPARE(Dword(Query(*platform, {}, Hkey::LocalMachine, client, "NewbieMessageIntro")), DWORD(1));
    QCOMPARE(Dword(Query(*platform, {}, Hkey::LocalMachine, client, "TimeFormatSeconds")), DWORD(1));
    QCOMPARE(Dword(Query(*platform, {}, Hkey::LocalMachine, client, "View Refresh")), DWORD(5000));

    std::vector<std::u16string> names;
    DWORD total = 0, resume = 0;
    QCOMPARE(platform->network->UserEnum(u"DC1", 0, 0xFFFFFFFF, &names, &total, &resume), Err::Success);
    QCOMPARE(Names(names), (std::vector<std::string>{"alice", "bob", "carol"}));

    Site::SiteDirectory site(root.toStdString());
    QCOMPARE(site.ReadPorts(*site.FindHost("RAS1")).size(), std::size_t(3));

    // A second writer on the same site extends its lists rather than replacing them.
    CSiteWriter again(root);
    again.AddUser(u"CORP"_s, u"dave"_s);
    QVERIFY(again.Save());
    names.clear();
    resume = 0;
    QCOMPARE(platform->network->UserEnum(u"DC1", 0, 0xFFFFFFFF, &names, &total, &resume), Err::Success);
    QCOMPARE(Names(names), (std::vector<std::string>{"alice", "bob", "carol", "dave"}));
}

QTEST_GUILESS_MAIN(TestSiteWriter)
#include "tst_sitewriter.moc"
