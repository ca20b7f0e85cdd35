#include "testini.h"

#include <QTest>

#include <atomic>
#include <chrono>
#include <thread>

#include <sys/wait.h>
#include <unistd.h>

using namespace IniTest;
using namespace Qt::StringLiterals;
using namespace OCL::Ini;
namespace fs = std::filesystem;

namespace {

enum class Change { None, Renamed, NewTime, NewSize, SameStamp, Removed };
// How the file system reports times: as they are; an hour earlier, so that no
// file looks recently changed; or fixed an hour ahead, as a share with coarse times
// and a clock ahead of ours would, so that every file looks just changed.
enum class Times { Real, Past, Frozen };

StampSource WithTimes(Times times) {
    const std::int64_t hour = std::chrono::nanoseconds(std::chrono::hours(1)).count();
    const std::int64_t now =
        std::chrono::nanoseconds(std::chrono::system_clock::now().time_since_epoch()).count();
    return [times, hour, now](const fs::path& path) {
        std::optional<FileStamp> stamp = StampOf(path);
        if (stamp && times != Times::Real) {
            stamp->modifiedNs = times == Times::Past ? stamp->modifiedNs - hour : now + hour;
            stamp->changedNs = times == Times::Past ? stamp->changedNs - hour : now + hour;
        }
        return stamp;
    };
}

// Another writer, not an engine, puts `to` in the place of `from`; each change
// alters the stamp in one way only.
void ChangeFile(const fs::path& path, Change change, const QByteArray& from, const QByteArray& to) {
    const auto time = fs::last_write_time(path);
    const fs::path target = change == Change::Renamed ? path.parent_path() / "other.tmp" : path;
    if (change == Change::Removed)
        fs::remove(path);
    if (change == Change::None || change == Change::Removed)
        return;
    WriteFile(target, ReadFile(path).replace(from, to));
    fs::last_write_time(target, change == Change::NewTime ? time + std::chrono::seconds(1) : time);
    fs::rename(target, path);
}

} // namespace

Q_DECLARE_METATYPE(Change)
Q_DECLARE_METATYPE(Times)

void TestIni::otherWriter_data() {
    QTest::addColumn<Change>("change");
    QTest::addColumn<Times>("times");
    QTest::addColumn<bool>("duringWrite"); // or else between two reads
    QTest::addColumn<QByteArray>("to");

    QTest::newRow("unchanged") << Change::None << Times::Real << false << B("2");
    QTest::newRow("replaced by rename, same size and time")
        << Change::Renamed << Times::Real << false << B("7");
    QTest::newRow("rewritten in place, new time") << Change::NewTime << Times::Real << false << B("7");
    QTest::newRow("rewritten in place, other size") << Change::NewSize << Times::Real << false << B("22");
    QTest::newRow("rewritten in place, only the change time differs")
        << Change::SameStamp << Times::Past << false << B("7");
    QTest::newRow("rewritten in place within one tick of a coarse share")
        << Change::SameStamp << Times::Frozen << false << B("7");
    QTest::newRow("removed") << Change::Removed << Times::Real << false << B("<none>");
    QTest::newRow("during a write: replaced by rename") << Change::Renamed << Times::Real << true << B("7");
    QTest::newRow("during a write: rewritten in place, other size")
        << Change::NewSize << Times::Real << true << B("22");
    QTest::newRow("during a write: rewritten in place within one tick of a coarse share")
        << Change::SameStamp << Times::Frozen << true << B("7");
}

// Another writer, not an engine, changes the file between two reads, or while the
// engine writes it: reads see the change, and the write is done again on the new
// bytes so that both changes stay.
void TestIni::otherWriter() {
    QFETCH(Change, change);
    QFETCH(Times, times);
    QFETCH(bool, duringWrite);
    QFETCH(QByteArray, to);

    const auto path = Path("callward.usr");
    WriteFile(path, AccountFile(30));
    FilesOptions options;
    options.writeChunk = 64;
    bool changed = !duringWrite;
    auto changeFile = [&] {
        ChangeFile(path, change, "TotalConnects=2\r", "TotalConnects=" + to + "\r");
    };
    options.failAfter = [&](std::size_t) {
        if (!std::exchange(changed, true))
            changeFile();
        return false;
    };
    Files files(options, WithTimes(times));
    QCOMPARE(files.GetString(path, "DOMAIN\\user2", "TotalConnects", ""), std::string("2"));
    auto first = files.Read(path);
    if (duringWrite)
        QVERIFY(files.WriteString(path, "DOMAIN\\user17", "MaxSessionTime", "5400"));
    else
        changeFile();
    QCOMPARE(Q(files.GetString(path, "domain\\USER2", "totalconnects", "<none>")), to);
    if (duringWrite) {
        QCOMPARE(Files().GetString(path, "DOMAIN\\user17", "MaxSessionTime", ""), std::string("5400"));
        QCOMPARE(AllFiles(path.parent_path()), QStringList{u"callward.usr"_s});
    } else {
        auto second = files.Read(path);
        QCOMPARE(second == first, change == Change::None);
        QCOMPARE(files.Read(path), second); // reused from now on
    }
}

void TestIni::cacheLimitAndForget() {
    const QByteArray hundred = "[A]\r\nk=" + QByteArray(91, 'x') + "\r\n";
    for (const char* name : {"a.ini", "b.ini"})
        WriteFile(Path(name), hundred);
    WriteFile(Path("big.ini"), hundred + hundred);
    FilesOptions options;
    options.cacheBytes = 150;
    Files files(options);
    QVERIFY(files.Read(Path("big.ini")) != files.Read(Path("big.ini")));
    auto a = files.Read(Path("a.ini"));
    QCOMPARE(files.Read(Path("a.ini")), a);
    auto b = files.Read(Path("b.ini"));
    QCOMPARE(files.Read(Path("b.ini")), b);
    QVERIFY(files.Read(Path("a.ini")) != a);
    files.Forget(Path("b.ini"));
    QVERIFY(files.Read(Path("b.ini")) != b);
}

// Two processes, as the console and the service, each count their own key up in
// one file that neither has yet; no increment may be lost.
void TestIni::twoProcessesIncrement() {
    const auto path = Path("callward.usr");
    constexpr int kRounds = 300;
    pid_t children[2];
    for (int which = 0; which < 2; ++which) {
        if ((children[which] = ::fork()) == 0) {
            Files files;
            const std::string key = "Writer" + std::to_string(which);
            int failed = 0;
            for (int i = 0; i < kRounds; ++i)
                failed += !files.WriteString(path, "Counts", key,
                                             std::to_string(files.GetInt(path, "Counts", key, 0) + 1));
            ::_exit(failed);
        }
    }
    for (pid_t child : children) {
        int status = -1;
        QVERIFY(child > 0 && ::waitpid(child, &status, 0) == child && status == 0);
    }
    Files files;
    QCOMPARE(files.GetInt(path, "Counts", "Writer0", 0), kRounds);
    QCOMPARE(files.GetInt(path, "Counts", "Writer1", 0), kRounds);
    QCOMPARE(AllFiles(path.parent_path()), QStringList{u"callward.usr"_s});
}

// Readers through the writer's own engine and through engines of their own see
// the old or the new file, whole, however the writes interleave.
void TestIni::readersDuringWrites() {
    const auto path = Path("callward.usr");
    const std::string section = "DOMAIN\\user150";
    const std::string a = Edit().Set(section, "MaxSessionTime", "A").ApplyTo(S(AccountFile(300)));
    const std::string b = Edit().Set(section, "MaxSessionTime", "BBBB").ApplyTo(S(AccountFile(300)));
    WriteFile(path, Q(a));

    Files shared;
    std::atomic<bool> done{false};
    std::atomic<int> wrong{0};
    auto reader = [&](bool ownEngine) {
        while (!done) {
            Files own;
            const auto document = (ownEngine ? own : shared).Read(path);
            const bool isA = document->Bytes() == a;
            const auto value = document->Find(section, "maxsessiontime");
            if ((!isA && document->Bytes() != b) || !value || *value != (isA ? "A" : "BBBB"))
                ++wrong;
        }
    };
    std::thread readers[] = {std::thread(reader, false), std::thread(reader, false),
                             std::thread(reader, true)};
    int failedWrites = 0;
    for (int i = 1; i <= 200; ++i)
        failedWrites += !shared.WriteString(path, section, "MaxSessionTime", i % 2 ? "BBBB" : "A");
    done = true;
    for (auto& thread : readers)
        thread.join();
    QCOMPARE(failedWrites, 0);
    QCOMPARE(wrong.load(), 0);
    QCOMPARE(ReadFile(path), Q(a));
}
