#include "core/ras/rraslibrary.h"

using namespace OCL;

namespace {
constexpr DWORD kProcNotFound = 127;
}

bool CRrasLibrary::Bind() {
    std::lock_guard lock(m_mutex);
    if (m_bound)
        return true;
    HMODULE module = nullptr;
    if (m_modules.Load("_CWADMIN", LoadFlags::None, &module) != Err::Success)
        return false;
    m_init = reinterpret_cast<PFN_RRAS_Init>(m_modules.Symbol(module, "RRAS_Init"));
    m_getNumberOfPorts =
        reinterpret_cast<PFN_RRAS_GetNumberOfPorts>(m_modules.Symbol(module, "RRAS_GetNumberOfPorts"));
    m_updatePortData =
        reinterpret_cast<PFN_RRAS_UpdatePortData>(m_modules.Symbol(module, "RRAS_UpdatePortData"));
    m_getPortData = reinterpret_cast<PFN_RRAS_GetPortData>(m_modules.Symbol(module, "RRAS_GetPortData"));
    m_createPortViewData =
        reinterpret_cast<PFN_RRAS_CreatePortViewData>(m_modules.Symbol(module, "RRAS_CreatePortViewData"));
    m_disconnectPort =
        reinterpret_cast<PFN_RRAS_DisconnectPort>(m_modules.Symbol(module, "RRAS_DisconnectPort"));
    m_bound = true;
    return true;
}

BOOL CRrasLibrary::Init() {
    return Bind() && m_init ? m_init() : 0;
}

BOOL CRrasLibrary::GetNumberOfPorts(const std::string& server, DWORD* ports, DWORD* busy) {
    return Bind() && m_getNumberOfPorts ? m_getNumberOfPorts(server.c_str(), ports, busy) : 0;
}

BOOL CRrasLibrary::UpdatePortData(const std::string& server, DWORD* entries) {
    return Bind() && m_updatePortData ? m_updatePortData(server.c_str(), entries) : 0;
}

BOOL CRrasLibrary::GetPortData(DWORD index, char* portName, char* user, DWORD* address, DWORD* startTime) {
    return Bind() && m_getPortData ? m_getPortData(index, portName, user, address, startTime) : 0;
}

DWORD CRrasLibrary::CreatePortViewData(const std::string& server, const std::string& port,
                                       const std::string& path) {
    return Bind() && m_createPortViewData ? m_createPortViewData(server.c_str(), port.c_str(), path.c_str())
                                          : kProcNotFound;
}

DWORD CRrasLibrary::DisconnectPort(const std::string& server, const std::string& port) {
    return Bind() && m_disconnectPort ? m_disconnectPort(server.c_str(), port.c_str()) : kProcNotFound;
}
