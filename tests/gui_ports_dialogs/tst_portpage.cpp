// The port profile page in its sheet and the account browser, driven as an
// administrator would over a site whose master holds callward.hw: what the page
// shows of a stored profile, what it writes back, the refusals that keep the
// sheet open, and the allowed list's editing.
#include "core/pages/portprofile.h"
#include "gui/app/icons.h"
#include "gui/dialogs/accountbrowser.h"
#include "gui/pages/portproperties.h"
#include "gui/pages/propport.h"
#include "gui/toolkit/help.h"
#include "gui/toolkit/helpwindow.h"
#include "gui/toolkit/propertysheet.h"
#include "portsfixture.h"

#include <QCheckBox>
#include <QPushButton>

using namespace Qt::StringLiterals;
using Icon = OCL::IPrompter::Icon;
using Buttons = OCL::IPrompter::Buttons;

Q_DECLARE_METATYPE(OCL::IPrompter::Icon)

namespace {

const QString kSection = u"PDC1\\COM1"_s;

// A site whose callward.hw holds body (lines joined by "\n") as the section of
// PDC1's COM1, between two other sections; no section when body is null.
struct CPortSite {
    explicit CPortSite(const QString& body = {}, bool fetch = true)
        : console([&body](CSiteWriter& writer) {
              WriteNetwork(writer);
              QString text = u"[General]\r\nDailyReport=0\r\n"_s;
              if (!body.isNull())
                  text += u"[PDC1\\COM1]\r\n"_s + QString(body).replace(u"\n"_s, u"\r\n"_s) + u"\r\n"_s;
              text += u"[RAS2\\VPN1-1]\r\nIdle=5\r\n"_s;
              writer.WriteShareFile(kMaster, u"CW_NT_DB"_s, u"callward.hw"_s, text.toLatin1());
          }) {
        if (fetch)
            fetched = console.FetchAll();
    }

    std::unique_ptr<CPropertySheet> Sheet(const QString& port = u"COM1"_s) {
        auto sheet = CreatePortProperties(console.Doc(), kMaster, port, nullptr);
        sheet->show();
        return sheet;
    }
    QByteArray Bytes() {
        QFile file(console.Writer().SharePath(kMaster, u"CW_NT_DB"_s) + u"/callward.hw"_s);
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }
    // The lines of a section as the file holds them; empty when it has none.
    QStringList Section(const QString& name = kSection) {
        const QStringList lines = QString::fromLatin1(Bytes()).split(u"\r\n"_s);
        QStringList body;
        const qsizetype start = lines.indexOf(u"["_s + name + u"]"_s);
        for (qsizetype i = start + 1; start >= 0 && i < lines.size() && !lines[i].startsWith(u'['); ++i)
            if (!lines[i].isEmpty())
                body.append(lines[i]);
        return body;
    }

    CTestConsole console;
    bool fetched = false;
};

struct CPageWidgets {
    explicit CPageWidgets(CPropertySheet& sheet)
        : page(Child<CPropPort>(&sheet, u"propPort"_s)),
          sessionLimit(Child<QCheckBox>(page, u"sessionLimit"_s)),
          sessionMinutes(Child<QLineEdit>(page, u"sessionMinutes"_s)),
          staticAddress(Child<QCheckBox>(page, u"staticAddress"_s)),
          address(Child<QLineEdit>(page, u"address"_s)), restricted(Child<QCheckBox>(page, u"restricted"_s)),
          accounts(Child<QTreeWidget>(page, u"accounts"_s)),
          addGroup(Child<QPushButton>(page, u"addGroup"_s)), remove(Child<QPushButton>(page, u"remove"_s)),
          idleLimit(Child<QCheckBox>(page, u"idleLimit"_s)),
          idleMinutes(Child<QLineEdit>(page, u"idleMinutes"_s)) {}

    // The list from the top, domains marked with a trailing backslash; each
    // entry's icon must be its kind's.
    QStringList Entries() const {
        const QImage groupIcon = CIcons::TreeImage(10).pixmap(16).toImage();
        const QImage domainIcon = CIcons::TreeImage(9).pixmap(16).toImage();
        QStringList entries;
        for (int row = 0; row < accounts->topLevelItemCount(); ++row) {
            const QTreeWidgetItem* item = accounts->topLevelItem(row);
            const bool domain = item->data(0, CPropPort::KindRole).toInt() == CAllowedAccount::Domain;
            const QImage shown = item->icon(0).pixmap(16).toImage();
            entries.append(item->text(0) + (domain ? u"\\"_s : QString()) +
                           (shown == (domain ? domainIcon : groupIcon) ? QString() : u" (wrong icon)"_s));
        }
        return entries;
    }

    CPropPort* page;
    QCheckBox* sessionLimit;
    QLineEdit* sessionMinutes;
    QCheckBox* staticAddress;
    QLineEdit* address;
    QCheckBox* restricted;
    QTreeWidget* accounts;
    QPushButton* addGroup;
    QPushButton* remove;
    QCheckBox* idleLimit;
    QLineEdit* idleMinutes;
};

// Chooses the named items of the browser (expanding their domains) and clicks OK.
void Choose(CAccountBrowser* browser, const QStringList& domainsToOpen, const QStringList& names) {
    QTreeWidget* tree = browser->Tree();
    for (const QString& domain : domainsToOpen)
        tree->expandItem(FindItem(tree, domain));
    for (const QString& name : names)
        ClickItem(tree, FindItem(tree, name), Qt::ControlModifier);
    QTest::mouseClick(browser->OkButton(), Qt::LeftButton);
}

} // namespace

class TestPortPage : public QObject {
    Q_OBJECT
private slots:
    void allowedValue_data();
    void allowedValue();
    void allowedValueLimit();
    void loadShows_data();
    void loadShows();
    void okWritesBack_data();
    void okWritesBack();
    void addressOnApply_data();
    void addressOnApply();
    void longListSavedAsFarAsItFits();
    void newProfileWrittenInOrder();
    void removeAndAdd();
    void cancelledBrowserChangesNothing();
    void togglesEnableTheirEdits_data();
    void togglesEnableTheirEdits();
    void browserOffersDomainsAndGroups();
    void browserReportsMissingController();
    void noMasterOpensNothing();
    void sheetTitleAndHelp();
};

void TestPortPage::allowedValue_data() {
    QTest::addColumn<QString>("value"); // as read, quotes dropped
    QTest::addColumn<QStringList>("entries");
    QTest::newRow("both kinds") << u"Sales;Remote\\;"_s << QStringList{u"Sales"_s, u"Remote\\"_s};
    QTest::newRow("no closing separator") << u"Sales"_s << QStringList{u"Sales"_s};
    QTest::newRow("empty pieces") << u";;Sales;;"_s << QStringList{u"Sales"_s};
    QTest::newRow("bare backslash") << u"\\;"_s << QStringList{};
    QTest::newRow("inner backslash is a group") << u"SALES\\Sales;"_s << QStringList{u"SALES\\Sales"_s};
    QTest::newRow("blanks kept") << u" Field Staff ;"_s << QStringList{u" Field Staff "_s};
}

void TestPortPage::allowedValue() {
    QFETCH(QString, value);
    QFETCH(QStringList, entries);
    const QList<CAllowedAccount> split = CPortProfileSettings::SplitAllowed(value);
    QStringList shown;
    for (const CAllowedAccount& entry : split)
        shown.append(entry.name + (entry.kind == CAllowedAccount::Domain ? u"\\"_s : QString()));
    QCOMPARE(shown, entries);
    // Written back, the value is the one read, quoted, with every entry closed by ";".
    QString expected = u"\""_s;
    for (const QString& entry : entries)
        expected += entry + u';';
    QCOMPARE(CPortProfileSettings::JoinAllowed(split).value, expected + u'"');
}

void TestPortPage::allowedValueLimit() {
    // Two quotes, then entries of 9 characters and a separator: 199 fill 1992
    // characters, a 200th with a 6-character name makes 2000 exactly.
    QList<CAllowedAccount> entries(199, CAllowedAccount{u"Group0001"_s, CAllowedAccount::Group});
    entries.append({u"Dom001"_s, CAllowedAccount::Domain});
    QCOMPARE(CPortProfileSettings::JoinAllowed(entries).value.size(), 2000);
    QVERIFY(CPortProfileSettings::JoinAllowed(entries).leftOut.isEmpty());
    // One more character: the whole entry stays out, and so does every one after it.
    entries.last().name += u'x';
    entries.append({u"G"_s, CAllowedAccount::Group});
    const CAllowedValue joined = CPortProfileSettings::JoinAllowed(entries);
    QCOMPARE(joined.value.size(), 1992);
    QCOMPARE(joined.leftOut, entries.mid(199));
}

void TestPortPage::loadShows_data() {
    QTest::addColumn<QString>("body");
    QTest::addColumn<QString>("session"); // empty: the box is off
    QTest::addColumn<QString>("address");
    QTest::addColumn<QStringList>("entries"); // from the top; null: the box is off
    QTest::addColumn<QString>("idle");

    QTest::newRow("no profile") << QString() << QString() << QString() << QStringList() << QString();
    QTest::newRow("full profile")
        << u"MaxSessionTime=3600\nStaticIP=-1062731510\nAllowedGroups=\"Sales;Remote\\;\"\n"
           u"Idle=20"_s
        << u"60"_s << u"192.168.1.10"_s << QStringList{u"Remote\\"_s, u"Sales"_s} << u"20"_s;
    QTest::newRow("90 seconds show as 1 minute")
        << u"MaxSessionTime=90"_s << u"1"_s << QString() << QStringList() << QString();
    QTest::newRow("30 seconds show as 1 minute")
        << u"MaxSessionTime=30"_s << u"1"_s << QString() << QStringList() << QString();
    QTest::newRow("garbage reads as off") << u"MaxSessionTime=soon\nStaticIP=home\nAllowedGroups=\nIdle=x"_s
                                          << QString() << QString() << QStringList() << QString();
    QTest::newRow("leading digits count")
        << u"MaxSessionTime=120s\nIdle=15min"_s << u"2"_s << QString() << QStringList() << u"15"_s;
    QTest::newRow("10.0.0.1") << u"StaticIP=167772161"_s << QString() << u"10.0.0.1"_s << QStringList()
                              << QString();
    QTest::newRow("unsigned spelling of an address")
        << u"StaticIP=3232235786"_s << QString() << u"192.168.1.10"_s << QStringList() << QString();
    QTest::newRow("list without quotes")
        << u"AllowedGroups=Field Staff;MARKETING\\;"_s << QString() << QString()
        << QStringList{u"MARKETING\\"_s, u"Field Staff"_s} << QString();
    QStringList cut(1500, u"A"_s);
    QTest::newRow("read into 3000 characters") << u"AllowedGroups=\""_s + u"A;"_s.repeated(1600) + u"\""_s
                                               << QString() << QString() << cut << QString();
}

void TestPortPage::loadShows() {
    QFETCH(QString, body);
    QFETCH(QString, session);
    QFETCH(QString, address);
    QFETCH(QStringList, entries);
    QFETCH(QString, idle);
    CPortSite site(body);
    QVERIFY(site.fetched);
    auto sheet = site.Sheet();
    CPageWidgets page(*sheet);

    QCOMPARE(page.sessionLimit->isChecked(), !session.isEmpty());
    QCOMPARE(page.sessionMinutes->isEnabled(), !session.isEmpty());
    if (!session.isEmpty())
        QCOMPARE(page.sessionMinutes->text(), session);
    QCOMPARE(page.staticAddress->isChecked(), !address.isEmpty());
    QCOMPARE(page.address->isEnabled(), !address.isEmpty());
    QCOMPARE(page.address->text(), address.isEmpty() ? u"0.0.0.0"_s : address);
    QCOMPARE(page.restricted->isChecked(), !entries.isEmpty());
    QCOMPARE(page.accounts->isEnabled(), !entries.isEmpty());
    QCOMPARE(page.addGroup->isEnabled(), !entries.isEmpty());
    QVERIFY(!page.remove->isEnabled());
    QCOMPARE(page.Entries(), entries);
    QCOMPARE(page.idleLimit->isChecked(), !idle.isEmpty());
    QCOMPARE(page.idleMinutes->isEnabled(), !idle.isEmpty());
    if (!idle.isEmpty())
        QCOMPARE(page.idleMinutes->text(), idle);
    QVERIFY(!page.page->IsModified());
    QCOMPARE(page.accounts->headerItem()->text(0), u"Accounts"_s);
    QCOMPARE(page.accounts->columnWidth(0), 195);
}

void TestPortPage::okWritesBack_data() {
    QTest::addColumn<QString>("body");
    QTest::addColumn<QStringList>("written");
    const QString rest = u"\nStaticIP=0\nAllowedGroups=\nIdle=0"_s;
    const QStringList restWritten{u"StaticIP=0"_s, u"AllowedGroups="_s, u"Idle=0"_s};
    QTest::newRow("90 seconds come back as 60")
        << u"MaxSessionTime=90"_s + rest << QStringList{u"MaxSessionTime=60"_s} + restWritten;
    QTest::newRow("30 seconds come back as 60")
        << u"MaxSessionTime=30"_s + rest << QStringList{u"MaxSessionTime=60"_s} + restWritten;
    QTest::newRow("list written identically")
        << u"MaxSessionTime=0\nStaticIP=0\nAllowedGroups=\"Sales;Remote\\;\"\nIdle=0"_s
        << QStringList{u"MaxSessionTime=0"_s, u"StaticIP=0"_s, u"AllowedGroups=\"Sales;Remote\\;\""_s,
                       u"Idle=0"_s};
    QTest::newRow("unquoted list gains its quotes")
        << u"MaxSessionTime=0\nStaticIP=0\nAllowedGroups=Sales\nIdle=0"_s
        << QStringList{u"MaxSessionTime=0"_s, u"StaticIP=0"_s, u"AllowedGroups=\"Sales;\""_s, u"Idle=0"_s};
    QTest::newRow("garbage becomes the defaults")
        << u"MaxSessionTime=soon\nStaticIP=home\nAllowedGroups=\nIdle=x"_s
        << QStringList{u"MaxSessionTime=0"_s, u"StaticIP=0"_s, u"AllowedGroups="_s, u"Idle=0"_s};
    QTest::newRow("full profile")
        << u"MaxSessionTime=3600\nStaticIP=-1062731510\nAllowedGroups=\"Sales;Remote\\;\"\nIdle=020"_s
        << QStringList{u"MaxSessionTime=3600"_s, u"StaticIP=-1062731510"_s,
                       u"AllowedGroups=\"Sales;Remote\\;\""_s, u"Idle=20"_s};
}

void TestPortPage::okWritesBack() {
    QFETCH(QString, body);
    QFETCH(QStringList, written);
    CPortSite site(body);
    auto sheet = site.Sheet();
    const QByteArray before = site.Bytes();
    QTest::mouseClick(sheet->OkButton(), Qt::LeftButton);
    QVERIFY(!sheet->isVisible());
    QCOMPARE(sheet->result(), int(QDialog::Accepted));
    QCOMPARE(site.Section(), written);
    // Nothing else in the file moved.
    QCOMPARE(site.Section(u"RAS2\\VPN1-1"_s), QStringList{u"Idle=5"_s});
    QVERIFY(site.Bytes().startsWith(before.left(before.indexOf("[PDC1"))));
    QVERIFY(site.console.Prompter().Boxes().isEmpty());
}

void TestPortPage::addressOnApply_data() {
    QTest::addColumn<QString>("typed");
    QTest::addColumn<QString>("stored"); // empty: refused
    QTest::newRow("10.0.0.1") << u"10.0.0.1"_s << u"167772161"_s;
    QTest::newRow("192.168.1.10") << u"192.168.1.10"_s << u"-1062731510"_s;
    QTest::newRow("all ones") << u"255.255.255.255"_s << u"-1"_s;
    QTest::newRow("letters after digits pass") << u"1a.2.3.4"_s << u"16909060"_s;
    QTest::newRow("leading zeros") << u"001.2.3.4"_s << u"16909060"_s;
    QTest::newRow("300.1.1.1") << u"300.1.1.1"_s << QString();
    QTest::newRow("256 in the last part") << u"1.2.3.256"_s << QString();
    QTest::newRow("1.2.3") << u"1.2.3"_s << QString();
    QTest::newRow("1..2.3") << u"1..2.3"_s << QString();
    QTest::newRow("four dots") << u"1.2.3.4.5"_s << QString();
    QTest::newRow("part of four characters") << u"0001.2.3.4"_s << QString();
    QTest::newRow("empty last part") << u"1.2.3."_s << QString();
}

void TestPortPage::addressOnApply() {
    QFETCH(QString, typed);
    QFETCH(QString, stored);
    CPortSite site(u"MaxSessionTime=600\nStaticIP=0\nAllowedGroups=\nIdle=0"_s);
    auto sheet = site.Sheet();
    CPageWidgets page(*sheet);
    Click(page.staticAddress);
    Retype(page.address, typed);
    const QByteArray before = site.Bytes();
    QTest::mouseClick(sheet->OkButton(), Qt::LeftButton);

    if (stored.isEmpty()) {
        QCOMPARE(site.console.Prompter().Boxes().size(), 1);
        const CScriptedPrompter::Shown box = site.console.Prompter().Boxes().first();
        QCOMPARE(box.text, u"The specified IP address is invalid."_s);
        QCOMPARE(box.caption, u"Bad IP Address"_s);
        QCOMPARE(box.icon, Icon::Warning);
        QCOMPARE(box.buttons, Buttons::Ok);
        QVERIFY(sheet->isVisible());
        QCOMPARE(site.Bytes(), before);
        return;
    }
    QVERIFY(site.console.Prompter().Boxes().isEmpty());
    QVERIFY(!sheet->isVisible());
    QCOMPARE(site.Section(), (QStringList{u"MaxSessionTime=600"_s, u"StaticIP="_s + stored,
                                          u"AllowedGroups="_s, u"Idle=0"_s}));
}

void TestPortPage::longListSavedAsFarAsItFits() {
    // Read whole, a list longer than the value can hold is written as far as
    // whole entries fit; the administrator is told which were left out.
    QString groups;
    for (int i = 0; i < 300; ++i)
        groups += u"Group%1;"_s.arg(i, 3, 10, QChar(u'0'));
    CPortSite site(u"AllowedGroups=\""_s + groups + u"\""_s);
    auto sheet = site.Sheet();
    QTest::mouseClick(sheet->OkButton(), Qt::LeftButton);
    QVERIFY(!sheet->isVisible());
    // Read back by the file's own rules: 222 entries of 9 characters and the quotes fill 2000.
    const std::string file =
        site.console.Writer().SharePath(kMaster, u"CW_NT_DB"_s).toStdString() + "/callward.hw";
    QCOMPARE(QString::fromStdString(site.console.Files().GetString(file, "PDC1\\COM1", "AllowedGroups", "")),
             groups.left(222 * 9));
    const QList<CScriptedPrompter::Shown> boxes = site.console.Prompter().Boxes();
    QCOMPARE(boxes.size(), 1);
    QCOMPARE(boxes[0].icon, Icon::Warning);
    QVERIFY2(boxes[0].text.endsWith(u"\n\n"_s + groups.mid(222 * 9).chopped(1).replace(u';', u'\n')),
             qPrintable(boxes[0].text.left(300)));
}

void TestPortPage::newProfileWrittenInOrder() {
    CPortSite site;
    auto sheet = site.Sheet(u"COM2"_s);
    CPageWidgets page(*sheet);
    QVERIFY(!page.sessionLimit->isChecked() && !page.restricted->isChecked());
    Click(page.sessionLimit);
    Retype(page.sessionMinutes, u"10"_s);
    Click(page.staticAddress);
    Retype(page.address, u"10.0.0.1"_s);
    Click(page.restricted);
    WhenModal<CAccountBrowser>(this, [](CAccountBrowser* browser) {
        Choose(browser, {u"SALES"_s}, {u"Remote Users"_s, u"MARKETING"_s});
    });
    QTest::mouseClick(page.addGroup, Qt::LeftButton);
    // Each choice goes to the top: the last chosen is listed first.
    QCOMPARE(page.Entries(), (QStringList{u"MARKETING\\"_s, u"Remote Users"_s}));
    Click(page.idleLimit);
    Retype(page.idleMinutes, u"15"_s);
    QTest::mouseClick(sheet->OkButton(), Qt::LeftButton);
    QVERIFY(!sheet->isVisible());
    QCOMPARE(site.Section(u"PDC1\\COM2"_s),
             (QStringList{u"MaxSessionTime=600"_s, u"StaticIP=167772161"_s,
                          u"AllowedGroups=\"Remote Users;MARKETING\\;\""_s, u"Idle=15"_s}));
}

void TestPortPage::removeAndAdd() {
    CPortSite site(u"AllowedGroups=\"Sales;Remote\\;\""_s);
    auto sheet = site.Sheet();
    CPageWidgets page(*sheet);
    QVERIFY(!sheet->ApplyButton()->isEnabled());

    ClickItem(page.accounts, FindItem(page.accounts, u"Sales"_s));
    QVERIFY(page.remove->isEnabled());
    QTest::mouseClick(page.remove, Qt::LeftButton);
    QCOMPARE(page.Entries(), QStringList{u"Remote\\"_s});
    QVERIFY(!page.remove->isEnabled());
    QVERIFY(page.page->IsModified());
    QVERIFY(sheet->ApplyButton()->isEnabled());

    QTest::mouseClick(sheet->ApplyButton(), Qt::LeftButton);
    QVERIFY(!page.page->IsModified());
    QCOMPARE(site.Section().filter(u"AllowedGroups"_s), QStringList{u"AllowedGroups=\"Remote\\;\""_s});

    // Each accepted choice goes to the top, one listed already too.
    WhenModal<CAccountBrowser>(this, [](CAccountBrowser* browser) {
        Choose(browser, {u"SALES"_s, u"MARKETING"_s}, {u"Sales"_s, u"Field Staff"_s});
    });
    QTest::mouseClick(page.addGroup, Qt::LeftButton);
    WhenModal<CAccountBrowser>(this,
                               [](CAccountBrowser* browser) { Choose(browser, {u"SALES"_s}, {u"Sales"_s}); });
    QTest::mouseClick(page.addGroup, Qt::LeftButton);
    QCOMPARE(page.Entries(), (QStringList{u"Sales"_s, u"Field Staff"_s, u"Sales"_s, u"Remote\\"_s}));
    QVERIFY(page.page->IsModified());
    QTest::mouseClick(sheet->OkButton(), Qt::LeftButton);
    QCOMPARE(site.Section().filter(u"AllowedGroups"_s),
             QStringList{u"AllowedGroups=\"Remote\\;Sales;Field Staff;Sales;\""_s});
}

void TestPortPage::cancelledBrowserChangesNothing() {
    CPortSite site(u"AllowedGroups=\"Sales;\""_s);
    auto sheet = site.Sheet();
    CPageWidgets page(*sheet);
    WhenModal<CAccountBrowser>(this, [](CAccountBrowser* browser) {
        QTreeWidget* tree = browser->Tree();
        tree->expandItem(FindItem(tree, u"SALES"_s));
        ClickItem(tree, FindItem(tree, u"Remote Users"_s));
        browser->reject();
    });
    QTest::mouseClick(page.addGroup, Qt::LeftButton);
    QCOMPARE(page.Entries(), QStringList{u"Sales"_s});
    QVERIFY(!page.page->IsModified());
}

void TestPortPage::togglesEnableTheirEdits_data() {
    QTest::addColumn<QString>("box");
    QTest::addColumn<QString>("edit");
    QTest::newRow("session") << u"sessionLimit"_s << u"sessionMinutes"_s;
    QTest::newRow("address") << u"staticAddress"_s << u"address"_s;
    QTest::newRow("access") << u"restricted"_s << u"accounts"_s;
    QTest::newRow("idle") << u"idleLimit"_s << u"idleMinutes"_s;
}

void TestPortPage::togglesEnableTheirEdits() {
    QFETCH(QString, box);
    QFETCH(QString, edit);
    CPortSite site;
    auto sheet = site.Sheet();
    QVERIFY(QTest::qWaitForWindowActive(sheet.get()));
    auto* check = Child<QCheckBox>(sheet.get(), box);
    auto* target = Child<QWidget>(sheet.get(), edit);
    QVERIFY(!target->isEnabled());
    QVERIFY(!sheet->ApplyButton()->isEnabled());
    Click(check);
    QVERIFY(target->isEnabled());
    QVERIFY(target->hasFocus());
    QVERIFY(sheet->ApplyButton()->isEnabled());
    if (box == u"restricted"_s)
        QVERIFY(Child<QPushButton>(sheet.get(), u"addGroup"_s)->isEnabled());
    Click(check);
    QVERIFY(!target->isEnabled());
    QVERIFY(sheet->ApplyButton()->isEnabled());
}

void TestPortPage::browserOffersDomainsAndGroups() {
    CPortSite site;
    CAccountBrowser browser(site.console.Doc());
    browser.show();
    QTreeWidget* tree = browser.Tree();
    QStringList domains;
    for (int i = 0; i < tree->topLevelItemCount(); ++i)
        domains.append(tree->topLevelItem(i)->text(0));
    QCOMPARE(domains, (QStringList{u"SALES"_s, u"MARKETING"_s, u"LAB"_s}));
    QVERIFY(!browser.OkButton()->isEnabled());

    QTreeWidgetItem* sales = FindItem(tree, u"SALES"_s);
    tree->expandItem(sales);
    QStringList groups;
    for (int i = 0; i < sales->childCount(); ++i)
        groups.append(sales->child(i)->text(0));
    // Groups only: the domain's users are not offered.
    QCOMPARE(groups, (QStringList{u"Sales"_s, u"Remote Users"_s}));

    ClickItem(tree, sales);
    ClickItem(tree, FindItem(tree, u"Remote Users"_s), Qt::ControlModifier);
    QVERIFY(browser.OkButton()->isEnabled());
    const QList<CAllowedAccount> chosen = browser.Chosen();
    QCOMPARE(chosen, (QList<CAllowedAccount>{{u"SALES"_s, CAllowedAccount::Domain},
                                             {u"Remote Users"_s, CAllowedAccount::Group}}));
    QVERIFY(site.console.Prompter().Boxes().isEmpty());
}

void TestPortPage::browserReportsMissingController() {
    CPortSite site;
    CAccountBrowser browser(site.console.Doc());
    browser.show();
    QTreeWidgetItem* lab = FindItem(browser.Tree(), u"LAB"_s);
    browser.Tree()->expandItem(lab);
    QCOMPARE(site.console.Prompter().Boxes().size(), 1);
    QCOMPARE(site.console.Prompter().Boxes().first().text, u"Error getting PDC (2453)"_s);
    QCOMPARE(site.console.Prompter().Boxes().first().icon, Icon::Error);
    QVERIFY(!lab->isExpanded());
    // Nothing but the placeholder, which cannot be chosen.
    QCOMPARE(lab->childCount(), 1);
    QCOMPARE(lab->child(0)->flags(), Qt::NoItemFlags);
}

void TestPortPage::noMasterOpensNothing() {
    CPortSite site({}, false);
    WhenModal<QDialog>(this, [](QDialog* dialog) {
        qWarning("a sheet opened without a master server");
        dialog->reject();
    });
    QVERIFY(!ShowPortProperties(site.console.Doc(), kMaster, u"COM1"_s, nullptr));
    QCOMPARE(site.console.Prompter().Boxes().size(), 1);
    const CScriptedPrompter::Shown box = site.console.Prompter().Boxes().first();
    QCOMPARE(box.text, u"Can't show port properties\nPlease wait for connection to master server"_s);
    QCOMPARE(box.icon, Icon::Error);
    QTest::qWait(0);
    QVERIFY(!QApplication::activeModalWidget());
}

void TestPortPage::sheetTitleAndHelp() {
    CPortSite site;
    auto sheet = site.Sheet(u"COM2"_s);
    QCOMPARE(sheet->windowTitle(), u"Properties for PDC1\\COM2"_s);
    QCOMPARE(sheet->PageCount(), 1);
    QCOMPARE(sheet->Page(0)->Title(), u"Settings"_s);
    QTest::mouseClick(sheet->HelpButton(), Qt::LeftButton);
    // The console's own help window, beside the sheet, at the page's topic.
    QVERIFY(CHelp::Window() && CHelp::Window()->isVisible());
    QCOMPARE(CHelp::Window()->CurrentFile(), u"topic140.html"_s);
}

QTEST_MAIN(TestPortPage)
#include "tst_portpage.moc"
