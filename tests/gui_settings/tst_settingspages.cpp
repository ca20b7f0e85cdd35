// The server settings pages and their sheet, driven as an administrator would:
// what they show from a test site, what they write there, and the refusals
// that keep the sheet open.
#include "core/pages/exportsettings.h"
#include "gui/pages/changedsn.h"
#include "gui/pages/serverproperties.h"
#include "gui/pages/srvpropodbc.h"
#include "gui/pages/srvpropsettings.h"
#include "gui/toolkit/propertysheet.h"
#include "settingsfixture.h"

#include <QApplication>
#include <QCheckBox>
#include <QDir>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>
#include <QRadioButton>
#include <QTimer>
#include <QtTest>

using namespace Qt::StringLiterals;
using OCL::DWORD;
using Icon = OCL::IPrompter::Icon;

Q_DECLARE_METATYPE(OCL::IPrompter::Icon)

namespace {

const QStringList kExportOrder{u"ExportHistory"_s, u"ExportUsers"_s, u"ODBC_Account"_s, u"ODBC_Password"_s,
                               u"ODBC_DSN"_s,      u"ExportDates"_s, u"ExportHours"_s,  u"ExportDays"_s};

enum class Site { Plain, ExportOn, NoDsn, BitsWithoutExport };

void Prepare(CSiteWriter& writer, Site site) {
    if (site == Site::ExportOn) {
        writer.SetServiceDword(kMaster, u"ExportUsers"_s, 1);
        writer.SetServiceDword(kMaster, u"ExportHours"_s, 16777218);
        writer.SetServiceDword(kMaster, u"ExportDays"_s, 128);
        writer.SetServiceDword(kMaster, u"ExportDates"_s, 0x80000002u);
    } else if (site == Site::BitsWithoutExport) {
        writer.SetServiceDword(kMaster, u"ExportHours"_s, 6);
    } else if (site == Site::NoDsn) {
        writer.SetServiceString(kMaster, u"ODBC_DSN"_s, QString());
    }
}

// A network whose servers have been fetched once, so the console knows the master.
struct CFetchedSite : CSettingsSite {
    explicit CFetchedSite(Site site = Site::Plain)
        : CSettingsSite([site](CSiteWriter& writer) { Prepare(writer, site); }) {
        fetched = console.FetchAll();
    }
    // The sheet of server, shown on page.
    std::unique_ptr<CPropertySheet> Sheet(const QString& server, int page = 0) {
        auto sheet = CreateServerProperties(Doc(), Number(server), nullptr);
        sheet->SetActivePage(page);
        sheet->show();
        return sheet;
    }
    bool fetched = false;
};

template <typename T>
T* Child(QWidget* parent, const QString& name) {
    T* child = parent->findChild<T*>(name);
    if (!child)
        qWarning("no %s", qPrintable(name));
    return child;
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
    void sheetPages_data();
    void sheetPages();
    void helpOpensTheShownPagesTopic();
    void unknownServerIsReported();
    void showReturnsTheAnswer_data();
    void showReturnsTheAnswer();

    void generalPageShowsTheSite_data();
    void generalPageShowsTheSite();
    void generalPageWrites();
    void generalPageRefusalKeepsSheetOpen();
    void togglingMarksModified_data();
    void togglingMarksModified();

    void exportPageShowsTheSchedule_data();
    void exportPageShowsTheSchedule();
    void exportPageWritesTheSchedule();
    void exportRefusalsKeepSheetOpen_data();
    void exportRefusalsKeepSheetOpen();
    void bothBoxesOffWritesNothing();
    void changeDsn_data();
    void changeDsn();
};

void TestSettingsPages::sheetPages_data() {
    QTest::addColumn<QString>("server");
    QTest::addColumn<QStringList>("pages");
    QTest::newRow("master") << kMaster << QStringList{u"General"_s, u"Database Export"_s};
    QTest::newRow("member") << kMember << QStringList{u"General"_s};
}

void TestSettingsPages::sheetPages() {
    QFETCH(QString, server);
    CFetchedSite network;
    QVERIFY(network.fetched);
    auto sheet = network.Sheet(server);
    QCOMPARE(sheet->windowTitle(), u"Properties for %1"_s.arg(server));
    QStringList titles;
    for (int i = 0; i < sheet->PageCount(); ++i)
        titles.append(sheet->Page(i)->Title());
    QTEST(titles, "pages");
    QVERIFY(sheet->HelpButton());
}

void TestSettingsPages::helpOpensTheShownPagesTopic() {
    CFetchedSite network;
    auto sheet = network.Sheet(kMaster);
    QTest::mouseClick(sheet->HelpButton(), Qt::LeftButton);
    sheet->SetActivePage(1);
    QTest::mouseClick(sheet->HelpButton(), Qt::LeftButton);
    QCOMPARE(network.shell->opened.size(), 2);
    const int contexts[] = {CSrvPropSettings::kHelpContext, CSrvPropODBC::kHelpContext};
    for (int i = 0; i < 2; ++i) {
        const QString topic = u"topic%1.html"_s.arg(contexts[i]);
        QVERIFY2(QDir::fromNativeSeparators(network.shell->opened[i]).endsWith(u"help/"_s + topic),
                 qPrintable(network.shell->opened[i]));
        // The topic is written, and it is installed with the program.
        QVERIFY2(QFile::exists(QStringLiteral(CW_SOURCE_DIR) + u"/docs/help/"_s + topic), qPrintable(topic));
    }
    QCOMPARE(network.console.Prompter().Boxes().size(), 0);
}

void TestSettingsPages::unknownServerIsReported() {
    CFetchedSite network;
    QVERIFY(!ShowServerProperties(network.Doc(), u"NOSUCH"_s, nullptr));
    QCOMPARE(network.console.Prompter().Texts(), QStringList{u"Server NOSUCH not found in server list"_s});
}

void TestSettingsPages::showReturnsTheAnswer_data() {
    QTest::addColumn<bool>("ok");
    QTest::newRow("OK") << true;
    QTest::newRow("Cancel") << false;
}

void TestSettingsPages::showReturnsTheAnswer() {
    QFETCH(bool, ok);
    CFetchedSite network;
    QString title;
    WhenModal<CPropertySheet>(this, [&title, ok](CPropertySheet* sheet) {
        title = sheet->windowTitle();
        QTest::mouseClick(ok ? sheet->OkButton() : sheet->CancelButton(), Qt::LeftButton);
    });
    QCOMPARE(ShowServerProperties(network.Doc(), kMember, nullptr), ok);
    QCOMPARE(title, u"Properties for RAS2"_s);
    // OK applies the shown page even unchanged, and tells the service.
    QCOMPARE(network.pipe->calls.size(), ok ? 1 : 0);
}

void TestSettingsPages::generalPageShowsTheSite_data() {
    QTest::addColumn<QString>("server");
    QTest::addColumn<bool>("primary");
    QTest::addColumn<bool>("serviceRunning");
    QTest::newRow("master") << kMaster << true << true;
    QTest::newRow("member") << kMember << false << true;
    QTest::newRow("member, service stopped") << kMember << false << false;
}

void TestSettingsPages::generalPageShowsTheSite() {
    QFETCH(QString, server);
    QFETCH(bool, primary);
    QFETCH(bool, serviceRunning);
    CSettingsSite network([serviceRunning](CSiteWriter& writer) {
        if (!serviceRunning)
            writer.SetService(kMember, u"Callwarden"_s, 1);
    });
    auto sheet = CreateServerProperties(network.Doc(), network.Number(server), nullptr);
    sheet->show();
    QWidget* page = sheet->Page(0);
    QCOMPARE(Child<QRadioButton>(page, u"primary"_s)->isChecked(), primary);
    QCOMPARE(Child<QRadioButton>(page, u"secondary"_s)->isChecked(), !primary);
    auto* computer = Child<QLineEdit>(page, u"masterComputer"_s);
    QCOMPARE(computer->text(), kMaster);
    QCOMPARE(computer->isEnabled(), !primary);
    QVERIFY(Child<QCheckBox>(page, u"idleLimit"_s)->isChecked());
    QCOMPARE(Child<QLineEdit>(page, u"idleMinutes"_s)->text(), u"15"_s);
    QVERIFY(Child<QLineEdit>(page, u"idleMinutes"_s)->isEnabled());
    QVERIFY(Child<QCheckBox>(page, u"logToEventLog"_s)->isChecked());
    QVERIFY(!Child<QCheckBox>(page, u"staticIP"_s)->isChecked());
    QCOMPARE(Child<QLabel>(page, u"computer"_s)->text(), server);
    QCOMPARE(Child<QLabel>(page, u"version"_s)->text(), u"3.2.1"_s);
    QVERIFY(Child<QLabel>(page, u"installed"_s)->text().contains(u"14:26:40"_s));
    QCOMPARE(Child<QLabel>(page, u"service"_s)->text(), serviceRunning ? u"Running"_s : u"Stopped"_s);
    QVERIFY(!sheet->ApplyButton()->isEnabled());
}

void TestSettingsPages::generalPageWrites() {
    CFetchedSite network;
    auto sheet = network.Sheet(kMember);
    QWidget* page = sheet->Page(0);
    auto* computer = Child<QLineEdit>(page, u"masterComputer"_s);
    Click(Child<QRadioButton>(page, u"primary"_s));
    QVERIFY(!computer->isEnabled());
    Click(Child<QRadioButton>(page, u"secondary"_s));
    QVERIFY(computer->isEnabled());
    Retype(computer, u"BDC1"_s);
    Retype(Child<QLineEdit>(page, u"idleMinutes"_s), u"45"_s);
    Click(Child<QCheckBox>(page, u"logToEventLog"_s));
    Click(Child<QCheckBox>(page, u"staticIP"_s));
    QTest::mouseClick(sheet->OkButton(), Qt::LeftButton);

    QCOMPARE(sheet->result(), int(QDialog::Accepted));
    QCOMPARE(network.Dword(kMember, "Master"), DWORD(0));
    QCOMPARE(network.String(kMember, "MasterShare"), u"\\\\BDC1\\CW_NT_DB"_s);
    QCOMPARE(network.Dword(kMember, "IdleTimer"), DWORD(45));
    QCOMPARE(network.Dword(kMember, "LogSessionEventsToEventLog"), DWORD(0));
    QCOMPARE(network.Dword(kMember, "StaticIP"), DWORD(1));
    QCOMPARE(network.pipe->calls.size(), 1);
    QCOMPARE(network.pipe->calls[0].request, QByteArrayLiteral("UPDATE_UPDATE"));
    QCOMPARE(network.console.Prompter().Boxes().size(), 0);
}

void TestSettingsPages::generalPageRefusalKeepsSheetOpen() {
    CFetchedSite network;
    auto sheet = network.Sheet(kMember);
    Retype(Child<QLineEdit>(sheet->Page(0), u"masterComputer"_s), QString());
    QTest::mouseClick(sheet->OkButton(), Qt::LeftButton);
    QVERIFY(sheet->isVisible());
    QCOMPARE(network.console.Prompter().Boxes().size(), 1);
    QCOMPARE(network.console.Prompter().Boxes()[0].text,
             u"Please enter the computer name of the Primary Callwarden Server."_s);
    QVERIFY(network.registry->written.isEmpty());
    QVERIFY(network.pipe->calls.isEmpty());
}

void TestSettingsPages::togglingMarksModified_data() {
    QTest::addColumn<QString>("server");
    QTest::addColumn<int>("page");
    QTest::addColumn<QString>("control");
    QTest::newRow("primary") << kMember << 0 << u"primary"_s;
    QTest::newRow("computer name") << kMember << 0 << u"masterComputer"_s;
    QTest::newRow("idle limit") << kMember << 0 << u"idleLimit"_s;
    QTest::newRow("minutes") << kMember << 0 << u"idleMinutes"_s;
    QTest::newRow("event log") << kMember << 0 << u"logToEventLog"_s;
    QTest::newRow("static IP") << kMaster << 0 << u"staticIP"_s;
    QTest::newRow("export users") << kMaster << 1 << u"exportUsers"_s;
    QTest::newRow("export history") << kMaster << 1 << u"exportHistory"_s;
    QTest::newRow("hours") << kMaster << 1 << u"hours"_s;
    QTest::newRow("weekdays") << kMaster << 1 << u"weekdays"_s;
    QTest::newRow("dates") << kMaster << 1 << u"dates"_s;
}

void TestSettingsPages::togglingMarksModified() {
    QFETCH(QString, server);
    QFETCH(int, page);
    QFETCH(QString, control);
    CFetchedSite network(Site::ExportOn);
    auto sheet = network.Sheet(server, page);
    QVERIFY(!sheet->ApplyButton()->isEnabled());
    QVERIFY(!sheet->Page(page)->IsModified());
    QWidget* widget = sheet->Page(page)->findChild<QWidget*>(control);
    QVERIFY(widget);
    if (auto* button = qobject_cast<QAbstractButton*>(widget))
        Click(button);
    else if (auto* edit = qobject_cast<QLineEdit*>(widget))
        QTest::keyClicks(edit, u"7"_s);
    else if (auto* list = qobject_cast<QListWidget*>(widget))
        ClickRow(list, 3);
    QVERIFY(sheet->Page(page)->IsModified());
    QVERIFY(sheet->ApplyButton()->isEnabled());
}

void TestSettingsPages::exportPageShowsTheSchedule_data() {
    QTest::addColumn<int>("site");
    QTest::addColumn<bool>("enabled");
    QTest::addColumn<QList<int>>("hours");
    QTest::addColumn<QList<int>>("weekdays");
    QTest::addColumn<QList<int>>("dates");
    QTest::newRow("export on") << int(Site::ExportOn) << true << QList<int>{0, 23} << QList<int>{6}
                               << QList<int>{0, 30};
    QTest::newRow("export off selects nothing")
        << int(Site::Plain) << false << QList<int>{} << QList<int>{} << QList<int>{};
}

void TestSettingsPages::exportPageShowsTheSchedule() {
    QFETCH(int, site);
    QFETCH(bool, enabled);
    CFetchedSite network{Site(site)};
    auto sheet = network.Sheet(kMaster, 1);
    QWidget* page = sheet->Page(1);
    auto* hours = Child<QListWidget>(page, u"hours"_s);
    QCOMPARE(hours->count(), 24);
    QCOMPARE(hours->item(23)->text(), u"23:00"_s);
    QCOMPARE(hours->selectionMode(), QAbstractItemView::MultiSelection);
    QCOMPARE(hours->isEnabled(), enabled);
    QTEST(SelectedRows(hours), "hours");
    QTEST(SelectedRows(Child<QListWidget>(page, u"weekdays"_s)), "weekdays");
    QTEST(SelectedRows(Child<QListWidget>(page, u"dates"_s)), "dates");
    QCOMPARE(Child<QCheckBox>(page, u"exportUsers"_s)->isChecked(), enabled);
    QCOMPARE(Child<QLineEdit>(page, u"dsn"_s)->text(), u"CallwardenDSN"_s);
    QVERIFY(Child<QLineEdit>(page, u"dsn"_s)->isReadOnly());
    // Every hour is in sight at once.
    QVERIFY(hours->visualItemRect(hours->item(23)).bottom() <= hours->viewport()->height());
}

void TestSettingsPages::exportPageWritesTheSchedule() {
    CFetchedSite network;
    auto sheet = network.Sheet(kMaster, 1);
    QWidget* page = sheet->Page(1);
    Click(Child<QCheckBox>(page, u"exportHistory"_s));
    ClickRow(Child<QListWidget>(page, u"hours"_s), 0);
    ClickRow(Child<QListWidget>(page, u"hours"_s), 23);
    ClickRow(Child<QListWidget>(page, u"weekdays"_s), 6);
    ClickRow(Child<QListWidget>(page, u"dates"_s), 30);
    QTest::mouseClick(sheet->OkButton(), Qt::LeftButton);

    QCOMPARE(sheet->result(), int(QDialog::Accepted));
    QCOMPARE(network.registry->written, kExportOrder);
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
    QTest::newRow("no hour") << int(Site::Plain) << u"exportUsers"_s << QList<int>{}
                             << CExportSettings::NoHourText() << Icon::Information << true;
    QTest::newRow("hours all cleared") << int(Site::ExportOn) << QString() << QList<int>{0, 23}
                                       << CExportSettings::NoHourText() << Icon::Information << true;
    QTest::newRow("no DSN") << int(Site::NoDsn) << u"exportHistory"_s << QList<int>{3}
                            << u"You have not specified a DSN."_s << Icon::Warning << false;
}

void TestSettingsPages::exportRefusalsKeepSheetOpen() {
    QFETCH(int, site);
    QFETCH(QString, box);
    QFETCH(QList<int>, hours);
    QFETCH(bool, fixByHour);
    CFetchedSite network{Site(site)};
    const std::optional<DWORD> usersBefore = network.Dword(kMaster, "ExportUsers");
    auto sheet = network.Sheet(kMaster, 1);
    QWidget* page = sheet->Page(1);
    if (!box.isEmpty())
        Click(Child<QCheckBox>(page, box));
    for (int row : hours)
        ClickRow(Child<QListWidget>(page, u"hours"_s), row);
    QTest::mouseClick(sheet->OkButton(), Qt::LeftButton);

    QVERIFY(sheet->isVisible());
    QVERIFY(sheet->result() != QDialog::Accepted);
    QCOMPARE(network.console.Prompter().Boxes().size(), 1);
    const CScriptedPrompter::Shown shown = network.console.Prompter().Boxes()[0];
    QTEST(shown.text, "text");
    QTEST(shown.icon, "icon");
    QCOMPARE(shown.buttons, OCL::IPrompter::Buttons::Ok);
    QVERIFY(network.registry->written.isEmpty());
    QCOMPARE(network.Dword(kMaster, "ExportUsers"), usersBefore);

    if (fixByHour) {
        ClickRow(Child<QListWidget>(page, u"hours"_s), 5);
        QTest::mouseClick(sheet->OkButton(), Qt::LeftButton);
        QVERIFY(!sheet->isVisible());
        QCOMPARE(network.Dword(kMaster, "ExportHours"), DWORD(64));
    }
}

void TestSettingsPages::bothBoxesOffWritesNothing() {
    CFetchedSite network(Site::ExportOn);
    auto sheet = network.Sheet(kMaster, 1);
    QWidget* page = sheet->Page(1);
    Click(Child<QCheckBox>(page, u"exportUsers"_s));
    QVERIFY(!Child<QListWidget>(page, u"hours"_s)->isEnabled());
    QVERIFY(!Child<QPushButton>(page, u"change"_s)->isEnabled());
    QVERIFY(sheet->ApplyButton()->isEnabled());
    QTest::mouseClick(sheet->OkButton(), Qt::LeftButton);
    QCOMPARE(sheet->result(), int(QDialog::Accepted));
    QVERIFY(network.registry->written.isEmpty());
    QCOMPARE(network.Dword(kMaster, "ExportUsers"), DWORD(1));
    QCOMPARE(network.Dword(kMaster, "ExportHours"), DWORD(16777218));
    QCOMPARE(network.console.Prompter().Boxes().size(), 0);
}

void TestSettingsPages::changeDsn_data() {
    QTest::addColumn<bool>("ok");
    QTest::newRow("OK replaces the login") << true;
    QTest::newRow("Cancel keeps it") << false;
}

void TestSettingsPages::changeDsn() {
    QFETCH(bool, ok);
    CFetchedSite network(Site::ExportOn);
    auto sheet = network.Sheet(kMaster, 1);
    QWidget* page = sheet->Page(1);

    struct Seen {
        QString title, note, dsn, account, password;
        QLineEdit::EchoMode echo = QLineEdit::Normal;
    } seen;
    WhenModal<CChangeDSN>(this, [&seen, ok](CChangeDSN* dialog) {
        seen.title = dialog->windowTitle();
        seen.note = dialog->findChild<QLabel*>(u"note"_s)->text();
        seen.dsn = dialog->Dsn();
        seen.account = dialog->Account();
        seen.password = dialog->Password();
        auto* password = dialog->findChild<QLineEdit*>(u"password"_s);
        seen.echo = password->echoMode();
        Retype(dialog->findChild<QLineEdit*>(u"dsn"_s), u"Warehouse"_s);
        Retype(dialog->findChild<QLineEdit*>(u"account"_s), u"loader"_s);
        Retype(password, u"n3w"_s);
        if (ok)
            dialog->accept();
        else
            dialog->reject();
    });
    QTest::mouseClick(Child<QPushButton>(page, u"change"_s), Qt::LeftButton);

    QCOMPARE(seen.title, u"Database Login Information"_s);
    QCOMPARE(seen.note,
             u"Specify Database login information below. Note that the DSN that you intend to utilize, "
             u"must have been created as a \"System DSN\" on the PDC1 computer."_s);
    QCOMPARE(seen.dsn, u"CallwardenDSN"_s);
    QCOMPARE(seen.account, u"cwexport"_s);
    QCOMPARE(seen.password, u"secret"_s);
    QCOMPARE(seen.echo, QLineEdit::Password);
    QCOMPARE(Child<QLineEdit>(page, u"dsn"_s)->text(), ok ? u"Warehouse"_s : u"CallwardenDSN"_s);
    QCOMPARE(sheet->ApplyButton()->isEnabled(), ok);
    // Nothing is written before the page applies.
    QVERIFY(network.registry->written.isEmpty());

    QTest::mouseClick(sheet->OkButton(), Qt::LeftButton);
    QCOMPARE(sheet->result(), int(QDialog::Accepted));
    QCOMPARE(network.String(kMaster, "ODBC_DSN"), ok ? u"Warehouse"_s : u"CallwardenDSN"_s);
    QCOMPARE(network.String(kMaster, "ODBC_Account"), ok ? u"loader"_s : u"cwexport"_s);
    QCOMPARE(network.String(kMaster, "ODBC_Password"), ok ? u"n3w"_s : u"secret"_s);
}

QTEST_MAIN(TestSettingsPages)
#include "tst_settingspages.moc"
