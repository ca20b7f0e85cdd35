#pragma once
// The port-detail file "~rrasprt.tmp" through which a router port's details reach
// the console's port detail view: section "PS" of a profile file, every value text.

#include "rrasadmin/routerbackend.h"

#include <filesystem>

namespace OCL::Rras {

// Writes the port's keys into section "PS", keeping the file's other keys; the
// console's seeded "UserName" stays when the port is idle. Success, or CantWrite
// when the file could not be replaced (it is then as it was).
DWORD WritePortView(const std::filesystem::path& path, const RouterPort& port);

} // namespace OCL::Rras
