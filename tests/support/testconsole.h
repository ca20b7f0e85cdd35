#pragma once
// A console for tests: a site written into a temporary folder by the same code
// as cwsite init, the platform opened on it, a scripted prompter, the ini
// engine, the document and, when asked for, the main window.

#include "core/app/environment.h"
#include "core/doc/cwadmindoc.h"
#include "core/ras/rasfunc.h"
#include "ini/inifile.h"
#include "site/sitewriter.h"
#include "support/scriptedprompter.h"
#include "support/testclock.h"

#include <QObject>
#include <QTemporaryDir>

#include <functional>
#include <memory>

class CMainFrame;

// The console's computer in test sites.
inline const QString kTestConsole = QStringLiteral("ADMINPC");

// Receives the fetchers' notices as the application object does.
class CNoticeSink : public QObject {
    Q_OBJECT
public:
    struct Notice {
        int message;
        std::size_t index;
        std::uint64_t serverId;
    };
    QList<Notice> notices;
    // Hands notices on (to a main window), as the application does, when set.
    std::function<void(int message, std::size_t index)> forward;
    CCwadminDoc* doc = nullptr;

protected:
    bool event(QEvent* event) override;
};

// A site written elsewhere (for example by cwsite init) for a test console to open.
struct CExistingSite {
    QString root;
};

class CTestConsole {
public:
    // Writes the base site (the console computer ADMINPC with an empty Servers
    // key and a Client key), lets setup add to it, saves it and opens it.
    explicit CTestConsole(const std::function<void(CSiteWriter&)>& setup = {}, bool useTestClock = false);
    // Opens a site that exists already; Writer() then adds to it.
    explicit CTestConsole(const CExistingSite& site);
    ~CTestConsole();

    QString Root() const { return m_root; }
    CSiteWriter& Writer() { return *m_writer; }
    // Saves further writer changes into the site.
    void Save();

    OCL::Platform& Platform() { return *m_platform; }
    CEnvironment& Environment() { return *m_env; }
    CScriptedPrompter& Prompter() { return m_prompter; }
    OCL::Ini::Files& Files() { return m_files; }
    CTestClock* Clock() { return m_clock.get(); }
    CCwadminDoc& Doc();
    CNoticeSink& Sink() { return m_sink; }
    // The main window over the document (made on first use, not shown).
    CMainFrame& Frame();

    // Runs one fetch of every server and waits for their results.
    bool FetchAll(bool force = true, int timeoutMs = 10000);

    // A server with registry, service and ports, as cwsite init makes them:
    // classic RAS ("RAS") or Routing and RAS ("RRAS") on version ("4.0", "5.0").
    static void AddServer(CSiteWriter& writer, const QString& name, const QString& kind,
                          const QString& version, int ports, bool master = false,
                          const QString& masterName = {});

private:
    void Open(bool useTestClock);

    QTemporaryDir m_dir;
    QString m_root;
    std::unique_ptr<CSiteWriter> m_writer;
    std::unique_ptr<CTestClock> m_clock;
    std::unique_ptr<OCL::Platform> m_platform;
    CScriptedPrompter m_prompter;
    OCL::Ini::Files m_files;
    std::unique_ptr<CEnvironment> m_env;
    CRasBinding m_binding;
    CNoticeSink m_sink;
    std::unique_ptr<CCwadminDoc> m_doc;
    // Made and destroyed in the GUI part of the fixture only, so that core tests
    // link without the windows.
    std::unique_ptr<CMainFrame, void (*)(CMainFrame*)> m_frame{nullptr, nullptr};
};
