// The account file through the document: what the list reads from awkward
// files, the reload flag, a delete answered No, an unreachable share, and
// cwctl users read back by the rules of its formats.
#include "core/accounts/userstore.h"
#include "support/testconsole.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QtTest>

using namespace Qt::StringLiterals;

namespace {

class CStatusLog final : public IFrame {
public:
    QStringList texts;
    std::function<void(const QString&)> onStatus;
    void SetStatus(const QString& text) override {
        texts << text;
        if (onStatus)
            onStatus(text);
    }
    void RefreshCaption() override {}
    void ShowSplash(bool) override {}
    void BeginWait() override {}
    void EndWait() override {}
};

// "name sessions denials last total" per account.
QStringList Describe(const CUserStore& store) {
    QStringList out;
    for (std::size_t i = 0; i < store.Count(); ++i) {
        const CUserStore::Stats& s = store.At(i);
        out << store.DisplayName(i) +
                   QString::asprintf(" %d %d %d %d", s.connects, s.denials, s.last, s.totalTime);
    }
    return out;
}

} // namespace

class TestAccounts : public QObject {
    Q_OBJECT
private slots:
    void initTestCase();
    void init();
    void load_data();
    void load();
    void cachedUntilRefreshed();
    void deleteUserAnsweredNo();
    void unreachableShare();
    void cwctl();

private:
    QString File() { return m_console->Writer().SharePath(u"PDC1"_s, u"CW_NT_DB"_s) + u"/callward.usr"_s; }
    void Write(const QByteArray& bytes) {
        QVERIFY(m_console->Files().WriteAll(File().toStdString(), bytes.toStdString()));
    }
    QByteArray Cwctl(const QStringList& args);

    CStatusLog m_status;
    std::unique_ptr<CTestConsole> m_console;
};

void TestAccounts::initTestCase() {
    m_console = std::make_unique<CTestConsole>([](CSiteWriter& w) {
        CTestConsole::AddServer(w, u"PDC1"_s, u"RAS"_s, u"4.0"_s, 1, true);
        w.AddDomain(u"CORP"_s, u"PDC1"_s);
        w.AddGroup(u"CORP"_s, u"Remote"_s, {u"alice"_s});
    });
    QVERIFY(m_console->FetchAll());
    m_console->Doc().SetFrame(&m_status);
}

void TestAccounts::init() {
    m_status.texts.clear();
    m_status.onStatus = {};
    m_console->Prompter().Clear();
    m_console->Doc().m_usersReloadPending = 1;
}

void TestAccounts::load_data() {
    QTest::addColumn<QByteArray>("file");
    QTest::addColumn<QStringList>("accounts");
    QTest::addColumn<int>("reloadFlag");
    QTest::newRow("groups only") << QByteArray("[+CORP\\g]\r\nMaxTotalTime=0\r\n[+CORP\\h]\r\n")
                                 << QStringList() << 0;
    QTest::newRow("first name begins with *")
        << QByteArray("[*none]\r\nTotalConnects=1\r\n[CORP\\a]\r\nTotalConnects=2\r\n") << QStringList() << 1;
    QTest::newRow("no file") << QByteArray() << QStringList() << 1;
    QTest::newRow("keys missing") << QByteArray("[CORP\\a]\r\nMaxTotalTime=5\r\n")
                                  << QStringList{u"CORP\\a 0 0 0 0"_s} << 0;
    QTest::newRow("value forms") << QByteArray("[CORP\\a]\r\nTotalConnects= \"12\" \r\nTotalDenieds=-3x\r\n"
                                               "TotalTime=\r\nLastConnection\r\nLastConnection=5\r\n")
                                 << QStringList{u"CORP\\a 12 -3 0 0"_s} << 0;
    // Read into 20 characters: the twenty-first digit is not seen.
    QTest::newRow("huge") << QByteArray(
                                 "[CORP\\a]\r\nTotalConnects=99999999999\r\nTotalDenieds=-99999999999\r\n"
                                 "TotalTime=000000000000000000005\r\n")
                          << QStringList{u"CORP\\a 2147483647 -2147483648 0 0"_s} << 0;
    QTest::newRow("duplicates in any case")
        << QByteArray("[CORP\\a]\r\nTotalConnects=1\r\n[corp\\A]\r\nTotalConnects=2\r\nTotalDenieds=4\r\n"
                      "[CORP\\b]\r\nTotalConnects=3\r\nTOTALCONNECTS=5\r\n")
        << QStringList{u"CORP\\a 1 0 0 0"_s, u"CORP\\b 3 0 0 0"_s} << 0;
    QTest::newRow("odd names")
        << "[" + QByteArray("CORP\\" + QByteArray(295, 'x')) +
               "]\r\nTotalConnects=1\r\n[lonely]\r\n[CORP\\j\xF6rg]\r\n[]\r\n"
        << QStringList{QString::fromLatin1(QByteArray("CORP\\" + QByteArray(295, 'x'))) + u" 1 0 0 0"_s,
                       u"lonely 0 0 0 0"_s, u"CORP\\j\u00F6rg 0 0 0 0"_s}
        << 0;
}

void TestAccounts::load() {
    QFETCH(QByteArray, file);
    QFETCH(QStringList, accounts);
    QFETCH(int, reloadFlag);
    QFile::remove(File());
    if (!file.isEmpty())
        Write(file);
    CCwadminDoc& doc = m_console->Doc();
    QCOMPARE(doc.LoadUsersFromFile(0, 0), quint32(accounts.size()));
    QCOMPARE(Describe(*doc.Users()), accounts);
    QCOMPARE(doc.m_usersReloadPending, reloadFlag);
    QCOMPARE(m_status.texts, (QStringList{u"Loading User Data..."_s, u"Ready"_s}));
    QCOMPARE(m_console->Prompter().Boxes().size(), 0);
}

void TestAccounts::cachedUntilRefreshed() {
    CCwadminDoc& doc = m_console->Doc();
    Write("[CORP\\a]\r\nTotalConnects=1\r\n");
    QCOMPARE(doc.LoadUsersFromFile(0, 0), 1u);
    Write("[CORP\\a]\r\nTotalConnects=2\r\n[CORP\\b]\r\n");
    m_status.texts.clear();
    QCOMPARE(doc.LoadUsersFromFile(0, 0), 1u);
    QCOMPARE(m_status.texts, QStringList());
    // The service replaces the file while the load is under way: the list is the new file's, whole.
    m_status.onStatus = [this](const QString& text) {
        if (text == u"Loading User Data..."_s)
            Write("[CORP\\c]\r\nTotalConnects=3\r\n");
    };
    doc.m_usersReloadPending = 1;
    QCOMPARE(doc.LoadUsersFromFile(0, 0), 1u);
    QCOMPARE(Describe(*doc.Users()), QStringList{u"CORP\\c 3 0 0 0"_s});
}

void TestAccounts::deleteUserAnsweredNo() {
    const QByteArray before = "[CORP\\a]\r\nTotalConnects=1\r\n[CORP\\b]\r\n";
    Write(before);
    m_console->Prompter().Script({OCL::IPrompter::No});
    QCOMPARE(m_console->Doc().DeleteUser(u"CORP\\a"_s), int(OCL::IPrompter::No));
    QCOMPARE(m_console->Files().Read(File().toStdString())->Bytes(), before.toStdString());
    const auto box = m_console->Prompter().Boxes().value(0);
    QCOMPARE(box.text, u"Permanently delete the profile for CORP\\a?"_s);
    QCOMPARE(int(box.icon) * 10 + int(box.buttons),
             int(OCL::IPrompter::Icon::Question) * 10 + int(OCL::IPrompter::Buttons::YesNo));
}

void TestAccounts::unreachableShare() {
    CCwadminDoc& doc = m_console->Doc();
    m_console->Writer().SetHostValue(u"PDC1"_s, u"Reachable"_s, u"0"_s);
    m_console->Save();
    QCOMPARE(doc.LoadUsersFromFile(0, 0), 0u);
    m_console->Writer().SetHostValue(u"PDC1"_s, u"Reachable"_s, u"1"_s);
    m_console->Save();
    QCOMPARE(doc.m_usersReloadPending, 1);
    QCOMPARE(m_console->Prompter().Texts(),
             QStringList{u"The user data cannot be read: \\\\PDC1\\CW_NT_DB\\callward.usr cannot be reached "
                         u"(error 53)."_s});
    QCOMPARE(int(m_console->Prompter().Boxes()[0].icon), int(OCL::IPrompter::Icon::Error));
}

QByteArray TestAccounts::Cwctl(const QStringList& args) {
    QProcess process;
    process.start(QStringLiteral(CW_BIN_DIR) + u"/cwctl"_s,
                  QStringList{u"--site"_s, m_console->Root()} + args);
    // Anything but a clean exit gives no output to compare.
    return process.waitForFinished(60000) && process.exitCode() == 0 ? process.readAllStandardOutput() : "?";
}

void TestAccounts::cwctl() {
    Write("[CORP\\alice]\r\nTotalConnects=3\r\nTotalTime=59\r\nNote=\"a, b\"\r\n[+CORP\\Remote]\r\n"
          "[CORPX\\bob]\r\nTotalDenieds=2\r\n[OTHER\\carol]\r\n");
    // The view's file, read by its rules: lines end in CRLF, every row's five cells end in a comma.
    QList<QByteArray> lines = Cwctl({u"users"_s, u"--domain"_s, u"corp"_s}).split('\n');
    QCOMPARE(lines, (QList<QByteArray>{"User,Sessions,Denials,Last Session,Lasted,Total Time\r",
                                       "CORP\\alice,3,0, ,0\"00'59,\r", "CORPX\\bob,0,2, ,0\"00'00,\r", ""}));
    lines =
        Cwctl({u"users"_s, u"--group"_s, u"CORP\\Remote"_s, u"--format"_s, u"jsonl"_s}).trimmed().split('\n');
    QCOMPARE(lines.size(), 1);
    QCOMPARE(QJsonDocument::fromJson(lines[0]).object(),
             QJsonDocument::fromJson(
                 R"({"section": "CORP\\alice", "keys": {"TotalConnects": "3", "TotalTime": "59",
                                     "Note": "a, b"}})")
                 .object());
}

QTEST_GUILESS_MAIN(TestAccounts)
#include "tst_accounts.moc"
