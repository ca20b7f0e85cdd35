#include "platform/site/rassapi/rasserver.h"

#include "platform/servicecontrol.h"
#include "platform/site/rassapi/siteattachment.h"
#include "platform/site/rassapi/siteports.h"

namespace OCL::Site {

DWORD CRasServer::Open(std::shared_ptr<const SiteDirectory> site, const char16_t* server) {
    if (!site)
        return Err::BadNetPath;
    if (const DWORD reach = site->Reach(HostArgument(server), &m_host))
        return reach;
    if (m_host.rasKind != RasKind::Ras ||
        site->ServiceState(m_host, "RemoteAccess", SiteNowMs()) != ServiceState::Running)
        return Err::RpcServerUnavailable;
    m_site = std::move(site);
    return Err::Success;
}

std::vector<PortRecord> CRasServer::Ports() const {
    return m_site->ReadPorts(m_host);
}

DWORD CRasServer::EditPort(const std::string& port, const std::function<bool(PortRecord&)>& change) const {
    return EditOnePort(*m_site, m_host, port, change);
}

} // namespace OCL::Site
