// The users view over a test site: which accounts each selection lists,
// deleting rows, the cells as copied, sorting, the limit columns; the
// account nodes' menus by whether a profile exists; and the
// view against cwsite serve: a session the service records shows after
// Refresh, and deleting profiles while the service writes statistics loses
// none of its updates.
#include "core/pipe/servicepipeclient.h"
#include "gui/frame/mainframe.h"
#include "gui/views/nodeview.h"
#include "gui/views/usersview.h"
#include "support/testconsole.h"

#include <QAction>
#include <QApplication>
#include <QClipboard>
#include <QDateTime>
#include <QProcess>
#include <QStandardPaths>
#include <QTest>

#include <atomic>
#include <thread>

using namespace Qt::StringLiterals;
using Answer = OCL::IPrompter::Answer;

namespace {

// The users view for a node kind and its names, filled as the tree's selection fills it.
CUsersView* Show(CTestConsole& console, int kind, const QString& domain = kNone, const QString& group = kNone,
                 const QString& user = kNone) {
    CMainFrame& frame = console.Frame();
    CCwadminDoc& doc = console.Doc();
    doc.m_selectionKind = kind;
    doc.m_allAccounts = kind == NodeKind::AccountsRoot ? 1 : 0;
    std::tie(doc.m_selectedDomain, doc.m_selectedGroup, doc.m_selectedUser) = std::tie(domain, group, user);
    frame.InvalidateShownKind();
    frame.ArrangeViews();
    return qobject_cast<CUsersView*>(frame.RightView());
}

// The first column of every row.
QString Names(const CUsersView& view) {
    QStringList names;
    for (int row = 0; row < view.Model()->rowCount(); ++row)
        names << view.Model()->CellText(row, UserColumn::User);
    return names.join(u' ');
}

} // namespace

class TestUsersView : public QObject {
    Q_OBJECT
private slots:
    void initTestCase();
    void init();
    void selection_data();
    void selection();
    void deleteRows_data();
    void deleteRows();
    void copiedCells_data();
    void copiedCells();
    void firstClickOnSessions();
    void limitColumns();
    void menus_data();
    void menus();
    // Against cwsite serve.
    void sessionShowsAfterRefresh();
    void deleteWhileServiceWrites();
    void cleanupTestCase();

private:
    std::string File() {
        return m_console->Writer().SharePath(u"PDC1"_s, u"CW_NT_DB"_s).toStdString() + "/callward.usr";
    }
    void Write(const QByteArray& bytes) { QVERIFY(m_console->Files().WriteAll(File(), bytes.toStdString())); }
    // A caller dials in on the port and hangs up then; false when the service refused.
    bool Session(CServicePipeClient& pipe, const QString& port, const QString& account, qint64 hangUpAt) {
        for (const QByteArray& request :
             {CServicePipeClient::ConnectRequest(port, account, kTestConsole),
              CServicePipeClient::HangUpRequest(port, account, kTestConsole, hangUpAt)})
            if (!pipe.Request(CServicePipeClient::RemotePipeName(u"PDC1"_s), request, 2000)
                     .reply.startsWith('0'))
                return false;
        return true;
    }
    QString Cell(const CUsersView& view, const QString& account, int column) {
        return view.Model()->CellText(view.Model()->FindRow(account), column);
    }

    std::unique_ptr<CTestConsole> m_console;
    QProcess m_serve;
};

void TestUsersView::initTestCase() {
    QStandardPaths::setTestModeEnabled(true);
    m_console = std::make_unique<CTestConsole>([](CSiteWriter& w) {
        CTestConsole::AddServer(w, u"PDC1"_s, u"RAS"_s, u"4.0"_s, 3, true);
        w.AddDomain(u"CORP"_s, u"PDC1"_s);
        w.AddUser(u"CORP"_s, u"alice"_s);
        w.AddGroup(u"CORP"_s, u"Remote"_s, {u"alice"_s, u"bob"_s, u"lonely"_s});
    });
    QVERIFY(m_console->FetchAll());
    // The service answers sessions when asked and writes nothing unasked.
    m_serve.start(QStringLiteral(CW_CWSITE), {u"serve"_s, m_console->Root(), u"--quiet"_s});
    QVERIFY(m_serve.waitForStarted());
    const QString pipe = CServicePipeClient::RemotePipeName(u"PDC1"_s);
    QTRY_COMPARE_WITH_TIMEOUT(m_console->Doc().Pipe().Request(pipe, "UPDATE_UPDATE", 200).error, DWORD(0),
                              10000);
}

void TestUsersView::init() {
    m_console->Prompter().Clear();
    m_console->Doc().m_usersReloadPending = 1;
    m_console->Doc().m_showSeconds = 0;
}

void TestUsersView::selection_data() {
    QTest::addColumn<int>("kind");
    QTest::addColumn<QString>("names"); // domain, group, user
    QTest::addColumn<QString>("rows");
    QTest::newRow("all") << 6 << u"* * *"_s
                         << u"CORP\\alice CORPX\\alice COR\\bob lonely OTHER\\bob corp\\zed"_s;
    QTest::newRow("account") << 8 << u"corp * ALICE"_s << u"CORP\\alice"_s;
    QTest::newRow("account without record") << 8 << u"CORP * carol"_s << QString();
    // A prefix: CORPX's accounts are listed with CORP's.
    QTest::newRow("domain") << 9 << u"CORP * *"_s << u"CORP\\alice CORPX\\alice corp\\zed"_s;
    // COR begins CORP, so COR\bob counts as of the domain; "lonely" is looked up whole.
    QTest::newRow("group") << 10 << u"CORP Remote *"_s << u"CORP\\alice COR\\bob lonely"_s;
    QTest::newRow("group, no controller") << 10 << u"NOWHERE Remote *"_s << QString();
}

void TestUsersView::selection() {
    QFETCH(int, kind);
    QFETCH(QString, names);
    QFETCH(QString, rows);
    Write("[CORP\\alice]\r\n[CORPX\\alice]\r\n[COR\\bob]\r\n[lonely]\r\n[+CORP\\Remote]\r\n[OTHER\\bob]\r\n"
          "[corp\\zed]\r\n");
    const QStringList n = names.split(u' ');
    QCOMPARE(Names(*Show(*m_console, kind, n[0], n[1], n[2])), rows);
    QCOMPARE(m_console->Prompter().Texts(),
             n[0] == u"NOWHERE"_s ? QStringList{u"Error getting PDC (2453)"_s} : QStringList());
}

void TestUsersView::deleteRows_data() {
    QTest::addColumn<QList<int>>("rows");
    QTest::addColumn<int>("answer");
    QTest::addColumn<bool>("asked");
    QTest::addColumn<QString>("left");
    QTest::newRow("one") << QList<int>{1} << int(Answer::No) << false << u"CORP\\a CORP\\c"_s;
    QTest::newRow("two, no") << QList<int>{0, 2} << int(Answer::No) << true << u"CORP\\a CORP\\b CORP\\c"_s;
    QTest::newRow("two, yes") << QList<int>{0, 2} << int(Answer::Yes) << true << u"CORP\\b"_s;
}

void TestUsersView::deleteRows() {
    QFETCH(QList<int>, rows);
    QFETCH(int, answer);
    QFETCH(bool, asked);
    QFETCH(QString, left);
    Write("[CORP\\a]\r\nTotalConnects=1\r\n[CORP\\b]\r\n[CORP\\c]\r\n");
    CUsersView* view = Show(*m_console, 6);
    for (const int row : rows)
        view->List()->selectionModel()->select(view->Model()->index(row, 0),
                                               QItemSelectionModel::Select | QItemSelectionModel::Rows);
    m_console->Prompter().Script({Answer(answer)});
    view->DeleteAction()->trigger();
    QCOMPARE(m_console->Prompter().Texts(),
             asked ? QStringList{u"You are about to delete 2 User Profiles.\n\nAre you sure?"_s}
                   : QStringList());
    QCOMPARE(m_console->Prompter().Boxes().value(0).icon,
             asked ? OCL::IPrompter::Icon::Warning : OCL::IPrompter::Icon{});
    QCOMPARE(Names(*view), left);
    // The file says the same, read anew.
    QCOMPARE(Names(*Show(*m_console, 6)), left);
}

void TestUsersView::copiedCells_data() {
    QTest::addColumn<QByteArray>("values");
    QTest::addColumn<int>("plainSeconds");
    QTest::addColumn<QString>("copied");
    QTest::newRow("none") << QByteArray() << 0 << u"CORP\\a,0,0, ,0\"00'00,\r\n"_s;
    QTest::newRow("59 seconds") << QByteArray("TotalTime=59\r\n") << 0 << u"CORP\\a,0,0, ,0\"00'59,\r\n"_s;
    QTest::newRow("plain seconds") << QByteArray("TotalTime=3725\r\n") << 1 << u"CORP\\a,0,0, ,3725,\r\n"_s;
}

void TestUsersView::copiedCells() {
    QFETCH(QByteArray, values);
    QFETCH(int, plainSeconds);
    QFETCH(QString, copied);
    Write("[CORP\\a]\r\n" + values + "[CORP\\b]\r\n");
    m_console->Doc().m_showSeconds = plainSeconds;
    CUsersView* view = Show(*m_console, 6);
    view->List()->setCurrentIndex(view->Model()->index(0, 0));
    view->OnEditCopy();
    QCOMPARE(QApplication::clipboard()->text(), copied);
}

void TestUsersView::firstClickOnSessions() {
    Write("[CORP\\b]\r\nTotalConnects=2\r\n[CORP\\a]\r\nTotalConnects=9\r\n[CORP\\c]\r\nTotalConnects=5\r\n");
    CUsersView* view = Show(*m_console, 6);
    view->OnHeaderClicked(UserColumn::Sessions);
    QCOMPARE(Names(*view), u"CORP\\a CORP\\c CORP\\b"_s);
    view->OnHeaderClicked(UserColumn::Sessions);
    QCOMPARE(Names(*view), u"CORP\\b CORP\\c CORP\\a"_s);
    // The direction is shared: names now come A to Z.
    view->OnHeaderClicked(UserColumn::User);
    QCOMPARE(Names(*view), u"CORP\\a CORP\\b CORP\\c"_s);
}

void TestUsersView::limitColumns() {
    Write("[CORP\\a]\r\nTotalTime=1800\r\nMaxTotalTime=3600\r\nPeriodType=2\r\nPeriodMax=600\r\nPeriodUsage="
          "900\r\n"
          "[CORP\\b]\r\n");
    Show(*m_console, 6)->LimitsAction()->trigger();
    // Remembered by the next view.
    CUsersView* view = Show(*m_console, 6);
    QCOMPARE((QStringList{view->Model()->CellText(0, 5), view->Model()->CellText(0, 6),
                          view->Model()->CellText(1, 5)}),
             (QStringList{u"50% of 1\"00'00"_s, u"150% of 0\"10'00 Per Week"_s, QString()}));
    view->SetLimitColumns(false);
    QCOMPARE(view->Model()->columnCount(), 5);
}

void TestUsersView::menus_data() {
    QTest::addColumn<QString>("node");
    QTest::addColumn<QByteArray>("file");
    QTest::addColumn<QString>("menu");
    QTest::addColumn<QString>("question"); // asked by the enabled delete command
    QTest::newRow("account, profile")
        << u"alice"_s << QByteArray("[CORP\\Alice]\r\nMaxTotalTime=0\r\n") << u"POPUP_ACCOUNT_OLD"_s
        << u"Permanently delete the profile for CORP\\alice?"_s;
    QTest::newRow("account, statistics only")
        << u"alice"_s << QByteArray("[CORP\\alice]\r\nTotalConnects=3\r\n") << u"POPUP_ACCOUNT_NEW"_s
        << QString();
    QTest::newRow("group, profile") << u"Remote"_s << QByteArray("[+CORP\\Remote]\r\nMaxTotalTime=60\r\n")
                                    << u"POPUP_OLD_GROUP"_s
                                    << u"Permanently delete all data and settings for Remote?"_s;
    QTest::newRow("group, none") << u"Remote"_s << QByteArray("[CORP\\Remote]\r\nMaxTotalTime=60\r\n")
                                 << u"POPUP_NEW_GROUP"_s << QString();
}

void TestUsersView::menus() {
    QFETCH(QString, node);
    QFETCH(QByteArray, file);
    QFETCH(QString, menu);
    QFETCH(QString, question);
    Write(file);
    CNodeView* tree = m_console->Frame().NodeView();
    tree->PopulateTree();
    QTreeWidgetItem* domain = tree->AccountsRoot()->child(0);
    tree->expandItem(domain);
    QTreeWidgetItem* item = domain->child(node == u"alice"_s ? 1 : 0);
    QCOMPARE(item->text(0), node);
    QCOMPARE(tree->MenuNameFor(item), menu);
    QCOMPARE(tree->ItemCommandsEnabled(item), !question.isEmpty());
    if (question.isEmpty())
        return;
    tree->setCurrentItem(item);
    m_console->Prompter().Script({Answer::Yes});
    (node == u"alice"_s ? tree->DeleteProfileAction() : tree->DeleteGroupProfileAction())->trigger();
    QCOMPARE(m_console->Prompter().Texts().last(), question);
    QCOMPARE(m_console->Files().Read(File())->Bytes(), std::string());
}

void TestUsersView::cleanupTestCase() {
    m_serve.terminate();
    m_serve.waitForFinished();
}

void TestUsersView::sessionShowsAfterRefresh() {
    Write("[CORP\\alice]\r\nNoDuplicate=0\r\nTotalConnects=1\r\nTotalTime=100\r\n");
    CUsersView* view = Show(*m_console, NodeKind::User, u"CORP"_s, kNone, u"alice"_s);
    QCOMPARE(Names(*view), u"CORP\\alice"_s);
    QCOMPARE(Cell(*view, u"CORP\\alice"_s, UserColumn::Sessions), u"1"_s);
    // Half a minute on the caller's clock.
    QVERIFY(Session(m_console->Doc().Pipe(), u"COM1"_s, u"CORP\\alice"_s,
                    QDateTime::currentSecsSinceEpoch() + 30));
    QCOMPARE(Cell(*view, u"CORP\\alice"_s, UserColumn::Sessions), u"1"_s);
    m_console->Frame().OnViewRefresh();
    QCOMPARE(Cell(*view, u"CORP\\alice"_s, UserColumn::Sessions), u"2"_s);
    // 100 seconds and the session's 29 or 30.
    QVERIFY((QStringList{u"0\"02'09"_s, u"0\"02'10"_s}.contains(
        Cell(*view, u"CORP\\alice"_s, UserColumn::TotalTime))));
}

void TestUsersView::deleteWhileServiceWrites() {
    QByteArray file = "[CORP\\bob]\r\nNoDuplicate=0\r\nTotalConnects=1\r\n[CORP\\carol]\r\nNoDuplicate=0\r\n"
                      "TotalConnects=1\r\n";
    for (int i = 0; i < 12; ++i)
        file += "[CORP\\old" + QByteArray::number(i) + "]\r\n";
    Write(file);
    CUsersView* view = Show(*m_console, NodeKind::AccountsRoot);
    std::atomic<bool> deleted{false};
    int bob = 0, carol = 0;
    std::thread service([&] {
        CServicePipeClient pipe(m_console->Environment());
        for (int round = 0; round < 5 || !deleted; ++round) {
            bob += Session(pipe, u"COM2"_s, u"CORP\\bob"_s, QDateTime::currentSecsSinceEpoch()) ? 1 : 0;
            carol += Session(pipe, u"COM3"_s, u"CORP\\carol"_s, QDateTime::currentSecsSinceEpoch()) ? 1 : 0;
        }
    });
    for (int i = 0; i < 12; ++i) {
        view->List()->setCurrentIndex(
            view->Model()->index(view->Model()->FindRow(u"CORP\\old%1"_s.arg(i)), 0));
        view->DeleteAction()->trigger();
    }
    deleted = true;
    service.join();
    QVERIFY(bob >= 5 && carol >= 5);
    m_console->Frame().OnViewRefresh();
    QCOMPARE(Names(*view), u"CORP\\bob CORP\\carol"_s);
    QCOMPARE(Cell(*view, u"CORP\\bob"_s, UserColumn::Sessions).toInt(), 1 + bob);
    QCOMPARE(Cell(*view, u"CORP\\carol"_s, UserColumn::Sessions).toInt(), 1 + carol);
    QCOMPARE(m_console->Prompter().Texts(), QStringList());
}

QTEST_MAIN(TestUsersView)
#include "tst_usersview.moc"
