// The console's entry point: chooses the site it runs on, switches the trace on
// when asked, and starts the application.
#include "gui/app/cwadminapp.h"
#include "gui/app/screenshots.h"
#include "platform/site/site.h"

#include <QCommandLineParser>
#include <QDesktopServices>
#include <QDir>
#include <QTimer>
#include <QUrl>

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
    const QCommandLineOption siteOption(u"site"_s,
                                        u"The site folder to run on (default: $CWADMIN_SITE, else %1)."_s.arg(
                                            QString::fromStdString(OCL::Site::DefaultSiteDir().string())),
                                        u"folder"_s);
    const QCommandLineOption traceOption(
        u"trace"_s,
        u"Write the trace to a file (also $CWADMIN_TRACE; \"1\" names the console's own trace file)."_s,
        u"file"_s);
    const QCommandLineOption screenshotOption(
        u"screenshots"_s,
        u"Walk through the main windows, save a picture of each into the folder, then quit."_s, u"folder"_s);
    parser.addOption(siteOption);
    parser.addOption(traceOption);
    parser.addOption(screenshotOption);
    parser.process(app);

    QString site = parser.value(siteOption);
    if (site.isEmpty())
        site = FromEnvironment("CWADMIN_SITE");
    if (site.isEmpty())
        site = QString::fromStdString(OCL::Site::DefaultSiteDir().string());

    OCL::Site::SiteOptions options;
    options.moduleFolder = QCoreApplication::applicationDirPath().toStdString();
    options.opener = [](const std::string& target) {
        const QString text = QString::fromStdString(target);
        const QUrl url = text.contains(u"://"_s)
                             ? QUrl(text)
                             : QUrl::fromLocalFile(QDir::current().absoluteFilePath(text));
        QDesktopServices::openUrl(url);
    };
    std::unique_ptr<OCL::Platform> platform =
        OCL::Site::OpenSite(QDir(site).absolutePath().toStdString(), options);

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
