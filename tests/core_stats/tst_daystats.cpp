// The shown day's statistics and usage bars through the document, on a test
// site with a pinned clock, in Berlin time.
#include "support/testconsole.h"

#include <QtTest>

#include <numeric>

using namespace Qt::StringLiterals;

namespace {

// The time of day h:m on November day of 2026, local, as a log key.
QByteArray At(int h, int m = 0, int day = 23) {
    return QByteArray::number(QDateTime(QDate(2026, 11, day), QTime(h, m)).toSecsSinceEpoch());
}

class CStatusLog final : public IFrame {
public:
    QStringList texts;
    void SetStatus(const QString& text) override { texts << text; }
    void RefreshCaption() override {}
    void ShowSplash(bool) override {}
    void BeginWait() override {}
    void EndWait() override {}
};

} // namespace

class TestDayStats : public QObject {
    Q_OBJECT
private slots:
    void initTestCase();
    void figures_data();
    void figures();
    void graphScale_data();
    void graphScale();
    void hourlyTable();
    void usage_data();
    void usage();

private:
    void ShowDay(const QByteArray& bytes);

    CStatusLog m_status;
    std::unique_ptr<CTestConsole> m_console;
};

void TestDayStats::initTestCase() {
    m_console = std::make_unique<CTestConsole>(
        [](CSiteWriter& w) { CTestConsole::AddServer(w, u"PDC1"_s, u"RAS"_s, u"4.0"_s, 1, true); }, true);
    QVERIFY(m_console->FetchAll());
    m_console->Doc().SetFrame(&m_status);
}

void TestDayStats::ShowDay(const QByteArray& bytes) {
    const QString folder = m_console->Writer().SharePath(u"PDC1"_s, u"CW_NT_DB"_s) + u"/LogData"_s;
    QVERIFY(QDir().mkpath(folder));
    QVERIFY(m_console->Files().WriteAll(QString(folder + u"/2026-Nov-23.log"_s).toStdString(),
                                        bytes.toStdString()));
    CCwadminDoc& doc = m_console->Doc();
    doc.NavigateTo(2026, 11, 22); // so that the rewritten day is read again
    doc.LoadLogRecords(0);
    doc.NavigateTo(2026, 11, 23);
    doc.LoadLogRecords(0);
}

void TestDayStats::figures_data() {
    QTest::addColumn<QByteArray>("events");
    QTest::addColumn<QString>("panel"); // the panel's values after the heading
    QTest::newRow("empty day") << QByteArray() << u"0|0|0|n/a|n/a|0"_s;
    QTest::newRow("hang-ups count as forced")
        << QByteArray("[S\\C1]\r\n1=H0_a?0\r\n2=H0_a?0?0:\r\n3=H0_a?0?9:\r\n"
                      "4=N_b?4\r\n5=C_b\r\n")
        << u"1|1|2|n/a|b|1"_s;
    QTest::newRow("first longest wins, hours")
        << QByteArray("[S\\C1]\r\n1=H3725_alice?0\r\n2=H3725_bob?0\r\n3=H-9_carl?0\r\n")
        << u"0|0|3|1 hours, 2 mins, 5 secs|alice|n/a|0"_s;
    QTest::newRow("60 seconds") << QByteArray("[S\\C1]\r\n1=H60_a%d?0\r\n")
                                << u"0|0|1|60 seconds|a%d|n/a|0"_s;
    QTest::newRow("60 minutes") << QByteArray("[S\\C1]\r\n1=H3600_a?0\r\n")
                                << u"0|0|1|60 mins, 0 secs|a|n/a|0"_s;
    QTest::newRow("last to reach the top count")
        << QByteArray("[S\\C1]\r\n1=C_A\r\n2=C_B\r\n3=C_A\r\n[S\\C2]\r\n1=C_B\r\n2=C_A\r\n3=C_B\r\n")
        << u"6|0|0|n/a|B|3"_s;
    QTest::newRow("names as profile keys")
        << QByteArray("[S\\C1]\r\n1=C_dom\\Al\r\n2=C_x\r\n3=C_DOM\\aL \r\n") << u"3|0|0|n/a|DOM\\aL|2"_s;
}

void TestDayStats::figures() {
    QFETCH(QByteArray, events);
    QFETCH(QString, panel);
    ShowDay(events);
    m_status.texts.clear();
    m_console->Doc().Stat_Generate();
    QCOMPARE(m_status.texts, (QStringList{u"Calculating Statistics, please wait..."_s, u"Ready"_s}));
    const auto lines = m_console->Doc().Statistics().Panel();
    QStringList values;
    for (std::size_t i = 1; i < lines.size(); ++i)
        values << lines[i].value;
    QCOMPARE(values.join(u'|'), panel);
    // "Made by User" only with a longest session.
    QCOMPARE(lines.size(), std::size_t(panel.contains(u" secs"_s) || panel.contains(u"seconds"_s) ? 8 : 7));
}

void TestDayStats::graphScale_data() {
    QTest::addColumn<quint32>("maxHour");
    QTest::addColumn<quint32>("scale");
    const std::initializer_list<std::pair<quint32, quint32>> steps{
        {0, 5},    {4, 5},      {5, 10},       {9, 10},       {10, 20},
        {99, 100}, {800, 1000}, {1000, 10000}, {9999, 10000}, {10000, 100000}};
    for (const auto& [max, scale] : steps)
        QTest::addRow("%u", max) << max << scale;
}

void TestDayStats::graphScale() {
    QFETCH(quint32, maxHour);
    QFETCH(quint32, scale);
    QCOMPARE(CDayStatistics::ScaleFor(maxHour), scale);
}

void TestDayStats::hourlyTable() {
    // Two connections at 00:30 local, one at 23:59, one the day before (local 23:00).
    ShowDay("[S\\C1]\r\n" + At(0, 30) + "=C_a\r\n" + At(0, 31) + "=C_b\r\n" + At(23, 59) + "=C_a\r\n" +
            At(23, 0, 22) + "=C_c\r\n");
    CCwadminDoc& doc = m_console->Doc();
    doc.Stat_Generate();
    QTemporaryDir dir;
    const QString path = dir.filePath(u"stats.csv"_s);
    m_console->Prompter().Clear();
    QVERIFY(!doc.Stat_SaveToFile(dir.filePath(u"missing/stats.csv"_s)));
    QCOMPARE(m_console->Prompter().Texts(), QStringList{u"Error opening file for output."_s});
    QVERIFY(doc.Stat_SaveToFile(path));
    QFile file(path);
    QVERIFY(file.open(QIODevice::ReadOnly));
    const QList<QByteArray> lines = file.readAll().split('\n');
    QCOMPARE(lines.size(), 30);
    QCOMPARE(lines[0], "Statistics for date: " +
                           QLocale::system().toString(QDate(2026, 11, 23), QLocale::LongFormat).toLatin1() +
                           '\r');
    QCOMPARE(lines.mid(1, 4),
             (QList<QByteArray>{"\r", "\r", "Hour  Number of Connections\r", "-----------------------\r"}));
    QList<int> byHour;
    for (int hour = 0; hour < 24; ++hour) {
        const QList<QByteArray> fields = lines[5 + hour].chopped(1).split(' ');
        QCOMPARE(fields, (QList<QByteArray>{"", "", QByteArray::number(hour).rightJustified(2, '0'), "",
                                            fields.last()}));
        byHour << fields.last().toInt();
    }
    QCOMPARE(byHour[0], 2);
    QCOMPARE(byHour[23], 2);
    QCOMPARE(std::accumulate(byHour.begin(), byHour.end(), 0), 4);
    QCOMPARE(lines[29], QByteArray());
}

void TestDayStats::usage_data() {
    QTest::addColumn<QByteArray>("events");
    QTest::addColumn<QDateTime>("now");
    QTest::addColumn<QString>("lanes"); // server: port=left+width ..., in drawing order
    const QDateTime later(QDate(2026, 11, 25), QTime(9, 0));
    QTest::newRow("empty day") << QByteArray() << later << QString();
    QTest::newRow("from 23:00 the day before") << "[PDC1\\COM1]\r\n" + At(1) + "=H7200_a?0\r\n"
                                               << later << u"PDC1: COM1=101+30"_s;
    QTest::newRow("open connect, a past day")
        << "[PDC1\\COM1]\r\n" + At(11) + "=C_a\r\n" + At(12, 1) + "=H60_a?0\r\n" + At(12, 2) + "=C_b\r\n"
        << later << u"PDC1: COM1=461+1 462+359"_s;
    // The last record's connect counts from its own time; one after now is not drawn.
    QTest::newRow("open connects, today")
        << "[PDC1\\COM1]\r\n" + At(12) + "=C_b\r\n[PDC1\\COM2]\r\n" + At(19) + "=C_c\r\n" + At(20) +
               "=C_c\r\n"
        << QDateTime(QDate(2026, 11, 23), QTime(18, 0)) << u"PDC1: COM1=461+180 COM2="_s;
    QTest::newRow("open connect closed by another port's disconnect")
        << "[PDC1\\COM1]\r\n" + At(12) + "=C_b\r\n[PDC1\\COM2]\r\n" + At(13, 1) + "=H60_c?0\r\n"
        << later << u"PDC1: COM2=491+1"_s;
    QTest::newRow("lane order") << "[PDC1\\COM10]\r\n" + At(1) + "=H0_a?0\r\n[pdc1\\COM2]\r\n" + At(2) +
                                       "=H0_a?0\r\n[SRV2\\7]\r\n" + At(3) + "=H0_a?0\r\n[PDC1\\COM1]\r\n" +
                                       At(4) + "=H0_a?0\r\n"
                                << later << u"PDC1: COM1=221+1 COM2=161+1 COM10=131+1; SRV2: 7=191+1"_s;
    QTest::newRow("equal numbers, later first, long names cut")
        << "[S\\VPN1-1]\r\n" + At(1) + "=H0_a?0\r\n[S\\VPN1-2]\r\n" + At(1) +
               "=H0_a?0\r\n[S\\PORTNAMEOFTWENTY1234]\r\n" + At(1) + "=H0_a?0\r\n"
        << later << u"S: VPN1-2=131+1 VPN1-1=131+1 PORTNAMEOFTWENTY123=131+1"_s;
    QTest::newRow("times outside the day, negative length")
        << "[PDC1\\COM1]\r\n" + At(20, 0, 22) + "=H60_a?0\r\n" + At(0, 30, 24) + "=H60_a?0\r\n" +
               At(1, 0, 24) + "=H7200_a?0\r\n" + At(6) + "=H-600_a?0\r\n"
        << later << u"PDC1: COM1=101+1 791+30 286+1"_s;
}

void TestDayStats::usage() {
    QFETCH(QByteArray, events);
    QFETCH(QDateTime, now);
    QFETCH(QString, lanes);
    m_console->Clock()->Set(now.toMSecsSinceEpoch());
    ShowDay(events);
    CCwadminDoc& doc = m_console->Doc();
    const CUsageGraph& graph = doc.RebuildUsage();
    QStringList servers;
    int ports = 0;
    for (const CUsageServer& server : graph.servers) {
        QStringList bars;
        for (const CUsagePort& port : server.ports) {
            QStringList texts;
            for (const CUsageBar& bar : UsageBars(port.intervals, doc.UsageDay()))
                texts << u"%1+%2"_s.arg(bar.left).arg(bar.width);
            bars << port.name + u'=' + texts.join(u' ');
            ++ports;
        }
        servers << server.name + u": "_s + bars.join(u' ');
    }
    QCOMPARE(servers.join(u"; "_s), lanes);
    QCOMPARE(graph.LaneCount(), int(graph.servers.size()) + ports);
}

QTEST_GUILESS_MAIN(TestDayStats)
#include "tst_daystats.moc"
