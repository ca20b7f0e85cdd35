// The session index against its rule: loading the same day logs one by one
// with the day loader and filtering them as the log view does.
#include "core/log/dayreader.h"
#include "core/log/logmodel.h"
#include "core/search/sessionindex.h"
#include "support/testconsole.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>
#include <QTimeZone>

#include <sqlite3.h>

using namespace Qt::StringLiterals;

namespace {

const CSessionIndex::Shifts kShifts{{u"srv2"_s, -3600}};

// A day log in the service's format; seed varies the events.
QByteArray DayLog(QDate day, int seed) {
    const qint64 start = day.startOfDay(QTimeZone::utc()).toSecsSinceEpoch();
    const char* users[] = {"CORP\\alice", "corp\\bob", "OTHER\\alice", "carol", "CORP\\dave"};
    QByteArray text;
    for (const char* channel : {"PDC1\\COM1", "PDC1\\COM2", "SRV2\\COM1"}) {
        text += "[" + QByteArray(channel) + "]\r\n";
        for (int i = 0; i < 12; ++i) {
            const QByteArray user = users[(i + seed) % 5];
            const QByteArray key = QByteArray::number(start + i * 600 + seed);
            if (i % 3 == 0)
                text += key + "=C_" + user + "*line " + QByteArray::number(i) + "\r\n";
            else if (i % 3 == 1)
                text += key + "=H" + QByteArray::number(60 * i) + "_" + user + "?167772161?" +
                        QByteArray::number(i % 4) + ":IPX" + QByteArray::number(i) +
                        ":NB:1000:" + QByteArray::number(2000 + seed) + "\r\n";
            else
                text += key + "=N_" + user + "?" + QByteArray::number(i % 5) + "\r\n";
        }
    }
    return text;
}

QString Fields(const LogRecord& r) {
    return u"%1|%2|%3|%4|%5|%6|%7|%8|%9|"_s.arg(r.server, r.port, r.user)
               .arg(r.time)
               .arg(r.lasted)
               .arg(r.action)
               .arg(r.ipAddress)
               .arg(r.reason)
               .arg(r.ipx) +
           u"%1|%2|%3|%4"_s.arg(r.netbios).arg(r.bytesIn).arg(r.bytesOut).arg(r.info);
}

// The events the log view shows for each file of the range, in file order.
QStringList Loaded(const std::vector<CDayFile>& files, const CSessionQuery& q) {
    QStringList records;
    for (const CDayFile& file : files) {
        if ((q.from.isValid() && file.day < q.from) || (q.to.isValid() && file.day > q.to))
            continue;
        std::string bytes;
        if (!CDayReader::ReadFile(file.path.toStdString(), &bytes))
            records << u"unreadable "_s + file.path;
        auto store = CDayReader::Parse(std::move(bytes));
        for (const auto& [server, seconds] : kShifts)
            store->ShiftTimes(server, seconds);
        for (std::uint32_t i : q.filter.Rows(*store)) {
            const LogRecord r = store->Record(i);
            if ((q.action < 0 || r.action == q.action) && (q.reason < 0 || r.reason == q.reason))
                records << Fields(r);
        }
    }
    return records;
}

QStringList Found(const CSessionAnswer& answer) {
    QStringList records;
    for (std::size_t i = 0; answer.store && i < answer.store->Count(); ++i)
        records << Fields(answer.store->Record(i));
    return records;
}

} // namespace

class TestSessionIndex : public QObject {
    Q_OBJECT
private slots:
    void init();
    void searchMatchesLoader_data();
    void searchMatchesLoader();
    void changedAndRemovedDays();
    void deletedIndexRebuilds();
    void unusableIndexSetAside_data();
    void unusableIndexSetAside();
    void damagedRunsAnswerNothing();

private:
    void WriteDay(const QString& folder, QDate day, int seed) {
        QFile file(m_dir->filePath(folder + day.toString(u"/yyyy-MMM-dd'.log'"_s)));
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write(DayLog(day, seed));
    }
    std::vector<CDayFile> Files() const {
        return ListDayFiles(m_dir->filePath(u"LogData"_s), m_dir->filePath(u"OldData"_s));
    }
    QString IndexFile() const { return m_dir->filePath(u"index/sessions.cwidx"_s); }

    std::unique_ptr<QTemporaryDir> m_dir;
    const QDate m_first{2026, 3, 28};
};

void TestSessionIndex::init() {
    m_dir = std::make_unique<QTemporaryDir>();
    QDir(m_dir->path()).mkpath(u"LogData"_s);
    QDir(m_dir->path()).mkpath(u"OldData"_s);
    WriteDay(u"OldData"_s, m_first, 0);
    for (int d = 1; d < 4; ++d)
        WriteDay(u"LogData"_s, m_first.addDays(d), d);
    // The same day in both folders: LogData's wins, as it holds the later write.
    WriteDay(u"OldData"_s, m_first.addDays(3), 7);
}

void TestSessionIndex::searchMatchesLoader_data() {
    QTest::addColumn<int>("kind");
    QTest::addColumn<QStringList>("names"); // server, port, domain, group, user
    QTest::addColumn<int>("action");
    QTest::addColumn<int>("reason");
    QTest::addColumn<int>("from"); // days after the first, -1 open
    QTest::addColumn<int>("to");
    QTest::newRow("all") << 0 << QStringList{} << -1 << -1 << -1 << -1;
    QTest::newRow("server") << 1 << QStringList{u"srv2"_s} << -1 << -1 << -1 << -1;
    QTest::newRow("port") << 3 << QStringList{u"PDC1"_s, u"com2"_s} << -1 << -1 << 1 << 2;
    QTest::newRow("user") << 8 << QStringList{{}, {}, u"CORP"_s, {}, u"ALICE"_s} << -1 << -1 << -1 << -1;
    QTest::newRow("domain") << 9 << QStringList{{}, {}, u"corp"_s} << -1 << -1 << 0 << 0;
    QTest::newRow("group") << 10 << QStringList{{}, {}, u"CORP"_s, u"Dialers"_s} << -1 << -1 << -1 << -1;
    QTest::newRow("refused") << 0 << QStringList{} << int(CwLog::Denied) << -1 << -1 << -1;
    QTest::newRow("reason") << 8 << QStringList{{}, {}, u"X"_s, {}, u"carol"_s} << -1 << 2 << 2 << -1;
    QTest::newRow("range without data") << 0 << QStringList{} << -1 << -1 << 10 << 20;
}

void TestSessionIndex::searchMatchesLoader() {
    QFETCH(int, kind);
    QFETCH(QStringList, names);
    QFETCH(int, action);
    QFETCH(int, reason);
    QFETCH(int, from);
    QFETCH(int, to);
    names.resize(5);
    CTestConsole console([](CSiteWriter& w) {
        w.AddHost(u"PDC1"_s);
        w.AddDomain(u"CORP"_s, u"PDC1"_s);
        w.AddGroup(u"CORP"_s, u"Dialers"_s, {u"alice"_s, u"BOB"_s});
    });
    CSessionQuery query{CLogFilter::ForSelection({kind, names[0], names[1], names[2], names[3], names[4]},
                                                 console.Environment().Network(), console.Prompter()),
                        from < 0 ? QDate() : m_first.addDays(from), to < 0 ? QDate() : m_first.addDays(to),
                        action, reason};
    CSessionIndex index;
    QString notice, error;
    QVERIFY2(index.Open(IndexFile(), &notice, &error), qPrintable(error));
    const auto files = Files();
    QCOMPARE(index.Refresh(files).indexed, 4);
    const CSessionAnswer answer = index.Search(query, files, kShifts);
    QVERIFY2(answer.error.isEmpty(), qPrintable(answer.error));
    const QStringList expected = Loaded(files, query);
    QCOMPARE(Found(answer), expected);
    QVERIFY(kind == 0 || qint64(answer.store->Count()) < index.Events());
    QCOMPARE(answer.missing.size(), 0u);

    // Sorted by user in the log view's model, both lists agree row for row.
    CLogModel model;
    model.Fill(answer.store, CLogFilter());
    model.SortByColumn(5);
    QStringList sorted;
    for (int row = 0; row < model.rowCount(); ++row)
        sorted << Fields(answer.store->Record(model.RecordAt(row)));
    QStringList reference = expected;
    std::stable_sort(reference.begin(), reference.end(), [](const QString& a, const QString& b) {
        return a.section(u'|', 2, 2).compare(b.section(u'|', 2, 2), Qt::CaseInsensitive) < 0;
    });
    QCOMPARE(sorted, reference);
}

void TestSessionIndex::changedAndRemovedDays() {
    CSessionIndex index;
    QString notice, error;
    QVERIFY(index.Open(IndexFile(), &notice, &error));
    QCOMPARE(index.Refresh(Files()).indexed, 4);
    const qint64 before = index.Events();
    // The service rewrites one day with more events and an older day is archived away.
    QByteArray longer = DayLog(m_first.addDays(2), 5) + "[NEW\\COM9]\r\n5=C_CORP\\zed\r\n";
    QFile day(m_dir->filePath(m_first.addDays(2).toString(u"'LogData/'yyyy-MMM-dd'.log'"_s)));
    QVERIFY(day.open(QIODevice::WriteOnly) && day.write(longer) == longer.size());
    day.close();
    QVERIFY(QFile::remove(m_dir->filePath(m_first.toString(u"'OldData/'yyyy-MMM-dd'.log'"_s))));

    auto files = Files();
    const CSessionAnswer stale = index.Search({}, files);
    QCOMPARE(stale.missing, std::vector<QDate>{m_first.addDays(2)});
    const CSessionIndex::Refreshed refreshed = index.Refresh(files);
    QCOMPARE(refreshed.indexed, 1);
    QCOMPARE(refreshed.removed, 1);
    QCOMPARE(index.Events(), before - 36 + 1);
    QCOMPARE(Found(index.Search({}, files, kShifts)), Loaded(files, {}));
}

void TestSessionIndex::deletedIndexRebuilds() {
    const auto files = Files();
    const CSessionQuery query{{}, m_first.addDays(1), {}, int(CwLog::Disconnect), -1};
    QStringList first;
    {
        CSessionIndex index;
        QString notice, error;
        QVERIFY(index.Open(IndexFile(), &notice, &error));
        index.Refresh(files);
        first = Found(index.Search(query, files, kShifts));
    }
    QVERIFY(QFile::remove(IndexFile()));
    CSessionIndex index;
    QString notice, error;
    QVERIFY(index.Open(IndexFile(), &notice, &error));
    QCOMPARE(notice, QString());
    QCOMPARE(index.Search(query, files).missing.size(), 3u);
    QCOMPARE(index.Refresh(files).indexed, 4);
    QCOMPARE(Found(index.Search(query, files, kShifts)), first);
    QVERIFY(!first.isEmpty());
}

void TestSessionIndex::unusableIndexSetAside_data() {
    QTest::addColumn<QByteArray>("sql"); // run on a new SQLite file; empty: garbage bytes instead
    QTest::addColumn<QString>("why");
    QTest::newRow("damaged") << QByteArray() << u"it is damaged"_s;
    QTest::newRow("another version") << QByteArray("PRAGMA application_id=1129793880; PRAGMA user_version=9;"
                                                   "CREATE TABLE day(x);")
                                     << u"another version of the program (9)"_s;
    QTest::newRow("another program") << QByteArray("CREATE TABLE notes(x); INSERT INTO notes VALUES(1);")
                                     << u"not a session index"_s;
}

void TestSessionIndex::unusableIndexSetAside() {
    QFETCH(QByteArray, sql);
    QFETCH(QString, why);
    QDir().mkpath(QFileInfo(IndexFile()).path());
    QByteArray old;
    if (sql.isEmpty()) {
        old = QByteArray("SQLite format 3") + QByteArray(4096, '\x5a');
        QFile file(IndexFile());
        QVERIFY(file.open(QIODevice::WriteOnly) && file.write(old) == old.size());
    } else {
        sqlite3* db = nullptr;
        QCOMPARE(sqlite3_open(QFile::encodeName(IndexFile()).constData(), &db), SQLITE_OK);
        QCOMPARE(sqlite3_exec(db, sql.constData(), nullptr, nullptr, nullptr), SQLITE_OK);
        sqlite3_close(db);
        QFile file(IndexFile());
        QVERIFY(file.open(QIODevice::ReadOnly));
        old = file.readAll();
    }
    CSessionIndex index;
    QString notice, error;
    QVERIFY2(index.Open(IndexFile(), &notice, &error), qPrintable(error));
    QVERIFY2(notice.contains(why) && notice.contains(u"set aside"_s), qPrintable(notice));
    QFile aside(IndexFile() + u".bad"_s);
    QVERIFY(aside.open(QIODevice::ReadOnly));
    QCOMPARE(aside.readAll(), old);
    const auto files = Files();
    QCOMPARE(index.Refresh(files).indexed, 4);
    QCOMPARE(Found(index.Search({}, files, kShifts)), Loaded(files, {}));
}

void TestSessionIndex::damagedRunsAnswerNothing() {
    const auto files = Files();
    {
        CSessionIndex index;
        QString notice, error;
        QVERIFY(index.Open(IndexFile(), &notice, &error));
        QCOMPARE(index.Refresh(files).indexed, 4);
    }
    sqlite3* db = nullptr;
    QCOMPARE(sqlite3_open(QFile::encodeName(IndexFile()).constData(), &db), SQLITE_OK);
    QCOMPARE(sqlite3_exec(db, "UPDATE run SET events = x'ff' WHERE user = (SELECT min(user) FROM run)",
                          nullptr, nullptr, nullptr),
             SQLITE_OK);
    sqlite3_close(db);
    CSessionIndex index;
    QString notice, error;
    QVERIFY(index.Open(IndexFile(), &notice, &error));
    const CSessionAnswer answer = index.Search({}, files, kShifts);
    QVERIFY(!answer.store);
    QVERIFY2(answer.error.contains(u"damaged"_s), qPrintable(answer.error));
}

QTEST_MAIN(TestSessionIndex)
#include "tst_sessionindex.moc"
