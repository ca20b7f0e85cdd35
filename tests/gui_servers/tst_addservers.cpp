// The "Network" dialog over a test site's network: Microsoft domains with their
// dial-in servers, adding (with the first fetch at once), refusing duplicates,
// and fetching the router library for Routing and RAS servers.
#include "support/guifixture.h"

#include "gui/dialogs/addservers.h"

#include <QPushButton>

#include <filesystem>
#include <fstream>

using namespace Qt::StringLiterals;
using namespace GuiTest;

namespace {

// A host the network knows but the console does not monitor: enough registry
// for the RAS kind check ("RAS Type" 1 for Routing and RAS).
void AddHost(CSiteWriter& writer, const QString& name, const QString& kind) {
    CSiteWriter::HostOptions options;
    options.rasKind = kind;
    options.majorVersion = 4;
    writer.AddHost(name, options);
    writer.SetRegString(name, u"HKEY_LOCAL_MACHINE\\Software\\Microsoft\\Windows NT\\CurrentVersion"_s,
                        u"CurrentVersion"_s, u"4.0"_s);
    writer.SetServiceDword(name, u"RAS Type"_s, kind == u"RRAS"_s ? 1 : 0);
}

void Network(CSiteWriter& writer) {
    writer.AddDomain(u"CORP"_s, u"DC1"_s);
    writer.AddComputer(u"CORP"_s, u"RAS1"_s, true);
    writer.AddComputer(u"CORP"_s, u"WS1"_s, false);
    writer.AddComputer(u"CORP"_s, u"RAS2"_s, true);
    writer.AddDomain(u"NETWARE"_s, u"NW1"_s, u"NetWare Network"_s);
    writer.AddComputer(u"NETWARE"_s, u"NWRAS"_s, true);
    writer.AddDomain(u"LAB"_s, u"LABDC"_s);
    writer.AddComputer(u"LAB"_s, u"LABRAS"_s, true);
    AddHost(writer, u"RAS1"_s, u"RAS"_s);
    AddHost(writer, u"RAS2"_s, u"RAS"_s);
}

// An item and its children as "text/image", children in brackets.
QString Item(const QTreeWidgetItem* item) {
    QStringList children;
    for (int i = 0; i < item->childCount(); ++i)
        children << Item(item->child(i));
    const QString self = item->text(0) + u'/' + item->data(0, CAddServers::ImageRole).toString();
    return children.isEmpty() ? self : self + u" ["_s + children.join(u' ') + u']';
}

} // namespace

class TestAddServers : public QObject {
    Q_OBJECT

private slots:
    void initTestCase() { IsolateSettings("gui_servers"); }

    // The window comes up before the network is read; then only the Microsoft
    // network's domains show, each with a placeholder until it is opened.
    void opening() {
        CTestConsole console(Network);
        CAddServers dialog(console.Doc(), Frame(console));
        QCOMPARE(dialog.windowTitle(), u"Network"_s);
        QCOMPARE(dialog.Tree()->topLevelItemCount(), 0);
        QVERIFY(!dialog.AddButton()->isEnabled());
        QTest::keyClicks(dialog.NameBox(), u"X"_s);
        QTest::keyClick(dialog.NameBox(), Qt::Key_Backspace);
        QVERIFY(!dialog.AddButton()->isEnabled());
        QTRY_COMPARE(Item(dialog.Tree()->invisibleRootItem()), u"/ [CORP/9 [DUMMY/0] LAB/9 [DUMMY/0]]"_s);
        QCOMPARE(dialog.AddedCount(), 0);
        QVERIFY(console.Prompter().Boxes().isEmpty());
        dialog.show();
        QTest::mouseClick(dialog.CloseButton(), Qt::LeftButton);
        QCOMPARE(dialog.result(), int(QDialog::Rejected));
    }

    // The dial-in servers of a domain, read afresh (in pages) on every expansion.
    void expandingADomain() {
        CTestConsole console(Network);
        CAddServers dialog(console.Doc(), Frame(console));
        dialog.OnFillTimer();
        QTreeWidgetItem* corp = dialog.Tree()->topLevelItem(0);
        dialog.Tree()->expandItem(corp);
        QCOMPARE(Item(corp), u"CORP/9 [RAS1/1 RAS2/1]"_s);

        dialog.Tree()->collapseItem(corp);
        for (int i = 0; i < 700; ++i)
            console.Writer().AddComputer(u"CORP"_s, u"DIALIN-SERVER-%1"_s.arg(i, 3, 10, QChar(u'0')), true);
        console.Save();
        dialog.Tree()->expandItem(corp);
        QCOMPARE(corp->childCount(), 702);
        QCOMPARE(corp->child(701)->text(0), u"DIALIN-SERVER-699"_s);
    }

    void selection_data() {
        QTest::addColumn<int>("domain");
        QTest::addColumn<int>("child");    // -1: the domain itself
        QTest::addColumn<QString>("name"); // empty: Add disabled
        QTest::newRow("server") << 0 << 1 << u"RAS2"_s;
        QTest::newRow("domain") << 0 << -1 << QString();
        QTest::newRow("placeholder") << 1 << 0 << QString();
    }

    // Something typed before is replaced or emptied.
    void selection() {
        QFETCH(int, domain);
        QFETCH(int, child);
        QFETCH(QString, name);
        CTestConsole console(Network);
        CAddServers dialog(console.Doc(), Frame(console));
        dialog.OnFillTimer();
        dialog.Tree()->expandItem(dialog.Tree()->topLevelItem(0));
        QTest::keyClicks(dialog.NameBox(), u"TYPED"_s);
        QTreeWidgetItem* item = dialog.Tree()->topLevelItem(domain);
        dialog.Tree()->setCurrentItem(child < 0 ? item : item->child(child));
        QCOMPARE(dialog.NameBox()->text(), name);
        QCOMPARE(dialog.AddButton()->isEnabled(), !name.isEmpty());
    }

    void adding_data() {
        QTest::addColumn<bool>("escape");
        QTest::newRow("closed") << false;
        QTest::newRow("escaped") << true;
    }

    // The server joins the list, every view hears of it and its first fetch
    // starts at once; the same name again is refused, in other letters it is
    // another server. Having added, the dialog ends accepted, which tells the
    // tree that "Servers" may open.
    void adding() {
        QFETCH(bool, escape);
        CTestConsole console(Network);
        CMainFrame& frame = Frame(console);
        CAddServers dialog(console.Doc(), frame);
        dialog.show();
        QTRY_COMPARE(dialog.Tree()->topLevelItemCount(), 2);
        dialog.Tree()->expandItem(dialog.Tree()->topLevelItem(0));
        dialog.Tree()->setCurrentItem(dialog.Tree()->topLevelItem(0)->child(0));
        QTest::mouseClick(dialog.AddButton(), Qt::LeftButton);
        QCOMPARE(console.Doc().GetServerNumberByName(u"RAS1"_s), 0);
        QVERIFY(dialog.NameBox()->text().isEmpty());
        QVERIFY(!dialog.AddButton()->isEnabled());
        QCOMPARE(frame.NodeView()->ServersRoot()->child(0)->text(0), u"RAS1"_s);
        QTRY_VERIFY(!console.Sink().notices.isEmpty());
        QTRY_VERIFY(console.Doc().Servers()[0].m_fetchFinished.load());

        for (const QString& name : {u"RAS1"_s, u"ras1"_s}) {
            QTest::keyClicks(dialog.NameBox(), name);
            QTest::mouseClick(dialog.AddButton(), Qt::LeftButton);
            QVERIFY(dialog.NameBox()->text().isEmpty());
        }
        QCOMPARE(console.Prompter().Texts(), QStringList{u"Server RAS1 is already monitored"_s});
        QCOMPARE(console.Prompter().Boxes().first().icon, OCL::IPrompter::Icon::Error);
        QCOMPARE(console.Doc().GetServerNumberByName(u"ras1"_s), 1);
        QCOMPARE(dialog.AddedCount(), 2);
        if (escape)
            QTest::keyClick(&dialog, Qt::Key_Escape);
        else
            QTest::mouseClick(dialog.CloseButton(), Qt::LeftButton);
        QVERIFY(!dialog.isVisible());
        QCOMPARE(dialog.result(), int(QDialog::Accepted));
    }

    // The router administration library is copied from a Routing and RAS
    // server unless this computer has it or was told not to bother.
    void routerLibrary_data() {
        QTest::addColumn<QString>("typed");
        QTest::addColumn<int>("newbie"); // -1: no such value
        QTest::addColumn<bool>("present");
        QTest::addColumn<QString>("expected"); // empty: no library
        QTest::newRow("copied") << u"ROUTER"_s << -1 << false << u"server copy"_s;
        QTest::newRow("typed with backslashes") << u"\\\\ROUTER"_s << -1 << false << u"server copy"_s;
        QTest::newRow("hint value 0") << u"ROUTER"_s << 0 << false << u"server copy"_s;
        QTest::newRow("hint value 1") << u"ROUTER"_s << 1 << false << QString();
        QTest::newRow("classic RAS") << u"CLASSIC"_s << -1 << false << QString();
        QTest::newRow("already here") << u"ROUTER"_s << -1 << true << u"own copy"_s;
    }

    void routerLibrary() {
        QFETCH(QString, typed);
        QFETCH(int, newbie);
        QFETCH(bool, present);
        QFETCH(QString, expected);
        CTestConsole console([&](CSiteWriter& writer) {
            AddHost(writer, u"ROUTER"_s, u"RRAS"_s);
            AddHost(writer, u"CLASSIC"_s, u"RAS"_s);
            for (const QString& host : {u"ROUTER"_s, u"CLASSIC"_s})
                writer.WriteShareFile(host, u"admin$"_s, u"system32/mprapi.dll"_s, "server copy");
            if (newbie >= 0)
                writer.SetClientDword(kTestConsole, u"NewbieMPRAPI"_s, quint32(newbie));
            if (present)
                writer.WriteShareFile(kTestConsole, u"admin$"_s, u"system32/mprapi.dll"_s, "own copy");
        });
        CAddServers dialog(console.Doc(), Frame(console));
        dialog.NameBox()->setText(typed);
        dialog.OnAdd();
        // The list keeps the name as it was typed.
        QCOMPARE(console.Doc().GetServerNumberByName(typed), 0);
        std::filesystem::path target;
        console.Environment().Shares().Resolve(
            console.Environment().System().SystemDirectory() + "\\mprapi.dll", &target);
        std::ifstream in(target, std::ios::binary);
        QCOMPARE(QString::fromStdString(std::string(std::istreambuf_iterator<char>(in), {})), expected);
    }
};

QTEST_MAIN(TestAddServers)
#include "tst_addservers.moc"
