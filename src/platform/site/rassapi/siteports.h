#pragma once
// Changing one port of a host's port table, as the site modules' disconnect and
// clear-statistics calls do.

#include "platform/site/sitedirectory.h"

#include <functional>
#include <string>
#include <vector>

namespace OCL::Site {

// Runs change on the named port under the table's lock; the table is written
// back when change returns true. DevNotExist for an unknown port, CantWrite when
// the table could not be locked or written.
DWORD EditOnePort(const SiteDirectory& site, const HostInfo& host, const std::string& port,
                  const std::function<bool(PortRecord&)>& change);

// Port names are device names, compared without case.
const PortRecord* FindPort(const std::vector<PortRecord>& ports, const std::string& name);

} // namespace OCL::Site
