// _CWADMIN over a site written as cwsite writes one, bound by name through the
// console's entry point types.

#include "platform/routingras.h"
#include "rras/testsite.h"

#include <QFile>
#include <QTest>

#include <barrier>
#include <cstring>
#include <thread>

using namespace Qt::StringLiterals;
using namespace OCL;

namespace {

constexpr DWORD kStart1 = TestSite::kStart;

// One entry as RRAS_GetPortData gives it.
struct Entry {
    QByteArray name, user;
    DWORD address = 0, start = 0;
    bool operator==(const Entry&) const = default;
};

} // namespace

class TestCwadmin : public QObject {
    Q_OBJECT

private slots:
    void initTestCase() {
        m_module = LoadModule("_CWADMIN");
        QVERIFY2(m_module, dlerror());
        m_attach = Resolve<Site::PFN_CwSiteAttach>(m_module, Site::kAttachSymbol);
        m_numberOfPorts = Resolve<PFN_RRAS_GetNumberOfPorts>(m_module, "RRAS_GetNumberOfPorts");
        m_update = Resolve<PFN_RRAS_UpdatePortData>(m_module, "RRAS_UpdatePortData");
        m_portData = Resolve<PFN_RRAS_GetPortData>(m_module, "RRAS_GetPortData");
        m_portView = Resolve<PFN_RRAS_CreatePortViewData>(m_module, "RRAS_CreatePortViewData");
        m_disconnect = Resolve<PFN_RRAS_DisconnectPort>(m_module, "RRAS_DisconnectPort");
        QVERIFY(m_attach && m_numberOfPorts && m_update && m_portData && m_portView && m_disconnect);
    }

    void init() { m_attach(m_site.Root()); }

    void cleanupTestCase() { dlclose(m_module); }

    // A router answers while RemoteAccess or Router runs there.
    void numberOfPorts() {
        DWORD ports = 0, busy = 0;
        QVERIFY(m_numberOfPorts("\\\\RTR1", &ports, &busy));
        QCOMPARE(std::pair(ports, busy), std::pair(DWORD(3), DWORD(2)));
        QVERIFY(m_numberOfPorts("\\\\rtr2", &ports, &busy));
        QCOMPARE(std::pair(ports, busy), std::pair(DWORD(1), DWORD(1)));
    }

    // Names and users are cut to the console's fields; the address is packed most
    // significant byte first.
    void portData() {
        const QList<Entry> expected = {
            {"VPN1-1", "OSTER\\alice", 0x0A000007, kStart1},
            {"VPN1-2", "", 0, 0},
            {QByteArray::fromStdString(m_site.kLongPort.substr(0, 59)),
             QByteArray::fromStdString(("OSTER\\" + m_site.kLongUser).substr(0, 79)), 0xC0A8C8FE,
             kStart1 + 1}};
        QCOMPARE(Snapshot("\\\\RTR1", true), expected);

        // An index past the table gives nothing and leaves the buffers alone.
        char name[RrasLen::PortName] = "untouched";
        char user[RrasLen::User] = "untouched";
        DWORD address = 0xABCD, start = 0x1234;
        QVERIFY(!m_portData(3, name, user, &address, &start));
        QVERIFY(!m_portData(0xFFFFFFFF, name, user, &address, &start));
        QCOMPARE(std::pair(QByteArray(name), QByteArray(user)),
                 std::pair(QByteArray("untouched"), QByteArray("untouched")));
        QCOMPARE(std::pair(address, start), std::pair(DWORD(0xABCD), DWORD(0x1234)));

        // A failed refresh leaves nothing stale to read.
        QCOMPARE(Snapshot("\\\\GONE", false), QList<Entry>());
        QVERIFY(!m_portData(0, name, user, &address, &start));
    }

    // Two fetchers on two servers: each refreshes, then both read after the other
    // has refreshed too, over several rounds.
    void tablesArePerThread() {
        std::barrier sync(2);
        QList<Entry> seen[2];
        auto fetcher = [&](int which, const char* server) {
            for (int round = 0; round < 20; ++round) {
                DWORD n = 0;
                m_update(server, &n);
                sync.arrive_and_wait();
                seen[which] = Read(n);
                sync.arrive_and_wait();
            }
        };
        std::thread a(fetcher, 0, "\\\\RTR1");
        std::thread b(fetcher, 1, "\\\\RTR2");
        a.join();
        b.join();
        QCOMPARE(seen[0].size(), 3);
        QCOMPARE(seen[0][0].name, QByteArray("VPN1-1"));
        QCOMPARE(seen[1], (QList<Entry>{{"PPTP1", "OSTER\\bob", 0xAC100501, kStart1 + 2}}));
    }

    void portView_data() {
        QTest::addColumn<QByteArray>("port");
        QTest::addColumn<uint>("code");
        QTest::addColumn<QStringList>("values"); // UserName, PortCond, HWCond, Started, IP, NetBIOS, CrcErr

        QTest::newRow("session") << QByteArray("vpn1-1") << 0u
                                 << QStringList{
                                        u"OSTER\\alice"_s, u"5"_s,       u"1"_s, QString::number(kStart1),
                                        u"10.0.0.7"_s,     u"ALICEPC"_s, u"3"_s};
        QTest::newRow("idle: the seed stays, an earlier session's keys go")
            << QByteArray("VPN1-2") << uint(RrasPortViewOk)
            << QStringList{u"*"_s, u"3"_s, u"3"_s, u"0"_s, QString(), QString(), u"0"_s};
    }

    // The console seeds the file and reads it back by the profile rules; every
    // other section and key stays.
    void portView() {
        QFETCH(QByteArray, port);
        QFETCH(QStringList, values);
        const std::string file = QFile::encodeName(m_temp.filePath(u"~rrasprt.tmp"_s)).toStdString();
        QFile::remove(QString::fromStdString(file));
        Ini::Files files;
        QVERIFY(files.WriteString(file, "Other", "Keep", "1"));
        QVERIFY(files.WriteString(file, "PS", "UserName", "*"));
        QVERIFY(files.WriteString(file, "PS", "IP", "10.9.9.9"));
        QTEST(uint(m_portView("\\\\RTR1", port, file.c_str())), "code");

        QStringList got;
        for (const char* key : {"UserName", "PortCond", "HWCond", "Started", "IP", "NetBIOS", "CrcErr"})
            got << QString::fromStdString(files.GetString(file, "PS", key, "missing"));
        QCOMPARE(got, values);
        QCOMPARE(files.KeyNames(file, "PS").size(), std::size_t(26));
        QCOMPARE(files.GetString(file, "Other", "Keep", ""), std::string("1"));
    }

    void failures_data() {
        QTest::addColumn<QByteArray>("server");
        QTest::addColumn<QByteArray>("port");
        QTest::addColumn<QString>("file");
        QTest::addColumn<uint>("code");

        QTest::newRow("unreachable") << QByteArray("\\\\GONE") << QByteArray("VPN1") << u"e.tmp"_s << 53u;
        QTest::newRow("unknown host") << QByteArray("NOWHERE") << QByteArray("VPN1") << u"e.tmp"_s << 53u;
        QTest::newRow("access denied") << QByteArray("\\\\LOCKED") << QByteArray("VPN1") << u"e.tmp"_s << 5u;
        QTest::newRow("classic RAS host")
            << QByteArray("RASSRV") << QByteArray("COM1") << u"e.tmp"_s << 1722u;
        QTest::newRow("router stopped")
            << QByteArray("\\\\RTR3") << QByteArray("VPN1") << u"e.tmp"_s << 1722u;
        QTest::newRow("unknown port") << QByteArray("\\\\RTR1") << QByteArray("VPN9") << u"e.tmp"_s << 55u;
        QTest::newRow("missing folder")
            << QByteArray("\\\\RTR1") << QByteArray("VPN1-1") << u"no/such/dir/e.tmp"_s << 1013u;
        QTest::newRow("path is a folder")
            << QByteArray("\\\\RTR1") << QByteArray("VPN1-1") << QString() << 1013u;
    }

    // A failed call leaves no file behind for the console to misread, and a
    // hang-up that cannot be made changes nothing. Where the server fails, it
    // gives no port count either.
    void failures() {
        QFETCH(QByteArray, server);
        QFETCH(QByteArray, port);
        QFETCH(QString, file);
        QFETCH(uint, code);
        QFile::remove(m_temp.filePath(u"e.tmp"_s));
        QCOMPARE(uint(m_portView(server, port, QFile::encodeName(m_temp.filePath(file)))), code);
        QVERIFY(!QFile::exists(m_temp.filePath(u"e.tmp"_s)));
        DWORD ports = 0, busy = 0;
        QCOMPARE(m_numberOfPorts(server, &ports, &busy) != 0, server == "\\\\RTR1");
        if (code != 1013)
            QCOMPARE(uint(m_disconnect(server, port)), code);
        const QList<Entry> rtr1 = Snapshot("\\\\RTR1", true);
        QCOMPARE(rtr1.size(), 3);
        QCOMPARE(rtr1[0].user, QByteArray("OSTER\\alice"));
    }

    void disconnect() {
        TestSite site;
        m_attach(site.Root());
        QCOMPARE(m_disconnect("RTR1", "vpn1-1"), Err::Success);
        const auto table = site.Ports("RTR1");
        QCOMPARE(table.size(), std::size_t(3));
        QVERIFY(!table[0].Connected() && table[2].Connected());
        DWORD ports = 0, busy = 0;
        QVERIFY(m_numberOfPorts("\\\\RTR1", &ports, &busy));
        QCOMPARE(busy, DWORD(1));
        QCOMPARE(m_disconnect("\\\\RTR1", "VPN1-1"), Err::Success); // now idle
    }

private:
    QList<Entry> Read(DWORD n) {
        QList<Entry> entries;
        for (DWORD i = 0; i < n; ++i) {
            char name[RrasLen::PortName];
            char user[RrasLen::User];
            Entry e;
            if (m_portData(i, name, user, &e.address, &e.start)) {
                e.name = name;
                e.user = user;
                entries << e;
            }
        }
        return entries;
    }
    // The server's table as the console reads it after a refresh that succeeded
    // or failed as expected (else an entry saying so).
    QList<Entry> Snapshot(const char* server, bool ok) {
        DWORD n = 0xDEAD;
        if ((m_update(server, &n) != 0) != ok)
            return {{"refresh failed", "", 0, 0}};
        return Read(n);
    }

    TestSite m_site;
    QTemporaryDir m_temp;
    void* m_module = nullptr;
    Site::PFN_CwSiteAttach m_attach = nullptr;
    PFN_RRAS_GetNumberOfPorts m_numberOfPorts = nullptr;
    PFN_RRAS_UpdatePortData m_update = nullptr;
    PFN_RRAS_GetPortData m_portData = nullptr;
    PFN_RRAS_CreatePortViewData m_portView = nullptr;
    PFN_RRAS_DisconnectPort m_disconnect = nullptr;
};

QTEST_GUILESS_MAIN(TestCwadmin)
#include "tst_cwadmin.moc"
