#pragma once
// The application object: starts the console in its order and relays the
// fetchers' notices to the main window (dropping those that come before it).

#include "core/app/environment.h"
#include "core/doc/cwadmindoc.h"
#include "core/ocl/trace.h"
#include "core/ras/rasfunc.h"
#include "gui/app/dialogprompter.h"
#include "ini/inifile.h"

#include <QApplication>

#include <memory>

class CMainFrame;

class CCwadminApp : public QApplication {
    Q_OBJECT
public:
    CCwadminApp(int& argc, char** argv);
    ~CCwadminApp() override;

    // Takes the platform the console runs on and starts the trace when traceTarget
    // names one; true once the main window is shown. A trace that cannot be written
    // is reported once the window is up and the console runs without it.
    bool InitInstance(std::unique_ptr<OCL::Platform> platform, const QString& traceTarget = {});

    // The trace file for target: "1" the console's own file on the site's drive C,
    // anything else a path (relative to the current folder). Null, with the
    // reason in *problem, when it cannot be written.
    static std::unique_ptr<OCL::TraceFile> OpenTrace(const QString& target, OCL::IShares& shares,
                                                     QString* problem);
    static constexpr const char* kTraceFile = "C:\\ocl_trace_cwadmin.txt";

    CMainFrame* MainFrame() const { return m_frame.get(); }
    CCwadminDoc* Document() const { return m_doc.get(); }
    const CEnvironment* Environment() const { return m_env.get(); }

    // The start line composed at construction, for the trace.
    static QString StartLine(const QDateTime& now);

    // Thread messages 1046 and 1045: handed to the main window, if there is one.
    void OnNewServerState(std::size_t index, std::uint64_t serverId);
    void OnNewServerData(std::size_t index, std::uint64_t serverId);

protected:
    bool event(QEvent* event) override;

private:
    void ReportPlatformProblems();
    void StartTrace(const QString& target);

    std::unique_ptr<OCL::TraceFile> m_trace;
    QString m_traceProblem;
    std::unique_ptr<OCL::Platform> m_platform;
    std::unique_ptr<OCL::Ini::Files> m_files;
    std::unique_ptr<CDialogPrompter> m_prompter;
    std::unique_ptr<CEnvironment> m_env;
    CRasBinding m_rasBinding;
    std::unique_ptr<CCwadminDoc> m_doc;
    std::unique_ptr<CMainFrame> m_frame;
};
