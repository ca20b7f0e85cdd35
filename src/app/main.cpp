// The console's entry point: opens the ports it runs on, switches the trace on
// when asked, and starts the application.
#include "app/platformchoice.h"
#include "core/ocl/trace.h"
#include "gui/app/cwadminapp.h"
#include "gui/app/screenshots.h"

#include <QCommandLineParser>
#include <QDateTime>
#include <QTimer>

#include <cstdlib>
#include <memory>

using namespace Qt::StringLiterals;

namespace {

// The trace file the console declares; on a site it lands in the local
// computer's drive C.
constexpr const char* kTraceFile = "C:\\ocl_trace_cwadmin.txt";

QString FromEnvironment(const char* name) {
    return qEnvironmentVariable(name);
}

} // namespace

int main(int argc, char** argv) {
    CCwadminApp app(argc, argv);

    QCommandLineParser parser;
    parser.setApplicationDescription(
        u"The administration console of the Callwarden dial-in tracking service."_s);
    parser.addHelpOption();
    parser.addVersionOption();
    const QCommandLineOption traceOption(
        u"trace"_s,
        u"Write the trace to a file (also $CWADMIN_TRACE; \"1\" names the console's own trace file)."_s,
        u"file"_s);
    const QCommandLineOption screenshotOption(
        u"screenshots"_s,
        u"Walk through the main windows, save a picture of each into the folder, then quit."_s, u"folder"_s);
    AddPlatformOptions(parser);
    parser.addOption(traceOption);
    parser.addOption(screenshotOption);
    parser.process(app);

    std::unique_ptr<OCL::Platform> platform = OpenPlatform(parser);

    // The trace is off as the console ships; an option or the environment switches it on.
    std::unique_ptr<OCL::TraceFile> trace;
    QString traceTarget = parser.value(traceOption);
    if (traceTarget.isEmpty())
        traceTarget = FromEnvironment("CWADMIN_TRACE");
    if (!traceTarget.isEmpty() && traceTarget != u"0"_s) {
        std::filesystem::path path = traceTarget.toStdString();
        if (traceTarget == u"1"_s)
            platform->shares->Resolve(kTraceFile, &path);
        std::filesystem::create_directories(path.parent_path());
        trace = std::make_unique<OCL::TraceFile>(path.string());
        OCL::SetTraceSink(trace.get());
        OCL::Trace("%s", CCwadminApp::StartLine(QDateTime::currentDateTime()).toLocal8Bit().constData());
    }

    if (!app.InitInstance(std::move(platform)))
        return 1;

    std::unique_ptr<CScreenshotTour> tour;
    if (parser.isSet(screenshotOption))
        tour = std::make_unique<CScreenshotTour>(app, parser.value(screenshotOption));

    const int result = app.exec();
    OCL::SetTraceSink(nullptr);
    return result;
}
