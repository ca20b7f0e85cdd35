// The port windows against cwsite serve playing the service: a session it
// accepts shows up within one poll, a disconnect from the console ends it there
// (and is logged), and a port profile saved by the port page is enforced on the
// next connect.
#include "support/guifixture.h"

#include "core/pipe/servicepipeclient.h"
#include "gui/dialogs/accountbrowser.h"
#include "gui/pages/portproperties.h"
#include "gui/toolkit/propertysheet.h"
#include "gui/views/portsmodel.h"
#include "site/cwsitetest.h"

#include <QAction>
#include <QCheckBox>
#include <QProcess>
#include <QPushButton>

using namespace Qt::StringLiterals;
using namespace GuiTest;

namespace {

void Network(CSiteWriter& writer) {
    WriteNetwork(writer);
    writer.AddUser(u"SALES"_s, u"carol"_s);
    writer.WriteShareFile(kMaster, u"CW_NT_DB"_s, u"callward.usr"_s,
                          "[SALES\\bob]\r\nNoDuplicate=0\r\n[SALES\\carol]\r\nNoDuplicate=0\r\n");
    writer.WriteShareFile(kMaster, u"CW_NT_DB"_s, u"callward.hw"_s,
                          "[Default]\r\nNoDuplicate=1\r\nAssignDefault=0\r\n[Greetings]\r\nRuleMask=0\r\n");
}

} // namespace

class TestPortsEndToEnd : public QObject {
    Q_OBJECT

private slots:
    void initTestCase() {
        IsolateSettings("gui_ports_e2e");
        m_console = std::make_unique<CTestConsole>(Network);
        QVERIFY(m_console->FetchAll());
        m_serve.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        m_serve.start(CwsiteTest::Cwsite(), {u"serve"_s, m_console->Root(), u"--quiet"_s});
        QVERIFY(m_serve.waitForStarted());
        // The service answers once its pipes are up.
        for (const QString& server : {kMaster, kMember})
            QTRY_COMPARE_WITH_TIMEOUT(Send(server, "UPDATE_UPDATE").error, DWORD(0), 10000);
    }

    void cleanupTestCase() {
        m_serve.terminate();
        QVERIFY(m_serve.waitForFinished(10000));
    }

    void connectShowsAndDisconnectEnds_data() {
        QTest::addColumn<QString>("server");
        QTest::addColumn<QString>("port");
        QTest::newRow("RAS") << kMaster << u"COM2"_s;
        QTest::newRow("RRAS") << kMember << u"VPN1-3"_s;
    }

    void connectShowsAndDisconnectEnds() {
        QFETCH(QString, server);
        QFETCH(QString, port);
        CTestConsole& console = *m_console;
        auto view = OpenView(console, server);
        const int row = view->Model()->FindPort(port);
        QVERIFY(Poll(*view));
        QCOMPARE(view->Model()->Text(row, CPortsModel::ColUser), QString());

        QCOMPARE(Send(server, CServicePipeClient::ConnectRequest(port, u"SALES\\bob"_s, kTestConsole)).reply,
                 QByteArray("0,Session accepted"));
        QVERIFY(Poll(*view));
        QCOMPARE(view->Model()->Text(row, CPortsModel::ColUser), u"SALES\\bob"_s);
        QVERIFY(!view->Model()->Text(row, CPortsModel::ColConnected).isEmpty());

        const int before = Events(server, port, u"SALES\\bob"_s, u'H');
        view->List()->setCurrentIndex(view->Model()->index(row, 0));
        view->DisconnectAction()->trigger();
        QVERIFY(!PortConnected(console, server, port));
        QTRY_COMPARE_WITH_TIMEOUT(Events(server, port, u"SALES\\bob"_s, u'H'), before + 1, 10000);
        QVERIFY(Poll(*view));
        QCOMPARE(view->Model()->Text(row, CPortsModel::ColUser), QString());
        QCOMPARE(console.Prompter().Boxes().size(), 0);
    }

    void savedProfileIsEnforced() {
        const auto connect = [this](const QString& account) {
            return Send(kMaster, CServicePipeClient::ConnectRequest(u"COM1"_s, account, kTestConsole)).reply;
        };
        // Without a port profile anyone with an account profile may use the port.
        QVERIFY(connect(u"SALES\\carol"_s).startsWith("0"));
        Send(kMaster, CServicePipeClient::HangUpRequest(u"COM1"_s, u"SALES\\carol"_s, kTestConsole,
                                                        QDateTime::currentSecsSinceEpoch()));

        // The administrator lets only "Remote Users" use COM1.
        auto sheet = CreatePortProperties(m_console->Doc(), kMaster, u"COM1"_s, nullptr);
        sheet->show();
        Click(Child<QCheckBox>(sheet.get(), u"restricted"_s));
        WithModals([&] { QTest::mouseClick(Child<QPushButton>(sheet.get(), u"addGroup"_s), Qt::LeftButton); },
                   [](QWidget* shown) {
                       auto* browser = qobject_cast<CAccountBrowser*>(shown);
                       browser->Tree()->expandItem(FindItem(browser->Tree(), u"SALES"_s));
                       ClickItem(browser->Tree(), u"Remote Users"_s);
                       QTest::mouseClick(browser->OkButton(), Qt::LeftButton);
                   });
        QTest::mouseClick(sheet->OkButton(), Qt::LeftButton);
        QVERIFY(!sheet->isVisible());

        // carol is not in the group: denied on that port, reason 5, and logged so.
        const int before = Events(kMaster, u"COM1"_s, u"SALES\\carol"_s, u'N', 5);
        QVERIFY(connect(u"SALES\\carol"_s).startsWith("1"));
        QCOMPARE(Events(kMaster, u"COM1"_s, u"SALES\\carol"_s, u'N', 5), before + 1);
        QVERIFY(connect(u"SALES\\bob"_s).startsWith("0"));
        QVERIFY(m_console->Prompter().Boxes().isEmpty());
    }

private:
    CServicePipeClient::Result Send(const QString& server, const QByteArray& request) {
        return m_console->Doc().Pipe().Request(CServicePipeClient::RemotePipeName(server), request,
                                               CServicePipeClient::kSimulatorReplySize);
    }

    // The logged events of that kind (and reason) of an account on a port.
    int Events(const QString& server, const QString& port, const QString& account, QChar kind,
               int reason = -1) const {
        const QString logs = m_console->Writer().SharePath(kMaster, u"CW_NT_DB"_s) + u"/LogData"_s;
        int count = 0;
        for (const CwsiteTest::LogEvent& e : CwsiteTest::ReadEvents(logs))
            count += e.server == server && e.port == port && e.kind == kind && e.account == account &&
                     (reason < 0 || e.reason == reason);
        return count;
    }

    std::unique_ptr<CTestConsole> m_console;
    QProcess m_serve;
};

QTEST_MAIN(TestPortsEndToEnd)
#include "tst_ports_e2e.moc"
