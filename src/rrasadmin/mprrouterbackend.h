#pragma once
// _CWADMIN on Windows: the router administration library MPRAPI.DLL, bound by
// name at run time so that _CWADMIN loads where it is missing. Until it can be
// bound (the console may copy it from a server meanwhile) RRAS_Init answers 0
// and every call fails with ModNotFound; each call tries to bind it again.

#include "rrasadmin/routerbackend.h"

namespace OCL::Rras {

class CMprRouterBackend final : public IRouterBackend {
public:
    bool Usable() override;
    DWORD Ports(const std::string& server, std::vector<RouterPort>* ports) override;
    DWORD Port(const std::string& server, const std::string& port, RouterPort* result) override;
    DWORD Disconnect(const std::string& server, const std::string& port) override;
};

} // namespace OCL::Rras
