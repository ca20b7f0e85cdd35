// The registry helper's results, the RAS-kind decision, the version reads and
// the binding of the RAS administration library, over sites.
#include "core/app/registry.h"
#include "core/ras/rasfunc.h"
#include "support/testconsole.h"

#include <QtTest>

#include <future>

using namespace Qt::StringLiterals;
using namespace OCL;

namespace {

const QString kService = u"HKEY_LOCAL_MACHINE\\Software\\Osterline Technologies\\Callwarden\\Service"_s;
const QString kNtVersion = u"HKEY_LOCAL_MACHINE\\Software\\Microsoft\\Windows NT\\CurrentVersion"_s;
const QString kRemoteAccess = u"HKEY_LOCAL_MACHINE\\System\\CurrentControlSet\\Services\\RemoteAccess"_s;
const QString kRasTitle = u"HKEY_LOCAL_MACHINE\\Software\\Microsoft\\RAS\\CurrentVersion"_s;

// The raw bytes of a value as the registry port gives them.
QByteArray RawValue(CTestConsole& console, const QString& host, const char* key, const char* name,
                    DWORD* type) {
    IRegistry& reg = console.Platform().registry.operator*();
    RegKeyGuard connection(reg), opened(reg);
    if (reg.Connect(host.toStdString(), Hkey::LocalMachine, connection.Out()) != Err::Success ||
        reg.OpenKey(connection.Get(), key, opened.Out()) != Err::Success)
        return "<missing>";
    QByteArray data(4096, '\0');
    DWORD size = DWORD(data.size());
    if (reg.QueryValue(opened.Get(), name, type, reinterpret_cast<BYTE*>(data.data()), &size) != Err::Success)
        return "<missing>";
    return data.left(qsizetype(size));
}

} // namespace

class TestRegistry : public QObject {
    Q_OBJECT
private slots:
    void readDword_data();
    void readDword();
    void setDwordNeedsExistingKey();
    void readStringBuffer();
    void setStringLeavesOutTerminator_data();
    void setStringLeavesOutTerminator();
    void isRras_data();
    void isRras();
    void osVersionOfServer_data();
    void osVersionOfServer();
    void osVersionOfThisComputer_data();
    void osVersionOfThisComputer();
    void bindingWithoutLibrary();
    void bindingWithMissingNames();
    void bindingComplete();
};

void TestRegistry::readDword_data() {
    QTest::addColumn<QString>("server");
    QTest::addColumn<QString>("name");
    QTest::addColumn<int>("result");
    QTest::addColumn<uint>("value");
    QTest::newRow("present") << "SRV"
                             << "IdleTimer" << 1 << 15u;
    QTest::newRow("missing value stores 0") << "SRV"
                                            << "NoSuchValue" << 0 << 0u;
    QTest::newRow("unreachable stores 0") << "GONE"
                                          << "IdleTimer" << 0 << 0u;
    QTest::newRow("unknown host stores 0") << "NOWHERE"
                                           << "IdleTimer" << 0 << 0u;
    QTest::newRow("two-byte string read as number") << "SRV"
                                                    << "Short" << 1 << 0x35u;
}

void TestRegistry::readDword() {
    QFETCH(QString, server);
    QFETCH(QString, name);
    QFETCH(int, result);
    QFETCH(uint, value);
    CTestConsole console([](CSiteWriter& w) {
        CTestConsole::AddServer(w, u"SRV"_s, u"RAS"_s, u"4.0"_s, 2, true);
        w.SetServiceString(u"SRV"_s, u"Short"_s, u"5"_s);
        CSiteWriter::HostOptions gone;
        gone.reachable = false;
        w.AddHost(u"GONE"_s, gone);
    });
    CRegistry registry(console.Environment());
    DWORD read = 777;
    QCOMPARE(registry.ReadDWORD(server, u"Service"_s, name, &read), result);
    QCOMPARE(read, DWORD(value));
}

void TestRegistry::setDwordNeedsExistingKey() {
    CTestConsole console(
        [](CSiteWriter& w) { CTestConsole::AddServer(w, u"SRV"_s, u"RAS"_s, u"4.0"_s, 1, true); });
    CRegistry registry(console.Environment());
    QCOMPARE(registry.SetDWORD(u"SRV"_s, u"Service"_s, u"IdleTimer"_s, 42), 1);
    DWORD value = 0;
    QCOMPARE(registry.ReadDWORD(u"SRV"_s, u"Service"_s, u"IdleTimer"_s, &value), 1);
    QCOMPARE(value, 42u);
    // The key is opened, never created.
    QCOMPARE(registry.SetDWORD(u"SRV"_s, u"General"_s, u"X"_s, 1), 0);
    DWORD type = 0;
    QCOMPARE(RawValue(console, u"SRV"_s, "Software\\Osterline Technologies\\Callwarden\\General", "X", &type),
             QByteArray("<missing>"));
}

void TestRegistry::readStringBuffer() {
    CTestConsole console([](CSiteWriter& w) {
        CTestConsole::AddServer(w, u"SRV"_s, u"RAS"_s, u"4.0"_s, 1, true);
        w.SetServiceString(u"SRV"_s, u"Long"_s, QString(650, u'x'));
        w.SetServiceString(u"SRV"_s, u"Fits"_s, QString(599, u'y'));
        w.SetRegRaw(u"SRV"_s, kService, u"NoTerminator"_s, RegType::Sz, QByteArray("abc"));
    });
    CRegistry registry(console.Environment());
    std::string value = "preset";
    QCOMPARE(registry.ReadString(u"SRV"_s, u"Service"_s, u"Long"_s, &value), 0);
    QCOMPARE(value, std::string("preset"));
    QCOMPARE(registry.ReadString(u"SRV"_s, u"Service"_s, u"Missing"_s, &value), 0);
    QCOMPARE(value, std::string("preset"));
    QCOMPARE(registry.ReadString(u"SRV"_s, u"Service"_s, u"Fits"_s, &value), 1);
    QCOMPARE(value.size(), std::size_t(599));
    QCOMPARE(registry.ReadString(u"SRV"_s, u"Service"_s, u"NoTerminator"_s, &value), 1);
    QCOMPARE(value, std::string("abc"));
}

void TestRegistry::setStringLeavesOutTerminator_data() {
    QTest::addColumn<QString>("text");
    QTest::newRow("text") << "\\\\MASTER\\CW_NT_DB";
    QTest::newRow("empty") << "";
}

void TestRegistry::setStringLeavesOutTerminator() {
    QFETCH(QString, text);
    CTestConsole console(
        [](CSiteWriter& w) { CTestConsole::AddServer(w, u"SRV"_s, u"RAS"_s, u"4.0"_s, 1, true); });
    CRegistry registry(console.Environment());
    QCOMPARE(registry.SetString(u"SRV"_s, u"Service"_s, u"MasterShare"_s, text), 1);
    DWORD type = 0;
    const QByteArray raw = RawValue(
        console, u"SRV"_s, "Software\\Osterline Technologies\\Callwarden\\Service", "MasterShare", &type);
    QCOMPARE(type, RegType::Sz);
    QCOMPARE(raw, text.toLatin1());
    std::string back;
    QCOMPARE(registry.ReadString(u"SRV"_s, u"Service"_s, u"MasterShare"_s, &back), 1);
    QCOMPARE(QString::fromStdString(back), text);
}

void TestRegistry::isRras_data() {
    QTest::addColumn<QString>("rasType"); // "" = absent
    QTest::addColumn<QString>("version");
    QTest::addColumn<QString>("displayName"); // "" = absent
    QTest::addColumn<QString>("title");       // "" = absent
    QTest::addColumn<int>("rras");
    QTest::newRow("RAS Type 0 wins over display name") << "0"
                                                       << "5.0"
                                                       << "Routing and Remote Access"
                                                       << "" << 0;
    QTest::newRow("RAS Type 1") << "1"
                                << "4.0"
                                << "Remote Access Service"
                                << "" << 1;
    QTest::newRow("RAS Type 7") << "7"
                                << "4.0"
                                << ""
                                << "" << 1;
    QTest::newRow("4.0 without RAS Type, router title") << ""
                                                        << "4.0"
                                                        << ""
                                                        << "Routing and Remote Access" << 0;
    QTest::newRow("4.0 without RAS Type, Routin2 title") << ""
                                                         << "4.0"
                                                         << ""
                                                         << "Routin2 anything" << 1;
    QTest::newRow("4.0 without anything") << ""
                                          << "4.0"
                                          << ""
                                          << "" << 0;
    QTest::newRow("5.0 classic name, other case") << ""
                                                  << "5.0"
                                                  << "remote access SERVICE"
                                                  << "" << 0;
    QTest::newRow("5.0 other name") << ""
                                    << "5.0"
                                    << "Routing and Remote Access"
                                    << "" << 1;
    QTest::newRow("5.0 unreadable name") << ""
                                         << "5.0"
                                         << ""
                                         << "" << 1;
    QTest::newRow("no version") << ""
                                << ""
                                << "Routing and Remote Access"
                                << "Routin2" << 1;
}

void TestRegistry::isRras() {
    QFETCH(QString, rasType);
    QFETCH(QString, version);
    QFETCH(QString, displayName);
    QFETCH(QString, title);
    QFETCH(int, rras);
    CTestConsole console([&](CSiteWriter& w) {
        w.AddHost(u"SRV"_s);
        w.CreateRegKey(u"SRV"_s, kService);
        if (!rasType.isEmpty())
            w.SetServiceDword(u"SRV"_s, u"RAS Type"_s, rasType.toUInt());
        if (!version.isEmpty())
            w.SetRegString(u"SRV"_s, kNtVersion, u"CurrentVersion"_s, version);
        if (!displayName.isEmpty())
            w.SetRegString(u"SRV"_s, kRemoteAccess, u"DisplayName"_s, displayName);
        if (!title.isEmpty())
            w.SetRegString(u"SRV"_s, kRasTitle, u"Title"_s, title);
    });
    CRegistry registry(console.Environment());
    QCOMPARE(registry.IsRRAS(u"SRV"_s), rras);
    QCOMPARE(registry.IsRRAS(u"\\\\SRV"_s), rras);
}

void TestRegistry::osVersionOfServer_data() {
    QTest::addColumn<QString>("server");
    QTest::addColumn<double>("version");
    QTest::newRow("4.0") << "NT4" << 4.0;
    QTest::newRow("5.0") << "W2K" << 5.0;
    QTest::newRow("no value") << "BARE" << 0.0;
    QTest::newRow("unreachable") << "GONE" << 0.0;
}

void TestRegistry::osVersionOfServer() {
    QFETCH(QString, server);
    QFETCH(double, version);
    CTestConsole console([](CSiteWriter& w) {
        w.AddHost(u"NT4"_s);
        w.SetRegString(u"NT4"_s, kNtVersion, u"CurrentVersion"_s, u"4.0"_s);
        w.AddHost(u"W2K"_s);
        w.SetRegString(u"W2K"_s, kNtVersion, u"CurrentVersion"_s, u"5.0"_s);
        w.AddHost(u"BARE"_s);
        CSiteWriter::HostOptions gone;
        gone.reachable = false;
        w.AddHost(u"GONE"_s, gone);
        w.SetRegString(u"GONE"_s, kNtVersion, u"CurrentVersion"_s, u"4.0"_s);
    });
    CRegistry registry(console.Environment());
    QCOMPARE(registry.GetOSVersion(server), version);
    QVERIFY(console.Prompter().Boxes().isEmpty());
}

void TestRegistry::osVersionOfThisComputer_data() {
    QTest::addColumn<QString>("platformId");
    QTest::addColumn<QString>("major");
    QTest::addColumn<double>("version");
    QTest::addColumn<QString>("message");
    QTest::newRow("NT 4") << "2"
                          << "4" << 4.0 << "";
    QTest::newRow("NT 5, minor ignored") << "2"
                                         << "5" << 5.0 << "";
    QTest::newRow("not NT") << "1"
                            << "4" << 0.0 << "Non-NT Windows are not supported";
    QTest::newRow("undetermined") << "2"
                                  << "0" << 0.0 << "Failed to determine local OS type\n";
}

void TestRegistry::osVersionOfThisComputer() {
    QFETCH(QString, platformId);
    QFETCH(QString, major);
    QFETCH(double, version);
    QFETCH(QString, message);
    CTestConsole console([&](CSiteWriter& w) {
        w.SetHostValue(kTestConsole, u"PlatformId"_s, platformId);
        w.SetHostValue(kTestConsole, u"MajorVersion"_s, major);
        w.SetHostValue(kTestConsole, u"MinorVersion"_s, u"1"_s);
    });
    CRegistry registry(console.Environment());
    QCOMPARE(registry.GetOSVersion({}), version);
    const auto boxes = console.Prompter().Boxes();
    if (message.isEmpty()) {
        QVERIFY(boxes.isEmpty());
    } else {
        QCOMPARE(boxes.size(), 1);
        QCOMPARE(boxes[0].text, message);
        QCOMPARE(int(boxes[0].icon), int(IPrompter::Icon::Error));
    }
}

void TestRegistry::bindingWithoutLibrary() {
    CTestConsole console([](CSiteWriter& w) { w.SetSiteValue(u"Modules"_s, u"RASSAPI.DLL"_s, QString()); });
    CRasBinding binding;
    CRASFunc ras(console.Environment(), binding); // the constructor binds
    QCOMPARE(ras.Init(), 0);
    const QString text =
        u"Error when loading RASSAPI.DLL (code:126)\n\nVerify that the file exists in your search path.\n"_s;
    // Shown by the constructor's attempt and again by the retry.
    QCOMPARE(console.Prompter().Texts(), QStringList({text, text}));
    QCOMPARE(int(console.Prompter().Boxes()[0].icon), int(IPrompter::Icon::None));
    RAS_PORT_0* ports = nullptr;
    WORD count = 0;
    QCOMPARE(ras.PortEnum(u"\\\\X"_s, &ports, &count), 127u);
}

void TestRegistry::bindingWithMissingNames() {
    CTestConsole console(
        [](CSiteWriter& w) { w.SetSiteValue(u"Modules"_s, u"RASSAPI.DLL"_s, u"RASSAPI_PARTIAL.so"_s); });
    CRasBinding binding;
    // While a box is up, a fetcher binding on another thread is not held up by it.
    std::vector<std::future<BOOL>> others;
    QList<bool> answeredInTime;
    console.Prompter().onMessage = [&](const CScriptedPrompter::Shown&) {
        others.push_back(
            std::async(std::launch::async, [&] { return CRASFunc(console.Environment(), binding).Init(); }));
        answeredInTime.append(others.back().wait_for(std::chrono::seconds(10)) == std::future_status::ready);
    };
    CRASFunc ras(console.Environment(), binding);
    QCOMPARE(answeredInTime, QList<bool>({true, true}));
    for (auto& other : others)
        QCOMPARE(other.get(), 1);
    QCOMPARE(console.Prompter().Texts(),
             QStringList({u"Error when loading Rassapi.dll: Unable to locate ordinal 0x006"_s,
                          u"Error when loading Rassapi.dll: Unable to locate ordinal 0x009"_s}));
    QCOMPARE(ras.Init(), 1);
    QCOMPARE(console.Prompter().Texts().size(), 2); // bound once: nothing more
    QCOMPARE(ras.PortClearStatistics(u"X"_s, u"COM1"_s), 127u);
}

void TestRegistry::bindingComplete() {
    CTestConsole console(
        [](CSiteWriter& w) { CTestConsole::AddServer(w, u"SRV"_s, u"RAS"_s, u"4.0"_s, 3, true); });
    CRasBinding binding;
    CRASFunc ras(console.Environment(), binding);
    QVERIFY(console.Prompter().Boxes().isEmpty());
    RAS_PORT_0* ports = nullptr;
    WORD count = 0;
    QCOMPARE(ras.PortEnum(u"\\\\SRV"_s, &ports, &count), 0u);
    QCOMPARE(count, WORD(3));
    QCOMPARE(QString::fromUtf16(ports[2].wszPortName), u"COM3"_s);
    ras.FreeBuffer(ports);
}

QTEST_MAIN(TestRegistry)
#include "tst_registry.moc"
