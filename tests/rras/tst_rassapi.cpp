// The site's RAS administration library as the console binds it: by name, through
// the entry point types of the platform header.

#include "platform/rassapi.h"
#include "rras/testsite.h"

#include <QTest>

#include <thread>
#include <vector>

using namespace Qt::StringLiterals;
using namespace OCL;

namespace {

constexpr DWORD kStart1 = TestSite::kStart;
constexpr DWORD kStart10 = TestSite::kStart + 10;

QString Wide(const WCHAR* text) {
    return QString::fromUtf16(text);
}

std::u16string Server(const QString& name) {
    return QString(u"\\\\"_s + name).toStdU16String();
}

enum class Call { PortEnum, PortGetInfo, PortDisconnect, ServerGetInfo, UserGetInfo, UserSetInfo };

} // namespace

Q_DECLARE_METATYPE(Call)

class TestRassapi : public QObject {
    Q_OBJECT

private slots:
    void initTestCase() {
        m_module = LoadModule("RASSAPI");
        QVERIFY2(m_module, dlerror());
        m_attach = Resolve<Site::PFN_CwSiteAttach>(m_module, Site::kAttachSymbol);
        m_portEnum = Resolve<PFN_RasAdminPortEnum>(m_module, "RasAdminPortEnum");
        m_freeBuffer = Resolve<PFN_RasAdminFreeBuffer>(m_module, "RasAdminFreeBuffer");
        m_portGetInfo = Resolve<PFN_RasAdminPortGetInfo>(m_module, "RasAdminPortGetInfo");
        m_disconnect = Resolve<PFN_RasAdminPortDisconnect>(m_module, "RasAdminPortDisconnect");
        m_userGetInfo = Resolve<PFN_RasAdminUserGetInfo>(m_module, "RasAdminUserGetInfo");
        m_userSetInfo = Resolve<PFN_RasAdminUserSetInfo>(m_module, "RasAdminUserSetInfo");
        m_serverGetInfo = Resolve<PFN_RasAdminServerGetInfo>(m_module, "RasAdminServerGetInfo");
        QVERIFY(m_attach && m_portEnum && m_freeBuffer && m_portGetInfo && m_disconnect && m_userGetInfo &&
                m_userSetInfo && m_serverGetInfo);
    }

    void init() { m_attach(m_site.Root()); }

    void cleanupTestCase() { dlclose(m_module); }

    void ports_data() {
        QTest::addColumn<QString>("port");
        QTest::addColumn<int>("index"); // in the enumeration
        QTest::addColumn<QString>("user");
        QTest::addColumn<QString>("domain");
        QTest::addColumn<uint>("start");
        QTest::addColumn<uint>("flags");
        QTest::addColumn<uint>("line");
        QTest::addColumn<uint>("hardware");
        QTest::addColumn<QString>("ip");
        QTest::addColumn<QString>("ipx");

        const uint ok = RasHardware::Operational;
        QTest::newRow("session with PPP")
            << u"COM1"_s << 0 << u"alice"_s << u"OSTER"_s << uint(kStart1) << 5u
            << uint(RasLine::Authenticated) << ok << u"10.1.2.3"_s << u"00000001:00A0C9112233"_s;
        QTest::newRow("idle") << u"COM2"_s << 1 << QString() << QString() << 0u << 0u
                              << uint(RasLine::Listening) << ok << QString() << QString();
        QTest::newRow("user without start is idle")
            << u"COM3"_s << 2 << QString() << QString() << 0u << 0u << uint(RasLine::Listening) << ok
            << QString() << QString();
        QTest::newRow("hardware failure, name in other case")
            << u"isdn1"_s << 3 << QString() << QString() << 0u << 0u << uint(RasLine::Listening)
            << uint(RasHardware::HardwareFailure) << QString() << QString();
        QTest::newRow("session without IPX")
            << u"COM10"_s << 4 << u"bob"_s << u"BRANCH"_s << uint(kStart10) << 0u
            << uint(RasLine::Authenticated) << ok << u"10.1.2.4"_s << QString();
    }

    // The enumeration (in table order) and the port's own record tell the same.
    void ports() {
        QFETCH(QString, port);
        QFETCH(int, index);
        QFETCH(QString, ip);
        QFETCH(QString, ipx);
        RAS_PORT_0* ports = nullptr;
        WORD count = 0;
        QCOMPARE(m_portEnum(Server(u"rassrv"_s).c_str(), &ports, &count), Err::Success);
        QCOMPARE(count, WORD(5));
        const RAS_PORT_0 listed = ports[index];
        m_freeBuffer(ports);
        QCOMPARE(Wide(listed.wszPortName), port.toUpper());
        QTEST(Wide(listed.wszUserName), "user");
        QTEST(Wide(listed.wszLogonDomain), "domain");
        QTEST(uint(listed.dwStartSessionTime), "start");
        QTEST(uint(listed.Flags), "flags");

        RAS_PORT_1 info;
        RAS_PORT_STATISTICS stats;
        RAS_PARAMETERS* params = nullptr;
        QCOMPARE(
            m_portGetInfo(Server(u"RASSRV"_s).c_str(), port.toStdU16String().c_str(), &info, &stats, &params),
            Err::Success);
        QCOMPARE(m_freeBuffer(params), Err::Success);
        QCOMPARE(Wide(info.rasport0.wszUserName), Wide(listed.wszUserName));
        QTEST(uint(info.LineCondition), "line");
        QTEST(uint(info.HardwareCondition), "hardware");
        const RAS_PPP_PROJECTION_RESULT& proj = info.ProjResult;
        QCOMPARE(proj.ip.dwError == 0, !ip.isEmpty());
        QCOMPARE(Wide(proj.ip.wszAddress), ip);
        QCOMPARE(proj.ipx.dwError == 0, !ipx.isEmpty());
        QCOMPARE(Wide(proj.ipx.wszAddress), ipx);
    }

    void failures_data() {
        QTest::addColumn<Call>("call");
        QTest::addColumn<QString>("server");
        QTest::addColumn<QString>("name");
        QTest::addColumn<uint>("code");

        const char* calls[] = {"PortEnum", "PortGetInfo", "PortDisconnect", "ServerGetInfo"};
        const char* hosts[] = {"NOWHERE", "GONE",    "LOCKED",    "RTR1",
                               "CONSOLE", "STOPPED", "NOSERVICE", "STARTING"};
        const uint codes[] = {53, 53, 5, 1722, 1722, 1722, 1722, 1722}; // 1722: no RAS running there
        for (int h = 0; h < 8; ++h)
            for (int c = 0; c < 4; ++c)
                QTest::addRow("%s %s", calls[c], hosts[h])
                    << Call(c) << QString::fromLatin1(hosts[h]) << u"COM1"_s << codes[h];
        auto row = [](const char* tag, Call call, const char* server, const char* name, uint code) {
            QTest::newRow(tag) << call << QString::fromLatin1(server) << QString::fromLatin1(name) << code;
        };
        row("PortGetInfo unknown port", Call::PortGetInfo, "RASSRV", "COM9", Err::DevNotExist);
        row("PortDisconnect unknown port", Call::PortDisconnect, "RASSRV", "COM9", Err::DevNotExist);
        row("UserGetInfo unknown user", Call::UserGetInfo, "PDC", "nobody", Err::NerrUserNotFound);
        row("UserGetInfo no accounts there", Call::UserGetInfo, "RASSRV", "alice", Err::NerrUserNotFound);
        row("UserGetInfo unreachable", Call::UserGetInfo, "DOWNDC", "alice", Err::BadNetPath);
        row("UserGetInfo unknown host", Call::UserGetInfo, "NOWHERE", "alice", Err::BadNetPath);
        row("UserSetInfo unreachable", Call::UserSetInfo, "DOWNDC", "alice", Err::BadNetPath);
    }

    void failures() {
        QFETCH(Call, call);
        QFETCH(QString, server);
        QFETCH(QString, name);
        const std::u16string s = Server(server), n = name.toStdU16String();
        RAS_PORT_0* ports = nullptr;
        WORD count = 0;
        RAS_PORT_1 port;
        RAS_PORT_STATISTICS stats;
        RAS_PARAMETERS* params = nullptr;
        RAS_SERVER_0 serverInfo{};
        RAS_USER_0 user{};
        const DWORD result = call == Call::PortEnum ? m_portEnum(s.c_str(), &ports, &count)
                             : call == Call::PortGetInfo
                                 ? m_portGetInfo(s.c_str(), n.c_str(), &port, &stats, &params)
                             : call == Call::PortDisconnect ? m_disconnect(s.c_str(), n.c_str())
                             : call == Call::ServerGetInfo  ? m_serverGetInfo(s.c_str(), &serverInfo)
                             : call == Call::UserGetInfo    ? m_userGetInfo(s.c_str(), n.c_str(), &user)
                                                            : m_userSetInfo(s.c_str(), n.c_str(), &user);
        QTEST(uint(result), "code");
        // Nothing is handed out that the caller would have to free.
        QVERIFY(!ports && !params);
        QCOMPARE(count, WORD(0));
    }

    // Fetchers and the console hang up ports of one server at the same time; each
    // rewrites the table, and none may bring back a session another one ended.
    void disconnectLosesNothing() {
        TestSite site;
        constexpr int kPorts = 12;
        for (int i = 0; i < kPorts; ++i)
            site.w.AddPort(u"RASSRV"_s, Port("LINE" + std::to_string(i), "user", 1000 + i));
        site.w.Save();
        m_attach(site.Root());
        std::vector<std::thread> threads;
        std::vector<DWORD> results(kPorts, 0xFFFFFFFF);
        for (int i = 0; i < kPorts; ++i)
            threads.emplace_back([this, i, &results] {
                results[std::size_t(i)] =
                    m_disconnect(u"\\\\RASSRV", u"line%1"_s.arg(i).toStdU16String().c_str());
            });
        for (std::thread& t : threads)
            t.join();
        QCOMPARE(results, std::vector<DWORD>(kPorts, Err::Success));

        const std::vector<Site::PortRecord> table = site.Ports("RASSRV");
        QCOMPARE(table.size(), std::size_t(5 + kPorts));
        for (int i = 0; i < kPorts; ++i)
            QVERIFY(!table[std::size_t(5 + i)].Connected());
        // The sessions not hung up are untouched.
        QVERIFY(table[0].Connected() && table[4].Connected());
        RAS_SERVER_0 info{};
        QCOMPARE(m_serverGetInfo(u"\\\\RASSRV", &info), Err::Success);
        QCOMPARE(info.TotalPorts, WORD(5 + kPorts));
        QCOMPARE(info.PortsInUse, WORD(2));

        // Hanging up an idle port succeeds and leaves the table as it is.
        const QByteArray before = site.Bytes(u"hosts/RASSRV/ports.ini"_s);
        QCOMPARE(m_disconnect(u"\\\\RASSRV", u"LINE0"), Err::Success);
        QCOMPARE(m_disconnect(u"\\\\RASSRV", u"COM2"), Err::Success);
        QCOMPARE(site.Bytes(u"hosts/RASSRV/ports.ini"_s), before);
    }

    void accountRights() {
        TestSite site;
        m_attach(site.Root());
        const std::u16string pdc = Server(u"PDC"_s);
        RAS_USER_0 info{};
        RAS_USER_0 back{};
        // The longest call-back number there is room for, set for a name in other case.
        QCOMPARE(m_userGetInfo(pdc.c_str(), u"BOB", &info), Err::Success);
        QCOMPARE(Wide(info.szPhoneNumber), u"555-1234"_s);
        const QString longest(RasLen::PhoneNumber, u'7');
        std::copy(longest.utf16(), longest.utf16() + longest.size() + 1, info.szPhoneNumber);
        info.bfPrivilege = RasPriv::CallerSetCallback | RasPriv::DialinPrivilege;
        QCOMPARE(m_userSetInfo(pdc.c_str(), u"BOB", &info), Err::Success);
        QCOMPARE(m_userGetInfo(pdc.c_str(), u"bob", &back), Err::Success);
        QCOMPARE(back.bfPrivilege, info.bfPrivilege);
        QCOMPARE(Wide(back.szPhoneNumber), longest);
        const std::string rights = site.w.HostPath(u"PDC"_s).toStdString() + "/rasusers.ini";
        QCOMPARE(Ini::Files().SectionNames(rights), (std::vector<std::string>{"alice", "Bob"}));

        // A site without account lists: any name may be given an entry.
        info.bfPrivilege = RasPriv::DialinPrivilege;
        QCOMPARE(m_userGetInfo(pdc.c_str(), u"erin", &back), Err::NerrUserNotFound);
        QCOMPARE(m_userSetInfo(pdc.c_str(), u"erin", &info), Err::Success);
        QCOMPARE(m_userGetInfo(pdc.c_str(), u"erin", &back), Err::Success);

        // With them, only the controller's own domain accounts are known; one never
        // given dial-in rights has none, until it is given them.
        site.w.AddDomain(u"OSTER"_s, u"PDC"_s);
        for (const QString& user : {u"alice"_s, u"Bob"_s, u"erin"_s, u"Gina"_s})
            site.w.AddUser(u"OSTER"_s, user);
        site.w.Save();
        QCOMPARE(m_userSetInfo(pdc.c_str(), u"frank", &info), Err::NerrUserNotFound);
        QCOMPARE(m_userSetInfo(Server(u"RASSRV"_s).c_str(), u"gina", &info), Err::NerrUserNotFound);
        back.bfPrivilege = 0xFF;
        back.szPhoneNumber[0] = u'9';
        QCOMPARE(m_userGetInfo(pdc.c_str(), u"gina", &back), Err::Success);
        QCOMPARE(back.bfPrivilege, RasPriv::NoCallback);
        QCOMPARE(Wide(back.szPhoneNumber), QString());
        QCOMPARE(m_userSetInfo(pdc.c_str(), u"GINA", &info), Err::Success);
        QCOMPARE(m_userGetInfo(pdc.c_str(), u"gina", &back), Err::Success);
        QCOMPARE(back.bfPrivilege, RasPriv::DialinPrivilege);
    }

    // A library the site's loader never attached follows CWSITE_DIR; attaching
    // wins over it.
    void attachmentChoosesSite() {
        void* other = LoadModule("RASSAPI_PARTIAL");
        QVERIFY2(other, dlerror());
        auto portEnum = Resolve<PFN_RasAdminPortEnum>(other, "RasAdminPortEnum");
        auto freeBuffer = Resolve<PFN_RasAdminFreeBuffer>(other, "RasAdminFreeBuffer");
        auto attach = Resolve<Site::PFN_CwSiteAttach>(other, Site::kAttachSymbol);
        auto count = [&] {
            RAS_PORT_0* ports = nullptr;
            WORD n = 0;
            const DWORD result = portEnum(u"\\\\RASSRV", &ports, &n);
            freeBuffer(ports);
            return result == Err::Success ? int(n) : -int(result);
        };
        qunsetenv("CWSITE_DIR");
        QCOMPARE(count(), -int(Err::BadNetPath));
        qputenv("CWSITE_DIR", m_site.Root());
        QCOMPARE(count(), 5);
        attach(nullptr);
        QCOMPARE(count(), -int(Err::BadNetPath));
        qunsetenv("CWSITE_DIR");
        dlclose(other);
    }

private:
    TestSite m_site;
    void* m_module = nullptr;
    Site::PFN_CwSiteAttach m_attach = nullptr;
    PFN_RasAdminPortEnum m_portEnum = nullptr;
    PFN_RasAdminFreeBuffer m_freeBuffer = nullptr;
    PFN_RasAdminPortGetInfo m_portGetInfo = nullptr;
    PFN_RasAdminPortDisconnect m_disconnect = nullptr;
    PFN_RasAdminUserGetInfo m_userGetInfo = nullptr;
    PFN_RasAdminUserSetInfo m_userSetInfo = nullptr;
    PFN_RasAdminServerGetInfo m_serverGetInfo = nullptr;
};

QTEST_GUILESS_MAIN(TestRassapi)
#include "tst_rassapi.moc"
