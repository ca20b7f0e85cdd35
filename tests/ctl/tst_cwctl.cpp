// cwctl over a test site: exit codes, and its output read back by the rules
// of each format (the log view's unquoted CSV, JSON lines).
#include "support/testconsole.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QtTest>

using namespace Qt::StringLiterals;

class TestCwctl : public QObject {
    Q_OBJECT
private slots:
    void initTestCase();
    void exitCodes_data();
    void exitCodes();
    void csv();
    void jsonLines();
    void exportSameAsConsole();
    void database_data();
    void database();
    void searchSameAsDay_data();
    void searchSameAsDay();

private:
    QByteArray Run(const QStringList& args, int* exitCode);

    std::unique_ptr<CTestConsole> m_console;
};

void TestCwctl::initTestCase() {
    m_console = std::make_unique<CTestConsole>([](CSiteWriter& w) {
        CTestConsole::AddServer(w, u"PDC1"_s, u"RAS"_s, u"4.0"_s, 1, true);
        CTestConsole::AddServer(w, u"SRV2"_s, u"RAS"_s, u"4.0"_s, 1, false, u"PDC1"_s);
        w.WriteShareFile(u"PDC1"_s, u"CW_NT_DB"_s, u"LogData\\2026-Nov-23.log"_s,
                         "[PDC1\\COM1]\r\n1795392000=H3725_CORP\\alice?3232235777?9:IPX1:WS01:999:2000\r\n"
                         "1795392100=C_CORP\\j\xF6rg*say \"hi\"\r\n[SRV2\\COM1]\r\n1795392200=N_carol?4\r\n");
    });
}

QByteArray TestCwctl::Run(const QStringList& args, int* exitCode) {
    QProcess process;
    process.start(QStringLiteral(CW_BIN_DIR) + u"/cwctl"_s, args);
    [&] {
        QVERIFY(process.waitForFinished(60000));
    }();
    *exitCode = process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1;
    return process.readAllStandardOutput();
}

void TestCwctl::exitCodes_data() {
    QTest::addColumn<QString>("site"); // below the test site's folder
    QTest::addColumn<QStringList>("args");
    QTest::addColumn<int>("code");
    QTest::newRow("no command") << QString() << QStringList{} << 2;
    QTest::newRow("no such date") << QString() << QStringList{u"day"_s, u"2026-02-30"_s} << 2;
    QTest::newRow("port without server")
        << QString() << QStringList{u"day"_s, u"2026-11-23"_s, u"--port"_s, u"COM1"_s} << 2;
    QTest::newRow("two filters") << QString() << QStringList{u"day"_s, u"2026-11-23"_s, u"--server"_s,
                                                             u"A"_s,   u"--domain"_s,   u"B"_s}
                                 << 2;
    QTest::newRow("bad format") << QString()
                                << QStringList{u"day"_s, u"2026-11-23"_s, u"--format"_s, u"xml"_s} << 2;
    QTest::newRow("no site") << u"/missing"_s << QStringList{u"day"_s, u"2026-11-23"_s} << 1;
    QTest::newRow("day without log") << QString() << QStringList{u"day"_s, u"2026-11-24"_s} << 1;
    QTest::newRow("done") << QString() << QStringList{u"day"_s, u"2026-11-23"_s} << 0;
    QTest::newRow("stats") << QString() << QStringList{u"stats"_s, u"2026-11-23"_s} << 0;
    QTest::newRow("usage, bad format")
        << QString() << QStringList{u"usage"_s, u"2026-11-23"_s, u"--format"_s, u"xml"_s} << 2;
    QTest::newRow("export, From after To")
        << QString()
        << QStringList{u"export"_s, u"--from"_s, u"2026-11-23"_s, u"--to"_s, u"2026-11-22"_s, u"x"_s} << 2;
    QTest::newRow("export, folder cannot be written")
        << QString() << QStringList{u"export"_s, u"--all"_s, u"/dev/null/out.csv"_s} << 1;
    QTest::newRow("search, bad action") << QString() << QStringList{u"search"_s, u"--action"_s, u"x"_s} << 2;
    QTest::newRow("search, To before From")
        << QString() << QStringList{u"search"_s, u"--from"_s, u"2026-11-23"_s, u"--to"_s, u"2026-11-22"_s}
        << 2;
    QTest::newRow("search, no data in range")
        << QString() << QStringList{u"search"_s, u"--from"_s, u"2030-01-01"_s} << 0;
    QTest::newRow("index") << QString() << QStringList{u"index"_s} << 0;
}

void TestCwctl::exitCodes() {
    QFETCH(QString, site);
    QFETCH(QStringList, args);
    QFETCH(int, code);
    int exitCode = -2;
    Run(QStringList{u"--site"_s, m_console->Root() + site} + args, &exitCode);
    QCOMPARE(exitCode, code);
}

void TestCwctl::csv() {
    int exitCode = -1;
    // Server, User, Lasted and Bytes In; the time always comes first.
    const QByteArray out = Run({u"--site"_s, m_console->Root(), u"day"_s, u"2026-11-23"_s, u"--server"_s,
                                u"pdc1"_s, u"--columns"_s, u"0x622"_s},
                               &exitCode);
    QCOMPARE(exitCode, 0);
    QList<QByteArray> lines = out.split('\n');
    QCOMPARE(lines.size(), 4);
    QCOMPARE(lines.takeLast(), QByteArray());
    QCOMPARE(lines[0], QByteArray("Time/Date,Server,User,Lasted,Bytes In\r"));
    // The time's text is the locale's; every other cell is known.
    QCOMPARE(lines[1].split(',').mid(1), (QList<QByteArray>{"PDC1", "CORP\\alice", "1\"02'05", "999", "\r"}));
    QCOMPARE(lines[2].split(',').mid(1), (QList<QByteArray>{"PDC1", "CORP\\j\xF6rg", " ", " ", "\r"}));
}

void TestCwctl::jsonLines() {
    int exitCode = -1;
    const QByteArray out = Run(
        {u"--site"_s, m_console->Root(), u"day"_s, u"2026-11-23"_s, u"--format"_s, u"jsonl"_s}, &exitCode);
    QCOMPARE(exitCode, 0);
    const QList<QByteArray> lines = out.trimmed().split('\n');
    QCOMPARE(lines.size(), 3);
    QList<QJsonObject> events;
    for (const QByteArray& line : lines) {
        QJsonParseError error{};
        events << QJsonDocument::fromJson(line, &error).object();
        QCOMPARE(error.error, QJsonParseError::NoError);
    }
    const QJsonObject expected =
        QJsonDocument::fromJson(
            R"({"server": "PDC1", "port": "COM1", "user": "CORP\\alice", "time": 1795392000, "lasted": 3725,
            "action": 0, "ipAddress": 3232235777, "reason": 9, "ipx": "IPX1", "netbios": "WS01",
            "bytesIn": 999, "bytesOut": 2000, "info": ""})")
            .object();
    QCOMPARE(events[0], expected);
    QCOMPARE(events[1][u"user"_s].toString(), u"CORP\\j\u00F6rg"_s);
    QCOMPARE(events[1][u"info"_s].toString(), u"say \"hi\""_s);
    QCOMPARE(events[2][u"server"_s].toString(), u"SRV2"_s);
    QCOMPARE(events[2][u"reason"_s].toInt(), 4);
}

void TestCwctl::searchSameAsDay_data() {
    QTest::addColumn<QStringList>("filter");
    QTest::newRow("user") << QStringList{u"--user"_s, u"corp\\ALICE"_s};
    QTest::newRow("server") << QStringList{u"--server"_s, u"srv2"_s};
}

void TestCwctl::searchSameAsDay() {
    QFETCH(QStringList, filter);
    const QStringList common = QStringList{u"--site"_s, m_console->Root()};
    int dayCode = -1, searchCode = -1;
    const QByteArray day =
        Run(common + QStringList{u"day"_s, u"2026-11-23"_s, u"--format"_s, u"jsonl"_s} + filter, &dayCode);
    const QByteArray found =
        Run(common + QStringList{u"search"_s, u"--format"_s, u"jsonl"_s} + filter, &searchCode);
    QCOMPARE(searchCode, 0);
    QCOMPARE(dayCode, 0);
    QCOMPARE(found, day);
    QCOMPARE(found.count('\n'), 1);
    // The index is the console's own, beside its settings, not on the share.
    QVERIFY(QFileInfo::exists(m_console->Root() + u"/hosts/ADMINPC/Session Index/sessions.cwidx"_s));
}

void TestCwctl::exportSameAsConsole() {
    QTemporaryDir dir;
    int exitCode = -1;
    Run({u"--site"_s, m_console->Root(), u"export"_s, u"--from"_s, u"2026-11-23"_s, u"--to"_s,
         u"2026-11-23"_s, dir.filePath(u"ctl.csv"_s)},
        &exitCode);
    QCOMPARE(exitCode, 0);
    QVERIFY(m_console->FetchAll());
    const CSessionExportSettings settings{SessionExportMode::Range, 0, QDate(2026, 11, 23),
                                          QDate(2026, 11, 23), dir.filePath(u"doc.csv"_s)};
    QVERIFY(m_console->Doc().ExportSessions(settings).written);
    QFile ctl(dir.filePath(u"ctl.csv"_s)), doc(settings.fileName);
    QVERIFY(ctl.open(QIODevice::ReadOnly) && doc.open(QIODevice::ReadOnly));
    const QByteArray bytes = doc.readAll();
    QCOMPARE(bytes.count('\n'), 4);
    QCOMPARE(ctl.readAll(), bytes);
}

void TestCwctl::database_data() {
    QTest::addColumn<QStringList>("args");
    QTest::addColumn<int>("code");
    QTest::addColumn<QString>("after"); // LogData files | OldData files
    QTest::addColumn<QString>("printed");
    const QString today = QDate::currentDate().toString(u"yyyy-MMM-dd"_s);
    QTest::newRow("db")
        << QStringList{u"db"_s} << 0 << "2000-Jan-01,2000-Jan-02|2000-Jan-02"
        << "Database: \\\\PDC1\\CW_NT_DB\n  User Profiles: 0 bytes\n  Port Profiles: 0 bytes\n"
           "  Current Session Data: 2 files, total of 8 bytes\n    2000-Jan-01: 3 bytes\n"
           "    2000-Jan-02: 5 bytes\n  Migrated Session Data: 1 files, total of 3 bytes\n"
           "    2000-Jan-02: 3 bytes\n";
    QTest::newRow("asks nothing, refuses")
        << QStringList{u"migrate"_s, u"2000-Jan-01"_s} << 2 << "2000-Jan-01,2000-Jan-02|2000-Jan-02"
        << "";
    QTest::newRow("migrate a day") << QStringList{u"migrate"_s, u"2000-Jan-01"_s, u"--yes"_s} << 0
                                   << "2000-Jan-02|2000-Jan-01,2000-Jan-02"
                                   << "1 files migrated\n";
    QTest::newRow("migrate onto existing")
        << QStringList{u"migrate"_s, u"--yes"_s, u"2000-Jan-02"_s} << 0 << "2000-Jan-01|2000-Jan-02"
        << "1 files migrated\n";
    QTest::newRow("older than") << QStringList{u"migrate"_s, u"--older-than"_s, u"7"_s, u"--yes"_s} << 0
                                << "|2000-Jan-01,2000-Jan-02"
                                << "2 files migrated\n";
    QTest::newRow("delete") << QStringList{u"delete"_s, u"2000-Jan-02"_s, u"--yes"_s} << 0
                            << "2000-Jan-01|2000-Jan-02"
                            << "1 files deleted\n";
    QTest::newRow("delete, no such day")
        << QStringList{u"delete"_s, today, u"--yes"_s} << 1 << "2000-Jan-01,2000-Jan-02|2000-Jan-02"
        << "";
}

void TestCwctl::database() {
    QFETCH(QStringList, args);
    QFETCH(int, code);
    QFETCH(QString, after);
    QFETCH(QString, printed);
    CTestConsole console([](CSiteWriter& w) {
        CTestConsole::AddServer(w, u"PDC1"_s, u"RAS"_s, u"4.0"_s, 1, true);
        w.WriteShareFile(u"PDC1"_s, u"CW_NT_DB"_s, u"LogData/2000-Jan-01.log"_s, "new");
        w.WriteShareFile(u"PDC1"_s, u"CW_NT_DB"_s, u"LogData/2000-Jan-02.log"_s, "newer");
        w.WriteShareFile(u"PDC1"_s, u"CW_NT_DB"_s, u"OldData/2000-Jan-02.log"_s, "old");
    });
    int exitCode = -1;
    QCOMPARE(QString::fromLocal8Bit(Run(QStringList{u"--site"_s, console.Root()} + args, &exitCode)),
             printed);
    QCOMPARE(exitCode, code);
    const QString share = console.Writer().SharePath(u"PDC1"_s, u"CW_NT_DB"_s);
    QStringList found;
    for (const QString& folder : {u"/LogData"_s, u"/OldData"_s})
        found.append(QDir(share + folder).entryList(QDir::Files, QDir::Name).join(u',').remove(u".log"_s));
    QCOMPARE(found.join(u'|'), after);
    // A target that existed keeps its own content.
    QFile old(share + u"/OldData/2000-Jan-02.log"_s);
    if (!args.contains(u"--older-than"_s) && old.open(QIODevice::ReadOnly))
        QCOMPARE(old.readAll(), QByteArray("old"));
}

QTEST_GUILESS_MAIN(TestCwctl)
#include "tst_cwctl.moc"
