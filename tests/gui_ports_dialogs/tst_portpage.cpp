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
    explicit CPortSite(const QString& body = {})
        : console([&body](CSiteWriter& writer) {
              WriteNetwork(writer);
              QString text = u"[General]\r\nDailyReport=0\r\n"_s;
              if (!body.isNull())
                  text += u"[PDC1\\COM1]\r\n"_s + QString(body).replace(u"\n"_s, u"\r\n"_s) + u"\r\n"_s;
              text += u"[RAS2\\VPN1-1]\r\nIdle=5\r\n"_s;
              writer.WriteShareFile(kMaster, u"CW_NT_DB"_s, u"callward.hw"_s, text.toLatin1());
          }) {
        console.FetchAll();
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
};

QStringList Children(const QTreeWidgetItem* item) {
    QStringList texts;
    for (int i = 0; i < item->childCount(); ++i)
        texts << item->child(i)->text(0);
    return texts;
}

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

QStringList Written(qint64 session, qint64 address, const QString& groups, qint64 idle) {
    return {u"MaxSessionTime=%1"_s.arg(session), u"StaticIP=%1"_s.arg(address), u"AllowedGroups="_s + groups,
            u"Idle=%1"_s.arg(idle)};
}

// Chooses the named items in the browser (SALES opened) and accepts them.
void ClickAddGroup(QWidget* sheet, const QStringList& names) {
    WithModals([&] { QTest::mouseClick(Child<QPushButton>(sheet, u"addGroup"_s), Qt::LeftButton); },
               [&](QWidget* shown) {
                   auto* browser = qobject_cast<CAccountBrowser*>(shown);
                   browser->Tree()->expandItem(FindItem(browser->Tree(), u"SALES"_s));
                   for (const QString& name : names)
                       ClickItem(browser->Tree(), name, Qt::ControlModifier);
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
        QTest::newRow("no profile") << QString() << none << Written(0, 0, {}, 0) << none;
        QTest::newRow("full profile")
            << u"MaxSessionTime=3600\nStaticIP=-1062731510\nAllowedGroups=\"Sales;Remote\\;\"\nIdle=020"_s
            << QStringList{u"sessionLimit=60"_s, u"staticAddress=192.168.1.10"_s,
                           u"restricted=Remote\\;Sales"_s, u"idleLimit=20"_s}
            << Written(3600, -1062731510, u"\"Sales;Remote\\;\""_s, 20) << none;
        QTest::newRow("90 s: 1 minute, 60 s")
            << u"MaxSessionTime=90"_s << QStringList{u"sessionLimit=1"_s} << Written(60, 0, {}, 0) << none;
        QTest::newRow("30 s: 1 minute, 60 s")
            << u"MaxSessionTime=30"_s << QStringList{u"sessionLimit=1"_s} << Written(60, 0, {}, 0) << none;
        QTest::newRow("garbage reads as off")
            << u"MaxSessionTime=soon\nStaticIP=home\nAllowedGroups=\nIdle=x"_s << none << Written(0, 0, {}, 0)
            << none;
        QTest::newRow("leading digits count")
            << u"MaxSessionTime=120s\nIdle=15min"_s << QStringList{u"sessionLimit=2"_s, u"idleLimit=15"_s}
            << Written(120, 0, {}, 15) << none;
        QTest::newRow("10.0.0.1") << u"StaticIP=167772161"_s << QStringList{u"staticAddress=10.0.0.1"_s}
                                  << Written(0, 167772161, {}, 0) << none;
        QTest::newRow("unsigned address")
            << u"StaticIP=3232235786"_s << QStringList{u"staticAddress=192.168.1.10"_s}
            << Written(0, -1062731510, {}, 0) << none;
        QTest::newRow("list without quotes") << u"AllowedGroups=Field Staff;MARKETING\\;"_s
                                             << QStringList{u"restricted=MARKETING\\;Field Staff"_s}
                                             << Written(0, 0, u"\"Field Staff;MARKETING\\;\""_s, 0) << none;
        QTest::newRow("empty pieces")
            << u"AllowedGroups=\";;Sales;;\""_s << QStringList{u"restricted=Sales"_s}
            << Written(0, 0, u"\"Sales;\""_s, 0) << none;
        QTest::newRow("inner backslash, blanks kept")
            << u"AllowedGroups=\"SALES\\Sales; Field Staff ;\""_s
            << QStringList{u"restricted= Field Staff ;SALES\\Sales"_s}
            << Written(0, 0, u"\"SALES\\Sales; Field Staff ;\""_s, 0) << none;
        // Two quotes and 199 entries of 9 characters and a separator fill 1992
        // characters; a domain of 6 makes 2000 exactly, one more character is too
        // much: that entry and every one after it stay out.
        const QString groups = u"Group0001;"_s.repeated(199);
        QTest::newRow("2000 characters exactly")
            << u"AllowedGroups=\""_s + groups + u"Dom001\\;\""_s
            << QStringList{u"restricted=Dom001\\;"_s + QStringList(199, u"Group0001"_s).join(u';')}
            << Written(0, 0, u"\""_s + groups + u"Dom001\\;\""_s, 0) << none;
        QTest::newRow("2001 characters")
            << u"AllowedGroups=\""_s + groups + u"Dom0001\\;G;\""_s
            << QStringList{u"restricted=G;Dom0001\\;"_s + QStringList(199, u"Group0001"_s).join(u';')}
            << Written(0, 0, u"\""_s + groups + u"\""_s, 0) << QStringList{u"Dom0001 (domain)"_s, u"G"_s};
        // Only 3000 characters are read.
        QTest::newRow("read into 3000 characters")
            << u"AllowedGroups=\""_s + u"A;"_s.repeated(1600) + u"\""_s
            << QStringList{u"restricted="_s + QStringList(1500, u"A"_s).join(u';')}
            << Written(0, 0, u"\""_s + u"A;"_s.repeated(999) + u"\""_s, 0) << QStringList(501, u"A"_s);
    }

    void profile() {
        QFETCH(QString, body);
        QFETCH(QStringList, written);
        QFETCH(QStringList, leftOut);
        CPortSite site(body);
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

    void typed_data() {
        QTest::addColumn<QString>("box");
        QTest::addColumn<QString>("typed");
        QTest::addColumn<QStringList>("written"); // empty: refused
        const QString address = u"staticAddress"_s;
        const QStringList refused;
        QTest::newRow("session") << u"sessionLimit"_s << u"10"_s << Written(600, 0, {}, 0);
        QTest::newRow("access, nobody yet") << u"restricted"_s << QString() << Written(0, 0, u"\"\""_s, 0);
        QTest::newRow("idle") << u"idleLimit"_s << u"15"_s << Written(0, 0, {}, 15);
        QTest::newRow("10.0.0.1") << address << u"10.0.0.1"_s << Written(0, 167772161, {}, 0);
        QTest::newRow("all ones") << address << u"255.255.255.255"_s << Written(0, -1, {}, 0);
        QTest::newRow("letters after digits pass") << address << u"1a.2.3.4"_s << Written(0, 16909060, {}, 0);
        QTest::newRow("leading zeros") << address << u"001.2.3.4"_s << Written(0, 16909060, {}, 0);
        QTest::newRow("300.1.1.1") << address << u"300.1.1.1"_s << refused;
        QTest::newRow("256 in the last part") << address << u"1.2.3.256"_s << refused;
        QTest::newRow("1.2.3") << address << u"1.2.3"_s << refused;
        QTest::newRow("1..2.3") << address << u"1..2.3"_s << refused;
        QTest::newRow("four dots") << address << u"1.2.3.4.5"_s << refused;
        QTest::newRow("part of four characters") << address << u"0001.2.3.4"_s << refused;
        QTest::newRow("empty last part") << address << u"1.2.3."_s << refused;
    }

    // A box enables its edit (and focuses it) and marks the page modified, on
    // and off; what is typed is written, an invalid address refused.
    void typed() {
        QFETCH(QString, box);
        QFETCH(QString, typed);
        QFETCH(QStringList, written);
        CPortSite site;
        auto sheet = site.Sheet(u"COM2"_s);
        QCOMPARE(sheet->Page(0)->Title(), u"Settings"_s);
        QVERIFY(QTest::qWaitForWindowActive(sheet.get()));
        auto* check = Child<QCheckBox>(sheet.get(), box);
        QCOMPARE(Shown(sheet.get()), QStringList());
        Click(check);
        QWidget* edit = QApplication::focusWidget();
        QVERIFY(edit && edit != check && edit->isEnabled());
        QVERIFY(sheet->ApplyButton()->isEnabled());
        Click(check);
        QCOMPARE(Shown(sheet.get()), QStringList());
        Click(check);
        if (auto* line = qobject_cast<QLineEdit*>(edit))
            Retype(line, typed);
        const QByteArray before = site.Bytes();
        QTest::mouseClick(sheet->OkButton(), Qt::LeftButton);
        QCOMPARE(site.Section(u"PDC1\\COM2"_s), written);
        QCOMPARE(site.console.Prompter().Boxes().size(), written.isEmpty() ? 1 : 0);
        if (!written.isEmpty())
            return;
        const CScriptedPrompter::Shown refusal = site.console.Prompter().Boxes().first();
        QCOMPARE(refusal.text, u"The specified IP address is invalid."_s);
        QCOMPARE(refusal.caption, u"Bad IP Address"_s);
        QCOMPARE(refusal.icon, Icon::Warning);
        QVERIFY(sheet->isVisible());
        QCOMPARE(site.Bytes(), before);
    }

    // Remove, a cancelled choice and accepted ones: each goes to the top.
    void listEditing() {
        CPortSite site(u"AllowedGroups=\"Sales;Remote\\;\""_s);
        auto sheet = site.Sheet();
        auto* list = Child<QTreeWidget>(sheet.get(), u"accounts"_s);
        auto* remove = Child<QPushButton>(sheet.get(), u"remove"_s);
        QCOMPARE(list->headerItem()->text(0), u"Accounts"_s);
        // The browser offers the domains with controllers and their groups (not
        // their users); a domain without one says so. Cancelled, it adds nothing.
        WithModals(
            [&] { QTest::mouseClick(Child<QPushButton>(sheet.get(), u"addGroup"_s), Qt::LeftButton); },
            [](QWidget* shown) {
                QTreeWidget* tree = qobject_cast<CAccountBrowser*>(shown)->Tree();
                QCOMPARE(Children(tree->invisibleRootItem()),
                         (QStringList{u"SALES"_s, u"MARKETING"_s, u"LAB"_s}));
                tree->expandItem(FindItem(tree, u"SALES"_s));
                QCOMPARE(Children(FindItem(tree, u"SALES"_s)), (QStringList{u"Sales"_s, u"Remote Users"_s}));
                ClickItem(tree, u"Remote Users"_s);
                QTreeWidgetItem* lab = FindItem(tree, u"LAB"_s);
                tree->expandItem(lab);
                QVERIFY(!lab->isExpanded());
                // Nothing but the placeholder, which cannot be chosen.
                QCOMPARE(Children(lab).size(), 1);
                QCOMPARE(lab->child(0)->flags(), Qt::NoItemFlags);
            });
        QCOMPARE(site.console.Prompter().Texts(), QStringList{u"Error getting PDC (2453)"_s});
        QCOMPARE(site.console.Prompter().Boxes().first().icon, Icon::Error);
        QVERIFY(!sheet->ApplyButton()->isEnabled());
        QVERIFY(!remove->isEnabled());
        ClickItem(list, u"Sales"_s);
        QTest::mouseClick(remove, Qt::LeftButton);
        QCOMPARE(Entries(list), u"Remote\\"_s);
        QVERIFY(!remove->isEnabled());
        QTest::mouseClick(sheet->ApplyButton(), Qt::LeftButton);
        QVERIFY(!sheet->ApplyButton()->isEnabled());
        QCOMPARE(site.Section().filter(u"AllowedGroups"_s).value(0), u"AllowedGroups=\"Remote\\;\""_s);

        ClickAddGroup(sheet.get(), {u"Remote Users"_s, u"MARKETING"_s});
        ClickAddGroup(sheet.get(), {u"Sales"_s});
        QCOMPARE(Entries(list), u"Sales;MARKETING\\;Remote Users;Remote\\"_s);
        QVERIFY(sheet->ApplyButton()->isEnabled());
        QTest::mouseClick(sheet->OkButton(), Qt::LeftButton);
        QCOMPARE(site.Section().filter(u"AllowedGroups"_s).value(0),
                 u"AllowedGroups=\"Remote\\;Remote Users;MARKETING\\;Sales;\""_s);
    }

    void noMasterOpensNothing() {
        CTestConsole console(WriteNetwork);
        QCOMPARE(
            WithModals([&] { QVERIFY(!ShowPortProperties(console.Doc(), kMaster, u"COM1"_s, nullptr)); }),
            QStringList());
        QCOMPARE(console.Prompter().Texts(),
                 QStringList{u"Can't show port properties\nPlease wait for connection to master server"_s});
        QCOMPARE(console.Prompter().Boxes().first().icon, Icon::Error);
    }
};

QTEST_MAIN(TestPortPage)
#include "tst_portpage.moc"
