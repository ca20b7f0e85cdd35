// The application object: its start-up over a site (or without one), the start
// line, and the relay of fetch notices that drops those arriving before the
// main window. A program of its own, since the application object is the
// process's QApplication; run once per mode.
#include "core/servers/servernotice.h"
#include "gui/app/cwadminapp.h"
#include "gui/frame/mainframe.h"
#include "gui/toolkit/captionbar.h"
#include "platform/site/site.h"
#include "site/sitewriter.h"

#include <QDir>
#include <QMessageBox>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTimer>

#include <algorithm>
#include <cstdio>
#include <cstring>

using namespace Qt::StringLiterals;

namespace {

int g_failures = 0;

void Check(bool condition, const char* what) {
    std::fprintf(condition ? stdout : stderr, "%s: %s\n", condition ? "PASS" : "FAIL", what);
    if (!condition)
        ++g_failures;
}

// Answers every message box as it comes and keeps its text.
QStringList* AutoAnswer(QApplication& app) {
    auto* texts = new QStringList;
    auto* timer = new QTimer(&app);
    QObject::connect(timer, &QTimer::timeout, &app, [texts] {
        if (auto* box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget())) {
            texts->append(box->text());
            box->accept();
        }
    });
    timer->start(20);
    return texts;
}

} // namespace

int main(int argc, char** argv) {
    QStandardPaths::setTestModeEnabled(true);
    const bool withoutSite = argc > 1 && std::strcmp(argv[1], "nosite") == 0;
    CCwadminApp app(argc, argv);
    QStringList* texts = AutoAnswer(app);

    Check(CCwadminApp::StartLine(QDateTime(QDate(2026, 11, 5), QTime(7, 8, 9))) ==
              u"11 5 2026 - 7:8:9\nCallwarden administrator starting\n\n"_s,
          "start line: month, day, year, hour, minute, second");

    // Notices before the main window exists are dropped without harm.
    QCoreApplication::postEvent(&app, new CServerNotice(WM_NEW_SERVER_DATA, 0, 1));
    QCoreApplication::postEvent(&app, new CServerNotice(WM_NEW_SERVER_STATE, 3, 2));
    QCoreApplication::processEvents();
    Check(app.MainFrame() == nullptr, "notices before the main window are dropped");

    // The caption painter's defaults, set at construction: captions are gradients.
    CCaptionBar caption;
    caption.resize(200, 20);
    const QImage painted = caption.grab().toImage();
    Check(painted.pixelColor(0, 10) == CCaptionBar::Defaults().start &&
              painted.pixelColor(0, 10) != painted.pixelColor(198, 10),
          "captions are painted with the caption painter's defaults");

    QTemporaryDir dir;
    QDir::setCurrent(dir.path());
    const QString root = withoutSite ? dir.path() + u"/no-such-site"_s : dir.path() + u"/site"_s;
    if (!withoutSite) {
        CSiteWriter writer(root);
        writer.SetLocalComputer(u"ADMINPC"_s);
        writer.AddHost(u"ADMINPC"_s);
        writer.CreateRegKey(u"ADMINPC"_s, CSiteWriter::kServersKey);
        writer.CreateRegKey(u"ADMINPC"_s, CSiteWriter::kClientKey);
        writer.SetClientDword(u"ADMINPC"_s, u"NewbieMessageIntro"_s, 1);
        writer.Save();
    }
    OCL::Site::SiteOptions options;
    options.moduleFolder = CW_BIN_DIR;
    // Any trace target is written or refused with its reason, never a crash.
    auto shares = OCL::Site::OpenSite(root.toStdString(), options);
    QFile(u"plain"_s).open(QIODevice::WriteOnly);
    const struct {
        QString target, file, problem; // the file written, or a part of the reason
    } traces[] = {{u"bare.txt"_s, dir.filePath(u"bare.txt"_s), {}},
                  {u"new/folder/t.txt"_s, dir.filePath(u"new/folder/t.txt"_s), {}},
                  {u"plain/t.txt"_s, {}, u"folder of the trace file"_s},
                  {u"1"_s,
                   withoutSite ? QString() : root + u"/hosts/ADMINPC/drives/C/ocl_trace_cwadmin.txt"_s,
                   withoutSite ? u"C:\\ocl_trace_cwadmin.txt cannot be reached on this site"_s : QString()}};
    for (const auto& trace : traces) {
        QString problem;
        const bool opened = CCwadminApp::OpenTrace(trace.target, *shares->shares, &problem) != nullptr;
        Check(opened == !trace.file.isEmpty() && (trace.file.isEmpty() || QFileInfo::exists(trace.file)) &&
                  (trace.problem.isEmpty() ? problem.isEmpty() : problem.contains(trace.problem)),
              qPrintable(u"trace target "_s + trace.target));
    }
    // The console starts whatever the trace, and says why it runs without one.
    const QString target = withoutSite ? u"1"_s : u"trace.txt"_s;
    Check(app.InitInstance(OCL::Site::OpenSite(root.toStdString(), options), target), "start-up succeeds");
    Check(app.MainFrame() && app.MainFrame()->isVisible(), "the main window is shown");
    Check(app.MainFrame()->windowTitle() == u"Callwarden Administrator"_s, "caption");
    Check(app.MainFrame()->StatusText() == u"Ready"_s, "status bar says Ready");

    QFile written(dir.filePath(u"trace.txt"_s));
    Check(withoutSite || (written.open(QIODevice::ReadOnly) &&
                          written.readAll().contains("Callwarden administrator starting")),
          "the trace starts with the start line");
    if (withoutSite) {
        Check(
            texts->contains(u"The trace file C:\\ocl_trace_cwadmin.txt cannot be reached on this site (error "
                            u"3).\nThe console runs without a trace."_s),
            "the trace's problem is told");
        // Says what is wrong and where, and creates nothing.
        Check(texts->contains(u"Failed to open the SERVERS key in the registry. Error 2."_s),
              "the server list's own message");
        Check(std::any_of(texts->begin(), texts->end(),
                          [&](const QString& t) {
                              return t.contains(u"could not open its site"_s) && t.contains(root);
                          }),
              "the site's problem is named with its folder");
        Check(!QFileInfo::exists(root), "nothing is created for a missing site");
    } else {
        Check(texts->isEmpty(), "no messages on a sound site");
        // A stray notice after start-up finds no server and is ignored.
        QCoreApplication::postEvent(&app, new CServerNotice(WM_NEW_SERVER_STATE, 7, 99));
        QCoreApplication::processEvents();
    }

    std::fprintf(stdout, "%d failure(s)\n", g_failures);
    return g_failures == 0 ? 0 : 1;
}
