// The document's configuration and service-state share and its account
// operations, over sites.
#include "support/testconsole.h"

#include <QtTest>

using namespace Qt::StringLiterals;
using namespace OCL;

namespace {
const QString kService = u"HKEY_LOCAL_MACHINE\\Software\\Osterline Technologies\\Callwarden\\Service"_s;
}

class TestDocument : public QObject {
    Q_OBJECT
private slots:
    void accessorFailures();
    void clientSettings_data();
    void clientSettings();
    void refreshSkipsFailedServers_data();
    void refreshSkipsFailedServers();
    void serviceRunning_data();
    void serviceRunning();
    void accountPrivileges();
    void languageLocale_data();
    void languageLocale();
};

void TestDocument::accessorFailures() {
    CTestConsole console([](CSiteWriter& w) {
        CTestConsole::AddServer(w, u"SRV"_s, u"RAS"_s, u"4.0"_s, 1, true);
        CSiteWriter::HostOptions gone;
        gone.reachable = false;
        w.AddHost(u"GONE"_s, gone);
        w.SetRegRaw(u"SRV"_s, kService, u"Word"_s, RegType::Binary, QByteArray("\x01\x02", 2));
    });
    CCwadminDoc& doc = console.Doc();
    DWORD value = 0xAABBCCDD;
    // A missing value leaves the preset; an unreachable computer gives 0.
    QVERIFY(!doc.ReadRegDWORD(u"SRV"_s, u"Service"_s, u"Missing"_s, &value));
    QCOMPARE(value, 0xAABBCCDDu);
    QVERIFY(!doc.ReadRegDWORD(u"SRV"_s, u"NoSuchKey"_s, u"Master"_s, &value));
    QCOMPARE(value, 0u);
    value = 7;
    QVERIFY(!doc.ReadRegDWORD(u"GONE"_s, u"Service"_s, u"Master"_s, &value));
    QCOMPARE(value, 0u);
    // Two stored bytes replace two of the preset's four.
    value = 0xAABBCCDD;
    QVERIFY(doc.ReadRegDWORD(u"SRV"_s, u"Service"_s, u"Word"_s, &value));
    QCOMPARE(value, 0xAABB0201u);

    QString text = u"preset"_s;
    QVERIFY(!doc.ReadRegString(u"SRV"_s, u"Service"_s, u"Missing"_s, &text));
    QVERIFY(!doc.ReadRegString(u"GONE"_s, u"Service"_s, u"Version"_s, &text));
    QCOMPARE(text, u"preset"_s);
    QVERIFY(doc.ReadRegString(u"SRV"_s, u"Service"_s, u"Version"_s, &text));
    QCOMPARE(text, u"3.2.1"_s);

    QVERIFY(!doc.SetRegDWORD(u"SRV"_s, u"General"_s, u"X"_s, 1));
    QVERIFY(!doc.SetRegString(u"GONE"_s, u"Service"_s, u"X"_s, u"y"_s));
    QVERIFY(doc.SetRegString(u"SRV"_s, u"Service"_s, u"Version"_s, u"4.0.0"_s));
    QVERIFY(doc.ReadRegString(u"SRV"_s, u"Service"_s, u"Version"_s, &text));
    QCOMPARE(text, u"4.0.0"_s);
    QVERIFY(console.Prompter().Boxes().isEmpty());
}

void TestDocument::clientSettings_data() {
    QTest::addColumn<QString>("autoSize"); // "" = missing
    QTest::addColumn<QString>("columns");
    QTest::addColumn<QString>("seconds");
    QTest::addColumn<int>("expectAutoSize");
    QTest::addColumn<uint>("expectColumns");
    QTest::addColumn<int>("expectSeconds");
    QTest::newRow("1 switches auto-size off") << u"1"_s << u"5"_s << u"1"_s << 0 << 5u << 1;
    QTest::newRow("0 keeps it on") << u"0"_s << u"0"_s << u"0"_s << 1 << 0xFFFFFFFFu << 0;
    QTest::newRow("2 keeps it on") << u"2"_s << QString() << u"7"_s << 1 << 0xFFFFFFFFu << 1;
    QTest::newRow("missing keeps it on") << QString() << QString() << QString() << 1 << 0xFFFFFFFFu << 0;
}

void TestDocument::clientSettings() {
    QFETCH(QString, autoSize);
    QFETCH(QString, columns);
    QFETCH(QString, seconds);
    QFETCH(int, expectAutoSize);
    QFETCH(uint, expectColumns);
    QFETCH(int, expectSeconds);
    CTestConsole console([&](CSiteWriter& w) {
        if (!autoSize.isEmpty())
            w.SetClientDword(kTestConsole, u"AutoSizeColumns"_s, autoSize.toUInt());
        if (!columns.isEmpty())
            w.SetClientDword(kTestConsole, u"HistoryViewColumns"_s, columns.toUInt());
        if (!seconds.isEmpty())
            w.SetClientDword(kTestConsole, u"TimeFormatSeconds"_s, seconds.toUInt());
        w.SetRegDword(kTestConsole,
                      u"HKEY_LOCAL_MACHINE\\System\\CurrentControlSet\\Control\\TimeZoneInformation"_s,
                      u"ActiveTimeBias"_s, quint32(-120));
    });
    CCwadminDoc& doc = console.Doc();
    QVERIFY(doc.OnNewDocument());
    QCOMPARE(doc.m_autoSizeColumns, expectAutoSize);
    QCOMPARE(doc.m_historyColumns, quint32(expectColumns));
    QCOMPARE(doc.m_showSeconds, expectSeconds);
    QCOMPARE(doc.m_consoleTimeBias, -120);
    QCOMPARE(doc.m_viewMode, 0);
    QCOMPARE(doc.m_usersReloadPending, 1);
    QCOMPARE(doc.LanguageLocale(), 0u);
    QVERIFY(doc.ShownYear() > 2000);
}

void TestDocument::refreshSkipsFailedServers_data() {
    QTest::addColumn<uint>("state");
    QTest::addColumn<bool>("fetched");
    for (uint state : {0u, 3u, 5u, 8u})
        QTest::addRow("state %u fetched", state) << state << true;
    for (uint state : {1u, 2u, 4u, 6u, 7u, 9u})
        QTest::addRow("state %u skipped", state) << state << false;
}

void TestDocument::refreshSkipsFailedServers() {
    QFETCH(uint, state);
    QFETCH(bool, fetched);
    CTestConsole console(
        [](CSiteWriter& w) { CTestConsole::AddServer(w, u"SRV"_s, u"RAS"_s, u"4.0"_s, 1, true); });
    CCwadminDoc& doc = console.Doc();
    doc.Servers()[0].m_state = state;
    doc.updateAllServersData();
    QCOMPARE(doc.Servers()[0].m_fetcher != nullptr, fetched);
    QTRY_VERIFY_WITH_TIMEOUT(!doc.Servers().FetchRunning(), 10000);
    // A forced refresh fetches every server, and the flag is used up.
    doc.Servers().CleanUpThread(0);
    doc.Servers()[0].m_state = state;
    doc.m_forceRefresh = 1;
    doc.updateAllServersData();
    QVERIFY(doc.Servers()[0].m_fetcher != nullptr);
    QCOMPARE(doc.m_forceRefresh, 0);
    QTRY_VERIFY_WITH_TIMEOUT(!doc.Servers().FetchRunning(), 10000);
}

void TestDocument::serviceRunning_data() {
    QTest::addColumn<QString>("kind");
    QTest::addColumn<QString>("version");
    QTest::addColumn<QString>("asked"); // the name the document is asked about
    QTest::addColumn<bool>("tracking");
    QTest::addColumn<QString>("stopped"); // the service stopped on the site
    QTest::addColumn<int>("answer");
    const QString ras = u"RAS"_s, rras = u"RRAS"_s, nt4 = u"4.0"_s, w2k = u"5.0"_s, srv = u"SRV"_s;
    QTest::newRow("tracking running") << ras << nt4 << srv << true << QString() << 1;
    QTest::newRow("tracking stopped") << ras << nt4 << srv << true << u"Callwarden"_s << 2;
    QTest::newRow("classic RAS uses RemoteAccess") << ras << nt4 << srv << false << u"RemoteAccess"_s << 2;
    QTest::newRow("router on 4.0 uses Router") << rras << nt4 << srv << false << u"Router"_s << 2;
    // Asking RemoteAccess there would find no such service and answer 0.
    QTest::newRow("router on 4.0 running") << rras << nt4 << srv << false << QString() << 1;
    QTest::newRow("router on 5.0 uses RemoteAccess") << rras << w2k << srv << false << u"RemoteAccess"_s << 2;
    QTest::newRow("router on 5.0 running") << rras << w2k << srv << false << QString() << 1;
    QTest::newRow("unreachable") << ras << nt4 << srv << true << u"unreachable"_s << 0;
    // The RAS service depends on the record; a name the list lacks is reported.
    QTest::newRow("RAS of a name not in the list") << ras << nt4 << u"srv"_s << false << QString() << 0;
    QTest::newRow("tracking needs no record") << ras << nt4 << u"srv"_s << true << QString() << 1;
}

void TestDocument::serviceRunning() {
    QFETCH(QString, kind);
    QFETCH(QString, version);
    QFETCH(QString, asked);
    QFETCH(bool, tracking);
    QFETCH(QString, stopped);
    QFETCH(int, answer);
    CTestConsole console([&](CSiteWriter& w) {
        CTestConsole::AddServer(w, u"SRV"_s, kind, version, 1, true);
        if (stopped == u"unreachable"_s)
            w.SetHostValue(u"SRV"_s, u"Reachable"_s, u"0"_s);
        else if (!stopped.isEmpty())
            w.SetService(u"SRV"_s, stopped, 1);
    });
    CCwadminDoc& doc = console.Doc();
    doc.Servers()[0].m_rasKind = kind == u"RAS"_s ? RasKindValue::Ras : RasKindValue::Rras;
    QCOMPARE(doc.IsServiceRunning(asked, tracking), answer);
    const bool unknown = !tracking && doc.GetServerNumberByName(asked) < 0;
    QCOMPARE(console.Prompter().Texts(),
             unknown ? QStringList{u"Server %1 not found in server list"_s.arg(asked)} : QStringList());
}

void TestDocument::accountPrivileges() {
    CTestConsole console([](CSiteWriter& w) {
        w.AddHost(u"PDC"_s);
        w.AddDomain(u"SALES"_s, u"PDC"_s);
        w.AddUser(u"SALES"_s, u"alice"_s);
        w.SetRasUser(u"PDC"_s, u"alice"_s, 8 + 2, u"5551234"_s);
    });
    CCwadminDoc& doc = console.Doc();
    QCOMPARE(doc.GetUserRASPrivs(u"\\\\PDC"_s, u"alice"_s), 10);
    QCOMPARE(doc.m_callbackNumber, u"5551234"_s);
    doc.m_callbackNumber = u"5550000"_s;
    QCOMPARE(doc.SetUserRASPrivs(u"\\\\PDC"_s, u"alice"_s, 8 + 1), 1);
    doc.m_callbackNumber.clear();
    QCOMPARE(doc.GetUserRASPrivs(u"\\\\PDC"_s, u"alice"_s), 9);
    QCOMPARE(doc.m_callbackNumber, u"5550000"_s);
    QCOMPARE(doc.GetUserRASPrivs(u"\\\\PDC"_s, u"nobody"_s), 0);
    QCOMPARE(doc.m_callbackNumber, QString());
}

void TestDocument::languageLocale_data() {
    QTest::addColumn<QString>("locale"); // "" = missing; "-" = no International key
    QTest::addColumn<bool>("reachable");
    QTest::addColumn<uint>("expected");
    QTest::newRow("german") << "00000407" << true << 1031u;
    QTest::newRow("value missing") << "" << true << 1033u;
    QTest::newRow("key missing") << "-" << true << 1024u;
    QTest::newRow("unreachable") << "00000407" << false << 1024u;
}

void TestDocument::languageLocale() {
    QFETCH(QString, locale);
    QFETCH(bool, reachable);
    QFETCH(uint, expected);
    CTestConsole console([&](CSiteWriter& w) {
        CSiteWriter::HostOptions options;
        options.reachable = reachable;
        w.AddHost(u"MASTER"_s, options);
        const QString key = u"HKEY_USERS\\.default\\Control Panel\\International"_s;
        if (locale == u"-"_s)
            w.CreateRegKey(u"MASTER"_s, u"HKEY_USERS\\.default"_s);
        else if (locale.isEmpty())
            w.CreateRegKey(u"MASTER"_s, key);
        else
            w.SetRegString(u"MASTER"_s, key, u"Locale"_s, locale);
    });
    CCwadminDoc& doc = console.Doc();
    doc.GetLangLocaleOnMaster(u"MASTER"_s);
    QCOMPARE(doc.LanguageLocale(), DWORD(expected));
    // Determined once.
    doc.GetLangLocaleOnMaster(u"ELSEWHERE"_s);
    QCOMPARE(doc.LanguageLocale(), DWORD(expected));
}

QTEST_MAIN(TestDocument)
#include "tst_document.moc"
