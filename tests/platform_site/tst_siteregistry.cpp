// The site registry: registry-export files as they come from real systems, the
// RegQueryValueEx buffer rules, remote connections and the key rules.

#include "sitefixture.h"

#include <QElapsedTimer>
#include <QString>

#include <cstring>
#include <thread>
#include <vector>

using namespace OCL;
using namespace Qt::StringLiterals;

namespace {

// A byte string that may hold NULs.
template <std::size_t N>
QByteArray B(const char (&text)[N]) {
    return QByteArray(text, int(N - 1));
}

QByteArray Crlf(QByteArray text) {
    return text.replace("\n", "\r\n");
}

// A version 5.00 export: UTF-16LE with a byte-order mark.
QByteArray Unicode(const QString& text) {
    QString crlf = text;
    crlf.replace(u"\n"_s, u"\r\n"_s);
    return QByteArray("\xFF\xFE", 2) +
           QByteArray(reinterpret_cast<const char*>(crlf.utf16()), int(crlf.size() * 2));
}

HKEY RootOf(const QByteArray& name) {
    return name == "HKU" ? Hkey::Users : Hkey::LocalMachine;
}

// Reads one value of an open key; result in *result.
QByteArray ReadValue(IRegistry& registry, HKEY key, const char* name, LONG* result, DWORD* type = nullptr) {
    DWORD size = 0;
    *result = registry.QueryValue(key, name, type, nullptr, &size);
    if (*result != 0)
        return {};
    QByteArray data(int(size), '\0');
    *result = registry.QueryValue(key, name, type, reinterpret_cast<BYTE*>(data.data()), &size);
    data.resize(int(size));
    return data;
}

QByteArray ReadPath(IRegistry& registry, const std::string& machine, HKEY root, const char* path,
                    const char* name, LONG* result, DWORD* type = nullptr) {
    HKEY remote = nullptr;
    *result = registry.Connect(machine, root, &remote);
    if (*result)
        return {};
    RegKeyGuard remoteGuard(registry, remote);
    RegKeyGuard key(registry);
    *result = registry.OpenKey(remote, path, key.Out());
    if (*result)
        return {};
    return ReadValue(registry, key.Get(), name, result, type);
}

} // namespace

class TestSiteRegistry : public QObject {
    Q_OBJECT

private slots:
    void parse_data();
    void parse();
    void syntaxError_data();
    void syntaxError();
    void writeForm_data();
    void writeForm();
    void rewriteKeepsEverything();
    void queryBuffer_data();
    void queryBuffer();
    void connect_data();
    void connect();
    void connectWaitsForLatency();
    void keys();
    void invalidHandles();
    void changesFromOutside();
    void readersWhileWriting();
};

void TestSiteRegistry::parse_data() {
    QTest::addColumn<QByteArray>("file");
    QTest::addColumn<QByteArray>("root");
    QTest::addColumn<QByteArray>("key");
    QTest::addColumn<QByteArray>("name");
    QTest::addColumn<int>("result");
    QTest::addColumn<int>("type");
    QTest::addColumn<QByteArray>("data");

    const QByteArray head = "REGEDIT4\n\n[HKEY_LOCAL_MACHINE\\Software\\Test]\n";
    auto row = [&](const char* tag, const QByteArray& body, const char* name, int type,
                   const QByteArray& data) {
        QTest::newRow(tag) << Crlf(head + body) << QByteArray("HKLM") << QByteArray("Software\\Test")
                           << QByteArray(name) << 0 << type << data;
    };
    row("string", "\"Name\"=\"Value\"\n", "Name", 1, B("Value\0"));
    row("escapes", "\"Path\"=\"C:\\\\Program Files\\\\X \\\"q\\\"\"\n", "Path", 1,
        B("C:\\Program Files\\X \"q\"\0"));
    row("other backslash kept", "\"P\"=\"a\\nb\"\n", "P", 1, B("a\\nb\0"));
    row("escaped name", "\"a\\\"b\\\\c\"=\"x\"\n", "a\"b\\c", 1, B("x\0"));
    row("default value", "@=\"Default\"\n", "", 1, B("Default\0"));
    row("dword", "\"Count\"=dword:0000002a\n", "Count", 4, B("\x2a\0\0\0"));
    row("dword upper case", "\"Max\"=DWORD:FFFFFFFF\n", "Max", 4, B("\xff\xff\xff\xff"));
    row("dword short", "\"One\"=dword:1\n", "One", 4, B("\x01\0\0\0"));
    row("binary continued", "\"Bin\"=hex:01,02,03,\\\n  04,05\n", "Bin", 3, B("\x01\x02\x03\x04\x05"));
    row("binary continued twice", "\"Bin\"=hex:0a,\\\n  0b,\\\n  0c\n", "Bin", 3, B("\x0a\x0b\x0c"));
    row("expand string", "\"Ex\"=hex(2):25,41,25,00\n", "Ex", 2, B("%A%\0"));
    row("qword", "\"Q\"=hex(b):01,00,00,00,00,00,00,00\n", "Q", 11, B("\x01\0\0\0\0\0\0\0"));
    row("no type, empty", "\"N\"=hex(0):\n", "N", 0, QByteArray());
    row("string without terminator", "\"S\"=hex(1):61,62\n", "S", 1, B("ab"));
    row("blanks around =", "\"A\" = \"x\"\n", "A", 1, B("x\0"));
    row("windows-1252", "\"C\"=\"Caf\xe9 \x80\"\n", "C", 1, B("Caf\xe9 \x80\0"));
    row("comments and blanks", "; a comment\n\n   ; indented\n\"A\"=\"1\"\n\n", "A", 1, B("1\0"));
    row("later value wins", "\"A\"=\"1\"\n\n[HKEY_LOCAL_MACHINE\\Software\\Test]\n\"A\"=\"2\"\n", "A", 1,
        B("2\0"));

    QTest::newRow("short root name") << Crlf("REGEDIT4\n\n[HKLM\\Software\\Test]\n\"A\"=\"1\"\n")
                                     << QByteArray("HKLM") << QByteArray("Software\\Test") << QByteArray("A")
                                     << 0 << 1 << B("1\0");
    QTest::newRow("users root") << Crlf("REGEDIT4\n\n[HKEY_USERS\\.DEFAULT\\Control Panel\\International]\n"
                                        "\"Locale\"=\"00000407\"\n")
                                << QByteArray("HKU") << QByteArray(".DEFAULT\\Control Panel\\International")
                                << QByteArray("Locale") << 0 << 1 << B("00000407\0");
    QTest::newRow("users short root")
        << Crlf("REGEDIT4\n\n[HKU\\.DEFAULT]\n\"A\"=\"1\"\n") << QByteArray("HKU") << QByteArray(".DEFAULT")
        << QByteArray("A") << 0 << 1 << B("1\0");
    QTest::newRow("line feeds only") << QByteArray(
                                            "REGEDIT4\n\n[HKEY_LOCAL_MACHINE\\Software\\Test]\n\"A\"=\"1\"\n")
                                     << QByteArray("HKLM") << QByteArray("Software\\Test") << QByteArray("A")
                                     << 0 << 1 << B("1\0");
    QTest::newRow("no final line end")
        << QByteArray("REGEDIT4\r\n\r\n[HKLM\\Software\\Test]\r\n\"A\"=dword:00000002") << QByteArray("HKLM")
        << QByteArray("Software\\Test") << QByteArray("A") << 0 << 4 << B("\x02\0\0\0");
    QTest::newRow("names without case")
        << Crlf("REGEDIT4\n\n[HKEY_LOCAL_MACHINE\\SOFTWARE\\Osterline]\n\"MasterShare\"=\"x\"\n")
        << QByteArray("HKLM") << QByteArray("software\\osterline") << QByteArray("mastershare") << 0 << 1
        << B("x\0");
    QTest::newRow("value removed") << Crlf(head + "\"A\"=\"1\"\n\"A\"=-\n") << QByteArray("HKLM")
                                   << QByteArray("Software\\Test") << QByteArray("A") << 2 << 0
                                   << QByteArray();
    QTest::newRow("key removed") << Crlf(head + "\"A\"=\"1\"\n\n[-HKEY_LOCAL_MACHINE\\Software\\Test]\n")
                                 << QByteArray("HKLM") << QByteArray("Software\\Test") << QByteArray("A") << 2
                                 << 0 << QByteArray();
    QTest::newRow("missing key") << Crlf(head + "\"A\"=\"1\"\n") << QByteArray("HKLM")
                                 << QByteArray("Software\\Nope") << QByteArray("A") << 2 << 0 << QByteArray();

    const QString v5 = u"Windows Registry Editor Version 5.00\n\n[HKEY_LOCAL_MACHINE\\Software\\Test]\n"_s;
    auto unicodeRow = [&](const char* tag, const QString& body, const char* name, int type,
                          const QByteArray& data) {
        QTest::newRow(tag) << Unicode(v5 + body) << QByteArray("HKLM") << QByteArray("Software\\Test")
                           << QByteArray(name) << 0 << type << data;
    };
    unicodeRow("v5 string", u"\"Name\"=\"Caf\u00e9 \u20ac\"\n"_s, "Name", 1, B("Caf\xe9 \x80\0"));
    unicodeRow("v5 character outside 1252", u"\"Name\"=\"\u0416\"\n"_s, "Name", 1, B("?\0"));
    unicodeRow("v5 dword", u"\"D\"=dword:00000010\n"_s, "D", 4, B("\x10\0\0\0"));
    unicodeRow("v5 expand string", u"\"Ex\"=hex(2):25,00,41,00,25,00,00,00\n"_s, "Ex", 2, B("%A%\0"));
    unicodeRow("v5 multi string", u"\"M\"=hex(7):61,00,00,00,e9,00,00,00,00,00\n"_s, "M", 7,
               B("a\0\xe9\0\0"));
    unicodeRow("v5 binary stays bytes", u"\"Bin\"=hex:01,00\n"_s, "Bin", 3, B("\x01\x00"));
    QTest::newRow("v5 in utf-8") << QByteArray("\xEF\xBB\xBFWindows Registry Editor Version 5.00\r\n\r\n"
                                               "[HKLM\\Software\\Test]\r\n\"Name\"=\"Caf\xc3\xa9\"\r\n")
                                 << QByteArray("HKLM") << QByteArray("Software\\Test") << QByteArray("Name")
                                 << 0 << 1 << B("Caf\xe9\0");
}

void TestSiteRegistry::parse() {
    QFETCH(QByteArray, file);
    QFETCH(QByteArray, root);
    QFETCH(QByteArray, key);
    QFETCH(QByteArray, name);
    QFETCH(int, result);
    QFETCH(int, type);
    QFETCH(QByteArray, data);

    SiteTest::Site site;
    site.WriteHosts();
    site.Write("hosts/RAS1/registry.reg", SiteTest::Bytes(file));
    auto platform = site.Open();
    QVERIFY(platform->problems.empty());

    LONG r = -1;
    DWORD gotType = 0xFFFF;
    const QByteArray got = ReadPath(*platform->registry, "\\\\RAS1", RootOf(root), key.constData(),
                                    name.constData(), &r, &gotType);
    QCOMPARE(int(r), result);
    if (result == 0) {
        QCOMPARE(int(gotType), type);
        QCOMPARE(got, data);
    }
}

void TestSiteRegistry::syntaxError_data() {
    QTest::addColumn<QByteArray>("file");
    QTest::addColumn<bool>("beforeReadable");

    const QByteArray good = "REGEDIT4\r\n\r\n[HKEY_LOCAL_MACHINE\\Software\\Test]\r\n\"Before\"=\"1\"\r\n";
    const QByteArray after = "\r\n\"After\"=\"2\"\r\n";
    QTest::newRow("stray text") << good + "this is not valid" + after << true;
    QTest::newRow("unterminated string") << good + "\"After\"=\"2\r\n\"Later\"=\"3\"\r\n" << true;
    QTest::newRow("unterminated name") << good + "\"Aft" + after << true;
    QTest::newRow("bad hex byte") << good + "\"After\"=hex:01,zz\r\n" << true;
    QTest::newRow("hex byte too wide") << good + "\"After\"=hex:01,234\r\n" << true;
    QTest::newRow("dword too long") << good + "\"After\"=dword:123456789\r\n" << true;
    QTest::newRow("unknown data") << good + "\"After\"=sz:2\r\n" << true;
    QTest::newRow("text after string") << good + "\"After\"=\"2\" junk\r\n" << true;
    QTest::newRow("file ends in continuation") << good + "\"After\"=hex:01,02,\\" << true;
    QTest::newRow("key without bracket") << good + "[HKEY_LOCAL_MACHINE\\Software\\Other" + after << true;
    QTest::newRow("unknown root") << good + "[SOFTWARE\\Test]" + after << true;
    QTest::newRow("empty key name") << good + "[HKEY_LOCAL_MACHINE\\Software\\\\Test]" + after << true;
    QByteArray binary;
    for (int i = 0; i < 4096; ++i)
        binary += char((i * 7919 + 13) % 256);
    QTest::newRow("binary bytes") << good + binary + after << true;
    QTest::newRow("huge line") << good + QByteArray(4 << 20, 'x') + after << true;
    QTest::newRow("value before key") << QByteArray("REGEDIT4\r\n\"Before\"=\"1\"\r\n") + after << false;
    QTest::newRow("no header") << QByteArray("[HKEY_LOCAL_MACHINE\\Software\\Test]\r\n\"Before\"=\"1\"\r\n")
                               << false;
    QTest::newRow("only garbage") << binary << false;
}

// A broken file is read up to the first bad line and never written, so what
// follows the error survives until someone mends it.
void TestSiteRegistry::syntaxError() {
    QFETCH(QByteArray, file);
    QFETCH(bool, beforeReadable);

    SiteTest::Site site;
    site.WriteHosts();
    site.Write("hosts/RAS1/registry.reg", SiteTest::Bytes(file));
    auto platform = site.Open();
    QCOMPARE(platform->problems.size(), std::size_t(1));
    QVERIFY(platform->problems.front().find("registry.reg") != std::string::npos);
    IRegistry& registry = *platform->registry;

    LONG r = -1;
    const QByteArray before = ReadPath(registry, "RAS1", Hkey::LocalMachine, "Software\\Test", "Before", &r);
    if (beforeReadable) {
        QCOMPARE(int(r), 0);
        QCOMPARE(before, B("1\0"));
        ReadPath(registry, "RAS1", Hkey::LocalMachine, "Software\\Test", "After", &r);
        QCOMPARE(int(r), 2);
    } else {
        QCOMPARE(int(r), 2);
    }

    HKEY root = nullptr;
    QCOMPARE(int(registry.Connect("RAS1", Hkey::LocalMachine, &root)), 0);
    RegKeyGuard rootGuard(registry, root);
    const BYTE one[4] = {1, 0, 0, 0};
    RegKeyGuard created(registry);
    QCOMPARE(int(registry.CreateKey(root, "Software\\New", created.Out())), 1009);
    QVERIFY(!created.Get());
    QCOMPARE(int(registry.SetValue(root, "X", RegType::Dword, one, 4)), 1009);
    if (beforeReadable) {
        RegKeyGuard test(registry);
        QCOMPARE(int(registry.OpenKey(root, "Software\\Test", test.Out())), 0);
        QCOMPARE(int(registry.SetValue(test.Get(), "Before", RegType::Dword, one, 4)), 1009);
        QCOMPARE(int(registry.DeleteValue(test.Get(), "Before")), 1009);
        QCOMPARE(int(registry.DeleteKey(root, "Software\\Test")), 1009);
    }
    QCOMPARE(QByteArray::fromStdString(site.Read("hosts/RAS1/registry.reg")), file);
    QVERIFY(!site.Exists("hosts/RAS1/registry.lock") || site.Read("hosts/RAS1/registry.lock").empty());
}

void TestSiteRegistry::writeForm_data() {
    QTest::addColumn<int>("type");
    QTest::addColumn<QByteArray>("data");
    QTest::addColumn<QByteArray>("line");

    QTest::newRow("string") << 1 << B("abc\0") << QByteArray("\"V\"=\"abc\"\r\n");
    QTest::newRow("string without terminator") << 1 << B("abc") << QByteArray("\"V\"=hex(1):61,62,63\r\n");
    QTest::newRow("empty string, no terminator") << 1 << QByteArray() << QByteArray("\"V\"=hex(1):\r\n");
    QTest::newRow("empty string") << 1 << B("\0") << QByteArray("\"V\"=\"\"\r\n");
    QTest::newRow("string with NUL inside") << 1 << B("a\0b\0") << QByteArray("\"V\"=hex(1):61,00,62,00\r\n");
    QTest::newRow("string with line break")
        << 1 << B("a\r\nb\0") << QByteArray("\"V\"=hex(1):61,0d,0a,62,00\r\n");
    QTest::newRow("quotes and backslashes") << 1 << B("a\"b\\c\0") << QByteArray("\"V\"=\"a\\\"b\\\\c\"\r\n");
    QTest::newRow("1252 text") << 1 << B("\xe9\x80\0") << QByteArray("\"V\"=\"\xe9\x80\"\r\n");
    QTest::newRow("dword") << 4 << B("\x2a\0\0\0") << QByteArray("\"V\"=dword:0000002a\r\n");
    QTest::newRow("dword of two bytes") << 4 << B("\x2a\0") << QByteArray("\"V\"=hex(4):2a,00\r\n");
    QTest::newRow("binary") << 3 << B("\x00\xff") << QByteArray("\"V\"=hex:00,ff\r\n");
    QTest::newRow("multi string") << 7 << B("a\0\0") << QByteArray("\"V\"=hex(7):61,00,00\r\n");
    QTest::newRow("type eleven") << 11 << B("\x01") << QByteArray("\"V\"=hex(b):01\r\n");
    // Lines stay under 80 columns; the rest follows indented after a backslash.
    QTest::newRow("long binary wraps") << 3 << QByteArray(60, '\x11')
                                       << QByteArray("\"V\"=hex:") + QByteArray("11,").repeated(23) +
                                              "\\\r\n  " + QByteArray("11,").repeated(25) + "\\\r\n  11,";
}

// Every value comes back exactly as it was stored, also through a new site
// object that must read the file afresh.
void TestSiteRegistry::writeForm() {
    QFETCH(int, type);
    QFETCH(QByteArray, data);
    QFETCH(QByteArray, line);

    SiteTest::Site site;
    site.WriteHosts();
    {
        auto platform = site.Open();
        IRegistry& registry = *platform->registry;
        HKEY root = nullptr;
        QCOMPARE(int(registry.Connect("RAS1", Hkey::LocalMachine, &root)), 0);
        RegKeyGuard rootGuard(registry, root);
        RegKeyGuard key(registry);
        QCOMPARE(
            int(registry.CreateKey(root, "Software\\Osterline Technologies\\Callwarden\\Service", key.Out())),
            0);
        QCOMPARE(int(registry.SetValue(key.Get(), "V", DWORD(type),
                                       reinterpret_cast<const BYTE*>(data.constData()), DWORD(data.size()))),
                 0);
        LONG r = -1;
        DWORD gotType = 0;
        QCOMPARE(ReadValue(registry, key.Get(), "V", &r, &gotType), data);
        QCOMPARE(int(gotType), type);
    }
    const QByteArray file = QByteArray::fromStdString(site.Read("hosts/RAS1/registry.reg"));
    QVERIFY(file.startsWith("REGEDIT4\r\n\r\n"));
    QVERIFY2(file.contains(line), file.constData());
    QVERIFY(!file.contains("\n\n") && !file.contains("\r\r"));

    auto fresh = site.Open();
    QVERIFY(fresh->problems.empty());
    LONG r = -1;
    DWORD gotType = 0;
    QCOMPARE(ReadPath(*fresh->registry, "RAS1", Hkey::LocalMachine,
                      "Software\\Osterline Technologies\\Callwarden\\Service", "V", &r, &gotType),
             data);
    QCOMPARE(int(r), 0);
    QCOMPARE(int(gotType), type);
}

// A seeded export, rewritten by one change, keeps every other key and value.
void TestSiteRegistry::rewriteKeepsEverything() {
    SiteTest::Site site;
    site.WriteHosts();
    site.Write("hosts/RAS1/registry.reg",
               SiteTest::Bytes(Unicode(
                   u"Windows Registry Editor Version 5.00\n\n"
                   "[HKEY_LOCAL_MACHINE\\SOFTWARE\\Microsoft\\Windows NT\\CurrentVersion]\n"
                   "\"CurrentVersion\"=\"4.0\"\n"
                   "\"CurrentBuildNumber\"=\"1381\"\n"
                   "\"SystemRoot\"=hex(2):43,00,3a,00,5c,00,57,00,49,00,4e,00,4e,00,54,00,00,00\n\n"
                   "[HKEY_LOCAL_MACHINE\\SOFTWARE\\Microsoft\\RAS\\CurrentVersion]\n"
                   "@=\"default text\"\n"
                   "\"Title\"=\"Remote Access Service\"\n"
                   "\"Blob\"=hex:00,01,02,03,04,05,06,07,08,09,0a,0b,0c,0d,0e,0f,10,11,12,13,14,15,\\\n"
                   "  16,17,18,19,1a,1b,1c,1d,1e,1f\n\n"
                   "[HKEY_LOCAL_MACHINE\\SYSTEM\\CurrentControlSet\\Control\\TimeZoneInformation]\n"
                   "\"ActiveTimeBias\"=dword:ffffffc4\n"
                   "\"StandardName\"=\"W. Europe Standard Time\"\n\n"
                   "[HKEY_LOCAL_MACHINE\\SYSTEM\\CurrentControlSet\\Services\\RemoteAccess]\n"
                   "\"DisplayName\"=\"Remote Access Server\"\n"
                   "\"DependOnService\"=hex(7):52,00,61,00,73,00,4d,00,61,00,6e,00,00,00,00,00\n\n"
                   "[HKEY_CURRENT_USER\\Console]\n"
                   "\"FaceName\"=\"Lucida\"\n\n"
                   "[HKEY_USERS\\.DEFAULT\\Control Panel\\International]\n"
                   "\"Locale\"=\"00000407\"\n"_s)));
    struct Probe {
        HKEY root;
        const char* key;
        const char* name;
    };
    const std::vector<Probe> probes = {
        {Hkey::LocalMachine, "SOFTWARE\\Microsoft\\Windows NT\\CurrentVersion", "CurrentVersion"},
        {Hkey::LocalMachine, "SOFTWARE\\Microsoft\\Windows NT\\CurrentVersion", "CurrentBuildNumber"},
        {Hkey::LocalMachine, "SOFTWARE\\Microsoft\\Windows NT\\CurrentVersion", "SystemRoot"},
        {Hkey::LocalMachine, "SOFTWARE\\Microsoft\\RAS\\CurrentVersion", ""},
        {Hkey::LocalMachine, "SOFTWARE\\Microsoft\\RAS\\CurrentVersion", "Title"},
        {Hkey::LocalMachine, "SOFTWARE\\Microsoft\\RAS\\CurrentVersion", "Blob"},
        {Hkey::LocalMachine, "SYSTEM\\CurrentControlSet\\Control\\TimeZoneInformation", "ActiveTimeBias"},
        {Hkey::LocalMachine, "SYSTEM\\CurrentControlSet\\Control\\TimeZoneInformation", "StandardName"},
        {Hkey::LocalMachine, "SYSTEM\\CurrentControlSet\\Services\\RemoteAccess", "DisplayName"},
        {Hkey::LocalMachine, "SYSTEM\\CurrentControlSet\\Services\\RemoteAccess", "DependOnService"},
        {Hkey::Users, ".DEFAULT\\Control Panel\\International", "Locale"},
    };
    auto snapshot = [&](IRegistry& registry) {
        std::vector<std::pair<DWORD, QByteArray>> values;
        for (const Probe& p : probes) {
            LONG r = -1;
            DWORD type = 0;
            const QByteArray data = ReadPath(registry, "RAS1", p.root, p.key, p.name, &r, &type);
            values.emplace_back(r == 0 ? type : 0xDEAD, data);
        }
        return values;
    };

    auto before = snapshot(*site.Open()->registry);
    QCOMPARE(before[2].second, B("C:\\WINNT\0"));
    QCOMPARE(before[9].second, B("RasMan\0\0"));
    {
        auto platform = site.Open();
        HKEY root = nullptr;
        QCOMPARE(int(platform->registry->Connect("RAS1", Hkey::LocalMachine, &root)), 0);
        RegKeyGuard guard(*platform->registry, root);
        const BYTE one[4] = {1, 0, 0, 0};
        QCOMPARE(int(platform->registry->SetValue(root, "Added", RegType::Dword, one, 4)), 0);
    }
    const std::string file = site.Read("hosts/RAS1/registry.reg");
    QVERIFY(file.rfind("REGEDIT4\r\n", 0) == 0);
    QVERIFY(file.find("[HKEY_CURRENT_USER\\Console]\r\n\"FaceName\"=\"Lucida\"\r\n") != std::string::npos);
    auto after = snapshot(*site.Open()->registry);
    QCOMPARE(after, before);
}

void TestSiteRegistry::queryBuffer_data() {
    QTest::addColumn<QByteArray>("name");
    QTest::addColumn<int>("bufferSize"); // -1: no buffer, size only
    QTest::addColumn<int>("result");
    QTest::addColumn<int>("size");
    QTest::addColumn<QByteArray>("copied");

    QTest::newRow("exact size") << QByteArray("Text") << 6 << 0 << 6 << B("Hello\0");
    QTest::newRow("larger buffer") << QByteArray("Text") << 10 << 0 << 6 << B("Hello\0");
    QTest::newRow("one byte short") << QByteArray("Text") << 5 << 234 << 6 << QByteArray();
    QTest::newRow("no room at all") << QByteArray("Text") << 0 << 234 << 6 << QByteArray();
    QTest::newRow("size only") << QByteArray("Text") << -1 << 0 << 6 << QByteArray();
    QTest::newRow("dword read of a 2-byte string") << QByteArray("Short") << 4 << 0 << 2 << B("A\0");
    QTest::newRow("string without terminator") << QByteArray("Bare") << 600 << 0 << 3 << B("abc");
    QTest::newRow("dword") << QByteArray("Number") << 4 << 0 << 4 << B("\x07\0\0\0");
    QTest::newRow("dword into 2 bytes") << QByteArray("Number") << 2 << 234 << 4 << QByteArray();
    QTest::newRow("default value") << QByteArray("") << 100 << 0 << 2 << B("d\0");
    QTest::newRow("missing value") << QByteArray("Nope") << 4 << 2 << -1 << QByteArray();
}

void TestSiteRegistry::queryBuffer() {
    QFETCH(QByteArray, name);
    QFETCH(int, bufferSize);
    QFETCH(int, result);
    QFETCH(int, size);
    QFETCH(QByteArray, copied);

    SiteTest::Site site;
    site.WriteHosts();
    site.Write("hosts/CONSOLE/registry.reg",
               SiteTest::Bytes(
                   Crlf("REGEDIT4\n\n[HKEY_LOCAL_MACHINE\\Software\\Test]\n@=\"d\"\n\"Text\"=\"Hello\"\n"
                        "\"Short\"=hex(1):41,00\n\"Bare\"=hex(1):61,62,63\n\"Number\"=dword:00000007\n")));
    auto platform = site.Open();
    IRegistry& registry = *platform->registry;
    RegKeyGuard key(registry);
    QCOMPARE(int(registry.OpenKey(Hkey::LocalMachine, "Software\\Test", key.Out())), 0);

    QByteArray buffer(std::max(bufferSize, 0) + 8, '\xCC');
    DWORD gotSize = bufferSize < 0 ? 0 : DWORD(bufferSize);
    DWORD type = 0xFFFF;
    const LONG r =
        registry.QueryValue(key.Get(), name.toStdString(), &type,
                            bufferSize < 0 ? nullptr : reinterpret_cast<BYTE*>(buffer.data()), &gotSize);
    QCOMPARE(int(r), result);
    if (size >= 0)
        QCOMPARE(int(gotSize), size);
    QCOMPARE(buffer.left(copied.size()), copied);
    QCOMPARE(buffer.mid(copied.size()), QByteArray(buffer.size() - copied.size(), '\xCC'));
}

void TestSiteRegistry::connect_data() {
    QTest::addColumn<QString>("machine");
    QTest::addColumn<int>("result");

    QTest::newRow("bare name") << u"RAS1"_s << 0;
    QTest::newRow("with backslashes") << u"\\\\RAS1"_s << 0;
    QTest::newRow("other case") << u"\\\\ras1"_s << 0;
    QTest::newRow("this computer, empty") << QString() << 0;
    QTest::newRow("this computer by name") << u"\\\\Console"_s << 0;
    QTest::newRow("unknown") << u"\\\\NOSUCH"_s << 53;
    QTest::newRow("unreachable") << u"DOWN"_s << 53;
    QTest::newRow("access denied") << u"\\\\LOCKED"_s << 5;
}

void TestSiteRegistry::connect() {
    QFETCH(QString, machine);
    QFETCH(int, result);

    SiteTest::Site site;
    site.WriteHosts();
    auto platform = site.Open();
    for (HKEY predefined : {Hkey::LocalMachine, Hkey::Users}) {
        HKEY key = reinterpret_cast<HKEY>(std::uintptr_t{1});
        QCOMPARE(int(platform->registry->Connect(machine.toStdString(), predefined, &key)), result);
        QCOMPARE(key == nullptr, result != 0);
        if (key)
            QCOMPARE(int(platform->registry->CloseKey(key)), 0);
    }
}

void TestSiteRegistry::connectWaitsForLatency() {
    SiteTest::Site site;
    site.WriteHosts();
    auto platform = site.Open();
    QElapsedTimer timer;
    timer.start();
    HKEY key = nullptr;
    QCOMPARE(int(platform->registry->Connect("\\\\SLOW", Hkey::LocalMachine, &key)), 0);
    QVERIFY(timer.elapsed() >= 150);
    platform->registry->CloseKey(key);
}

void TestSiteRegistry::keys() {
    SiteTest::Site site;
    site.WriteHosts();
    auto platform = site.Open();
    IRegistry& registry = *platform->registry;
    HKEY root = nullptr;
    QCOMPARE(int(registry.Connect("RAS1", Hkey::LocalMachine, &root)), 0);
    RegKeyGuard rootGuard(registry, root);

    // A host without a registry file has an empty registry, and reading makes no file.
    RegKeyGuard key(registry);
    QCOMPARE(int(registry.OpenKey(root, "Software", key.Out())), 2);
    QVERIFY(!site.Exists("hosts/RAS1/registry.reg"));

    QCOMPARE(
        int(registry.CreateKey(root, "Software\\Osterline Technologies\\Callwarden\\Service", key.Out())), 0);
    QVERIFY(site.Read("hosts/RAS1/registry.reg")
                .find("[HKEY_LOCAL_MACHINE\\Software\\Osterline Technologies\\Callwarden\\Service]\r\n") !=
            std::string::npos);
    QCOMPARE(int(registry.CreateKey(root, "Software\\Zeta", key.Out())), 0);
    QCOMPARE(int(registry.CreateKey(root, "Software\\Alpha", key.Out())), 0);
    // The same key in other letters is opened, not made again.
    QCOMPARE(int(registry.CreateKey(root, "SOFTWARE\\zeta", key.Out())), 0);

    RegKeyGuard software(registry);
    QCOMPARE(int(registry.OpenKey(root, "software", software.Out())), 0);
    auto names = [&] {
        QStringList list;
        char name[256];
        DWORD i = 0;
        LONG r;
        while ((r = registry.EnumKey(software.Get(), i++, name, sizeof name)) == 0)
            list << QString::fromLatin1(name);
        return r == 259 ? list : QStringList{u"error %1"_s.arg(r)};
    };
    QCOMPARE(names(), (QStringList{u"Osterline Technologies"_s, u"Zeta"_s, u"Alpha"_s}));

    char small[8];
    std::memset(small, '#', sizeof small);
    QCOMPARE(int(registry.EnumKey(software.Get(), 1, small, 4)), 234); // "Zeta" needs 5
    QCOMPARE(small[0], '#');
    QCOMPARE(int(registry.EnumKey(software.Get(), 1, small, 5)), 0);
    QCOMPARE(QByteArray(small), QByteArray("Zeta"));

    QCOMPARE(int(registry.DeleteKey(root, "Software")), 5);
    QCOMPARE(int(registry.DeleteKey(root, "Software\\Nope")), 2);
    QCOMPARE(int(registry.DeleteKey(software.Get(), "ZETA")), 0);
    QCOMPARE(names(), (QStringList{u"Osterline Technologies"_s, u"Alpha"_s}));
    QCOMPARE(int(registry.DeleteValue(software.Get(), "Nope")), 2);

    // A handle of a deleted key finds nothing any more.
    RegKeyGuard alpha(registry);
    QCOMPARE(int(registry.OpenKey(software.Get(), "Alpha", alpha.Out())), 0);
    QCOMPARE(int(registry.DeleteKey(software.Get(), "Alpha")), 0);
    const BYTE one[4] = {1, 0, 0, 0};
    QCOMPARE(int(registry.SetValue(alpha.Get(), "X", RegType::Dword, one, 4)), 2);

    // The predefined keys are this computer's.
    RegKeyGuard local(registry);
    QCOMPARE(int(registry.CreateKey(Hkey::LocalMachine, "Software\\Local", local.Out())), 0);
    QVERIFY(site.Read("hosts/CONSOLE/registry.reg").find("[HKEY_LOCAL_MACHINE\\Software\\Local]") !=
            std::string::npos);
    QVERIFY(site.Read("hosts/RAS1/registry.reg").find("Local") == std::string::npos);
}

void TestSiteRegistry::invalidHandles() {
    SiteTest::Site site;
    site.WriteHosts();
    auto platform = site.Open();
    IRegistry& registry = *platform->registry;
    DWORD size = 4;
    BYTE data[4];
    char name[16];
    HKEY result = nullptr;

    HKEY closed = nullptr;
    QCOMPARE(int(registry.Connect("", Hkey::LocalMachine, &closed)), 0);
    QCOMPARE(int(registry.CloseKey(closed)), 0);
    int dummy = 0;
    const HKEY bogus = reinterpret_cast<HKEY>(&dummy);
    for (HKEY bad : {HKEY(nullptr), closed, bogus}) {
        QCOMPARE(int(registry.QueryValue(bad, "x", nullptr, data, &size)), 6);
        QCOMPARE(int(registry.SetValue(bad, "x", 4, data, 4)), 6);
        QCOMPARE(int(registry.OpenKey(bad, "x", &result)), 6);
        QCOMPARE(int(registry.CreateKey(bad, "x", &result)), 6);
        QCOMPARE(int(registry.EnumKey(bad, 0, name, sizeof name)), 6);
        QCOMPARE(int(registry.DeleteKey(bad, "x")), 6);
        QCOMPARE(int(registry.CloseKey(bad)), 6);
    }
    QCOMPARE(int(registry.CloseKey(Hkey::LocalMachine)), 0);
    const HKEY currentUser = reinterpret_cast<HKEY>(std::uintptr_t{0x80000001});
    QCOMPARE(int(registry.Connect("RAS1", currentUser, &result)), 6);
}

// Another process (or another site object) changing the file is seen at once.
void TestSiteRegistry::changesFromOutside() {
    SiteTest::Site site;
    site.WriteHosts();
    site.Write("hosts/RAS1/registry.reg", "REGEDIT4\r\n\r\n[HKLM\\Software\\Test]\r\n\"A\"=\"1\"\r\n");
    auto platform = site.Open();
    LONG r = -1;
    QCOMPARE(ReadPath(*platform->registry, "RAS1", Hkey::LocalMachine, "Software\\Test", "A", &r), B("1\0"));

    site.Write("hosts/RAS1/registry.reg", "REGEDIT4\r\n\r\n[HKLM\\Software\\Test]\r\n\"A\"=\"two\"\r\n");
    QCOMPARE(ReadPath(*platform->registry, "RAS1", Hkey::LocalMachine, "Software\\Test", "A", &r),
             B("two\0"));

    auto other = site.Open();
    HKEY root = nullptr;
    QCOMPARE(int(other->registry->Connect("RAS1", Hkey::LocalMachine, &root)), 0);
    RegKeyGuard guard(*other->registry, root);
    RegKeyGuard key(*other->registry);
    QCOMPARE(int(other->registry->OpenKey(root, "Software\\Test", key.Out())), 0);
    QCOMPARE(int(other->registry->SetValue(key.Get(), "A", 1, reinterpret_cast<const BYTE*>("3"), 2)), 0);
    QCOMPARE(ReadPath(*platform->registry, "RAS1", Hkey::LocalMachine, "Software\\Test", "A", &r), B("3\0"));
}

// Fetcher threads read while the console writes: every read sees a whole file.
void TestSiteRegistry::readersWhileWriting() {
    SiteTest::Site site;
    site.WriteHosts();
    site.Write("hosts/RAS1/registry.reg", "REGEDIT4\r\n\r\n[HKLM\\Software\\Test]\r\n\"Stable\"="
                                          "\"constant\"\r\n\"Counter\"=dword:00000000\r\n");
    auto platform = site.Open();
    IRegistry& registry = *platform->registry;

    std::atomic<int> failures{0};
    std::atomic<bool> stop{false};
    std::vector<std::thread> readers;
    for (int t = 0; t < 4; ++t)
        readers.emplace_back([&] {
            while (!stop) {
                LONG r = -1;
                if (ReadPath(registry, "\\\\RAS1", Hkey::LocalMachine, "Software\\Test", "Stable", &r) !=
                        B("constant\0") ||
                    r != 0)
                    ++failures;
                ReadPath(registry, "\\\\RAS1", Hkey::LocalMachine, "Software\\Test", "Counter", &r);
                if (r != 0)
                    ++failures;
            }
        });
    HKEY root = nullptr;
    QCOMPARE(int(registry.Connect("RAS1", Hkey::LocalMachine, &root)), 0);
    RegKeyGuard guard(registry, root);
    RegKeyGuard key(registry);
    QCOMPARE(int(registry.OpenKey(root, "Software\\Test", key.Out())), 0);
    for (DWORD i = 1; i <= 50; ++i)
        QCOMPARE(int(registry.SetValue(key.Get(), "Counter", RegType::Dword,
                                       reinterpret_cast<const BYTE*>(&i), 4)),
                 0);
    stop = true;
    for (auto& t : readers)
        t.join();
    QCOMPARE(failures.load(), 0);
    LONG r = -1;
    QCOMPARE(ReadValue(registry, key.Get(), "Counter", &r), B("\x32\0\0\0"));
}

QTEST_GUILESS_MAIN(TestSiteRegistry)
#include "tst_siteregistry.moc"
