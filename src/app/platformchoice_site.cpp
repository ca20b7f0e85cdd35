// The console on a site: the folder from --site, else $CWADMIN_SITE, else the
// per-user default; its libraries beside the program.
#include "app/platformchoice.h"

#include "platform/site/site.h"

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QDesktopServices>
#include <QDir>
#include <QUrl>

using namespace Qt::StringLiterals;

namespace {

QCommandLineOption SiteOption() {
    return QCommandLineOption(u"site"_s,
                              u"The site folder to run on (default: $CWADMIN_SITE, else %1)."_s.arg(
                                  QString::fromStdString(OCL::Site::DefaultSiteDir().string())),
                              u"folder"_s);
}

} // namespace

void AddPlatformOptions(QCommandLineParser& parser) {
    parser.addOption(SiteOption());
}

std::unique_ptr<OCL::Platform> OpenPlatform(const QCommandLineParser& parser) {
    QString site = parser.value(SiteOption());
    if (site.isEmpty())
        site = qEnvironmentVariable("CWADMIN_SITE");
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
    return OCL::Site::OpenSite(QDir(site).absolutePath().toStdString(), options);
}
