// The arithmetic and texts behind the ports view and the port detail view:
// the ports file's read semantics and the merge rule, compression figures,
// line and hardware conditions, the line load, and both forms of the detail.
#include "core/ports/portdetail.h"
#include "core/ports/portspoll.h"
#include "core/ports/portsviewfile.h"

#include <QTest>

#include <cstring>

using namespace Qt::StringLiterals;
using namespace PortDetail;

namespace {

void CopyWide(OCL::WCHAR* field, const QString& text) {
    std::memcpy(field, text.utf16(), std::size_t(text.size()) * sizeof(OCL::WCHAR));
    field[text.size()] = 0;
}

} // namespace

class TestPortDetail : public QObject {
    Q_OBJECT

private slots:
    void fileDefaults() {
        CPortsViewFile file;
        const CPortsViewFile::Entry missing = file.Read(u"COM1"_s);
        QCOMPARE(missing.user, u"*"_s);
        QCOMPARE(missing.start, u"*"_s);
        QCOMPARE(missing.ip, u" "_s);

        // Written without the address: "I" keeps its default.
        file.WriteUser(u"COM1"_s, u"CORP\\alice"_s);
        file.WriteStart(u"COM1"_s, 1700000000);
        CPortsViewFile::Entry entry = file.Read(u"com1"_s);
        QCOMPARE(entry.user, u"CORP\\alice"_s);
        QCOMPARE(entry.start, u"1700000000"_s);
        QCOMPARE(entry.ip, u" "_s);

        // A later poll replaces what an earlier one wrote; values read back as a
        // profile read returns them.
        file.WriteUser(u"Com1"_s, u"  \"CORP\\bob\" "_s);
        file.WriteIp(u"COM1"_s, u"\t10.0.0.9 "_s);
        entry = file.Read(u"COM1"_s);
        QCOMPARE(entry.user, u"CORP\\bob"_s);
        QCOMPARE(entry.ip, u"10.0.0.9"_s);
        QCOMPARE(file.SectionCount(), 1);

        file.Clear();
        QCOMPARE(file.Read(u"COM1"_s).user, u"*"_s);
    }

    void rowDiffers_data() {
        QTest::addColumn<QString>("userCell");
        QTest::addColumn<QString>("connectedCell");
        QTest::addColumn<QString>("u");
        QTest::addColumn<QString>("s");
        QTest::addColumn<bool>("differs");
        QTest::newRow("idle row, idle port") << QString() << QString() << QString() << u"0"_s << false;
        QTest::newRow("user differs only in case")
            << u"corp\\ALICE"_s << u"0"_s << u"CORP\\alice"_s << u"0"_s << false;
        QTest::newRow("connected: text against seconds")
            << u"CORP\\alice"_s << u"14.11.23 23:13:20"_s << u"CORP\\alice"_s << u"1700000000"_s << true;
        QTest::newRow("logged off") << u"CORP\\alice"_s << u"14.11.23 23:13:20"_s << QString() << u"0"_s
                                    << true;
        QTest::newRow("missing section") << QString() << QString() << u"*"_s << u"*"_s << true;
        QTest::newRow("missing section again") << u"*"_s << QString() << u"*"_s << u"*"_s << true;
    }

    void rowDiffers() {
        QFETCH(QString, userCell);
        QFETCH(QString, connectedCell);
        QFETCH(QString, u);
        QFETCH(QString, s);
        QFETCH(bool, differs);
        QCOMPARE(PortRowDiffers(userCell, connectedCell, {u, s, u" "_s}), differs);
    }

    void profileNumber_data() {
        QTest::addColumn<QString>("text");
        QTest::addColumn<qint64>("number");
        QTest::newRow("plain") << u"1700000000"_s << qint64(1700000000);
        QTest::newRow("blanks and sign") << u"  -42x"_s << qint64(-42);
        QTest::newRow("default") << u"*"_s << qint64(0);
        QTest::newRow("date text") << u"14.11.23 23:13:20"_s << qint64(14);
        QTest::newRow("empty") << QString() << qint64(0);
    }

    void profileNumber() {
        QFETCH(QString, text);
        QFETCH(qint64, number);
        QCOMPARE(ProfileNumber(text), number);
    }

    void userAndAddress() {
        QCOMPARE(PortUserText({}, {}), QString());
        QCOMPARE(PortUserText(u"CORP"_s, u"alice"_s), u"CORP\\alice"_s);
        QCOMPARE(PortUserText({}, u"alice"_s), u"\\alice"_s);
        QCOMPARE(DottedAddress(0xC0A80105u), u"192.168.1.5"_s);
    }

    void compression_data() {
        QTest::addColumn<qint64>("bytes");
        QTest::addColumn<qint64>("compressed");
        QTest::addColumn<qint64>("uncompressed");
        QTest::addColumn<qint64>("before");
        QTest::addColumn<qint64>("ratio");
        QTest::newRow("compressed well")
            << qint64(600) << qint64(400) << qint64(800) << qint64(1000) << qint64(40);
        QTest::newRow("negative ratio kept")
            << qint64(1000) << qint64(400) << qint64(0) << qint64(600) << qint64(-66);
        QTest::newRow("nothing sent") << qint64(0) << qint64(0) << qint64(0) << qint64(0) << qint64(0);
        QTest::newRow("no compression") << qint64(500) << qint64(0) << qint64(0) << qint64(500) << qint64(0);
        QTest::newRow("large counters") << qint64(3000000000) << qint64(1000000000) << qint64(2000000000)
                                        << qint64(4000000000) << qint64(25);
    }

    void compression() {
        QFETCH(qint64, bytes);
        QFETCH(qint64, compressed);
        QFETCH(qint64, uncompressed);
        const Compression c = Compute(bytes, compressed, uncompressed);
        QTEST(c.before, "before");
        QTEST(c.ratio, "ratio");
    }

    void lineCondition_data() {
        QTest::addColumn<int>("code");
        QTest::addColumn<bool>("fromFile");
        QTest::addColumn<QString>("text");
        const QStringList six = {u"DISCONNECTED"_s,   u"CALLING BACK"_s,  u"WAITING FOR CALL"_s,
                                 u"AUTHENTICATING"_s, u"AUTHENTICATED"_s, u"INITIALIZING"_s};
        for (int i = 0; i < 6; ++i) {
            QTest::addRow("record %d", i + 2) << i + 2 << false << u"Line condition:  "_s + six[i];
            QTest::addRow("file %d", i + 1) << i + 1 << true << u"Line condition:  "_s + six[i];
        }
        for (int code : {0, 1, 8, -1, 666})
            QTest::addRow("record %d", code) << code << false << u"Line condition:  NOT OPERATIONAL"_s;
        for (int code : {0, 7, -1})
            QTest::addRow("file %d", code) << code << true << u"Line condition:  NOT OPERATIONAL"_s;
    }

    void lineCondition() {
        QFETCH(int, code);
        QFETCH(bool, fromFile);
        QTEST(LineConditionText(code, fromFile ? Source::PortFile : Source::RasRecord), "text");
    }

    void hardwareState() {
        QCOMPARE(HardwareStateText(3), u"Hardware state:  HARDWARE FAILURE"_s);
        for (int code : {0, 1, 2, 4})
            QCOMPARE(HardwareStateText(code), u"Hardware state:  OK"_s);
    }

    void load_data() {
        QTest::addColumn<QList<qint64>>("bytes");
        QTest::addColumn<qint64>("lineSpeed");
        QTest::addColumn<QList<qint64>>("loads");
        QTest::newRow("readings") << QList<qint64>{600, 600, 4800} << qint64(33600)
                                  << QList<qint64>{7, 0, 50};
        QTest::newRow("no line speed")
            << QList<qint64>{600, 5000, 5000} << qint64(0) << QList<qint64>{0, 0, 0};
        QTest::newRow("counters reset")
            << QList<qint64>{8400, 0} << qint64(33600) << QList<qint64>{100, -100};
    }

    void load() {
        QFETCH(QList<qint64>, bytes);
        QFETCH(qint64, lineSpeed);
        QFETCH(QList<qint64>, loads);
        CLoad load;
        QList<qint64> outgoing, incoming;
        for (qint64 b : bytes) {
            load.Add(b, b / 2, lineSpeed);
            outgoing.append(load.Outgoing());
        }
        QCOMPARE(outgoing, loads);
        QCOMPARE(load.OutgoingHistory(), loads);
        QCOMPARE(load.IncomingHistory().size(), loads.size());
    }

    void loadHistoryIsShort() {
        CLoad load;
        for (int i = 0; i < CLoad::kHistory + 25; ++i)
            load.Add(i * 1000, 0, 8000);
        QCOMPARE(load.OutgoingHistory().size(), CLoad::kHistory);
        QCOMPARE(load.IncomingHistory().size(), CLoad::kHistory);
    }

    // The forms without a user: only the rows that need one change.
    void idleForms() {
        OCL::RAS_PORT_1 port{};
        OCL::RAS_PORT_STATISTICS statistics{};
        CopyWide(port.rasport0.wszDeviceName, u"Modem"_s);
        port.LineSpeed = 28800;
        port.LineCondition = 4;
        port.ProjResult.nbf.dwError = port.ProjResult.ip.dwError = port.ProjResult.ipx.dwError = 731;
        Reading r = FromRasRecords(port, statistics);
        QVERIFY(!r.connected);
        QCOMPARE(*r.texts[UserAccount], u"User name:  "_s);
        QCOMPARE(*r.texts[UsingPpp], u"Using PPP:  "_s);
        QCOMPARE(*r.texts[LineSpeed], u"Line speed:  "_s);
        QCOMPARE(*r.texts[IpAddress], u"IP address:  "_s);
        QCOMPARE(*r.texts[DeviceName], u"Device name:  Modem"_s);
        QCOMPARE(*r.texts[LineCondition], u"Line condition:  WAITING FOR CALL"_s);
        QCOMPARE(*r.texts[SessionStarted], u"Session started:  "_s);
        // Protocols that were not negotiated leave their rows alone.
        QVERIFY(!r.texts[NetBiosName]);
        QVERIFY(!r.texts[IpxAddress]);

        r = FromPortFile(
            [](const char* key) { return std::strcmp(key, "UserName") == 0 ? u"*"_s : QString(); },
            statistics);
        QVERIFY(!r.connected);
        QCOMPARE(*r.texts[UserAccount], u"User name:  "_s);
        QCOMPARE(*r.texts[UsingPpp], u"Using PPP:  "_s);
        QCOMPARE(*r.texts[LineSpeed], u"Line speed:  "_s);
        QCOMPARE(*r.texts[LineCondition], u"Line condition:  NOT OPERATIONAL"_s);
        QCOMPARE(*r.texts[OutgoingRatio], u"Outgoing compress ratio:  0%"_s);
    }

    void fileKeysInOrder() {
        QCOMPARE(kFileKeys.front(), "NetBIOS");
        QCOMPARE(kFileKeys.back(), "Started");
        QStringList asked;
        FromPortFile(
            [&](const char* key) {
                asked << QString::fromLatin1(key);
                return QString();
            },
            {});
        QCOMPARE(asked.size(), 26);
        QCOMPARE(asked.mid(8, 6), QStringList({u"AlignErr"_s, u"BufOverErr"_s, u"CrcErr"_s, u"FramingErr"_s,
                                               u"HWOverErr"_s, u"TOErr"_s}));
    }
};

QTEST_GUILESS_MAIN(TestPortDetail)
#include "tst_portdetail.moc"
