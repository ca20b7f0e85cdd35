#include "platform/win32/win32platform.h"

#include "platform/win32/winclock.h"
#include "platform/win32/winmodules.h"
#include "platform/win32/winnetwork.h"
#include "platform/win32/winpipe.h"
#include "platform/win32/winregistry.h"
#include "platform/win32/winservices.h"
#include "platform/win32/winshares.h"
#include "platform/win32/winshell.h"
#include "platform/win32/winsystem.h"

namespace OCL::Win32 {

std::unique_ptr<Platform> OpenWin32() {
    auto platform = std::make_unique<Platform>();
    platform->registry = std::make_unique<CWinRegistry>();
    platform->services = std::make_unique<CWinServiceControl>();
    platform->modules = std::make_unique<CWinModules>();
    platform->network = std::make_unique<CWinNetwork>();
    platform->pipe = std::make_unique<CWinServicePipe>();
    platform->shares = std::make_unique<CWinShares>();
    platform->shell = std::make_unique<CWinShell>();
    platform->system = std::make_unique<CWinSystem>();
    platform->clock = std::make_unique<CWinClock>();
    return platform;
}

} // namespace OCL::Win32
