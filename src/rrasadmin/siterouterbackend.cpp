#include "rrasadmin/siterouterbackend.h"

#include "ini/inifile.h"
#include "platform/servicecontrol.h"
#include "platform/site/rassapi/siteports.h"
#include "rrasadmin/exports.h"

namespace OCL::Rras {
namespace {

using Site::PortRecord;

RouterPort FromRecord(const PortRecord& p) {
    RouterPort r;
    r.name = p.name;
    r.deviceName = p.deviceName;
    r.deviceType = p.deviceType;
    r.mediaName = p.mediaName;
    r.lineSpeed = p.lineSpeed;
    r.hardwareCondition = p.hardwareCondition;
    r.connected = p.Connected();
    r.lineCondition = r.connected ? LineCond::Authenticated : LineCond::Listening;
    if (r.connected) {
        r.user = p.domain + "\\" + p.user;
        r.computer = p.computer;
        r.ip = p.ip;
        r.ipx = p.ipx;
        r.address = Site::PackAddress(p.ip);
        r.start = p.start;
    }
    r.alignErr = p.alignErr;
    r.bufOverErr = p.bufOverrunErr;
    r.crcErr = p.crcErr;
    r.framingErr = p.framingErr;
    r.hwOverErr = p.hwOverrunErr;
    r.toErr = p.timeoutErr;
    r.bytesXmit = p.bytesXmit;
    r.bytesXcomp = p.bytesXmitCompressed;
    r.bytesXUncomp = p.bytesXmitUncompressed;
    r.framesXmit = p.framesXmit;
    r.bytesRcved = p.bytesRcved;
    r.bytesRcomp = p.bytesRcvedCompressed;
    r.bytesRUncomp = p.bytesRcvedUncompressed;
    r.framesRcved = p.framesRcved;
    return r;
}

bool RouterAdminHere(const Site::SiteDirectory& site) {
    return site.Files().GetInt(site.Root() / "site.ini", "Site", "RouterAdmin", 1) != 0;
}

CSiteRouterBackend& SiteBackend() {
    static CSiteRouterBackend backend;
    return backend;
}

} // namespace

IRouterBackend& RouterBackend() {
    return SiteBackend();
}

bool CSiteRouterBackend::Usable() {
    auto site = m_attachment.Current();
    return site && RouterAdminHere(*site);
}

DWORD CSiteRouterBackend::Open(const std::string& server, std::shared_ptr<const Site::SiteDirectory>* site,
                               Site::HostInfo* host) {
    *site = m_attachment.Current();
    if (!*site)
        return Err::BadNetPath;
    // Without the router administration library nothing can be asked of anyone.
    if (!RouterAdminHere(**site))
        return Err::ModNotFound;
    if (const DWORD reach = (*site)->Reach(Site::BareName(server), host))
        return reach;
    if (host->rasKind != Site::RasKind::Rras)
        return Err::RpcServerUnavailable;
    const auto now = Site::SiteNowMs();
    if ((*site)->ServiceState(*host, "RemoteAccess", now) != ServiceState::Running &&
        (*site)->ServiceState(*host, "Router", now) != ServiceState::Running)
        return Err::RpcServerUnavailable;
    return Err::Success;
}

DWORD CSiteRouterBackend::Ports(const std::string& server, std::vector<RouterPort>* ports) {
    std::shared_ptr<const Site::SiteDirectory> site;
    Site::HostInfo host;
    if (const DWORD open = Open(server, &site, &host))
        return open;
    ports->clear();
    for (const PortRecord& record : site->ReadPorts(host))
        ports->push_back(FromRecord(record));
    return Err::Success;
}

DWORD CSiteRouterBackend::Port(const std::string& server, const std::string& port, RouterPort* result) {
    std::shared_ptr<const Site::SiteDirectory> site;
    Site::HostInfo host;
    if (const DWORD open = Open(server, &site, &host))
        return open;
    const auto table = site->ReadPorts(host);
    const PortRecord* record = Site::FindPort(table, port);
    if (!record)
        return Err::DevNotExist;
    *result = FromRecord(*record);
    return Err::Success;
}

DWORD CSiteRouterBackend::Disconnect(const std::string& server, const std::string& port) {
    std::shared_ptr<const Site::SiteDirectory> site;
    Site::HostInfo host;
    if (const DWORD open = Open(server, &site, &host))
        return open;
    return Site::EditOnePort(*site, host, port, [](PortRecord& record) {
        if (!record.Connected())
            return false; // nothing to hang up
        record.EndSession();
        return true;
    });
}

} // namespace OCL::Rras

CW_EXPORT void CwSiteAttach(const char* siteRoot) {
    OCL::Rras::SiteBackend().Attach(siteRoot);
}
