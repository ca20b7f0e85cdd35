// The service port against the system's service manager and a service of our
// own (cwtestsvc) with pending phases of a chosen length.
#include "platform/win32/winservices.h"
#include "win32/wintest.h"

#include <windows.h>

#include <string>

namespace P = OCL;
namespace State = OCL::ServiceState;

namespace {

std::string HelperPath() {
    char path[MAX_PATH] = {};
    GetModuleFileNameA(nullptr, path, MAX_PATH);
    std::string dir(path);
    return dir.substr(0, dir.find_last_of('\\') + 1) + "cwtestsvc.exe";
}

// Removes the service, ending its process if it is stuck.
void Remove(SC_HANDLE manager, const char* name) {
    SC_HANDLE service = OpenServiceA(manager, name, SERVICE_ALL_ACCESS);
    if (!service)
        return;
    SERVICE_STATUS_PROCESS status{};
    DWORD size = 0;
    if (QueryServiceStatusEx(service, SC_STATUS_PROCESS_INFO, reinterpret_cast<BYTE*>(&status), sizeof status,
                             &size) &&
        status.dwProcessId)
        if (HANDLE process = OpenProcess(PROCESS_TERMINATE, FALSE, status.dwProcessId)) {
            TerminateProcess(process, 1);
            CloseHandle(process);
        }
    DeleteService(service);
    CloseServiceHandle(service);
}

bool Install(SC_HANDLE manager, const char* name, int pendingMs) {
    Remove(manager, name);
    const std::string command = "\"" + HelperPath() + "\" " + name + " " + std::to_string(pendingMs);
    SC_HANDLE service = CreateServiceA(manager, name, name, SERVICE_ALL_ACCESS, SERVICE_WIN32_OWN_PROCESS,
                                       SERVICE_DEMAND_START, SERVICE_ERROR_IGNORE, command.c_str(), nullptr,
                                       nullptr, nullptr, nullptr, nullptr);
    return service && CloseServiceHandle(service);
}

// Polls until the service is no longer in state; its last status comes back.
P::ServiceStatus WaitLeaving(P::IServiceControl& sc, P::SC_HANDLE service, P::DWORD state, bool* seen) {
    P::ServiceStatus status;
    *seen = false;
    for (ULONGLONG end = GetTickCount64() + 20000; GetTickCount64() < end; Sleep(50)) {
        if (!CHECK_EQ(sc.QueryStatus(service, &status), 0) || status.currentState != state)
            break;
        *seen = true;
    }
    return status;
}

void Lifecycle(P::IServiceControl& sc, P::SC_HANDLE manager) {
    P::SC_HANDLE service = nullptr;
    CHECK_EQ(sc.Open(manager, "CwWineTestSvc", P::ScAccess::ServiceAllAccess, &service), 0);
    P::ServiceStatus status;
    CHECK_EQ(sc.QueryStatus(service, &status), 0);
    CHECK_EQ(status.currentState, State::Stopped);
    CHECK_EQ(sc.Control(service, P::ServiceControlCode::Stop, &status), P::Err::ServiceNotActive);

    bool seen = false;
    CHECK_EQ(sc.Start(service), 0);
    CHECK_EQ(WaitLeaving(sc, service, State::StartPending, &seen).currentState, State::Running);
    CHECK(seen);
    CHECK_EQ(sc.Start(service), P::Err::ServiceAlreadyRunning);

    CHECK_EQ(sc.Control(service, P::ServiceControlCode::Stop, &status), 0);
    CHECK_EQ(status.currentState, State::StopPending);
    CHECK_EQ(WaitLeaving(sc, service, State::StopPending, &seen).currentState, State::Stopped);
    CHECK(seen);
    CHECK_EQ(sc.Close(service), 0);
}

// A service that never leaves start-pending: every query answers at once. (Windows
// also refuses a stop meanwhile with 1061; Wine passes the stop on.)
void Stuck(P::IServiceControl& sc, P::SC_HANDLE manager) {
    P::SC_HANDLE service = nullptr;
    CHECK_EQ(sc.Open(manager, "CwWineStuckSvc", P::ScAccess::ServiceAllAccess, &service), 0);
    CHECK_EQ(sc.Start(service), 0);
    P::ServiceStatus status;
    for (int tick = 0; tick < 5; ++tick, Sleep(200)) {
        CHECK_EQ(sc.QueryStatus(service, &status), 0);
        CHECK_EQ(status.currentState, State::StartPending);
    }
    sc.Close(service);
}

} // namespace

int main() {
    SC_HANDLE raw = OpenSCManagerA(nullptr, nullptr, SC_MANAGER_ALL_ACCESS);
    if (!CHECK(raw && Install(raw, "CwWineTestSvc", 600) && Install(raw, "CwWineStuckSvc", 600000)))
        return WinTest::Result();

    OCL::Win32::CWinServiceControl sc;
    P::SC_HANDLE manager = nullptr, missing = nullptr;
    CHECK_EQ(sc.OpenManager("", P::ScAccess::ManagerAllAccess, &manager), 0);
    CHECK_EQ(sc.Open(manager, "CwNoSuchService", P::ScAccess::ServiceAllAccess, &missing),
             P::Err::ServiceDoesNotExist);
    CHECK(missing == nullptr);
    Lifecycle(sc, manager);
    Stuck(sc, manager);
    sc.Close(manager);

    Remove(raw, "CwWineTestSvc");
    Remove(raw, "CwWineStuckSvc");
    CloseServiceHandle(raw);
    return WinTest::Result();
}
