#pragma once
// cwsite serve: the Callwarden service of every host of a site. Each host whose
// "Callwarden" service runs answers on its pipe; the services' states are
// watched, so stopping the service in the console closes its pipe. A timer does
// the services' live work and, with a rate, makes simulated callers dial in.

#include "site/serve/hostservice.h"
#include "site/serve/pipelistener.h"
#include "site/serve/servecontext.h"

#include <QElapsedTimer>
#include <QTimer>

#include <memory>
#include <vector>

class CSiteService {
public:
    static constexpr int kPollMs = 300;
    static constexpr int kTickMs = 1000;

    // rate: simulated dial-in attempts per minute over all running hosts.
    CSiteService(const QString& root, double rate, quint32 seed);
    ~CSiteService();

    void SetOutput(std::function<void(const QString&)> print) { m_context.print = std::move(print); }
    // False with a reason when the site is unusable or another cwsite serves it.
    bool Start(QString* error);
    // Closes every pipe and removes the sockets and status files.
    void Shutdown();

private:
    struct Host {
        std::unique_ptr<CHostService> service;
        std::unique_ptr<CPipeListener> listener;
        QString rasService;
    };

    void Poll();
    void Tick();
    qint64 NowMs() const;

    CServeContext m_context;
    double m_rate;
    std::vector<Host> m_hosts;
    QTimer m_pollTimer;
    QTimer m_tickTimer;
    QElapsedTimer m_sinceTick;
};
