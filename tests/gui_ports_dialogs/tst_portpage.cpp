// The port profile page in its sheet, with the account browser, driven as an
// administrator would over a site whose master holds callward.hw: what the page
// shows of a stored profile and writes back, the address check, the allowed
// list's editing and its length limit.
#include "support/guifixture.h"

#include "core/pages/portprofile.h"
#include "gui/app/icons.h"
#include "gui/dialogs/accountbrowser.h"
#include "gui/pages/portproperties.h"
#include "gui/pages/propport.h"
#include "gui/toolkit/propertysheet.h"

#include <QCheckBox>
#include <QPushButton>

using namespace Qt::StringLiterals;
using namespace GuiTest;
using Icon = OCL::IPrompter::Icon;

namespace {

// A site whose callward.hw holds body (lines joined by "\n") as the section of
// PDC1's COM1 between two other sections; no such section when body is null.
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
    // The lines of a section as the file holds them.
    QStringList Section(const QString& name = u"PDC1\\COM1"_s) {
        const QStringList lines = QString::fromLatin1(Bytes()).split(u"\r\n"_s);
        QStringList body;
        for (qsizetype i = lines.indexOf(u"["_s + name + u"]"_s) + 1; i > 0 && i < lines.size(); ++i) {
            if (lines[i].startsWith(u'['))
                break;
            if (!lines[i].isEmpty())
                body.append(lines[i]);
        }
        return body;
    }

    CTestConsole console;
    bool fetched = false;
};

// The allowed list from the top, domains marked with a trailing backslash;
// an entry without its kind's icon says so.
QString Entries(QTreeWidget* list) {
    const QImage group = CIcons::TreeImage(10).pixmap(16).toImage();
    const QImage domain = CIcons::TreeImage(9).pixmap(16).toImage();
    QStringList entries;
    for (int row = 0; row < list->topLevelItemCount(); ++row) {
        const QTreeWidgetItem* item = list->topLevelItem(row);
        const bool isDomain = item->data(0, CPropPort::KindRole).toInt() == CAllowedAccount::Domain;
        const bool iconRight = item->icon(0).pixmap(16).toImage() == (isDomain ? domain : group);
        entries << item->text(0) + (isDomain ? u"\\"_s : QString()) + (iconRight ? QString() : u"(icon)"_s);
    }
    return entries.join(u';');
}

// The boxes that are on, each with what its edit shows; an edit enabled
// against its box's state, or an address shown while off, says so.
QStringList Shown(QWidget* sheet) {
    QStringList shown;
    const auto box = [&](const QString& check, const QString& edit, const QString& text) {
        const bool on = Child<QCheckBox>(sheet, check)->isChecked();
        if (on)
            shown << check + u'=' + text;
        if (Child<QWidget>(sheet, edit)->isEnabled() != on)
            shown << edit + u" enabled wrongly"_s;
    };
    box(u"sessionLimit"_s, u"sessionMinutes"_s, Child<QLineEdit>(sheet, u"sessionMinutes"_s)->text());
    const QString address = Child<QLineEdit>(sheet, u"address"_s)->text();
    box(u"staticAddress"_s, u"address"_s, address);
    if (!Child<QCheckBox>(sheet, u"staticAddress"_s)->isChecked() && address != u"0.0.0.0"_s)
        shown << address;
    box(u"restricted"_s, u"accounts"_s, Entries(Child<QTreeWidget>(sheet, u"accounts"_s)));
    if (Child<QWidget>(sheet, u"addGroup"_s)->isEnabled() !=
        Child<QCheckBox>(sheet, u"restricted"_s)->isChecked())
        shown << u"addGroup enabled wrongly"_s;
    box(u"idleLimit"_s, u"idleMinutes"_s, Child<QLineEdit>(sheet, u"idleMinutes"_s)->text());
    return shown;
}

QStringList Written(qint64 session, const QString& address, const QString& groups, qint64 idle) {
    return {u"MaxSessionTime=%1"_s.arg(session), u"StaticIP="_s + address, u"AllowedGroups="_s + groups,
            u"Idle=%1"_s.arg(idle)};
}

void ClickAddGroup(QWidget* sheet, const QStringList& domainsToOpen, const QStringList& names,
                   bool ok = true) {
    WithModals([&] { QTest::mouseClick(Child<QPushButton>(sheet, u"addGroup"_s), Qt::LeftButton); },
               [&](QWidget* shown) {
                   auto* browser = qobject_cast<CAccountBrowser*>(shown);
                   for (const QString& domain : domainsToOpen)
                       browser->Tree()->expandItem(FindItem(browser->Tree(), domain));
                   for (const QString& name : names)
                       ClickItem(browser->Tree(), name, Qt::ControlModifier);
                   if (ok)
                       QTest::mouseClick(browser->OkButton(), Qt::LeftButton);
               });
}

} // namespace

class TestPortPage : public QObject {
    Q_OBJECT
private slots:
    void profile_data() {
        QTest::addColumn<QString>("body");
        QTest::addColumn<QStringList>("shown");
        QTest::addColumn<QStringList>("written"); // by OK, unchanged
        QTest::addColumn<QStringList>("leftOut"); // named in the warning
        const QStringList none;
        QTest::newRow("no profile") << QString() << none << Written(0, u"0"_s, {}, 0) << none;
        QTest::newRow("full profile")
            << u"MaxSessionTime=3600\nStaticIP=-1062731510\nAllowedGroups=\"Sales;Remote\\;\"\nIdle=020"_s
            << QStringList{u"sessionLimit=60"_s, u"staticAddress=192.168.1.10"_s,
                           u"restricted=Remote\\;Sales"_s, u"idleLimit=20"_s}
            << Written(3600, u"-1062731510"_s, u"\"Sales;Remote\\;\""_s, 20) << none;
        QTest::newRow("90 seconds: 1 minute, written as 60")
            << u"MaxSessionTime=90"_s << QStringList{u"sessionLimit=1"_s} << Written(60, u"0"_s, {}, 0)
            << none;
        QTest::newRow("30 seconds: 1 minute, written as 60")
            << u"MaxSessionTime=30"_s << QStringList{u"sessionLimit=1"_s} << Written(60, u"0"_s, {}, 0)
            << none;
        QTest::newRow("garbage reads as off")
            << u"MaxSessionTime=soon\nStaticIP=home\nAllowedGroups=\nIdle=x"_s << none
            << Written(0, u"0"_s, {}, 0) << none;
        QTest::newRow("leading digits count")
            << u"MaxSessionTime=120s\nIdle=15min"_s << QStringList{u"sessionLimit=2"_s, u"idleLimit=15"_s}
            << Written(120, u"0"_s, {}, 15) << none;
        QTest::newRow("10.0.0.1") << u"StaticIP=167772161"_s << QStringList{u"staticAddress=10.0.0.1"_s}
                                  << Written(0, u"167772161"_s, {}, 0) << none;
        QTest::newRow("unsigned spelling of an address")
            << u"StaticIP=3232235786"_s << QStringList{u"staticAddress=192.168.1.10"_s}
            << Written(0, u"-1062731510"_s, {}, 0) << none;
        QTest::newRow("list without quotes")
            << u"AllowedGroups=Field Staff;MARKETING\\;"_s
            << QStringList{u"restricted=MARKETING\\;Field Staff"_s}
            << Written(0, u"0"_s, u"\"Field Staff;MARKETING\\;\""_s, 0) << none;
        QTest::newRow("empty pieces")
            << u"AllowedGroups=\";;Sales;;\""_s << QStringList{u"restricted=Sales"_s}
            << Written(0, u"0"_s, u"\"Sales;\""_s, 0) << none;
        QTest::newRow("inner backslash, blanks kept")
            << u"AllowedGroups=\"SALES\\Sales; Field Staff ;\""_s
            << QStringList{u"restricted= Field Staff ;SALES\\Sales"_s}
            << Written(0, u"0"_s, u"\"SALES\\Sales; Field Staff ;\""_s, 0) << none;
        // Two quotes and 199 entries of 9 characters and a separator fill 1992
        // characters; a domain of 6 makes 2000 exactly, one more character is too
        // much: that entry and every one after it stay out.
        const QString groups = u"Group0001;"_s.repeated(199);
        QTest::newRow("2000 characters exactly")
            << u"AllowedGroups=\""_s + groups + u"Dom001\\;\""_s
            << QStringList{u"restricted=Dom001\\;"_s + QStringList(199, u"Group0001"_s).join(u';')}
            << Written(0, u"0"_s, u"\""_s + groups + u"Dom001\\;\""_s, 0) << none;
        QTest::newRow("2001 characters")
            << u"AllowedGroups=\""_s + groups + u"Dom0001\\;G;\""_s
            << QStringList{u"restricted=G;Dom0001\\;"_s + QStringList(199, u"Group0001"_s).join(u';')}
            << Written(0, u"0"_s, u"\""_s + groups + u"\""_s, 0)
            << QStringList{u"Dom0001 (domain)"_s, u"G"_s};
        // Only 3000 characters are read.
        QTest::newRow("read into 3000 characters")
            << u"AllowedGroups=\""_s + u"A;"_s.repeated(1600) + u"\""_s
            << QStringList{u"restricted="_s + QStringList(1500, u"A"_s).join(u';')}
            << Written(0, u"0"_s, u"\""_s + u"A;"_s.repeated(999) + u"\""_s, 0) << QStringList(501, u"A"_s);
    }

    void profile() {
        QFETCH(QString, body);
        QFETCH(QStringList, written);
        QFETCH(QStringList, leftOut);
        CPortSite site(body);
        QVERIFY(site.fetched);
        auto sheet = site.Sheet();
        QTEST(Shown(sheet.get()), "shown");
        QVERIFY(!sheet->ApplyButton()->isEnabled());
        QTest::mouseClick(sheet->OkButton(), Qt::LeftButton);
        QVERIFY(!sheet->isVisible());
        // Keys are replaced where they stand; only a new section shows the order.
        QStringList section = site.Section();
        if (!body.isNull()) {
            section.sort();
            written.sort();
        }
        QCOMPARE(section, written);
        // Nothing else in the file moved.
        QCOMPARE(site.Section(u"RAS2\\VPN1-1"_s), QStringList{u"Idle=5"_s});
        QVERIFY(site.Bytes().startsWith("[General]\r\nDailyReport=0\r\n["));
        const QList<CScriptedPrompter::Shown> boxes = site.console.Prompter().Boxes();
        QCOMPARE(boxes.size(), leftOut.isEmpty() ? 0 : 1);
        if (!leftOut.isEmpty()) {
            QCOMPARE(boxes[0].icon, Icon::Warning);
            QVERIFY2(boxes[0].text.endsWith(u"\n\n"_s + leftOut.join(u'\n')),
                     qPrintable(boxes[0].text.left(300)));
        }
    }

    void address_data() {
        QTest::addColumn<QString>("typed");
        QTest::addColumn<QString>("stored"); // empty: refused
        QTest::newRow("10.0.0.1") << u"10.0.0.1"_s << u"167772161"_s;
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

    void address() {
        QFETCH(QString, typed);
        QFETCH(QString, stored);
        CPortSite site(u"MaxSessionTime=600"_s);
        auto sheet = site.Sheet();
        Click(Child<QCheckBox>(sheet.get(), u"staticAddress"_s));
        Retype(Child<QLineEdit>(sheet.get(), u"address"_s), typed);
        const QByteArray before = site.Bytes();
        QTest::mouseClick(sheet->OkButton(), Qt::LeftButton);
        if (!stored.isEmpty()) {
            QVERIFY(site.console.Prompter().Boxes().isEmpty());
            QCOMPARE(site.Section(), Written(600, stored, {}, 0));
            return;
        }
        QCOMPARE(site.console.Prompter().Boxes().size(), 1);
        const CScriptedPrompter::Shown box = site.console.Prompter().Boxes().first();
        QCOMPARE(box.text, u"The specified IP address is invalid."_s);
        QCOMPARE(box.caption, u"Bad IP Address"_s);
        QCOMPARE(box.icon, Icon::Warning);
        QVERIFY(sheet->isVisible());
        QCOMPARE(site.Bytes(), before);
    }

    void toggles_data() {
        QTest::addColumn<QString>("box");
        QTest::addColumn<QString>("edit");
        QTest::addColumn<QString>("typed");
        QTest::addColumn<QStringList>("written");
        QTest::newRow("session") << u"sessionLimit"_s << u"sessionMinutes"_s << u"10"_s
                                 << Written(600, u"0"_s, {}, 0);
        QTest::newRow("address") << u"staticAddress"_s << u"address"_s << u"10.0.0.1"_s
                                 << Written(0, u"167772161"_s, {}, 0);
        QTest::newRow("access, nobody yet")
            << u"restricted"_s << u"accounts"_s << QString() << Written(0, u"0"_s, u"\"\""_s, 0);
        QTest::newRow("idle") << u"idleLimit"_s << u"idleMinutes"_s << u"15"_s << Written(0, u"0"_s, {}, 15);
    }

    // A box enables its edit (and focuses it) and marks the page modified, on and off.
    void toggles() {
        QFETCH(QString, box);
        QFETCH(QString, edit);
        QFETCH(QString, typed);
        CPortSite site;
        auto sheet = site.Sheet(u"COM2"_s);
        QCOMPARE(sheet->windowTitle(), u"Properties for PDC1\\COM2"_s);
        QCOMPARE(sheet->Page(0)->Title(), u"Settings"_s);
        QVERIFY(QTest::qWaitForWindowActive(sheet.get()));
        auto* check = Child<QCheckBox>(sheet.get(), box);
        auto* target = Child<QWidget>(sheet.get(), edit);
        QCOMPARE(Shown(sheet.get()), QStringList());
        Click(check);
        QVERIFY(target->isEnabled() && target->hasFocus());
        QVERIFY(sheet->ApplyButton()->isEnabled());
        Click(check);
        QCOMPARE(Shown(sheet.get()), QStringList());
        Click(check);
        if (auto* line = qobject_cast<QLineEdit*>(target))
            Retype(line, typed);
        QTest::mouseClick(sheet->OkButton(), Qt::LeftButton);
        QTEST(site.Section(u"PDC1\\COM2"_s), "written");
    }

    // Remove, a cancelled choice and accepted ones: each goes to the top.
    void listEditing() {
        CPortSite site(u"AllowedGroups=\"Sales;Remote\\;\""_s);
        auto sheet = site.Sheet();
        auto* list = Child<QTreeWidget>(sheet.get(), u"accounts"_s);
        auto* remove = Child<QPushButton>(sheet.get(), u"remove"_s);
        QCOMPARE(list->headerItem()->text(0), u"Accounts"_s);
        ClickAddGroup(sheet.get(), {u"SALES"_s}, {u"Remote Users"_s}, false);
        QVERIFY(!sheet->ApplyButton()->isEnabled());
        QVERIFY(!remove->isEnabled());
        ClickItem(list, u"Sales"_s);
        QTest::mouseClick(remove, Qt::LeftButton);
        QCOMPARE(Entries(list), u"Remote\\"_s);
        QVERIFY(!remove->isEnabled());
        QTest::mouseClick(sheet->ApplyButton(), Qt::LeftButton);
        QVERIFY(!sheet->ApplyButton()->isEnabled());
        QCOMPARE(site.Section().filter(u"AllowedGroups"_s).value(0), u"AllowedGroups=\"Remote\\;\""_s);

        ClickAddGroup(sheet.get(), {u"SALES"_s}, {u"Remote Users"_s, u"MARKETING"_s});
        ClickAddGroup(sheet.get(), {u"SALES"_s}, {u"Sales"_s});
        QCOMPARE(Entries(list), u"Sales;MARKETING\\;Remote Users;Remote\\"_s);
        QVERIFY(sheet->ApplyButton()->isEnabled());
        QTest::mouseClick(sheet->OkButton(), Qt::LeftButton);
        QCOMPARE(site.Section().filter(u"AllowedGroups"_s).value(0),
                 u"AllowedGroups=\"Remote\\;Remote Users;MARKETING\\;Sales;\""_s);
    }

    // Domains with controllers and their groups (not their users) are offered.
    void accountBrowser() {
        CPortSite site;
        CAccountBrowser browser(site.console.Doc());
        browser.show();
        QTreeWidget* tree = browser.Tree();
        QStringList items;
        for (int i = 0; i < tree->topLevelItemCount(); ++i)
            items.append(tree->topLevelItem(i)->text(0));
        QCOMPARE(items, (QStringList{u"SALES"_s, u"MARKETING"_s, u"LAB"_s}));
        QVERIFY(!browser.OkButton()->isEnabled());
        QTreeWidgetItem* sales = FindItem(tree, u"SALES"_s);
        tree->expandItem(sales);
        QCOMPARE((QStringList{sales->child(0)->text(0), sales->child(1)->text(0)}),
                 (QStringList{u"Sales"_s, u"Remote Users"_s}));
        QCOMPARE(sales->childCount(), 2);
        ClickItem(tree, u"SALES"_s);
        ClickItem(tree, u"Remote Users"_s, Qt::ControlModifier);
        QCOMPARE(browser.Chosen(), (QList<CAllowedAccount>{{u"SALES"_s, CAllowedAccount::Domain},
                                                           {u"Remote Users"_s, CAllowedAccount::Group}}));
        QVERIFY(site.console.Prompter().Boxes().isEmpty());

        QTreeWidgetItem* lab = FindItem(tree, u"LAB"_s);
        tree->expandItem(lab);
        QCOMPARE(site.console.Prompter().Texts(), QStringList{u"Error getting PDC (2453)"_s});
        QCOMPARE(site.console.Prompter().Boxes().first().icon, Icon::Error);
        QVERIFY(!lab->isExpanded());
        // Nothing but the placeholder, which cannot be chosen.
        QCOMPARE(lab->childCount(), 1);
        QCOMPARE(lab->child(0)->flags(), Qt::NoItemFlags);
    }

    void noMasterOpensNothing() {
        CPortSite site({}, false);
        QStringList opened = WithModals(
            [&] { QVERIFY(!ShowPortProperties(site.console.Doc(), kMaster, u"COM1"_s, nullptr)); });
        QCOMPARE(opened, QStringList());
        QCOMPARE(site.console.Prompter().Texts(),
                 QStringList{u"Can't show port properties\nPlease wait for connection to master server"_s});
        QCOMPARE(site.console.Prompter().Boxes().first().icon, Icon::Error);
    }
};

QTEST_MAIN(TestPortPage)
#include "tst_portpage.moc"
