// The registry helper and the document's registry accessors, the service
// states, the RAS-kind decision and the binding of the RAS administration
// library, over sites.
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

// SRV (classic RAS, the master) with a few odd values, and GONE, unreachable.
void Hosts(CSiteWriter& w) {
    CTestConsole::AddServer(w, u"SRV"_s, u"RAS"_s, u"4.0"_s, 1, true);
    w.SetServiceString(u"SRV"_s, u"Short"_s, u"5"_s);
    w.SetServiceString(u"SRV"_s, u"Long"_s, QString(650, u'x'));
    w.SetRegRaw(u"SRV"_s, kService, u"Word"_s, RegType::Binary, QByteArray("\x01\x02", 2));
    CSiteWriter::HostOptions gone;
    gone.reachable = false;
    w.AddHost(u"GONE"_s, gone);
}

} // namespace

class TestRegistry : public QObject {
    Q_OBJECT
private slots:
    void helperReadDword_data();
    void helperReadDword();
    void documentAccessors();
    void serviceRunning_data();
    void serviceRunning();
    void isRras_data();
    void isRras();
    void bindingWithoutLibrary();
    void bindingWithMissingNames();
};

void TestRegistry::helperReadDword_data() {
    QTest::addColumn<QString>("server");
    QTest::addColumn<QString>("name");
    QTest::addColumn<int>("result");
    QTest::addColumn<uint>("value");
    QTest::newRow("present") << u"SRV"_s << u"IdleTimer"_s << 1 << 15u;
    QTest::newRow("missing value stores 0") << u"SRV"_s << u"NoSuchValue"_s << 0 << 0u;
    QTest::newRow("unreachable stores 0") << u"GONE"_s << u"IdleTimer"_s << 0 << 0u;
    QTest::newRow("two-byte string read as number") << u"SRV"_s << u"Short"_s << 1 << 0x35u;
}

void TestRegistry::helperReadDword() {
    QFETCH(QString, server);
    QFETCH(QString, name);
    QFETCH(int, result);
    QFETCH(uint, value);
    CTestConsole console(Hosts);
    CRegistry registry(console.Environment());
    DWORD read = 777;
    QCOMPARE(registry.ReadDWORD(server, u"Service"_s, name, &read), result);
    QCOMPARE(read, DWORD(value));
}

void TestRegistry::documentAccessors() {
    CTestConsole console(Hosts);
    CCwadminDoc& doc = console.Doc();
    DWORD value = 0xAABBCCDD;
    // A missing value leaves the preset; a missing key or computer gives 0.
    QVERIFY(!doc.ReadRegDWORD(u"SRV"_s, u"Service"_s, u"Missing"_s, &value));
    QCOMPARE(value, 0xAABBCCDDu);
    QVERIFY(!doc.ReadRegDWORD(u"SRV"_s, u"NoSuchKey"_s, u"Master"_s, &value));
    QCOMPARE(value, 0u);
    value = 7;
    QVERIFY(!doc.ReadRegDWORD(u"GONE"_s, u"Service"_s, u"Master"_s, &value));
    QCOMPARE(value, 0u);
    // Two stored bytes replace two of the preset's four.
    value = 0xAABBCCDD;
    QVERIFY(doc.ReadRegDWORD(u"SRV"_s, u"Service"_s, u"Word"_s, &value));
    QCOMPARE(value, 0xAABB0201u);

    // A string is never touched on failure, a value over 600 bytes included.
    QString text = u"preset"_s;
    for (const QString& name : {u"Missing"_s, u"Long"_s})
        QVERIFY(!doc.ReadRegString(u"SRV"_s, u"Service"_s, name, &text));
    QVERIFY(!doc.ReadRegString(u"GONE"_s, u"Service"_s, u"Version"_s, &text));
    QCOMPARE(text, u"preset"_s);

    // Nothing is created; a string is stored without its terminator.
    QVERIFY(!doc.SetRegDWORD(u"SRV"_s, u"General"_s, u"X"_s, 1));
    QVERIFY(!doc.SetRegString(u"GONE"_s, u"Service"_s, u"X"_s, u"y"_s));
    for (const QString& stored : {u"\\\\MASTER\\CW_NT_DB"_s, QString()}) {
        QVERIFY(doc.SetRegString(u"SRV"_s, u"Service"_s, u"MasterShare"_s, stored));
        IRegistry& reg = console.Environment().Registry();
        RegKeyGuard connection(reg), key(reg);
        QVERIFY(reg.Connect("SRV", Hkey::LocalMachine, connection.Out()) == 0 &&
                reg.OpenKey(connection.Get(), "Software\\Osterline Technologies\\Callwarden\\Service",
                            key.Out()) == 0);
        QByteArray raw(100, '?');
        DWORD type = 0, size = DWORD(raw.size());
        QCOMPARE(reg.QueryValue(key.Get(), "MasterShare", &type, reinterpret_cast<BYTE*>(raw.data()), &size),
                 0);
        QCOMPARE(type, RegType::Sz);
        QCOMPARE(raw.left(qsizetype(size)), stored.toLatin1());
    }
    QVERIFY(console.Prompter().Boxes().isEmpty());
}

void TestRegistry::serviceRunning_data() {
    QTest::addColumn<QString>("kind");
    QTest::addColumn<QString>("version");
    QTest::addColumn<QString>("asked"); // the name the document is asked about
    QTest::addColumn<bool>("tracking");
    QTest::addColumn<QString>("stopped"); // the service stopped on the site
    QTest::addColumn<int>("answer");
    const QString ras = u"RAS"_s, rras = u"RRAS"_s, nt4 = u"4.0"_s, w2k = u"5.0"_s, srv = u"SRV"_s;
    QTest::newRow("tracking running") << ras << nt4 << srv << true << QString() << 1;
    QTest::newRow("tracking stopped") << ras << nt4 << srv << true << u"Callwarden"_s << 2;
    QTest::newRow("classic RAS uses RemoteAccess") << ras << nt4 << srv << false << u"RemoteAccess"_s << 2;
    QTest::newRow("router on 4.0 uses Router") << rras << nt4 << srv << false << u"Router"_s << 2;
    // Asking RemoteAccess there would find no such service and answer 0.
    QTest::newRow("router on 4.0 running") << rras << nt4 << srv << false << QString() << 1;
    QTest::newRow("router on 5.0 uses RemoteAccess") << rras << w2k << srv << false << u"RemoteAccess"_s << 2;
    QTest::newRow("router on 5.0 running") << rras << w2k << srv << false << QString() << 1;
    QTest::newRow("unreachable") << ras << nt4 << srv << true << u"unreachable"_s << 0;
    // The RAS service depends on the record; a name the list lacks is reported.
    QTest::newRow("RAS of a name not in the list") << ras << nt4 << u"srv"_s << false << QString() << 0;
    QTest::newRow("tracking needs no record") << ras << nt4 << u"srv"_s << true << QString() << 1;
}

void TestRegistry::serviceRunning() {
    QFETCH(QString, kind);
    QFETCH(QString, version);
    QFETCH(QString, asked);
    QFETCH(bool, tracking);
    QFETCH(QString, stopped);
    QFETCH(int, answer);
    CTestConsole console([&](CSiteWriter& w) {
        CTestConsole::AddServer(w, u"SRV"_s, kind, version, 1, true);
        if (stopped == u"unreachable"_s)
            w.SetHostValue(u"SRV"_s, u"Reachable"_s, u"0"_s);
        else if (!stopped.isEmpty())
            w.SetService(u"SRV"_s, stopped, 1);
    });
    CCwadminDoc& doc = console.Doc();
    doc.Servers()[0].m_rasKind = kind == u"RAS"_s ? RasKindValue::Ras : RasKindValue::Rras;
    QCOMPARE(doc.IsServiceRunning(asked, tracking), answer);
    const bool unknown = !tracking && doc.GetServerNumberByName(asked) < 0;
    QCOMPARE(console.Prompter().Texts(),
             unknown ? QStringList{u"Server %1 not found in server list"_s.arg(asked)} : QStringList());
}

void TestRegistry::isRras_data() {
    QTest::addColumn<QString>("rasType");     // "" = absent
    QTest::addColumn<QString>("version");     // "" = absent
    QTest::addColumn<QString>("displayName"); // "" = absent
    QTest::addColumn<QString>("title");       // "" = absent
    QTest::addColumn<int>("rras");
    const QString none, nt4 = u"4.0"_s, w2k = u"5.0"_s, router = u"Routing and Remote Access"_s;
    QTest::newRow("RAS Type 0 wins over display name") << u"0"_s << w2k << router << none << 0;
    QTest::newRow("RAS Type 1") << u"1"_s << nt4 << u"Remote Access Service"_s << none << 1;
    QTest::newRow("RAS Type 7") << u"7"_s << nt4 << none << none << 1;
    QTest::newRow("4.0 without RAS Type, router title") << none << nt4 << none << router << 0;
    QTest::newRow("4.0 without RAS Type, Routin2 title") << none << nt4 << none << u"Routin2 anything"_s << 1;
    QTest::newRow("4.0 without anything") << none << nt4 << none << none << 0;
    QTest::newRow("5.0 classic name, other case") << none << w2k << u"remote access SERVICE"_s << none << 0;
    QTest::newRow("5.0 other name") << none << w2k << router << none << 1;
    QTest::newRow("5.0 unreadable name") << none << w2k << none << none << 1;
    QTest::newRow("no version") << none << none << router << u"Routin2"_s << 1;
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
            w.SetRegString(u"SRV"_s,
                           u"HKEY_LOCAL_MACHINE\\System\\CurrentControlSet\\Services\\RemoteAccess"_s,
                           u"DisplayName"_s, displayName);
        if (!title.isEmpty())
            w.SetRegString(u"SRV"_s, u"HKEY_LOCAL_MACHINE\\Software\\Microsoft\\RAS\\CurrentVersion"_s,
                           u"Title"_s, title);
    });
    CRegistry registry(console.Environment());
    QCOMPARE(registry.IsRRAS(u"SRV"_s), rras);
    QCOMPARE(registry.IsRRAS(u"\\\\SRV"_s), rras);
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
    QCOMPARE(console.Prompter().Boxes()[0].icon, IPrompter::Icon::None);
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

QTEST_MAIN(TestRegistry)
#include "tst_registry.moc"
