#pragma once
// Service control port: OpenSCManager, OpenService, StartService, ControlService
// and QueryServiceStatus on a named computer. Results are the system's error codes.

#include "platform/types.h"

#include <string>

namespace OCL {

struct ScObject;
using SC_HANDLE = ScObject*;

namespace ServiceState {
inline constexpr DWORD Stopped = 1;
inline constexpr DWORD StartPending = 2;
inline constexpr DWORD StopPending = 3;
inline constexpr DWORD Running = 4;
inline constexpr DWORD ContinuePending = 5;
inline constexpr DWORD PausePending = 6;
inline constexpr DWORD Paused = 7;
} // namespace ServiceState

namespace ServiceControlCode {
inline constexpr DWORD Stop = 1;
inline constexpr DWORD Interrogate = 4;
} // namespace ServiceControlCode

namespace ScAccess {
inline constexpr DWORD ManagerAllAccess = 0xF003F;
inline constexpr DWORD ServiceAllAccess = 0xF01FF;
} // namespace ScAccess

struct ServiceStatus {
    DWORD serviceType = 0x10; // own process
    DWORD currentState = 0;
    DWORD controlsAccepted = 0;
    DWORD win32ExitCode = 0;
    DWORD serviceSpecificExitCode = 0;
    DWORD checkPoint = 0;
    DWORD waitHint = 0;
};

class IServiceControl {
public:
    virtual ~IServiceControl() = default;

    // OpenSCManager: machine "\\NAME", "NAME" or empty for this computer.
    virtual DWORD OpenManager(const std::string& machine, DWORD access, SC_HANDLE* result) = 0;
    // OpenService.
    virtual DWORD Open(SC_HANDLE manager, const std::string& serviceName, DWORD access,
                       SC_HANDLE* result) = 0;
    // StartService without arguments.
    virtual DWORD Start(SC_HANDLE service) = 0;
    // ControlService.
    virtual DWORD Control(SC_HANDLE service, DWORD control, ServiceStatus* status) = 0;
    // QueryServiceStatus.
    virtual DWORD QueryStatus(SC_HANDLE service, ServiceStatus* status) = 0;
    // CloseServiceHandle.
    virtual DWORD Close(SC_HANDLE handle) = 0;
};

} // namespace OCL
