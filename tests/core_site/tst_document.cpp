// The document's configuration and service-state share, its port and account
// operations, and the service pipe's client, over sites.
#include "core/pipe/servicepipeclient.h"
#include "platform/site/sitedirectory.h"
#include "support/testconsole.h"

#include <QLocalServer>
#include <QLocalSocket>
#include <QtEndian>
#include <QtTest>

using namespace Qt::StringLiterals;
using namespace OCL;

namespace {

const QString kService = u"HKEY_LOCAL_MACHINE\\Software\\Osterline Technologies\\Callwarden\\Service"_s;

// Keeps every pipe transaction while passing it on to the site.
class CRecordingPipe final : public IServicePipe {
public:
    explicit CRecordingPipe(std::unique_ptr<IServicePipe> inner) : m_inner(std::move(inner)) {}
    DWORD Call(const std::string& pipeName, const void* request, DWORD requestSize, void* reply,
               DWORD replySize, DWORD* bytesRead, DWORD timeoutMs) override {
        calls.append({QString::fromStdString(pipeName),
                      QByteArray(static_cast<const char*>(request), qsizetype(requestSize)), replySize});
        return m_inner->Call(pipeName, request, requestSize, reply, replySize, bytesRead, timeoutMs);
    }
    struct CallRecord {
        QString pipe;
        QByteArray request;
        DWORD replySize;
    };
    QList<CallRecord> calls;

private:
    std::unique_ptr<IServicePipe> m_inner;
};

CRecordingPipe& RecordPipe(CTestConsole& console) {
    auto recorder = std::make_unique<CRecordingPipe>(std::move(console.Platform().pipe));
    CRecordingPipe& ref = *recorder;
    console.Platform().pipe = std::move(recorder);
    return ref;
}

// A service pipe peer answering every request with a fixed reply.
class CPipePeer : public QObject {
public:
    CPipePeer(const QString& socketPath, QByteArray reply) : m_reply(std::move(reply)) {
        QDir().mkpath(QFileInfo(socketPath).absolutePath());
        QLocalServer::removeServer(socketPath);
        m_server.listen(socketPath);
        QObject::connect(&m_server, &QLocalServer::newConnection, this, [this] {
            QLocalSocket* socket = m_server.nextPendingConnection();
            QObject::connect(socket, &QLocalSocket::readyRead, socket, [this, socket] {
                m_buffer += socket->readAll();
                if (m_buffer.size() < 4)
                    return;
                const quint32 length = qFromLittleEndian<quint32>(m_buffer.constData());
                if (quint32(m_buffer.size()) < 4 + length)
                    return;
                requests.append(m_buffer.mid(4, qsizetype(length)));
                m_buffer.clear();
                QByteArray answer(4, '\0');
                qToLittleEndian<quint32>(quint32(m_reply.size()), answer.data());
                socket->write(answer + m_reply);
                socket->flush();
                socket->disconnectFromServer();
            });
        });
    }
    bool Listening() const { return m_server.isListening(); }
    QList<QByteArray> requests;

private:
    QLocalServer m_server;
    QByteArray m_reply;
    QByteArray m_buffer;
};

QString SocketOf(CTestConsole& console, const QString& host) {
    OCL::Site::SiteDirectory site(console.Root().toStdString());
    return QString::fromStdString(site.PipeSocket(host.toStdString(), "cwsvcpipe").string());
}

} // namespace

class TestDocument : public QObject {
    Q_OBJECT
private slots:
    void accessorFailures();
    void clientSettings_data();
    void clientSettings();
    void refreshSkipsFailedServers_data();
    void refreshSkipsFailedServers();
    void serverByName();
    void saveServerProperties();
    void serviceRunning_data();
    void serviceRunning();
    void portDetailOfRouter();
    void portDetailOfClassicRas();
    void accountPrivileges();
    void disconnectPort_data();
    void disconnectPort();
    void languageLocale_data();
    void languageLocale();
    void pipeReplies_data();
    void pipeReplies();
    void pipeWithoutService();
};

void TestDocument::accessorFailures() {
    CTestConsole console([](CSiteWriter& w) {
        CTestConsole::AddServer(w, u"SRV"_s, u"RAS"_s, u"4.0"_s, 1, true);
        CSiteWriter::HostOptions gone;
        gone.reachable = false;
        w.AddHost(u"GONE"_s, gone);
        w.SetRegRaw(u"SRV"_s, kService, u"Word"_s, RegType::Binary, QByteArray("\x01\x02", 2));
    });
    CCwadminDoc& doc = console.Doc();
    DWORD value = 0xAABBCCDD;
    // A missing value leaves the preset; an unreachable computer gives 0.
    QVERIFY(!doc.ReadRegDWORD(u"SRV"_s, u"Service"_s, u"Missing"_s, &value));
    QCOMPARE(value, 0xAABBCCDDu);
    QVERIFY(!doc.ReadRegDWORD(u"SRV"_s, u"NoSuchKey"_s, u"Master"_s, &value));
    QCOMPARE(value, 0u);
    value = 7;
    QVERIFY(!doc.ReadRegDWORD(u"GONE"_s, u"Service"_s, u"Master"_s, &value));
    QCOMPARE(value, 0u);
    // Two stored bytes replace two of the preset's four.
    value = 0xAABBCCDD;
    QVERIFY(doc.ReadRegDWORD(u"SRV"_s, u"Service"_s, u"Word"_s, &value));
    QCOMPARE(value, 0xAABB0201u);

    QString text = u"preset"_s;
    QVERIFY(!doc.ReadRegString(u"SRV"_s, u"Service"_s, u"Missing"_s, &text));
    QVERIFY(!doc.ReadRegString(u"GONE"_s, u"Service"_s, u"Version"_s, &text));
    QCOMPARE(text, u"preset"_s);
    QVERIFY(doc.ReadRegString(u"SRV"_s, u"Service"_s, u"Version"_s, &text));
    QCOMPARE(text, u"3.2.1"_s);

    QVERIFY(!doc.SetRegDWORD(u"SRV"_s, u"General"_s, u"X"_s, 1));
    QVERIFY(!doc.SetRegString(u"GONE"_s, u"Service"_s, u"X"_s, u"y"_s));
    QVERIFY(doc.SetRegString(u"SRV"_s, u"Service"_s, u"Version"_s, u"4.0.0"_s));
    QVERIFY(doc.ReadRegString(u"SRV"_s, u"Service"_s, u"Version"_s, &text));
    QCOMPARE(text, u"4.0.0"_s);
    QVERIFY(console.Prompter().Boxes().isEmpty());
}

void TestDocument::clientSettings_data() {
    QTest::addColumn<QString>("autoSize"); // "" = missing
    QTest::addColumn<QString>("columns");
    QTest::addColumn<QString>("seconds");
    QTest::addColumn<int>("expectAutoSize");
    QTest::addColumn<uint>("expectColumns");
    QTest::addColumn<int>("expectSeconds");
    QTest::newRow("1 switches auto-size off") << "1"
                                              << "5"
                                              << "1" << 0 << 5u << 1;
    QTest::newRow("0 keeps it on") << "0"
                                   << "0"
                                   << "0" << 1 << 0xFFFFFFFFu << 0;
    QTest::newRow("2 keeps it on") << "2"
                                   << ""
                                   << "7" << 1 << 0xFFFFFFFFu << 1;
    QTest::newRow("missing keeps it on") << ""
                                         << ""
                                         << "" << 1 << 0xFFFFFFFFu << 0;
}

void TestDocument::clientSettings() {
    QFETCH(QString, autoSize);
    QFETCH(QString, columns);
    QFETCH(QString, seconds);
    QFETCH(int, expectAutoSize);
    QFETCH(uint, expectColumns);
    QFETCH(int, expectSeconds);
    CTestConsole console([&](CSiteWriter& w) {
        if (!autoSize.isEmpty())
            w.SetClientDword(kTestConsole, u"AutoSizeColumns"_s, autoSize.toUInt());
        if (!columns.isEmpty())
            w.SetClientDword(kTestConsole, u"HistoryViewColumns"_s, columns.toUInt());
        if (!seconds.isEmpty())
            w.SetClientDword(kTestConsole, u"TimeFormatSeconds"_s, seconds.toUInt());
        w.SetRegDword(kTestConsole,
                      u"HKEY_LOCAL_MACHINE\\System\\CurrentControlSet\\Control\\TimeZoneInformation"_s,
                      u"ActiveTimeBias"_s, quint32(-120));
    });
    CCwadminDoc& doc = console.Doc();
    QVERIFY(doc.OnNewDocument());
    QCOMPARE(doc.m_autoSizeColumns, expectAutoSize);
    QCOMPARE(doc.m_historyColumns, quint32(expectColumns));
    QCOMPARE(doc.m_showSeconds, expectSeconds);
    QCOMPARE(doc.m_consoleTimeBias, -120);
    QCOMPARE(doc.m_viewMode, 0);
    QCOMPARE(doc.m_usersReloadPending, 1);
    QCOMPARE(doc.LanguageLocale(), 0u);
    QVERIFY(doc.ShownYear() > 2000);
}

void TestDocument::refreshSkipsFailedServers_data() {
    QTest::addColumn<uint>("state");
    QTest::addColumn<bool>("fetched");
    for (uint state : {0u, 3u, 5u, 8u})
        QTest::addRow("state %u fetched", state) << state << true;
    for (uint state : {1u, 2u, 4u, 6u, 7u, 9u})
        QTest::addRow("state %u skipped", state) << state << false;
}

void TestDocument::refreshSkipsFailedServers() {
    QFETCH(uint, state);
    QFETCH(bool, fetched);
    CTestConsole console(
        [](CSiteWriter& w) { CTestConsole::AddServer(w, u"SRV"_s, u"RAS"_s, u"4.0"_s, 1, true); });
    CCwadminDoc& doc = console.Doc();
    doc.Servers()[0].m_state = state;
    doc.updateAllServersData();
    QCOMPARE(doc.Servers()[0].m_fetcher != nullptr, fetched);
    QTRY_VERIFY_WITH_TIMEOUT(!doc.Servers().FetchRunning(), 10000);
    // A forced refresh fetches every server, and the flag is used up.
    doc.Servers().CleanUpThread(0);
    doc.Servers()[0].m_state = state;
    doc.m_forceRefresh = 1;
    doc.updateAllServersData();
    QVERIFY(doc.Servers()[0].m_fetcher != nullptr);
    QCOMPARE(doc.m_forceRefresh, 0);
    QTRY_VERIFY_WITH_TIMEOUT(!doc.Servers().FetchRunning(), 10000);
}

void TestDocument::serverByName() {
    CTestConsole console([](CSiteWriter& w) { w.AddMonitoredServer(kTestConsole, u"RAS1"_s); });
    CCwadminDoc& doc = console.Doc();
    QVERIFY(doc.GetServerByName(u"RAS1"_s));
    QVERIFY(console.Prompter().Boxes().isEmpty());
    QCOMPARE(doc.GetServerByName(u"ras1"_s), nullptr);
    QCOMPARE(console.Prompter().Texts(), QStringList({u"Server ras1 not found in server list"_s}));
    QCOMPARE(int(console.Prompter().Boxes()[0].icon), int(IPrompter::Icon::None));
}

void TestDocument::saveServerProperties() {
    CTestConsole console(
        [](CSiteWriter& w) { CTestConsole::AddServer(w, u"SRV"_s, u"RAS"_s, u"4.0"_s, 1, false, u"PDC"_s); });
    CRecordingPipe& pipe = RecordPipe(console);
    CCwadminDoc& doc = console.Doc();
    CServer& server = doc.Servers()[0];
    server.m_master = 1;
    std::strcpy(server.m_masterShare, "\\\\SRV\\CW_NT_DB");
    server.m_logToEventLog = 0;
    server.m_staticIP = 1;
    server.m_idleTimer = 45;
    QVERIFY(doc.SaveServerProperties(0));
    DWORD value = 0;
    QVERIFY(doc.ReadRegDWORD(u"SRV"_s, u"Service"_s, u"Master"_s, &value));
    QCOMPARE(value, 1u);
    QString share;
    QVERIFY(doc.ReadRegString(u"SRV"_s, u"Service"_s, u"MasterShare"_s, &share));
    QCOMPARE(share, u"\\\\SRV\\CW_NT_DB"_s);
    QVERIFY(doc.ReadRegDWORD(u"SRV"_s, u"Service"_s, u"LogSessionEventsToEventLog"_s, &value));
    QCOMPARE(value, 0u);
    QVERIFY(doc.ReadRegDWORD(u"SRV"_s, u"Service"_s, u"StaticIP"_s, &value));
    QCOMPARE(value, 1u);
    QVERIFY(doc.ReadRegDWORD(u"SRV"_s, u"Service"_s, u"IdleTimer"_s, &value));
    QCOMPARE(value, 45u);
    // Then the update notice, whose failure (no service listens) goes unreported.
    QCOMPARE(pipe.calls.size(), 1);
    QCOMPARE(pipe.calls[0].pipe, u"\\\\SRV\\pipe\\cwsvcpipe"_s);
    QCOMPARE(pipe.calls[0].request, QByteArray("UPDATE_UPDATE"));
    QCOMPARE(pipe.calls[0].replySize, 200u);
    QVERIFY(console.Prompter().Boxes().isEmpty());
}

void TestDocument::serviceRunning_data() {
    QTest::addColumn<QString>("kind");
    QTest::addColumn<QString>("version");
    QTest::addColumn<bool>("tracking");
    QTest::addColumn<QString>("stopped"); // the service stopped on the site
    QTest::addColumn<int>("answer");
    QTest::newRow("tracking running") << "RAS"
                                      << "4.0" << true << "" << 1;
    QTest::newRow("tracking stopped") << "RAS"
                                      << "4.0" << true << "Callwarden" << 2;
    QTest::newRow("classic RAS uses RemoteAccess") << "RAS"
                                                   << "4.0" << false << "RemoteAccess" << 2;
    QTest::newRow("router on 4.0 uses Router") << "RRAS"
                                               << "4.0" << false << "Router" << 2;
    // Asking RemoteAccess there would find no such service and answer 0.
    QTest::newRow("router on 4.0 running") << "RRAS"
                                           << "4.0" << false << "" << 1;
    QTest::newRow("router on 5.0 uses RemoteAccess") << "RRAS"
                                                     << "5.0" << false << "RemoteAccess" << 2;
    QTest::newRow("router on 5.0 running") << "RRAS"
                                           << "5.0" << false << "" << 1;
    QTest::newRow("unreachable") << "RAS"
                                 << "4.0" << true << "unreachable" << 0;
}

void TestDocument::serviceRunning() {
    QFETCH(QString, kind);
    QFETCH(QString, version);
    QFETCH(bool, tracking);
    QFETCH(QString, stopped);
    QFETCH(int, answer);
    CTestConsole console([&](CSiteWriter& w) {
        CTestConsole::AddServer(w, u"SRV"_s, kind, version, 1, true);
        if (stopped == u"unreachable"_s)
            w.SetHostValue(u"SRV"_s, u"Reachable"_s, u"0"_s);
        else if (!stopped.isEmpty())
            w.SetService(u"SRV"_s, stopped, 1);
    });
    CCwadminDoc& doc = console.Doc();
    doc.Servers()[0].m_rasKind = kind == u"RAS"_s ? RasKindValue::Ras : RasKindValue::Rras;
    QCOMPARE(doc.IsServiceRunning(u"SRV"_s, tracking), answer);
}

void TestDocument::portDetailOfRouter() {
    CTestConsole console(
        [](CSiteWriter& w) { CTestConsole::AddServer(w, u"SRV"_s, u"RRAS"_s, u"5.0"_s, 2, true); });
    CCwadminDoc& doc = console.Doc();
    QVERIFY(console.FetchAll());
    // An idle port: the library answers 666, which counts as success.
    QCOMPARE(doc.Update_ServerPortDataTemp(0, u"VPN1-1"_s), 1);
    const std::string file = doc.PortDetailFile().toStdString();
    QCOMPARE(QString::fromStdString(console.Files().GetString(file, "PS", "UserName", "")), u"*"_s);
    QVERIFY(console.Prompter().Boxes().isEmpty());
    QCOMPARE(doc.Update_ServerPortDataTemp(0, u"NOPORT"_s), 0);
    QCOMPARE(console.Prompter().Texts(),
             QStringList({u"Error 55 when attempting to read RRAS data from port."_s}));

    console.Writer().SetSiteValue(u"Site"_s, u"RouterAdmin"_s, u"0"_s);
    console.Save();
    console.Prompter().Clear();
    QCOMPARE(doc.Update_ServerPortDataTemp(0, u"VPN1-1"_s), 0);
    QCOMPARE(console.Prompter().Texts(), QStringList({u"Failed to initialize RRAS interface"_s}));
    QCOMPARE(int(console.Prompter().Boxes()[0].icon), int(IPrompter::Icon::Error));
}

void TestDocument::portDetailOfClassicRas() {
    CTestConsole console(
        [](CSiteWriter& w) { CTestConsole::AddServer(w, u"SRV"_s, u"RAS"_s, u"4.0"_s, 2, true); });
    CCwadminDoc& doc = console.Doc();
    QVERIFY(console.FetchAll());
    QCOMPARE(doc.Update_ServerPortDataTemp(0, u"COM2"_s), 1);
    QCOMPARE(QString::fromUtf16(doc.m_port1.rasport0.wszPortName), u"COM2"_s);
    QCOMPARE(doc.m_port1.LineSpeed, 33600u);
    QCOMPARE(doc.Update_ServerPortDataTemp(0, u"COM9"_s), 0);
    QCOMPARE(console.Prompter().Texts(),
             QStringList({u"Error 55 when attempting to read RAS data from port."_s}));
}

void TestDocument::accountPrivileges() {
    CTestConsole console([](CSiteWriter& w) {
        w.AddHost(u"PDC"_s);
        w.AddDomain(u"SALES"_s, u"PDC"_s);
        w.AddUser(u"SALES"_s, u"alice"_s);
        w.SetRasUser(u"PDC"_s, u"alice"_s, 8 + 2, u"5551234"_s);
    });
    CCwadminDoc& doc = console.Doc();
    QCOMPARE(doc.GetUserRASPrivs(u"\\\\PDC"_s, u"alice"_s), 10);
    QCOMPARE(doc.m_callbackNumber, u"5551234"_s);
    doc.m_callbackNumber = u"5550000"_s;
    QCOMPARE(doc.SetUserRASPrivs(u"\\\\PDC"_s, u"alice"_s, 8 + 1), 1);
    doc.m_callbackNumber.clear();
    QCOMPARE(doc.GetUserRASPrivs(u"\\\\PDC"_s, u"alice"_s), 9);
    QCOMPARE(doc.m_callbackNumber, u"5550000"_s);
    QCOMPARE(doc.GetUserRASPrivs(u"\\\\PDC"_s, u"nobody"_s), 0);
    QCOMPARE(doc.m_callbackNumber, QString());
}

void TestDocument::disconnectPort_data() {
    QTest::addColumn<QString>("kind");
    QTest::addColumn<QString>("port");
    QTest::newRow("classic RAS") << "RAS"
                                 << "COM1";
    QTest::newRow("Routing and RAS") << "RRAS"
                                     << "VPN1-1";
}

void TestDocument::disconnectPort() {
    QFETCH(QString, kind);
    QFETCH(QString, port);
    CTestConsole console(
        [&](CSiteWriter& w) { CTestConsole::AddServer(w, u"SRV"_s, kind, u"5.0"_s, 1, true); });
    OCL::Site::SiteDirectory site(console.Root().toStdString());
    auto host = site.FindHost("SRV");
    site.EditPorts(*host, [](std::vector<OCL::Site::PortRecord>& ports) {
        ports[0].user = "carol";
        ports[0].domain = "SALES";
        ports[0].start = 1700000000;
        return true;
    });
    CCwadminDoc& doc = console.Doc();
    QVERIFY(console.FetchAll());
    QCOMPARE(doc.DisconnectPort(u"SRV"_s, port), 0u);
    QVERIFY(!site.ReadPorts(*host)[0].Connected());
}

void TestDocument::languageLocale_data() {
    QTest::addColumn<QString>("locale"); // "" = missing; "-" = no International key
    QTest::addColumn<bool>("reachable");
    QTest::addColumn<uint>("expected");
    QTest::newRow("german") << "00000407" << true << 1031u;
    QTest::newRow("value missing") << "" << true << 1033u;
    QTest::newRow("key missing") << "-" << true << 1024u;
    QTest::newRow("unreachable") << "00000407" << false << 1024u;
}

void TestDocument::languageLocale() {
    QFETCH(QString, locale);
    QFETCH(bool, reachable);
    QFETCH(uint, expected);
    CTestConsole console([&](CSiteWriter& w) {
        CSiteWriter::HostOptions options;
        options.reachable = reachable;
        w.AddHost(u"MASTER"_s, options);
        const QString key = u"HKEY_USERS\\.default\\Control Panel\\International"_s;
        if (locale == u"-"_s)
            w.CreateRegKey(u"MASTER"_s, u"HKEY_USERS\\.default"_s);
        else if (locale.isEmpty())
            w.CreateRegKey(u"MASTER"_s, key);
        else
            w.SetRegString(u"MASTER"_s, key, u"Locale"_s, locale);
    });
    CCwadminDoc& doc = console.Doc();
    doc.GetLangLocaleOnMaster(u"MASTER"_s);
    QCOMPARE(doc.LanguageLocale(), DWORD(expected));
    // Determined once.
    doc.GetLangLocaleOnMaster(u"ELSEWHERE"_s);
    QCOMPARE(doc.LanguageLocale(), DWORD(expected));
}

void TestDocument::pipeReplies_data() {
    QTest::addColumn<QByteArray>("reply");
    QTest::addColumn<int>("outcome");
    QTest::newRow("accepted") << QByteArray("0,Session accepted")
                              << int(CServicePipeClient::Outcome::Accepted);
    QTest::newRow("not accepted") << QByteArray("1,User not defined")
                                  << int(CServicePipeClient::Outcome::NotAccepted);
    QTest::newRow("one character") << QByteArray("0") << int(CServicePipeClient::Outcome::Unchanged);
    QTest::newRow("empty") << QByteArray() << int(CServicePipeClient::Outcome::Unchanged);
}

void TestDocument::pipeReplies() {
    QFETCH(QByteArray, reply);
    QFETCH(int, outcome);
    CTestConsole console([](CSiteWriter& w) { w.AddHost(u"SRV"_s); });
    CPipePeer peer(SocketOf(console, u"SRV"_s), reply);
    QVERIFY(peer.Listening());
    CServicePipeClient client(console.Environment());
    CServicePipeClient::Result result;
    const QByteArray request = CServicePipeClient::ConnectRequest(u"COM1"_s, u"SALES\\bob"_s, kTestConsole);
    // The peer answers on this thread's event loop while the client waits on another.
    std::thread caller([&] {
        result = client.Request(CServicePipeClient::RemotePipeName(u"SRV"_s), request,
                                CServicePipeClient::kSimulatorReplySize);
    });
    QTRY_COMPARE(peer.requests.size(), 1);
    caller.join();
    QCOMPARE(peer.requests[0], QByteArray("0,COM1,SALES\\bob,ADMINPC,0,0,0"));
    QCOMPARE(result.error, 0u);
    QCOMPARE(result.reply, reply);
    QCOMPARE(int(CServicePipeClient::ConnectOutcome(result.reply)), outcome);
}

void TestDocument::pipeWithoutService() {
    CTestConsole console([](CSiteWriter& w) {
        w.AddHost(u"SRV"_s);
        CSiteWriter::HostOptions denied;
        denied.accessDenied = true;
        w.AddHost(u"LOCKED"_s, denied);
    });
    CServicePipeClient client(console.Environment());
    const auto none = client.Request(CServicePipeClient::RemotePipeName(u"SRV"_s), "x", 2000);
    QCOMPARE(none.error, 2u);
    QVERIFY(CServicePipeClient::FailureText(u"SRV"_s, none.error)
                .endsWith(u"\n\nIs the Callwarden Service running on this server?"_s));
    const auto locked = client.Request(CServicePipeClient::RemotePipeName(u"LOCKED"_s), "x", 2000);
    QCOMPARE(locked.error, 5u);
    QCOMPARE(client.Request(CServicePipeClient::RemotePipeName(u"NOWHERE"_s), "x", 2000).error, 53u);
}

QTEST_MAIN(TestDocument)
#include "tst_document.moc"
