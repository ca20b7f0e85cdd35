// The service port against the system's service manager and a service of our
// own (cwtestsvc) with pending phases of a chosen length.
#include "platform/win32/winservices.h"
#include "win32/wintest.h"

#include <windows.h>

#include <string>

namespace P = OCL;
namespace State = OCL::ServiceState;

namespace {

// Installs the service afresh, or (pendingMs < 0) ends and removes it.
bool Install(SC_HANDLE manager, const char* name, int pendingMs) {
    if (SC_HANDLE old = OpenServiceA(manager, name, SERVICE_ALL_ACCESS)) {
        SERVICE_STATUS_PROCESS status{};
        DWORD size = 0;
        QueryServiceStatusEx(old, SC_STATUS_PROCESS_INFO, reinterpret_cast<BYTE*>(&status), sizeof status,
                             &size);
        if (HANDLE process =
                status.dwProcessId ? OpenProcess(PROCESS_TERMINATE, FALSE, status.dwProcessId) : nullptr)
            TerminateProcess(process, 1) && CloseHandle(process);
        DeleteService(old) && CloseServiceHandle(old);
    }
    char path[MAX_PATH] = {};
    GetModuleFileNameA(nullptr, path, MAX_PATH);
    std::string command(path);
    command = "\"" + command.substr(0, command.rfind('\\')) + "\\cwtestsvc.exe\" " + name + " " +
              std::to_string(pendingMs);
    SC_HANDLE service =
        pendingMs < 0 ? nullptr
                      : CreateServiceA(manager, name, name, SERVICE_ALL_ACCESS, SERVICE_WIN32_OWN_PROCESS,
                                       SERVICE_DEMAND_START, SERVICE_ERROR_IGNORE, command.c_str(), nullptr,
                                       nullptr, nullptr, nullptr, nullptr);
    return service && CloseServiceHandle(service);
}

// Polls while the service stays in state; the status it left it for comes back.
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

} // namespace

int main() {
    SC_HANDLE raw = OpenSCManagerA(nullptr, nullptr, SC_MANAGER_ALL_ACCESS);
    if (!CHECK(raw && Install(raw, "CwWineTestSvc", 600) && Install(raw, "CwWineStuckSvc", 600000)))
        return WinTest::Result();
    P::Win32::CWinServiceControl sc;
    P::SC_HANDLE manager = nullptr, service = nullptr, stuck = nullptr;
    P::ServiceStatus status;
    bool seen = false;
    CHECK_EQ(sc.OpenManager("", P::ScAccess::ManagerAllAccess, &manager), 0);
    CHECK(sc.Open(manager, "CwNoSuchService", P::ScAccess::ServiceAllAccess, &service) ==
              P::Err::ServiceDoesNotExist &&
          !service);

    CHECK_EQ(sc.Open(manager, "CwWineTestSvc", P::ScAccess::ServiceAllAccess, &service), 0);
    CHECK(sc.QueryStatus(service, &status) == 0 && status.currentState == State::Stopped);
    CHECK_EQ(sc.Control(service, P::ServiceControlCode::Stop, &status), P::Err::ServiceNotActive);
    CHECK_EQ(sc.Start(service), 0);
    CHECK(WaitLeaving(sc, service, State::StartPending, &seen).currentState == State::Running && seen);
    CHECK_EQ(sc.Start(service), P::Err::ServiceAlreadyRunning);
    CHECK(sc.Control(service, P::ServiceControlCode::Stop, &status) == 0 &&
          status.currentState == State::StopPending);
    CHECK(WaitLeaving(sc, service, State::StopPending, &seen).currentState == State::Stopped && seen);
    CHECK_EQ(sc.Close(service), 0);

    // A service that never leaves start-pending: every query answers at once.
    // (Windows also refuses a stop meanwhile with 1061; Wine passes it on.)
    CHECK_EQ(sc.Open(manager, "CwWineStuckSvc", P::ScAccess::ServiceAllAccess, &stuck), 0);
    CHECK_EQ(sc.Start(stuck), 0);
    for (int tick = 0; tick < 5; ++tick, Sleep(200))
        CHECK(sc.QueryStatus(stuck, &status) == 0 && status.currentState == State::StartPending);
    sc.Close(stuck);
    sc.Close(manager);
    Install(raw, "CwWineTestSvc", -1);
    Install(raw, "CwWineStuckSvc", -1);
    CloseServiceHandle(raw);
    return WinTest::Result();
}
