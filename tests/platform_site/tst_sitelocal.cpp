// What every port answers for computers that are unknown, unreachable, denying
// or slow; the site's shares; and opening a site that is not there.

#include "sitefixture.h"

#include <QElapsedTimer>
#include <QString>

using namespace OCL;
using namespace Qt::StringLiterals;
namespace fs = std::filesystem;

namespace {

enum Ask { Registry, Services, Pipe, Share, Browse, Users, Members, Controller };

// The first call of a port that contacts the computer; the registry is given
// the name as it stands, the others "\\host".
DWORD AskHost(Platform& p, Ask ask, const QString& host) {
    const std::string unc = "\\\\" + host.toStdString();
    const std::u16string wide = QString::fromStdString(unc).toStdU16String();
    std::vector<std::u16string> names;
    DWORD total = 0, resume = 0, r = 0;
    DWORD_PTR resumeHandle = 0;
    switch (ask) {
    case Registry: {
        HKEY key = nullptr;
        r = DWORD(p.registry->Connect(host.toStdString(), Hkey::LocalMachine, &key));
        p.registry->CloseKey(key);
        return r;
    }
    case Services: {
        SC_HANDLE manager = nullptr;
        r = p.services->OpenManager(unc, ScAccess::ManagerAllAccess, &manager);
        p.services->Close(manager);
        return r;
    }
    case Pipe: {
        char reply[8];
        return p.pipe->Call(unc + "\\pipe\\cwsvcpipe", "x", 1, reply, sizeof reply, &total, 1000);
    }
    case Share: {
        fs::path local;
        return p.shares->Resolve(unc + "\\CW_NT_DB\\x", &local);
    }
    case Browse: {
        NetResource server;
        server.usage = ResourceUsage::Container;
        server.displayType = DisplayType::Server;
        server.remoteName = unc;
        HNETENUM handle = nullptr;
        r = p.network->OpenEnum(ResourceScope::GlobalNet, ResourceType::Any, 0, &server, &handle);
        p.network->CloseEnum(handle);
        return r;
    }
    case Users:
        return p.network->UserEnum(wide, 0, 10000, &names, &total, &resume);
    case Members:
        return p.network->GroupGetUsers(wide, u"Dialers", 10000, &names, &total, &resumeHandle);
    case Controller: {
        std::u16string dc;
        return p.network->GetDCName(wide, u"CORP", &dc);
    }
    }
    return 0xDEAD;
}

} // namespace

class TestSiteLocal : public QObject {
    Q_OBJECT

private slots:
    void remoteCalls_data() {
        QTest::addColumn<int>("ask");
        QTest::addColumn<QString>("host");
        QTest::addColumn<bool>("siteMissing");
        QTest::addColumn<int>("result");

        const char* asks[] = {"registry", "services", "pipe",    "share",
                              "browse",   "users",    "members", "controller"};
        // A reachable computer without the pipe listener, share, group or domain asked for.
        const int reachable[] = {0, 0, 2, 67, 0, 0, 2220, 2453};
        for (int a = Registry; a <= Controller; ++a) {
            QTest::addRow("%s: unknown", asks[a]) << a << u"NOSUCH"_s << false << 53;
            QTest::addRow("%s: unreachable", asks[a]) << a << u"DOWN"_s << false << 53;
            QTest::addRow("%s: access denied", asks[a]) << a << u"LOCKED"_s << false << 5;
            QTest::addRow("%s: missing site", asks[a]) << a << u"RAS1"_s << true << 53;
            QTest::addRow("%s: with latency", asks[a]) << a << u"SLOW"_s << false << reachable[a];
        }
        QTest::newRow("registry: other case") << int(Registry) << u"\\\\ras1"_s << false << 0;
        QTest::newRow("registry: this computer") << int(Registry) << QString() << false << 0;
        QTest::newRow("registry: this computer, dot") << int(Registry) << u"."_s << false << 0;
        QTest::newRow("registry: this computer by name") << int(Registry) << u"\\\\Console"_s << false << 0;
    }

    void remoteCalls() {
        QFETCH(int, ask);
        QFETCH(QString, host);
        QFETCH(bool, siteMissing);
        QFETCH(int, result);

        SiteTest::Site site;
        if (!siteMissing)
            site.WriteHosts();
        auto platform = site.Open();
        QElapsedTimer timer;
        timer.start();
        QCOMPARE(int(AskHost(*platform, Ask(ask), host)), result);
        // SLOW answers only after its latency of 150 ms.
        if (host == u"SLOW"_s)
            QVERIFY(timer.elapsed() >= 150);
    }

    void shares_data() {
        QTest::addColumn<QString>("path");
        QTest::addColumn<int>("result");
        QTest::addColumn<QString>("local"); // "@rest": a path inside the site

        const QString log = u"@hosts/RAS1/shares/CW_NT_DB/LogData/x.log"_s;
        QTest::newRow("share folder") << u"\\\\RAS1\\CW_NT_DB\\LogData\\x.log"_s << 0 << log;
        QTest::newRow("names without case") << u"\\\\ras1\\cw_nt_db\\LOGDATA\\X.LOG"_s << 0 << log;
        QTest::newRow("new file keeps its spelling") << u"\\\\RAS1\\CW_NT_DB\\logdata\\New\\Y.log"_s << 0
                                                     << u"@hosts/RAS1/shares/CW_NT_DB/LogData/New/Y.log"_s;
        QTest::newRow("no climbing out") << u"\\\\RAS1\\CW_NT_DB\\..\\..\\..\\site.ini"_s << 0
                                         << u"@hosts/RAS1/shares/CW_NT_DB/site.ini"_s;
        QTest::newRow("mapping wins") << u"\\\\RAS1\\both\\f.txt"_s << 0 << u"@elsewhere/f.txt"_s;
        QTest::newRow("mapped share of a host the site lacks")
            << u"\\\\FILESRV\\pub\\a"_s << 0 << u"@pub/a"_s;
        QTest::newRow("mapped share of an unreachable host") << u"\\\\DOWN\\DATA\\a"_s << 53 << QString();
        QTest::newRow("no share") << u"\\\\RAS1"_s << 67 << QString();
        QTest::newRow("a file is no share") << u"\\\\RAS1\\notes.txt"_s << 67 << QString();
        QTest::newRow("drive path") << u"C:\\Program Files\\Callwarden\\cw.hlp"_s << 0
                                    << u"@hosts/CONSOLE/drives/C/Program Files/Callwarden/cw.hlp"_s;
        QTest::newRow("local path with backslashes") << u"docs\\intro.htm"_s << 0 << u"docs/intro.htm"_s;
    }

    void shares() {
        QFETCH(QString, path);
        QFETCH(int, result);
        QFETCH(QString, local);

        SiteTest::Site site;
        site.WriteHosts();
        site.Write("site.ini",
                   "[Site]\r\nLocalComputer=Console\r\n\r\n[Shares]\r\n\\\\RAS1\\BOTH=elsewhere\r\n"
                   "\\\\filesrv\\PUB=pub\r\n\\\\DOWN\\DATA=down\r\n");
        site.Write("hosts/RAS1/shares/CW_NT_DB/LogData/x.log", "log");
        site.Write("hosts/RAS1/shares/BOTH/f.txt", "folder");
        site.Write("hosts/RAS1/shares/notes.txt", "not a share");
        site.Write("elsewhere/f.txt", "mapped");
        auto platform = site.Open();
        fs::path got;
        QCOMPARE(int(platform->shares->Resolve(path.toStdString(), &got)), result);
        if (result == 0)
            QCOMPARE(QString::fromStdString(got.string()),
                     local.startsWith(u'@')
                         ? QString::fromStdString((site.Root() / local.mid(1).toStdString()).string())
                         : local);
    }

    // A site that is not there answers like a network without those computers and
    // leaves the disk alone.
    void missingSite() {
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
        fs::path local;
        QCOMPARE(platform->shares->Resolve("C:\\cw\\x", &local), Err::PathNotFound);
        QVERIFY(platform->shell->Exec("NET SEND alice hi", 0) != Err::Success);
        QVERIFY(platform->shell->Open("open", "x.htm") != Err::Success);
        HMODULE module = nullptr;
        QCOMPARE(platform->modules->Load("RASSAPI.DLL", 0, &module), Err::ModNotFound);
        QCOMPARE(platform->system->ComputerName(), std::string());
        QVERIFY(fs::is_directory(platform->system->TempPath()));
        QVERIFY(!fs::exists(root.parent_path()));
    }
};

QTEST_GUILESS_MAIN(TestSiteLocal)
#include "tst_sitelocal.moc"
