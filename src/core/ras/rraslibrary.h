#pragma once
// The console's binding of _CWADMIN, its companion library for Routing and RAS
// servers. Loaded by name on first use; while it cannot be loaded every call
// fails (RRAS_Init answers 0), and the next call tries again.

#include "platform/modules.h"
#include "platform/routingras.h"

#include <mutex>
#include <string>

using OCL::BOOL;
using OCL::DWORD;

class CRrasLibrary {
public:
    explicit CRrasLibrary(OCL::IModules& modules) : m_modules(modules) {}
    CRrasLibrary(const CRrasLibrary&) = delete;
    CRrasLibrary& operator=(const CRrasLibrary&) = delete;

    BOOL Init();
    BOOL GetNumberOfPorts(const std::string& server, DWORD* ports, DWORD* busy);
    BOOL UpdatePortData(const std::string& server, DWORD* entries);
    BOOL GetPortData(DWORD index, char* portName, char* user, DWORD* address, DWORD* startTime);
    DWORD CreatePortViewData(const std::string& server, const std::string& port, const std::string& path);
    DWORD DisconnectPort(const std::string& server, const std::string& port);

private:
    bool Bind();

    OCL::IModules& m_modules;
    std::mutex m_mutex;
    bool m_bound = false;
    OCL::PFN_RRAS_Init m_init = nullptr;
    OCL::PFN_RRAS_GetNumberOfPorts m_getNumberOfPorts = nullptr;
    OCL::PFN_RRAS_UpdatePortData m_updatePortData = nullptr;
    OCL::PFN_RRAS_GetPortData m_getPortData = nullptr;
    OCL::PFN_RRAS_CreatePortViewData m_createPortViewData = nullptr;
    OCL::PFN_RRAS_DisconnectPort m_disconnectPort = nullptr;
};
