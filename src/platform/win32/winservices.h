#pragma once
// The service control port over the service control manager, local or remote.

#include "platform/servicecontrol.h"

namespace OCL::Win32 {

class CWinServiceControl final : public IServiceControl {
public:
    DWORD OpenManager(const std::string& machine, DWORD access, SC_HANDLE* result) override;
    DWORD Open(SC_HANDLE manager, const std::string& serviceName, DWORD access, SC_HANDLE* result) override;
    DWORD Start(SC_HANDLE service) override;
    DWORD Control(SC_HANDLE service, DWORD control, ServiceStatus* status) override;
    DWORD QueryStatus(SC_HANDLE service, ServiceStatus* status) override;
    DWORD Close(SC_HANDLE handle) override;
};

} // namespace OCL::Win32
