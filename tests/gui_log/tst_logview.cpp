// The log view in the main window over a small site with one day of history:
// the day commands and the event count, the hints, the customise page and the
// save of selected rows.
#include "core/log/logmodel.h"
#include "gui/frame/mainframe.h"
#include "gui/pages/customizelogview.h"
#include "gui/views/logview.h"
#include "support/testconsole.h"

#include <QCheckBox>
#include <QDir>
#include <QLabel>
#include <QLocale>
#include <QPushButton>
#include <QRadioButton>
#include <QStandardPaths>
#include <QTableView>
#include <QtTest>

using namespace Qt::StringLiterals;

namespace {

// Three events on 23 November 2026: bob's session on COM1, carol refused on COM2.
void OneDay(CSiteWriter& w) {
    CTestConsole::AddServer(w, u"PDC1"_s, u"RAS"_s, u"4.0"_s, 2, true);
    w.WriteShareFile(u"PDC1"_s, u"CW_NT_DB"_s, u"LogData\\2026-Nov-23.log"_s,
                     "[PDC1\\COM1]\r\n1795392000=H3725_SALES\\bob?3232235777?9:IPX1:WS01:999:2000\r\n"
                     "1795392100=C_SALES\\bob*hello\r\n[PDC1\\COM2]\r\n1795392200=N_SALES\\carol?4\r\n");
}

QStringList Titles(const CLogModel* model) {
    QStringList titles;
    for (int column = 0; column < model->columnCount(); ++column)
        titles.append(model->headerData(column, Qt::Horizontal).toString());
    return titles;
}

// A click on the box's mark: the box may stand wider than its text.
void Click(QAbstractButton* button) {
    QTest::mouseClick(button, Qt::LeftButton, {}, QPoint(6, button->height() / 2));
}

DWORD Client(CCwadminDoc& doc, const QString& name) {
    DWORD value = 666;
    doc.ReadRegDWORD({}, u"Client"_s, name, &value);
    return value;
}

} // namespace

class TestLogView : public QObject {
    Q_OBJECT
private slots:
    void initTestCase() { QStandardPaths::setTestModeEnabled(true); }
    void init();
    void cleanup() { m_console.reset(); }
    void dayCommandsFollowTheMode();
    void historyNeedsTheMaster();
    void displayHintRebuildsColumns_data();
    void displayHintRebuildsColumns();
    void customizePageApplies_data();
    void customizePageApplies();
    void savesTheSelectedRows();

private:
    CLogView* View() const { return dynamic_cast<CLogView*>(m_console->Frame().RightView()); }

    std::unique_ptr<CTestConsole> m_console;
};

void TestLogView::init() {
    m_console = std::make_unique<CTestConsole>(OneDay);
    QVERIFY(m_console->FetchAll());
    m_console->Doc().NavigateTo(2026, 11, 23);
}

void TestLogView::dayCommandsFollowTheMode() {
    CMainFrame& frame = m_console->Frame();
    const QStringList days{u"Go &Back"_s, u"Go &Forward"_s, u"Go to &Calendar..."_s};
    auto enabled = [&] {
        int count = 0;
        for (const QString& command : days)
            count += frame.Command(command)->isEnabled() ? 1 : 0;
        return count;
    };
    QCOMPARE(enabled(), 0);
    QCOMPARE(frame.StatusPane(1)->text(), QString());

    frame.Command(u"&Log View"_s)->trigger();
    QVERIFY(View());
    QCOMPARE(enabled(), 3);
    QCOMPARE(frame.StatusPane(1)->text(), u"3 Events"_s);
    const QString day = QLocale::system().toString(QDate(2026, 11, 23), QLocale::LongFormat);
    QCOMPARE(frame.windowTitle(), u"Callwarden Administrator - [%1]"_s.arg(day));

    // A day without a file, then back: each command reloads the view.
    frame.Command(u"Go &Back"_s)->trigger();
    QCOMPARE(frame.StatusPane(1)->text(), u"0 Events"_s);
    QCOMPARE(View()->Model()->rowCount(), 0);
    frame.Command(u"Go &Forward"_s)->trigger();
    QCOMPARE(View()->Model()->rowCount(), 3);

    frame.Command(u"&Status View"_s)->trigger();
    QCOMPARE(enabled(), 0);
    QCOMPARE(frame.StatusPane(1)->text(), QString());
    QCOMPARE(frame.windowTitle(), u"Callwarden Administrator"_s);
}

void TestLogView::historyNeedsTheMaster() {
    CTestConsole console(OneDay);
    CMainFrame& frame = console.Frame();
    frame.Command(u"&Log View"_s)->trigger();
    QCOMPARE(console.Doc().m_viewMode, 0);
    QCOMPARE(console.Prompter().Texts().size(), 1);
    QVERIFY(console.Prompter().Texts()[0].startsWith(u"Can't show history\n"_s));
}

void TestLogView::displayHintRebuildsColumns_data() {
    QTest::addColumn<quint32>("mask");
    QTest::addColumn<int>("seconds");
    QTest::addColumn<QStringList>("titles");
    QTest::addColumn<QString>("lasted"); // bob's session, when shown
    QTest::newRow("all") << 0xFFFFFFFFu << 0
                         << QStringList{u"Time"_s, u"Server"_s, u"Port"_s,     u"Action"_s,
                                        u"Info"_s, u"User"_s,   u"IP"_s,       u"NetBIOS"_s,
                                        u"IPX"_s,  u"Lasted"_s, u"Bytes In"_s, u"Bytes Out"_s}
                         << u"1\"02'05"_s;
    QTest::newRow("time is always shown")
        << 0x622u << 1 << QStringList{u"Time"_s, u"Server"_s, u"User"_s, u"Lasted"_s, u"Bytes In"_s}
        << u"3725"_s;
    QTest::newRow("time alone") << 0x1u << 1 << QStringList{u"Time"_s} << QString();
}

void TestLogView::displayHintRebuildsColumns() {
    QFETCH(quint32, mask);
    QFETCH(int, seconds);
    QFETCH(QStringList, titles);
    QFETCH(QString, lasted);
    CCwadminDoc& doc = m_console->Doc();
    m_console->Frame().OnViewHistory();
    doc.m_historyColumns = mask;
    doc.m_showSeconds = seconds;
    doc.UpdateAllViews(nullptr, Hint::LogDisplayChanged);
    const CLogModel* model = View()->Model();
    QCOMPARE(Titles(model), titles);
    QCOMPARE(model->rowCount(), 3);
    if (!lasted.isEmpty())
        QCOMPARE(model->CellText(0, int(titles.indexOf(u"Lasted"_s))), lasted);
}

void TestLogView::customizePageApplies_data() {
    QTest::addColumn<QList<int>>("clicked"); // column boxes
    QTest::addColumn<bool>("clearAutoSize");
    QTest::addColumn<bool>("seconds");
    QTest::addColumn<DWORD>("mask");
    QTest::addColumn<DWORD>("autoSize"); // as stored: 1 means off
    QTest::newRow("no IP nor NetBIOS, fixed widths, seconds")
        << QList<int>{6, 7} << true << true << DWORD(0xF3F) << DWORD(1);
    QTest::newRow("everything cleared but the time")
        << QList<int>{0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11} << false << false << DWORD(1) << DWORD(0);
}

void TestLogView::customizePageApplies() {
    QFETCH(QList<int>, clicked);
    QFETCH(bool, clearAutoSize);
    QFETCH(bool, seconds);
    QFETCH(DWORD, mask);
    QFETCH(DWORD, autoSize);
    CCwadminDoc& doc = m_console->Doc();
    m_console->Frame().OnViewHistory();
    auto sheet = CreateCustomizeView(doc, nullptr);
    QCOMPARE(sheet->windowTitle(), u"Customize View"_s);
    sheet->show();
    auto* page = static_cast<CCustomizeLogview*>(sheet->Page(0));
    QCOMPARE(page->Title(), u"Settings"_s);
    for (const int column : clicked)
        Click(page->ColumnBox(column));
    if (clearAutoSize)
        Click(page->AutoSizeBox());
    Click(seconds ? page->SecondsFormat() : page->ClockFormat());
    QTest::mouseClick(sheet->OkButton(), Qt::LeftButton);

    QCOMPARE(Client(doc, u"HistoryViewColumns"_s), mask);
    QCOMPARE(Client(doc, u"AutoSizeColumns"_s), autoSize);
    QCOMPARE(Client(doc, u"TimeFormatSeconds"_s), DWORD(seconds ? 1 : 0));
    QCOMPARE(doc.m_autoSizeColumns, autoSize == 0 ? 1 : 0);
    // The view has taken the new columns.
    QCOMPARE(View()->Model()->columnCount(), qPopulationCount(mask));
}

void TestLogView::savesTheSelectedRows() {
    CMainFrame& frame = m_console->Frame();
    frame.OnViewHistory();
    QTableView* list = View()->List();
    for (const int row : {0, 2})
        list->selectionModel()->select(View()->Model()->index(row, 0),
                                       QItemSelectionModel::Select | QItemSelectionModel::Rows);
    QTemporaryDir dir;
    const QString path = dir.filePath(u"events.csv"_s);
    m_console->Prompter().saveFileNames = {path};
    frame.Command(u"Save Data &As..."_s)->trigger();
    QCOMPARE(m_console->Prompter().saveCaptions, QStringList{u"Save Selected Events to File"_s});

    QFile file(path);
    QVERIFY(file.open(QIODevice::ReadOnly));
    const QStringList lines = QString::fromLatin1(file.readAll()).split(u"\r\n"_s);
    QCOMPARE(lines.size(), 4); // header, two rows, and the end of the last line
    QCOMPARE(lines[0],
             u"Time/Date,Server,Port,Action,Information,User,IP,NetBIOS,IPX,Lasted,Bytes In,Bytes Out"_s);
    QCOMPARE(lines[1].split(u',').mid(2, 4),
             (QStringList{u"COM1"_s, u"Disconnect"_s, u"Idle Timeout"_s, u"SALES\\bob"_s}));
    QCOMPARE(lines[2].split(u',').mid(2, 4),
             (QStringList{u"COM2"_s, u"Denied"_s, u"User already connected"_s, u"SALES\\carol"_s}));
    QCOMPARE(lines[3], QString());
}

QTEST_MAIN(TestLogView)
#include "tst_logview.moc"
