// A tiny service for the service port's tests: "cwtestsvc NAME MS" stays MS
// milliseconds in start-pending and in stop-pending, reporting progress.
#include <windows.h>

#include <cstdlib>

namespace {

SERVICE_STATUS_HANDLE g_handle;
SERVICE_STATUS g_status{SERVICE_WIN32_OWN_PROCESS, 0, SERVICE_ACCEPT_STOP, 0, 0, 0, 1000};
HANDLE g_stop = CreateEventA(nullptr, TRUE, FALSE, nullptr);
char* g_name;
DWORD g_pendingMs;

void Report(DWORD state) {
    g_status.dwCurrentState = state;
    ++g_status.dwCheckPoint;
    SetServiceStatus(g_handle, &g_status);
}

// A pending phase: progress every 100 ms until it is over or, starting, a stop comes.
void Pending(DWORD state) {
    for (ULONGLONG end = GetTickCount64() + g_pendingMs; GetTickCount64() < end; Report(state))
        if (WaitForSingleObject(state == SERVICE_START_PENDING ? g_stop : GetCurrentProcess(), 100) ==
            WAIT_OBJECT_0)
            return;
}

DWORD WINAPI Handler(DWORD control, DWORD, void*, void*) {
    if (control != SERVICE_CONTROL_STOP)
        return ERROR_CALL_NOT_IMPLEMENTED;
    Report(SERVICE_STOP_PENDING);
    return SetEvent(g_stop) ? NO_ERROR : GetLastError();
}

void WINAPI ServiceMain(DWORD, char**) {
    g_handle = RegisterServiceCtrlHandlerExA(g_name, Handler, nullptr);
    Pending(SERVICE_START_PENDING);
    Report(SERVICE_RUNNING);
    WaitForSingleObject(g_stop, INFINITE);
    Pending(SERVICE_STOP_PENDING);
    Report(SERVICE_STOPPED);
}

} // namespace

int main(int argc, char** argv) {
    g_name = argc == 3 ? argv[1] : nullptr;
    g_pendingMs = argc == 3 ? DWORD(std::strtoul(argv[2], nullptr, 10)) : 0;
    SERVICE_TABLE_ENTRYA table[] = {{g_name, ServiceMain}, {nullptr, nullptr}};
    return g_name && StartServiceCtrlDispatcherA(table) ? 0 : 1;
}
