// The site writer's own rules, read back through the site implementation of the
// platform ports: registry data byte for byte, and saves that keep what others
// changed in between. (The rest of what it writes, the console's tests read
// through the console itself.)

#include "platform/site/site.h"
#include "platform/site/sitedirectory.h"
#include "site/sitewriter.h"

#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;
using namespace OCL;

namespace {

const QString kZoneKey = u"HKEY_LOCAL_MACHINE\\System\\CurrentControlSet\\Control\\TimeZoneInformation"_s;
const std::string kClient = "Software\\Osterline Technologies\\Callwarden\\Client";

// A registry value of a computer as the console reads it: result, type, bytes.
std::tuple<LONG, DWORD, QByteArray> Query(Platform& platform, const std::string& machine, HKEY root,
                                          const std::string& key, const std::string& name) {
    HKEY remote = nullptr;
    if (const LONG result = platform.registry->Connect(machine, root, &remote))
        return {result, 0, {}};
    RegKeyGuard connection(*platform.registry, remote);
    RegKeyGuard opened(*platform.registry);
    if (const LONG result = platform.registry->OpenKey(remote, key, opened.Out()))
        return {result, 0, {}};
    char buffer[600] = {};
    DWORD size = sizeof buffer, type = 0;
    const LONG result =
        platform.registry->QueryValue(opened.Get(), name, &type, reinterpret_cast<BYTE*>(buffer), &size);
    return {result, type, QByteArray(buffer, int(size))};
}

std::vector<std::string> Users(Platform& platform) {
    std::vector<std::u16string> names;
    DWORD total = 0, resume = 0;
    platform.network->UserEnum(u"\\\\DC1", 0, 0xFFFFFFFF, &names, &total, &resume);
    std::vector<std::string> out;
    for (const auto& name : names)
        out.emplace_back(name.begin(), name.end());
    return out;
}

void WriteSmallSite(CSiteWriter& w) {
    w.SetLocalComputer(u"CONSOLE"_s);
    w.AddHost(u"CONSOLE"_s);
    w.SetClientDword(u"CONSOLE"_s, u"View Refresh"_s, 5000);
    w.SetRegDword(u"CONSOLE"_s, kZoneKey, u"ActiveTimeBias"_s, quint32(-60));
    w.AddHost(u"RAS1"_s);
    w.SetServiceString(u"RAS1"_s, u"MasterShare"_s, u"\\\\RAS1\\CW_NT_DB"_s);
    w.SetServiceString(u"RAS1"_s, u"Version"_s, u"3.2.1 \u00e9"_s); // Windows-1252 beyond ASCII
    w.AddHost(u"DC1"_s);
    w.AddDomain(u"CORP"_s, u"DC1"_s);
    w.AddUser(u"CORP"_s, u"alice"_s);
    w.AddUser(u"CORP"_s, u"bob"_s);
}

} // namespace

class TestSiteWriter : public QObject {
    Q_OBJECT

private slots:
    void initTestCase();
    void registryReadsBack_data();
    void registryReadsBack();
    void secondSaveKeepsOthersChanges();

private:
    QTemporaryDir m_dir;
    std::unique_ptr<Platform> m_platform;
};

void TestSiteWriter::initTestCase() {
    QVERIFY(m_dir.isValid());
    CSiteWriter writer(m_dir.path());
    WriteSmallSite(writer);
    QString error;
    QVERIFY2(writer.Save(&error), qPrintable(error));
    m_platform = Site::OpenSite(m_dir.path().toStdString());
    QVERIFY(m_platform && m_platform->problems.empty());
}

void TestSiteWriter::registryReadsBack_data() {
    QTest::addColumn<QString>("machine");
    QTest::addColumn<QString>("key");
    QTest::addColumn<QString>("name");
    QTest::addColumn<uint>("type");
    QTest::addColumn<QByteArray>("data");

    const QString service = u"Software\\Osterline Technologies\\Callwarden\\Service"_s;
    QTest::newRow("string with terminator")
        << u"\\\\RAS1"_s << service << u"MasterShare"_s << 1u << QByteArray("\\\\RAS1\\CW_NT_DB\0", 16);
    QTest::newRow("ansi text") << u"RAS1"_s << service << u"Version"_s << 1u << QByteArray("3.2.1 \xe9\0", 8);
    QTest::newRow("negative dword") << QString()
                                    << u"System\\CurrentControlSet\\Control\\TimeZoneInformation"_s
                                    << u"ActiveTimeBias"_s << 4u << QByteArray("\xc4\xff\xff\xff", 4);
}

void TestSiteWriter::registryReadsBack() {
    QFETCH(QString, machine);
    QFETCH(QString, key);
    QFETCH(QString, name);
    QFETCH(uint, type);
    QFETCH(QByteArray, data);
    QCOMPARE(
        Query(*m_platform, machine.toStdString(), Hkey::LocalMachine, key.toStdString(), name.toStdString()),
        std::make_tuple(LONG(0), DWORD(type), data));
}

void TestSiteWriter::secondSaveKeepsOthersChanges() {
    QTemporaryDir dir;
    CSiteWriter writer(dir.path());
    WriteSmallSite(writer);
    QVERIFY(writer.Save());

    // The console changes the registry between two saves.
    auto platform = Site::OpenSite(dir.path().toStdString());
    HKEY key = nullptr;
    QCOMPARE(platform->registry->CreateKey(Hkey::LocalMachine, kClient, &key), 0);
    const DWORD one = 1;
    QCOMPARE(platform->registry->SetValue(key, "NewbieMessageIntro", RegType::Dword,
                                          reinterpret_cast<const BYTE*>(&one), 4),
             0);
    platform->registry->CloseKey(key);

    writer.SetClientDword(u"CONSOLE"_s, u"TimeFormatSeconds"_s, 1);
    writer.AddUser(u"CORP"_s, u"carol"_s);
    QVERIFY(writer.Save());
    const QByteArray dwordOne("\1\0\0\0", 4);
    QCOMPARE(std::get<2>(Query(*platform, {}, Hkey::LocalMachine, kClient, "NewbieMessageIntro")), dwordOne);
    QCOMPARE(std::get<2>(Query(*platform, {}, Hkey::LocalMachine, kClient, "TimeFormatSeconds")), dwordOne);
    QCOMPARE(std::get<2>(Query(*platform, {}, Hkey::LocalMachine, kClient, "View Refresh")),
             QByteArray("\x88\x13\0\0", 4));
    QCOMPARE(Users(*platform), (std::vector<std::string>{"alice", "bob", "carol"}));

    // A second writer on the same site extends its lists rather than replacing them.
    CSiteWriter again(dir.path());
    again.AddUser(u"CORP"_s, u"dave"_s);
    QVERIFY(again.Save());
    QCOMPARE(Users(*platform), (std::vector<std::string>{"alice", "bob", "carol", "dave"}));
}

QTEST_GUILESS_MAIN(TestSiteWriter)
#include "tst_sitewriter.moc"
