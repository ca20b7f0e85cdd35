#include "site/serve/siteservice.h"

#include "site/gen/text.h"

#include <QDateTime>
#include <QFile>
#include <QLocalSocket>

using namespace Qt::StringLiterals;

CSiteService::CSiteService(const QString& root, double rate, quint32 seed)
    : m_context(CwText::Path(root), seed), m_rate(rate) {
    m_context.simulating = rate > 0;
}

CSiteService::~CSiteService() {
    Shutdown();
}

qint64 CSiteService::NowMs() const {
    return QDateTime::currentMSecsSinceEpoch();
}

bool CSiteService::Start(QString* error) {
    const auto& site = *m_context.site;
    if (const auto problems = site.Problems(); !problems.empty()) {
        *error = QString::fromStdString(problems.front());
        return false;
    }
    int number = 0;
    for (const std::string& name : site.HostNames()) {
        ++number;
        const auto host = site.FindHost(name);
        if (!host || site.ServiceState(*host, "Callwarden", NowMs()) == 0)
            continue;
        const QString socket = CwText::FromPath(site.PipeSocket(host->name, "cwsvcpipe"));
        if (QFile::exists(socket)) {
            QLocalSocket probe;
            probe.connectToServer(socket);
            if (probe.waitForConnected(300)) {
                *error = u"another cwsite serve is already answering on %1"_s.arg(socket);
                return false;
            }
        }
        Host entry;
        entry.service = std::make_unique<CHostService>(m_context, *host, number);
        CHostService* service = entry.service.get();
        entry.listener = std::make_unique<CPipeListener>(socket, [this, service](const QByteArray& request) {
            return service->Handle(request, NowMs() / 1000);
        });
        entry.rasService = host->rasKind == OCL::Site::RasKind::Rras && host->majorVersion <= 4
                               ? u"Router"_s
                               : u"RemoteAccess"_s;
        if (host->rasKind == OCL::Site::RasKind::None)
            entry.rasService.clear();
        m_hosts.push_back(std::move(entry));
    }
    if (m_hosts.empty()) {
        *error = u"no computer of the site has a Callwarden service"_s;
        return false;
    }
    QObject::connect(&m_pollTimer, &QTimer::timeout, &m_pollTimer, [this] { Poll(); });
    QObject::connect(&m_tickTimer, &QTimer::timeout, &m_tickTimer, [this] { Tick(); });
    Poll();
    m_sinceTick.start();
    m_pollTimer.start(kPollMs);
    m_tickTimer.start(kTickMs);
    return true;
}

void CSiteService::Shutdown() {
    m_pollTimer.stop();
    m_tickTimer.stop();
    for (Host& host : m_hosts) {
        host.listener->Close();
        QFile::remove(
            CwText::FromPath(m_context.site->Root() / "run" / (host.service->Host().name + ".status")));
    }
    m_hosts.clear();
}

void CSiteService::Poll() {
    const qint64 now = NowMs();
    for (Host& host : m_hosts) {
        const bool running = m_context.site->ServiceState(host.service->Host(), "Callwarden", now) == 4;
        if (running && !host.service->Running()) {
            host.service->Start(now / 1000);
        } else if (!running && host.service->Running()) {
            host.listener->Close();
            host.service->Stop();
        }
        if (running && !host.listener->Listening()) {
            QString error;
            if (!host.listener->Listen(&error))
                m_context.Print(u"%1  %2"_s.arg(host.service->Name(), error));
        }
    }
}

void CSiteService::Tick() {
    const qint64 nowMs = NowMs();
    const double seconds = double(m_sinceTick.restart()) / 1000.0;
    for (Host& host : m_hosts) {
        host.service->Tick(nowMs / 1000, seconds);
        host.service->Daily(nowMs / 1000);
    }
    if (m_rate <= 0)
        return;
    std::vector<CHostService*> dialin;
    for (Host& host : m_hosts)
        if (host.service->Running() && !host.rasService.isEmpty() &&
            m_context.site->ServiceState(host.service->Host(), host.rasService.toStdString(), nowMs) == 4)
            dialin.push_back(host.service.get());
    if (dialin.empty())
        return;
    const int attempts = std::poisson_distribution<int>(m_rate * seconds / 60.0)(m_context.rng);
    for (int i = 0; i < attempts; ++i)
        dialin[std::uniform_int_distribution<std::size_t>(0, dialin.size() - 1)(m_context.rng)]->Simulate(
            nowMs / 1000);
}
