// export: a month of day logs (30 days of 100,000 events) exported through the
// document as the console exports them, against reading the same logs as the
// history cases' baseline reads a day (the bytes split into lines and fields)
// and writing as many bytes as the export holds, synced to disk as the
// export's atomic replacement of the file is.

#include "benchcase.h"
#include "benchconsole.h"
#include "benchday.h"

#include "core/app/environment.h"
#include "core/doc/cwadmindoc.h"
#include "ini/inifile.h"
#include "platform/site/site.h"
#include "site/sitewriter.h"

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QDir>
#include <QFileInfo>
#include <QLocale>

#include <chrono>
#include <cstdio>

#include <unistd.h>

using namespace Qt::StringLiterals;

namespace {

constexpr int kDays = 30;
constexpr std::size_t kEvents = 100000;

void WriteSite(const QString& root) {
    CSiteWriter writer(root);
    const QString console = u"ADMINPC"_s, server = u"PDC1"_s;
    writer.SetLocalComputer(console);
    writer.AddHost(console);
    writer.CreateRegKey(console, CSiteWriter::kServersKey);
    writer.CreateRegKey(console, CSiteWriter::kClientKey);
    CSiteWriter::HostOptions options;
    options.rasKind = u"RAS"_s;
    options.majorVersion = 4;
    writer.AddHost(server, options);
    writer.AddMonitoredServer(console, server);
    writer.SetRegString(server, u"HKEY_LOCAL_MACHINE\\Software\\Microsoft\\Windows NT\\CurrentVersion"_s,
                        u"CurrentVersion"_s, u"4.0"_s);
    writer.SetServiceDword(server, u"RAS Type"_s, 0);
    writer.SetServiceDword(server, u"Master"_s, 1);
    writer.SetServiceString(server, u"MasterShare"_s, u"\\\\PDC1\\CW_NT_DB"_s);
    writer.SetService(server, u"Callwarden"_s, 4);
    writer.SetService(server, u"RemoteAccess"_s, 4);
    writer.SharePath(server, u"CW_NT_DB"_s);
    writer.Save();
}

CwBench::Timing Run() {
    CwBench::Application();
    CwBench::Timing timing;
    CwBench::CTempFolder folder;
    const QString root = QString::fromStdString(folder.Path().string());
    WriteSite(root);
    const QString logs = CSiteWriter(root).SharePath(u"PDC1"_s, u"CW_NT_DB"_s) + u"/LogData"_s;
    QDir().mkpath(logs);
    std::vector<std::filesystem::path> files;
    std::size_t inBytes = 0;
    const QDate first(2026, 11, 1);
    for (int d = 0; d < kDays; ++d) {
        const QString name =
            QLocale(QLocale::English).toString(first.addDays(d), u"yyyy-MMM-dd"_s) + u".log"_s;
        files.push_back(QString(logs + u'/' + name).toStdString());
        const CwBench::DayShape shape = CwBench::WriteBusyDay(files.back(), kEvents);
        if (shape.events != kEvents) {
            timing.error = "cannot write " + files.back().string();
            return timing;
        }
        inBytes += shape.bytes;
    }

    OCL::Site::SiteOptions options;
    options.moduleFolder = QCoreApplication::applicationDirPath().toStdString();
    auto platform = OCL::Site::OpenSite(folder.Path(), options);
    OCL::Ini::Files iniFiles;
    CwBench::CSilentPrompter prompter;
    CEnvironment environment(*platform, iniFiles, prompter);
    CRasBinding binding;
    CCwadminDoc doc(environment, binding);
    doc.OnNewDocument();
    const QDeadlineTimer deadline(60000);
    while (!doc.MasterKnown() && !deadline.hasExpired())
        QCoreApplication::processEvents(QEventLoop::AllEvents, 5);
    if (!doc.MasterKnown()) {
        timing.error = "the site's master server did not answer";
        return timing;
    }

    const auto out = folder.Path() / "export.csv";
    const auto raw = folder.Path() / "raw.csv";
    CSessionExportSettings settings{SessionExportMode::Range, 0, first, first.addDays(kDays),
                                    QString::fromStdString(out.string())};
    const int shownBefore = prompter.shown;
    // Once first, so the baseline knows how many bytes the export writes.
    CSessionExportResult result = doc.ExportSessions(settings);
    qint64 outBytes = QFileInfo(settings.fileName).size();
    // Writes as many bytes as the export holds; synced, as the export's
    // replacement of the file is, when durable.
    const auto writeRaw = [&](bool durable) {
        const std::string piece(std::size_t(1) << 20, 'x');
        std::FILE* f = std::fopen(raw.string().c_str(), "wb");
        for (qint64 left = outBytes; f && left > 0; left -= qint64(piece.size()))
            std::fwrite(piece.data(), 1, std::size_t(std::min<qint64>(left, qint64(piece.size()))), f);
        if (f && durable && std::fflush(f) == 0)
            ::fsync(::fileno(f));
        if (f)
            std::fclose(f);
    };
    timing = CwBench::Measure(
        3,
        [&] {
            for (const auto& file : files)
                CwBench::ReadAndSplit(file);
            writeRaw(true);
        },
        [&] {
            result = doc.ExportSessions(settings);
            outBytes = QFileInfo(settings.fileName).size();
        });
    // Plain reading and writing, for the detail.
    const CwBench::Timing plain = CwBench::Measure(
        3,
        [&] {
            for (const auto& file : files)
                CwBench::ReadWholeFile(file);
            writeRaw(false);
        },
        [] {});
    // The loading alone, for the detail: the days read as the views read them.
    double loadMs = 0;
    for (int run = 0; run < 3; ++run) {
        const auto start = std::chrono::steady_clock::now();
        for (int d = 0; d < kDays; ++d) {
            const QDate day = first.addDays(d);
            doc.NavigateTo(day.year(), day.month(), day.day());
            doc.LoadLogRecords(0);
        }
        const double ms =
            std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start).count();
        loadMs = run == 0 ? ms : std::min(loadMs, ms);
    }
    if (!result.written || result.events != qint64(kDays * kEvents) || prompter.shown != shownBefore)
        timing.error = "wrong result: " + std::to_string(result.events) + " events, " +
                       (result.written ? "written" : "not written: " + result.error.toStdString());
    char detail[240];
    std::snprintf(detail, sizeof detail,
                  "%d days, %zu events, %.1f MB read, %.1f MB written; loading alone %.0f ms; "
                  "plain read and write %.0f ms",
                  kDays, std::size_t(result.events), double(inBytes) / (1 << 20),
                  double(outBytes) / (1 << 20), loadMs, plain.baselineMilliseconds);
    timing.detail = detail;
    return timing;
}

} // namespace

CW_BENCH_CASE("export", 3.0, Run)
