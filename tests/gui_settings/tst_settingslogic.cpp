// The load and apply logic of the server settings: the export schedule's bit
// sets, the primary server's name, and what is read from and written to a
// server's registry, in which order, with which refusals.
#include "core/pages/exportschedule.h"
#include "core/pages/exportsettings.h"
#include "core/pages/serversettings.h"
#include "settingsfixture.h"

#include "core/app/ansitext.h"

#include <QtTest>

using namespace Qt::StringLiterals;
using OCL::DWORD;
using Icon = OCL::IPrompter::Icon;

Q_DECLARE_METATYPE(OCL::IPrompter::Icon)

namespace {

enum class Site { Plain, MissingValues, ServiceStopped, Unreachable, ExportOn, NoOdbcValues };

void Prepare(CSiteWriter& writer, Site site) {
    const QString key = CSiteWriter::kServiceKey;
    switch (site) {
    case Site::Plain:
        break;
    case Site::MissingValues:
        for (const QString& name :
             {u"Master"_s, u"MasterShare"_s, u"IdleTimer"_s, u"LogSessionEventsToEventLog"_s, u"StaticIP"_s,
              u"Version"_s, u"Installed"_s})
            writer.DeleteRegValue(kMember, key, name);
        break;
    case Site::ServiceStopped:
        writer.SetService(kMember, u"Callwarden"_s, 1);
        break;
    case Site::Unreachable:
        writer.SetHostValue(kMember, u"Reachable"_s, u"0"_s);
        break;
    case Site::ExportOn:
        writer.SetServiceDword(kMaster, u"ExportUsers"_s, 1);
        writer.SetServiceDword(kMaster, u"ExportHours"_s, 16777218);
        writer.SetServiceDword(kMaster, u"ExportDays"_s, 128);
        writer.SetServiceDword(kMaster, u"ExportDates"_s, 0x80000002u);
        break;
    case Site::NoOdbcValues:
        for (const QString& name : {u"ODBC_DSN"_s, u"ODBC_Account"_s, u"ODBC_Password"_s, u"ExportUsers"_s,
                                    u"ExportHistory"_s, u"ExportHours"_s, u"ExportDays"_s, u"ExportDates"_s})
            writer.DeleteRegValue(kMaster, key, name);
        break;
    }
}

const QStringList kGeneralOrder{u"Master"_s, u"MasterShare"_s, u"LogSessionEventsToEventLog"_s, u"StaticIP"_s,
                                u"IdleTimer"_s};
const QStringList kExportOrder{u"ExportHistory"_s, u"ExportUsers"_s, u"ODBC_Account"_s, u"ODBC_Password"_s,
                               u"ODBC_DSN"_s,      u"ExportDates"_s, u"ExportHours"_s,  u"ExportDays"_s};

} // namespace

class TestSettingsLogic : public QObject {
    Q_OBJECT
private slots:
    void scheduleEntries();
    void scheduleBits_data();
    void scheduleBits();
    void scheduleIgnoresBitsWithoutEntry();

    void computerFromShare_data();
    void computerFromShare();
    void minutes_data();
    void minutes();

    void generalLoad_data();
    void generalLoad();
    void generalApply_data();
    void generalApply();
    void generalRefusesMissingPrimaryName_data();
    void generalRefusesMissingPrimaryName();
    void generalApplyToUnreachableServerIsSilent();

    void exportLoad_data();
    void exportLoad();
    void exportApply_data();
    void exportApply();
};

void TestSettingsLogic::scheduleEntries() {
    const QStringList hours = CExportSchedule::HourEntries();
    QCOMPARE(hours.size(), 24);
    QCOMPARE(hours.first(), u"00:00"_s);
    QCOMPARE(hours.at(9), u"09:00"_s);
    QCOMPARE(hours.last(), u"23:00"_s);
    QCOMPARE(CExportSchedule::WeekdayEntries(),
             (QStringList{u"Monday"_s, u"Tuesday"_s, u"Wednesday"_s, u"Thursday"_s, u"Friday"_s,
                          u"Saturday"_s, u"Sunday"_s}));
    const QStringList dates = CExportSchedule::DateEntries();
    QCOMPARE(dates.size(), 31);
    QCOMPARE(dates.first(), u"01"_s);
    QCOMPARE(dates.last(), u"31"_s);
}

void TestSettingsLogic::scheduleBits_data() {
    QTest::addColumn<int>("count");
    QTest::addColumn<QList<int>>("entries");
    QTest::addColumn<quint32>("bits");
    QList<int> allHours, allDays;
    for (int i = 0; i < 24; ++i)
        allHours.append(i);
    for (int i = 0; i < 31; ++i)
        allDays.append(i);
    QTest::newRow("00:00 and 23:00") << 24 << QList<int>{0, 23} << 16777218u;
    QTest::newRow("00:00 alone is not bit 0") << 24 << QList<int>{0} << 2u;
    QTest::newRow("every hour") << 24 << allHours << 0x1FFFFFEu;
    QTest::newRow("Monday") << 7 << QList<int>{0} << 2u;
    QTest::newRow("Sunday") << 7 << QList<int>{6} << 128u;
    QTest::newRow("every weekday") << 7 << QList<int>{0, 1, 2, 3, 4, 5, 6} << 0xFEu;
    QTest::newRow("day 1") << 31 << QList<int>{0} << 2u;
    QTest::newRow("day 31 takes the top bit") << 31 << QList<int>{30} << 0x80000000u;
    QTest::newRow("every day") << 31 << allDays << 0xFFFFFFFEu;
    QTest::newRow("nothing") << 31 << QList<int>{} << 0u;
}

void TestSettingsLogic::scheduleBits() {
    QFETCH(int, count);
    QFETCH(QList<int>, entries);
    QFETCH(quint32, bits);
    QCOMPARE(CExportSchedule::BitsOf(entries), bits);
    QCOMPARE(CExportSchedule::EntriesOf(bits, count), entries);
}

void TestSettingsLogic::scheduleIgnoresBitsWithoutEntry() {
    // Bit 0 never stands for an entry; bits past the list's end select nothing.
    QCOMPARE(CExportSchedule::EntriesOf(0x1u | 0x80000000u, 24), QList<int>{});
    QCOMPARE(CExportSchedule::EntriesOf(0xFFFFFFFFu, 7), (QList<int>{0, 1, 2, 3, 4, 5, 6}));
    QCOMPARE(CExportSchedule::HourBit(23), 16777216u);
    QCOMPARE(CExportSchedule::WeekdayBit(6), 128u);
    QCOMPARE(CExportSchedule::DateBit(31), 0x80000000u);
    QCOMPARE(CExportSchedule::DateBit(1), 2u);
}

void TestSettingsLogic::computerFromShare_data() {
    QTest::addColumn<QString>("share");
    QTest::addColumn<QString>("computer");
    QTest::newRow("usual share") << u"\\\\PDC1\\CW_NT_DB"_s << u"PDC1"_s;
    QTest::newRow("no backslashes before") << u"PDC1\\CW_NT_DB"_s << u"PDC1"_s;
    QTest::newRow("many backslashes before") << u"\\\\\\\\PDC1\\CW_NT_DB\\sub"_s << u"PDC1"_s;
    QTest::newRow("computer only") << u"\\\\PDC1"_s << u"PDC1"_s;
    QTest::newRow("empty") << QString() << QString();
    QTest::newRow("backslashes only") << u"\\\\"_s << QString();
}

void TestSettingsLogic::computerFromShare() {
    QFETCH(QString, share);
    QFETCH(QString, computer);
    QCOMPARE(CGeneralSettings::ComputerFromShare(share), computer);
}

void TestSettingsLogic::minutes_data() {
    QTest::addColumn<QString>("text");
    QTest::addColumn<DWORD>("minutes");
    QTest::newRow("plain") << u"15"_s << DWORD(15);
    QTest::newRow("empty") << QString() << DWORD(0);
    QTest::newRow("leading zeros") << u"007"_s << DWORD(7);
    QTest::newRow("stops at a non-digit") << u"12min"_s << DWORD(12);
    QTest::newRow("only the first 20 characters") << u"00000000000000000001999"_s << DWORD(1);
    QTest::newRow("too large is cut to the largest") << u"99999999999"_s << DWORD(2147483647);
}

void TestSettingsLogic::minutes() {
    QFETCH(QString, text);
    QFETCH(DWORD, minutes);
    QCOMPARE(CGeneralSettings::ParseMinutes(text), minutes);
}

void TestSettingsLogic::generalLoad_data() {
    QTest::addColumn<int>("site");
    QTest::addColumn<QString>("server");
    QTest::addColumn<bool>("primary");
    QTest::addColumn<QString>("masterComputer");
    QTest::addColumn<bool>("idleLimit");
    QTest::addColumn<QString>("idleMinutes");
    QTest::addColumn<bool>("eventLog");
    QTest::addColumn<QString>("version");
    QTest::addColumn<QString>("installed"); // a part of the text
    QTest::addColumn<QString>("service");
    // 1600000000 is 13 September 2020, 14:26:40 in Berlin.
    QTest::newRow("master") << int(Site::Plain) << kMaster << true << kMaster << true << u"15"_s << true
                            << u"3.2.1"_s << u"14:26:40"_s << u"Running"_s;
    QTest::newRow("member") << int(Site::Plain) << kMember << false << kMaster << true << u"15"_s << true
                            << u"3.2.1"_s << u"14:26:40"_s << u"Running"_s;
    QTest::newRow("missing values keep the presets")
        << int(Site::MissingValues) << kMember << false << QString() << false << QString() << false
        << QString() << u"Unknown"_s << u"Running"_s;
    QTest::newRow("service stopped") << int(Site::ServiceStopped) << kMember << false << kMaster << true
                                     << u"15"_s << true << u"3.2.1"_s << u"14:26:40"_s << u"Stopped"_s;
    QTest::newRow("unreachable") << int(Site::Unreachable) << kMember << false << QString() << false
                                 << QString() << false << QString() << u"Unknown"_s << u"Unknown"_s;
}

void TestSettingsLogic::generalLoad() {
    QFETCH(int, site);
    QFETCH(QString, server);
    CSettingsSite network([site](CSiteWriter& writer) { Prepare(writer, Site(site)); });
    const CGeneralSettings values = CGeneralSettings::Load(network.Doc(), network.Number(server));
    QTEST(values.primary, "primary");
    QTEST(values.masterComputer, "masterComputer");
    QTEST(values.idleLimit, "idleLimit");
    QTEST(values.idleMinutes, "idleMinutes");
    QTEST(values.logToEventLog, "eventLog");
    QCOMPARE(values.staticIP, false);
    QTEST(values.version, "version");
    QFETCH(QString, installed);
    QVERIFY2(CGeneralSettings::InstalledText(network.Doc(), values.installed).contains(installed),
             qPrintable(CGeneralSettings::InstalledText(network.Doc(), values.installed)));
    QTEST(CGeneralSettings::ServiceStateText(values.serviceState), "service");
    QVERIFY(network.registry->written.isEmpty());
}

void TestSettingsLogic::generalApply_data() {
    QTest::addColumn<QString>("server");
    QTest::addColumn<bool>("primary");
    QTest::addColumn<QString>("typed");
    QTest::addColumn<bool>("idleLimit");
    QTest::addColumn<QString>("minutes");
    QTest::addColumn<bool>("eventLog");
    QTest::addColumn<bool>("staticIP");
    QTest::addColumn<DWORD>("master");
    QTest::addColumn<QString>("share");
    QTest::addColumn<DWORD>("idle");

    QTest::newRow("member becomes primary, typed name unused")
        << kMember << true << u"ELSEWHERE"_s << true << u"30"_s << false << true << DWORD(1)
        << u"\\\\RAS2\\CW_NT_DB"_s << DWORD(30);
    QTest::newRow("master hands over") << kMaster << false << u"BDC1"_s << true << u"15"_s << true << false
                                       << DWORD(0) << u"\\\\BDC1\\CW_NT_DB"_s << DWORD(15);
    QTest::newRow("idle box off stores 0") << kMember << false << u"PDC1"_s << false << u"45"_s << true
                                           << true << DWORD(0) << u"\\\\PDC1\\CW_NT_DB"_s << DWORD(0);
    QTest::newRow("name typed as a share")
        << kMember << false << u"\\\\PDC2\\CW_NT_DB"_s << true << u"5"_s << false << false << DWORD(0)
        << u"\\\\PDC2\\CW_NT_DB"_s << DWORD(5);
    QTest::newRow("blanks around the name") << kMember << false << u" PDC2 "_s << true << u"5"_s << false
                                            << false << DWORD(0) << u"\\\\PDC2\\CW_NT_DB"_s << DWORD(5);
}

void TestSettingsLogic::generalApply() {
    QFETCH(QString, server);
    QFETCH(DWORD, master);
    QFETCH(QString, share);
    QFETCH(DWORD, idle);
    QFETCH(bool, eventLog);
    QFETCH(bool, staticIP);
    CSettingsSite network;
    CGeneralSettings values;
    QFETCH(bool, primary);
    values.primary = primary;
    QFETCH(QString, typed);
    values.masterComputer = typed;
    QFETCH(bool, idleLimit);
    values.idleLimit = idleLimit;
    QFETCH(QString, minutes);
    values.idleMinutes = minutes;
    values.logToEventLog = eventLog;
    values.staticIP = staticIP;

    const CApplyResult result = values.Apply(network.Doc(), network.Number(server));
    QVERIFY(result.applied);
    QCOMPARE(network.registry->written, kGeneralOrder);
    QCOMPARE(network.Dword(server, "Master"), master);
    QCOMPARE(network.String(server, "MasterShare"), share);
    QCOMPARE(network.Dword(server, "IdleTimer"), idle);
    QCOMPARE(network.Dword(server, "LogSessionEventsToEventLog"), DWORD(eventLog ? 1 : 0));
    QCOMPARE(network.Dword(server, "StaticIP"), DWORD(staticIP ? 1 : 0));

    // The record the views read holds the same.
    const CServer& record = network.Doc().Servers()[std::size_t(network.Number(server))];
    QCOMPARE(DWORD(record.m_master), master);
    QCOMPARE(CAnsi::ToQString(CAnsi::FieldText(record.m_masterShare)), share);
    QCOMPARE(record.m_idleTimer, idle);

    // The service is told; none listens here, and that goes unreported.
    QCOMPARE(network.pipe->calls.size(), 1);
    QCOMPARE(network.pipe->calls[0].pipe, u"\\\\%1\\pipe\\cwsvcpipe"_s.arg(server));
    QCOMPARE(network.pipe->calls[0].request, QByteArrayLiteral("UPDATE_UPDATE"));
    QVERIFY(network.pipe->calls[0].result != 0);
    QCOMPARE(network.console.Prompter().Boxes().size(), 0);
}

void TestSettingsLogic::generalRefusesMissingPrimaryName_data() {
    QTest::addColumn<QString>("typed");
    QTest::newRow("empty") << QString();
    QTest::newRow("blanks") << u"   "_s;
    QTest::newRow("backslashes") << u"\\\\"_s;
}

void TestSettingsLogic::generalRefusesMissingPrimaryName() {
    QFETCH(QString, typed);
    CSettingsSite network;
    CGeneralSettings values;
    values.primary = false;
    values.masterComputer = typed;
    const CApplyResult result = values.Apply(network.Doc(), network.Number(kMember));
    QVERIFY(!result.applied);
    QCOMPARE(result.text, u"Please enter the computer name of the Primary Callwarden Server."_s);
    QCOMPARE(result.icon, Icon::Information);
    QVERIFY(network.registry->written.isEmpty());
    QVERIFY(network.pipe->calls.isEmpty());
    QCOMPARE(network.String(kMember, "MasterShare"), u"\\\\PDC1\\CW_NT_DB"_s);
}

void TestSettingsLogic::generalApplyToUnreachableServerIsSilent() {
    CSettingsSite network([](CSiteWriter& writer) { Prepare(writer, Site::Unreachable); });
    CGeneralSettings values;
    values.primary = true;
    QVERIFY(values.Apply(network.Doc(), network.Number(kMember)).applied);
    QVERIFY(network.registry->written.isEmpty()); // not even the key could be opened
    QCOMPARE(network.pipe->calls.size(), 1);
    QCOMPARE(network.console.Prompter().Boxes().size(), 0);
}

void TestSettingsLogic::exportLoad_data() {
    QTest::addColumn<int>("site");
    QTest::addColumn<bool>("users");
    QTest::addColumn<DWORD>("hours");
    QTest::addColumn<DWORD>("weekdays");
    QTest::addColumn<DWORD>("dates");
    QTest::addColumn<QString>("dsn");
    QTest::addColumn<QString>("password");
    QTest::newRow("export on") << int(Site::ExportOn) << true << DWORD(16777218) << DWORD(128)
                               << DWORD(0x80000002u) << u"CallwardenDSN"_s << u"secret"_s;
    QTest::newRow("export off") << int(Site::Plain) << false << DWORD(0) << DWORD(0) << DWORD(0)
                                << u"CallwardenDSN"_s << u"secret"_s;
    QTest::newRow("missing values keep the presets")
        << int(Site::NoOdbcValues) << false << DWORD(0) << DWORD(0) << DWORD(0) << QString() << QString();
}

void TestSettingsLogic::exportLoad() {
    QFETCH(int, site);
    CSettingsSite network([site](CSiteWriter& writer) { Prepare(writer, Site(site)); });
    const CExportSettings values = CExportSettings::Load(network.Doc(), network.Number(kMaster));
    QTEST(values.exportUsers, "users");
    QCOMPARE(values.exportHistory, false);
    QCOMPARE(values.ScheduleEnabled(), values.exportUsers);
    QTEST(values.hours, "hours");
    QTEST(values.weekdays, "weekdays");
    QTEST(values.dates, "dates");
    QTEST(values.dsn, "dsn");
    QTEST(values.password, "password");
}

void TestSettingsLogic::exportApply_data() {
    QTest::addColumn<bool>("users");
    QTest::addColumn<bool>("history");
    QTest::addColumn<DWORD>("hours");
    QTest::addColumn<QString>("dsn");
    QTest::addColumn<bool>("applied");
    QTest::addColumn<QString>("text");
    QTest::addColumn<Icon>("icon");
    QTest::addColumn<QStringList>("written");
    const QString dsn = u"Reports"_s;
    QTest::newRow("both off writes nothing")
        << false << false << DWORD(2) << dsn << true << QString() << Icon::None << QStringList();
    QTest::newRow("both off skips the checks")
        << false << false << DWORD(0) << QString() << true << QString() << Icon::None << QStringList();
    QTest::newRow("no hour") << true << false << DWORD(0) << dsn << false << CExportSettings::NoHourText()
                             << Icon::Information << QStringList();
    QTest::newRow("no hour comes before no DSN")
        << false << true << DWORD(0) << QString() << false << CExportSettings::NoHourText()
        << Icon::Information << QStringList();
    QTest::newRow("no DSN") << true << true << DWORD(2) << QString() << false
                            << u"You have not specified a DSN."_s << Icon::Warning << QStringList();
    QTest::newRow("history only") << false << true << DWORD(16777218) << dsn << true << QString()
                                  << Icon::None << kExportOrder;
    QTest::newRow("users only") << true << false << DWORD(2) << dsn << true << QString() << Icon::None
                                << kExportOrder;
}

void TestSettingsLogic::exportApply() {
    QFETCH(bool, users);
    QFETCH(bool, history);
    QFETCH(DWORD, hours);
    QFETCH(QString, dsn);
    QFETCH(bool, applied);
    QFETCH(QStringList, written);
    CSettingsSite network([](CSiteWriter& writer) {
        writer.SetServiceDword(kMaster, u"ExportHours"_s, 8);
        writer.SetServiceDword(kMaster, u"ExportUsers"_s, 1);
    });
    CExportSettings values;
    values.exportUsers = users;
    values.exportHistory = history;
    values.hours = hours;
    values.weekdays = 128;
    values.dates = 0x80000000u;
    values.dsn = dsn;
    values.account = u"exporter"_s;
    values.password = u"pa ss"_s;

    const CApplyResult result = values.Apply(network.Doc(), network.Number(kMaster));
    QCOMPARE(result.applied, applied);
    QTEST(result.text, "text");
    QTEST(result.icon, "icon");
    QCOMPARE(network.registry->written, written);
    QCOMPARE(network.console.Prompter().Boxes().size(), 0);
    if (written.isEmpty()) {
        QCOMPARE(network.Dword(kMaster, "ExportHours"), DWORD(8));
        QCOMPARE(network.Dword(kMaster, "ExportUsers"), DWORD(1));
        QCOMPARE(network.String(kMaster, "ODBC_DSN"), u"CallwardenDSN"_s);
        return;
    }
    QCOMPARE(network.Dword(kMaster, "ExportHistory"), DWORD(history ? 1 : 0));
    QCOMPARE(network.Dword(kMaster, "ExportUsers"), DWORD(users ? 1 : 0));
    QCOMPARE(network.String(kMaster, "ODBC_Account"), u"exporter"_s);
    QCOMPARE(network.String(kMaster, "ODBC_Password"), u"pa ss"_s);
    QCOMPARE(network.String(kMaster, "ODBC_DSN"), dsn);
    QCOMPARE(network.Dword(kMaster, "ExportDates"), DWORD(0x80000000u));
    QCOMPARE(network.Dword(kMaster, "ExportHours"), hours);
    QCOMPARE(network.Dword(kMaster, "ExportDays"), DWORD(128));
    QVERIFY(network.pipe->calls.isEmpty());
}

QTEST_MAIN(TestSettingsLogic)
#include "tst_settingslogic.moc"
