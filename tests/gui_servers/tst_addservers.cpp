// The "Network" dialog over a test site's network: Microsoft domains with their
// dial-in servers, adding (with the first fetch at once), refusing duplicates,
// and fetching the router library for Routing and RAS servers.
#include "guifixture.h"

#include "gui/dialogs/addservers.h"

#include <QLineEdit>
#include <QPushButton>
#include <QTest>
#include <QTreeWidget>

#include <filesystem>
#include <fstream>

using namespace Qt::StringLiterals;

namespace {

void Network(CSiteWriter& writer) {
    writer.AddDomain(u"CORP"_s, u"DC1"_s);
    writer.AddComputer(u"CORP"_s, u"RAS1"_s, true);
    writer.AddComputer(u"CORP"_s, u"WS1"_s, false);
    writer.AddComputer(u"CORP"_s, u"RAS2"_s, true);
    writer.AddDomain(u"NETWARE"_s, u"NW1"_s, u"NetWare Network"_s);
    writer.AddComputer(u"NETWARE"_s, u"NWRAS"_s, true);
    writer.AddDomain(u"LAB"_s, u"LABDC"_s);
    writer.AddComputer(u"LAB"_s, u"LABRAS"_s, true);
    GuiFixture::AddHost(writer, u"RAS1"_s, u"RAS"_s);
    GuiFixture::AddHost(writer, u"RAS2"_s, u"RAS"_s);
}

QTreeWidgetItem* TopItem(const CAddServers& dialog, const QString& text) {
    const QList<QTreeWidgetItem*> found = dialog.Tree()->findItems(text, Qt::MatchExactly);
    return found.isEmpty() ? nullptr : found.first();
}

QStringList ChildTexts(const QTreeWidgetItem* item) {
    QStringList texts;
    for (int i = 0; i < item->childCount(); ++i)
        texts << item->child(i)->text(0);
    return texts;
}

int Image(const QTreeWidgetItem* item) {
    return item->data(0, CAddServers::ImageRole).toInt();
}

std::filesystem::path Resolved(CTestConsole& console, const std::string& path) {
    std::filesystem::path local;
    console.Environment().Shares().Resolve(path, &local);
    return local;
}

std::string Contents(const std::filesystem::path& file) {
    std::ifstream in(file, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), {});
}

} // namespace

class TestAddServers : public QObject {
    Q_OBJECT

private slots:
    void initTestCase() { GuiFixture::IsolateSettings(); }

    void opening() {
        CTestConsole console(Network);
        CAddServers dialog(console.Doc(), GuiFixture::Frame(console));
        QCOMPARE(dialog.windowTitle(), u"Network"_s);
        QVERIFY(!dialog.AddButton()->isEnabled());
        QVERIFY(dialog.NameBox()->text().isEmpty());
        QCOMPARE(dialog.AddedCount(), 0);
        // The network is read once the window is up, not before.
        QCOMPARE(dialog.Tree()->topLevelItemCount(), 0);
        QVERIFY(dialog.FillTimer().isActive());
        QVERIFY(dialog.FillTimer().isSingleShot());
        QCOMPARE(dialog.FillTimer().interval(), 500);
        QTRY_COMPARE(dialog.Tree()->topLevelItemCount(), 2);
        QVERIFY(!dialog.FillTimer().isActive());
    }

    // Microsoft domains only, each with a placeholder until it is opened.
    void domainsOfTheMicrosoftNetwork() {
        CTestConsole console(Network);
        CAddServers dialog(console.Doc(), GuiFixture::Frame(console));
        dialog.OnFillTimer();
        QCOMPARE(dialog.Tree()->topLevelItemCount(), 2);
        QCOMPARE(dialog.Tree()->topLevelItem(0)->text(0), u"CORP"_s);
        QCOMPARE(dialog.Tree()->topLevelItem(1)->text(0), u"LAB"_s);
        for (int i = 0; i < 2; ++i) {
            const QTreeWidgetItem* domain = dialog.Tree()->topLevelItem(i);
            QCOMPARE(Image(domain), 9);
            QCOMPARE(ChildTexts(domain), QStringList{u"DUMMY"_s});
            QCOMPARE(Image(domain->child(0)), 0);
        }
        QVERIFY(console.Prompter().Boxes().isEmpty());
    }

    // The dial-in servers of a domain, read afresh on every expansion.
    void expandingADomain() {
        CTestConsole console(Network);
        CAddServers dialog(console.Doc(), GuiFixture::Frame(console));
        dialog.OnFillTimer();
        QTreeWidgetItem* corp = TopItem(dialog, u"CORP"_s);
        QVERIFY(corp);
        dialog.Tree()->expandItem(corp);
        QCOMPARE(ChildTexts(corp), QStringList({u"RAS1"_s, u"RAS2"_s}));
        for (int i = 0; i < corp->childCount(); ++i)
            QCOMPARE(Image(corp->child(i)), 1);

        dialog.Tree()->collapseItem(corp);
        console.Writer().AddComputer(u"CORP"_s, u"RAS3"_s, true);
        console.Save();
        dialog.Tree()->expandItem(corp);
        QCOMPARE(ChildTexts(corp), QStringList({u"RAS1"_s, u"RAS2"_s, u"RAS3"_s}));
    }

    // Many servers come in several pages; all of them are listed.
    void pagedServerList() {
        CTestConsole console([](CSiteWriter& writer) {
            writer.AddDomain(u"BIG"_s, u"BIGDC"_s);
            for (int i = 0; i < 700; ++i)
                writer.AddComputer(u"BIG"_s, u"DIALIN-SERVER-%1"_s.arg(i, 3, 10, QChar(u'0')), true);
        });
        CAddServers dialog(console.Doc(), GuiFixture::Frame(console));
        dialog.OnFillTimer();
        QTreeWidgetItem* big = TopItem(dialog, u"BIG"_s);
        QVERIFY(big);
        dialog.Tree()->expandItem(big);
        QCOMPARE(big->childCount(), 700);
        QCOMPARE(big->child(699)->text(0), u"DIALIN-SERVER-699"_s);
    }

    void selection_data() {
        QTest::addColumn<QString>("item");
        QTest::addColumn<bool>("addEnabled");
        QTest::addColumn<QString>("name");
        QTest::newRow("server") << u"CORP/RAS2"_s << true << u"RAS2"_s;
        QTest::newRow("domain") << u"CORP"_s << false << QString();
        QTest::newRow("placeholder") << u"LAB/DUMMY"_s << false << QString();
    }

    void selection() {
        QFETCH(QString, item);
        QFETCH(bool, addEnabled);
        QFETCH(QString, name);
        CTestConsole console(Network);
        CAddServers dialog(console.Doc(), GuiFixture::Frame(console));
        dialog.OnFillTimer();
        dialog.Tree()->expandItem(TopItem(dialog, u"CORP"_s));
        // Something typed before is replaced or emptied.
        QTest::keyClicks(dialog.NameBox(), u"TYPED"_s);
        QVERIFY(dialog.AddButton()->isEnabled());

        const QStringList path = item.split(u'/');
        QTreeWidgetItem* target = TopItem(dialog, path[0]);
        if (path.size() > 1)
            target = target->child(ChildTexts(target).indexOf(path[1]));
        QVERIFY(target);
        dialog.Tree()->setCurrentItem(target);
        QCOMPARE(dialog.AddButton()->isEnabled(), addEnabled);
        QCOMPARE(dialog.NameBox()->text(), name);
    }

    void typingEnablesAdd() {
        CTestConsole console(Network);
        CAddServers dialog(console.Doc(), GuiFixture::Frame(console));
        QTest::keyClicks(dialog.NameBox(), u"X"_s);
        QVERIFY(dialog.AddButton()->isEnabled());
        QTest::keyClick(dialog.NameBox(), Qt::Key_Backspace);
        QVERIFY(!dialog.AddButton()->isEnabled());
    }

    // The server joins the list, every view hears of it, and its first fetch
    // starts at once.
    void addingFetchesAtOnce() {
        CTestConsole console(Network);
        CMainFrame& frame = GuiFixture::Frame(console);
        CAddServers dialog(console.Doc(), frame);
        dialog.OnFillTimer();
        dialog.Tree()->expandItem(TopItem(dialog, u"CORP"_s));
        dialog.Tree()->setCurrentItem(TopItem(dialog, u"CORP"_s)->child(0));
        QCOMPARE(dialog.NameBox()->text(), u"RAS1"_s);
        QTest::mouseClick(dialog.AddButton(), Qt::LeftButton);

        const int number = console.Doc().GetServerNumberByName(u"RAS1"_s);
        QCOMPARE(number, 0);
        QCOMPARE(dialog.AddedCount(), 1);
        QVERIFY(dialog.NameBox()->text().isEmpty());
        QVERIFY(!dialog.AddButton()->isEnabled());
        QVERIFY(console.Prompter().Boxes().isEmpty());
        // Hint 20 reached the tree.
        QCOMPARE(frame.NodeView()->ServersRoot()->child(0)->text(0), u"RAS1"_s);
        // The fetch was started by the dialog: its notices arrive without a refresh.
        QTRY_VERIFY(std::any_of(console.Sink().notices.begin(), console.Sink().notices.end(),
                                [](const CNoticeSink::Notice& n) { return n.index == 0; }));
        QTRY_VERIFY(console.Doc().Servers()[0].m_fetchFinished.load());
    }

    void duplicatesAreRefused_data() {
        QTest::addColumn<QString>("first");
        QTest::addColumn<QString>("second");
        QTest::addColumn<bool>("refused");
        QTest::newRow("same name") << u"RAS1"_s << u"RAS1"_s << true;
        QTest::newRow("other case is another server") << u"RAS1"_s << u"ras1"_s << false;
    }

    void duplicatesAreRefused() {
        QFETCH(QString, first);
        QFETCH(QString, second);
        QFETCH(bool, refused);
        CTestConsole console(Network);
        CAddServers dialog(console.Doc(), GuiFixture::Frame(console));
        for (const QString& name : {first, second}) {
            dialog.NameBox()->setText(name);
            dialog.OnAdd();
            QVERIFY(dialog.NameBox()->text().isEmpty());
        }
        QCOMPARE(int(console.Doc().Servers().GetCount()), refused ? 1 : 2);
        QCOMPARE(dialog.AddedCount(), refused ? 1 : 2);
        const auto boxes = console.Prompter().Boxes();
        if (refused) {
            QCOMPARE(boxes.size(), 1);
            QCOMPARE(boxes[0].text, u"Server RAS1 is already monitored"_s);
            QCOMPARE(boxes[0].icon, OCL::IPrompter::Icon::Error);
        } else {
            QVERIFY(boxes.isEmpty());
        }
    }

    // What the dialog ends with decides whether the tree may open "Servers".
    void closing_data() {
        QTest::addColumn<bool>("add");
        QTest::addColumn<bool>("escape");
        QTest::addColumn<int>("result");
        QTest::newRow("nothing added") << false << false << int(QDialog::Rejected);
        QTest::newRow("one added") << true << false << int(QDialog::Accepted);
        QTest::newRow("escape after adding") << true << true << int(QDialog::Accepted);
        QTest::newRow("escape") << false << true << int(QDialog::Rejected);
    }

    void closing() {
        QFETCH(bool, add);
        QFETCH(bool, escape);
        QFETCH(int, result);
        CTestConsole console(Network);
        CAddServers dialog(console.Doc(), GuiFixture::Frame(console));
        dialog.show();
        QVERIFY(QTest::qWaitForWindowExposed(&dialog));
        if (add) {
            dialog.NameBox()->setText(u"RAS2"_s);
            dialog.OnAdd();
        }
        if (escape)
            QTest::keyClick(&dialog, Qt::Key_Escape);
        else
            QTest::mouseClick(dialog.CloseButton(), Qt::LeftButton);
        QVERIFY(!dialog.isVisible());
        QCOMPARE(dialog.result(), result);
    }

    // The router administration library is copied from a Routing and RAS
    // server unless this computer has it or was told not to bother.
    void routerLibrary_data() {
        QTest::addColumn<QString>("typed");
        QTest::addColumn<QString>("kind");
        QTest::addColumn<int>("newbie");
        QTest::addColumn<bool>("present");
        QTest::addColumn<QString>("expected");
        const QString none;
        QTest::newRow("copied") << u"ROUTER"_s << u"RRAS"_s << -1 << false << u"server copy"_s;
        QTest::newRow("typed with backslashes")
            << u"\\\\ROUTER"_s << u"RRAS"_s << -1 << false << u"server copy"_s;
        QTest::newRow("hint value 0") << u"ROUTER"_s << u"RRAS"_s << 0 << false << u"server copy"_s;
        QTest::newRow("hint value 1") << u"ROUTER"_s << u"RRAS"_s << 1 << false << none;
        QTest::newRow("classic RAS") << u"CLASSIC"_s << u"RAS"_s << -1 << false << none;
        QTest::newRow("already here") << u"ROUTER"_s << u"RRAS"_s << -1 << true << u"own copy"_s;
    }

    void routerLibrary() {
        QFETCH(QString, typed);
        QFETCH(QString, kind);
        QFETCH(int, newbie);
        QFETCH(bool, present);
        QFETCH(QString, expected);
        CTestConsole console([&](CSiteWriter& writer) {
            GuiFixture::AddHost(writer, u"ROUTER"_s, u"RRAS"_s);
            GuiFixture::AddHost(writer, u"CLASSIC"_s, u"RAS"_s);
            for (const QString& host : {u"ROUTER"_s, u"CLASSIC"_s})
                writer.WriteShareFile(host, u"admin$"_s, u"system32/mprapi.dll"_s, "server copy");
            if (newbie >= 0)
                writer.SetClientDword(kTestConsole, u"NewbieMPRAPI"_s, quint32(newbie));
            if (present)
                writer.WriteShareFile(kTestConsole, u"admin$"_s, u"system32/mprapi.dll"_s, "own copy");
        });
        const std::filesystem::path target =
            Resolved(console, console.Environment().System().SystemDirectory() + "\\mprapi.dll");
        std::error_code ec;
        QCOMPARE(std::filesystem::exists(target, ec), present);

        CAddServers dialog(console.Doc(), GuiFixture::Frame(console));
        dialog.NameBox()->setText(typed);
        dialog.OnAdd();
        // The list keeps the name as it was typed.
        QCOMPARE(console.Doc().GetServerNumberByName(typed), 0);
        if (expected.isEmpty())
            QVERIFY(!std::filesystem::exists(target, ec));
        else
            QCOMPARE(QString::fromStdString(Contents(target)), expected);
    }
};

QTEST_MAIN(TestAddServers)
#include "tst_addservers.moc"
