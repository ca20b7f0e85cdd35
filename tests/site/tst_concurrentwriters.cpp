// The console and the service update the same account file at the same time,
// as they do in the field: neither may lose what the other wrote.

#include "site/cwsitetest.h"

#include <QElapsedTimer>
#include <QFileInfo>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;
using namespace CwsiteTest;

class TestConcurrentWriters : public QObject {
    Q_OBJECT

private slots:
    void consoleAndServiceLoseNothing();
};

void TestConcurrentWriters::consoleAndServiceLoseNothing() {
    QTemporaryDir dir;
    const QString root = dir.path() + u"/demo"_s;
    QProcess init;
    init.start(Cwsite(), {u"init"_s, root, u"--seed"_s, u"3"_s});
    QVERIFY(init.waitForFinished(60000));
    QCOMPARE(init.exitCode(), 0);
    const QString share = root + u"/hosts/HQRAS01/shares/CW_NT_DB"_s;
    const std::filesystem::path usr = QString(share + u"/callward.usr"_s).toStdString();
    const QDateTime written = QFileInfo(share + u"/callward.usr"_s).lastModified();

    // Callers dial in several times a second: the service writes statistics all the time.
    QProcess serve;
    serve.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    serve.start(Cwsite(), {u"serve"_s, root, u"--rate"_s, u"1200"_s, u"--seed"_s, u"5"_s, u"--quiet"_s});
    QVERIFY(serve.waitForStarted());
    QTRY_VERIFY_WITH_TIMEOUT(QFileInfo(share + u"/callward.usr"_s).lastModified() != written, 10000);

    // Meanwhile the console counts in a key of its own, through its own ini engine.
    OCL::Ini::Files console;
    int increments = 0;
    QElapsedTimer clock;
    clock.start();
    while (clock.elapsed() < 10000) {
        const long long counter = console.GetInt(usr, "Console", "Counter", 0);
        QVERIFY(console.WriteString(usr, "Console", "Counter", std::to_string(counter + 1)));
        ++increments;
    }
    serve.terminate();
    QVERIFY(serve.waitForFinished(10000));
    QCOMPARE(serve.exitCode(), 0);

    // Both sides' losses, to tell them apart.
    QStringList lost = StatisticsMismatches(share);
    const QString counter = IniValue(share + u"/callward.usr"_s, u"Console"_s, u"Counter"_s);
    if (counter.toInt() != increments)
        lost.prepend(u"Console Counter="_s + counter + u" after "_s + QString::number(increments) +
                     u" increments"_s);
    QVERIFY2(lost.isEmpty(), qPrintable(lost.mid(0, 6).join(u'\n')));
}

QTEST_GUILESS_MAIN(TestConcurrentWriters)
#include "tst_concurrentwriters.moc"
