#pragma once
// The ports over this computer's own system: the real registries, service
// managers, libraries, network browser, NetAPI, named pipes and shares of the
// Windows network the console administers.

#include "platform/platform.h"

#include <memory>

namespace OCL::Win32 {

std::unique_ptr<Platform> OpenWin32();

} // namespace OCL::Win32
