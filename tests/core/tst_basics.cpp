// Port-name order, the trace facility, the thread handshake, the server record
// and the pipe protocol's own rules.
#include "core/doc/cwadmindoc.h"
#include "core/ocl/thread.h"
#include "core/ocl/trace.h"
#include "core/pipe/servicepipeclient.h"
#include "core/ras/raport.h"
#include "core/servers/server.h"

#include <QTemporaryDir>
#include <QtTest>

#include <algorithm>
#include <fstream>
#include <sstream>

using namespace Qt::StringLiterals;

class TestBasics : public QObject {
    Q_OBJECT
private slots:
    void portOrder_data();
    void portOrder();
    void portSort();

    void traceLine_data();
    void traceLine();
    void traceIndentIsPerThread();
    void traceFileEmptiedAndFlushed();
    void traceOffWritesNothing();

    void threadHandshake();
    void threadDestructionWaitsForRun();

    void serverStatus_data();
    void serverStatus();
    void serverCopyKeepsEveryField();
    void failureStates();

    void pipeName_data();
    void pipeName();
    void connectOutcome_data();
    void connectOutcome();
    void failureText_data();
    void failureText();
    void requests();

    void waitBlockTurns();
};

void TestBasics::portOrder_data() {
    QTest::addColumn<QString>("a");
    QTest::addColumn<QString>("b");
    QTest::addColumn<bool>("less");
    QTest::newRow("COM2 < COM10") << "COM2"
                                  << "COM10" << true;
    QTest::newRow("COM10 !< COM2") << "COM10"
                                   << "COM2" << false;
    QTest::newRow("same length plain") << "COM12"
                                       << "ISDN1" << true;
    QTest::newRow("same length reversed") << "ISDN1"
                                          << "COM12" << false;
    QTest::newRow("equal") << "COM1"
                           << "COM1" << false;
    QTest::newRow("prefix shorter wins") << "VPN"
                                         << "VPN1-0" << true;
    QTest::newRow("difference before digits") << "ABC10"
                                              << "ABD2" << true;
    QTest::newRow("digit against letter counts as 0") << "A1"
                                                      << "AB7" << false;
    QTest::newRow("numbers past the shorter length") << "X9"
                                                     << "X10" << true;
}

void TestBasics::portOrder() {
    QFETCH(QString, a);
    QFETCH(QString, b);
    QFETCH(bool, less);
    QCOMPARE(RAPort(a.toStdString()) < RAPort(b.toStdString()), less);
}

void TestBasics::portSort() {
    std::vector<RAPort> ports{RAPort("COM10"), RAPort("COM2"), RAPort("COM1")};
    std::sort(ports.begin(), ports.end());
    QCOMPARE(QString::fromStdString(ports[0].Name()), u"COM1"_s);
    QCOMPARE(QString::fromStdString(ports[1].Name()), u"COM2"_s);
    QCOMPARE(QString::fromStdString(ports[2].Name()), u"COM10"_s);
}

void TestBasics::traceLine_data() {
    QTest::addColumn<uint>("tick");
    QTest::addColumn<int>("indent");
    QTest::addColumn<QString>("expected");
    QTest::newRow("no indent") << 1234u << 0 << "[Tick: 1234] -text";
    QTest::newRow("two levels") << 5u << 2 << "[Tick: 5] -..text";
    QTest::newRow("tick shown signed") << 0xFFFFFFFFu << 1 << "[Tick: -1] -.text";
}

void TestBasics::traceLine() {
    QFETCH(uint, tick);
    QFETCH(int, indent);
    QFETCH(QString, expected);
    QCOMPARE(QString::fromStdString(OCL::TraceLine(tick, indent, "text")), expected);
}

void TestBasics::traceIndentIsPerThread() {
    QCOMPARE(OCL::TraceIndent::Level(), 0);
    OCL::TraceIndent outer;
    int other = -1;
    std::thread worker([&] {
        OCL::TraceIndent inner;
        other = OCL::TraceIndent::Level();
    });
    worker.join();
    QCOMPARE(other, 1);
    {
        OCL::TraceIndent inner;
        QCOMPARE(OCL::TraceIndent::Level(), 2);
    }
    QCOMPARE(OCL::TraceIndent::Level(), 1);
}

void TestBasics::traceFileEmptiedAndFlushed() {
    QTemporaryDir dir;
    const std::string path = dir.filePath(u"trace.txt"_s).toStdString();
    std::ofstream(path) << "old content\n";
    OCL::TraceFile file(path);
    QVERIFY(file.IsOpen());
    OCL::SetTraceSink(&file);
    OCL::Trace("%s : %d\n", "value", 7);
    OCL::SetTraceSink(nullptr);
    // Flushed at once: readable while the file is still open.
    std::ifstream in(path);
    std::stringstream text;
    text << in.rdbuf();
    const QString written = QString::fromStdString(text.str());
    QVERIFY2(written.startsWith(u"[Tick: "_s), qPrintable(written));
    QVERIFY(written.endsWith(u"] -value : 7\n"_s));
    QVERIFY(!written.contains(u"old content"_s));
}

void TestBasics::traceOffWritesNothing() {
    QTemporaryDir dir;
    const std::string path = dir.filePath(u"never.txt"_s).toStdString();
    OCL::TraceFile file; // declared but not installed, as the console ships
    OCL::Trace("nothing %d", 1);
    QVERIFY(!QFile::exists(QString::fromStdString(path)));
    QVERIFY(!file.IsOpen());
}

namespace {

class CountingThread : public OCL::Thread {
public:
    explicit CountingThread(std::atomic<int>& gate) : m_gate(gate) {}
    ~CountingThread() override { Shutdown(); }
    std::atomic<bool> ran{false};

protected:
    int Run() override {
        while (m_gate.load() == 0)
            std::this_thread::yield();
        ran = true;
        return 42;
    }

private:
    std::atomic<int>& m_gate;
};

} // namespace

void TestBasics::threadHandshake() {
    std::atomic<int> gate{1};
    CountingThread thread(gate);
    QVERIFY(!thread.Started());
    QVERIFY(thread.Start());
    QVERIFY(thread.Started());
    QVERIFY(thread.Alive());
    QTRY_VERIFY(thread.ran.load());
    // After Run the thread idles until its owner lets it go.
    QVERIFY(!thread.Finished());
    QVERIFY(!thread.Start());
}

void TestBasics::threadDestructionWaitsForRun() {
    std::atomic<int> gate{0};
    auto thread = std::make_unique<CountingThread>(gate);
    thread->Start();
    std::atomic<bool> destroyed{false};
    std::thread owner([&] {
        thread.reset();
        destroyed = true;
    });
    QTest::qWait(50);
    QVERIFY2(!destroyed.load(), "destruction must wait for Run to return");
    gate = 1;
    owner.join();
    QVERIFY(destroyed.load());
}

void TestBasics::serverStatus_data() {
    QTest::addColumn<uint>("state");
    QTest::addColumn<QString>("text");
    QTest::newRow("0") << 0u << "SRV is ready";
    QTest::newRow("1") << 1u << "Couldn't connect to SRV's registry";
    QTest::newRow("2") << 2u << "Couldn't read all data from SRV's registry";
    QTest::newRow("3") << 3u << "Connecting to SRV...";
    QTest::newRow("4") << 4u << "Unable to determine RAS version for SRV...";
    QTest::newRow("5") << 5u << "Requesting RAS data for SRV...";
    QTest::newRow("6") << 6u << "RAS read failure for SRV";
    QTest::newRow("7") << 7u << "RRAS Init error for SRV";
    QTest::newRow("8") << 8u << "Requesting RRAS data for SRV...";
    QTest::newRow("9") << 9u << "RRAS read failure for SRV";
    QTest::newRow("10") << 10u << "Unknown state for server SRV";
}

void TestBasics::serverStatus() {
    QFETCH(uint, state);
    QFETCH(QString, text);
    CServer server(u"SRV"_s);
    server.m_state = state;
    QCOMPARE(server.Status(), text);
}

void TestBasics::serverCopyKeepsEveryField() {
    CServer server(u"RAS1"_s);
    QCOMPARE(server.m_portCount, kUnknown);
    QCOMPARE(server.m_busyPorts, kUnknown);
    QCOMPARE(server.m_state.load(), ServerState::Connecting);
    QCOMPARE(server.Status(), u"Connecting to RAS1..."_s);
    server.m_portCount = 2;
    std::strcpy(server.m_ports[1].user, "DOM\\alice");
    std::strcpy(server.m_masterShare, "\\\\RAS1\\CW_NT_DB");
    server.m_export[4] = 9;
    server.m_timeBias = -60;
    server.m_changeMask = 64;
    server.m_text2 = u"x"_s;

    CServer copy(server);
    QCOMPARE(copy.Name(), u"RAS1"_s);
    QCOMPARE(copy.Id(), server.Id());
    QCOMPARE(copy.m_portCount, 2u);
    QCOMPARE(QString::fromLatin1(copy.m_ports[1].user), u"DOM\\alice"_s);
    QCOMPARE(QString::fromLatin1(copy.m_masterShare), u"\\\\RAS1\\CW_NT_DB"_s);
    QCOMPARE(copy.m_export[4], 9u);
    QCOMPARE(copy.m_timeBias, -60L);
    QCOMPARE(copy.m_changeMask, 64u);
    QCOMPARE(copy.m_text2, u"x"_s);

    CServer assigned(u"OTHER"_s);
    assigned = server;
    QCOMPARE(assigned.Name(), u"RAS1"_s);
    QCOMPARE(assigned.SlotCount(), 2);
}

void TestBasics::failureStates() {
    const QList<uint> failures{1, 2, 4, 6, 7, 9};
    for (uint state = 0; state < 12; ++state)
        QCOMPARE(ServerState::IsFailure(state), failures.contains(state));
}

void TestBasics::pipeName_data() {
    QTest::addColumn<QString>("server");
    QTest::addColumn<QString>("console");
    QTest::addColumn<QString>("pipe");
    QTest::newRow("own computer") << "ADMINPC"
                                  << "ADMINPC"
                                  << "\\\\.\\pipe\\cwsvcpipe";
    QTest::newRow("other letter case") << "adminpc"
                                       << "ADMINPC"
                                       << "\\\\adminpc\\pipe\\cwsvcpipe";
    QTest::newRow("other server") << "RAS1"
                                  << "ADMINPC"
                                  << "\\\\RAS1\\pipe\\cwsvcpipe";
}

void TestBasics::pipeName() {
    QFETCH(QString, server);
    QFETCH(QString, console);
    QFETCH(QString, pipe);
    QCOMPARE(CServicePipeClient::PipeName(server, console), pipe);
}

void TestBasics::connectOutcome_data() {
    using Outcome = CServicePipeClient::Outcome;
    QTest::addColumn<QByteArray>("reply");
    QTest::addColumn<int>("outcome");
    QTest::newRow("empty") << QByteArray() << int(Outcome::Unchanged);
    QTest::newRow("one character 0") << QByteArray("0") << int(Outcome::Unchanged);
    QTest::newRow("one character 1") << QByteArray("1") << int(Outcome::Unchanged);
    QTest::newRow("accepted") << QByteArray("0,ok") << int(Outcome::Accepted);
    QTest::newRow("two characters") << QByteArray("00") << int(Outcome::Accepted);
    QTest::newRow("not accepted") << QByteArray("1,User not defined") << int(Outcome::NotAccepted);
    QTest::newRow("other first character") << QByteArray("x0") << int(Outcome::NotAccepted);
}

void TestBasics::connectOutcome() {
    QFETCH(QByteArray, reply);
    QFETCH(int, outcome);
    QCOMPARE(int(CServicePipeClient::ConnectOutcome(reply)), outcome);
}

void TestBasics::failureText_data() {
    QTest::addColumn<uint>("error");
    QTest::addColumn<QString>("text");
    QTest::newRow("2")
        << 2u
        << "Failed to send the request to server RAS1. Windows NT returned error code 2.\n\nIs the "
           "Callwarden Service running on this server?";
    QTest::newRow("5")
        << 5u
        << "Failed to send the request to server RAS1. Windows NT returned error code 5.\n\nYou do "
           "not have access rights to that server.";
    QTest::newRow("121") << 121u
                         << "Failed to send the request to server RAS1. Windows NT returned error code 121.";
}

void TestBasics::failureText() {
    QFETCH(uint, error);
    QFETCH(QString, text);
    QCOMPARE(CServicePipeClient::FailureText(u"RAS1"_s, error), text);
}

void TestBasics::requests() {
    QCOMPARE(CServicePipeClient::ConnectRequest(u"COM1"_s, u"DOM\\bob"_s, u"ADMINPC"_s),
             QByteArray("0,COM1,DOM\\bob,ADMINPC,0,0,0"));
    QCOMPARE(CServicePipeClient::HangUpRequest(u"COM1"_s, u"DOM\\%1"_s, u"ADMINPC"_s, 1700000000),
             QByteArray("1,COM1,DOM\\%1,ADMINPC,1700000000,0,0"));
}

void TestBasics::waitBlockTurns() {
    CWaitBlock block;
    QCOMPARE(block.Position(), -24);
    int x = 0;
    for (int i = 0; i < 24 + 7; ++i)
        x = block.Step(10);
    QCOMPARE(x, 7); // turned at width - 3
    QCOMPARE(block.Step(10), 6);
    for (int i = 0; i < 30; ++i)
        x = block.Step(10);
    QCOMPARE(x, -24); // back at -24
    QCOMPARE(block.Step(10), -23);
}

QTEST_GUILESS_MAIN(TestBasics)
#include "tst_basics.moc"
