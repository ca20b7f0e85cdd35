// A port profile saved in the console is what the service enforces on the next
// simulated connect: cwsite serve plays the service, the console's own port
// page writes the profile, and the console's pipe client asks.
#include "portsfixture.h"

#include "core/pipe/servicepipeclient.h"
#include "gui/dialogs/accountbrowser.h"
#include "gui/pages/portproperties.h"
#include "gui/pages/propport.h"
#include "gui/toolkit/propertysheet.h"
#include "site/cwsitetest.h"

#include <QCheckBox>
#include <QProcess>
#include <QPushButton>
#include <QStandardPaths>

using namespace Qt::StringLiterals;

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

class TestPortProfileEnforced : public QObject {
    Q_OBJECT
private slots:
    void initTestCase();
    void cleanupTestCase();
    void savedProfileIsEnforced();

private:
    QByteArray Connect(const QString& account);
    void HangUp(const QString& account);
    int Denials(const QString& account, int reason) const;

    std::unique_ptr<CTestConsole> m_console;
    QProcess m_serve;
};

void TestPortProfileEnforced::initTestCase() {
    QStandardPaths::setTestModeEnabled(true);
    m_console = std::make_unique<CTestConsole>(Network);
    QVERIFY(m_console->FetchAll());
    QVERIFY(m_console->Doc().MasterKnown());
    m_serve.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    m_serve.start(CwsiteTest::Cwsite(), {u"serve"_s, m_console->Root(), u"--quiet"_s});
    QVERIFY(m_serve.waitForStarted());
    CServicePipeClient& pipe = m_console->Doc().Pipe();
    QTRY_COMPARE_WITH_TIMEOUT(
        pipe.Request(CServicePipeClient::RemotePipeName(kMaster), "UPDATE_UPDATE", 200).error, DWORD(0),
        10000);
}

void TestPortProfileEnforced::cleanupTestCase() {
    if (m_serve.state() == QProcess::NotRunning)
        return;
    m_serve.terminate();
    QVERIFY(m_serve.waitForFinished(10000));
}

QByteArray TestPortProfileEnforced::Connect(const QString& account) {
    return m_console->Doc()
        .Pipe()
        .Request(CServicePipeClient::RemotePipeName(kMaster),
                 CServicePipeClient::ConnectRequest(u"COM2"_s, account, kTestConsole),
                 CServicePipeClient::kSimulatorReplySize)
        .reply;
}

void TestPortProfileEnforced::HangUp(const QString& account) {
    m_console->Doc().Pipe().Request(CServicePipeClient::RemotePipeName(kMaster),
                                    CServicePipeClient::HangUpRequest(u"COM2"_s, account, kTestConsole,
                                                                      QDateTime::currentSecsSinceEpoch()),
                                    CServicePipeClient::kSimulatorReplySize);
}

int TestPortProfileEnforced::Denials(const QString& account, int reason) const {
    const QString logs = m_console->Writer().SharePath(kMaster, u"CW_NT_DB"_s) + u"/LogData"_s;
    int count = 0;
    for (const CwsiteTest::LogEvent& e : CwsiteTest::ReadEvents(logs))
        count += e.port == u"COM2"_s && e.kind == u'N' && e.account == account && e.reason == reason ? 1 : 0;
    return count;
}

void TestPortProfileEnforced::savedProfileIsEnforced() {
    // Without a port profile anyone with an account profile may use the port.
    QVERIFY(Connect(u"SALES\\carol"_s).startsWith("0"));
    HangUp(u"SALES\\carol"_s);

    // The administrator lets only "Remote Users" use COM2.
    auto sheet = CreatePortProperties(m_console->Doc(), kMaster, u"COM2"_s, nullptr);
    sheet->show();
    auto* page = Child<CPropPort>(sheet.get(), u"propPort"_s);
    Click(Child<QCheckBox>(page, u"restricted"_s));
    WhenModal<CAccountBrowser>(this, [](CAccountBrowser* browser) {
        QTreeWidget* tree = browser->Tree();
        tree->expandItem(FindItem(tree, u"SALES"_s));
        ClickItem(tree, FindItem(tree, u"Remote Users"_s));
        QTest::mouseClick(browser->OkButton(), Qt::LeftButton);
    });
    QTest::mouseClick(Child<QPushButton>(page, u"addGroup"_s), Qt::LeftButton);
    QTest::mouseClick(sheet->OkButton(), Qt::LeftButton);
    QVERIFY(!sheet->isVisible());

    // carol is not in the group: denied on that port, reason 5, and logged so.
    const int before = Denials(u"SALES\\carol"_s, 5);
    const QByteArray denied = Connect(u"SALES\\carol"_s);
    QVERIFY2(denied.startsWith("1"), denied.constData());
    QCOMPARE(Denials(u"SALES\\carol"_s, 5), before + 1);
    // bob is: accepted.
    QVERIFY(Connect(u"SALES\\bob"_s).startsWith("0"));
    HangUp(u"SALES\\bob"_s);
    QVERIFY(m_console->Prompter().Boxes().isEmpty());
}

QTEST_MAIN(TestPortProfileEnforced)
#include "tst_portprofile_e2e.moc"
