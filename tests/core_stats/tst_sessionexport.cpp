// The session export through the document on a test site whose clock is pinned
// to 23 November 2026, noon, Berlin time; the file read back by the CSV's rules.
#include "support/testconsole.h"

#include <QtTest>

using namespace Qt::StringLiterals;

namespace {

qint64 At(int day, int h = 12) {
    return QDateTime(QDate(2026, 11, day), QTime(h, 0)).toSecsSinceEpoch();
}

// Lines without their CRLF, fields split at every comma.
QList<QStringList> ReadCsv(const QString& path) {
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return {};
    QList<QStringList> rows;
    const QList<QByteArray> lines = file.readAll().split('\n');
    for (const QByteArray& line : lines)
        if (line.endsWith('\r'))
            rows << QString::fromLatin1(line.chopped(1)).split(u',');
    return rows;
}

} // namespace

class TestSessionExport : public QObject {
    Q_OBJECT
private slots:
    void initTestCase();
    void ranges_data();
    void ranges();
    void fields_data();
    void fields();
    void refused_data();
    void refused();
    void keepsOldFile();
    void vanishedLog();
    void calendar();

private:
    QString LogFile(const QString& name) { return m_folder + u'/' + name; }
    void WriteLog(const QString& name, const QByteArray& bytes) {
        QVERIFY(m_console->Files().WriteAll(LogFile(name).toStdString(), bytes.toStdString()));
    }
    // The ports of the exported lines, in order, each once.
    QString PortsOf(const QString& path);
    CSessionExportResult Export(int mode, int days = 0, QDate from = {}, QDate to = {},
                                const CSessionExportProgress& progress = {});

    std::unique_ptr<CTestConsole> m_console;
    QTemporaryDir m_out;
    QString m_folder;
};

void TestSessionExport::initTestCase() {
    m_console = std::make_unique<CTestConsole>(
        [](CSiteWriter& w) { CTestConsole::AddServer(w, u"PDC1"_s, u"RAS"_s, u"4.0"_s, 1, true); }, true);
    m_console->Clock()->Set(At(23) * 1000);
    QVERIFY(m_console->FetchAll());
    m_folder = m_console->Writer().SharePath(u"PDC1"_s, u"CW_NT_DB"_s) + u"/LogData"_s;
    QVERIFY(QDir().mkpath(m_folder));
    for (int day = 20; day <= 23; ++day)
        WriteLog(u"2026-Nov-%1.log"_s.arg(day),
                 "[PDC1\\D" + QByteArray::number(day) + "]\r\n" + QByteArray::number(At(day)) + "=C_u\r\n");
    WriteLog(u"2026-Dec-01.log"_s, "[PDC1\\X01]\r\n1796122800=C_u\r\n");
}

QString TestSessionExport::PortsOf(const QString& path) {
    const QList<QStringList> rows = ReadCsv(path);
    if (rows.isEmpty() ||
        rows[0].join(u',') != u"Time/Date,Server,Port,Action,Information,User,IP,NetBIOS,IPX,Lasted"_s)
        return u"no header"_s;
    QStringList ports;
    for (const QStringList& row : rows.mid(1))
        if (ports.isEmpty() || ports.last() != row.value(2))
            ports << row.value(2);
    return ports.join(u' ');
}

CSessionExportResult TestSessionExport::Export(int mode, int days, QDate from, QDate to,
                                               const CSessionExportProgress& progress) {
    CSessionExportSettings settings{mode, days, from, to, m_out.filePath(u"out.csv"_s)};
    return m_console->Doc().ExportSessions(settings, progress);
}

void TestSessionExport::ranges_data() {
    QTest::addColumn<int>("mode");
    QTest::addColumn<int>("days");
    QTest::addColumn<QDate>("from");
    QTest::addColumn<QDate>("to");
    QTest::addColumn<QString>("ports");
    QTest::newRow("every log, in date order") << 0 << 0 << QDate() << QDate() << u"D20 D21 D22 D23 X01"_s;
    QTest::newRow("today only") << 1 << 1 << QDate() << QDate() << u"D23"_s;
    QTest::newRow("last three days") << 1 << 3 << QDate() << QDate() << u"D23 D22 D21"_s;
    QTest::newRow("From = To") << 2 << 0 << QDate(2026, 11, 21) << QDate(2026, 11, 21) << u"D21"_s;
    QTest::newRow("From = To at a month's end")
        << 2 << 0 << QDate(2026, 11, 30) << QDate(2026, 11, 30) << QString();
    QTest::newRow("To left out") << 2 << 0 << QDate(2026, 11, 20) << QDate(2026, 11, 22) << u"D20 D21"_s;
    QTest::newRow("over a month's end") << 2 << 0 << QDate(2026, 11, 30) << QDate(2026, 12, 2) << u"X01"_s;
    QTest::newRow("no log files") << 2 << 0 << QDate(2026, 10, 1) << QDate(2026, 10, 5) << QString();
}

void TestSessionExport::ranges() {
    QFETCH(int, mode);
    QFETCH(int, days);
    QFETCH(QDate, from);
    QFETCH(QDate, to);
    QFETCH(QString, ports);
    CCwadminDoc& doc = m_console->Doc();
    doc.NavigateTo(2026, 11, 22);
    doc.LoadLogRecords(0);
    QList<int> percents;
    const CSessionExportResult result = Export(mode, days, from, to, [&](int percent) {
        percents << percent;
        return true;
    });
    QVERIFY(result.written);
    QCOMPARE(PortsOf(m_out.filePath(u"out.csv"_s)), ports);
    QCOMPARE(result.events, ports.isEmpty() ? 0 : ports.count(u' ') + 1);
    QCOMPARE(percents.last(), mode == 2 ? percents.size() : 100);
    // The shown day comes back.
    QCOMPARE(QDate(doc.ShownYear(), doc.ShownMonth(), doc.ShownDay()), QDate(2026, 11, 22));
    QCOMPARE(doc.LogRecords()->Record(0).port, u"D22"_s);
}

void TestSessionExport::fields_data() {
    QTest::addColumn<int>("showSeconds");
    QTest::addColumn<QStringList>("lasted"); // of the three disconnects
    QTest::newRow("h\"mm'ss") << 0 << QStringList{u"1\"02'05"_s, u"0\"01'00"_s, u"0\"00'-05"_s};
    QTest::newRow("seconds") << 1 << QStringList{u"3725"_s, u"60"_s, u"-5"_s};
}

void TestSessionExport::fields() {
    QFETCH(int, showSeconds);
    QFETCH(QStringList, lasted);
    WriteLog(u"2026-Nov-10.log"_s,
             "[PDC1\\COM1]\r\n1=H3725_CORP\\alice?3232235777?9:IPX1:WS01:999:2000\r\n"
             "2=H60_bob?0\r\n3=C_dave*info, text\r\n4=N_carol?4\r\n5=H-5_eve?0\r\n6=N_f?7\r\n"
             "[PDC1\\12345]\r\n7=C_x\r\n[PDC1\\PORTNAMEOFTWENTY1234]\r\n8=C_y\r\n");
    m_console->Doc().m_showSeconds = showSeconds;
    QVERIFY(Export(2, 0, QDate(2026, 11, 10), QDate(2026, 11, 10)).written);
    m_console->Doc().m_showSeconds = 0;
    QFile::remove(LogFile(u"2026-Nov-10.log"_s));
    const QList<QStringList> rows = ReadCsv(m_out.filePath(u"out.csv"_s));
    const QList<QStringList> expected{
        {u"PDC1"_s, u"COM1"_s, u"Disconnect"_s, u"Idle Timeout"_s, u"CORP\\alice"_s, u"192.168.1.1"_s,
         u"WS01"_s, u"IPX1"_s, lasted[0]},
        {u"PDC1"_s, u"COM1"_s, u"Disconnect"_s, u" "_s, u"bob"_s, {}, {}, {}, lasted[1]},
        {u"PDC1"_s, u"COM1"_s, u"Connect"_s, u" "_s, u"dave"_s, {}, {}, {}, u" "_s},
        {u"PDC1"_s, u"COM1"_s, u"Denied"_s, u"User already connected"_s, u"carol"_s, {}, {}, {}, u" "_s},
        {u"PDC1"_s, u"COM1"_s, u"Disconnect"_s, u" "_s, u"eve"_s, {}, {}, {}, lasted[2]},
        {u"PDC1"_s, u"COM1"_s, u"Denied"_s, u" "_s, u"f"_s, {}, {}, {}, u" "_s},
        {u"PDC1"_s, u"12345"_s, u"Connect"_s, u" "_s, u"x"_s, {}, {}, {}, u" "_s},
        {u"PDC1"_s, u"PORTNAMEOFTWENTY123"_s, u"Connect"_s, u" "_s, u"y"_s, {}, {}, {}, u" "_s},
    };
    QCOMPARE(rows.size(), expected.size() + 1);
    for (qsizetype i = 0; i < expected.size(); ++i) {
        QCOMPARE(rows[i + 1].mid(1), expected[i]);
        QCOMPARE(rows[i + 1][0], m_console->Doc().TimeToLocalString(i + 1, true, 0));
    }
}

void TestSessionExport::refused_data() {
    QTest::addColumn<int>("mode");
    QTest::addColumn<int>("days");
    QTest::addColumn<QString>("file");
    QTest::addColumn<QString>("message");
    QTest::newRow("no file name") << 0 << 0 << QString() << u"You need to specify an output filename!"_s;
    QTest::newRow("no days") << 1 << 0 << u"out.csv"_s << u"You need to specify at least 1 day to export."_s;
    QTest::newRow("From after To") << 2 << 0 << u"out.csv"_s << u"Invalid date range selected."_s;
    QTest::newRow("folder cannot be written")
        << 0 << 0 << u"file/out.csv"_s << u"Error opening file for output."_s;
}

void TestSessionExport::refused() {
    QFETCH(int, mode);
    QFETCH(int, days);
    QFETCH(QString, file);
    QFETCH(QString, message);
    QTemporaryDir dir;
    QFile plain(dir.filePath(u"file"_s));
    QVERIFY(plain.open(QIODevice::WriteOnly));
    plain.close();
    m_console->Prompter().Clear();
    CSessionExportSettings settings{mode, days, QDate(2026, 11, 22), QDate(2026, 11, 21),
                                    file.isEmpty() ? file : dir.filePath(file)};
    const CSessionExportResult result = m_console->Doc().ExportSessions(settings);
    QVERIFY(!result.written);
    QCOMPARE(m_console->Prompter().Boxes().size(), 1);
    QVERIFY(m_console->Prompter().Boxes()[0].text.startsWith(message));
    QCOMPARE(QDir(dir.path()).entryList(QDir::Files | QDir::NoDotAndDotDot), QStringList{u"file"_s});
}

void TestSessionExport::keepsOldFile() {
    const QString path = m_out.filePath(u"out.csv"_s);
    QVERIFY(Export(1, 1).written);
    QFile file(path);
    QVERIFY(file.open(QIODevice::ReadOnly));
    const QByteArray old = file.readAll();
    file.close();
    const CSessionExportResult result = Export(0, 0, {}, {}, [](int) { return false; });
    QVERIFY(result.cancelled && !result.written);
    QVERIFY(file.open(QIODevice::ReadOnly));
    QCOMPARE(file.readAll(), old);
    QCOMPARE(QDir(m_out.path()).entryList(QDir::Files), QStringList{u"out.csv"_s});
}

void TestSessionExport::vanishedLog() {
    // Gone after the first day is written, before the export reads it.
    const QString gone = LogFile(u"2026-Dec-01.log"_s);
    const QByteArray bytes = [&] {
        QFile f(gone);
        return f.open(QIODevice::ReadOnly) ? f.readAll() : QByteArray();
    }();
    const CSessionExportResult result = Export(0, 0, {}, {}, [&](int) {
        QFile::remove(gone);
        return true;
    });
    WriteLog(u"2026-Dec-01.log"_s, bytes);
    QVERIFY(result.written);
    QCOMPARE(result.notes, QStringList{u"2026-Dec-01.log was removed during the export and is not in it."_s});
    QCOMPARE(PortsOf(m_out.filePath(u"out.csv"_s)), u"D20 D21 D22 D23"_s);
}

void TestSessionExport::calendar() {
    QCOMPARE(m_console->Doc().LoggedDaysOfMonth(2026, 11), (1u << 20) | (1u << 21) | (1u << 22) | (1u << 23));
    QCOMPARE(m_console->Doc().LoggedDaysOfMonth(2026, 12), 1u << 1);
    QCOMPARE(m_console->Doc().LoggedDaysOfMonth(2026, 2), 0u);
}

QTEST_GUILESS_MAIN(TestSessionExport)
#include "tst_sessionexport.moc"
