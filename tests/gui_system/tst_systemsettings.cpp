// The "System Settings" sheet driven as an administrator would over a master
// server's data share: what each page shows and writes (read back by the
// profile-file rules), the database actions and their questions, and the
// simulated service acting on what was saved.
#include "core/pipe/servicepipeclient.h"
#include "gui/pages/archiving.h"
#include "gui/pages/systemsettings.h"
#include "gui/toolkit/propertysheet.h"
#include "ini/inifile.h"
#include "platform/ansi.h"
#include "support/testconsole.h"

#include <QCheckBox>
#include <QComboBox>
#include <QDir>
#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QProcess>
#include <QPushButton>
#include <QRadioButton>
#include <QSpinBox>
#include <QTreeWidget>
#include <QtTest>

using namespace Qt::StringLiterals;
using namespace OCL;
using Icon = IPrompter::Icon;

namespace {

const QString kMaster = u"PDC1"_s;

void Prepare(CSiteWriter& writer) {
    CTestConsole::AddServer(writer, kMaster, u"RAS"_s, u"4.0"_s, 2, true);
    writer.AddDomain(u"CORP"_s, kMaster);
    writer.AddUser(u"CORP"_s, u"alice"_s);
    writer.WriteShareFile(kMaster, u"CW_NT_DB"_s, u"callward.usr"_s, "[CORP\\alice]\r\nNoDuplicate=0\r\n");
    writer.WriteShareFile(
        kMaster, u"CW_NT_DB"_s, u"callward.hw"_s,
        "[PDC1\\COM2]\r\nMaxSessionTime=60\r\n[General]\r\nNotify2=30\r\nNotify2Text=Bye now\r\n");
}

QString Day(int daysAgo) {
    static const char* const months[] = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                         "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
    const QDate date = QDate::currentDate().addDays(-daysAgo);
    return u"%1-%2-%3"_s.arg(date.year())
        .arg(QLatin1StringView(months[date.month() - 1]))
        .arg(date.day(), 2, 10, QChar(u'0'));
}

struct CSystemSite {
    CSystemSite() : console(Prepare) {
        fetched = console.FetchAll();
        share = console.Writer().SharePath(kMaster, u"CW_NT_DB"_s);
    }
    std::unique_ptr<CPropertySheet> Sheet(const QString& page) {
        auto sheet = CreateSystemSettings(console.Doc(), nullptr);
        sheet->show();
        Show(sheet.get(), page);
        return sheet;
    }
    static void Show(CPropertySheet* sheet, const QString& page) {
        for (int i = 0; i < sheet->PageCount(); ++i)
            if (sheet->Page(i)->Title() == page)
                sheet->SetActivePage(i);
    }
    // A value of the hardware file by the profile-file rules; "<none>" when missing.
    QString Hw(const char* section, const char* key) {
        QFile file(share + u"/callward.hw"_s);
        const auto doc =
            Ini::Document::Parse(file.open(QIODevice::ReadOnly) ? file.readAll().toStdString() : "");
        const auto value = doc->Find(section, key);
        return value ? QString::fromStdString(Ansi::ToUtf8(*value)) : u"<none>"_s;
    }
    QString Read(const QString& name) {
        QFile file(share + u'/' + name);
        return file.open(QIODevice::ReadOnly)
                   ? QString::fromStdString(Ansi::ToUtf8(file.readAll().toStdString()))
                   : u"<none>"_s;
    }
    void Put(const QString& name, const QByteArray& bytes) {
        QDir(share).mkpath(QFileInfo(share + u'/' + name).path());
        QFile file(share + u'/' + name);
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write(bytes);
    }

    CTestConsole console;
    QString share;
    bool fetched = false;
};

QTreeWidgetItem* Find(QTreeWidget* tree, const QString& path) {
    QTreeWidgetItem* item = tree->topLevelItem(0);
    for (const QString& title : path.split(u'/', Qt::SkipEmptyParts)) {
        QTreeWidgetItem* next = nullptr;
        for (int i = 0; item && i < item->childCount(); ++i)
            if (item->child(i)->text(0) == title)
                next = item->child(i);
        item = next;
    }
    return item;
}

void Click(QAbstractButton* button) {
    QTest::mouseClick(button, Qt::LeftButton, {}, QPoint(6, button->height() / 2));
}

} // namespace

class TestSystemSettings : public QObject {
    Q_OBJECT
private slots:
    void sheet();
    void database_data();
    void database();
    void greetings();
    void notifications();
    void dailyReport();
    void serviceActs();
};

void TestSystemSettings::sheet() {
    CSystemSite site;
    QVERIFY(site.fetched);
    auto sheet = site.Sheet(u"Database"_s);
    QCOMPARE(sheet->windowTitle(), u"System Settings"_s);
    QVERIFY(sheet->HelpButton());
    QStringList titles;
    for (int i = 0; i < sheet->PageCount(); ++i)
        titles.append(sheet->Page(i)->Title());
    QCOMPARE(titles.join(u','), u"Database,Daily Report,Default Profile,Notifications,Greetings"_s);

    CTestConsole none;
    QVERIFY(!ShowSystemSettings(none.Doc(), nullptr));
    QCOMPARE(none.Prompter().Texts(),
             QStringList{u"Can't access system settings\nPlease wait for connection to master server"_s});
}

// files: "L:day=text" in LogData, "O:day=text" in OldData, "O!" an OldData that is no folder, other names
// in LogData. select: the item below the root ("C" current, "M" migrated, "/day"). act: button and answer.
// shown: the information text (when given) and whether Delete and Migrate are enabled. boxes: the texts
// shown, "||" between them. after: the day logs, sorted.
void Row(const char* name, const char* files, const char* select, const char* act, const char* shown,
         const char* boxes, const char* after) {
    QTest::newRow(name) << QString::fromUtf8(files) << QString::fromUtf8(select) << QString::fromUtf8(act)
                        << QString::fromUtf8(shown) << QString::fromUtf8(boxes) << QString::fromUtf8(after);
}

void TestSystemSettings::database_data() {
    for (const char* column : {"files", "select", "act", "shown", "boxes", "after"})
        QTest::addColumn<QString>(column);
    const char* moveBack = "Do you really want to move back all migrated (old) session data?";
    Row("empty LogData", "O:2000-Jan-01=aa", "C", "", "0 files, total of 0 bytes|off", "",
        "O:2000-Jan-01=aa");
    Row("two days, a text file", "L:2000-Jan-02=aaa|L:2000-Jan-01=bb|notes.txt", "C", "",
        "2 files, total of 5 bytes|on", "", "L:2000-Jan-01=bb|L:2000-Jan-02=aaa");
    Row("day size", "L:2000-Jan-02=aaa", "C/2000-Jan-02", "", "3 bytes|on", "", "L:2000-Jan-02=aaa");
    Row("migrate day onto existing", "L:2000-Jan-02=new|O:2000-Jan-02=old", "C/2000-Jan-02", "migrate -",
        "|on", "", "O:2000-Jan-02=old");
    Row("migrate all back", "O:2000-Jan-02=old|O:2000-Jan-03=x", "M", "migrate Yes", "|on", moveBack,
        "L:2000-Jan-02=old|L:2000-Jan-03=x");
    Row("failed copy keeps source", "L:2000-Jan-02=keep|O!", "C", "migrate Yes", "|on",
        "Do you really want to move all logged session data?||2000-Jan-02.log", "L:2000-Jan-02=keep");
    Row("no deletes nothing", "L:2000-Jan-02=a", "C", "delete No", "|on",
        "Do you really want to delete all logged session data\nthat Callwarden is using?", "L:2000-Jan-02=a");
    Row("no migrates nothing", "O:2000-Jan-02=a", "M", "migrate No", "|on", moveBack, "O:2000-Jan-02=a");
    Row("yes deletes old", "O:2000-Jan-02=a|L:2000-Jan-03=b", "M", "delete Yes", "|on",
        "Do you really want to delete all migrated (old) session data\nwithin Callwarden?",
        "L:2000-Jan-03=b");
    Row("day deleted unasked", "O:2000-Jan-02=a|O:2000-Jan-03=b", "M/2000-Jan-03", "delete -", "|on", "",
        "O:2000-Jan-02=a");
}

void TestSystemSettings::database() {
    QFETCH(QString, files);
    QFETCH(QString, select);
    QFETCH(QString, act);
    QFETCH(QString, shown);
    QFETCH(QString, boxes);
    QFETCH(QString, after);
    CSystemSite site;
    for (const char* in : {"/LogData", "/OldData"})
        QDir(site.share + QLatin1StringView(in)).removeRecursively();
    QDir(site.share).mkpath(u"LogData"_s);
    for (const QString& file : files.split(u'|'))
        if (file == u"O!")
            site.Put(u"OldData"_s, "not a folder");
        else
            site.Put(file[1] != u':' ? QString(u"LogData/"_s + file)
                                     : (file[0] == u'L' ? u"LogData/"_s : u"OldData/"_s) +
                                           file.mid(2).section(u'=', 0, 0) + u".log"_s,
                     file.section(u'=', 1).toLatin1());
    auto sheet = site.Sheet(u"Database"_s);
    auto* tree = sheet->findChild<QTreeWidget*>(u"databaseTree"_s);
    auto* info = sheet->findChild<QLabel*>(u"info"_s);
    QCOMPARE(info->text(), u"Database: \\\\PDC1\\CW_NT_DB"_s);
    const QString folder = select[0] == u'C' ? u"Current Session Data"_s : u"Migrated Session Data"_s;
    tree->setCurrentItem(Find(tree, folder + select.mid(1)));
    if (!shown.section(u'|', 0, 0).isEmpty())
        QCOMPARE(info->text(), shown.section(u'|', 0, 0));
    QCOMPARE(sheet->findChild<QPushButton*>(u"delete"_s)->isEnabled(), shown.endsWith(u"on"));
    QCOMPARE(sheet->findChild<QPushButton*>(u"migrate"_s)->isEnabled(), shown.endsWith(u"on"));
    if (!act.isEmpty()) {
        if (act.endsWith(u"Yes") || act.endsWith(u"No"))
            site.console.Prompter().Script({act.endsWith(u"Yes") ? IPrompter::Yes : IPrompter::No});
        Click(sheet->findChild<QPushButton*>(act.section(u' ', 0, 0)));
    }
    QStringList texts = site.console.Prompter().Texts();
    // The failure names the file kept, with the path of this test's site before it.
    if (texts.size() > 1 && texts[1].contains(boxes.section(u"||"_s, 1)))
        texts[1] = boxes.section(u"||"_s, 1);
    QCOMPARE(texts.join(u"||"_s), boxes);
    QStringList found;
    for (const QString& in : {u"LogData"_s, u"OldData"_s})
        for (const QString& name : QDir(site.share + u'/' + in).entryList({u"*.log"_s}, QDir::Files))
            found.append(in.left(1) + u':' + name.chopped(4) + u'=' + site.Read(in + u'/' + name));
    found.sort();
    QCOMPARE(found.join(u'|'), after);
    // The tree is rebuilt: the folder acted on shows what is left.
    if (!act.isEmpty() && select.size() == 1)
        QCOMPARE(Find(tree, folder)->childCount(), int(after.count(select == u"C" ? u"L:"_s : u"O:"_s)));
}

void TestSystemSettings::greetings() {
    CSystemSite site;
    auto sheet = site.Sheet(u"Greetings"_s);
    auto* rules = sheet->findChild<QTreeWidget*>(u"rules"_s);
    auto* text = sheet->findChild<QPlainTextEdit*>(u"ruleText"_s);
    QCOMPARE(rules->topLevelItem(2)->text(0), u"Message sent to users connecting on port with time-limit."_s);
    rules->topLevelItem(0)->setCheckState(0, Qt::Checked);
    rules->topLevelItem(2)->setCheckState(0, Qt::Checked);
    const QString long0 = u"Grüße aus dem Büro. "_s.repeated(60); // over 1,000 bytes
    text->setPlainText(long0);
    rules->setCurrentItem(rules->topLevelItem(2));
    text->setPlainText(u"Port limit applies"_s);
    Click(sheet->ApplyButton());
    QCOMPARE(site.Hw("Greetings", "RuleMask"), u"5"_s);
    QCOMPARE(site.Read(u"greet_0.txt"_s), long0);
    QCOMPARE(site.Read(u"greet_1.txt"_s), QString());
    QCOMPARE(site.Read(u"greet_2.txt"_s), u"Port limit applies"_s);
}

void TestSystemSettings::notifications() {
    CSystemSite site;
    auto sheet = site.Sheet(u"Notifications"_s);
    auto* on2 = sheet->findChild<QCheckBox*>(u"notify2"_s);
    QVERIFY(on2->isChecked());
    QCOMPARE(sheet->findChild<QLineEdit*>(u"notify2Text"_s)->text(), u"Bye now"_s);
    Click(on2);
    Click(sheet->findChild<QCheckBox*>(u"notify1"_s));
    QTest::keyClicks(sheet->findChild<QLineEdit*>(u"notify1Seconds"_s), u"-5x"_s);
    QTest::keyClicks(sheet->findChild<QLineEdit*>(u"notify1Text"_s), u"Soon"_s);
    Click(sheet->ApplyButton());
    QCOMPARE(site.Hw("General", "Notify2"), u"0"_s);
    QCOMPARE(site.Hw("General", "Notify2Text"), u"Bye now"_s);
    // No validation: the seconds are written as typed.
    QCOMPARE(site.Hw("General", "Notify1"), u"-5x"_s);
    QCOMPARE(site.Hw("General", "Notify1Text"), u"Soon"_s);
}

void TestSystemSettings::dailyReport() {
    CSystemSite site;
    auto sheet = site.Sheet(u"Daily Report"_s);
    QVERIFY(sheet->findChild<QRadioButton*>(u"reportOff"_s)->isChecked());
    auto* from = sheet->findChild<QLineEdit*>(u"from"_s);
    QVERIFY(from->text().contains(u'@'));
    Click(sheet->findChild<QRadioButton*>(u"reportFull"_s));
    sheet->findChild<QComboBox*>(u"hour"_s)->setCurrentIndex(23);
    QTest::keyClicks(sheet->findChild<QLineEdit*>(u"to"_s), u"admin@corp.example"_s);
    Click(sheet->ApplyButton());
    QTest::keyClicks(sheet->findChild<QLineEdit*>(u"server"_s), u"mail"_s);
    Click(sheet->ApplyButton());
    QCOMPARE(site.Hw("General", "DailyStatusEmailType"), u"2"_s);
    QCOMPARE(site.Hw("General", "DailyStatusEmailHour"), u"23"_s);
    QCOMPARE(site.Hw("General", "DailyStatusEmailTo"), u"admin@corp.example"_s);
    QCOMPARE(site.Hw("General", "DailyStatusEmailPOPServer"), u"mail"_s);
    QCOMPARE(site.Hw("General", "DailyStatusEmailFrom"), from->text());
    const auto boxes = site.console.Prompter().Boxes();
    QCOMPARE(boxes.size(), 1);
    QCOMPARE(boxes[0].caption, u"POP Server Information"_s);
    QCOMPARE(boxes[0].icon, Icon::Information);
    QVERIFY(boxes[0].text.contains(u"is logged on with on computer PDC1.\n\nIf you are not sure"_s));

    // A stored hour outside the day survives loading and applying.
    QVERIFY(site.console.Files().WriteString(QString(site.share + u"/callward.hw"_s).toStdString(), "General",
                                             "DailyStatusEmailHour", "31"));
    auto again = site.Sheet(u"Daily Report"_s);
    QVERIFY(again->findChild<QRadioButton*>(u"reportFull"_s)->isChecked());
    QTest::keyClicks(again->findChild<QLineEdit*>(u"to"_s), u"x"_s);
    Click(again->ApplyButton());
    QCOMPARE(site.Hw("General", "DailyStatusEmailHour"), u"31"_s);
}

// The spool's lines from the service of the master to alice: "<seconds>\t<text>".
QStringList ToAlice(const QString& root) {
    QFile file(root + u"/spool/messages.log"_s);
    QStringList lines;
    if (file.open(QIODevice::ReadOnly))
        for (const QByteArray& line : file.readAll().split('\n'))
            if (const QList<QByteArray> f = line.trimmed().split('\t');
                f.size() == 4 && f[1] == "PDC1" && f[2] == "alice")
                lines.append(QString::fromLatin1(f[0] + '\t' + f[3]));
    return lines;
}

void TestSystemSettings::serviceActs() {
    CSystemSite site;
    for (int days : {10, 8, 7, 1})
        site.Put(u"LogData/"_s + Day(days) + u".log"_s, "[PDC1\\COM1]\r\n");
    auto archiving = CreateArchiving(site.console.Doc(), nullptr);
    archiving->show();
    archiving->findChild<QSpinBox*>(u"days"_s)->setValue(7);
    Click(archiving->OkButton());
    auto sheet = site.Sheet(u"Greetings"_s);
    sheet->findChild<QTreeWidget*>(u"rules"_s)->topLevelItem(0)->setCheckState(0, Qt::Checked);
    sheet->findChild<QPlainTextEdit*>(u"ruleText"_s)->setPlainText(u"Welcome\nto CORP"_s);
    CSystemSite::Show(sheet.get(), u"Notifications"_s);
    Click(sheet->findChild<QCheckBox*>(u"notify1"_s));
    QTest::keyClicks(sheet->findChild<QLineEdit*>(u"notify1Seconds"_s), u"58"_s);
    QTest::keyClicks(sheet->findChild<QLineEdit*>(u"notify1Text"_s), u"Two seconds in"_s);
    Click(sheet->ApplyButton());

    QProcess serve;
    serve.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    serve.start(QStringLiteral(CW_CWSITE), {u"serve"_s, site.console.Root(), u"--quiet"_s});
    QVERIFY(serve.waitForStarted());
    const auto stop = qScopeGuard([&] {
        serve.terminate();
        serve.waitForFinished(10000);
    });
    QTRY_COMPARE_WITH_TIMEOUT(QDir(site.share + u"/LogData"_s).entryList(QDir::Files).join(u','),
                              Day(7) + u".log,"_s + Day(1) + u".log"_s, 10000);
    QCOMPARE(QDir(site.share + u"/OldData"_s).entryList(QDir::Files).size(), 2);

    const QString pipe = CServicePipeClient::RemotePipeName(kMaster);
    const auto connect = [&] {
        return site.console.Doc().Pipe().Request(
            pipe, CServicePipeClient::ConnectRequest(u"COM2"_s, u"CORP\\alice"_s, kTestConsole),
            CServicePipeClient::kSimulatorReplySize);
    };
    // The pipe listens once the service has started.
    QTRY_COMPARE_WITH_TIMEOUT(site.console.Doc().Pipe().Request(pipe, "UPDATE_UPDATE", 100).error, DWORD(0),
                              10000);
    const CServicePipeClient::Result connected = connect();
    QCOMPARE(connected.error, DWORD(0));
    QVERIFY2(connected.reply.startsWith('0'), connected.reply.constData());
    QTRY_COMPARE_WITH_TIMEOUT(ToAlice(site.console.Root()).size(), 2, 10000);
    const QStringList sent = ToAlice(site.console.Root());
    QCOMPARE(sent[0].section(u'\t', 1), u"Welcome  to CORP"_s);
    QCOMPARE(sent[1].section(u'\t', 1), u"Two seconds in"_s);
    // Sent 58 seconds before the port's 60-second limit ends the session.
    const qint64 before =
        sent[1].section(u'\t', 0, 0).toLongLong() - sent[0].section(u'\t', 0, 0).toLongLong();
    QVERIFY2(before >= 2 && before <= 3, qPrintable(QString::number(before)));

    // The report of yesterday, whose log now holds today's connect, at this hour.
    QVERIFY(QFile::remove(site.share + u"/LogData/"_s + Day(1) + u".log"_s));
    QVERIFY(QFile::copy(site.share + u"/LogData/"_s + Day(0) + u".log"_s,
                        site.share + u"/LogData/"_s + Day(1) + u".log"_s));
    CSystemSite::Show(sheet.get(), u"Daily Report"_s);
    Click(sheet->findChild<QRadioButton*>(u"reportShort"_s));
    sheet->findChild<QComboBox*>(u"hour"_s)->setCurrentIndex(QTime::currentTime().hour());
    QTest::keyClicks(sheet->findChild<QLineEdit*>(u"to"_s), u"admin@corp.example"_s);
    Click(sheet->ApplyButton());
    const QString report = site.console.Root() + u"/spool/outmail/PDC1-"_s +
                           QDate::currentDate().toString(u"yyyy-MM-dd"_s) + u"-report.eml"_s;
    QTRY_VERIFY_WITH_TIMEOUT(QFile::exists(report), 10000);
    QFile file(report);
    QVERIFY(file.open(QIODevice::ReadOnly));
    const QList<QByteArray> parts = file.readAll().split('\n');
    const qsizetype blank = parts.indexOf("\r");
    QVERIFY(blank > 0);
    const QByteArray headers = parts.mid(0, blank).join('\n');
    QVERIFY(headers.contains("\nTo: admin@corp.example\r") && headers.startsWith("From: "));
    QVERIFY(headers.contains("\nDate: ") && headers.contains("\nSubject: Callwarden daily report for "));
    QVERIFY(parts.contains("Nr of Connections: 1\r"));
}

QTEST_MAIN(TestSystemSettings)
#include "tst_systemsettings.moc"
