// Port-name order, the trace facility, the thread handshake, the server
// states' texts, the busy block and the local time's text.
#include "core/doc/cwadmindoc.h"
#include "core/doc/timetext.h"
#include "core/ocl/thread.h"
#include "core/ocl/trace.h"
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
    void traceLine_data();
    void traceLine();
    void traceIndentIsPerThread();
    void traceFileEmptiedAndFlushed();
    void threadHandshake();
    void threadDestructionWaitsForRun();
    void serverStatus_data();
    void serverStatus();
    void waitBlockTurns();
    void timeOfDay_data();
    void timeOfDay();
};

void TestBasics::portOrder_data() {
    QTest::addColumn<QString>("a");
    QTest::addColumn<QString>("b");
    QTest::addColumn<bool>("less");
    QTest::newRow("COM2 < COM10") << u"COM2"_s << u"COM10"_s << true;
    QTest::newRow("COM10 !< COM2") << u"COM10"_s << u"COM2"_s << false;
    QTest::newRow("same length plain") << u"COM12"_s << u"ISDN1"_s << true;
    QTest::newRow("same length reversed") << u"ISDN1"_s << u"COM12"_s << false;
    QTest::newRow("equal") << u"COM1"_s << u"COM1"_s << false;
    QTest::newRow("prefix shorter wins") << u"VPN"_s << u"VPN1-0"_s << true;
    QTest::newRow("difference before digits") << u"ABC10"_s << u"ABD2"_s << true;
    QTest::newRow("digit against letter counts as 0") << u"A1"_s << u"AB7"_s << false;
    QTest::newRow("numbers past the shorter length") << u"X9"_s << u"X10"_s << true;
}

void TestBasics::portOrder() {
    QFETCH(QString, a);
    QFETCH(QString, b);
    QFETCH(bool, less);
    QCOMPARE(RAPort(a.toStdString()) < RAPort(b.toStdString()), less);
}

void TestBasics::traceLine_data() {
    QTest::addColumn<uint>("tick");
    QTest::addColumn<int>("indent");
    QTest::addColumn<QString>("expected");
    QTest::newRow("no indent") << 1234u << 0 << u"[Tick: 1234] -text"_s;
    QTest::newRow("two levels") << 5u << 2 << u"[Tick: 5] -..text"_s;
    QTest::newRow("tick shown signed") << 0xFFFFFFFFu << 1 << u"[Tick: -1] -.text"_s;
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
    OCL::Trace("nothing %d", 1); // no sink: nothing is written anywhere
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
    QVERIFY(!written.contains(u"old content"_s) && !written.contains(u"nothing"_s));
}

namespace {

struct Gate {
    bool holdUntilAsked = false;
    std::atomic<bool> asked{false}, open{false}, destroyed{false}, ownedAtEnd{false};
};

// Runs until the gate opens (first, when held, until its owner asks it to end)
// and notes whether its owner was still there when it returned.
class GatedThread : public OCL::Thread {
public:
    explicit GatedThread(Gate& gate) : m_gate(gate) {}
    ~GatedThread() override { Shutdown(); }
    using OCL::Thread::Shutdown;

protected:
    int Run() override {
        while (m_gate.holdUntilAsked && Alive())
            std::this_thread::yield();
        m_gate.asked = true;
        while (!m_gate.open.load())
            std::this_thread::yield();
        m_gate.ownedAtEnd = !m_gate.destroyed.load();
        return 42;
    }

private:
    Gate& m_gate;
};

} // namespace

void TestBasics::threadHandshake() {
    Gate gate;
    GatedThread thread(gate);
    QVERIFY(!thread.Started());
    QVERIFY(thread.Start());
    QVERIFY(thread.Started() && thread.Alive());
    QVERIFY(!thread.Start());
    gate.open = true;
    QTRY_COMPARE(thread.ExitCode(), 42);
    // After Run the thread idles until its owner lets it go.
    QVERIFY(!thread.Finished());
    thread.Shutdown();
    QVERIFY(thread.Finished());
}

void TestBasics::threadDestructionWaitsForRun() {
    Gate gate;
    gate.holdUntilAsked = true;
    auto thread = std::make_unique<GatedThread>(gate);
    thread->Start();
    std::thread owner([&] {
        thread.reset();
        gate.destroyed = true;
    });
    // The owner is inside the destructor once the thread has been asked to end.
    QTRY_VERIFY(gate.asked.load());
    gate.open = true;
    owner.join();
    QVERIFY2(gate.ownedAtEnd.load(), "destruction must wait for Run to return");
}

void TestBasics::serverStatus_data() {
    QTest::addColumn<uint>("state");
    QTest::addColumn<QString>("text");
    const QStringList texts{u"SRV is ready"_s,
                            u"Couldn't connect to SRV's registry"_s,
                            u"Couldn't read all data from SRV's registry"_s,
                            u"Connecting to SRV..."_s,
                            u"Unable to determine RAS version for SRV..."_s,
                            u"Requesting RAS data for SRV..."_s,
                            u"RAS read failure for SRV"_s,
                            u"RRAS Init error for SRV"_s,
                            u"Requesting RRAS data for SRV..."_s,
                            u"RRAS read failure for SRV"_s,
                            u"Unknown state for server SRV"_s};
    for (uint state = 0; state < uint(texts.size()); ++state)
        QTest::addRow("%u", state) << state << texts[int(state)];
}

void TestBasics::serverStatus() {
    QFETCH(uint, state);
    QFETCH(QString, text);
    CServer server(u"SRV"_s);
    server.m_state = state;
    QCOMPARE(server.Status(), text);
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

void TestBasics::timeOfDay_data() {
    QTest::addColumn<QString>("locale");
    QTest::addColumn<QTime>("time");
    QTest::addColumn<int>("flags");
    QTest::addColumn<QString>("text");
    using namespace TimeFlags;
    const QTime afternoon(15, 5, 9), morning(0, 7, 3);
    QTest::newRow("12-hour with seconds") << u"en_US"_s << afternoon << 0 << u"3:05:09 PM"_s;
    QTest::newRow("midnight is 12 AM") << u"en_US"_s << morning << 0 << u"12:07:03 AM"_s;
    QTest::newRow("24-hour with seconds") << u"de_DE"_s << morning << 0 << u"00:07:03"_s;
    QTest::newRow("no seconds") << u"en_US"_s << afternoon << NoSeconds << u"3:05 PM"_s;
    QTest::newRow("hour alone") << u"de_DE"_s << afternoon << NoMinutesOrSeconds << u"15"_s;
    QTest::newRow("no marker stays 12-hour") << u"en_US"_s << afternoon << NoTimeMarker << u"3:05:09"_s;
    QTest::newRow("forced 24-hour") << u"en_US"_s << afternoon << Force24Hour << u"15:05:09"_s;
    QTest::newRow("forced 24-hour, no seconds")
        << u"en_US"_s << morning << (Force24Hour | NoSeconds) << u"0:07"_s;
    QTest::newRow("marker first, suffixes kept")
        << u"ko_KR"_s << afternoon << (NoTimeMarker | NoSeconds) << u"3시 5분"_s;
}

void TestBasics::timeOfDay() {
    QFETCH(QString, locale);
    QFETCH(QTime, time);
    QFETCH(int, flags);
    QFETCH(QString, text);
    QCOMPARE(CTimeText::TimeOfDay(time, QLocale(locale), flags), text);
}

QTEST_GUILESS_MAIN(TestBasics)
#include "tst_basics.moc"
