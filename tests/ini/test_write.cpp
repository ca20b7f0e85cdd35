#include "testini.h"

#include <QTest>

#include <chrono>

using namespace IniTest;
using namespace Qt::StringLiterals;
using namespace OCL::Ini;
namespace fs = std::filesystem;

Q_DECLARE_METATYPE(std::optional<QByteArray>)

namespace {

// One edit as text: "section|key|value" sets, "section|key" deletes a key,
// "section" deletes a section. Added to edit, or with files written at once.
bool Do(const QByteArray& op, Edit& edit, Files* files = nullptr, const fs::path& path = {}) {
    const QByteArrayList p = op.split('|');
    const auto key = p.size() > 1 ? std::optional(S(p[1])) : std::nullopt;
    const auto value = p.size() > 2 ? std::optional(S(p[2])) : std::nullopt;
    if (files)
        return files->WriteString(path, S(p[0]), key, value);
    if (value)
        edit.Set(S(p[0]), *key, *value);
    else if (key)
        edit.DeleteKey(S(p[0]), *key);
    else
        edit.DeleteSection(S(p[0]));
    return true;
}

FilesOptions Failing(std::size_t chunk, std::function<bool(std::size_t)> failAfter) {
    FilesOptions options;
    options.writeChunk = chunk;
    options.failAfter = std::move(failAfter);
    return options;
}

} // namespace

void TestIni::write_data() {
    QTest::addColumn<std::optional<QByteArray>>("original"); // nullopt: no file
    QTest::addColumn<QByteArray>("ops");                     // edits as Do takes them, comma-separated
    QTest::addColumn<QByteArray>("expected");                // the original: nothing is written

    auto row = [](const char* name, std::optional<QByteArray> original, const QByteArray& ops,
                  const QByteArray& expected) {
        QTest::newRow(name) << original << ops << expected;
    };
    row("replace value", B("[A]\r\nk=1\r\nm=2\r\n"), "A|k|42", B("[A]\r\nk=42\r\nm=2\r\n"));
    row("replace, every other byte kept", B("; head\n[A]\n  x  =  7 \t\nk=1\n\n[B]\r\n\tk = 1\r\nz=9"),
        "b|K|two", B("; head\n[A]\n  x  =  7 \t\nk=1\n\n[B]\r\n\tk =two\r\nz=9"));
    row("replace first duplicate", B("[A]\r\nk=1\r\nK=2\r\n[a]\r\nk=3\r\n"), "a|k|9",
        B("[A]\r\nk=9\r\nK=2\r\n[a]\r\nk=3\r\n"));
    row("value for a line without =", B("[A]\r\nflag\r\nk=1\r\n"), "A|flag|1", B("[A]\r\nflag=1\r\nk=1\r\n"));
    row("empty value for a line without =", B("[A]\r\nflag\r\n"), "A|flag|", B("[A]\r\nflag=\r\n"));
    row("replace at end without line end", B("[A]\r\nk=1"), "A|k|22", B("[A]\r\nk=22"));
    row("Windows-1252 names", B("[\xC4rger]\r\nSCHL\xDCSSEL=1\r\n"), "\xE4rger|schl\xFCssel|2",
        B("[\xC4rger]\r\nSCHL\xDCSSEL=2\r\n"));
    row("names trimmed", B("[A]\r\nk=1\r\n"), " A |\tk |2", B("[A]\r\nk=2\r\n"));
    row("new key in a lone-CR file", B("[A]\rk=1\r[B]\rx=1\r"), "A|n|2", B("[A]\rk=1\rn=2\r\n[B]\rx=1\r"));
    row("new key before trailing blanks", B("[A]\r\nk=1\r\n\r\n\r\n[B]\r\nx=1\r\n"), "A|n|2",
        B("[A]\r\nk=1\r\nn=2\r\n\r\n\r\n[B]\r\nx=1\r\n"));
    row("new key in empty section", B("[A]\r\n\r\n[B]\r\n"), "A|n|2", B("[A]\r\nn=2\r\n\r\n[B]\r\n"));
    row("new key in first duplicate section", B("[A]\r\nk=1\r\n[B]\r\n[A]\r\nm=1\r\n"), "a|n|2",
        B("[A]\r\nk=1\r\nn=2\r\n[B]\r\n[A]\r\nm=1\r\n"));
    row("new key, last line without line end", B("[A]\nk=1"), "A|n|2", B("[A]\nk=1\r\nn=2\r\n"));
    row("new key, header without line end", B("[X]\r\nx=1\r\n[A]"), "A|n|2",
        B("[X]\r\nx=1\r\n[A]\r\nn=2\r\n"));
    row("new key, blank tail at end", B("[A]\r\nk=1\r\n\r\n  "), "A|n|2", B("[A]\r\nk=1\r\nn=2\r\n\r\n  "));
    row("new section at end", B("[A]\r\nk=1\r\n"), "B|x|1", B("[A]\r\nk=1\r\n\r\n[B]\r\nx=1\r\n"));
    row("new section, no final line end", B("[A]\r\nk=1"), "B|x|1", B("[A]\r\nk=1\r\n\r\n[B]\r\nx=1\r\n"));
    row("new section after a byte-order mark", B("\xEF\xBB\xBF"), "B|x|1", B("\xEF\xBB\xBF[B]\r\nx=1\r\n"));
    row("new section after loose lines", B("; only a comment\r\n"), "B|x|1",
        B("; only a comment\r\n\r\n[B]\r\nx=1\r\n"));
    row("missing file is created", std::nullopt, "A|k|1", B("[A]\r\nk=1\r\n"));
    row("delete key and its duplicates", B("[A]\r\nk=1\r\nm=2\r\nK\r\n[B]\r\nk=4\r\n[a]\r\nk=5\r\n"), "a|k",
        B("[A]\r\nm=2\r\n[B]\r\nk=4\r\n[a]\r\nk=5\r\n"));
    row("delete last key without line end", B("[A]\nm=2\nk=1"), "A|k", B("[A]\nm=2\n"));
    row("delete every section of the name", B("; top\r\n[A]\r\nk=1\r\n\r\n[B]\r\nx=1\r\n[a]\r\nk=2\r\n"), "A",
        B("; top\r\n[B]\r\nx=1\r\n"));
    row("delete last section", B("[A]\r\nk=1\r\n[B]\r\nx=1"), "b", B("[A]\r\nk=1\r\n"));
    row("line breaks in names and values", B("[A]\r\n"), "A|a\nb|x\ry", B("[A]\r\na b=x y\r\n"));
    row("same value, other spacing and quotes", B("[A]\n  k =  \"1\" \t\n"), "a|K|1",
        B("[A]\n  k =  \"1\" \t\n"));
    row("delete from a missing file", std::nullopt, "B", B(""));

    // Several edits in one Apply, as separate writes would make them.
    row("sections added and deleted", B("[T]\r\nx=1\r\ny=2\r\n[U]\r\nz=1\r\n"), "S|a|1,S|b|2,s|A|3,T|x,U",
        B("[T]\r\ny=2\r\n[S]\r\na=3\r\nb=2\r\n"));
    row("key deleted, then one added", B("[A]\r\nk=1\r\n\r\nm=2\r\n\r\n[B]\r\n"), "A|m,A|n|2",
        B("[A]\r\nk=1\r\nn=2\r\n\r\n\r\n[B]\r\n"));
    row("section deleted, then set again", B("[A]\r\nk=1\r\n[B]\r\nx=1\r\n"), "A|n|2,A,A|k|3",
        B("[B]\r\nx=1\r\n\r\n[A]\r\nk=3\r\n"));
    row("value changed and back", B("[A]\r\nk = 1\r\n"), "A|k|2,A|k|1", B("[A]\r\nk =1\r\n"));
    row("key added, last line deleted", B("[A]\r\nk=1"), "A|n|2,A|k", B("[A]\r\nn=2\r\n"));
    row("new sections, the first deleted", B(""), "X|a|1,Y|b|2,X|a,X", B("[Y]\r\nb=2\r\n"));
    row("edits that change nothing", B("[A]\r\nk=1\r\nk=2\r\n"), "A|k|1,A|m,B|k,B",
        B("[A]\r\nk=1\r\nk=2\r\n"));
}

// One Apply writes once (or not at all), with what separate writes make.
void TestIni::write() {
    QFETCH(std::optional<QByteArray>, original);
    QFETCH(QByteArray, ops);
    QFETCH(QByteArray, expected);

    const auto path = Path("test.ini");
    if (original) {
        WriteFile(path, *original);
        // An old time, so that any rewrite shows in the stamp.
        fs::last_write_time(path, fs::last_write_time(path) - std::chrono::hours(1));
    }
    const auto before = OCL::Ini::StampOf(path);
    const QByteArrayList list = ops.split(',');
    Edit edit;
    for (const QByteArray& op : list)
        Do(op, edit);
    std::size_t replacements = 0;
    Files files(Failing(std::size_t(1) << 16, [&](std::size_t n) {
        replacements += n == std::size_t(expected.size()) + 1;
        return false;
    }));
    std::string error;
    QVERIFY(files.Apply(path, edit, &error));
    QCOMPARE(ReadFile(path), expected);
    const bool unchanged = original.value_or(QByteArray()) == expected;
    QCOMPARE(replacements, std::size_t(unchanged ? 0 : 1));
    QCOMPARE(AllFiles(path.parent_path()),
             unchanged && !original ? QStringList() : QStringList{u"test.ini"_s});
    if (unchanged && original)
        QCOMPARE(OCL::Ini::StampOf(path), before);
    // The writer's own cache must agree with what a fresh reader sees.
    QCOMPARE(Q(files.Read(path)->Bytes()), expected);
    const QByteArrayList p = list.front().split('|');
    if (list.size() == 1 && p.size() == 3 && !p[2].contains('\n') && !p[2].contains('\r'))
        QCOMPARE(Q(Files().GetString(path, S(p[0]), S(p[1]), "<none>")), p[2]);

    if (list.size() > 1) {
        WriteFile(path, original.value_or(QByteArray()));
        Files separate;
        for (const QByteArray& op : list)
            QVERIFY(Do(op, edit, &separate, path));
        QCOMPARE(ReadFile(path), expected);
    }
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
    QCOMPARE(AllFiles(dir), before);
}

// A write that fails at any point leaves the old file, and nothing else, behind.
void TestIni::interruptedWrite() {
    const auto path = Path("callward.usr");
    const QByteArray old = AccountFile(40);
    Edit edit;
    edit.Set("DOMAIN\\user17", "MaxSessionTime", "5400").DeleteSection("domain\\USER3");
    const QByteArray updated = Q(edit.ApplyTo(S(old)));

    WriteFile(path, old);
    std::vector<std::size_t> points;
    QVERIFY(Files(Failing(97, [&](std::size_t n) {
                points.push_back(n);
                return false;
            })).Apply(path, edit));
    QCOMPARE(ReadFile(path), updated);
    QCOMPARE(points.size(), std::size_t(updated.size() + 96) / 97 + 1);

    for (std::size_t point : points) {
        const QByteArray at = QByteArray::number(qulonglong(point));
        WriteFile(path, old);
        Files failing(Failing(97, [point](std::size_t n) { return n == point; }));
        QCOMPARE(Q(failing.Read(path)->Bytes()), old);
        std::string error;
        QVERIFY2(!failing.Apply(path, edit, &error) && !error.empty(), at.constData());
        QVERIFY2(ReadFile(path) == old && Q(failing.Read(path)->Bytes()) == old &&
                     AllFiles(path.parent_path()) == QStringList{u"callward.usr"_s},
                 at.constData());
    }
}
