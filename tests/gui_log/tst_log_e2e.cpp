// The log view on the demo network that cwsite init writes, with cwsite serve
// running its services: what the service logs shows up without any user
// action, and the console's saved file is what cwctl day prints.
#include "core/log/logmodel.h"
#include "core/pipe/servicepipeclient.h"
#include "core/servers/server.h"
#include "gui/frame/mainframe.h"
#include "gui/views/logview.h"
#include "site/cwsitetest.h"
#include "site/gen/demosite.h"
#include "support/testconsole.h"

#include <QProcess>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QtTest>

using namespace Qt::StringLiterals;

class TestLogEndToEnd : public QObject {
    Q_OBJECT
private slots:
    void initTestCase();
    void cleanupTestCase();
    void followsTheService();
    void savedFileIsCwctlDay_data();
    void savedFileIsCwctlDay();

private:
    CLogView* History(CTestConsole& console);
    // The rows of the view on that port for that account.
    static int Rows(const CLogView* view, const QString& port, const QString& account);

    QTemporaryDir m_dir;
    QString m_site;
    QProcess m_serve;
};

void TestLogEndToEnd::initTestCase() {
    QStandardPaths::setTestModeEnabled(true);
    m_site = m_dir.filePath(u"site"_s);
    CDemoSummary summary;
    QString error;
    QVERIFY2(WriteDemoSite(m_site, CDemoOptions(), &summary, &error), qPrintable(error));
    m_serve.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    m_serve.start(CwsiteTest::Cwsite(), {u"serve"_s, m_site, u"--quiet"_s});
    QVERIFY(m_serve.waitForStarted());
}

void TestLogEndToEnd::cleanupTestCase() {
    if (m_serve.state() == QProcess::NotRunning)
        return;
    m_serve.terminate();
    QVERIFY(m_serve.waitForFinished(10000));
}

CLogView* TestLogEndToEnd::History(CTestConsole& console) {
    CMainFrame& frame = console.Frame();
    [&] {
        QVERIFY(console.Doc().OnNewDocument());
        QVERIFY(console.FetchAll(false, 30000));
        QVERIFY(console.Doc().MasterKnown());
    }();
    frame.Command(u"&Log View"_s)->trigger();
    return dynamic_cast<CLogView*>(frame.RightView());
}

int TestLogEndToEnd::Rows(const CLogView* view, const QString& port, const QString& account) {
    const CLogModel* model = view->Model();
    const auto& columns = model->Columns();
    const int portColumn =
        int(std::find(columns.begin(), columns.end(), int(LogColumn::Port)) - columns.begin());
    const int userColumn =
        int(std::find(columns.begin(), columns.end(), int(LogColumn::User)) - columns.begin());
    int rows = 0;
    for (int row = 0; row < model->rowCount(); ++row)
        rows +=
            model->CellText(row, portColumn) == port && model->CellText(row, userColumn) == account ? 1 : 0;
    return rows;
}

void TestLogEndToEnd::followsTheService() {
    CTestConsole console(CExistingSite{m_site});
    CLogView* view = History(console);
    QVERIFY(view);
    CCwadminDoc& doc = console.Doc();
    const QString master = doc.Servers().MasterName();
    const CServer& server = doc.Servers()[std::size_t(doc.GetServerNumberByName(master))];
    QString port;
    {
        auto lock = server.Lock();
        QVERIFY(server.SlotCount() > 0);
        port = QString::fromLatin1(server.m_ports[server.SlotCount() - 1].name);
    }
    const QString account = u"E2E\\follower"_s;
    // The poll's first tick only takes note of the file.
    QTRY_VERIFY_WITH_TIMEOUT(view->Polling(), 2 * CLogView::kTimerMs);
    const int before = Rows(view, port, account);

    // As the session simulator sends them.
    const QString pipe = CServicePipeClient::RemotePipeName(master);
    const auto connected =
        doc.Pipe().Request(pipe, CServicePipeClient::ConnectRequest(port, account, kTestConsole),
                           CServicePipeClient::kSimulatorReplySize);
    QCOMPARE(connected.error, DWORD(0));
    doc.Pipe().Request(
        pipe,
        CServicePipeClient::HangUpRequest(port, account, kTestConsole, QDateTime::currentSecsSinceEpoch()),
        CServicePipeClient::kSimulatorReplySize);
    // A refused connect is logged alone; an accepted one with its hang-up.
    const int logged = connected.reply.startsWith('0') ? 2 : 1;
    QTRY_COMPARE_WITH_TIMEOUT(Rows(view, port, account), before + logged, CLogView::kTimerMs + 3000);
}

void TestLogEndToEnd::savedFileIsCwctlDay_data() {
    QTest::addColumn<bool>("oneUser");
    QTest::newRow("all") << false;
    QTest::newRow("one user") << true;
}

void TestLogEndToEnd::savedFileIsCwctlDay() {
    QFETCH(bool, oneUser);
    CTestConsole console(CExistingSite{m_site});
    CLogView* view = History(console);
    QVERIFY(view);
    CMainFrame& frame = console.Frame();
    CCwadminDoc& doc = console.Doc();
    // Yesterday: a whole day that the running service no longer writes.
    frame.Command(u"Go &Back"_s)->trigger();
    QVERIFY(view->Model()->rowCount() > 0);
    const QDate day(doc.ShownYear(), doc.ShownMonth(), doc.ShownDay());
    QStringList args{u"--site"_s, m_site, u"day"_s, day.toString(Qt::ISODate)};
    if (oneUser) {
        const QString account = doc.LogRecords()->Record(view->Model()->RecordAt(0)).user;
        QVERIFY(account.contains(u'\\'));
        doc.m_selectionKind = NodeKind::User;
        doc.m_selectedDomain = account.section(u'\\', 0, 0);
        doc.m_selectedUser = account.section(u'\\', 1);
        frame.ArrangeViews();
        view = dynamic_cast<CLogView*>(frame.RightView());
        QVERIFY(view && view->FilterCaption() == u"(User %1)"_s.arg(account));
        args << u"--user"_s << account;
    }

    QTemporaryDir dir;
    console.Prompter().saveFileNames = {dir.filePath(u"day.csv"_s)};
    frame.Command(u"Save Data &As..."_s)->trigger();
    QCOMPARE(console.Prompter().saveCaptions, QStringList{u"Save All Events to File"_s});
    QFile saved(dir.filePath(u"day.csv"_s));
    QVERIFY(saved.open(QIODevice::ReadOnly));

    QProcess cwctl;
    cwctl.start(QStringLiteral(CW_BIN_DIR) + u"/cwctl"_s, args);
    QVERIFY(cwctl.waitForFinished(60000));
    QCOMPARE(cwctl.exitCode(), 0);
    const QByteArray printed = cwctl.readAllStandardOutput();
    QCOMPARE(printed.count("\r\n"), view->Model()->rowCount() + 1);
    QCOMPARE(printed, saved.readAll());
}

QTEST_MAIN(TestLogEndToEnd)
#include "tst_log_e2e.moc"
