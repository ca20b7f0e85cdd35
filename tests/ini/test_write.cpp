#include "testini.h"

#include <QTest>

#include <algorithm>
#include <chrono>

using namespace IniTest;
using namespace Qt::StringLiterals;
using OCL::Ini::Edit;
using OCL::Ini::Files;
namespace fs = std::filesystem;

namespace {

bool Write(Files& files, const fs::path& path, EditKind kind, const QByteArray& section,
           const QByteArray& key, const QByteArray& value, std::string* error) {
    const std::string s = S(section), k = S(key), v = S(value);
    switch (kind) {
    case EditKind::Set:
        return files.WriteString(path, s, k, v, error);
    case EditKind::DeleteKey:
        return files.WriteString(path, s, k, std::nullopt, error);
    case EditKind::DeleteSection:
        return files.WriteString(path, s, std::nullopt, std::nullopt, error);
    }
    return false;
}

QStringList AllFiles(const fs::path& dir) {
    QStringList names;
    for (const auto& entry : fs::directory_iterator(dir))
        names << QString::fromStdString(entry.path().filename().string());
    return names;
}

} // namespace

void TestIni::write_data() {
    QTest::addColumn<QByteArray>("original");
    QTest::addColumn<bool>("exists");
    QTest::addColumn<EditKind>("kind");
    QTest::addColumn<QByteArray>("section");
    QTest::addColumn<QByteArray>("key");
    QTest::addColumn<QByteArray>("value");
    QTest::addColumn<QByteArray>("expected");

    const auto set = EditKind::Set;
    const auto deleteKey = EditKind::DeleteKey;
    const auto deleteSection = EditKind::DeleteSection;
    const QByteArray none;

    QTest::newRow("replace value") << B("[A]\r\nk=1\r\nm=2\r\n") << true << set << B("A") << B("k") << B("42")
                                   << B("[A]\r\nk=42\r\nm=2\r\n");
    QTest::newRow("replace, every other byte kept")
        << B("; head\n[A]\n  x  =  7 \t\nk=1\n\n[B]\r\n\tk = 1\r\nz=9") << true << set << B("b") << B("K")
        << B("two") << B("; head\n[A]\n  x  =  7 \t\nk=1\n\n[B]\r\n\tk =two\r\nz=9");
    QTest::newRow("replace in LF file")
        << B("[A]\nk=1\nm=2\n") << true << set << B("A") << B("m") << B("3") << B("[A]\nk=1\nm=3\n");
    QTest::newRow("replace quoted value")
        << B("[A]\r\nk=\"a b\"\r\n") << true << set << B("A") << B("k") << B("c") << B("[A]\r\nk=c\r\n");
    QTest::newRow("replace first duplicate")
        << B("[A]\r\nk=1\r\nK=2\r\n[a]\r\nk=3\r\n") << true << set << B("a") << B("k") << B("9")
        << B("[A]\r\nk=9\r\nK=2\r\n[a]\r\nk=3\r\n");
    QTest::newRow("value for a line without =") << B("[A]\r\nflag\r\nk=1\r\n") << true << set << B("A")
                                                << B("flag") << B("1") << B("[A]\r\nflag=1\r\nk=1\r\n");
    QTest::newRow("fill empty value")
        << B("[A]\r\nk=\r\n") << true << set << B("A") << B("k") << B("v") << B("[A]\r\nk=v\r\n");
    QTest::newRow("replace at end without line end")
        << B("[A]\r\nk=1") << true << set << B("A") << B("k") << B("22") << B("[A]\r\nk=22");
    QTest::newRow("Windows-1252 names")
        << B("[\xC4rger]\r\nSCHL\xDCSSEL=1\r\n") << true << set << B("\xE4rger") << B("schl\xFCssel")
        << B("2") << B("[\xC4rger]\r\nSCHL\xDCSSEL=2\r\n");

    QTest::newRow("new key before trailing blanks")
        << B("[A]\r\nk=1\r\n\r\n\r\n[B]\r\nx=1\r\n") << true << set << B("A") << B("n") << B("2")
        << B("[A]\r\nk=1\r\nn=2\r\n\r\n\r\n[B]\r\nx=1\r\n");
    QTest::newRow("new key in empty section") << B("[A]\r\n\r\n[B]\r\n") << true << set << B("A") << B("n")
                                              << B("2") << B("[A]\r\nn=2\r\n\r\n[B]\r\n");
    QTest::newRow("new key in first duplicate section")
        << B("[A]\r\nk=1\r\n[B]\r\n[A]\r\nm=1\r\n") << true << set << B("a") << B("n") << B("2")
        << B("[A]\r\nk=1\r\nn=2\r\n[B]\r\n[A]\r\nm=1\r\n");
    QTest::newRow("new key, last line without line end")
        << B("[A]\r\nk=1") << true << set << B("A") << B("n") << B("2") << B("[A]\r\nk=1\r\nn=2\r\n");
    QTest::newRow("new key, header without line end")
        << B("[X]\r\nx=1\r\n[A]") << true << set << B("A") << B("n") << B("2")
        << B("[X]\r\nx=1\r\n[A]\r\nn=2\r\n");
    QTest::newRow("new key in LF file")
        << B("[A]\nk=1\n") << true << set << B("A") << B("n") << B("2") << B("[A]\nk=1\nn=2\r\n");
    QTest::newRow("new key, blank tail at end") << B("[A]\r\nk=1\r\n\r\n  ") << true << set << B("A")
                                                << B("n") << B("2") << B("[A]\r\nk=1\r\nn=2\r\n\r\n  ");

    QTest::newRow("new section at end") << B("[A]\r\nk=1\r\n") << true << set << B("B") << B("x") << B("1")
                                        << B("[A]\r\nk=1\r\n\r\n[B]\r\nx=1\r\n");
    QTest::newRow("new section, no final line end") << B("[A]\r\nk=1") << true << set << B("B") << B("x")
                                                    << B("1") << B("[A]\r\nk=1\r\n\r\n[B]\r\nx=1\r\n");
    QTest::newRow("new section in empty file")
        << none << true << set << B("B") << B("x") << B("1") << B("[B]\r\nx=1\r\n");
    QTest::newRow("new section after loose lines")
        << B("; only a comment\r\n") << true << set << B("B") << B("x") << B("1")
        << B("; only a comment\r\n\r\n[B]\r\nx=1\r\n");
    QTest::newRow("missing file is created")
        << none << false << set << B("A") << B("k") << B("1") << B("[A]\r\nk=1\r\n");

    QTest::newRow("delete key and its duplicates")
        << B("[A]\r\nk=1\r\nm=2\r\nK=3\r\n[B]\r\nk=4\r\n[a]\r\nk=5\r\n") << true << deleteKey << B("a")
        << B("k") << none << B("[A]\r\nm=2\r\n[B]\r\nk=4\r\n[a]\r\nk=5\r\n");
    QTest::newRow("delete last key without line end")
        << B("[A]\r\nm=2\r\nk=1") << true << deleteKey << B("A") << B("k") << none << B("[A]\r\nm=2\r\n");
    QTest::newRow("delete key in LF file")
        << B("[A]\nk=1\nm=2\n") << true << deleteKey << B("A") << B("k") << none << B("[A]\nm=2\n");
    QTest::newRow("delete every section of the name")
        << B("; top\r\n[A]\r\nk=1\r\n\r\n[B]\r\nx=1\r\n[a]\r\nk=2\r\n") << true << deleteSection << B("A")
        << none << none << B("; top\r\n[B]\r\nx=1\r\n");
    QTest::newRow("delete last section") << B("[A]\r\nk=1\r\n[B]\r\nx=1") << true << deleteSection << B("b")
                                         << none << none << B("[A]\r\nk=1\r\n");

    QTest::newRow("value with line breaks") << B("[A]\r\nk=1\r\n") << true << set << B("A") << B("k")
                                            << B("one\r\ntwo\nthree") << B("[A]\r\nk=one  two three\r\n");
    QTest::newRow("name with line break")
        << B("[A]\r\n") << true << set << B("A") << B("a\nb") << B("x\ry") << B("[A]\r\na b=x y\r\n");
}

void TestIni::write() {
    QFETCH(QByteArray, original);
    QFETCH(bool, exists);
    QFETCH(EditKind, kind);
    QFETCH(QByteArray, section);
    QFETCH(QByteArray, key);
    QFETCH(QByteArray, value);
    QFETCH(QByteArray, expected);

    const auto path = Path("test.ini");
    if (exists)
        WriteFile(path, original);
    Files files;
    std::string error;
    QVERIFY(Write(files, path, kind, section, key, value, &error));
    QCOMPARE(Q(error), QByteArray());
    QCOMPARE(ReadFile(path), expected);
    QCOMPARE(AllFiles(path.parent_path()), QStringList{u"test.ini"_s});

    if (kind == EditKind::Set && !value.contains('\n') && !value.contains('\r')) {
        Files reader;
        QCOMPARE(Q(reader.GetString(path, S(section), S(key), "<none>")), value);
        // The writer's own cache must agree with what a fresh reader sees.
        QCOMPARE(Q(files.Read(path)->Bytes()), expected);
    }
}

void TestIni::writeUnchanged_data() {
    QTest::addColumn<QByteArray>("original");
    QTest::addColumn<EditKind>("kind");
    QTest::addColumn<QByteArray>("section");
    QTest::addColumn<QByteArray>("key");
    QTest::addColumn<QByteArray>("value");

    QTest::newRow("same value") << B("[A]\r\nk=1\r\n") << EditKind::Set << B("A") << B("k") << B("1");
    QTest::newRow("same value, other spacing")
        << B("[A]\n  k =  1 \t\n") << EditKind::Set << B("a") << B("K") << B("1");
    QTest::newRow("same value, quoted")
        << B("[A]\r\nk=\"a b\"\r\n") << EditKind::Set << B("A") << B("k") << B("a b");
    QTest::newRow("same empty value, no =")
        << B("[A]\r\nflag\r\n") << EditKind::Set << B("A") << B("flag") << QByteArray();
    QTest::newRow("same value in first duplicate")
        << B("[A]\r\nk=1\r\nk=2\r\n") << EditKind::Set << B("A") << B("k") << B("1");
    QTest::newRow("delete missing key")
        << B("[A]\r\nk=1\r\n") << EditKind::DeleteKey << B("A") << B("m") << QByteArray();
    QTest::newRow("delete key of missing section")
        << B("[A]\r\nk=1\r\n") << EditKind::DeleteKey << B("B") << B("k") << QByteArray();
    QTest::newRow("delete missing section")
        << B("[A]\r\nk=1\r\n") << EditKind::DeleteSection << B("B") << QByteArray() << QByteArray();
}

void TestIni::writeUnchanged() {
    QFETCH(QByteArray, original);
    QFETCH(EditKind, kind);
    QFETCH(QByteArray, section);
    QFETCH(QByteArray, key);
    QFETCH(QByteArray, value);

    const auto path = Path("test.ini");
    WriteFile(path, original);
    // An old time, so that any rewrite shows in the stamp.
    fs::last_write_time(path, fs::last_write_time(path) - std::chrono::hours(1));
    const auto before = OCL::Ini::StampOf(path);
    QVERIFY(before);

    Files files;
    std::string error;
    QVERIFY(Write(files, path, kind, section, key, value, &error));
    QCOMPARE(ReadFile(path), original);
    const auto after = OCL::Ini::StampOf(path);
    QVERIFY(after);
    QCOMPARE(after->inode, before->inode);
    QCOMPARE(after->modifiedNs, before->modifiedNs);
    QCOMPARE(AllFiles(path.parent_path()), QStringList{u"test.ini"_s});
}

void TestIni::writeFailure_data() {
    QTest::addColumn<QByteArray>("target");

    QTest::newRow("missing folder") << B("missing/sub/test.ini");
    QTest::newRow("target is a folder") << B("folder");
}

void TestIni::writeFailure() {
    QFETCH(QByteArray, target);

    const fs::path dir = Path("");
    fs::create_directory(dir / "folder");
    const QStringList before = AllFiles(dir);
    const fs::path path = dir / S(target);

    Files files;
    std::string error;
    QVERIFY(!files.WriteString(path, "A", "k", "1", &error));
    QVERIFY2(!error.empty(), "a failed write names its reason");
    error.clear();
    QVERIFY(!files.WriteAll(path, "[A]\r\n", &error));
    QVERIFY(!error.empty());
    QCOMPARE(AllFiles(dir), before);
    QVERIFY(fs::is_empty(dir / "folder"));
    QCOMPARE(files.Read(path)->SectionCount(), std::size_t(0));
}

void TestIni::editInOrder() {
    const auto path = Path("test.ini");
    WriteFile(path, "[T]\r\nx=1\r\ny=2\r\n[U]\r\nz=1\r\n");
    std::vector<std::size_t> calls;
    Files files(WriteOptions(std::size_t(1) << 16, [&](std::size_t n) {
        calls.push_back(n);
        return false;
    }));
    Edit edit;
    edit.Set("S", "a", "1").Set("S", "b", "2").Set("s", "A", "3").DeleteKey("T", "x").DeleteSection("U");
    QVERIFY(files.Apply(path, edit));
    const QByteArray expected = "[T]\r\ny=2\r\n[S]\r\na=3\r\nb=2\r\n";
    QCOMPARE(ReadFile(path), expected);
    // All of it in one write: one final call, just before the one rename.
    QCOMPARE(std::count(calls.begin(), calls.end(), std::size_t(expected.size() + 1)), 1);
}

void TestIni::interruptedWrite() {
    const auto path = Path("callward.usr");
    const QByteArray old = AccountFile(40);
    Edit edit;
    edit.Set("DOMAIN\\user17", "MaxSessionTime", "5400")
        .Set("DOMAIN\\user39", "Reset", "1")
        .DeleteSection("domain\\USER3")
        .Set("+DOMAIN\\Staff", "MaxSessionTime", "600");
    const QByteArray updated = Q(edit.ApplyTo(S(old)));
    QVERIFY(updated != old);

    // A write that goes through records every point at which a crash could strike.
    WriteFile(path, old);
    std::vector<std::size_t> points;
    {
        Files recorder(WriteOptions(97, [&](std::size_t n) {
            points.push_back(n);
            return false;
        }));
        QVERIFY(recorder.Apply(path, edit));
        QCOMPARE(ReadFile(path), updated);
    }
    const auto size = std::size_t(updated.size());
    QCOMPARE(points.size(), (size + 96) / 97 + 1);
    QCOMPARE(points.back(), size + 1);

    for (std::size_t point : points) {
        const QByteArray at = QByteArray::number(qulonglong(point));
        WriteFile(path, old);
        Files crashing(WriteOptions(97, [point](std::size_t n) { return n == point; }));
        QCOMPARE(Q(crashing.Read(path)->Bytes()), old);
        std::string error;
        QVERIFY2(!crashing.Apply(path, edit, &error), at.constData());
        QVERIFY2(!error.empty(), at.constData());
        QVERIFY2(ReadFile(path) == old, at.constData());
        Files reader;
        QVERIFY2(Q(reader.Read(path)->Bytes()) == old, at.constData());
        QVERIFY2(reader.GetString(path, "DOMAIN\\user3", "NoDuplicate", "") == "1", at.constData());
        QVERIFY2(Q(crashing.Read(path)->Bytes()) == old, at.constData());
    }

    // The litter of the crashes does not stand in the way of the next write.
    Files files(WriteOptions(97));
    QVERIFY(files.Apply(path, edit));
    QCOMPARE(ReadFile(path), updated);
    QCOMPARE(VisibleFiles(path.parent_path()), QStringList{u"callward.usr"_s});
    Files reader;
    QCOMPARE(reader.GetString(path, "DOMAIN\\user17", "MaxSessionTime", ""), std::string("5400"));
    QCOMPARE(reader.GetString(path, "DOMAIN\\user3", "NoDuplicate", "gone"), std::string("gone"));
}
