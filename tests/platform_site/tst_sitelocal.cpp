// The site's shares, shell, system and module ports, and opening a site that
// is missing or malformed.

#include "sitefixture.h"

#include <QString>

#include <cstdlib>
#include <cstring>

using namespace OCL;
using namespace Qt::StringLiterals;
namespace fs = std::filesystem;

namespace {

// "@rest" is a path inside the site; anything else a path as it stands.
fs::path Expected(const SiteTest::Site& site, const QString& local) {
    if (local.startsWith(u'@'))
        return site.Root() / local.mid(1).toStdString();
    return fs::path(local.toStdString());
}

class EnvGuard {
public:
    explicit EnvGuard(const char* name) : m_name(name), m_had(qEnvironmentVariableIsSet(name)) {
        if (m_had)
            m_value = qgetenv(name);
    }
    ~EnvGuard() {
        if (m_had)
            qputenv(m_name, m_value);
        else
            qunsetenv(m_name);
    }

private:
    const char* m_name;
    bool m_had;
    QByteArray m_value;
};

} // namespace

class TestSiteLocal : public QObject {
    Q_OBJECT

private slots:
    void shares_data();
    void shares();
    void netSend_data();
    void netSend();
    void shellOpen();
    void system();
    void unknownVersion();
    void modules_data();
    void modules();
    void missingSite();
    void siteWithoutLocalComputer();
    void defaultSiteDir();
};

void TestSiteLocal::shares_data() {
    QTest::addColumn<QString>("path");
    QTest::addColumn<int>("result");
    QTest::addColumn<QString>("local");

    const QString log = u"@hosts/RAS1/shares/CW_NT_DB/LogData/x.log"_s;
    QTest::newRow("share folder") << u"\\\\RAS1\\CW_NT_DB\\LogData\\x.log"_s << 0 << log;
    QTest::newRow("names without case") << u"\\\\ras1\\cw_nt_db\\LOGDATA\\X.LOG"_s << 0 << log;
    QTest::newRow("forward slashes") << u"//RAS1/CW_NT_DB/LogData/x.log"_s << 0 << log;
    QTest::newRow("new file keeps its spelling") << u"\\\\RAS1\\CW_NT_DB\\logdata\\New\\Y.log"_s << 0
                                                 << u"@hosts/RAS1/shares/CW_NT_DB/LogData/New/Y.log"_s;
    QTest::newRow("share itself") << u"\\\\RAS1\\CW_NT_DB"_s << 0 << u"@hosts/RAS1/shares/CW_NT_DB"_s;
    QTest::newRow("no climbing out") << u"\\\\RAS1\\CW_NT_DB\\..\\..\\..\\site.ini"_s << 0
                                     << u"@hosts/RAS1/shares/CW_NT_DB/site.ini"_s;
    QTest::newRow("mapping wins") << u"\\\\RAS1\\both\\f.txt"_s << 0 << u"@elsewhere/f.txt"_s;
    QTest::newRow("mapped share of a host the site lacks") << u"\\\\FILESRV\\pub\\a"_s << 0 << u"@pub/a"_s;
    QTest::newRow("mapped share of an unreachable host") << u"\\\\DOWN\\DATA\\a"_s << 53 << QString();
    QTest::newRow("admin share") << u"\\\\Console\\ADMIN$\\system32\\mprapi.dll"_s << 0
                                 << u"@hosts/CONSOLE/shares/admin$/system32/mprapi.dll"_s;
    QTest::newRow("unknown host") << u"\\\\NOSUCH\\CW_NT_DB\\x"_s << 53 << QString();
    QTest::newRow("unreachable host") << u"\\\\DOWN\\CW_NT_DB"_s << 53 << QString();
    QTest::newRow("access denied") << u"\\\\LOCKED\\CW_NT_DB"_s << 5 << QString();
    QTest::newRow("missing share") << u"\\\\RAS1\\NOPE\\x"_s << 67 << QString();
    QTest::newRow("no share") << u"\\\\RAS1"_s << 67 << QString();
    QTest::newRow("a file is no share") << u"\\\\RAS1\\notes.txt"_s << 67 << QString();
    QTest::newRow("drive path") << u"C:\\Program Files\\Callwarden\\cw.hlp"_s << 0
                                << u"@hosts/CONSOLE/drives/C/Program Files/Callwarden/cw.hlp"_s;
    QTest::newRow("lower-case drive") << u"d:\\data"_s << 0 << u"@hosts/CONSOLE/drives/D/data"_s;
    QTest::newRow("drive alone") << u"C:"_s << 0 << u"@hosts/CONSOLE/drives/C"_s;
    QTest::newRow("local path") << u"/var/tmp/x"_s << 0 << u"/var/tmp/x"_s;
    QTest::newRow("local path with backslashes") << u"docs\\intro.htm"_s << 0 << u"docs/intro.htm"_s;
}

void TestSiteLocal::shares() {
    QFETCH(QString, path);
    QFETCH(int, result);
    QFETCH(QString, local);

    SiteTest::Site site;
    site.WriteHosts();
    site.Write("site.ini", "[Site]\r\nLocalComputer=Console\r\n\r\n[Shares]\r\n\\\\RAS1\\BOTH=elsewhere\r\n"
                           "\\\\filesrv\\PUB=pub\r\n\\\\DOWN\\DATA=down\r\n");
    site.Write("hosts/RAS1/shares/CW_NT_DB/LogData/x.log", "log");
    site.Write("hosts/RAS1/shares/BOTH/f.txt", "folder");
    site.Write("hosts/RAS1/shares/notes.txt", "not a share");
    site.Write("hosts/CONSOLE/shares/admin$/system32/mprapi.dll", "placeholder");
    site.Write("elsewhere/f.txt", "mapped");
    auto platform = site.Open();
    fs::path got;
    QCOMPARE(int(platform->shares->Resolve(path.toStdString(), &got)), result);
    if (result == 0)
        QCOMPARE(QString::fromStdString(got.string()),
                 QString::fromStdString(Expected(site, local).string()));
}

void TestSiteLocal::netSend_data() {
    QTest::addColumn<QString>("command");
    QTest::addColumn<int>("result");
    QTest::addColumn<QByteArray>("line");

    QTest::newRow("message") << u"NET SEND alice Hello there"_s << 0
                             << QByteArray("Console\talice\tHello there");
    QTest::newRow("quoted user, tab in text")
        << u"net send \"Bob Smith\" two\twords"_s << 0 << QByteArray("Console\tBob Smith\ttwo words");
    QTest::newRow("empty text") << u"NET SEND carol"_s << 0 << QByteArray("Console\tcarol\t");
    QTest::newRow("no recipient") << u"NET SEND"_s << 0 << QByteArray();
    QTest::newRow("other program") << u"notepad.exe readme.txt"_s << 2 << QByteArray();
    QTest::newRow("NET without SEND") << u"NET USE x: \\\\RAS1\\CW_NT_DB"_s << 2 << QByteArray();
    QTest::newRow("one word") << u"NETSEND alice hi"_s << 2 << QByteArray();
}

void TestSiteLocal::netSend() {
    QFETCH(QString, command);
    QFETCH(int, result);
    QFETCH(QByteArray, line);

    SiteTest::Site site;
    site.WriteHosts();
    SiteTest::TestClock clock;
    OCL::Site::SiteOptions options;
    options.clock = &clock;
    auto platform = site.Open(options);
    site.Write("spool/messages.log", "earlier\r\n");
    QCOMPARE(int(platform->shell->Exec(command.toStdString(), 0)), result);
    const QByteArray expected =
        line.isEmpty() ? QByteArray("earlier\r\n")
                       : "earlier\r\n" + QByteArray::number(qint64(clock.Now())) + "\t" + line + "\r\n";
    QCOMPARE(QByteArray::fromStdString(site.Read("spool/messages.log")), expected);
}

void TestSiteLocal::shellOpen() {
    SiteTest::Site site;
    site.WriteHosts();
    SiteTest::TestClock clock;
    QStringList opened;
    OCL::Site::SiteOptions options;
    options.clock = &clock;
    options.opener = [&opened](const std::string& target) {
        opened << QString::fromStdString(target);
    };
    auto platform = site.Open(options);
    QCOMPARE(platform->shell->Open("open", "C:\\cw\\intro.htm"), Err::Success);
    QCOMPARE(opened, QStringList{u"C:\\cw\\intro.htm"_s});
    QCOMPARE(site.Read("spool/shell.log"), std::to_string(clock.Now()) + "\topen\tC:\\cw\\intro.htm\r\n");

    options.opener = nullptr;
    auto quiet = site.Open(options);
    QCOMPARE(quiet->shell->Open("open", "https://example.org/"), Err::Success);
    QCOMPARE(opened.size(), 1);
    QVERIFY(site.Read("spool/shell.log").find("\topen\thttps://example.org/\r\n") != std::string::npos);
}

void TestSiteLocal::system() {
    SiteTest::Site site;
    site.WriteHosts();
    auto platform = site.Open();
    ISystem& system = *platform->system;
    QCOMPARE(system.ComputerName(), std::string("Console"));
    OsVersionInfo info;
    QCOMPARE(system.VersionInfo(&info), Err::Success);
    QCOMPARE(info.majorVersion, DWORD(4));
    QCOMPARE(info.minorVersion, DWORD(0));
    QCOMPARE(info.buildNumber, DWORD(1381));
    QCOMPARE(info.platformId, PlatformId::WindowsNt);

    const std::string temp = system.TempPath();
    QCOMPARE(temp, (site.Root() / "hosts" / "CONSOLE" / "temp").string() + "/");
    QVERIFY(fs::is_directory(temp));

    const std::string systemDir = system.SystemDirectory();
    QCOMPARE(systemDir, (site.Root() / "hosts" / "CONSOLE" / "shares" / "admin$" / "system32").string());
    // The console copies into "system folder\mprapi.dll": that lands in the folder.
    fs::path copy;
    QCOMPARE(platform->shares->Resolve(systemDir + "\\mprapi.dll", &copy), Err::Success);
    QCOMPARE(copy, fs::path(systemDir) / "mprapi.dll");
}

void TestSiteLocal::unknownVersion() {
    SiteTest::Site site;
    site.WriteHosts();
    site.Write("hosts/CONSOLE/host.ini", "[Host]\r\nPlatformId=2\r\nMinorVersion=51\r\n");
    auto platform = site.Open();
    OsVersionInfo info;
    QVERIFY(platform->system->VersionInfo(&info) != Err::Success);
}

void TestSiteLocal::modules_data() {
    QTest::addColumn<QByteArray>("mapping"); // [Modules] lines; %MODULE% is the test library's path
    QTest::addColumn<QString>("systemFile"); // placeholder:NAME or library:NAME in system32
    QTest::addColumn<QString>("name");
    QTest::addColumn<int>("flags");
    QTest::addColumn<int>("result");
    QTest::addColumn<bool>("real");

    QTest::newRow("module folder, upper case")
        << QByteArray() << QString() << u"CwSiteTest.dll"_s << 0 << 0 << true;
    QTest::newRow("module folder, as given")
        << QByteArray() << QString() << u"CWSITETEST"_s << 0 << 0 << true;
    QTest::newRow("without resolving") << QByteArray() << QString() << u"cwsitetest.DLL"_s << 1 << 0 << true;
    QTest::newRow("mapping") << QByteArray("RASSAPI.DLL=CWSITETEST.so") << QString() << u"rassapi.dll"_s << 0
                             << 0 << true;
    QTest::newRow("absolute mapping")
        << QByteArray("_CWADMIN=%MODULE%") << QString() << u"_CWADMIN"_s << 0 << 0 << true;
    QTest::newRow("empty mapping hides the library")
        << QByteArray("CWSITETEST.DLL=") << QString() << u"CwSiteTest.dll"_s << 0 << 126 << false;
    QTest::newRow("mapping to a missing file")
        << QByteArray("RASSAPI.DLL=nothere.so") << QString() << u"RASSAPI.DLL"_s << 0 << 126 << false;
    QTest::newRow("placeholder in the system folder")
        << QByteArray() << u"placeholder:mprapi.dll"_s << u"MPRAPI.DLL"_s << 0 << 0 << false;
    QTest::newRow("library in the system folder")
        << QByteArray() << u"library:realmod.dll"_s << u"REALMOD.DLL"_s << 0 << 0 << true;
    QTest::newRow("mapped placeholder is no library")
        << QByteArray("MPRAPI.DLL=%SITE%/hosts/CONSOLE/host.ini") << QString() << u"MPRAPI.DLL"_s << 0 << 126
        << false;
    QTest::newRow("nowhere") << QByteArray() << QString() << u"nothere.dll"_s << 0 << 126 << false;
}

void TestSiteLocal::modules() {
    QFETCH(QByteArray, mapping);
    QFETCH(QString, systemFile);
    QFETCH(QString, name);
    QFETCH(int, flags);
    QFETCH(int, result);
    QFETCH(bool, real);

    SiteTest::Site site;
    site.WriteHosts();
    const fs::path module(CW_TEST_MODULE);
    mapping.replace("%MODULE%", QByteArray::fromStdString(module.string()));
    mapping.replace("%SITE%", QByteArray::fromStdString(site.Root().string()));
    site.Write("site.ini",
               "[Site]\r\nLocalComputer=Console\r\n\r\n[Modules]\r\n" + SiteTest::Bytes(mapping) + "\r\n");
    const std::string system32 = "hosts/CONSOLE/shares/admin$/system32/";
    if (systemFile.startsWith(u"placeholder:"))
        site.Write(system32 + systemFile.mid(12).toStdString(), "not a library");
    if (systemFile.startsWith(u"library:")) {
        site.Write(system32 + "keep", "");
        fs::copy_file(module, site.Path(system32 + systemFile.mid(8).toStdString()));
    }

    OCL::Site::SiteOptions options;
    options.moduleFolder = module.parent_path();
    auto platform = site.Open(options);
    IModules& modules = *platform->modules;
    HMODULE handle = reinterpret_cast<HMODULE>(std::uintptr_t{1});
    QCOMPARE(int(modules.Load(name.toStdString(), DWORD(flags), &handle)), result);
    if (result) {
        QVERIFY(!handle);
        return;
    }
    QVERIFY(handle);
    void* attachedRoot = modules.Symbol(handle, "TestAttachedRoot");
    QCOMPARE(attachedRoot != nullptr, real);
    QVERIFY(!modules.Symbol(handle, "NoSuchFunction"));
    if (real) {
        using RootFunction = const char* (*)();
        RootFunction root = nullptr;
        std::memcpy(&root, &attachedRoot, sizeof root);
        QCOMPARE(QString::fromUtf8(root()), QString::fromStdString(site.Root().string()));
    }
    modules.Free(handle);
    QVERIFY(!modules.Symbol(handle, "TestAttachedRoot"));
}

// A site that is not there answers like a network without those computers and
// leaves the disk alone.
void TestSiteLocal::missingSite() {
    QTemporaryDir dir;
    const fs::path root = fs::path(dir.path().toStdString()) / "nothing" / "here";
    auto platform = OCL::Site::OpenSite(root);
    QVERIFY(platform);
    QCOMPARE(platform->problems.size(), std::size_t(1));
    QVERIFY(platform->problems.front().find("does not exist") != std::string::npos);

    HKEY key = nullptr;
    QCOMPARE(int(platform->registry->Connect("", Hkey::LocalMachine, &key)), 53);
    // This computer's own registry is there but empty, and cannot be written.
    QCOMPARE(int(platform->registry->OpenKey(Hkey::LocalMachine, "Software", &key)), 2);
    QCOMPARE(int(platform->registry->CreateKey(Hkey::LocalMachine, "Software\\X", &key)), 1013);
    SC_HANDLE manager = nullptr;
    QCOMPARE(platform->services->OpenManager("", ScAccess::ManagerAllAccess, &manager), Err::BadNetPath);
    DWORD read = 0;
    char reply[8];
    QCOMPARE(platform->pipe->Call("\\\\.\\pipe\\cwsvcpipe", "x", 1, reply, 8, &read, 100), Err::BadNetPath);
    fs::path local;
    QCOMPARE(platform->shares->Resolve("\\\\RAS1\\CW_NT_DB\\callward.usr", &local), Err::BadNetPath);
    QCOMPARE(platform->shares->Resolve("C:\\cw\\x", &local), Err::PathNotFound);
    QVERIFY(platform->shell->Exec("NET SEND alice hi", 0) != Err::Success);
    QVERIFY(platform->shell->Open("open", "x.htm") != Err::Success);
    HMODULE module = nullptr;
    QCOMPARE(platform->modules->Load("RASSAPI.DLL", 0, &module), Err::ModNotFound);
    QCOMPARE(platform->system->ComputerName(), std::string());
    OsVersionInfo info;
    QVERIFY(platform->system->VersionInfo(&info) != Err::Success);
    QVERIFY(fs::is_directory(platform->system->TempPath()));
    HNETENUM handle = nullptr;
    QCOMPARE(platform->network->OpenEnum(ResourceScope::GlobalNet, 0, 0, nullptr, &handle), Err::Success);
    DWORD count = 0xFFFFFFFF;
    std::vector<NetResource> entries;
    QCOMPARE(platform->network->EnumResource(handle, &count, 4096, &entries), Err::NoMoreItems);
    platform->network->CloseEnum(handle);
    std::u16string dc;
    QCOMPARE(platform->network->GetDCName(u"", u"CORP", &dc), Err::NerrDcNotFound);

    QVERIFY(!fs::exists(root.parent_path()));
}

void TestSiteLocal::siteWithoutLocalComputer() {
    SiteTest::Site site;
    site.WriteHosts();
    site.Write("site.ini", "[Site]\r\n");
    auto platform = site.Open();
    QCOMPARE(platform->problems.size(), std::size_t(1));
    QVERIFY(platform->problems.front().find("LocalComputer") != std::string::npos);
    HKEY key = nullptr;
    QCOMPARE(int(platform->registry->Connect("RAS1", Hkey::LocalMachine, &key)), 0);
    platform->registry->CloseKey(key);
    QCOMPARE(int(platform->registry->OpenKey(Hkey::LocalMachine, "Software", &key)), 2);
}

void TestSiteLocal::defaultSiteDir() {
    EnvGuard xdg("XDG_DATA_HOME");
    EnvGuard home("HOME");
    qputenv("HOME", "/home/someone");
    qputenv("XDG_DATA_HOME", "/data/share");
    QCOMPARE(OCL::Site::DefaultSiteDir(), fs::path("/data/share/callwarden/site"));
    // A relative XDG_DATA_HOME is not a base directory and is ignored.
    qputenv("XDG_DATA_HOME", "relative");
    QCOMPARE(OCL::Site::DefaultSiteDir(), fs::path("/home/someone/.local/share/callwarden/site"));
    qunsetenv("XDG_DATA_HOME");
    QCOMPARE(OCL::Site::DefaultSiteDir(), fs::path("/home/someone/.local/share/callwarden/site"));
}

QTEST_GUILESS_MAIN(TestSiteLocal)
#include "tst_sitelocal.moc"
