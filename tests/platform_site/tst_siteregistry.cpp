// The site registry: registry-export files as they come from real systems, read
// and written back without losing a byte; a broken file left whole; the key
// rules; and readers that never see half a file.

#include "sitefixture.h"

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
QByteArray Unicode(QString text) {
    text.replace(u"\n"_s, u"\r\n"_s);
    return QByteArray("\xFF\xFE", 2) +
           QByteArray(reinterpret_cast<const char*>(text.utf16()), int(text.size() * 2));
}

struct Value {
    LONG result = -1;
    DWORD type = 0xFFFF;
    QByteArray data;
};

Value Get(IRegistry& registry, HKEY key, const std::string& name) {
    Value v;
    DWORD size = 0;
    if ((v.result = registry.QueryValue(key, name, &v.type, nullptr, &size)) != 0)
        return v;
    v.data.resize(int(size));
    v.result = registry.QueryValue(key, name, &v.type, reinterpret_cast<BYTE*>(v.data.data()), &size);
    v.data.resize(int(size));
    return v;
}

// A value of a computer's key, path given as "HKLM\Key\Sub" or "HKU\Key".
Value Get(IRegistry& registry, const std::string& machine, const QByteArray& path, const std::string& name) {
    const auto slash = path.indexOf('\\');
    const HKEY root = path.left(slash) == "HKU" ? Hkey::Users : Hkey::LocalMachine;
    RegKeyGuard remote(registry), key(registry);
    Value v;
    if ((v.result = registry.Connect(machine, root, remote.Out())) != 0 ||
        (v.result = registry.OpenKey(remote.Get(), path.mid(slash + 1).toStdString(), key.Out())) != 0)
        return v;
    return Get(registry, key.Get(), name);
}

// Opens (or makes) a key of a computer's HKEY_LOCAL_MACHINE.
LONG Open(IRegistry& registry, const std::string& machine, const std::string& path, RegKeyGuard* key,
          bool create = false) {
    RegKeyGuard root(registry);
    if (const LONG r = registry.Connect(machine, Hkey::LocalMachine, root.Out()))
        return r;
    return create ? registry.CreateKey(root.Get(), path, key->Out())
                  : registry.OpenKey(root.Get(), path, key->Out());
}

LONG SetDword(IRegistry& registry, HKEY key, const char* name, DWORD value) {
    return registry.SetValue(key, name, RegType::Dword, reinterpret_cast<const BYTE*>(&value), 4);
}

const QByteArray kHead4 = "REGEDIT4\r\n\r\n[HKEY_LOCAL_MACHINE\\Software\\Test]\r\n";

} // namespace

class TestSiteRegistry : public QObject {
    Q_OBJECT

private slots:
    void parse_data() {
        QTest::addColumn<QByteArray>("file");
        QTest::addColumn<QByteArray>("path");
        QTest::addColumn<QByteArray>("name");
        QTest::addColumn<int>("type"); // -1: no such value (2)
        QTest::addColumn<QByteArray>("data");

        auto row = [](const char* tag, const QByteArray& file, const char* name, int type,
                      const QByteArray& data, const char* path = "HKLM\\Software\\Test") {
            QTest::newRow(tag) << file << QByteArray(path) << QByteArray(name) << type << data;
        };
        auto v4 = [&](const char* tag, const QByteArray& body, const char* name, int type,
                      const QByteArray& data) {
            row(tag, kHead4 + Crlf(body), name, type, data);
        };
        v4("string", "\"Name\"=\"Value\"\n", "Name", 1, B("Value\0"));
        v4("escapes", "\"Path\"=\"C:\\\\Program Files\\\\X \\\"q\\\"\"\n", "Path", 1,
           B("C:\\Program Files\\X \"q\"\0"));
        v4("default value", "@=\"Default\"\n", "", 1, B("Default\0"));
        v4("dword", "\"Count\"=dword:0000002a\n", "Count", 4, B("\x2a\0\0\0"));
        v4("dword short", "\"One\"=dword:1\n", "One", 4, B("\x01\0\0\0"));
        v4("binary continued", "\"Bin\"=hex:01,02,\\\n  03,\\\n  04,05\n", "Bin", 3,
           B("\x01\x02\x03\x04\x05"));
        v4("expand string", "\"Ex\"=hex(2):25,41,25,00\n", "Ex", 2, B("%A%\0"));
        v4("qword", "\"Q\"=hex(b):01,00,00,00,00,00,00,00\n", "Q", 11, B("\x01\0\0\0\0\0\0\0"));
        v4("string without terminator", "\"S\"=hex(1):61,62\n", "S", 1, B("ab"));
        v4("windows-1252", "\"C\"=\"Caf\xe9 \x80\"\n", "C", 1, B("Caf\xe9 \x80\0"));
        v4("comments and blanks", "; a comment\n\n   ; indented\n\"A\"=\"1\"\n\n", "A", 1, B("1\0"));
        v4("later value wins", "\"A\"=\"1\"\n\n[HKEY_LOCAL_MACHINE\\Software\\Test]\n\"A\"=\"2\"\n", "A", 1,
           B("2\0"));
        v4("value removed", "\"A\"=\"1\"\n\"A\"=-\n", "A", -1, {});
        v4("key removed", "\"A\"=\"1\"\n\n[-HKEY_LOCAL_MACHINE\\Software\\Test]\n", "A", -1, {});
        row("short root name", "REGEDIT4\r\n\r\n[HKLM\\Software\\Test]\r\n\"A\"=\"1\"\r\n", "A", 1, B("1\0"));
        row("users root",
            "REGEDIT4\r\n\r\n[HKEY_USERS\\.DEFAULT\\Control "
            "Panel\\International]\r\n\"Locale\"=\"00000407\"\r\n",
            "Locale", 1, B("00000407\0"), "HKU\\.DEFAULT\\Control Panel\\International");
        row("line feeds only", "REGEDIT4\n\n[HKLM\\Software\\Test]\n\"A\"=\"1\"\n", "A", 1, B("1\0"));
        row("no final line end", "REGEDIT4\r\n\r\n[HKLM\\Software\\Test]\r\n\"A\"=dword:00000002", "A", 4,
            B("\x02\0\0\0"));
        row("names without case",
            "REGEDIT4\r\n\r\n[HKEY_LOCAL_MACHINE\\SOFTWARE\\TEST]\r\n\"MasterShare\"=\"x\"\r\n",
            "mastershare", 1, B("x\0"), "HKLM\\software\\test");

        const QString head5 =
            u"Windows Registry Editor Version 5.00\n\n[HKEY_LOCAL_MACHINE\\Software\\Test]\n"_s;
        auto v5 = [&](const char* tag, const QString& body, const char* name, int type,
                      const QByteArray& data) {
            row(tag, Unicode(head5 + body), name, type, data);
        };
        v5("v5 string", u"\"Name\"=\"Caf\u00e9 \u20ac\"\n"_s, "Name", 1, B("Caf\xe9 \x80\0"));
        v5("v5 character outside 1252", u"\"Name\"=\"\u0416\"\n"_s, "Name", 1, B("?\0"));
        v5("v5 expand string", u"\"Ex\"=hex(2):25,00,41,00,25,00,00,00\n"_s, "Ex", 2, B("%A%\0"));
        v5("v5 multi string", u"\"M\"=hex(7):61,00,00,00,e9,00,00,00,00,00\n"_s, "M", 7, B("a\0\xe9\0\0"));
        v5("v5 binary stays bytes", u"\"Bin\"=hex:01,00\n"_s, "Bin", 3, B("\x01\x00"));
        row("v5 in utf-8",
            "\xEF\xBB\xBFWindows Registry Editor Version "
            "5.00\r\n\r\n[HKLM\\Software\\Test]\r\n\"Name\"=\"Caf\xc3\xa9\"\r\n",
            "Name", 1, B("Caf\xe9\0"));
    }

    void parse() {
        QFETCH(QByteArray, file);
        QFETCH(QByteArray, path);
        QFETCH(QByteArray, name);
        QFETCH(int, type);
        QFETCH(QByteArray, data);

        SiteTest::Site site;
        site.WriteHosts();
        site.Write("hosts/RAS1/registry.reg", file.toStdString());
        auto platform = site.Open();
        QVERIFY(platform->problems.empty());
        const Value v = Get(*platform->registry, "\\\\RAS1", path, name.toStdString());
        QCOMPARE(int(v.result), type < 0 ? 2 : 0);
        if (type >= 0) {
            QCOMPARE(int(v.type), type);
            QCOMPARE(v.data, data);
        }
    }

    void syntaxError_data() {
        QTest::addColumn<QByteArray>("file");
        QTest::addColumn<bool>("beforeReadable");

        const QByteArray good = kHead4 + "\"Before\"=\"1\"\r\n";
        const QByteArray after = "\r\n\"After\"=\"2\"\r\n";
        QTest::newRow("stray text") << good + "this is not valid" + after << true;
        QTest::newRow("unterminated string") << good + "\"After\"=\"2\r\n\"Later\"=\"3\"\r\n" << true;
        QTest::newRow("bad hex byte") << good + "\"After\"=hex:01,zz\r\n" << true;
        QTest::newRow("dword too long") << good + "\"After\"=dword:123456789\r\n" << true;
        QTest::newRow("unknown data") << good + "\"After\"=sz:2\r\n" << true;
        QTest::newRow("text after string") << good + "\"After\"=\"2\" junk\r\n" << true;
        QTest::newRow("file ends in continuation") << good + "\"After\"=hex:01,02,\\" << true;
        QTest::newRow("unknown root") << good + "[SOFTWARE\\Test]" + after << true;
        QTest::newRow("empty key name") << good + "[HKEY_LOCAL_MACHINE\\Software\\\\Test]" + after << true;
        QByteArray binary;
        for (int i = 0; i < 4096; ++i)
            binary += char((i * 7919 + 13) % 256);
        QTest::newRow("binary bytes") << good + binary + after << true;
        QTest::newRow("huge line") << good + QByteArray(4 << 20, 'x') + after << true;
        QTest::newRow("value before key") << QByteArray("REGEDIT4\r\n\"Before\"=\"1\"\r\n") + after << false;
        QTest::newRow("no header") << QByteArray(
                                          "[HKEY_LOCAL_MACHINE\\Software\\Test]\r\n\"Before\"=\"1\"\r\n")
                                   << false;
        QTest::newRow("only garbage") << binary << false;
    }

    // A broken file is read up to the first bad line and never written, so what
    // follows the error survives until someone mends it.
    void syntaxError() {
        QFETCH(QByteArray, file);
        QFETCH(bool, beforeReadable);

        SiteTest::Site site;
        site.WriteHosts();
        site.Write("hosts/RAS1/registry.reg", file.toStdString());
        auto platform = site.Open();
        QCOMPARE(platform->problems.size(), std::size_t(1));
        QVERIFY(platform->problems.front().find("registry.reg") != std::string::npos);
        IRegistry& registry = *platform->registry;

        const Value before = Get(registry, "RAS1", "HKLM\\Software\\Test", "Before");
        QCOMPARE(int(before.result), beforeReadable ? 0 : 2);
        if (beforeReadable) {
            QCOMPARE(before.data, B("1\0"));
            QCOMPARE(int(Get(registry, "RAS1", "HKLM\\Software\\Test", "After").result), 2);
        }

        RegKeyGuard root(registry), created(registry), test(registry);
        QCOMPARE(int(registry.Connect("RAS1", Hkey::LocalMachine, root.Out())), 0);
        QCOMPARE(int(registry.CreateKey(root.Get(), "Software\\New", created.Out())), 1009);
        QVERIFY(!created.Get());
        QCOMPARE(int(SetDword(registry, root.Get(), "X", 1)), 1009);
        if (beforeReadable) {
            QCOMPARE(int(registry.OpenKey(root.Get(), "Software\\Test", test.Out())), 0);
            QCOMPARE(int(SetDword(registry, test.Get(), "Before", 1)), 1009);
            QCOMPARE(int(registry.DeleteValue(test.Get(), "Before")), 1009);
            QCOMPARE(int(registry.DeleteKey(root.Get(), "Software\\Test")), 1009);
        }
        QCOMPARE(QByteArray::fromStdString(site.Read("hosts/RAS1/registry.reg")), file);
    }

    void writeForm_data() {
        QTest::addColumn<int>("type");
        QTest::addColumn<QByteArray>("data");
        QTest::addColumn<QByteArray>("line");

        QTest::newRow("string") << 1 << B("abc\0") << QByteArray("\"V\"=\"abc\"\r\n");
        QTest::newRow("string without terminator")
            << 1 << B("abc") << QByteArray("\"V\"=hex(1):61,62,63\r\n");
        QTest::newRow("empty string, no terminator") << 1 << QByteArray() << QByteArray("\"V\"=hex(1):\r\n");
        QTest::newRow("empty string") << 1 << B("\0") << QByteArray("\"V\"=\"\"\r\n");
        QTest::newRow("string with NUL inside")
            << 1 << B("a\0b\0") << QByteArray("\"V\"=hex(1):61,00,62,00\r\n");
        QTest::newRow("string with line break")
            << 1 << B("a\r\nb\0") << QByteArray("\"V\"=hex(1):61,0d,0a,62,00\r\n");
        QTest::newRow("quotes and backslashes")
            << 1 << B("a\"b\\c\0") << QByteArray("\"V\"=\"a\\\"b\\\\c\"\r\n");
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
    // object that must read the file afresh; the rewrite of a seeded export keeps

    // every other key and value.
    void writeForm() {
        QFETCH(int, type);
        QFETCH(QByteArray, data);
        QFETCH(QByteArray, line);

        SiteTest::Site site;
        site.WriteHosts();
        site.Write("hosts/RAS1/registry.reg",
                   Unicode(u"Windows Registry Editor Version 5.00\n\n"
                           "[HKEY_LOCAL_MACHINE\\SOFTWARE\\Microsoft\\RAS\\CurrentVersion]\n"
                           "@=\"default text\"\n"
                           "\"Depend\"=hex(7):52,00,61,00,73,00,00,00,00,00\n\n"
                           "[HKEY_CURRENT_USER\\Console]\n"
                           "\"FaceName\"=\"Lucida\"\n\n"
                           "[HKEY_USERS\\.DEFAULT\\Control Panel\\International]\n"
                           "\"Locale\"=dword:ffffffc4\n"_s)
                       .toStdString());
        const char* path = "Software\\Osterline Technologies\\Callwarden\\Service";
        {
            auto platform = site.Open();
            RegKeyGuard key(*platform->registry);
            QCOMPARE(int(Open(*platform->registry, "RAS1", path, &key, true)), 0);
            QCOMPARE(int(platform->registry->SetValue(key.Get(), "V", DWORD(type),
                                                      reinterpret_cast<const BYTE*>(data.constData()),
                                                      DWORD(data.size()))),
                     0);
        }
        const QByteArray file = QByteArray::fromStdString(site.Read("hosts/RAS1/registry.reg"));
        QVERIFY(file.startsWith("REGEDIT4\r\n\r\n"));
        QVERIFY2(file.contains(line), file.constData());
        QVERIFY(file.contains("[HKEY_CURRENT_USER\\Console]\r\n\"FaceName\"=\"Lucida\"\r\n"));
        QVERIFY(!file.contains("\n\n") && !file.contains("\r\r"));

        auto fresh = site.Open();
        QVERIFY(fresh->problems.empty());
        const Value v = Get(*fresh->registry, "RAS1", "HKLM\\" + QByteArray(path), "V");
        QCOMPARE(int(v.result), 0);
        QCOMPARE(int(v.type), type);
        QCOMPARE(v.data, data);
        const QByteArray ras = "HKLM\\SOFTWARE\\Microsoft\\RAS\\CurrentVersion";
        QCOMPARE(Get(*fresh->registry, "RAS1", ras, "").data, B("default text\0"));
        QCOMPARE(Get(*fresh->registry, "RAS1", ras, "Depend").data, B("Ras\0\0"));
        QCOMPARE(Get(*fresh->registry, "RAS1", "HKU\\.DEFAULT\\Control Panel\\International", "Locale").data,
                 B("\xc4\xff\xff\xff"));
    }

    void keys() {
        SiteTest::Site site;
        site.WriteHosts();
        auto platform = site.Open();
        IRegistry& registry = *platform->registry;
        RegKeyGuard root(registry), key(registry);
        QCOMPARE(int(registry.Connect("RAS1", Hkey::LocalMachine, root.Out())), 0);
        // A host without a registry file has an empty registry, and reading makes no file.
        QCOMPARE(int(registry.OpenKey(root.Get(), "Software", key.Out())), 2);
        QVERIFY(!std::filesystem::exists(site.Path("hosts/RAS1/registry.reg")));

        // The same key in other letters is opened, not made again; subkeys keep their order.
        for (const char* path : {"Software\\Zeta", "Software\\Alpha", "SOFTWARE\\zeta"})
            QCOMPARE(int(registry.CreateKey(root.Get(), path, key.Out())), 0);
        HKEY software = nullptr;
        QCOMPARE(int(registry.OpenKey(root.Get(), "software", &software)), 0);
        char name[8];
        std::memset(name, '#', sizeof name);
        QCOMPARE(int(registry.EnumKey(software, 0, name, 4)), 234); // "Zeta" needs 5
        QCOMPARE(name[0], '#');
        QCOMPARE(int(registry.EnumKey(software, 0, name, 5)), 0);
        QCOMPARE(QByteArray(name), QByteArray("Zeta"));
        QCOMPARE(int(registry.EnumKey(software, 1, name, 8)), 0);
        QCOMPARE(QByteArray(name), QByteArray("Alpha"));
        QCOMPARE(int(registry.EnumKey(software, 2, name, 8)), 259);

        QCOMPARE(int(registry.DeleteKey(root.Get(), "Software")), 5); // it has subkeys
        QCOMPARE(int(registry.DeleteKey(root.Get(), "Software\\Nope")), 2);
        QCOMPARE(int(registry.DeleteKey(software, "ZETA")), 0);
        QCOMPARE(int(registry.EnumKey(software, 1, name, 8)), 259);
        // A closed handle is no handle.
        QCOMPARE(int(registry.CloseKey(software)), 0);
        QCOMPARE(int(registry.CloseKey(software)), 6);
        QCOMPARE(int(Get(registry, software, "X").result), 6);
    }

    // Another process (or another site object) changing the file is seen at once.
    void changesFromOutside() {
        SiteTest::Site site;
        site.WriteHosts();
        site.Write("hosts/RAS1/registry.reg", "REGEDIT4\r\n\r\n[HKLM\\Software\\Test]\r\n\"A\"=\"1\"\r\n");
        auto platform = site.Open();
        QCOMPARE(Get(*platform->registry, "RAS1", "HKLM\\Software\\Test", "A").data, B("1\0"));

        site.Write("hosts/RAS1/registry.reg", "REGEDIT4\r\n\r\n[HKLM\\Software\\Test]\r\n\"A\"=\"two\"\r\n");
        QCOMPARE(Get(*platform->registry, "RAS1", "HKLM\\Software\\Test", "A").data, B("two\0"));

        auto other = site.Open();
        RegKeyGuard key(*other->registry);
        QCOMPARE(int(Open(*other->registry, "RAS1", "Software\\Test", &key)), 0);
        QCOMPARE(int(other->registry->SetValue(key.Get(), "A", 1, reinterpret_cast<const BYTE*>("3"), 2)), 0);
        QCOMPARE(Get(*platform->registry, "RAS1", "HKLM\\Software\\Test", "A").data, B("3\0"));
    }

    // Fetcher threads read while the console writes: every read sees a whole file.
    void readersWhileWriting() {
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
                    const Value stable = Get(registry, "\\\\RAS1", "HKLM\\Software\\Test", "Stable");
                    const Value counter = Get(registry, "\\\\RAS1", "HKLM\\Software\\Test", "Counter");
                    if (stable.result != 0 || stable.data != B("constant\0") || counter.result != 0)
                        ++failures;
                }
            });
        RegKeyGuard key(registry);
        QCOMPARE(int(Open(registry, "RAS1", "Software\\Test", &key)), 0);
        for (DWORD i = 1; i <= 50; ++i)
            QCOMPARE(int(SetDword(registry, key.Get(), "Counter", i)), 0);
        stop = true;
        for (auto& t : readers)
            t.join();
        QCOMPARE(failures.load(), 0);
        QCOMPARE(Get(registry, key.Get(), "Counter").data, B("\x32\0\0\0"));
    }
};

QTEST_GUILESS_MAIN(TestSiteRegistry)
#include "tst_siteregistry.moc"
