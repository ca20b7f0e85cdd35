// cwsite init: the demo site's history as the console reads it.

#include "site/cwsitetest.h"

#include "platform/site/sitedirectory.h"
#include "site/gen/logformat.h"

#include <QDateTime>
#include <QDirIterator>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;
using namespace CwsiteTest;

namespace {

// A fixed "now" keeps the site the same in every run: a Tuesday afternoon.
constexpr qint64 kNow = 1700574000; // 2023-11-21 14:40 in Berlin

// The exit code; what it printed in *output.
int Cwsite(const QStringList& args, QString* output = nullptr) {
    QProcess process;
    process.setProcessChannelMode(QProcess::MergedChannels);
    process.start(CwsiteTest::Cwsite(), args);
    if (!process.waitForFinished(60000) || process.exitStatus() != QProcess::NormalExit)
        return -1;
    if (output)
        *output = QString::fromUtf8(process.readAll());
    return process.exitCode();
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

QStringList InitArgs(const QString& root, int seed) {
    return {u"init"_s, root, u"--seed"_s, QString::number(seed), u"--now"_s, QString::number(kNow)};
}

} // namespace

class TestCwsiteInit : public QObject {
    Q_OBJECT

private slots:
    void initTestCase();
    void secondInitIsRefused();
    void liveSessionsWereLogged();
    void historyReadsBack();
    void statisticsAgreeWithLogs();
    void sameSeedSameSite();
    void bigDay();

private:
    QString Share() const { return m_root + u"/hosts/HQRAS01/shares/CW_NT_DB"_s; }

    QTemporaryDir m_dir;
    QString m_root;
    QList<LogEvent> m_current, m_migrated;
};

void TestCwsiteInit::initTestCase() {
    QVERIFY(m_dir.isValid());
    m_root = m_dir.path() + u"/site"_s;
    QString output;
    QCOMPARE(Cwsite(InitArgs(m_root, 7), &output), 0);
    QVERIFY2(output.contains(m_root) && output.contains(u"cwsite serve"_s), qPrintable(output));
    m_current = ReadEvents(Share() + u"/LogData"_s);
    m_migrated = ReadEvents(Share() + u"/OldData"_s);
}

void TestCwsiteInit::secondInitIsRefused() {
    const QByteArray before = TreeBytes(m_root);
    QString output;
    QCOMPARE(Cwsite(InitArgs(m_root, 8), &output), 1);
    QVERIFY2(output.contains(u"not empty"_s), qPrintable(output));
    QCOMPARE(TreeBytes(m_root), before);
}

void TestCwsiteInit::liveSessionsWereLogged() {
    OCL::Site::SiteDirectory site(m_root.toStdString());
    int live = 0;
    for (const std::string& name : site.HostNames())
        for (const OCL::Site::PortRecord& port : site.ReadPorts(*site.FindHost(name))) {
            if (!port.Connected())
                continue;
            ++live;
            // A live session was logged as a connect on its port that has not ended.
            const QString account = QString::fromStdString(port.domain + "\\" + port.user);
            qint64 connected = 0, ended = 0;
            for (const LogEvent& e : std::as_const(m_current))
                if (e.server == QString::fromStdString(name) && e.port == QString::fromStdString(port.name)) {
                    if (e.kind == u'C' && e.account == account)
                        connected = std::max(connected, e.key);
                    if (e.kind == u'H')
                        ended = std::max(ended, e.key);
                }
            QCOMPARE(connected, port.start);
            QVERIFY(ended < connected);
            QVERIFY(OCL::Site::PackAddress(port.ip) != 0);
        }
    QVERIFY(live >= 3);
}

void TestCwsiteInit::historyReadsBack() {
    QCOMPARE(QDir(Share() + u"/LogData"_s).entryList(QDir::Files).size(), 30);
    OCL::Site::SiteDirectory site(m_root.toStdString());
    QSet<QString> ids;
    QSet<int> denials, forced;
    int infos = 0, ipx = 0, netbios = 0, shortForms = 0;
    for (const LogEvent& e : std::as_const(m_current) + m_migrated) {
        // Each event in the file of its local day, under a port of its server.
        QVERIFY2(e.kind != u'?', qPrintable(e.file + u' ' + e.account));
        QCOMPARE(CwDayLog::DayFileName(e.key), e.file);
        const auto ports = site.ReadPorts(*site.FindHost(e.server.toStdString()));
        QVERIFY2(std::any_of(ports.begin(), ports.end(),
                             [&e](const OCL::Site::PortRecord& p) { return p.name == e.port.toStdString(); }),
                 qPrintable(e.server + u'\\' + e.port));
        const QString id = e.file + e.server + e.port + QString::number(e.key);
        QVERIFY2(!ids.contains(id), qPrintable(id));
        ids.insert(id);
        infos += !e.value.info.empty();
        ipx += !e.value.ipx.empty();
        netbios += !e.value.netbios.empty();
        shortForms += e.kind == u'H' && e.value.bytesIn < 0;
        if (e.kind == u'N')
            denials.insert(e.reason);
        if (CwLog::IsForced(e.value.action, e.reason))
            forced.insert(e.reason);
    }
    QCOMPARE(denials, (QSet<int>{1, 2, 3, 4, 5, 6, 9}));
    QCOMPARE(forced, (QSet<int>{1, 2, 3, 9}));
    QVERIFY(infos > 100 && ipx > 100 && netbios > 100 && shortForms > 100);
}

void TestCwsiteInit::statisticsAgreeWithLogs() {
    const QStringList mismatches = StatisticsMismatches(Share());
    QVERIFY2(mismatches.isEmpty(), qPrintable(mismatches.mid(0, 5).join(u'\n')));
    QVERIFY(ReadIni(Share() + u"/callward.usr"_s)->SectionCount() >= 40);
}

void TestCwsiteInit::sameSeedSameSite() {
    QTemporaryDir dir;
    QCOMPARE(Cwsite(InitArgs(dir.path() + u"/a"_s, 7)), 0);
    QCOMPARE(TreeBytes(dir.path() + u"/a"_s), TreeBytes(m_root));
    QCOMPARE(Cwsite(InitArgs(dir.path() + u"/b"_s, 8)), 0);
    QVERIFY(TreeBytes(dir.path() + u"/b"_s) != TreeBytes(m_root));
}

void TestCwsiteInit::bigDay() {
    QTemporaryDir dir;
    const QString root = dir.path() + u"/big"_s;
    QCOMPARE(Cwsite(InitArgs(root, 7) << u"--big-day"_s), 0);
    OCL::Site::SiteDirectory site(root.toStdString());
    const auto host = site.FindHost("LOADRAS");
    QVERIFY(host && site.ReadPorts(*host).size() == 250);

    const QDate yesterday = QDateTime::fromSecsSinceEpoch(kNow).date().addDays(-1);
    const QString file = u"/hosts/HQRAS01/shares/CW_NT_DB/LogData/"_s +
                         CwDayLog::DayFileName(yesterday.startOfDay().toSecsSinceEpoch());
    const auto doc = ReadIni(root + file);
    const qint64 from = yesterday.startOfDay().toSecsSinceEpoch(),
                 to = yesterday.addDays(1).startOfDay().toSecsSinceEpoch();
    int events = 0, infos = 0, netbios = 0;
    QSet<int> denials, forced;
    for (std::size_t s = 0; s < doc->SectionCount(); ++s) {
        const CwLog::LogSection section = CwLog::SplitSection(doc->SectionName(s));
        if (section.server != "LOADRAS")
            continue;
        qint64 previous = 0;
        for (std::size_t k = 0; k < doc->KeyCount(s); ++k, ++events) {
            const qint64 key = CwLog::ReadInt32(doc->KeyName(s, k));
            QVERIFY(key > previous && key >= from && key < to); // a port's keys rise through the day
            previous = key;
            const CwLog::LogValue v = CwLog::ParseLogValue(doc->Value(s, k));
            QVERIFY(v.action != CwLog::Unknown && v.user.starts_with("LOADTEST\\"));
            infos += !v.info.empty();
            netbios += !v.netbios.empty();
            if (v.action == CwLog::Denied)
                denials.insert(v.reason);
            if (CwLog::IsForced(v.action, v.reason))
                forced.insert(v.reason);
        }
    }
    QCOMPARE(events, 1000000);
    QCOMPARE(denials, (QSet<int>{1, 2, 3, 4, 5, 6, 9}));
    QCOMPARE(forced, (QSet<int>{1, 2, 3, 9}));
    QVERIFY(infos > 10000 && netbios > 10000);
}

QTEST_GUILESS_MAIN(TestCwsiteInit)
#include "tst_cwsiteinit.moc"
