// The trace facility, the thread handshake, the server states' texts and the
// local time's text.
#include "core/doc/timetext.h"
#include "core/ocl/thread.h"
#include "core/ocl/trace.h"
#include "core/servers/server.h"

#include <QTemporaryDir>
#include <QtTest>

#include <fstream>
#include <sstream>

using namespace Qt::StringLiterals;

class TestBasics : public QObject {
    Q_OBJECT
private slots:
    void traceFileEmptiedAndFlushed();
    void threadHandshake();
    void threadDestructionWaitsForRun();
    void serverStatus_data();
    void serverStatus();
    void timeOfDay_data();
    void timeOfDay();
};

void TestBasics::traceFileEmptiedAndFlushed() {
    QTemporaryDir dir;
    const std::string path = dir.filePath(u"trace.txt"_s).toStdString();
    OCL::Trace("nothing %d", 1); // no sink: nothing is written anywhere
    std::ofstream(path) << "old content\n";
    OCL::TraceFile file(path);
    QVERIFY(file.IsOpen());
    OCL::SetTraceSink(&file);
    {
        // One dot per level of the calling thread's indentation.
        OCL::TraceIndent indent;
        OCL::Trace("%s : %d\n", "value", 7);
        std::thread([] { OCL::Trace("other thread\n"); }).join();
    }
    QCOMPARE(OCL::TraceIndent::Level(), 0);
    OCL::SetTraceSink(nullptr);
    // Flushed at once: readable while the file is still open.
    std::ifstream in(path);
    std::stringstream text;
    text << in.rdbuf();
    const QString written = QString::fromStdString(text.str());
    QVERIFY2(written.startsWith(u"[Tick: "_s), qPrintable(written));
    QVERIFY(written.contains(u"] -.value : 7\n[Tick: "_s) && written.endsWith(u"] -other thread\n"_s));
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
