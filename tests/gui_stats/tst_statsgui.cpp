// The statistics and usage views, the export dialogs and the calendar in the
// main window over a small site in Berlin time, checked by what each shows.
#include "gui/dialogs/calendardialog.h"
#include "gui/dialogs/exportmulti.h"
#include "gui/views/statview.h"
#include "gui/views/useview.h"
#include "support/guifixture.h"

#include <QCalendarWidget>
#include <QPushButton>
#include <QRadioButton>
#include <QScrollArea>
#include <QScrollBar>
#include <QSpinBox>
#include <QTextCharFormat>
#include <QtTest>

using namespace Qt::StringLiterals;

namespace {

// The time of day h:m of a day of November 2026, local, as a log key.
QByteArray At(int h, int m = 0, int day = 23) {
    return QByteArray::number(QDateTime(QDate(2026, 11, day), QTime(h, m)).toSecsSinceEpoch());
}

// bob connects three times at 9 and once at 14, ann once at 14 and is refused
// once; bob's 3,725-second session ends at 11.
QByteArray BusyDay() {
    return "[PDC1\\COM1]\r\n" + At(9, 1) + "=C_bob\r\n" + At(9, 20) + "=C_bob\r\n" + At(9, 40) +
           "=C_bob\r\n" + At(11) + "=H3725_bob?0?0:\r\n" + At(14) + "=C_bob\r\n[PDC1\\COM2]\r\n" + At(14, 5) +
           "=C_ann\r\n" + At(15) + "=N_ann?4\r\n";
}

// The value drawn on the label's line of the statistics panel.
QString PanelValue(const CDrawList& drawing, const QString& label) {
    const auto labels = drawing.Texts(label);
    if (labels.empty())
        return u"(no label)"_s;
    for (const CDrawItem& item : drawing.items)
        if (item.kind == CDrawItem::Text && item.rect.x() == 250 && item.rect.y() == labels.back()->rect.y())
            return item.text;
    return {};
}

} // namespace

class TestStatsGui : public QObject {
    Q_OBJECT
private slots:
    void initTestCase() { GuiTest::IsolateSettings("tst_statsgui"); }
    void cleanup() { m_console.reset(); }
    void refusedWithoutTheMaster_data();
    void refusedWithoutTheMaster();
    void statisticsOfTheDay_data();
    void statisticsOfTheDay();
    void usageLanesAndBars();
    void exportValidation_data();
    void exportValidation();
    void exportRunsOrCancels_data();
    void exportRunsOrCancels();
    void calendarBoldsLoggedDays();

private:
    void Open(const std::map<QString, QByteArray>& logs);
    void Trigger(const QString& command) { GuiTest::Frame(*m_console).Command(command)->trigger(); }
    QString LogFolder() const {
        return m_console->Writer().SharePath(u"PDC1"_s, u"CW_NT_DB"_s) + u"/LogData"_s;
    }

    std::unique_ptr<CTestConsole> m_console;
};

// A site whose master logged the given days (file name without ".log").
void TestStatsGui::Open(const std::map<QString, QByteArray>& logs) {
    m_console = std::make_unique<CTestConsole>(
        [](CSiteWriter& w) { CTestConsole::AddServer(w, u"PDC1"_s, u"RAS"_s, u"4.0"_s, 12, true); });
    QVERIFY(m_console->FetchAll());
    QVERIFY(QDir().mkpath(LogFolder()));
    for (const auto& [day, bytes] : logs)
        QVERIFY(m_console->Files().WriteAll(QString(LogFolder() + u'/' + day + u".log"_s).toStdString(),
                                            bytes.toStdString()));
    m_console->Doc().NavigateTo(2026, 11, 23);
}

void TestStatsGui::refusedWithoutTheMaster_data() {
    QTest::addColumn<QString>("command");
    QTest::addColumn<QString>("message");
    QTest::newRow("usage") << u"&Usage Graph"_s << u"Can't show usage"_s;
    QTest::newRow("statistics") << u"S&tatistics"_s << u"Can't show statistics"_s;
    QTest::newRow("export") << u"&Export Sessions To File..."_s << u"Can't export sessions"_s;
}

void TestStatsGui::refusedWithoutTheMaster() {
    QFETCH(QString, command);
    QFETCH(QString, message);
    m_console = std::make_unique<CTestConsole>(
        [](CSiteWriter& w) { CTestConsole::AddServer(w, u"PDC1"_s, u"RAS"_s, u"4.0"_s, 2, true); });
    QVERIFY(GuiTest::WithModals([&] { Trigger(command); }).isEmpty());
    QCOMPARE(m_console->Doc().m_viewMode, 0);
    QCOMPARE(m_console->Prompter().Texts().size(), 1);
    QVERIFY(m_console->Prompter().Texts()[0].startsWith(message + u'\n'));
}

void TestStatsGui::statisticsOfTheDay_data() {
    QTest::addColumn<QByteArray>("log");
    // Connections, denied, forced, longest, by, frequent user, its count; the graph's scale.
    QTest::addColumn<QString>("values");
    QTest::addColumn<QList<int>>("busyHours"); // the hours with bars, the busiest first
    QTest::newRow("no records") << QByteArray() << u"0|0|0|n/a|(no label)|n/a|0|5"_s << QList<int>{};
    QTest::newRow("busy day") << BusyDay() << u"5|1|0|1 hours, 2 mins, 5 secs|bob|bob|4|5"_s
                              << QList<int>{9, 14};
}

void TestStatsGui::statisticsOfTheDay() {
    QFETCH(QByteArray, log);
    QFETCH(QString, values);
    QFETCH(QList<int>, busyHours);
    Open({{u"2026-Nov-23"_s, log}});
    Trigger(u"S&tatistics"_s);
    auto* view = dynamic_cast<CStatView*>(m_console->Frame().RightView());
    QVERIFY(view);

    const CDrawList& shown = view->Shown();
    const QStringList labels =
        u"Nr of Connections:|Nr of Denied Connections:|Nr of Forced Disconnects:|"
        u"Longest Session:|  Made by User:|Most Frequent User:|  Nr of Connections:"_s.split(u'|');
    QStringList drawn;
    for (const QString& label : labels)
        drawn << PanelValue(shown, label);
    for (const CDrawItem& item : shown.items)
        if (item.rect.topLeft() == QPoint(1, 40)) // the scale's top value
            drawn << item.text;
    QCOMPARE(drawn.join(u'|'), values);

    // The bars as painted: the busiest hour's in its own colour, reaching the
    // height of its share of the scale.
    const QImage image = view->Canvas()->grab().toImage();
    const qreal s = view->Scale();
    const auto pixel = [&](int x, int y) {
        return image.pixelColor(int((x + 0.5) * s), int((y + 0.5) * s));
    };
    for (int hour = 0; hour < 24; ++hour) {
        const QColor at = pixel(45 + 16 * hour, 140);
        if (!busyHours.contains(hour))
            QCOMPARE(at, QColor(Qt::white));
        else
            QCOMPARE(at, hour == busyHours.first() ? QColor(210, 0, 0) : QColor(0, 0, 160));
    }
    if (!busyHours.isEmpty()) {
        QCOMPARE(pixel(45 + 16 * 9, 144 - 3 * 100 / 5 + 1), QColor(210, 0, 0)); // 3 of 5
        QCOMPARE(pixel(45 + 16 * 9, 144 - 3 * 100 / 5 - 2), QColor(Qt::white));
    }
}

void TestStatsGui::usageLanesAndBars() {
    // COM1's connect is still open when the next port's events begin.
    QByteArray log = "[PDC1\\COM10]\r\n" + At(8, 0, 20) + "=H7200_a?0\r\n[PDC1\\COM2]\r\n" + At(12, 0, 20) +
                     "=H60_b?0\r\n[PDC1\\COM1]\r\n" + At(23, 0, 20) + "=C_c\r\n";
    for (int port = 103; port <= 140; ++port) // the lanes outgrow the pane
        log += "[PDC1\\COM" + QByteArray::number(port) + "]\r\n" + At(9, 50, 20) + "=C_d\r\n" +
               At(10, 0, 20) + "=H600_d?0\r\n";
    Open({{u"2026-Nov-20"_s, log}}); // a day gone by, whatever today is
    m_console->Doc().NavigateTo(2026, 11, 20);
    Trigger(u"&Usage Graph"_s);
    auto* view = dynamic_cast<CUseView*>(m_console->Frame().RightView());
    QVERIFY(view);
    const CDrawList& shown = view->Shown();
    const auto laneTop = [&](const QString& port) {
        const auto found = shown.Texts(port);
        return found.size() == 1 ? found.front()->rect.top() : -1;
    };
    QCOMPARE(laneTop(u"PDC1"_s), 50);
    QCOMPARE(laneTop(u"COM1"_s), 65);
    QCOMPARE(laneTop(u"COM2"_s), 80);
    QCOMPARE(laneTop(u"COM10"_s), 95);

    std::map<int, QRect> bars; // by lane top
    for (const CDrawItem& item : shown.items)
        if (item.kind == CDrawItem::Fill && item.color == CUseView::kBarColor)
            bars[item.rect.top() - 2] = item.rect;
    QCOMPARE(bars[95], QRect(100 + 6 * 30 + 1, 97, 60, 12)); // 6:00 to 8:00
    QCOMPARE(bars[80].width(), 1);                           // 60 seconds
    QCOMPARE(bars[65].right(), CUseView::kWidth);            // an open connect runs to the day's end
    QCOMPARE(bars[65].left(), 100 + 23 * 30 + 1);
    m_console->Frame().resize(900, 400);
    m_console->Frame().show();
    QTRY_VERIFY(view->findChild<QScrollArea*>()->verticalScrollBar()->maximum() > 0);
}

void TestStatsGui::exportValidation_data() {
    QTest::addColumn<QString>("mode");
    QTest::addColumn<bool>("named");
    QTest::addColumn<int>("days");
    QTest::addColumn<QString>("message");
    QTest::newRow("no file") << u"all"_s << false << 1 << u"You need to specify an output filename!"_s;
    QTest::newRow("no days") << u"lastDays"_s << true << 0
                             << u"You need to specify at least 1 day to export."_s;
    QTest::newRow("To before From") << u"range"_s << true << 1 << u"Invalid date range selected."_s;
}

void TestStatsGui::exportValidation() {
    QFETCH(QString, mode);
    QFETCH(bool, named);
    QFETCH(int, days);
    QFETCH(QString, message);
    Open({{u"2026-Nov-23"_s, BusyDay()}});
    const QString path = QDir(m_console->Root()).filePath(u"out.csv"_s);
    CExportMulti dialog(m_console->Doc());
    dialog.show();
    GuiTest::Click(dialog.findChild<QRadioButton*>(mode));
    dialog.findChild<QSpinBox*>(u"days"_s)->setValue(days);
    dialog.findChild<CDatePicka*>(u"to"_s)->setDate(QDate(2026, 11, 22));
    dialog.findChild<QLineEdit*>(u"fileName"_s)->setText(named ? path : u" "_s);
    dialog.findChild<QPushButton*>(u"export"_s)->click();
    QVERIFY(dialog.isVisible());
    QCOMPARE(m_console->Prompter().Texts(), QStringList{message});
    QVERIFY(!QFile::exists(path));
}

void TestStatsGui::exportRunsOrCancels_data() {
    QTest::addColumn<bool>("cancel");
    QTest::newRow("runs") << false;
    QTest::newRow("cancelled") << true;
}

void TestStatsGui::exportRunsOrCancels() {
    QFETCH(bool, cancel);
    Open({{u"2026-Nov-21"_s, BusyDay()}, {u"2026-Nov-22"_s, BusyDay()}, {u"2026-Nov-23"_s, BusyDay()}});
    const QString path = QDir(m_console->Root()).filePath(u"all.csv"_s);
    m_console->Prompter().saveFileNames = {path};
    CExportMulti dialog(m_console->Doc());
    QTest::mouseClick(dialog.findChild<QPushButton*>(u"browse"_s), Qt::LeftButton);
    QCOMPARE(m_console->Prompter().saveCaptions, QStringList{u"Select File"_s});
    GuiTest::Click(dialog.findChild<QRadioButton*>(u"all"_s));
    QList<int> progress;
    // The progress dialog is a child of the export dialog; cancel it at the first day.
    QTimer watch;
    connect(&watch, &QTimer::timeout, &dialog, [&] {
        if (auto* running = dialog.findChild<CExportMultiProgress*>(); running && watch.isActive()) {
            watch.stop();
            connect(running, &CExportMultiProgress::progressed, running, [&, running](int percent) {
                progress << percent;
                if (cancel)
                    running->Cancel();
            });
        }
    });
    watch.start(0);
    dialog.show();
    dialog.findChild<QPushButton*>(u"export"_s)->click();
    QCOMPARE(dialog.Result().cancelled, cancel);
    QCOMPARE(dialog.isVisible(), cancel);
    QCOMPARE(m_console->Doc().ShownDay(), 23); // the shown day comes back
    if (cancel) {
        QCOMPARE(progress, QList<int>{33});
        QVERIFY(!QFile::exists(path));
        return;
    }
    QCOMPARE(progress, (QList<int>{33, 66, 100}));
    QFile file(path);
    QVERIFY(file.open(QIODevice::ReadOnly));
    const QList<QByteArray> lines = file.readAll().split('\n');
    QCOMPARE(lines.size(), 1 + 3 * 7 + 1); // the header, every event, the last line's end
    QCOMPARE(lines[0].trimmed(), "Time/Date,Server,Port,Action,Information,User,IP,NetBIOS,IPX,Lasted");
}

void TestStatsGui::calendarBoldsLoggedDays() {
    Open({{u"2026-Nov-05"_s, BusyDay()}, {u"2026-Nov-23"_s, BusyDay()}, {u"2027-Jan-10"_s, BusyDay()}});
    CCalendarJump jump(m_console->Doc(), QDate(2026, 11, 23));
    QCalendarWidget* calendar = jump.Calendar();
    const auto bold = [&](int y, int m, int d) {
        return calendar->dateTextFormat(QDate(y, m, d)).fontWeight() == QFont::Bold;
    };
    QCOMPARE(calendar->selectedDate(), QDate(2026, 11, 23));
    QVERIFY(bold(2026, 11, 5) && bold(2026, 11, 23));
    QVERIFY(!bold(2026, 11, 22) && !bold(2027, 1, 10));
    calendar->showNextMonth();
    calendar->showNextMonth();
    QVERIFY(bold(2027, 1, 10));
    QVERIFY(!bold(2026, 11, 5)); // two months back is no longer on the page
}

QTEST_MAIN(TestStatsGui)
#include "tst_statsgui.moc"
