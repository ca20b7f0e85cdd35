// cwsite: writes a demo site (init) and runs the Callwarden service of every
// host of a site (serve), so that the console runs anywhere.

#include "site/gen/bigday.h"
#include "site/gen/demosite.h"
#include "site/serve/siteservice.h"

#include <QCoreApplication>
#include <QDateTime>
#include <QDir>
#include <QFileInfo>
#include <QSocketNotifier>
#include <QTextStream>

#include <csignal>
#include <cstdio>

#include <sys/socket.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace {

const char* const kUsage =
    "Usage:\n"
    "  cwsite init DIR [--seed N] [--force] [--now SECONDS] [--big-day] [--years N [--events-per-day E]]\n"
    "      Writes a demo site: three domains, six dial-in servers and weeks of history\n"
    "      up to now (or up to the given time, seconds since 1970). The same seed and\n"
    "      time give the same site. DIR must be missing or empty unless --force is given.\n"
    "      --big-day adds the server LOADRAS (250 ports) with 1,000,000 events yesterday,\n"
    "      for trying the console at scale (about 50 MB more).\n"
    "      --years adds LOADRAS's events on every day of the N years before today, E a day\n"
    "      (default 5,000; about 50 bytes an event), for trying searches over a long history.\n"
    "  cwsite serve DIR [--rate SESSIONS_PER_MINUTE] [--quiet] [--seed N]\n"
    "      Runs the Callwarden service of every host of the site until stopped\n"
    "      (Ctrl+C). With a rate, simulated callers dial in (chosen by the seed).\n";

int g_signalPipe[2] = {-1, -1};

void OnSignal(int) {
    const char byte = 1;
    [[maybe_unused]] const auto written = ::write(g_signalPipe[1], &byte, 1);
}

QTextStream& Out() {
    static QTextStream out(stdout);
    return out;
}

int Fail(const QString& message, int code = 1) {
    QTextStream(stderr) << "cwsite: " << message << Qt::endl;
    return code;
}

// Parses "--name value" options after the folder; false on anything unknown.
bool Options(const QStringList& args, const QStringList& withValue, const QStringList& flags,
             QMap<QString, QString>* values) {
    for (qsizetype i = 0; i < args.size(); ++i) {
        if (withValue.contains(args[i]) && i + 1 < args.size()) {
            values->insert(args[i], args[i + 1]);
            ++i;
        } else if (flags.contains(args[i]))
            values->insert(args[i], u"1"_s);
        else
            return false;
    }
    return true;
}

int Init(const QString& dir, const QStringList& args) {
    QMap<QString, QString> options;
    if (!Options(args, {u"--seed"_s, u"--now"_s, u"--years"_s, u"--events-per-day"_s},
                 {u"--force"_s, u"--big-day"_s}, &options))
        return Fail(QString::fromLatin1(kUsage), 2);
    CDemoOptions demo;
    if (options.contains(u"--seed"_s)) {
        bool ok = false;
        demo.seed = options[u"--seed"_s].toUInt(&ok);
        if (!ok)
            return Fail(u"--seed takes a whole number"_s, 2);
    }
    if (options.contains(u"--now"_s)) {
        bool ok = false;
        demo.now = options[u"--now"_s].toLongLong(&ok);
        if (!ok || demo.now <= 0)
            return Fail(u"--now takes a time in seconds since 1970"_s, 2);
    }
    demo.bigDay = options.contains(u"--big-day"_s);
    for (const auto& [option, value] :
         {std::pair{u"--years"_s, &demo.years}, std::pair{u"--events-per-day"_s, &demo.yearEventsPerDay}}) {
        bool ok = true;
        if (options.contains(option) && ((*value = options[option].toInt(&ok)) <= 0 || !ok))
            return Fail(option + u" takes a whole number from 1"_s, 2);
    }
    const QString root = QFileInfo(dir).absoluteFilePath();
    QDir folder(root);
    if (folder.exists() && !folder.isEmpty()) {
        if (!options.contains(u"--force"_s))
            return Fail(root + u" is not empty; give --force to write the demo site over it"_s);
        // Only what a site consists of goes; anything else in the folder stays.
        for (const QString& entry : {u"site.ini"_s, u"network.ini"_s})
            folder.remove(entry);
        for (const QString& entry : {u"hosts"_s, u"spool"_s, u"run"_s})
            QDir(folder.filePath(entry)).removeRecursively();
    }
    CDemoSummary summary;
    QString error;
    if (!WriteDemoSite(root, demo, &summary, &error))
        return Fail(u"could not write the demo site: "_s + error);

    QTextStream& out = Out();
    out << "Demo site written to " << root << "\n"
        << "  3 domains (HEADOFFICE, SALES, ENGINEERING) with " << summary.accounts << " accounts, "
        << summary.profiles << " of them with a Callwarden profile\n"
        << "  data share " << summary.masterShare << ": " << (demo.logDays + demo.oldDays)
        << " days of history (" << summary.events << " events, the oldest " << demo.oldDays
        << " days migrated), " << summary.liveSessions << " sessions connected now\n"
        << "  monitored servers:\n";
    for (const QString& line : summary.servers)
        out << "    " << line << "\n";
    if (!summary.bigDayFile.isEmpty())
        out << "  big day: " << CwBigDay::kEvents << " events of " << CwBigDay::kServer << " in "
            << summary.bigDayFile << "\n";
    out << "\nRun its Callwarden services:  cwsite serve " << root << " --rate 6\n"
        << "Open it in the console:       cwadmin --site " << root << Qt::endl;
    return 0;
}

int Serve(const QString& dir, const QStringList& args) {
    QMap<QString, QString> options;
    if (!Options(args, {u"--rate"_s, u"--seed"_s}, {u"--quiet"_s}, &options))
        return Fail(QString::fromLatin1(kUsage), 2);
    bool ok = true;
    const double rate = options.value(u"--rate"_s, u"0"_s).toDouble(&ok);
    if (!ok || rate < 0)
        return Fail(u"--rate takes a number of sessions per minute"_s, 2);
    const quint32 seed =
        options.value(u"--seed"_s, QString::number(QDateTime::currentMSecsSinceEpoch() % 100000)).toUInt();
    const QString root = QFileInfo(dir).absoluteFilePath();
    if (!QFileInfo(root).isDir())
        return Fail(root + u" is not a site folder (write one with: cwsite init "_s + root + u')');

    if (::socketpair(AF_UNIX, SOCK_STREAM, 0, g_signalPipe) != 0)
        return Fail(u"cannot set up signal handling"_s);
    struct sigaction action = {};
    action.sa_handler = OnSignal;
    sigemptyset(&action.sa_mask);
    for (int signal : {SIGINT, SIGTERM, SIGHUP})
        ::sigaction(signal, &action, nullptr);
    QSocketNotifier notifier(g_signalPipe[0], QSocketNotifier::Read);
    QObject::connect(&notifier, &QSocketNotifier::activated, &notifier, [] {
        char byte = 0;
        [[maybe_unused]] const auto got = ::read(g_signalPipe[0], &byte, 1);
        QCoreApplication::quit();
    });

    CSiteService service(root, rate, seed);
    if (!options.contains(u"--quiet"_s))
        service.SetOutput([](const QString& line) {
            Out() << QDateTime::currentDateTime().toString(u"HH:mm:ss"_s) << "  " << line << Qt::endl;
        });
    if (!options.contains(u"--quiet"_s))
        Out() << "Serving " << root
              << (rate > 0 ? u" with "_s + QString::number(rate) + u" simulated dial-ins a minute"_s
                           : QString())
              << "; Ctrl+C stops." << Qt::endl;
    QString error;
    if (!service.Start(&error))
        return Fail(error);
    const int code = QCoreApplication::exec();
    service.Shutdown();
    return code;
}

} // namespace

int main(int argc, char* argv[]) {
    QCoreApplication app(argc, argv);
    QStringList args = QCoreApplication::arguments().mid(1);
    if (args.size() < 2 || args.contains(u"--help"_s) || args.contains(u"-h"_s)) {
        std::fputs(kUsage, args.size() < 2 && !args.contains(u"--help"_s) ? stderr : stdout);
        return args.contains(u"--help"_s) || args.contains(u"-h"_s) ? 0 : 2;
    }
    const QString command = args.takeFirst(), dir = args.takeFirst();
    if (command == u"init"_s)
        return Init(dir, args);
    if (command == u"serve"_s)
        return Serve(dir, args);
    return Fail(QString::fromLatin1(kUsage), 2);
}
