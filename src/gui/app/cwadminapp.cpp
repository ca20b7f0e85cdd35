#include "gui/app/cwadminapp.h"

#include "core/servers/servernotice.h"
#include "gui/app/artwork.h"
#include "gui/frame/mainframe.h"
#include "gui/toolkit/captionbar.h"

#include <QDateTime>
#include <QDir>

#include <filesystem>

using namespace Qt::StringLiterals;

CCwadminApp::CCwadminApp(int& argc, char** argv) : QApplication(argc, argv) {
    setApplicationName(u"Callwarden Administrator"_s);
    setApplicationDisplayName(u"Callwarden Administrator"_s);
    setApplicationVersion(QStringLiteral(CW_VERSION));
    // The per-user settings (window placement, column widths) live under the company's name.
    setOrganizationName(u"Osterline Technologies"_s);
    setWindowIcon(CArtwork::ApplicationIcon());

    OCL::Trace("%s", StartLine(QDateTime::currentDateTime()).toLocal8Bit().constData());
    OCL::TraceIndent indent;
    // The classic active-caption gradient: dark blue into light blue, white text.
    CCaptionBar::SetDefaults({QColor(10, 36, 106), QColor(166, 202, 240), QColor(Qt::white)});
    OCL::Trace("Caption painter defaults set\n");
}

CCwadminApp::~CCwadminApp() {
    // The window goes first, then the document waits for fetchers still reading.
    m_frame.reset();
    m_doc.reset();
    if (m_trace && OCL::TraceSink() == m_trace.get())
        OCL::SetTraceSink(nullptr);
}

std::unique_ptr<OCL::TraceFile> CCwadminApp::OpenTrace(const QString& target, OCL::IShares& shares,
                                                       QString* problem) {
    std::filesystem::path path;
    if (target == u"1"_s) {
        if (const OCL::DWORD rc = shares.Resolve(kTraceFile, &path)) {
            *problem = u"The trace file %1 cannot be reached on this site (error %2)."_s
                           .arg(QString::fromLatin1(kTraceFile))
                           .arg(rc);
            return nullptr;
        }
    } else {
        path = QDir::current().absoluteFilePath(target).toStdString();
    }
    const QString shown = QString::fromStdString(path.string());
    std::error_code ec;
    std::filesystem::create_directories(path.parent_path(), ec);
    if (ec) {
        *problem = u"The folder of the trace file %1 cannot be created: %2."_s.arg(
            shown, QString::fromLocal8Bit(ec.message().c_str()));
        return nullptr;
    }
    auto trace = std::make_unique<OCL::TraceFile>(path.string());
    if (!trace->IsOpen()) {
        *problem = u"The trace file %1 cannot be opened for writing."_s.arg(shown);
        return nullptr;
    }
    return trace;
}

void CCwadminApp::StartTrace(const QString& target) {
    // Off as the console ships; "0" switches it off explicitly.
    if (target.isEmpty() || target == u"0"_s)
        return;
    m_trace = OpenTrace(target, *m_platform->shares, &m_traceProblem);
    if (!m_trace)
        return;
    OCL::SetTraceSink(m_trace.get());
    OCL::Trace("%s", StartLine(QDateTime::currentDateTime()).toLocal8Bit().constData());
}

QString CCwadminApp::StartLine(const QDateTime& now) {
    const QDate d = now.date();
    const QTime t = now.time();
    return u"%1 %2 %3 - %4:%5:%6\nCallwarden administrator starting\n\n"_s.arg(d.month())
        .arg(d.day())
        .arg(d.year())
        .arg(t.hour())
        .arg(t.minute())
        .arg(t.second());
}

bool CCwadminApp::InitInstance(std::unique_ptr<OCL::Platform> platform, const QString& traceTarget) {
    m_platform = std::move(platform);
    StartTrace(traceTarget);
    m_files = std::make_unique<OCL::Ini::Files>();
    m_prompter = std::make_unique<CDialogPrompter>();
    m_env = std::make_unique<CEnvironment>(*m_platform, *m_files, *m_prompter);

    // The document loads the server list; the frame and its views follow; then
    // the new document starts the console.
    m_doc = std::make_unique<CCwadminDoc>(*m_env, m_rasBinding);
    m_doc->SetNotifyTarget(this);
    m_frame = std::make_unique<CMainFrame>(*m_doc);
    m_prompter->SetParentWindow(m_frame.get());
    if (!m_doc->OnNewDocument())
        return false;
    m_frame->show();
    ReportPlatformProblems();
    if (!m_traceProblem.isEmpty())
        m_prompter->Message(m_traceProblem + u"\nThe console runs without a trace."_s, {},
                            OCL::IPrompter::Icon::Warning, OCL::IPrompter::Buttons::Ok);
    return true;
}

void CCwadminApp::ReportPlatformProblems() {
    if (m_platform->problems.empty())
        return;
    QString text = u"The console could not open its site:\n\n"_s;
    for (const std::string& problem : m_platform->problems)
        text += QString::fromStdString(problem) + u'\n';
    text += u"\nThe server list stays empty until the site is mended. Nothing was created or changed. "
            u"Start the console with --site FOLDER to use another site."_s;
    m_prompter->Message(text, {}, OCL::IPrompter::Icon::Warning, OCL::IPrompter::Buttons::Ok);
}

bool CCwadminApp::event(QEvent* event) {
    if (event->type() == CServerNotice::EventType()) {
        const auto* notice = static_cast<CServerNotice*>(event);
        if (notice->Message() == WM_NEW_SERVER_DATA)
            OnNewServerData(notice->Index(), notice->ServerId());
        else
            OnNewServerState(notice->Index(), notice->ServerId());
        return true;
    }
    return QApplication::event(event);
}

void CCwadminApp::OnNewServerState(std::size_t index, std::uint64_t serverId) {
    if (!m_frame || !m_doc)
        return;
    if (auto current = m_doc->Servers().Resolve(index, serverId))
        m_frame->OnNewServerState(*current);
}

void CCwadminApp::OnNewServerData(std::size_t index, std::uint64_t serverId) {
    if (!m_frame || !m_doc)
        return;
    if (auto current = m_doc->Servers().Resolve(index, serverId))
        m_frame->OnNewServerData(*current);
}
