// "Find Sessions" in the main window: the index built behind the dialog, the
// result in the log view with what was searched as its caption.
#include "core/log/logmodel.h"
#include "gui/dialogs/findsessions.h"
#include "gui/frame/containerview.h"
#include "gui/frame/mainframe.h"
#include "gui/toolkit/captionbar.h"
#include "gui/views/logview.h"
#include "support/testconsole.h"

#include <QCheckBox>
#include <QComboBox>
#include <QDateEdit>
#include <QLabel>
#include <QLineEdit>
#include <QtTest>

using namespace Qt::StringLiterals;

class TestFindSessions : public QObject {
    Q_OBJECT
private slots:
    void accountOverDays();
};

void TestFindSessions::accountOverDays() {
    CTestConsole console([](CSiteWriter& w) {
        CTestConsole::AddServer(w, u"PDC1"_s, u"RAS"_s, u"4.0"_s, 2, true);
        w.WriteShareFile(u"PDC1"_s, u"CW_NT_DB"_s, u"LogData\\2026-Nov-23.log"_s,
                         "[PDC1\\COM1]\r\n1795392000=H3725_SALES\\bob?3232235777?9:IPX1:WS01:999:2000\r\n"
                         "1795392100=C_SALES\\bob*hello\r\n[PDC1\\COM2]\r\n1795392200=N_SALES\\carol?4\r\n"
                         "1795392300=N_SALES\\dave?4\r\n");
        w.WriteShareFile(u"PDC1"_s, u"CW_NT_DB"_s, u"OldData\\2026-Nov-02.log"_s,
                         "[PDC1\\COM2]\r\n1793620000=N_sales\\BOB?2\r\n");
    });
    QVERIFY(console.FetchAll());
    console.Doc().NavigateTo(2026, 11, 23);
    CMainFrame& frame = console.Frame();
    frame.Command(u"&Find Sessions..."_s)->trigger();
    auto* dialog = frame.findChild<CFindSessions*>();
    QVERIFY(dialog);
    QTRY_VERIFY(!dialog->Indexing());
    dialog->KindList()->setCurrentIndex(CFindSessions::Account);
    dialog->DomainEdit()->setText(u"SALES"_s);
    dialog->NameEdit()->setText(u"bob"_s);
    dialog->FromCheck()->setChecked(false);

    // Wrong entries are said and change nothing.
    dialog->ToCheck()->setChecked(true);
    dialog->FromCheck()->setChecked(true);
    dialog->FromEdit()->setDate({2026, 11, 24});
    dialog->ToEdit()->setDate({2026, 11, 23});
    QVERIFY(!dialog->OnFind());
    QCOMPARE(console.Prompter().Texts(), QStringList{u"Invalid date range selected."_s});
    dialog->FromEdit()->setDate({2026, 11, 1});

    QVERIFY(dialog->OnFind());
    auto* view = dynamic_cast<CLogView*>(frame.RightView());
    QVERIFY(view && view->ShowingSearch());
    const CLogModel* model = view->Model();
    QCOMPARE(model->rowCount(), 3);
    QCOMPARE(frame.StatusPane(1)->text(), u"3 Events"_s);
    QCOMPARE(frame.Container()->Caption()->Caption(),
             u"Sessions (User SALES\\bob), 2026-11-01 to 2026-11-23"_s);
    // Rows from two days carry their dates.
    QVERIFY(model->CellText(0, 0).contains(u"2026"_s));
    QVERIFY(model->CellText(0, 0) != model->CellText(1, 0));

    // Choosing a node in the tree shows the day again.
    view->LoadEvents();
    QVERIFY(!view->ShowingSearch());
    QCOMPARE(frame.Container()->Caption()->Caption(), u"History (all available records)"_s);
    QCOMPARE(frame.StatusPane(1)->text(), u"4 Events"_s);
}

QTEST_MAIN(TestFindSessions)
#include "tst_findsessions.moc"
