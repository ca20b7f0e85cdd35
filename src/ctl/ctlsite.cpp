#include "ctl/ctlsite.h"

#include "core/app/ansitext.h"
#include "platform/site/site.h"

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QDir>
#include <QFileInfo>

#include <chrono>
#include <thread>

using namespace Qt::StringLiterals;

namespace {

// Unreachable servers answer at once; this bounds slow ones.
constexpr int kFetchMs = 60000;

} // namespace

CCtlSite::~CCtlSite() {
    m_doc.reset();
}

bool CCtlSite::Open(const QString& root, QString* error) {
    OCL::Site::SiteOptions options;
    options.moduleFolder = QCoreApplication::applicationDirPath().toStdString();
    const QString folder = QDir(root).absolutePath();
    m_platform = OCL::Site::OpenSite(folder.toStdString(), options);
    if (!m_platform) {
        *error = u"cannot open the site %1"_s.arg(folder);
        return false;
    }
    if (!m_platform->problems.empty()) {
        *error = u"cannot read the site %1: %2"_s.arg(folder,
                                                      QString::fromStdString(m_platform->problems.front()));
        return false;
    }
    m_env = std::make_unique<CEnvironment>(*m_platform, m_files, m_prompter);
    m_doc = std::make_unique<CCwadminDoc>(*m_env, m_binding);
    // Reads the settings and starts one fetch of every server.
    m_doc->OnNewDocument();
    const QDeadlineTimer deadline(kFetchMs);
    while (m_doc->Servers().FetchRunning() && !deadline.hasExpired())
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    if (!m_doc->MasterKnown()) {
        *error =
            u"cannot read the site %1: none of its %2 monitored servers answers as the master server"_s.arg(
                folder, QString::number(m_doc->Servers().GetCount()));
        return false;
    }
    return true;
}

QString CCtlSite::LocalFile(const QString& path) const {
    std::filesystem::path local;
    if (m_env->Shares().Resolve(CAnsi::FromQString(path), &local) != OCL::Err::Success)
        return {};
    const QString file = QString::fromStdString(local.string());
    const QFileInfo info(file);
    return info.isFile() && info.isReadable() ? file : QString();
}

bool CCtlSite::LoadDay(const QDate& day, QString* error) {
    m_doc->NavigateTo(day.year(), day.month(), day.day());
    const QString path = m_doc->CreateCurrentFileName();
    if (LocalFile(path).isEmpty()) {
        *error = QStringLiteral("cannot read the day %1: no file %2").arg(day.toString(Qt::ISODate), path);
        return false;
    }
    m_doc->LoadLogRecords(0);
    return true;
}
