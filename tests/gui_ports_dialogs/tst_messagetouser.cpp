// "Message to %s": the messenger command it starts and that it closes without
// waiting for the command or looking at its result.
#include "gui/dialogs/messagetouser.h"
#include "portsfixture.h"

#include <QPlainTextEdit>
#include <QPushButton>

using namespace Qt::StringLiterals;

namespace {

// Remembers the command lines it is asked to start and fails them all.
class CFailingShell final : public OCL::IShell {
public:
    struct Started {
        QString commandLine;
        int show;
    };
    QList<Started> started;
    OCL::DWORD Exec(const std::string& commandLine, int show) override {
        started.append({QString::fromStdString(commandLine), show});
        return OCL::Err::FileNotFound;
    }
    OCL::DWORD Open(const std::string&, const std::string&) override { return OCL::Err::FileNotFound; }
};

} // namespace

class TestMessageToUser : public QObject {
    Q_OBJECT
private slots:
    void sendReachesTheUser_data();
    void sendReachesTheUser();
    void resultIsNotLookedAt();
    void cancelSendsNothing();
};

void TestMessageToUser::sendReachesTheUser_data() {
    QTest::addColumn<QString>("user");
    QTest::addColumn<QString>("typed");
    QTest::addColumn<QString>("logged"); // the text as the messenger spool keeps it, on one line
    QTest::newRow("plain") << u"bob"_s << u"Your session ends in 5 minutes"_s
                           << u"Your session ends in 5 minutes"_s;
    QTest::newRow("domain account") << u"SALES\\bob"_s << u"Hello"_s << u"Hello"_s;
    QTest::newRow("two lines") << u"ann"_s << u"Line one\nLine two"_s << u"Line one Line two"_s;
}

void TestMessageToUser::sendReachesTheUser() {
    QFETCH(QString, user);
    QFETCH(QString, typed);
    QFETCH(QString, logged);
    CTestConsole console;
    CMessageToUser dialog(console.Doc(), user);
    dialog.show();
    QCOMPARE(dialog.windowTitle(), u"Message to "_s + user);
    QCOMPARE(dialog.SendButton()->text(), u"&Send"_s);
    QCOMPARE(dialog.CancelButton()->text(), u"&Cancel"_s);
    const QStringList typedLines = typed.split(u'\n');
    for (qsizetype i = 0; i < typedLines.size(); ++i) {
        if (i > 0)
            QTest::keyClick(dialog.TextEdit(), Qt::Key_Return);
        QTest::keyClicks(dialog.TextEdit(), typedLines[i]);
    }
    QCOMPARE(dialog.TextEdit()->toPlainText(), typed);
    QTest::mouseClick(dialog.SendButton(), Qt::LeftButton);
    QVERIFY(!dialog.isVisible());
    QCOMPARE(dialog.result(), int(QDialog::Accepted));
    const QStringList lines = SpoolLines(console, u"messages.log"_s);
    QCOMPARE(lines.size(), 1);
    const QStringList fields = lines.first().split(u'\t');
    QCOMPARE(fields.mid(1), (QStringList{kTestConsole, user, logged}));
}

void TestMessageToUser::resultIsNotLookedAt() {
    CTestConsole console;
    auto shell = std::make_unique<CFailingShell>();
    CFailingShell& recorder = *shell;
    console.Platform().shell = std::move(shell);
    CMessageToUser dialog(console.Doc(), u"bob"_s);
    dialog.show();
    QTest::keyClicks(dialog.TextEdit(), u"Meeting at 3"_s);
    QTest::mouseClick(dialog.SendButton(), Qt::LeftButton);
    QCOMPARE(recorder.started.size(), 1);
    QCOMPARE(recorder.started.first().commandLine, u"NET SEND bob Meeting at 3"_s);
    QCOMPARE(recorder.started.first().show, 0); // hidden
    QVERIFY(!dialog.isVisible());
    QVERIFY(console.Prompter().Boxes().isEmpty());
}

void TestMessageToUser::cancelSendsNothing() {
    CTestConsole console;
    CMessageToUser dialog(console.Doc(), u"bob"_s);
    dialog.show();
    QTest::keyClicks(dialog.TextEdit(), u"never mind"_s);
    QTest::mouseClick(dialog.CancelButton(), Qt::LeftButton);
    QVERIFY(!dialog.isVisible());
    QCOMPARE(dialog.result(), int(QDialog::Rejected));
    QVERIFY(SpoolLines(console, u"messages.log"_s).isEmpty());
}

QTEST_MAIN(TestMessageToUser)
#include "tst_messagetouser.moc"
