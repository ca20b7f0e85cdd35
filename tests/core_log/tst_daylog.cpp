// Day logs through the document on a test site: the value forms, the reload
// test, day navigation, the time-zone correction, the load's guard and status,
// and the bulk reading against the engine read key by key.
#include "core/log/dayreader.h"
#include "support/testconsole.h"

#include <QtTest>

#include <atomic>
#include <thread>

using namespace Qt::StringLiterals;

namespace {

// Shows what the document reports; can act when a section is being processed.
class CStatusLog final : public IFrame {
public:
    QStringList texts;
    std::function<void()> onProcessing;
    void SetStatus(const QString& text) override {
        texts << text;
        if (text.startsWith(u"Processing"_s) && onProcessing)
            onProcessing();
    }
    void RefreshCaption() override {}
    void ShowSplash(bool) override {}
    void BeginWait() override {}
    void EndWait() override {}
};

QString Describe(const LogRecord& r) {
    const auto n = [](qint64 v) {
        return QString::number(v);
    };
    return QStringList{r.server,     r.port,         n(r.time),   n(r.action), r.user,
                       n(r.lasted),  n(r.ipAddress), n(r.reason), r.ipx,       r.netbios,
                       n(r.bytesIn), n(r.bytesOut),  r.info}
        .join(u'|');
}

QStringList Describe(const CLogStore& store) {
    QStringList out;
    for (std::size_t i = 0; i < store.Count(); ++i)
        out << Describe(store.Record(i));
    return out;
}

// The console's way through the engine: section list, key lists, one value per key.
QStringList ReadKeyByKey(OCL::Ini::Files& files, const std::filesystem::path& path) {
    CLogStore store;
    const auto skipped = [](const std::string& text) {
        return text.empty() || text.front() == '*';
    };
    const std::vector<std::string> sections = files.SectionNames(path);
    for (const std::string& section : sections) {
        if (skipped(sections.front()))
            break;
        const std::vector<std::string> keys = files.KeyNames(path, section);
        if (keys.empty() || skipped(keys.front()))
            continue;
        const CwLog::LogSection split = CwLog::SplitSection(section);
        const std::uint32_t channel = store.AddChannel(split.server, split.port);
        for (const std::string& key : keys)
            if (const std::string value = files.GetString(path, section, key, "*"); !skipped(value))
                store.Add(channel, CwLog::ReadInt32(key), CwLog::ParseLogValue(value));
    }
    store.Finish();
    return Describe(store);
}

} // namespace

class TestDayLog : public QObject {
    Q_OBJECT
private slots:
    void initTestCase();
    void valueForms_data();
    void valueForms();
    void reload();
    void guardAndRewrite();
    void navigate_data();
    void navigate();
    void timeZoneCorrection();
    void sameAsKeyByKey_data();
    void sameAsKeyByKey();

private:
    QString LogFolder() { return m_console->Writer().SharePath(u"PDC1"_s, u"CW_NT_DB"_s) + u"/LogData"_s; }
    void WriteDay(const QByteArray& bytes, const QString& name = u"2026-Nov-23.log"_s);
    qsizetype LoadDay(int year = 2026, int month = 11, int day = 23);

    CStatusLog m_status;
    std::unique_ptr<CTestConsole> m_console;
};

void TestDayLog::initTestCase() {
    // Daylight saving changes on 29 March and 25 October 2026 there.
    qputenv("TZ", "Europe/Berlin");
    tzset();
    m_console = std::make_unique<CTestConsole>([](CSiteWriter& w) {
        CTestConsole::AddServer(w, u"PDC1"_s, u"RAS"_s, u"4.0"_s, 1, true);
        CTestConsole::AddServer(w, u"SRV2"_s, u"RAS"_s, u"4.0"_s, 1, false, u"PDC1"_s);
        w.SetRegDword(u"SRV2"_s,
                      u"HKEY_LOCAL_MACHINE\\System\\CurrentControlSet\\Control\\TimeZoneInformation"_s,
                      u"ActiveTimeBias"_s, quint32(-60));
    });
    QVERIFY(m_console->FetchAll());
    m_console->Doc().SetFrame(&m_status);
}

void TestDayLog::WriteDay(const QByteArray& bytes, const QString& name) {
    QVERIFY(QDir().mkpath(LogFolder()));
    QVERIFY(
        m_console->Files().WriteAll(QString(LogFolder() + u'/' + name).toStdString(), bytes.toStdString()));
}

qsizetype TestDayLog::LoadDay(int year, int month, int day) {
    m_console->Doc().NavigateTo(year, month, day);
    m_console->Doc().LoadLogRecords(0);
    return qsizetype(m_console->Doc().LogRecords()->Count());
}

void TestDayLog::valueForms_data() {
    QTest::addColumn<QByteArray>("line");
    QTest::addColumn<QString>(
        "expected"); // server|port|time|action|user|lasted|ip|reason|ipx|netbios|in|out|info
    const QByteArray section = "[SRV1\\RAS\\COM1]\r\n";
    QTest::newRow("hang-up") << section + "100=H3600_DOM\\alice?3232235777"
                             << u"SRV1\\RAS|COM1|100|0|DOM\\alice|3600|3232235777|255|||-1|-1|"_s;
    QTest::newRow("hang-up, details") << section + "100=H60_bob?0?9:0000:WS01:1000:2000"
                                      << u"SRV1\\RAS|COM1|100|0|bob|60|0|9|0000|WS01|1000|2000|"_s;
    QTest::newRow("hang-up, one colon")
        << section + "100=H60_bob?0?1:" << u"SRV1\\RAS|COM1|100|0|bob|60|0|1|||-1|-1|"_s;
    // The reason is read after the last '?', here the one that marks "no NetBIOS name".
    QTest::newRow("no NetBIOS") << section + "100=H5_u?1?2:IPX:?WS:3:4"
                                << u"SRV1\\RAS|COM1|100|0|u|5|1|0|IPX||3|4|"_s;
    QTest::newRow("denied, reason") << section + "100=N_carol?4"
                                    << u"SRV1\\RAS|COM1|100|2|carol|0|0|4|||-1|-1|"_s;
    QTest::newRow("denied") << section + "100=N_carol" << u"SRV1\\RAS|COM1|100|2|carol|0|0|255|||-1|-1|"_s;
    QTest::newRow("connect") << section + "100=C_dave*info text"
                             << u"SRV1\\RAS|COM1|100|1|dave|0|0|255|||-1|-1|info text"_s;
    QTest::newRow("unknown kind") << section + "100=Xdave" << u"SRV1\\RAS|COM1|100|-1||0|0|255|||-1|-1|"_s;
    QTest::newRow("non-numeric key") << section + "abc=C_x" << u"SRV1\\RAS|COM1|0|1|x|0|0|255|||-1|-1|"_s;
    QTest::newRow("over 1,000 characters")
        << section + "100=C_eve*" + QByteArray(1200, 'x') + "?1"
        << u"SRV1\\RAS|COM1|100|1|eve|0|0|255|||-1|-1|"_s + QString(55, u'x');
    QTest::newRow("no backslash") << QByteArray("[SRV1]\r\n100=C_x") << u"||100|1|x|0|0|255|||-1|-1|"_s;
    QTest::newRow("Windows-1252") << section + "100=C_DOM\\j\xF6rg"
                                  << u"SRV1\\RAS|COM1|100|1|DOM\\j\u00F6rg|0|0|255|||-1|-1|"_s;
}

void TestDayLog::valueForms() {
    QFETCH(QByteArray, line);
    QFETCH(QString, expected);
    WriteDay(line + "\r\n");
    LoadDay(2026, 11, 22); // so the next load does not take the file for unchanged
    QCOMPARE(LoadDay(), 1);
    QCOMPARE(Describe(m_console->Doc().LogRecords()->Record(0)), expected);
}

void TestDayLog::reload() {
    CCwadminDoc& doc = m_console->Doc();
    m_console->Prompter().Clear();
    // No LogData folder yet, then no file for the day: an empty day, quietly.
    QDir(LogFolder()).removeRecursively();
    m_status.texts.clear();
    QCOMPARE(LoadDay(2026, 11, 22), 0);
    QCOMPARE(m_status.texts, (QStringList{u"Loading Log Records..."_s, u"Ready"_s}));
    QVERIFY(doc.WaitProgressEvent().IsSet());
    QVERIFY(m_console->Prompter().Boxes().isEmpty());

    WriteDay("[PDC1\\COM1]\r\n1=C_a\r\n2=H1_a?0\r\n");
    m_status.texts.clear();
    QCOMPARE(LoadDay(), 2);
    QCOMPARE(m_status.texts, (QStringList{u"Loading Log Records..."_s,
                                          u"Processing logs from PDC1\\COM1, please wait..."_s, u"Ready"_s}));
    const auto first = doc.LogRecords();
    QCOMPARE(LoadDay(), 2);
    QCOMPARE(doc.LogRecords(), first); // not read again
    WriteDay("[PDC1\\COM1]\r\n1=C_a\r\n2=H1_a?0\r\n3=C_b\r\n");
    QCOMPARE(LoadDay(), 3);
    QCOMPARE(doc.CreateLogFileName(QDateTime(QDate(2000, 1, 5), QTime(0, 30)).toSecsSinceEpoch()),
             u"\\\\PDC1\\CW_NT_DB\\LogData\\2000-Jan-05.log"_s);
}

void TestDayLog::guardAndRewrite() {
    CCwadminDoc& doc = m_console->Doc();
    // A load asked for while one runs is refused, not nested.
    WriteDay("[PDC1\\COM2]\r\n1=C_a\r\n");
    LoadDay(2026, 11, 22);
    int nested = -1;
    m_status.onProcessing = [&] {
        nested = doc.LoadLogRecords(0) ? 1 : 0;
    };
    QCOMPARE(LoadDay(), 1);
    m_status.onProcessing = {};
    QCOMPARE(nested, 0);

    // The service replacing the file during loads: each load sees one whole version.
    const QByteArray small = "[PDC1\\COM1]\r\n1=C_a\r\n",
                     big = "[PDC1\\COM1]\r\n" + QByteArray("9=C_b\r\n").repeated(5) + "10=C_c\r\n";
    std::atomic<bool> stop{false};
    OCL::Ini::Files writerFiles;
    const std::string path = QString(LogFolder() + u"/2026-Nov-23.log"_s).toStdString();
    std::thread writer([&] {
        for (int i = 0; !stop; ++i)
            writerFiles.WriteAll(path, (i % 2 ? big : small).toStdString());
    });
    for (int i = 0; i < 50; ++i) {
        const qsizetype count = LoadDay();
        QVERIFY2(count == 1 || count == 2, qPrintable(QString::number(count)));
    }
    stop = true;
    writer.join();
}

void TestDayLog::navigate_data() {
    QTest::addColumn<QDate>("from");
    QTest::addColumn<int>("direction");
    QTest::addColumn<QDate>("to");
    QTest::newRow("back from 1 March, leap year") << QDate(2024, 3, 1) << 1 << QDate(2024, 2, 29);
    QTest::newRow("back from 1 March") << QDate(2026, 3, 1) << 1 << QDate(2026, 2, 28);
    QTest::newRow("into the new year") << QDate(2026, 12, 31) << 2 << QDate(2027, 1, 1);
    QTest::newRow("over the spring change") << QDate(2026, 3, 29) << 2 << QDate(2026, 3, 30);
    QTest::newRow("back over the spring change") << QDate(2026, 3, 30) << 1 << QDate(2026, 3, 29);
    QTest::newRow("over the autumn change") << QDate(2026, 10, 25) << 2 << QDate(2026, 10, 26);
    QTest::newRow("back over the autumn change") << QDate(2026, 10, 25) << 1 << QDate(2026, 10, 24);
}

void TestDayLog::navigate() {
    QFETCH(QDate, from);
    QFETCH(int, direction);
    QFETCH(QDate, to);
    CCwadminDoc& doc = m_console->Doc();
    // The month in the file name is English whatever the user's language.
    QLocale::setDefault(QLocale(QLocale::German, QLocale::Germany));
    doc.NavigateTo(from.year(), from.month(), from.day());
    doc.Navigate(direction);
    QCOMPARE(QDate(doc.ShownYear(), doc.ShownMonth(), doc.ShownDay()), to);
    const QString name = QLocale(QLocale::English).toString(to, u"yyyy-MMM-dd"_s);
    QCOMPARE(doc.CreateCurrentFileName(), u"\\\\PDC1\\CW_NT_DB\\LogData\\%1.log"_s.arg(name));
    QLocale::setDefault(QLocale::c());
}

void TestDayLog::timeZoneCorrection() {
    // SRV2's clock is an hour east of the console's (bias -60 against 0).
    WriteDay("[PDC1\\COM1]\r\n1000=C_a\r\n[srv2\\COM1]\r\n1000=C_a\r\n");
    QCOMPARE(LoadDay(), 2);
    QCOMPARE(m_console->Doc().LogRecords()->Record(0).time, 1000);
    QCOMPARE(m_console->Doc().LogRecords()->Record(1).time, 4600);
}

void TestDayLog::sameAsKeyByKey_data() {
    QTest::addColumn<QByteArray>("bytes");
    QTest::newRow("duplicate sections and keys") << QByteArray(
        "[A\\1]\r\n1=C_x\r\n1=C_dup\r\n[B\\2]\r\n2=C_y\r\n[a\\1]\r\n3=C_later\r\n[B\\2]\r\n4=C_z\r\n");
    QTest::newRow("quotes, blanks, comments") << QByteArray(
        "junk before\r\n[ A\\1 ]\r\n ; note\r\n 5 = \"C_q*x\" \r\n6=\"\"\r\n7= *skip\r\n\r\n8=C_ok");
    QTest::newRow("line without '=' hides its name") << QByteArray("[A\\1]\r\n5\r\n5=C_x\r\n6=C_y\r\n");
    QTest::newRow("first key skipped") << QByteArray("[A\\1]\r\n*=C_x\r\n2=C_y\r\n[B\\1]\r\n3=C_z\r\n");
    QTest::newRow("first section skipped") << QByteArray("[*A]\r\n1=C_x\r\n[B\\1]\r\n2=C_y\r\n");
    QTest::newRow("damaged lines") << QByteArray(
        "[A\\1]\r\nno equals\r\n=C_noname\r\n[broken\r\n9=C_a\r\n\r[C\\3]\n1=H");
    static const char nul[] = "[A\\1]\r\n1=C_a\0b\r\n\0\0\0\0\r\n2=C_c\r\n[B\\\0x]\r\n3=N_d?1";
    QTest::newRow("NUL bytes") << QByteArray(nul, sizeof nul - 1);
    QTest::newRow("binary") << QByteArray(
        "\xFF\xFE[A\\1]\r\n1=\x01\x02\x03\r\n2=C_\x80\x81\xFF\r\n[\xC4\\\xE4]\r\n3=C_x");
    QTest::newRow("long values") << QByteArray("[A\\1]\r\n1=C_") + QByteArray(5000, 'u') + "\r\n2=H" +
                                        QByteArray(3000, '9') + "_v?1?2:" + QByteArray(2000, ':') + "\r\n";
    QTest::newRow("no sections") << QByteArray("1=C_a\r\n2=C_b\r\n");
}

void TestDayLog::sameAsKeyByKey() {
    QFETCH(QByteArray, bytes);
    QTemporaryDir dir;
    const std::filesystem::path path = dir.filePath(u"day.log"_s).toStdString();
    OCL::Ini::Files files;
    QVERIFY(files.WriteAll(path, bytes.toStdString()));
    files.Forget();
    std::string read;
    QVERIFY(CDayReader::ReadFile(path, &read));
    QCOMPARE(Describe(*CDayReader::Parse(std::move(read))), ReadKeyByKey(files, path));
}

QTEST_GUILESS_MAIN(TestDayLog)
#include "tst_daylog.moc"
