#pragma once
// The set of ports the console runs on. One object per port, made once at
// start-up by whoever chooses the implementation and handed down from there.

#include "platform/clock.h"
#include "platform/modules.h"
#include "platform/network.h"
#include "platform/registry.h"
#include "platform/servicecontrol.h"
#include "platform/servicepipe.h"
#include "platform/shares.h"
#include "platform/shell.h"
#include "platform/system.h"

#include <memory>
#include <string>
#include <vector>

namespace OCL {

struct Platform {
    std::unique_ptr<IRegistry> registry;
    std::unique_ptr<IServiceControl> services;
    std::unique_ptr<IModules> modules;
    std::unique_ptr<INetwork> network;
    std::unique_ptr<IServicePipe> pipe;
    std::unique_ptr<IShares> shares;
    std::unique_ptr<IShell> shell;
    std::unique_ptr<ISystem> system;
    std::unique_ptr<IClock> clock;

    // What the implementation found wrong while opening (for example a missing or
    // malformed site); empty when all is well. The console shows these at start.
    std::vector<std::string> problems;
};

} // namespace OCL
