// The console's entry point: opens the ports it runs on, switches the trace on
// when asked, and starts the application.
#include "app/platformchoice.h"
#include "gui/app/cwadminapp.h"
#include "gui/app/screenshots.h"

#include <QCommandLineParser>
#include <QDateTime>
#include <QTimer>

#include <memory>

using namespace Qt::StringLiterals;

namespace {

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

    QString traceTarget = parser.value(traceOption);
    if (traceTarget.isEmpty())
        traceTarget = FromEnvironment("CWADMIN_TRACE");

    if (!app.InitInstance(std::move(platform), traceTarget))
        return 1;

    std::unique_ptr<CScreenshotTour> tour;
    if (parser.isSet(screenshotOption))
        tour = std::make_unique<CScreenshotTour>(app, parser.value(screenshotOption));

    return app.exec();
}
