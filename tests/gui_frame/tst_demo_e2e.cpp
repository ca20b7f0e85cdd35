// The console on the demo network that cwsite init writes, with cwsite serve
// running its services: every reachable server comes to "ready" with the port
// counts of its port table, and the unreachable one fails with its state text.
#include "gui/frame/mainframe.h"
#include "gui/views/nodeview.h"
#include "gui/views/serversview.h"
#include "platform/site/sitedirectory.h"
#include "site/cwsitetest.h"
#include "support/testconsole.h"

#include <QProcess>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QtTest>

using namespace Qt::StringLiterals;

class TestDemoEndToEnd : public QObject {
    Q_OBJECT
private slots:
    void initTestCase();
    void cleanupTestCase();
    void serversComeAlive();

private:
    QTemporaryDir m_dir;
    QString m_site;
    QProcess m_serve;
};

void TestDemoEndToEnd::initTestCase() {
    QStandardPaths::setTestModeEnabled(true);
    m_site = m_dir.filePath(u"site"_s);
    QProcess init;
    init.start(CwsiteTest::Cwsite(), {u"init"_s, m_site});
    QVERIFY(init.waitForFinished(60000));
    QCOMPARE(init.exitCode(), 0);
    m_serve.start(CwsiteTest::Cwsite(), {u"serve"_s, m_site, u"--quiet"_s});
    QVERIFY(m_serve.waitForStarted());
}

void TestDemoEndToEnd::cleanupTestCase() {
    if (m_serve.state() == QProcess::NotRunning)
        return;
    m_serve.terminate();
    QVERIFY(m_serve.waitForFinished(10000));
}

void TestDemoEndToEnd::serversComeAlive() {
    CTestConsole console(CExistingSite{m_site});
    CMainFrame& frame = console.Frame();
    CCwadminDoc& doc = console.Doc();
    QVERIFY(doc.OnNewDocument());
    auto* view = dynamic_cast<CServersView*>(frame.RightView());
    QVERIFY(view);
    QVERIFY(doc.Servers().GetCount() >= 5);
    QVERIFY(console.FetchAll(false, 30000));

    const OCL::Site::SiteDirectory site(m_site.toStdString());
    CServersModel* model = view->Model();
    int ready = 0, failed = 0;
    for (std::size_t i = 0; i < doc.Servers().GetCount(); ++i) {
        const CServer& server = doc.Servers()[i];
        const int row = model->FindRow(server.Name());
        const auto host = site.FindHost(server.Name().toStdString());
        QVERIFY2(row >= 0 && host, qPrintable(server.Name()));
        const auto ports = site.ReadPorts(*host);
        const QString count = host->reachable ? QString::number(ports.size()) : u"n/a"_s;
        const QString status = host->reachable ? u"%1 is ready"_s : u"Couldn't connect to %1's registry"_s;
        QCOMPARE(server.Status(), status.arg(server.Name()));
        QCOMPARE(model->StateImage(row), host->reachable ? 2 : 3);
        QCOMPARE(model->Text(row, CServersModel::ColPorts), count);
        ++(host->reachable ? ready : failed);
        const int busy =
            int(std::count_if(ports.begin(), ports.end(), [](const auto& p) { return p.Connected(); }));
        // The service's traffic may start or end a session between the fetch and this check.
        QVERIFY(!host->reachable || qAbs(model->Text(row, CServersModel::ColBusyPorts).toInt() - busy) <= 1);
    }
    QVERIFY(ready >= 4);
    QCOMPARE(failed, 1);
    QVERIFY(doc.MasterKnown());
    QVERIFY(console.Prompter().Boxes().isEmpty());
}

QTEST_MAIN(TestDemoEndToEnd)
#include "tst_demo_e2e.moc"
