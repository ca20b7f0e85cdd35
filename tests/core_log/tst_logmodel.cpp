// The log view's model: cells by the column mask, images and texts, the
// sort rule, the filters on a test site's network, the clipboard and the
// saved file.
#include "core/log/dayreader.h"
#include "core/log/logmodel.h"
#include "support/testconsole.h"

#include <QAbstractItemModelTester>
#include <QtTest>

using namespace Qt::StringLiterals;

namespace {

std::shared_ptr<const CLogStore> Store(const QByteArray& bytes) {
    return CDayReader::Parse(bytes.toStdString());
}

// Keeps what the save dialog was asked and answers with a path.
class CSavePrompter final : public OCL::IPrompter {
public:
    QString answer, dialog; // caption|filter|suffix
    QStringList boxes;
    Answer Message(const QString& text, const QString&, Icon icon, Buttons) override {
        boxes << text + (icon == Icon::Error ? u" [stop]"_s : QString());
        return Ok;
    }
    QString SaveFileName(const QString& c, const QString&, const QString& f, const QString& s) override {
        dialog = QStringList{c, f, s}.join(u'|');
        return answer;
    }
    QString OpenFileName(const QString&, const QString&, const QString&) override { return {}; }
};

QStringList Column(const CLogModel& model, int column) {
    QStringList texts;
    for (int row = 0; row < model.rowCount(); ++row)
        texts << model.CellText(row, column);
    return texts;
}

} // namespace

class TestLogModel : public QObject {
    Q_OBJECT
private slots:
    void cells_data();
    void cells();
    void sortRule();
    void filters_data();
    void filters();
    void copyAndSave();
};

void TestLogModel::cells_data() {
    QTest::addColumn<QByteArray>("value");
    QTest::addColumn<quint32>("mask");
    QTest::addColumn<int>("column");
    QTest::addColumn<bool>("plainSeconds");
    QTest::addColumn<QString>("text");
    QTest::addColumn<int>("image");
    const quint32 all = 0xFFFFFFFF;
    QTest::newRow("ordinary hang-up") << QByteArray("H60_u?1") << all << 4 << false << QString() << 3;
    QTest::newRow("idle time-out") << QByteArray("H60_u?1?9:") << all << 4 << false << u"Idle Timeout"_s << 0;
    QTest::newRow("denied") << QByteArray("N_u?4") << all << 4 << false << u"User already connected"_s << 2;
    QTest::newRow("connect") << QByteArray("C_u*hello") << all << 4 << false << u"hello"_s << 1;
    QTest::newRow("unknown kind") << QByteArray("Xu") << all << 3 << false << QString() << -1;
    QTest::newRow("lasted") << QByteArray("H3725_u?1") << all << 9 << false << u"1\"02'05"_s << 3;
    QTest::newRow("lasted, seconds") << QByteArray("H3725_u?1") << all << 9 << true << u"3725"_s << 3;
    QTest::newRow("lasted zero") << QByteArray("H0_u?1") << all << 9 << false << u"0\"00'00"_s << 3;
    QTest::newRow("connect lasts nothing") << QByteArray("C_u") << all << 9 << false << QString() << 1;
    QTest::newRow("bytes unknown") << QByteArray("H1_u?1?0:a:b:-1:999") << all << 10 << false << QString()
                                   << 3;
    QTest::newRow("bytes 999") << QByteArray("H1_u?1?0:a:b:-1:999") << all << 11 << false << u"999"_s << 3;
    QTest::newRow("bytes 1000") << QByteArray("H1_u?1?0:a:b:1000:0") << all << 10 << false << u"1,000"_s << 3;
    QTest::newRow("bytes 1234567") << QByteArray("H1_u?1?0:a:b:0:1234567") << all << 11 << false
                                   << u"1,234,567"_s << 3;
    QTest::newRow("address") << QByteArray("H1_u?3232235777") << all << 6 << false << u"192.168.1.1"_s << 3;
    // Without the IP bit the NetBIOS name moves into the IP column's place.
    QTest::newRow("mask without IP") << QByteArray("H1_u?1?0:IPX:WS01:1:2") << (all & ~64u) << 6 << false
                                     << u"WS01"_s << 3;
}

void TestLogModel::cells() {
    QFETCH(QByteArray, value);
    QFETCH(quint32, mask);
    QFETCH(int, column);
    QFETCH(bool, plainSeconds);
    QFETCH(QString, text);
    QFETCH(int, image);
    CLogModel model;
    model.SetColumns(mask);
    model.SetFormat({{}, plainSeconds});
    model.Fill(Store("[S\\P]\r\n100=" + value), CLogFilter());
    QCOMPARE(model.index(0, column).data().toString(), text);
    QCOMPARE(model.index(0, 0).data(CLogModel::ImageRole).toInt(), image);
    QCOMPARE(model.headerData(6, Qt::Horizontal).toString(), mask & 64 ? u"IP"_s : u"NetBIOS"_s);
}

void TestLogModel::sortRule() {
    CLogModel model;
    QAbstractItemModelTester tester(&model, QAbstractItemModelTester::FailureReportingMode::QtTest);
    model.Fill(
        Store("[S\\COM10]\r\n3=C_a\r\n[S\\LPT]\r\n1=C_b\r\n[S\\123]\r\n4=C_c\r\n[S\\COM2]\r\n2=C_D\r\n"),
        CLogFilter());
    // Port numbers where both names end in one (an all-digit name does not), text otherwise.
    model.SortByColumn(2);
    QCOMPARE(Column(model, 2), (QStringList{u"123"_s, u"COM2"_s, u"COM10"_s, u"LPT"_s}));
    model.SortByColumn(2);
    QCOMPARE(Column(model, 2), (QStringList{u"LPT"_s, u"COM10"_s, u"COM2"_s, u"123"_s}));
    // One direction for all columns: numbers come largest first on +1, names A to Z.
    QCOMPARE(model.SortDirection(), 1);
    model.SortByColumn(0);
    QCOMPARE(Column(model, 0), (QStringList{u"4"_s, u"3"_s, u"2"_s, u"1"_s}));
    model.SortByColumn(5);
    QCOMPARE(Column(model, 5), (QStringList{u"D"_s, u"c"_s, u"b"_s, u"a"_s}));
    model.SetColumns(1);
    QCOMPARE(model.columnCount(), 1);
}

void TestLogModel::filters_data() {
    QTest::addColumn<int>("kind");
    QTest::addColumn<QStringList>("names"); // server, port, domain, group, user
    QTest::addColumn<QString>("caption");
    QTest::addColumn<QString>("users");
    QTest::newRow("all") << 7 << QStringList{} << u"(all available records)"_s
                         << u"CORP\\alice,corp\\bob,OTHER\\alice,carol"_s;
    QTest::newRow("server") << 1 << QStringList{u"pdc1"_s} << u"(Server pdc1)"_s
                            << u"CORP\\alice,corp\\bob"_s;
    QTest::newRow("port") << 3 << QStringList{u"SRV2"_s, u"com1"_s} << u"(Port SRV2\\com1)"_s
                          << u"OTHER\\alice,carol"_s;
    QTest::newRow("user") << 8 << QStringList{{}, {}, u"CORP"_s, {}, u"ALICE"_s} << u"(User CORP\\ALICE)"_s
                          << u"CORP\\alice,OTHER\\alice"_s;
    QTest::newRow("user without domain part")
        << 8 << QStringList{{}, {}, u"X"_s, {}, u"carol"_s} << u"(User X\\carol)"_s << QString();
    QTest::newRow("domain") << 9 << QStringList{{}, {}, u"Corp"_s} << u"(Domain Corp)"_s
                            << u"CORP\\alice,corp\\bob"_s;
    QTest::newRow("group") << 10 << QStringList{{}, {}, u"CORP"_s, u"Dialers"_s} << u"(Group CORP\\Dialers)"_s
                           << u"CORP\\alice,corp\\bob"_s;
    QTest::newRow("group without controller")
        << 11 << QStringList{{}, {}, u"NODC"_s, u"Staff"_s} << u"(Group NODC\\Staff)"_s << QString();
}

void TestLogModel::filters() {
    QFETCH(int, kind);
    QFETCH(QStringList, names);
    QFETCH(QString, caption);
    QFETCH(QString, users);
    names.resize(5);
    CTestConsole console([](CSiteWriter& w) {
        w.AddHost(u"PDC1"_s);
        w.AddDomain(u"CORP"_s, u"PDC1"_s);
        w.AddGroup(u"CORP"_s, u"Dialers"_s, {u"alice"_s, u"BOB"_s, u"dave"_s});
        w.AddDomain(u"NODC"_s, {});
    });
    const CLogFilter filter =
        CLogFilter::ForSelection({kind, names[0], names[1], names[2], names[3], names[4]},
                                 console.Environment().Network(), console.Prompter());
    CLogModel model;
    model.Fill(Store("[PDC1\\COM1]\r\n1=C_CORP\\alice\r\n[PDC1\\COM2]\r\n1=C_corp\\bob\r\n"
                     "[SRV2\\COM1]\r\n1=C_OTHER\\alice\r\n2=C_carol\r\n"),
               filter);
    QCOMPARE(model.Caption(), caption);
    QCOMPARE(Column(model, 5).join(u','), users);
    const bool noController = names[2] == u"NODC"_s;
    QCOMPARE(console.Prompter().Texts(),
             noController ? QStringList{u"Error getting PDC (2453)"_s} : QStringList{});
    if (noController)
        QCOMPARE(console.Prompter().Boxes().front().icon, OCL::IPrompter::Icon::Error);
}

void TestLogModel::copyAndSave() {
    CLogModel model;
    model.SetColumns(1 | 2 | 4 | 16 | 512);
    model.SetFormat({[](qint64 time) { return u"t%1"_s.arg(time); }, false});
    model.Fill(Store("[S\\P]\r\n1=C_a*hi\r\n2=N_b?1\r\n3=H65_c?1\r\n"), CLogFilter());
    QItemSelection selection;
    selection.select(model.index(0, 0), model.index(0, 4));
    selection.select(model.index(2, 0), model.index(2, 4));
    const QString rows = u"t1,S,P,hi, ,\r\nt3,S,P, ,0\"01'05,\r\n"_s;
    QCOMPARE(model.CopyText(selection), rows);

    QTemporaryDir dir;
    CSavePrompter prompter;
    prompter.answer = dir.filePath(u"events.csv"_s);
    QVERIFY(model.Save(prompter, selection));
    QCOMPARE(prompter.dialog, u"Save Selected Events to File|Comma Separated File (*.csv)|csv"_s);
    QFile saved(prompter.answer);
    QVERIFY(saved.open(QIODevice::ReadOnly));
    const QList<QByteArray> lines = saved.readAll().split('\n');
    QCOMPARE(lines.size(), 4); // header, two rows, nothing after the last line end
    QCOMPARE(lines[0], QByteArray("Time/Date,Server,Port,Information,Lasted\r"));
    QCOMPARE(lines[1].split(','), (QList<QByteArray>{"t1", "S", "P", "hi", " ", "\r"}));
    QCOMPARE(lines[2].split(','), (QList<QByteArray>{"t3", "S", "P", " ", "0\"01'05", "\r"}));

    prompter.answer = dir.filePath(u"missing/events.csv"_s);
    QVERIFY(!model.Save(prompter, {}));
    QVERIFY(prompter.dialog.startsWith(u"Save All Events to File|"_s));
    QCOMPARE(prompter.boxes, QStringList{u"Error opening file for output. [stop]"_s});
}

QTEST_GUILESS_MAIN(TestLogModel)
#include "tst_logmodel.moc"
