// A tiny service for the service port's tests: "cwtestsvc NAME MS" stays MS
// milliseconds in start-pending and in stop-pending, reporting progress.
#include <windows.h>

#include <cstdlib>

namespace {

SERVICE_STATUS_HANDLE g_handle;
SERVICE_STATUS g_status{SERVICE_WIN32_OWN_PROCESS, SERVICE_START_PENDING, SERVICE_ACCEPT_STOP, 0, 0, 0, 1000};
HANDLE g_stop;
DWORD g_pendingMs;
char* g_name;

void Report(DWORD state) {
    g_status.dwCurrentState = state;
    g_status.dwCheckPoint =
        state == SERVICE_RUNNING || state == SERVICE_STOPPED ? 0 : g_status.dwCheckPoint + 1;
    SetServiceStatus(g_handle, &g_status);
}

// A pending phase: progress every 100 ms until it is over or a stop comes.
void Pending(DWORD state) {
    for (ULONGLONG end = GetTickCount64() + g_pendingMs; GetTickCount64() < end;) {
        Report(state);
        if (state == SERVICE_START_PENDING && WaitForSingleObject(g_stop, 100) == WAIT_OBJECT_0)
            return;
        if (state == SERVICE_STOP_PENDING)
            Sleep(100);
    }
}

DWORD WINAPI Handler(DWORD control, DWORD, void*, void*) {
    if (control != SERVICE_CONTROL_STOP)
        return ERROR_CALL_NOT_IMPLEMENTED;
    Report(SERVICE_STOP_PENDING);
    SetEvent(g_stop);
    return NO_ERROR;
}

void WINAPI ServiceMain(DWORD, char**) {
    g_handle = RegisterServiceCtrlHandlerExA(g_name, Handler, nullptr);
    g_stop = CreateEventA(nullptr, TRUE, FALSE, nullptr);
    Pending(SERVICE_START_PENDING);
    Report(SERVICE_RUNNING);
    WaitForSingleObject(g_stop, INFINITE);
    Pending(SERVICE_STOP_PENDING);
    Report(SERVICE_STOPPED);
}

} // namespace

int main(int argc, char** argv) {
    if (argc < 3)
        return 2;
    g_name = argv[1];
    g_pendingMs = DWORD(std::strtoul(argv[2], nullptr, 10));
    SERVICE_TABLE_ENTRYA table[] = {{g_name, ServiceMain}, {nullptr, nullptr}};
    return StartServiceCtrlDispatcherA(table) ? 0 : 1;
}
