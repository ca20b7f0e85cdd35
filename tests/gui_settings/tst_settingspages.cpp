// The server settings pages and their sheet, driven as an administrator would
// over a small network (the master PDC1 and RAS2, which talks to it): what
// they show, what they write there, and the refusals that keep the sheet open.
#include "core/pages/exportsettings.h"
#include "gui/pages/changedsn.h"
#include "gui/pages/serverproperties.h"
#include "gui/pages/srvpropodbc.h"
#include "gui/pages/srvpropsettings.h"
#include "gui/toolkit/help.h"
#include "gui/toolkit/helpwindow.h"
#include "gui/toolkit/propertysheet.h"
#include "support/testconsole.h"

#include <QApplication>
#include <QCheckBox>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>
#include <QRadioButton>
#include <QStandardPaths>
#include <QTextBrowser>
#include <QTimer>
#include <QtTest>

using namespace Qt::StringLiterals;
using namespace OCL;
using Icon = IPrompter::Icon;

Q_DECLARE_METATYPE(OCL::IPrompter::Icon)

namespace {

const QString kMaster = u"PDC1"_s;
const QString kMember = u"RAS2"_s;
// Remembers every request to the service, then passes it on.
class CRecordingPipe final : public IServicePipe {
public:
    explicit CRecordingPipe(std::unique_ptr<IServicePipe> inner) : m_inner(std::move(inner)) {}
    QList<QByteArray> requests;
    DWORD Call(const std::string& pipe, const void* request, DWORD requestSize, void* reply, DWORD replySize,
               DWORD* bytesRead, DWORD timeoutMs) override {
        requests.append(QByteArray(static_cast<const char*>(request), qsizetype(requestSize)));
        return m_inner->Call(pipe, request, requestSize, reply, replySize, bytesRead, timeoutMs);
    }

private:
    std::unique_ptr<IServicePipe> m_inner;
};

enum class Net { Plain, ExportOn, NoDsn, ServiceStopped, Unreachable, MissingValues };

void Prepare(CSiteWriter& writer, Net site) {
    CTestConsole::AddServer(writer, kMaster, u"RAS"_s, u"4.0"_s, 2, true);
    CTestConsole::AddServer(writer, kMember, u"RRAS"_s, u"5.0"_s, 2, false, kMaster);
    if (site == Net::ExportOn) {
        writer.SetServiceDword(kMaster, u"ExportUsers"_s, 1);
        writer.SetServiceDword(kMaster, u"ExportHours"_s, 16777218);
        writer.SetServiceDword(kMaster, u"ExportDays"_s, 128);
        writer.SetServiceDword(kMaster, u"ExportDates"_s, 0x80000002u);
    } else if (site == Net::NoDsn) {
        writer.SetServiceString(kMaster, u"ODBC_DSN"_s, QString());
    } else if (site == Net::ServiceStopped) {
        writer.SetService(kMember, u"Callwarden"_s, 1);
    } else if (site == Net::Unreachable) {
        writer.SetHostValue(kMember, u"Reachable"_s, u"0"_s);
    } else if (site == Net::MissingValues) {
        for (const QString& name : {u"Master"_s, u"MasterShare"_s, u"IdleTimer"_s,
                                    u"LogSessionEventsToEventLog"_s, u"Version"_s, u"Installed"_s})
            writer.DeleteRegValue(kMember, CSiteWriter::kServiceKey, name);
    }
}

// The network, fetched once so that the console knows the master, with a
// recorder between the console and the service's pipe.
struct CSettingsSite {
    explicit CSettingsSite(Net site = Net::Plain)
        : console([site](CSiteWriter& writer) { Prepare(writer, site); }) {
        fetched = console.FetchAll();
        Platform& platform = console.Platform();
        auto pipeRecorder = std::make_unique<CRecordingPipe>(std::move(platform.pipe));
        pipe = pipeRecorder.get();
        platform.pipe = std::move(pipeRecorder);
    }
    // The sheet of server, shown on page.
    std::unique_ptr<CPropertySheet> Sheet(const QString& server, int page = 0) {
        auto sheet =
            CreateServerProperties(console.Doc(), console.Doc().GetServerNumberByName(server), nullptr);
        sheet->SetActivePage(page);
        sheet->show();
        return sheet;
    }
    // A value of the server's "Service" key, read as the console reads it; nullopt when missing.
    std::optional<DWORD> Dword(const QString& server, const char* name) {
        DWORD value = 666;
        return console.Doc().ReadRegDWORD(u"\\\\"_s + server, u"Service"_s, QString::fromLatin1(name), &value)
                   ? std::optional<DWORD>(value)
                   : std::nullopt;
    }
    std::optional<QString> String(const QString& server, const char* name) {
        QString value;
        return console.Doc().ReadRegString(u"\\\\"_s + server, u"Service"_s, QString::fromLatin1(name),
                                           &value)
                   ? std::optional<QString>(value)
                   : std::nullopt;
    }

    CTestConsole console;
    CRecordingPipe* pipe = nullptr;
    bool fetched = false;
};

template <typename T>
T* Child(QWidget* parent, const QString& name) {
    return parent->findChild<T*>(name);
}

// Buttons are clicked on their indicator, which a stretched button's middle misses.
void Click(QAbstractButton* button) {
    QTest::mouseClick(button, Qt::LeftButton, {}, QPoint(6, button->height() / 2));
}

void ClickRow(QListWidget* list, int row) {
    QListWidgetItem* item = list->item(row);
    list->scrollToItem(item);
    QTest::mouseClick(list->viewport(), Qt::LeftButton, {}, list->visualItemRect(item).center());
}

void Retype(QLineEdit* edit, const QString& text) {
    edit->setFocus();
    edit->selectAll();
    QTest::keyClick(edit, Qt::Key_Backspace);
    QTest::keyClicks(edit, text);
}

QList<int> SelectedRows(const QListWidget* list) {
    QList<int> rows;
    for (int row = 0; row < list->count(); ++row)
        if (list->item(row)->isSelected())
            rows.append(row);
    return rows;
}

// Runs action on the modal dialog that the next step opens.
template <typename Dialog, typename Action>
void WhenModal(QObject* context, Action action) {
    QTimer::singleShot(0, context, [action] {
        QWidget* modal = QApplication::activeModalWidget();
        if (auto* dialog = qobject_cast<Dialog*>(modal))
            action(dialog);
        else if (auto* other = qobject_cast<QDialog*>(modal))
            other->reject();
    });
}

} // namespace

class TestSettingsPages : public QObject {
    Q_OBJECT
private slots:
    void initTestCase() { QStandardPaths::setTestModeEnabled(true); }
    void helpShowsTheShownPagesTopic();
    void showReturnsTheAnswer_data();
    void showReturnsTheAnswer();
    void generalPageShowsTheSite_data();
    void generalPageShowsTheSite();
    void generalPageWrites_data();
    void generalPageWrites();
    void exportPageShowsTheSchedule_data();
    void exportPageShowsTheSchedule();
    void exportPageWritesTheSchedule();
    void exportRefusalsKeepSheetOpen_data();
    void exportRefusalsKeepSheetOpen();
    void bothBoxesOffWritesNothing();
    void changeDsn_data();
    void changeDsn();
};

void TestSettingsPages::helpShowsTheShownPagesTopic() {
    CSettingsSite network;
    auto sheet = network.Sheet(kMaster);
    for (int page : {0, 1}) {
        sheet->SetActivePage(page);
        QTest::mouseClick(sheet->HelpButton(), Qt::LeftButton);
        // In the console's own window, usable beside the sheet: no browser needed.
        CHelpWindow* help = CHelp::Window();
        QVERIFY(help && help->isVisible());
        QCOMPARE(help->parentWidget(), sheet.get());
        const int context = page == 0 ? CSrvPropSettings::kHelpContext : CSrvPropODBC::kHelpContext;
        QCOMPARE(help->CurrentFile(), u"topic%1.html"_s.arg(context));
        QVERIFY(!help->Browser()->toPlainText().contains(u"not installed"_s));
    }
    QCOMPARE(network.console.Prompter().Boxes().size(), 0);
}

void TestSettingsPages::showReturnsTheAnswer_data() {
    QTest::addColumn<QString>("server");
    QTest::addColumn<bool>("ok");
    QTest::addColumn<QStringList>("pages");
    QTest::newRow("master, OK") << kMaster << true << QStringList{u"General"_s, u"Database Export"_s};
    QTest::newRow("member, Cancel") << kMember << false << QStringList{u"General"_s};
}

void TestSettingsPages::showReturnsTheAnswer() {
    QFETCH(QString, server);
    QFETCH(bool, ok);
    CSettingsSite network;
    QVERIFY(network.fetched);
    QString title;
    QStringList pages;
    WhenModal<CPropertySheet>(this, [&, ok](CPropertySheet* sheet) {
        title = sheet->windowTitle();
        for (int i = 0; i < sheet->PageCount(); ++i)
            pages.append(sheet->Page(i)->Title());
        QTest::mouseClick(ok ? sheet->OkButton() : sheet->CancelButton(), Qt::LeftButton);
    });
    QCOMPARE(ShowServerProperties(network.console.Doc(), server, nullptr), ok);
    QCOMPARE(title, u"Properties for %1"_s.arg(server));
    QTEST(pages, "pages");
    // OK applies the shown page even unchanged, and tells the service.
    QCOMPARE(network.pipe->requests.size(), ok ? 1 : 0);
}

void TestSettingsPages::generalPageShowsTheSite_data() {
    QTest::addColumn<QString>("server");
    QTest::addColumn<int>("site");
    QTest::addColumn<bool>("primary");
    QTest::addColumn<QString>("computer");
    QTest::addColumn<QString>("idle"); // empty: the box is off
    QTest::addColumn<QString>("version");
    QTest::addColumn<QString>("installed"); // a part of the text
    QTest::addColumn<QString>("service");
    // 1600000000 is 13 September 2020, 14:26:40 in Berlin.
    const QString running = u"Running"_s, unknown = u"Unknown"_s, at = u"14:26:40"_s, version = u"3.2.1"_s;
    QTest::newRow("master") << kMaster << int(Net::Plain) << true << kMaster << u"15"_s << version << at
                            << running;
    QTest::newRow("member") << kMember << int(Net::Plain) << false << kMaster << u"15"_s << version << at
                            << running;
    QTest::newRow("service stopped") << kMember << int(Net::ServiceStopped) << false << kMaster << u"15"_s
                                     << version << at << u"Stopped"_s;
    QTest::newRow("values missing") << kMember << int(Net::MissingValues) << false << QString() << QString()
                                    << QString() << unknown << running;
    QTest::newRow("unreachable") << kMember << int(Net::Unreachable) << false << QString() << QString()
                                 << QString() << unknown << unknown;
}

void TestSettingsPages::generalPageShowsTheSite() {
    QFETCH(QString, server);
    QFETCH(int, site);
    QFETCH(bool, primary);
    QFETCH(QString, idle);
    CSettingsSite network{Net(site)};
    auto sheet = network.Sheet(server);
    QWidget* page = sheet->Page(0);
    QCOMPARE(Child<QRadioButton>(page, u"primary"_s)->isChecked(), primary);
    QCOMPARE(Child<QRadioButton>(page, u"secondary"_s)->isChecked(), !primary);
    QTEST(Child<QLineEdit>(page, u"masterComputer"_s)->text(), "computer");
    QCOMPARE(Child<QLineEdit>(page, u"masterComputer"_s)->isEnabled(), !primary);
    QCOMPARE(Child<QCheckBox>(page, u"idleLimit"_s)->isChecked(), !idle.isEmpty());
    QCOMPARE(Child<QLineEdit>(page, u"idleMinutes"_s)->text(), idle);
    QCOMPARE(Child<QLineEdit>(page, u"idleMinutes"_s)->isEnabled(), !idle.isEmpty());
    QCOMPARE(Child<QCheckBox>(page, u"logToEventLog"_s)->isChecked(), !idle.isEmpty());
    QVERIFY(!Child<QCheckBox>(page, u"staticIP"_s)->isChecked());
    QCOMPARE(Child<QLabel>(page, u"computer"_s)->text(), server);
    QTEST(Child<QLabel>(page, u"version"_s)->text(), "version");
    QFETCH(QString, installed);
    QVERIFY(Child<QLabel>(page, u"installed"_s)->text().contains(installed));
    QTEST(Child<QLabel>(page, u"service"_s)->text(), "service");
    QVERIFY(!sheet->ApplyButton()->isEnabled());
}

void TestSettingsPages::generalPageWrites_data() {
    QTest::addColumn<bool>("primary");
    QTest::addColumn<QString>("typed");
    QTest::addColumn<DWORD>("master");
    QTest::addColumn<QString>("share");
    QTest::newRow("another primary") << false << u"BDC1"_s << DWORD(0) << u"\\\\BDC1\\CW_NT_DB"_s;
    // The name goes into the share as it was typed.
    QTest::newRow("typed with blanks") << false << u" PDC2 "_s << DWORD(0) << u"\\\\ PDC2 \\CW_NT_DB"_s;
    QTest::newRow("typed as a share") << false << u"\\\\PDC2"_s << DWORD(0) << u"\\\\\\\\PDC2\\CW_NT_DB"_s;
    QTest::newRow("nothing typed") << false << QString() << DWORD(0) << u"\\\\\\CW_NT_DB"_s;
    QTest::newRow("becomes primary") << true << u"ELSEWHERE"_s << DWORD(1) << u"\\\\RAS2\\CW_NT_DB"_s;
}

void TestSettingsPages::generalPageWrites() {
    QFETCH(bool, primary);
    QFETCH(QString, typed);
    CSettingsSite network;
    auto sheet = network.Sheet(kMember);
    QWidget* page = sheet->Page(0);
    Retype(Child<QLineEdit>(page, u"masterComputer"_s), typed);
    if (primary)
        Click(Child<QRadioButton>(page, u"primary"_s));
    QCOMPARE(Child<QLineEdit>(page, u"masterComputer"_s)->isEnabled(), !primary);
    Retype(Child<QLineEdit>(page, u"idleMinutes"_s), u"45"_s);
    Click(Child<QCheckBox>(page, u"logToEventLog"_s));
    Click(Child<QCheckBox>(page, u"staticIP"_s));
    QVERIFY(sheet->ApplyButton()->isEnabled());
    QTest::mouseClick(sheet->OkButton(), Qt::LeftButton);

    QCOMPARE(sheet->result(), int(QDialog::Accepted));
    QTEST(network.Dword(kMember, "Master").value_or(666), "master");
    QTEST(network.String(kMember, "MasterShare").value_or(QString()), "share");
    QCOMPARE(network.Dword(kMember, "IdleTimer"), DWORD(45));
    QCOMPARE(network.Dword(kMember, "LogSessionEventsToEventLog"), DWORD(0));
    QCOMPARE(network.Dword(kMember, "StaticIP"), DWORD(1));
    // Then the service is told; none listens here, and that goes unreported.
    QCOMPARE(network.pipe->requests, QList<QByteArray>{QByteArrayLiteral("UPDATE_UPDATE")});
    QCOMPARE(network.console.Prompter().Boxes().size(), 0);
}

void TestSettingsPages::exportPageShowsTheSchedule_data() {
    QTest::addColumn<int>("site");
    QTest::addColumn<bool>("enabled");
    QTest::addColumn<QList<int>>("hours");
    QTest::addColumn<QList<int>>("weekdays");
    QTest::addColumn<QList<int>>("dates");
    // Bit 0 stands for no entry: 0x80000002 holds days 1 and 31 only.
    QTest::newRow("export on") << int(Net::ExportOn) << true << QList<int>{0, 23} << QList<int>{6}
                               << QList<int>{0, 30};
    QTest::newRow("export off selects nothing")
        << int(Net::Plain) << false << QList<int>{} << QList<int>{} << QList<int>{};
}

void TestSettingsPages::exportPageShowsTheSchedule() {
    QFETCH(int, site);
    QFETCH(bool, enabled);
    CSettingsSite network{Net(site)};
    auto sheet = network.Sheet(kMaster, 1);
    QWidget* page = sheet->Page(1);
    auto* hours = Child<QListWidget>(page, u"hours"_s);
    QCOMPARE(hours->count(), 24);
    QCOMPARE(hours->item(23)->text(), u"23:00"_s);
    QCOMPARE(Child<QListWidget>(page, u"weekdays"_s)->item(6)->text(), u"Sunday"_s);
    QCOMPARE(Child<QListWidget>(page, u"dates"_s)->item(30)->text(), u"31"_s);
    QCOMPARE(hours->isEnabled(), enabled);
    QTEST(SelectedRows(hours), "hours");
    QTEST(SelectedRows(Child<QListWidget>(page, u"weekdays"_s)), "weekdays");
    QTEST(SelectedRows(Child<QListWidget>(page, u"dates"_s)), "dates");
    QCOMPARE(Child<QCheckBox>(page, u"exportUsers"_s)->isChecked(), enabled);
    QCOMPARE(Child<QLineEdit>(page, u"dsn"_s)->text(), u"CallwardenDSN"_s);
    // Every hour is in sight at once.
    QVERIFY(hours->visualItemRect(hours->item(23)).bottom() <= hours->viewport()->height());
}

void TestSettingsPages::exportPageWritesTheSchedule() {
    CSettingsSite network;
    auto sheet = network.Sheet(kMaster, 1);
    QWidget* page = sheet->Page(1);
    Click(Child<QCheckBox>(page, u"exportHistory"_s));
    ClickRow(Child<QListWidget>(page, u"hours"_s), 0);
    ClickRow(Child<QListWidget>(page, u"hours"_s), 23);
    ClickRow(Child<QListWidget>(page, u"weekdays"_s), 6);
    ClickRow(Child<QListWidget>(page, u"dates"_s), 30);
    QVERIFY(sheet->ApplyButton()->isEnabled());
    QTest::mouseClick(sheet->OkButton(), Qt::LeftButton);

    QCOMPARE(sheet->result(), int(QDialog::Accepted));
    QCOMPARE(network.Dword(kMaster, "ExportHistory"), DWORD(1));
    QCOMPARE(network.Dword(kMaster, "ExportUsers"), DWORD(0));
    QCOMPARE(network.Dword(kMaster, "ExportHours"), DWORD(16777218));
    QCOMPARE(network.Dword(kMaster, "ExportDays"), DWORD(128));
    QCOMPARE(network.Dword(kMaster, "ExportDates"), DWORD(0x80000000u));
    QCOMPARE(network.String(kMaster, "ODBC_DSN"), u"CallwardenDSN"_s);
    QCOMPARE(network.String(kMaster, "ODBC_Account"), u"cwexport"_s);
    QCOMPARE(network.String(kMaster, "ODBC_Password"), u"secret"_s);
    QCOMPARE(network.console.Prompter().Boxes().size(), 0);
}

void TestSettingsPages::exportRefusalsKeepSheetOpen_data() {
    QTest::addColumn<int>("site");
    QTest::addColumn<QString>("box");      // the box to tick, if any
    QTest::addColumn<QList<int>>("hours"); // hour rows to click
    QTest::addColumn<QString>("text");
    QTest::addColumn<Icon>("icon");
    QTest::addColumn<bool>("fixByHour"); // choosing an hour then lets OK close the sheet
    const QString noHour = CExportSettings::NoHourText();
    QTest::newRow("no hour") << int(Net::Plain) << u"exportUsers"_s << QList<int>{} << noHour
                             << Icon::Information << true;
    QTest::newRow("hours all cleared")
        << int(Net::ExportOn) << QString() << QList<int>{0, 23} << noHour << Icon::Information << true;
    QTest::newRow("no hour comes before no DSN")
        << int(Net::NoDsn) << u"exportUsers"_s << QList<int>{} << noHour << Icon::Information << false;
    QTest::newRow("no DSN") << int(Net::NoDsn) << u"exportHistory"_s << QList<int>{3}
                            << u"You have not specified a DSN."_s << Icon::Warning << false;
}

void TestSettingsPages::exportRefusalsKeepSheetOpen() {
    QFETCH(int, site);
    QFETCH(QString, box);
    QFETCH(QList<int>, hours);
    QFETCH(bool, fixByHour);
    CSettingsSite network{Net(site)};
    // Nothing is written: both flags keep their stored values.
    const auto flags = [&network] {
        return QList<std::optional<DWORD>>{network.Dword(kMaster, "ExportUsers"),
                                           network.Dword(kMaster, "ExportHistory")};
    };
    const QList<std::optional<DWORD>> before = flags();
    auto sheet = network.Sheet(kMaster, 1);
    QWidget* page = sheet->Page(1);
    if (!box.isEmpty())
        Click(Child<QCheckBox>(page, box));
    for (int row : hours)
        ClickRow(Child<QListWidget>(page, u"hours"_s), row);
    QTest::mouseClick(sheet->OkButton(), Qt::LeftButton);

    QVERIFY(sheet->isVisible());
    QCOMPARE(network.console.Prompter().Boxes().size(), 1);
    const CScriptedPrompter::Shown shown = network.console.Prompter().Boxes()[0];
    QTEST(shown.text, "text");
    QTEST(shown.icon, "icon");
    QCOMPARE(shown.buttons, IPrompter::Buttons::Ok);
    QCOMPARE(flags(), before);
    if (fixByHour) {
        ClickRow(Child<QListWidget>(page, u"hours"_s), 5);
        QTest::mouseClick(sheet->OkButton(), Qt::LeftButton);
        QVERIFY(!sheet->isVisible());
        QCOMPARE(network.Dword(kMaster, "ExportHours"), DWORD(64));
    }
}

void TestSettingsPages::bothBoxesOffWritesNothing() {
    CSettingsSite network(Net::ExportOn);
    auto sheet = network.Sheet(kMaster, 1);
    QWidget* page = sheet->Page(1);
    Click(Child<QCheckBox>(page, u"exportUsers"_s));
    // Only the schedule waits for something to export; the login stays at hand.
    QVERIFY(!Child<QListWidget>(page, u"hours"_s)->isEnabled());
    QVERIFY(Child<QPushButton>(page, u"change"_s)->isEnabled());
    QVERIFY(Child<QLineEdit>(page, u"dsn"_s)->isEnabled());
    QTest::mouseClick(sheet->OkButton(), Qt::LeftButton);
    QCOMPARE(sheet->result(), int(QDialog::Accepted));
    QCOMPARE(network.Dword(kMaster, "ExportUsers"), DWORD(1));
    QCOMPARE(network.console.Prompter().Boxes().size(), 0);
}

void TestSettingsPages::changeDsn_data() {
    QTest::addColumn<bool>("ok");
    QTest::newRow("OK replaces the login") << true;
    QTest::newRow("Cancel keeps it") << false;
}

void TestSettingsPages::changeDsn() {
    QFETCH(bool, ok);
    CSettingsSite network(Net::ExportOn);
    auto sheet = network.Sheet(kMaster, 1);
    QWidget* page = sheet->Page(1);
    QStringList seen;
    WhenModal<CChangeDSN>(this, [&seen, ok](CChangeDSN* dialog) {
        auto* password = dialog->findChild<QLineEdit*>(u"password"_s);
        seen << dialog->windowTitle() << dialog->findChild<QLabel*>(u"note"_s)->text() << dialog->Dsn()
             << dialog->Account() << dialog->Password()
             << (password->echoMode() == QLineEdit::Password ? u"hidden"_s : u"shown"_s);
        Retype(dialog->findChild<QLineEdit*>(u"dsn"_s), u"Warehouse"_s);
        Retype(dialog->findChild<QLineEdit*>(u"account"_s), u"loader"_s);
        Retype(password, u"n3w"_s);
        ok ? dialog->accept() : dialog->reject();
    });
    QTest::mouseClick(Child<QPushButton>(page, u"change"_s), Qt::LeftButton);
    QCOMPARE(seen,
             (QStringList{u"Database Login Information"_s,
                          u"Specify Database login information below. Note that the DSN that you intend to "
                          u"utilize, must have been created as a \"System DSN\" on the PDC1 computer."_s,
                          u"CallwardenDSN"_s, u"cwexport"_s, u"secret"_s, u"hidden"_s}));
    QCOMPARE(Child<QLineEdit>(page, u"dsn"_s)->text(), ok ? u"Warehouse"_s : u"CallwardenDSN"_s);
    QCOMPARE(sheet->ApplyButton()->isEnabled(), ok);
    QTest::mouseClick(sheet->OkButton(), Qt::LeftButton);
    QCOMPARE(network.String(kMaster, "ODBC_DSN"), ok ? u"Warehouse"_s : u"CallwardenDSN"_s);
    QCOMPARE(network.String(kMaster, "ODBC_Account"), ok ? u"loader"_s : u"cwexport"_s);
    QCOMPARE(network.String(kMaster, "ODBC_Password"), ok ? u"n3w"_s : u"secret"_s);
}

QTEST_MAIN(TestSettingsPages)
#include "tst_settingspages.moc"
