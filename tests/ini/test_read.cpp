#include "testini.h"

#include <QTest>

using namespace IniTest;
using OCL::Ini::Document;
using OCL::Ini::Files;

namespace {

const QByteArray kDefault = "<default>";

Lookup Has(const char* section, const char* key, const QByteArray& value) {
    return {section, key, value};
}
Lookup Missing(const QByteArray& section, const QByteArray& key) {
    return {section, key, std::nullopt};
}

void CheckLookups(Files& files, const std::filesystem::path& path, const Lookups& lookups) {
    auto document = files.Read(path);
    for (const Lookup& l : lookups) {
        const auto found = document->Find(S(l.section), S(l.key));
        const QByteArray where = "[" + l.section + "] " + l.key;
        QVERIFY2(found.has_value() == l.value.has_value(), where.constData());
        if (found)
            QCOMPARE(Q(*found), *l.value);
        const std::string text = files.GetString(path, S(l.section), S(l.key), S(kDefault));
        QCOMPARE(Q(text), l.value.value_or(kDefault));
    }
}

} // namespace

void TestIni::read_data() {
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<QByteArrayList>("bulk");
    QTest::addColumn<QByteArrayList>("sectionNames");
    QTest::addColumn<QByteArray>("keysOf");
    QTest::addColumn<QByteArrayList>("keyNames");
    QTest::addColumn<Lookups>("lookups");

    QTest::newRow("empty file") << QByteArray() << QByteArrayList() << QByteArrayList() << QByteArray("A")
                                << QByteArrayList() << Lookups{Missing("A", "k")};
    QTest::newRow("crlf")
        << B("[General]\r\nIdle=5\r\nName=Main office\r\n\r\n[Greetings]\r\nFile=greet_0.txt\r\n")
        << QByteArrayList{"[General]", "Idle=5", "Name=Main office", "[Greetings]", "File=greet_0.txt"}
        << QByteArrayList{"General", "Greetings"} << QByteArray("General") << QByteArrayList{"Idle", "Name"}
        << Lookups{Has("General", "Name", "Main office"), Has("Greetings", "File", "greet_0.txt"),
                   Missing("General", "File")};
    QTest::newRow("lf only") << B("[General]\nIdle=5\nName=Main\n")
                             << QByteArrayList{"[General]", "Idle=5", "Name=Main"}
                             << QByteArrayList{"General"} << QByteArray("General")
                             << QByteArrayList{"Idle", "Name"}
                             << Lookups{Has("General", "Idle", "5"), Has("General", "Name", "Main")};
    QTest::newRow("mixed line ends") << B("[A]\r\nx=1\ny=2\r\n[B]\nz=3\r\n")
                                     << QByteArrayList{"[A]", "x=1", "y=2", "[B]", "z=3"}
                                     << QByteArrayList{"A", "B"} << QByteArray("A")
                                     << QByteArrayList{"x", "y"}
                                     << Lookups{Has("A", "x", "1"), Has("A", "y", "2"), Has("B", "z", "3")};
    QTest::newRow("blanks and tabs") << B("  [ General ]  \r\n \t Idle \t = \t 5 \t \r\n\tmy key=a b\r\n")
                                     << QByteArrayList{"[General]", "Idle=5", "my key=a b"}
                                     << QByteArrayList{"General"} << QByteArray("general")
                                     << QByteArrayList{"Idle", "my key"}
                                     << Lookups{Has("General", "Idle", "5"), Has("general", "IDLE", "5"),
                                                Has("GENERAL", "my key", "a b")};
    QTest::newRow("quotes") << B("[Q]\r\na=\"x\"\r\nb=\"x\r\nc=\"\r\nd=\"\"\r\ne=\"a\"b\"\r\nf= \" x \" \r\n"
                                 "g=x\"\r\nh='x'\r\ni=\"a\" \"b\"\r\n")
                            << QByteArrayList{"[Q]",    "a=x",   "b=\"x", "c=\"",  "d=",
                                              "e=a\"b", "f= x ", "g=x\"", "h='x'", "i=a\" \"b"}
                            << QByteArrayList{"Q"} << QByteArray("Q")
                            << QByteArrayList{"a", "b", "c", "d", "e", "f", "g", "h", "i"}
                            << Lookups{Has("Q", "a", "x"), Has("Q", "c", "\""), Has("Q", "d", ""),
                                       Has("Q", "e", "a\"b"), Has("Q", "f", " x ")};
    QTest::newRow("duplicates") << B("[A]\r\nk=1\r\nK=2\r\nm=3\r\n[B]\r\nk=4\r\n[a]\r\nk=5\r\nn=6\r\n")
                                << QByteArrayList{"[A]", "k=1", "K=2", "m=3", "[B]",
                                                  "k=4", "[a]", "k=5", "n=6"}
                                << QByteArrayList{"A", "B"} << QByteArray("a") << QByteArrayList{"k", "m"}
                                << Lookups{Has("a", "K", "1"), Has("A", "m", "3"), Has("B", "k", "4"),
                                           Missing("A", "n")};
    QTest::newRow("before first section")
        << B("k=0\r\n; note\r\n[x]=1\r\n\r\n[A]\r\nk=1\r\n") << QByteArrayList{"[x]", "[A]", "k=1"}
        << QByteArrayList{"x", "A"} << QByteArray("A") << QByteArrayList{"k"}
        << Lookups{Has("A", "k", "1"), Missing("", "k")};
    QTest::newRow("comments") << B("[A]\r\n;k=1\r\n  ; x=2\r\n#k=3\r\nk=4\r\nv=a ; b\r\n")
                              << QByteArrayList{"[A]", "#k=3", "k=4", "v=a ; b"} << QByteArrayList{"A"}
                              << QByteArray("A") << QByteArrayList{"#k", "k", "v"}
                              << Lookups{Missing("A", ";k"), Missing("A", "; x"), Has("A", "#k", "3"),
                                         Has("A", "k", "4")};
    QTest::newRow("empty values") << B("[A]\r\nk=\r\nm=   \r\nn=\t\r\n")
                                  << QByteArrayList{"[A]", "k=", "m=", "n="} << QByteArrayList{"A"}
                                  << QByteArray("A") << QByteArrayList{"k", "m", "n"}
                                  << Lookups{Has("A", "k", ""), Has("A", "m", ""), Missing("A", "o")};
    QTest::newRow("line without =") << B("[A]\r\nflag\r\n  spaced out  \r\nk=1\r\n")
                                    << QByteArrayList{"[A]", "flag=", "spaced out=", "k=1"}
                                    << QByteArrayList{"A"} << QByteArray("A")
                                    << QByteArrayList{"flag", "spaced out", "k"}
                                    << Lookups{Has("A", "flag", ""), Has("A", "spaced out", "")};
    QTest::newRow("equals in value, odd names")
        << B("[A]\r\nk=a=b\r\n=v\r\n[]\r\n[B] trailing\r\n[Open\r\nx=1\r\n")
        << QByteArrayList{"[A]", "k=a=b", "=v", "[]", "[B]", "[Open]", "x=1"}
        << QByteArrayList{"A", "", "B", "Open"} << QByteArray("Open") << QByteArrayList{"x"}
        << Lookups{Has("A", "k", "a=b"), Has("A", "", "v"), Has("open", "X", "1")};
    QTest::newRow("no final line end")
        << B("[A]\r\nk=1\r\nlast=end") << QByteArrayList{"[A]", "k=1", "last=end"} << QByteArrayList{"A"}
        << QByteArray("A") << QByteArrayList{"k", "last"} << Lookups{Has("A", "last", "end")};
    QTest::newRow("cut after CR") << B("[A]\r\nk=1\r") << QByteArrayList{"[A]", "k=1"} << QByteArrayList{"A"}
                                  << QByteArray("A") << QByteArrayList{"k"} << Lookups{Has("A", "k", "1")};
    QTest::newRow("header at end") << B("[A]\r\nk=1\r\n[B]") << QByteArrayList{"[A]", "k=1", "[B]"}
                                   << QByteArrayList{"A", "B"} << QByteArray("B") << QByteArrayList()
                                   << Lookups{Missing("B", "k")};
    QTest::newRow("NUL bytes")
        << B("[A]\r\nk=ab\0cd\r\nn\0x=1\r\n\0=2\r\n[B\0C]\r\nz=2\0\r\n[D]\r\ny=\"q\0\"\r\n")
        << QByteArrayList{"[A]", "k=ab", "n=1", "[B]", "z=2", "[D]", "y=q"}
        << QByteArrayList{"A", "B", "D"} << QByteArray("A") << QByteArrayList{"k", "n"}
        << Lookups{Has("A", "k", "ab"), Has("A", "n", "1"), Has("b", "z", "2"), Missing(B("B\0C"), "z"),
                   Has("D", "y", "q")};
    QTest::newRow("Windows-1252 case")
        << B("[\xC4rger]\r\nSCHL\xDCSSEL=1\r\n\xC6\xD8\xC5=2\r\n\x8A\x8C\x8E\x9F=3\r\n\xD7=4\r\n\xDF=5\r\n")
        << QByteArrayList{"[\xC4rger]",         "SCHL\xDCSSEL=1", "\xC6\xD8\xC5=2",
                          "\x8A\x8C\x8E\x9F=3", "\xD7=4",         "\xDF=5"}
        << QByteArrayList{"\xC4rger"} << QByteArray("\xE4RGER")
        << QByteArrayList{"SCHL\xDCSSEL", "\xC6\xD8\xC5", "\x8A\x8C\x8E\x9F", "\xD7", "\xDF"}
        << Lookups{Has("\xE4RGER", "schl\xFCssel", "1"),
                   Has("\xC4rger", "\xE6\xF8\xE5", "2"),
                   Has("\xC4rger", "\x9A\x9C\x9E\xFF", "3"),
                   Missing("\xC4rger", "\xF7"),
                   Missing("\xC4rger", "\xFF"),
                   Has("\xC4rger", "\xDF", "5")};
    QTest::newRow("day log")
        << B("[SERVER01\\COM1]\r\n1700000000=C_DOMAIN\\user*via modem\r\n"
             "1700000600=H600_DOMAIN\\user?3232235777?255:0000:WS01:1000:2000\r\n"
             "[SERVER01\\COM2]\r\n1700000100=N_guest?1\r\n")
        << QByteArrayList{"[SERVER01\\COM1]", "1700000000=C_DOMAIN\\user*via modem",
                          "1700000600=H600_DOMAIN\\user?3232235777?255:0000:WS01:1000:2000",
                          "[SERVER01\\COM2]", "1700000100=N_guest?1"}
        << QByteArrayList{"SERVER01\\COM1", "SERVER01\\COM2"} << QByteArray("server01\\com1")
        << QByteArrayList{"1700000000", "1700000600"}
        << Lookups{Has("server01\\com2", "1700000100", "N_guest?1")};
}

void TestIni::read() {
    QFETCH(QByteArray, bytes);
    QFETCH(QByteArrayList, bulk);
    QFETCH(QByteArrayList, sectionNames);
    QFETCH(QByteArray, keysOf);
    QFETCH(QByteArrayList, keyNames);
    QFETCH(Lookups, lookups);

    QCOMPARE(Flatten(*Document::Parse(S(bytes))), bulk);

    const auto path = Path("test.ini");
    WriteFile(path, bytes);
    Files files;
    auto document = files.Read(path);
    QCOMPARE(Q(document->Bytes()), bytes);
    QCOMPARE(Flatten(*document), bulk);

    QByteArrayList names;
    for (const std::string& name : files.SectionNames(path))
        names << Q(name);
    QCOMPARE(names, sectionNames);
    QByteArrayList keys;
    for (const std::string& name : files.KeyNames(path, S(keysOf)))
        keys << Q(name);
    QCOMPARE(keys, keyNames);

    CheckLookups(files, path, lookups);
}

void TestIni::readLarge_data() {
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<int>("sections");
    QTest::addColumn<int>("keys");
    QTest::addColumn<Lookups>("lookups");

    const QByteArray mega(1 << 20, 'x');
    QTest::newRow("1 MB value") << QByteArray("[A]\r\nk=" + mega + "\r\nafter=1\r\n") << 1 << 2
                                << Lookups{Has("A", "k", mega), Has("A", "after", "1")};
    QTest::newRow("1 MB section name") << QByteArray("[" + mega + "]\r\nk=1\r\n[B]\r\nk=2\r\n") << 2 << 2
                                       << Lookups{Has(mega.constData(), "k", "1"), Has("B", "k", "2")};
    QTest::newRow("1 MB line, no line end") << QByteArray("[A]\r\nk=1\r\n" + mega) << 1 << 2
                                            << Lookups{Has("A", "k", "1"), Has("A", mega.constData(), "")};
    QTest::newRow("zero-filled tail")
        << QByteArray("[A]\r\nk=1\r\n" + QByteArray(1 << 20, '\0')) << 1 << -1 << Lookups{Has("A", "k", "1")};

    const QByteArray log = LogFile(std::size_t(10) << 20, 4, 16);
    Lookups lookups;
    for (int s = 0; s < 64; s += 7) {
        const QByteArray name = "SERVER" + QByteArray::number(s / 16).rightJustified(2, '0') + "\\COM" +
                                QByteArray::number(s % 16 + 1);
        // Each section's first and last event, found in the raw text.
        const qsizetype header = log.indexOf(QByteArray("[" + name + "]\r\n"));
        QVERIFY(header >= 0);
        const qsizetype first = log.indexOf('\n', header) + 1;
        qsizetype next = log.indexOf("\r\n[", first);
        if (next < 0)
            next = log.size() - 2;
        const qsizetype last = log.lastIndexOf('\n', next - 1) + 1;
        for (qsizetype line : {first, last}) {
            const qsizetype eq = log.indexOf('=', line);
            const qsizetype end = log.indexOf('\r', eq);
            lookups << Lookup{name.toLower(), log.mid(line, eq - line), log.mid(eq + 1, end - eq - 1)};
        }
    }
    const int keys = int(log.count("\r\n")) - 64;
    lookups << Missing("SERVER00\\COM1", "1699999999") << Missing("SERVER04\\COM1", "1700000000");
    QTest::newRow("10 MB day log") << log << 64 << keys << lookups;
}

void TestIni::readLarge() {
    QFETCH(QByteArray, bytes);
    QFETCH(int, sections);
    QFETCH(int, keys);
    QFETCH(Lookups, lookups);

    const auto path = Path("large.ini");
    WriteFile(path, bytes);
    Files files;
    auto document = files.Read(path);
    QCOMPARE(document->Bytes().size(), std::size_t(bytes.size()));
    QCOMPARE(int(document->SectionCount()), sections);
    if (keys >= 0) {
        int total = 0;
        for (std::size_t s = 0; s < document->SectionCount(); ++s)
            total += int(document->KeyCount(s));
        QCOMPARE(total, keys);
    }
    CheckLookups(files, path, lookups);
}

void TestIni::getInt_data() {
    QTest::addColumn<QByteArray>("line");
    QTest::addColumn<qlonglong>("expected");

    QTest::newRow("plain") << QByteArray("k=12") << 12LL;
    QTest::newRow("blank and sign") << QByteArray("k= -3") << -3LL;
    QTest::newRow("quoted blank and sign") << QByteArray("k=\" -3\"") << -3LL;
    QTest::newRow("tab and plus") << QByteArray("k=\"\t+7\"") << 7LL;
    QTest::newRow("digits then junk") << QByteArray("k=4x") << 4LL;
    QTest::newRow("leading zeros") << QByteArray("k=0012") << 12LL;
    QTest::newRow("stops at blank") << QByteArray("k=1 2") << 1LL;
    QTest::newRow("no digits") << QByteArray("k=x") << 0LL;
    QTest::newRow("sign only") << QByteArray("k=-") << 0LL;
    QTest::newRow("empty value") << QByteArray("k=") << 0LL;
    QTest::newRow("no =") << QByteArray("k") << 0LL;
    QTest::newRow("negative 32-bit address") << QByteArray("k=-1062731519") << -1062731519LL;
    QTest::newRow("missing key") << QByteArray("other=5") << 99LL;
}

void TestIni::getInt() {
    QFETCH(QByteArray, line);
    QFETCH(qlonglong, expected);

    const auto path = Path("int.ini");
    WriteFile(path, "[A]\r\n" + line + "\r\n");
    Files files;
    QCOMPARE(files.GetInt(path, "a", "K", 99), expected);
}
