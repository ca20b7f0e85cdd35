// The document's share of server monitoring and service state.
#include "core/doc/cwadmindoc.h"

#include "core/app/ansitext.h"
#include "core/pipe/servicepipeclient.h"

#include <cstdlib>

using namespace OCL;

void CCwadminDoc::updateAllServersData() {
    for (std::size_t i = 0; i < m_servers->GetCount(); ++i)
        UpdateServerData(int(i), m_forceRefresh != 0);
    m_forceRefresh = 0;
}

void CCwadminDoc::UpdateServerData(int number, bool force) {
    if (number < 0 || std::size_t(number) >= m_servers->GetCount())
        return;
    // A failed server is fetched again only when asked with force.
    if (!force && ServerState::IsFailure((*m_servers)[std::size_t(number)].m_state.load()))
        return;
    m_servers->GetData(std::size_t(number), *m_rasFunc, m_notifyTarget);
}

void CCwadminDoc::UpdateServerData(const QString& name, bool force) {
    UpdateServerData(GetServerNumberByName(name), force);
}

int CCwadminDoc::GetServerNumberByName(const QString& name) const {
    return m_servers->GetServerNumberByName(name);
}

CServer* CCwadminDoc::GetServerByName(const QString& name) {
    const int number = GetServerNumberByName(name);
    if (number < 0) {
        m_env.Prompter().Inform(QStringLiteral("Server %1 not found in server list").arg(name));
        return nullptr;
    }
    return &(*m_servers)[std::size_t(number)];
}

bool CCwadminDoc::SaveServerProperties(int number) {
    if (number < 0 || std::size_t(number) >= m_servers->GetCount())
        return true;
    CWaitCursor wait(m_frame);
    CServer& server = (*m_servers)[std::size_t(number)];
    const QString name = server.Name();
    BOOL master, eventLog, staticIP;
    DWORD idle;
    QString share;
    {
        auto lock = server.Lock();
        master = server.m_master;
        eventLog = server.m_logToEventLog;
        staticIP = server.m_staticIP;
        idle = server.m_idleTimer;
        share = CAnsi::ToQString(CAnsi::FieldText(server.m_masterShare));
    }
    const QString service = QStringLiteral("Service");
    SetRegDWORD(name, service, QStringLiteral("Master"), master ? 1 : 0);
    SetRegString(name, service, QStringLiteral("MasterShare"), share);
    SetRegDWORD(name, service, QStringLiteral("LogSessionEventsToEventLog"), eventLog ? 1 : 0);
    SetRegDWORD(name, service, QStringLiteral("StaticIP"), staticIP ? 1 : 0);
    SetRegDWORD(name, service, QStringLiteral("IdleTimer"), idle);
    m_pipe->SendUpdateNotice(name);
    return true;
}

int CCwadminDoc::IsServiceRunning(const QString& computer, bool trackingService) {
    IServiceControl& control = m_env.Services();
    SC_HANDLE manager = nullptr;
    if (control.OpenManager(CAnsi::FromQString(computer), ScAccess::ManagerAllAccess, &manager) !=
        Err::Success)
        return 0;

    std::string serviceName = "Callwarden";
    if (!trackingService) {
        // Which service stands for RAS depends on the server's record; a name the
        // list does not hold is reported, not guessed at.
        const CServer* server = GetServerByName(computer);
        if (!server) {
            control.Close(manager);
            return 0;
        }
        serviceName = "RemoteAccess";
        // Routers before Windows 2000 run their own service.
        if (server->m_rasKind == RasKindValue::Rras && m_registry.GetOSVersion(computer) <= 4.0)
            serviceName = "Router";
    }

    SC_HANDLE service = nullptr;
    if (control.Open(manager, serviceName, ScAccess::ServiceAllAccess, &service) != Err::Success) {
        control.Close(manager);
        return 0;
    }
    ServiceStatus status;
    const DWORD rc = control.QueryStatus(service, &status);
    control.Close(service);
    control.Close(manager);
    if (rc != Err::Success)
        return 0;
    return status.currentState == ServiceState::Running ? 1 : 2;
}
