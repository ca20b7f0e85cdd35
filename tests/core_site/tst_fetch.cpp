// Fetch outcomes over site hosts, the server list's persistence and its rules
// while fetches run.
#include "core/servers/fetcher.h"
#include "core/servers/servernotice.h"
#include "support/testconsole.h"

#include <QtTest>

using namespace Qt::StringLiterals;
using namespace OCL;

namespace {

const QString kService = u"HKEY_LOCAL_MACHINE\\Software\\Osterline Technologies\\Callwarden\\Service"_s;

// The one server of a console after a fetch.
CServer& Only(CTestConsole& console) {
    return console.Doc().Servers()[0];
}

QString Text(const char* field) {
    return QString::fromLatin1(field);
}

} // namespace

class TestFetch : public QObject {
    Q_OBJECT
private slots:
    void refreshSkipsFailedServers_data();
    void refreshSkipsFailedServers();
    void outcomes_data();
    void outcomes();
    void sessionOnAPort_data();
    void sessionOnAPort();
    void unchangedFetchPostsState();
    void masterPathsFilledOnce();
    void secondGetDataWhileRunningDoesNothing();
    void destroyingFetcherWaitsForRead();
    void removeWhileFetching();

    void listPersistence();
    void failedRegistryWrite();
};

void TestFetch::refreshSkipsFailedServers_data() {
    QTest::addColumn<uint>("state");
    QTest::addColumn<bool>("fetched");
    for (uint state : {0u, 3u, 5u, 8u})
        QTest::addRow("state %u fetched", state) << state << true;
    for (uint state : {1u, 2u, 4u, 6u, 7u, 9u})
        QTest::addRow("state %u skipped", state) << state << false;
}

void TestFetch::refreshSkipsFailedServers() {
    // A forced refresh fetches them all: the frame's Refresh test proves it.
    QFETCH(uint, state);
    QFETCH(bool, fetched);
    CTestConsole console(
        [](CSiteWriter& w) { CTestConsole::AddServer(w, u"SRV"_s, u"RAS"_s, u"4.0"_s, 1, true); });
    CCwadminDoc& doc = console.Doc();
    doc.Servers()[0].m_state = state;
    doc.updateAllServersData();
    QCOMPARE(doc.Servers()[0].m_fetcher != nullptr, fetched);
    QTRY_VERIFY_WITH_TIMEOUT(!doc.Servers().FetchRunning(), 10000);
}

void TestFetch::outcomes_data() {
    QTest::addColumn<QString>("variant");
    QTest::addColumn<uint>("state");
    QTest::addColumn<uint>("ports");
    QTest::newRow("unreachable host") << "unreachable" << 1u << 666u;
    QTest::newRow("no service key") << "nokey" << 1u << 666u;
    QTest::newRow("missing Version, no RAS read") << "noversion" << 2u << 666u;
    QTest::newRow("missing MasterShare") << "noshare" << 2u << 666u;
    QTest::newRow("classic enumeration failure") << "rasstopped" << 6u << 666u;
    QTest::newRow("router initialisation failure") << "noradmin" << 7u << 666u;
    QTest::newRow("router read failure") << "rrasstopped" << 9u << 666u;
    QTest::newRow("classic ready") << "ras" << 0u << 4u;
    QTest::newRow("router ready") << "rras" << 0u << 4u;
}

void TestFetch::outcomes() {
    QFETCH(QString, variant);
    QFETCH(uint, state);
    QFETCH(uint, ports);
    CTestConsole console([&](CSiteWriter& w) {
        if (variant == u"nokey"_s) {
            // A computer without the service's key at all.
            w.AddHost(u"SRV"_s);
            w.AddMonitoredServer(kTestConsole, u"SRV"_s);
            return;
        }
        const bool router = variant == u"noradmin"_s || variant.startsWith(u"rras"_s);
        CTestConsole::AddServer(w, u"SRV"_s, router ? u"RRAS"_s : u"RAS"_s, u"5.0"_s, 4, true);
        if (variant == u"unreachable"_s)
            w.SetHostValue(u"SRV"_s, u"Reachable"_s, u"0"_s);
        if (variant == u"noversion"_s)
            w.DeleteRegValue(u"SRV"_s, kService, u"Version"_s);
        if (variant == u"noshare"_s) {
            w.SetServiceDword(u"SRV"_s, u"Master"_s, 0);
            w.DeleteRegValue(u"SRV"_s, kService, u"MasterShare"_s);
        }
        if (variant == u"rasstopped"_s)
            w.SetService(u"SRV"_s, u"RemoteAccess"_s, 1);
        if (variant == u"rrasstopped"_s)
            w.SetService(u"SRV"_s, u"RemoteAccess"_s, 1);
        if (variant == u"noradmin"_s)
            w.SetSiteValue(u"Site"_s, u"RouterAdmin"_s, u"0"_s);
    });
    QVERIFY(console.FetchAll());
    QCOMPARE(Only(console).m_state.load(), DWORD(state));
    QCOMPARE(Only(console).m_portCount, DWORD(ports));
    QVERIFY(console.Prompter().Boxes().isEmpty());
}

void TestFetch::sessionOnAPort_data() {
    QTest::addColumn<QString>("kind");
    QTest::addColumn<int>("notice"); // of the fetch that finds the session
    QTest::newRow("classic RAS") << u"RAS"_s << WM_NEW_SERVER_DATA;
    // A router whose only change is a session on a port reports a state, not data.
    QTest::newRow("Routing and RAS") << u"RRAS"_s << WM_NEW_SERVER_STATE;
}

void TestFetch::sessionOnAPort() {
    QFETCH(QString, kind);
    QFETCH(int, notice);
    CTestConsole console(
        [&](CSiteWriter& w) { CTestConsole::AddServer(w, u"SRV"_s, kind, u"5.0"_s, 3, true); });
    QVERIFY(console.FetchAll());
    QCOMPARE(Only(console).m_portCount, 3u);
    QCOMPARE(Only(console).m_rasKind, kind == u"RAS"_s ? RasKindValue::Ras : RasKindValue::Rras);
    OCL::Site::SiteDirectory site(console.Root().toStdString());
    site.EditPorts(*site.FindHost("SRV"), [](std::vector<OCL::Site::PortRecord>& ports) {
        ports[1].user = "alice";
        ports[1].domain = "SALES";
        ports[1].start = 1700000000;
        ports[1].ip = "10.0.0.7";
        return true;
    });
    console.Sink().notices.clear();
    QVERIFY(console.FetchAll(false));
    const CServer& server = Only(console);
    QCOMPARE(server.m_busyPorts, 1u);
    QCOMPARE(Text(server.m_ports[0].user), QString());
    QCOMPARE(Text(server.m_ports[1].user), u"SALES\\alice"_s);
    QCOMPARE(server.m_ports[1].startTime, 1700000000u);
    QCOMPARE(console.Sink().notices.last().message, notice);
    if (kind == u"RAS"_s)
        QCOMPARE(server.m_ports[1].connected, 1u); // kept on classic RAS only
    else
        QCOMPARE(server.m_ports[1].second, 0x0A000007u); // the client's address
}

void TestFetch::unchangedFetchPostsState() {
    // Texts longer than their fields: a user of 106 characters, a share of 600
    // bytes without a terminator. What is stored is cut; it must not count as
    // changed on every fetch.
    const QByteArray share = "\\\\PDC\\" + QByteArray(594, 'S');
    CTestConsole console([&](CSiteWriter& w) {
        CTestConsole::AddServer(w, u"SRV"_s, u"RAS"_s, u"4.0"_s, 2, false, u"PDC"_s);
        w.SetRegRaw(u"SRV"_s, kService, u"MasterShare"_s, RegType::Sz, share);
    });
    OCL::Site::SiteDirectory site(console.Root().toStdString());
    site.EditPorts(*site.FindHost("SRV"), [](std::vector<OCL::Site::PortRecord>& ports) {
        ports[0].user = std::string(100, 'u');
        ports[0].domain = "SALES";
        ports[0].start = 1700000000;
        return true;
    });
    QVERIFY(console.FetchAll());
    QCOMPARE(console.Sink().notices.last().message, WM_NEW_SERVER_DATA);
    QCOMPARE(Text(Only(console).m_ports[0].user), u"SALES\\"_s + QString(73, u'u'));
    QCOMPARE(Text(Only(console).m_masterShare), QString::fromLatin1(share.left(599)));
    console.Sink().notices.clear();
    QVERIFY(console.FetchAll(false));
    // The start of the fetch and its end both say "state".
    QCOMPARE(console.Sink().notices.size(), 2);
    QCOMPARE(console.Sink().notices[0].message, WM_NEW_SERVER_STATE);
    QCOMPARE(console.Sink().notices[1].message, WM_NEW_SERVER_STATE);
    QCOMPARE(Only(console).m_changeMask, 0u);
}

void TestFetch::masterPathsFilledOnce() {
    CTestConsole console([](CSiteWriter& w) {
        CTestConsole::AddServer(w, u"MASTER"_s, u"RAS"_s, u"4.0"_s, 1, true);
        CTestConsole::AddServer(w, u"OTHER"_s, u"RAS"_s, u"4.0"_s, 1, false, u"MASTER"_s);
    });
    CServerList& list = console.Doc().Servers();
    QVERIFY(!list.MasterKnown());
    QVERIFY(console.FetchAll());
    QVERIFY(list.MasterKnown());
    QCOMPARE(list.MasterName(), u"MASTER"_s);
    QCOMPARE(list.MasterShare(), u"\\\\MASTER\\CW_NT_DB"_s);
    QCOMPARE(list.UsersFile(), u"\\\\MASTER\\CW_NT_DB\\callward.usr"_s);
    QCOMPARE(list.HardwareFile(), u"\\\\MASTER\\CW_NT_DB\\callward.hw"_s);

    console.Writer().SetServiceString(u"MASTER"_s, u"MasterShare"_s, u"\\\\ELSEWHERE\\DATA"_s);
    console.Save();
    QVERIFY(console.FetchAll(false));
    QCOMPARE(list.MasterShare(), u"\\\\MASTER\\CW_NT_DB"_s);
    QCOMPARE(list.UsersFile(), u"\\\\MASTER\\CW_NT_DB\\callward.usr"_s);
}

void TestFetch::secondGetDataWhileRunningDoesNothing() {
    CTestConsole console([](CSiteWriter& w) {
        CTestConsole::AddServer(w, u"SLOW"_s, u"RAS"_s, u"4.0"_s, 1, true);
        w.SetHostValue(u"SLOW"_s, u"LatencyMs"_s, u"150"_s);
    });
    CCwadminDoc& doc = console.Doc();
    CServerList& list = doc.Servers();
    list.GetData(0, doc.RasFunc(), &console.Sink());
    CServerFetcherThread* first = list[0].m_fetcher;
    QVERIFY(first);
    list.GetData(0, doc.RasFunc(), &console.Sink());
    QCOMPARE(list[0].m_fetcher, first);
    QTRY_VERIFY_WITH_TIMEOUT(list[0].m_fetchFinished.load(), 10000);
    // Once finished, a new request replaces the idle fetcher.
    list.GetData(0, doc.RasFunc(), &console.Sink());
    QVERIFY(list[0].m_fetcher != nullptr);
    QTRY_VERIFY_WITH_TIMEOUT(list[0].m_fetchFinished.load(), 10000);
}

void TestFetch::destroyingFetcherWaitsForRead() {
    CTestConsole console([](CSiteWriter& w) {
        CTestConsole::AddServer(w, u"SLOW"_s, u"RAS"_s, u"4.0"_s, 1, true);
        w.SetHostValue(u"SLOW"_s, u"LatencyMs"_s, u"200"_s);
    });
    CCwadminDoc& doc = console.Doc();
    CServerList& list = doc.Servers();
    list.GetData(0, doc.RasFunc(), &console.Sink());
    QCOMPARE(Text(list[0].m_version), QString());
    // The registry read under way finishes before destruction returns; the
    // port read is then skipped and no result is posted.
    list.CleanUpThread(0);
    QCOMPARE(Text(list[0].m_version), u"3.2.1"_s);
    QCOMPARE(list[0].m_portCount, kUnknown);
    QCoreApplication::processEvents();
    for (const auto& notice : console.Sink().notices)
        QCOMPARE(notice.message, WM_NEW_SERVER_STATE); // only the start's notice
    QVERIFY(!list[0].m_fetchFinished.load());
}

void TestFetch::removeWhileFetching() {
    CTestConsole console([](CSiteWriter& w) {
        CTestConsole::AddServer(w, u"SLOW"_s, u"RAS"_s, u"4.0"_s, 1, true);
        CTestConsole::AddServer(w, u"FAST"_s, u"RAS"_s, u"4.0"_s, 1, false, u"SLOW"_s);
        w.SetHostValue(u"SLOW"_s, u"LatencyMs"_s, u"150"_s);
    });
    CCwadminDoc& doc = console.Doc();
    CServerList& list = doc.Servers();
    const int slow = list.GetServerNumberByName(u"SLOW"_s);
    list.GetData(std::size_t(slow), doc.RasFunc(), &console.Sink());
    // Removing the server does not wait for its fetch.
    list.DelServer(u"SLOW"_s);
    QCOMPARE(list.GetCount(), std::size_t(1));
    QVERIFY(list.FetchRunning());
    QTRY_VERIFY_WITH_TIMEOUT(!list.FetchRunning(), 10000);
    // Its late notices find no server.
    for (const auto& notice : console.Sink().notices)
        QVERIFY(!list.Resolve(notice.index, notice.serverId));
}

void TestFetch::listPersistence() {
    CTestConsole console([](CSiteWriter& w) {
        w.AddMonitoredServer(kTestConsole, u"RAS1"_s);
        w.AddMonitoredServer(kTestConsole, u"RAS2"_s);
    });
    CServerList& list = console.Doc().Servers();
    QCOMPARE(list.GetCount(), std::size_t(2));
    QCOMPARE(list[0].Name(), u"RAS1"_s);
    QCOMPARE(list.AddServer(u"RAS3"_s), 1);
    list.DelServer(u"RAS1"_s);

    CRasBinding binding;
    CCwadminDoc again(console.Environment(), binding);
    QStringList names;
    for (std::size_t i = 0; i < again.Servers().GetCount(); ++i)
        names << again.Servers()[i].Name();
    names.sort();
    QCOMPARE(names, QStringList({u"RAS2"_s, u"RAS3"_s}));
}

void TestFetch::failedRegistryWrite() {
    CTestConsole console;
    CServerList& list = console.Doc().Servers();
    // A registry file that went bad refuses every write.
    QFile file(console.Root() + u"/hosts/ADMINPC/registry.reg"_s);
    QVERIFY(file.open(QIODevice::Append));
    file.write("\r\n[HKEY_LOCAL_MACHINE\\Broken\r\n\"half=\r\n");
    file.close();
    QCOMPARE(list.AddServer(u"RAS9"_s), 1);
    QCOMPARE(list.GetCount(), std::size_t(0));
    QCOMPARE(console.Prompter().Texts(),
             QStringList({u"Failed to write RAS9 in local registry\n Server will not be monitored"_s}));
    QCOMPARE(int(console.Prompter().Boxes()[0].icon), int(IPrompter::Icon::Error));
}

QTEST_MAIN(TestFetch)
#include "tst_fetch.moc"
