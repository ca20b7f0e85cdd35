#include "testini.h"

#include <QTest>

#include <atomic>
#include <barrier>
#include <chrono>
#include <thread>
#include <vector>

using namespace IniTest;
using OCL::Ini::Document;
using OCL::Ini::Edit;
using OCL::Ini::Files;
using OCL::Ini::FilesOptions;
using OCL::Ini::StampOf;
namespace fs = std::filesystem;

namespace {

enum class Change { Renamed, NewTime, NewSize, Removed };

} // namespace

Q_DECLARE_METATYPE(Change)

void TestIni::cacheReuse() {
    const auto path = Path("callward.hw");
    WriteFile(path, AccountFile(3));
    Files files;
    auto first = files.Read(path);
    QCOMPARE(files.Read(path).get(), first.get());
    QCOMPARE(files.GetString(path, "domain\\user2", "PeriodType", ""), std::string("2"));
    QCOMPARE(files.Read(path).get(), first.get());
}

void TestIni::cacheSeesChange_data() {
    QTest::addColumn<Change>("change");
    QTest::addColumn<QByteArray>("expected");

    QTest::newRow("replaced by rename, same size and time") << Change::Renamed << B("new");
    QTest::newRow("rewritten in place, new time") << Change::NewTime << B("new");
    QTest::newRow("rewritten in place, other size") << Change::NewSize << B("newer");
    QTest::newRow("removed") << Change::Removed << B("<none>");
}

void TestIni::cacheSeesChange() {
    QFETCH(Change, change);
    QFETCH(QByteArray, expected);

    const auto path = Path("test.ini");
    WriteFile(path, "[A]\r\nk=old\r\n");
    Files files;
    auto first = files.Read(path);
    QCOMPARE(Q(*first->Find("A", "k")), QByteArray("old"));
    const auto before = StampOf(path);
    const auto time = fs::last_write_time(path);

    // Each change alters one part of the file's stamp only.
    switch (change) {
    case Change::Renamed: {
        const auto other = Path("other.ini");
        WriteFile(other, "[A]\r\nk=new\r\n");
        fs::last_write_time(other, time);
        fs::rename(other, path);
        const auto after = StampOf(path);
        QVERIFY(after->inode != before->inode);
        QCOMPARE(after->modifiedNs, before->modifiedNs);
        break;
    }
    case Change::NewTime:
        WriteFile(path, "[A]\r\nk=new\r\n");
        fs::last_write_time(path, time + std::chrono::seconds(1));
        QCOMPARE(StampOf(path)->inode, before->inode);
        break;
    case Change::NewSize:
        WriteFile(path, "[A]\r\nk=newer\r\n");
        fs::last_write_time(path, time);
        QCOMPARE(StampOf(path)->inode, before->inode);
        QCOMPARE(StampOf(path)->modifiedNs, before->modifiedNs);
        break;
    case Change::Removed:
        fs::remove(path);
        break;
    }

    auto second = files.Read(path);
    QVERIFY(second != first);
    QCOMPARE(Q(files.GetString(path, "a", "K", "<none>")), expected);
    if (change != Change::Removed)
        QCOMPARE(files.Read(path).get(), second.get());
}

void TestIni::cacheFollowsOwnWrites() {
    const auto path = Path("callward.usr");
    WriteFile(path, AccountFile(20));
    Files files;
    QCOMPARE(files.GetString(path, "DOMAIN\\user5", "MaxSessionTime", ""), std::string("300"));
    QVERIFY(files.WriteString(path, "DOMAIN\\user5", "MaxSessionTime", "900"));
    auto document = files.Read(path);
    QCOMPARE(Q(document->Bytes()), ReadFile(path));
    QCOMPARE(Q(*document->Find("DOMAIN\\user5", "MaxSessionTime")), QByteArray("900"));
    QCOMPARE(files.Read(path).get(), document.get());
}

void TestIni::cacheLimit() {
    const QByteArray hundred = "[A]\r\nk=" + QByteArray(91, 'x') + "\r\n";
    QCOMPARE(hundred.size(), 100);
    WriteFile(Path("a.ini"), hundred);
    WriteFile(Path("b.ini"), hundred);
    WriteFile(Path("big.ini"), hundred + hundred);

    FilesOptions options;
    options.cacheBytes = 150;
    Files files(options);
    auto big = files.Read(Path("big.ini"));
    QVERIFY(files.Read(Path("big.ini")) != big);
    auto a = files.Read(Path("a.ini"));
    QCOMPARE(files.Read(Path("a.ini")).get(), a.get());
    auto b = files.Read(Path("b.ini"));
    QCOMPARE(files.Read(Path("b.ini")).get(), b.get());
    QVERIFY(files.Read(Path("a.ini")) != a);
}

void TestIni::forget() {
    const auto one = Path("one.ini");
    const auto two = Path("two.ini");
    WriteFile(one, "[A]\r\nk=1\r\n");
    WriteFile(two, "[A]\r\nk=2\r\n");
    Files files;
    auto first = files.Read(one);
    auto other = files.Read(two);

    files.Forget(one);
    auto second = files.Read(one);
    QVERIFY(second != first);
    QCOMPARE(second->Bytes(), first->Bytes());
    QCOMPARE(files.Read(one).get(), second.get());
    QCOMPARE(files.Read(two).get(), other.get());

    files.Forget();
    QVERIFY(files.Read(one) != second);
    QVERIFY(files.Read(two) != other);
}

// Readers through the writer's own engine and through engines of their own
// must see the old or the new file, whole, however the write interleaves.
void TestIni::readersDuringWrites() {
    const auto path = Path("callward.usr");
    const std::string base = S(AccountFile(300));
    const std::string section = "DOMAIN\\user150";
    const std::string a = Edit().Set(section, "MaxSessionTime", "A").ApplyTo(base);
    const std::string b = Edit().Set(section, "MaxSessionTime", "BBBB").ApplyTo(base);
    QVERIFY(a != b);
    WriteFile(path, Q(a));

    Files shared;
    std::atomic<bool> done{false};
    std::atomic<int> reads{0}, torn{0}, wrong{0};
    auto reader = [&](bool ownEngine) {
        while (!done) {
            std::shared_ptr<const Document> document;
            if (ownEngine) {
                Files own;
                document = own.Read(path);
            } else {
                document = shared.Read(path);
            }
            const bool isA = document->Bytes() == a;
            if (!isA && document->Bytes() != b) {
                ++torn;
            } else {
                const auto value = document->Find(section, "maxsessiontime");
                if (!value || *value != (isA ? "A" : "BBBB"))
                    ++wrong;
            }
            ++reads;
        }
    };
    std::vector<std::thread> readers;
    readers.emplace_back(reader, false);
    readers.emplace_back(reader, false);
    readers.emplace_back(reader, true);

    int failedWrites = 0;
    for (int i = 1; i <= 200; ++i)
        if (!shared.WriteString(path, section, "MaxSessionTime", i % 2 ? "BBBB" : "A"))
            ++failedWrites;
    done = true;
    for (auto& thread : readers)
        thread.join();

    QCOMPARE(failedWrites, 0);
    QCOMPARE(torn.load(), 0);
    QCOMPARE(wrong.load(), 0);
    QVERIFY(reads.load() > 0);
    QCOMPARE(ReadFile(path), Q(a));
}

// Two engines (as the console and the service are) write the same file at the
// same moment; afterwards each must read what is on the disk, not its own last
// write.
void TestIni::concurrentWriters() {
    const auto path = Path("callward.usr");
    WriteFile(path, "[A]\r\nwriter=0\r\n");
    Files engines[2];
    constexpr int rounds = 3000;
    std::barrier sync(3);
    std::atomic<int> failedWrites{0};
    auto writer = [&](int which) {
        for (int round = 0; round < rounds; ++round) {
            const std::string text =
                "[A]\r\nwriter=" + std::to_string(which) + "\r\nround=" + std::to_string(round) + "\r\n";
            sync.arrive_and_wait();
            if (!engines[which].WriteAll(path, text))
                ++failedWrites;
            sync.arrive_and_wait();
        }
    };
    std::thread first(writer, 0), second(writer, 1);
    int stale = 0;
    for (int round = 0; round < rounds; ++round) {
        sync.arrive_and_wait();
        sync.arrive_and_wait();
        const QByteArray disk = ReadFile(path);
        for (Files& engine : engines)
            if (Q(engine.Read(path)->Bytes()) != disk)
                ++stale;
    }
    first.join();
    second.join();
    QCOMPARE(failedWrites.load(), 0);
    QCOMPARE(stale, 0);
}
