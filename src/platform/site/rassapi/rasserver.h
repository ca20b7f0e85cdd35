#pragma once
// One classic RAS server of the site, opened the way a RAS administration call
// reaches it: the host must answer, be a RAS host and run "RemoteAccess".

#include "platform/site/rassapi/siteports.h"
#include "platform/site/sitedirectory.h"

#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace OCL::Site {

class CRasServer {
public:
    // Success, BadNetPath (no site, unknown or unreachable host), AccessDenied, or
    // RpcServerUnavailable when the host runs no RAS server.
    DWORD Open(std::shared_ptr<const SiteDirectory> site, const char16_t* server);

    const HostInfo& Host() const { return m_host; }
    std::vector<PortRecord> Ports() const;
    // Runs change on the named port under the table's lock; the table is written
    // back when change returns true. DevNotExist for an unknown port, CantWrite
    // when the table could not be written.
    DWORD EditPort(const std::string& port, const std::function<bool(PortRecord&)>& change) const;

private:
    std::shared_ptr<const SiteDirectory> m_site;
    HostInfo m_host;
};

} // namespace OCL::Site
