#include "platform/site/rassapi/siteports.h"

namespace OCL::Site {

DWORD EditOnePort(const SiteDirectory& site, const HostInfo& host, const std::string& port,
                  const std::function<bool(PortRecord&)>& change) {
    DWORD result = Err::DevNotExist;
    bool ran = false;
    const bool written = site.EditPorts(host, [&](std::vector<PortRecord>& ports) {
        ran = true;
        for (PortRecord& record : ports)
            if (SameName(record.name, port)) {
                result = Err::Success;
                return change(record);
            }
        return false;
    });
    // Without the lock the table was not even read.
    if (!written && (!ran || result == Err::Success))
        return Err::CantWrite;
    return result;
}

const PortRecord* FindPort(const std::vector<PortRecord>& ports, const std::string& name) {
    for (const PortRecord& record : ports)
        if (SameName(record.name, name))
            return &record;
    return nullptr;
}

} // namespace OCL::Site
