#pragma once
// _CWADMIN over a site: Routing and RAS hosts (RasKind=RRAS) whose "RemoteAccess"
// or "Router" service runs, their ports from the host's port table.

#include "platform/site/rassapi/siteattachment.h"
#include "rrasadmin/routerbackend.h"

namespace OCL::Rras {

class CSiteRouterBackend final : public IRouterBackend {
public:
    void Attach(const char* siteRoot) { m_attachment.Attach(siteRoot); }

    bool Usable() override;
    DWORD Ports(const std::string& server, std::vector<RouterPort>* ports) override;
    DWORD Port(const std::string& server, const std::string& port, RouterPort* result) override;
    DWORD Disconnect(const std::string& server, const std::string& port) override;

private:
    // Success with the site and host when the server's router can be administered.
    DWORD Open(const std::string& server, std::shared_ptr<const Site::SiteDirectory>* site,
               Site::HostInfo* host);

    Site::CSiteAttachment m_attachment;
};

} // namespace OCL::Rras
