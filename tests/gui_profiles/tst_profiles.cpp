// The user profile sheet, the default profile page, group profiles and the
// profile copy, driven through their widgets, the files read back with the ini
// engine; then the simulated service of the same site enforcing what was saved.
#include "gui/dialogs/copyprofile.h"
#include "gui/frame/mainframe.h"
#include "gui/pages/groupprofile.h"
#include "gui/pages/systemdefaultprofile.h"
#include "gui/pages/systemsettings.h"
#include "gui/pages/userprop.h"
#include "gui/views/nodeview.h"
#include "site/cwsitetest.h"
#include "site/serve/hostservice.h"
#include "support/testconsole.h"

#include <QAction>
#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QLineEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QStandardPaths>
#include <QTest>
#include <QTreeWidget>

#include <filesystem>

using namespace Qt::StringLiterals;
using Answer = OCL::IPrompter::Answer;

namespace {

constexpr qint64 kNow = 1700571600;
const QStringList kTen = {u"u0"_s, u"u1"_s, u"u2"_s, u"u3"_s, u"u4"_s,
                          u"u5"_s, u"u6"_s, u"u7"_s, u"u8"_s, u"u9"_s};

template <typename T>
T* Child(QWidget* parent, const QString& name) {
    T* child = parent->findChild<T*>(name);
    if (!child)
        qFatal("no child %s", qPrintable(name));
    return child;
}

// The sheet's page by index, loaded as showing it loads it.
CPropertyPage* Page(CPropertySheet& sheet, int index) {
    sheet.Page(index)->EnsureLoaded();
    return sheet.Page(index);
}

void Type(QLineEdit* edit, const QString& text) {
    edit->clear();
    QTest::keyClicks(edit, text);
}

} // namespace

class TestProfiles : public QObject {
    Q_OBJECT
private slots:
    void initTestCase();
    void init();
    void address_data();
    void address();
    void restrictions();
    void statusReset();
    void defaultProfile();
    void rasPermission();
    void groupWithEveryBoxOff();
    void copy_data();
    void copy();
    void copyStopsAtUnwritableTarget();
    void serviceEnforces();
    void menus_data();
    void menus();

private:
    std::string Share() { return m_console->Writer().SharePath(u"PDC1"_s, u"CW_NT_DB"_s).toStdString(); }
    QString Usr(const QString& section, const char* key) {
        return QString::fromStdString(
            m_console->Files().GetString(Share() + "/callward.usr", section.toStdString(), key, ""));
    }
    void WriteUsr(const QString& text) {
        QVERIFY(m_console->Files().WriteAll(Share() + "/callward.usr", text.toStdString()));
    }
    CProfileCopy::Outcome Copy(const QString& source, const QStringList& targets);

    std::unique_ptr<CTestConsole> m_console;
};

void TestProfiles::initTestCase() {
    QStandardPaths::setTestModeEnabled(true);
    m_console = std::make_unique<CTestConsole>([](CSiteWriter& w) {
        CTestConsole::AddServer(w, u"PDC1"_s, u"RAS"_s, u"4.0"_s, 3, true);
        w.AddDomain(u"CORP"_s, u"PDC1"_s);
        for (const QString& user :
             QStringList{u"alice"_s, u"bob"_s, u"carol"_s, u"dave"_s, u"lonely"_s} + kTen)
            w.AddUser(u"CORP"_s, user);
        w.AddGroup(u"CORP"_s, u"Remote"_s, {u"lonely"_s});
        w.SetRasUser(u"PDC1"_s, u"alice"_s, 8 + 2, u"5551234"_s);
    });
    QVERIFY(m_console->FetchAll());
}

void TestProfiles::init() {
    m_console->Prompter().Clear();
    WriteUsr({});
}

void TestProfiles::address_data() {
    QTest::addColumn<QString>("stored");
    QTest::addColumn<QString>("shown");
    QTest::addColumn<QString>("typed"); // empty: left as shown
    QTest::addColumn<QString>("written");
    QTest::newRow("read") << u"-1062731510"_s << u"192.168.1.10"_s << QString() << u"-1062731510"_s;
    QTest::newRow("written") << QString() << QString() << u"192.168.1.10"_s << u"-1062731510"_s;
    // Leniently: missing parts count as 0, a part stops at what is not a digit, no range check.
    QTest::newRow("three parts") << QString() << QString() << u"1.2.3"_s << u"16909056"_s;
    QTest::newRow("empty part") << QString() << QString() << u"1..2.3"_s << u"16777216"_s;
    QTest::newRow("over 255") << QString() << QString() << u"300.1.1.1"_s << u"738263297"_s;
    QTest::newRow("letter cannot be typed") << QString() << QString() << u"1a.2.3.4"_s << u"16909060"_s;
}

void TestProfiles::address() {
    QFETCH(QString, stored);
    QFETCH(QString, shown);
    QFETCH(QString, typed);
    QFETCH(QString, written);
    WriteUsr(u"[CORP\\alice]\r\nStaticIP="_s + stored + u"\r\nNoDuplicate=0\r\nExpiryTime=30\r\n"_s);
    auto sheet = CreateUserProfileSheet(m_console->Doc(), u"CORP\\alice"_s, nullptr);
    QWidget* misc = Page(*sheet, 2);
    auto* address = Child<QLineEdit>(misc, u"address"_s);
    QCOMPARE(address->text(), shown);
    QVERIFY(Child<QCheckBox>(misc, u"concurrent"_s)->isChecked());
    QCOMPARE(Child<QLineEdit>(misc, u"days"_s)->text(), u"30"_s);
    if (!typed.isEmpty()) {
        Child<QCheckBox>(misc, u"addressOn"_s)->click();
        Type(address, typed);
    }
    QVERIFY(sheet->ApplyPages());
    QCOMPARE(Usr(u"CORP\\alice"_s, "StaticIP"), written);
    QCOMPARE(Usr(u"CORP\\alice"_s, "NoDuplicate"), u"0"_s);
    QCOMPARE(Usr(u"CORP\\alice"_s, "ExpiryTime"), u"30"_s);
}

void TestProfiles::restrictions() {
    WriteUsr(
        u"[CORP\\alice]\r\nMaxSessionTime=60\r\nPeriodType=2\r\nPeriodMax=3600\r\nTotalConnects=4\r\n"_s);
    auto sheet = CreateUserProfileSheet(m_console->Doc(), u"CORP\\alice"_s, nullptr);
    QWidget* page = Page(*sheet, 1);
    QCOMPARE(Child<QComboBox>(page, u"period"_s)->currentText(), u"Per Week"_s);
    QVERIFY(!Child<QLineEdit>(page, u"total"_s)->isEnabled());
    Child<QCheckBox>(page, u"periodOn"_s)->click();
    QVERIFY(!Child<QLineEdit>(page, u"periodMax"_s)->isEnabled());
    // An over-long number stops at the edit's 20 characters and saturates.
    Type(Child<QLineEdit>(page, u"session"_s), u"-123456789012345678901234"_s);
    QVERIFY(sheet->ApplyPages());
    QCOMPARE(Usr(u"CORP\\alice"_s, "PeriodType"), u"0"_s);
    QCOMPARE(Usr(u"CORP\\alice"_s, "PeriodMax"), u"3600"_s);
    QCOMPARE(Usr(u"CORP\\alice"_s, "MaxSessionTime"), u"2147483647"_s);
    QCOMPARE(Usr(u"CORP\\alice"_s, "MaxTotalTime"), u"0"_s);
    // Pages never shown write nothing.
    QCOMPARE(Usr(u"CORP\\alice"_s, "NoDuplicate"), QString());
    QCOMPARE(Usr(u"CORP\\alice"_s, "TotalConnects"), u"4"_s);

    // Deleted by someone else while the sheet is open: nothing is written back.
    WriteUsr({});
    QVERIFY(!sheet->ApplyPages());
    QVERIFY(m_console->Prompter().Texts().last().contains(u"was deleted while this sheet was open"_s));
    QCOMPARE(Usr(u"CORP\\alice"_s, "MaxSessionTime"), QString());
}

void TestProfiles::statusReset() {
    WriteUsr(u"[CORP\\alice]\r\nTotalConnects=5\r\nTotalTime=100\r\nTotalDenieds=2\r\nPeriodUsage=30\r\n"
             u"PeriodType=1\r\n"_s);
    auto sheet = CreateUserProfileSheet(m_console->Doc(), u"CORP\\alice"_s, nullptr);
    auto* status = static_cast<CUserPropStatus*>(Page(*sheet, 0));
    QTreeWidget* list = status->List();
    QCOMPARE(list->topLevelItemCount(), 8);
    QCOMPARE(list->topLevelItem(0)->text(1), u"Not Available"_s);
    QCOMPARE(list->topLevelItem(6)->text(1), u"30 sec"_s);
    QCOMPARE(list->topLevelItem(7)->text(1), u"Per 24 Hours"_s);
    list->setCurrentItem(list->topLevelItem(2));
    QVERIFY(!status->ResetButton()->isEnabled());
    list->setCurrentItem(list->topLevelItem(4));
    QCOMPARE(list->currentItem()->text(0), u"Number of Sessions"_s);
    status->ResetButton()->click();
    QCOMPARE(list->topLevelItem(4)->text(1), u"0"_s);
    QVERIFY(sheet->ApplyPages());
    QCOMPARE(Usr(u"CORP\\alice"_s, "TotalConnects"), u"0"_s);
    QCOMPARE(Usr(u"CORP\\alice"_s, "TotalTime"), u"100"_s);
    QCOMPARE(Usr(u"CORP\\alice"_s, "TotalDenieds"), u"2"_s);
    QCOMPARE(Usr(u"CORP\\alice"_s, "PeriodUsage"), u"30"_s);
}

void TestProfiles::defaultProfile() {
    const std::string hw = Share() + "/callward.hw";
    QVERIFY(m_console->Files().WriteAll(hw, "[Default]\r\nMaxSessionTime=90\r\n"));
    const auto settings = CreateSystemSettings(m_console->Doc(), nullptr);
    auto* page = qobject_cast<CSystemDefaultProfile*>(settings->Page(2));
    QVERIFY(page);
    page->EnsureLoaded();
    QVERIFY(page->NotAllowed()->isChecked());
    QVERIFY(!page->DefaultProfileButton()->isEnabled());
    page->Allowed()->click();
    QVERIFY(page->DefaultProfileButton()->isEnabled());
    QVERIFY(settings->ApplyPages());
    QCOMPARE(m_console->Files().GetString(hw, "Default", "AssignDefault", ""), "1");

    auto sheet = CreateDefaultProfileSheet(m_console->Doc(), nullptr);
    QCOMPARE(sheet->PageCount(), 2);
    QCOMPARE(Child<QLineEdit>(Page(*sheet, 0), u"session"_s)->text(), u"90"_s);
    QWidget* misc = Page(*sheet, 1);
    QVERIFY(Child<QCheckBox>(misc, u"addressOn"_s)->isHidden());
    QVERIFY(Child<QLineEdit>(misc, u"address"_s)->isHidden());
    Child<QCheckBox>(misc, u"concurrent"_s)->click();
    QVERIFY(sheet->ApplyPages());
    QCOMPARE(m_console->Files().GetString(hw, "Default", "NoDuplicate", ""), "1");
    QCOMPARE(m_console->Files().GetString(hw, "Default", "StaticIP", ""), "0");
    QCOMPARE(Usr(u"Default"_s, "NoDuplicate"), QString());
}

void TestProfiles::rasPermission() {
    auto sheet = CreateUserProfileSheet(m_console->Doc(), u"CORP\\alice"_s, nullptr);
    QWidget* ras = Page(*sheet, 3);
    QVERIFY(Child<QCheckBox>(ras, u"dialIn"_s)->isChecked());
    QVERIFY(Child<QRadioButton>(ras, u"preset"_s)->isChecked());
    QCOMPARE(Child<QLineEdit>(ras, u"number"_s)->text(), u"5551234"_s);
    // "Preset To" without a number is refused and keeps the sheet open.
    Child<QLineEdit>(ras, u"number"_s)->clear();
    QVERIFY(!sheet->ApplyPages());
    QCOMPARE(m_console->Prompter().Texts().last(), CRasPermission::PresetWithoutNumberText());
    Child<QRadioButton>(ras, u"noCallback"_s)->click();
    QVERIFY(!Child<QLineEdit>(ras, u"number"_s)->isEnabled());
    QVERIFY(sheet->ApplyPages());
    QCOMPARE(m_console->Doc().GetUserRASPrivs(u"\\\\PDC1"_s, u"alice"_s), 9);
    m_console->Doc().m_callbackNumber = u"5551234"_s;
    QVERIFY(m_console->Doc().SetUserRASPrivs(u"\\\\PDC1"_s, u"alice"_s, 8 + 2));
}

void TestProfiles::groupWithEveryBoxOff() {
    auto sheet = CreateGroupProfileSheet(m_console->Doc(), u"CORP"_s, u"Remote"_s, true, nullptr);
    QCOMPARE(sheet->windowTitle(), u"Group Profile for CORP\\Remote"_s);
    Page(*sheet, 0);
    QVERIFY(!m_console->Doc().UserProfileExists(u"+CORP\\Remote"_s));
    QVERIFY(sheet->ApplyPages());
    QCOMPARE(Usr(u"+CORP\\Remote"_s, "MaxSessionTime"), u"0"_s);
    QCOMPARE(Usr(u"+CORP\\Remote"_s, "MaxTotalTime"), u"0"_s);
    QCOMPARE(Usr(u"+CORP\\Remote"_s, "NoDuplicate"), u"1"_s);
    QVERIFY(m_console->Doc().UserProfileExists(u"+CORP\\Remote"_s));
}

CProfileCopy::Outcome TestProfiles::Copy(const QString& source, const QStringList& targets) {
    CCwadminDoc& doc = m_console->Doc();
    doc.m_selectedDomain = u"CORP"_s;
    doc.m_selectedUser = source;
    CCopyProfile dialog(doc);
    QTreeWidgetItem* domain = dialog.Accounts()->topLevelItem(0);
    for (int i = 0; i < domain->childCount(); ++i)
        domain->child(i)->setSelected(targets.contains(domain->child(i)->text(0)));
    dialog.OnAdd();
    dialog.NoRasCopy()->setChecked(true);
    dialog.CopyButton()->click();
    return dialog.LastOutcome();
}

void TestProfiles::copy_data() {
    QTest::addColumn<QList<int>>("answers");
    QTest::addColumn<QString>("after"); // bob's, carol's and dave's MaxSessionTime
    QTest::addColumn<int>("questions");
    QTest::newRow("yes to all") << QList<int>{Answer::YesToAll} << u"77 77 77"_s << 1;
    QTest::newRow("no, then asked again") << QList<int>{Answer::No, Answer::Yes} << u"5 77 77"_s << 2;
    QTest::newRow("cancel") << QList<int>{Answer::Cancel} << u"5 5 "_s << 1;
}

void TestProfiles::copy() {
    QFETCH(QList<int>, answers);
    QFETCH(QString, after);
    QFETCH(int, questions);
    WriteUsr(u"[CORP\\alice]\r\nMaxSessionTime=77\r\nTotalConnects=3\r\n[CORP\\bob]\r\nMaxSessionTime=5\r\n"
             u"[CORP\\carol]\r\nMaxSessionTime=5\r\n"_s);
    for (int answer : answers)
        m_console->Prompter().Script({Answer(answer)});
    Copy(u"alice"_s, {u"alice"_s, u"bob"_s, u"carol"_s, u"dave"_s});
    QCOMPARE(m_console->Prompter().Boxes().size(), questions);
    QCOMPARE(m_console->Prompter().Boxes().first().caption, u"Confirm Overwrite"_s);
    QCOMPARE(m_console->Prompter().Texts().first(),
             u"Replace existing profile for CORP\\bob\nwith profile of CORP\\alice ?"_s);
    QCOMPARE(QStringList({Usr(u"CORP\\bob"_s, "MaxSessionTime"), Usr(u"CORP\\carol"_s, "MaxSessionTime"),
                          Usr(u"CORP\\dave"_s, "MaxSessionTime")})
                 .join(u' '),
             after);
    // Statistics stay with their account.
    QCOMPARE(Usr(u"CORP\\dave"_s, "TotalConnects"), QString());
    QCOMPARE(Usr(u"CORP\\alice"_s, "TotalConnects"), u"3"_s);
}

void TestProfiles::copyStopsAtUnwritableTarget() {
    WriteUsr(u"[CORP\\alice]\r\nMaxSessionTime=77\r\n[CORP\\carol]\r\nMaxSessionTime=5\r\n"_s);
    const std::filesystem::path usr = Share() + "/callward.usr", aside = Share() + "/aside";
    // The share stops taking writes while carol's overwrite is asked about.
    m_console->Prompter().onMessage = [&](const CScriptedPrompter::Shown& shown) {
        if (shown.caption == u"Confirm Overwrite"_s) {
            std::filesystem::rename(usr, aside);
            std::filesystem::create_directory(usr);
        }
    };
    QCOMPARE(Copy(u"alice"_s, {u"bob"_s, u"carol"_s, u"dave"_s}), CProfileCopy::Outcome::Failed);
    m_console->Prompter().onMessage = {};
    QVERIFY(m_console->Prompter().Texts().last().contains(u"could not be copied to CORP\\carol"_s));
    std::filesystem::remove(usr);
    std::filesystem::rename(aside, usr);
    QCOMPARE(Usr(u"CORP\\bob"_s, "MaxSessionTime"), u"77"_s);
    QCOMPARE(Usr(u"CORP\\carol"_s, "MaxSessionTime"), u"5"_s);
    QCOMPARE(Usr(u"CORP\\dave"_s, "MaxSessionTime"), QString());
}

void TestProfiles::serviceEnforces() {
    CCwadminDoc& doc = m_console->Doc();
    // alice: 120 seconds a session, set in her sheet; then copied to ten accounts.
    WriteUsr(u"[CORP\\alice]\r\nNoDuplicate=0\r\n"_s);
    auto sheet = CreateUserProfileSheet(doc, u"CORP\\alice"_s, nullptr);
    QWidget* restrict = Page(*sheet, 1);
    Child<QCheckBox>(restrict, u"sessionOn"_s)->click();
    Type(Child<QLineEdit>(restrict, u"session"_s), u"120"_s);
    QVERIFY(sheet->ApplyPages());
    Copy(u"alice"_s, kTen);
    // The group gives lonely, who has no profile of his own, 300 seconds.
    auto group = CreateGroupProfileSheet(doc, u"CORP"_s, u"Remote"_s, true, nullptr);
    Child<QCheckBox>(Page(*group, 0), u"sessionOn"_s)->click();
    Type(Child<QLineEdit>(group->Page(0), u"session"_s), u"300"_s);
    QVERIFY(group->ApplyPages());
    CSystemDefaultProfile assign(doc);
    assign.EnsureLoaded();
    assign.NotAllowed()->click();
    QVERIFY(assign.Apply());

    CServeContext context(m_console->Root().toStdString(), 1);
    CHostService service(context, *context.site->FindHost("PDC1"), 1);
    service.Start(kNow);
    qint64 now = kNow;
    QStringList expected;
    for (const auto& [account, limit] :
         QList<std::pair<QString, int>>{{u"alice"_s, 120}, {u"lonely"_s, 300}} + [] {
             QList<std::pair<QString, int>> ten;
             for (const QString& u : kTen)
                 ten.append({u, 120});
             return ten;
         }()) {
        const QByteArray dial = "0,COM1,CORP\\" + account.toLatin1() + ",WS1,0,0,0";
        QCOMPARE(service.Handle(dial, now), QByteArray("0,Session accepted"));
        service.Tick(now + limit - 1, 1);
        QCOMPARE(service.Sessions(), 1);
        service.Tick(now + limit, 1);
        QCOMPARE(service.Sessions(), 0);
        expected << u"C CORP\\"_s + account << u"H2 CORP\\"_s + account;
        now += limit + 10;
    }
    QCOMPARE(service.Handle("0,COM1,CORP\\dave,WS1,0,0,0", now), QByteArray("1,User not defined"));
    expected << u"N1 CORP\\dave"_s;
    // Dial-in taken away on the RAS page: the call ends before the service admits it.
    auto ras = CreateUserProfileSheet(doc, u"CORP\\alice"_s, nullptr);
    Child<QCheckBox>(Page(*ras, 3), u"dialIn"_s)->click();
    QVERIFY(ras->ApplyPages());
    QCOMPARE(service.Handle("0,COM1,CORP\\alice,WS1,0,0,0", now), QByteArray("1,No dial-in permission"));

    QStringList logged;
    for (const CwsiteTest::LogEvent& e :
         CwsiteTest::ReadEvents(QString::fromStdString(Share()) + u"/LogData"_s))
        logged << e.kind + (e.kind == u'C' ? QString() : QString::number(e.reason)) + u' ' + e.account;
    QCOMPARE(logged, expected);
}

void TestProfiles::menus_data() {
    QTest::addColumn<QString>("node");
    QTest::addColumn<QString>("file");
    QTest::addColumn<QString>("items");
    const QString account = u"|&Delete Profile|&Copy Profile...|&Status"_s;
    QTest::newRow("account without") << u"alice"_s << QString() << u"&Create Profile for User..."_s + account;
    QTest::newRow("account with") << u"alice"_s << u"[CORP\\alice]\r\nMaxTotalTime=0\r\n"_s
                                  << u"&Modify Profile..."_s + account;
    QTest::newRow("group without") << u"Remote"_s << QString()
                                   << u"&Create New Profile for Group...|&Delete Group Profile"_s;
    QTest::newRow("group with") << u"Remote"_s << u"[+CORP\\Remote]\r\nMaxTotalTime=9\r\n"_s
                                << u"&Modify Group Profile...|&Delete Group Profile"_s;
}

void TestProfiles::menus() {
    QFETCH(QString, node);
    QFETCH(QString, file);
    QFETCH(QString, items);
    WriteUsr(file);
    CNodeView* tree = m_console->Frame().NodeView();
    tree->PopulateTree();
    QTreeWidgetItem* domain = tree->AccountsRoot()->child(0);
    tree->expandItem(domain);
    QTreeWidgetItem* item = nullptr;
    for (int i = 0; i < domain->childCount(); ++i)
        if (domain->child(i)->text(0) == node)
            item = domain->child(i);
    QVERIFY(item);
    QCOMPARE(tree->MenuItemsFor(item).join(u'|'), items);
    // The first command opens the sheet; OK leaves a profile behind.
    tree->setCurrentItem(item);
    QTimer::singleShot(0, this, [] { qobject_cast<QDialog*>(QApplication::activeModalWidget())->accept(); });
    tree->ActionsFor(item).first()->trigger();
    QVERIFY(m_console->Doc().UserProfileExists((node == u"Remote"_s ? u"+CORP\\"_s : u"CORP\\"_s) + node));
}

QTEST_MAIN(TestProfiles)
#include "tst_profiles.moc"
