// cwsite init: the demo site as the console finds it.

#include "site/cwsitetest.h"

#include "platform/site/site.h"
#include "platform/site/sitedirectory.h"

#include <QDateTime>
#include <QDirIterator>
#include <QProcess>
#include <QSet>
#include <QTemporaryDir>
#include <QTest>

#include <cstring>

using namespace Qt::StringLiterals;
using namespace CwsiteTest;
using namespace OCL;

namespace {

// A fixed "now" keeps the site the same in every run: a Tuesday afternoon.
constexpr qint64 kNow = 1700574000; // 2023-11-21 14:40 in Berlin

struct Run {
    int code = -1;
    QString out, err;
};

Run Cwsite(const QStringList& args) {
    QProcess process;
    process.start(CwsiteTest::Cwsite(), args);
    Run run;
    if (!process.waitForFinished(60000))
        return run;
    run.code = process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1;
    run.out = QString::fromUtf8(process.readAllStandardOutput());
    run.err = QString::fromUtf8(process.readAllStandardError());
    return run;
}

QByteArray TreeBytes(const QString& root) {
    QByteArray all;
    QStringList files;
    for (QDirIterator it(root, QDir::Files | QDir::Hidden, QDirIterator::Subdirectories); it.hasNext();)
        files.append(it.next());
    files.sort();
    for (const QString& file : files) {
        QFile f(file);
        f.open(QIODevice::ReadOnly);
        all += QDir(root).relativeFilePath(file).toUtf8() + '\n' + f.readAll();
    }
    return all;
}

} // namespace

class TestCwsiteInit : public QObject {
    Q_OBJECT

private slots:
    void initTestCase();
    void secondInitIsRefused();
    void consoleFindsTheSite();
    void serverKinds_data();
    void serverKinds();
    void portsAndLiveSessions();
    void logsParse();
    void statisticsAgreeWithLogs();
    void sameSeedSameSite();

private:
    // The value the console's RAS-kind test reads, or nothing.
    std::optional<std::string> Read(const std::string& server, const std::string& key,
                                    const std::string& name);
    QString Share() const { return m_root + u"/hosts/HQRAS01/shares/CW_NT_DB"_s; }

    QTemporaryDir m_dir;
    QString m_root;
    std::unique_ptr<Platform> m_platform;
    QList<LogEvent> m_current, m_migrated;
};

void TestCwsiteInit::initTestCase() {
    QVERIFY(m_dir.isValid());
    m_root = m_dir.path() + u"/site"_s;
    const Run run = Cwsite({u"init"_s, m_root, u"--seed"_s, u"7"_s, u"--now"_s, QString::number(kNow)});
    QCOMPARE(run.code, 0);
    QVERIFY2(run.out.contains(m_root) && run.out.contains(u"cwsite serve"_s), qPrintable(run.out));
    m_platform = Site::OpenSite(m_root.toStdString());
    QVERIFY(m_platform);
    QStringList bad;
    m_current = ReadEvents(Share() + u"/LogData"_s, &bad);
    m_migrated = ReadEvents(Share() + u"/OldData"_s, &bad);
    QVERIFY2(bad.isEmpty(), qPrintable(bad.mid(0, 5).join(u'\n')));
}

void TestCwsiteInit::secondInitIsRefused() {
    const QByteArray before = TreeBytes(m_root);
    const Run run = Cwsite({u"init"_s, m_root, u"--seed"_s, u"8"_s});
    QCOMPARE(run.code, 1);
    QVERIFY2(run.err.contains(u"not empty"_s), qPrintable(run.err));
    QCOMPARE(TreeBytes(m_root), before);
}

void TestCwsiteInit::consoleFindsTheSite() {
    QVERIFY2(m_platform->problems.empty(),
             m_platform->problems.empty() ? "" : m_platform->problems.front().c_str());
    QCOMPARE(m_platform->system->ComputerName(), std::string("ADMINPC"));

    // The monitored servers, as the server list loads them.
    HKEY servers = nullptr;
    QCOMPARE(m_platform->registry->OpenKey(Hkey::LocalMachine,
                                           "Software\\Osterline Technologies\\Callwarden\\Servers", &servers),
             0);
    QStringList monitored;
    char subkey[100];
    for (DWORD i = 0; m_platform->registry->EnumKey(servers, i, subkey, sizeof subkey) == 0; ++i)
        monitored.append(QString::fromLatin1(subkey));
    m_platform->registry->CloseKey(servers);
    QVERIFY2(monitored.size() >= 5, qPrintable(monitored.join(u',')));

    // Exactly one master, and every server's share leads to it.
    int masters = 0, unreachable = 0;
    for (const QString& server : std::as_const(monitored)) {
        const std::string s = server.toStdString();
        const auto master = Read(s, "Software\\Osterline Technologies\\Callwarden\\Service", "Master");
        if (!master) {
            ++unreachable;
            continue;
        }
        DWORD value = 0;
        std::memcpy(&value, master->data(), 4);
        masters += value == 1 ? 1 : 0;
        const auto share = Read(s, "Software\\Osterline Technologies\\Callwarden\\Service", "MasterShare");
        QVERIFY(share);
        QCOMPARE(QByteArray(share->c_str()), QByteArray("\\\\HQRAS01\\CW_NT_DB"));
        QVERIFY(Read(s, "Software\\Osterline Technologies\\Callwarden\\Service", "Version"));
    }
    QCOMPARE(masters, 1);
    QCOMPARE(unreachable, 1);
    std::filesystem::path local;
    QCOMPARE(m_platform->shares->Resolve("\\\\HQRAS01\\CW_NT_DB\\callward.usr", &local), Err::Success);

    // The Microsoft network lists three domains; the other provider's stays apart.
    NetResource microsoft;
    microsoft.remoteName = "Microsoft Windows Network";
    microsoft.provider = "Microsoft Windows Network";
    microsoft.usage = ResourceUsage::Container;
    microsoft.displayType = DisplayType::Network;
    HNETENUM handle = nullptr;
    QCOMPARE(
        m_platform->network->OpenEnum(ResourceScope::GlobalNet, ResourceType::Any, 0, &microsoft, &handle),
        Err::Success);
    std::vector<NetResource> domains;
    DWORD count = 0xFFFFFFFF;
    m_platform->network->EnumResource(handle, &count, 16384, &domains);
    m_platform->network->CloseEnum(handle);
    QStringList names;
    for (const NetResource& r : domains)
        names.append(QString::fromStdString(r.remoteName));
    QCOMPARE(names, (QStringList{u"HEADOFFICE"_s, u"SALES"_s, u"ENGINEERING"_s}));

    int accounts = 0;
    for (const char* controller : {"HQDC01", "SALESDC", "ENGDC01"}) {
        std::vector<std::u16string> users;
        DWORD total = 0, resume = 0;
        QCOMPARE(
            m_platform->network->UserEnum(std::u16string(controller, controller + std::strlen(controller)), 0,
                                          0xFFFFFFFF, &users, &total, &resume),
            Err::Success);
        accounts += int(total);
    }
    QVERIFY2(accounts >= 50 && accounts <= 70, qPrintable(QString::number(accounts)));
}

std::optional<std::string> TestCwsiteInit::Read(const std::string& server, const std::string& key,
                                                const std::string& name) {
    HKEY remote = nullptr, opened = nullptr;
    if (m_platform->registry->Connect(server, Hkey::LocalMachine, &remote) != 0)
        return std::nullopt;
    RegKeyGuard connection(*m_platform->registry, remote);
    if (m_platform->registry->OpenKey(remote, key, &opened) != 0)
        return std::nullopt;
    RegKeyGuard guard(*m_platform->registry, opened);
    char buffer[600] = {};
    DWORD size = sizeof buffer;
    if (m_platform->registry->QueryValue(opened, name, nullptr, reinterpret_cast<BYTE*>(buffer), &size) != 0)
        return std::nullopt;
    return std::string(buffer, size);
}

void TestCwsiteInit::serverKinds_data() {
    QTest::addColumn<QString>("server");
    for (const char* server : {"HQRAS01", "HQRAS02", "SALESRAS", "ENGRAS01", "ENGRAS02"})
        QTest::newRow(server) << QString::fromLatin1(server);
}

// The console decides classic RAS or Routing and RAS from the registry: the
// service's "RAS Type" first, then the version with the RAS title (4.0) or the
// RemoteAccess display name (later versions). Each server must come out as it runs.
void TestCwsiteInit::serverKinds() {
    QFETCH(QString, server);
    const std::string s = server.toStdString();
    bool rras = false;
    if (const auto type = Read(s, "Software\\Osterline Technologies\\Callwarden\\Service", "RAS Type")) {
        DWORD value = 0;
        std::memcpy(&value, type->data(), 4);
        rras = value > 0;
    } else {
        const auto version = Read(s, "Software\\Microsoft\\Windows NT\\CurrentVersion", "CurrentVersion");
        QVERIFY(version);
        if (std::atof(version->c_str()) > 4.0) {
            const auto display = Read(s, "System\\CurrentControlSet\\Services\\RemoteAccess", "DisplayName");
            rras = !display ||
                   QByteArray(display->c_str()).compare("Remote Access Service", Qt::CaseInsensitive) != 0;
        } else {
            const auto title = Read(s, "Software\\Microsoft\\RAS\\CurrentVersion", "Title");
            rras = title && QByteArray(title->c_str()).left(7).compare("Routin2", Qt::CaseInsensitive) == 0;
        }
    }
    Site::SiteDirectory site(m_root.toStdString());
    const auto host = site.FindHost(s);
    QVERIFY(host);
    QCOMPARE(rras, host->rasKind == Site::RasKind::Rras);

    // The services the console starts and stops for this kind and version.
    const auto version = Read(s, "Software\\Microsoft\\Windows NT\\CurrentVersion", "CurrentVersion");
    const char* rasService = rras && std::atof(version->c_str()) <= 4.0 ? "Router" : "RemoteAccess";
    const qint64 nowMs = QDateTime::currentMSecsSinceEpoch();
    QCOMPARE(site.ServiceState(*host, "Callwarden", nowMs), DWORD(4));
    QCOMPARE(site.ServiceState(*host, rasService, nowMs), DWORD(4));
    QCOMPARE(QFile::exists(m_root + u"/hosts/%1/shares/admin$/system32/mprapi.dll"_s.arg(server)), rras);
}

void TestCwsiteInit::portsAndLiveSessions() {
    Site::SiteDirectory site(m_root.toStdString());
    int live = 0;
    for (const char* name : {"HQRAS01", "HQRAS02", "SALESRAS", "BRANCHRAS", "ENGRAS01", "ENGRAS02"}) {
        const auto ports = site.ReadPorts(*site.FindHost(name));
        QVERIFY2(ports.size() >= 8 && ports.size() <= 32, name);
        for (const Site::PortRecord& port : ports) {
            if (!port.Connected())
                continue;
            ++live;
            // A live session was logged as a connect on its port that has not ended.
            const QString account = QString::fromStdString(port.domain + "\\" + port.user);
            qint64 connected = 0, ended = 0;
            for (const LogEvent& e : std::as_const(m_current))
                if (e.server == QLatin1StringView(name) && e.port == QString::fromStdString(port.name)) {
                    if (e.kind == u'C' && e.account == account)
                        connected = std::max(connected, e.key);
                    if (e.kind == u'H')
                        ended = std::max(ended, e.key);
                }
            QCOMPARE(connected, port.start);
            QVERIFY(ended < connected);
            QVERIFY(Site::PackAddress(port.ip) != 0);
            // Compression as the port view computes it: more before compression than sent.
            QVERIFY(port.bytesXmit > 0);
            QVERIFY(qint64(port.bytesXmit) - port.bytesXmitCompressed + port.bytesXmitUncompressed >=
                    qint64(port.bytesXmit));
        }
    }
    QVERIFY(live >= 3);
}

void TestCwsiteInit::logsParse() {
    // 30 current days ending today, older days migrated.
    const QDate today = QDateTime::fromSecsSinceEpoch(kNow).date();
    const QStringList current = QDir(Share() + u"/LogData"_s).entryList(QDir::Files);
    QCOMPARE(current.size(), 30);
    QVERIFY(current.contains(u"2023-Nov-21.log"_s));
    const QStringList migrated = QDir(Share() + u"/OldData"_s).entryList(QDir::Files);
    QVERIFY(!migrated.isEmpty());
    for (const QString& name : migrated)
        QVERIFY2(DayOfFile(name).isValid() && DayOfFile(name) <= today.addDays(-30), qPrintable(name));

    Site::SiteDirectory site(m_root.toStdString());
    QSet<QString> sectionKeys;
    QSet<QChar> kinds;
    QSet<int> denials, forced;
    int longForms = 0, infos = 0;
    for (const LogEvent& e : std::as_const(m_current) + m_migrated) {
        // Each event in the file of its local day, under a section of a real port.
        QCOMPARE(QDateTime::fromSecsSinceEpoch(e.key).date(), DayOfFile(e.file));
        const auto host = site.FindHost(e.server.toStdString());
        QVERIFY2(host, qPrintable(e.server));
        const auto ports = site.ReadPorts(*host);
        QVERIFY2(std::any_of(ports.begin(), ports.end(),
                             [&e](const Site::PortRecord& p) { return p.name == e.port.toStdString(); }),
                 qPrintable(e.port));
        const QString id = e.file + e.server + e.port + QString::number(e.key);
        QVERIFY2(!sectionKeys.contains(id), qPrintable(id));
        sectionKeys.insert(id);
        kinds.insert(e.kind);
        if (e.kind == u'N')
            denials.insert(e.reason);
        if (e.kind == u'H' && e.reason != 255)
            forced.insert(e.reason);
        longForms += e.longForm ? 1 : 0;
        infos += e.info.isEmpty() ? 0 : 1;
    }
    QCOMPARE(kinds, (QSet<QChar>{u'C', u'N', u'H'}));
    QCOMPARE(denials, (QSet<int>{1, 2, 3, 4, 5, 6}));
    QVERIFY(forced.contains(1) && forced.contains(2) && forced.contains(9));
    QVERIFY(longForms > 100 && infos > 100);

    // Working hours are busier than nights, working days than weekends.
    int day = 0, night = 0, weekday = 0, weekend = 0;
    for (const LogEvent& e : std::as_const(m_current)) {
        if (e.kind != u'C' || e.server.startsWith(u"ENG"_s)) // ENG servers keep another time zone
            continue;
        const QDateTime t = QDateTime::fromSecsSinceEpoch(e.key);
        (t.time().hour() >= 8 && t.time().hour() < 18 ? day : night)++;
        (t.date().dayOfWeek() >= 6 ? weekend : weekday)++;
    }
    QVERIFY2(day > 3 * night, qPrintable(u"%1 %2"_s.arg(day).arg(night)));
    QVERIFY2(weekday > 6 * weekend, qPrintable(u"%1 %2"_s.arg(weekday).arg(weekend)));
}

void TestCwsiteInit::statisticsAgreeWithLogs() {
    int accounts = 0, used = 0;
    const QStringList mismatches = StatisticsMismatches(Share(), &accounts, &used);
    QVERIFY2(mismatches.isEmpty(), qPrintable(mismatches.mid(0, 5).join(u'\n')));
    QVERIFY(accounts >= 40 && used >= 30);
    QFile file(Share() + u"/callward.usr"_s);
    QVERIFY(file.open(QIODevice::ReadOnly));
    QVERIFY(Ini::Document::Parse(file.readAll().toStdString())->FindSection("+HEADOFFICE\\Finance"));
    QCOMPARE(IniValue(Share() + u"/callward.hw"_s, u"Default"_s, u"AssignDefault"_s), u"0"_s);
}

void TestCwsiteInit::sameSeedSameSite() {
    QTemporaryDir dir;
    const QString args = u"--seed 7 --now %1"_s.arg(kNow);
    QCOMPARE(Cwsite(QStringList{u"init"_s, dir.path() + u"/a"_s} + args.split(u' ')).code, 0);
    QCOMPARE(TreeBytes(dir.path() + u"/a"_s), TreeBytes(m_root));
    QCOMPARE(Cwsite({u"init"_s, dir.path() + u"/b"_s, u"--seed"_s, u"8"_s, u"--now"_s, QString::number(kNow)})
                 .code,
             0);
    QVERIFY(TreeBytes(dir.path() + u"/b"_s) != TreeBytes(m_root));
}

QTEST_GUILESS_MAIN(TestCwsiteInit)
#include "tst_cwsiteinit.moc"
