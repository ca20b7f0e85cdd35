#include "platform/win32/winservices.h"

#include "platform/win32/wintext.h"

#include <windows.h>

namespace OCL::Win32 {
namespace {

::SC_HANDLE ToSystem(SC_HANDLE handle) {
    return reinterpret_cast<::SC_HANDLE>(handle);
}

DWORD Opened(::SC_HANDLE handle, SC_HANDLE* result) {
    *result = reinterpret_cast<SC_HANDLE>(handle);
    return handle ? DWORD(ERROR_SUCCESS) : DWORD(::GetLastError());
}

void Copy(const SERVICE_STATUS& from, ServiceStatus* to) {
    to->serviceType = from.dwServiceType;
    to->currentState = from.dwCurrentState;
    to->controlsAccepted = from.dwControlsAccepted;
    to->win32ExitCode = from.dwWin32ExitCode;
    to->serviceSpecificExitCode = from.dwServiceSpecificExitCode;
    to->checkPoint = from.dwCheckPoint;
    to->waitHint = from.dwWaitHint;
}

DWORD Result(BOOL ok) {
    return ok ? DWORD(ERROR_SUCCESS) : DWORD(::GetLastError());
}

} // namespace

DWORD CWinServiceControl::OpenManager(const std::string& machine, DWORD access, SC_HANDLE* result) {
    if (!result)
        return ERROR_INVALID_PARAMETER;
    const std::string unc = MachineUnc(machine);
    return Opened(::OpenSCManagerA(unc.empty() ? nullptr : unc.c_str(), nullptr, access), result);
}

DWORD CWinServiceControl::Open(SC_HANDLE manager, const std::string& serviceName, DWORD access,
                               SC_HANDLE* result) {
    if (!result)
        return ERROR_INVALID_PARAMETER;
    return Opened(::OpenServiceA(ToSystem(manager), serviceName.c_str(), access), result);
}

DWORD CWinServiceControl::Start(SC_HANDLE service) {
    return Result(::StartServiceA(ToSystem(service), 0, nullptr));
}

DWORD CWinServiceControl::Control(SC_HANDLE service, DWORD control, ServiceStatus* status) {
    SERVICE_STATUS system{};
    const DWORD rc = Result(::ControlService(ToSystem(service), control, &system));
    // The system fills the status also when the service refuses the control.
    if (status && (rc == ERROR_SUCCESS || rc == ERROR_INVALID_SERVICE_CONTROL ||
                   rc == ERROR_SERVICE_CANNOT_ACCEPT_CTRL || rc == ERROR_SERVICE_NOT_ACTIVE))
        Copy(system, status);
    return rc;
}

DWORD CWinServiceControl::QueryStatus(SC_HANDLE service, ServiceStatus* status) {
    SERVICE_STATUS system{};
    const DWORD rc = Result(::QueryServiceStatus(ToSystem(service), &system));
    if (status && rc == ERROR_SUCCESS)
        Copy(system, status);
    return rc;
}

DWORD CWinServiceControl::Close(SC_HANDLE handle) {
    return Result(::CloseServiceHandle(ToSystem(handle)));
}

} // namespace OCL::Win32
