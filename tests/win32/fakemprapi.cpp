// A stand-in for the router administration library MPRAPI.DLL: server "\\SRV"
// has three ports, COM2 in a session; "\\DOWN", "\\DENIED" and "\\NORRAS"
// answer what such servers answer.
#include <windows.h>
// After windows.h, which it needs.
#include <mprapi.h>

#include <cstdlib>
#include <cwchar>

#define EXPORT extern "C" __declspec(dllexport)

namespace {

const wchar_t* const kPorts[] = {L"COM1", L"COM2", L"VPN3"};
bool g_connected[] = {false, true, false};

template <typename Record>
Record* Allocate(LPBYTE* buffer, DWORD count = 1) {
    *buffer = static_cast<LPBYTE>(std::calloc(count, sizeof(Record)));
    return reinterpret_cast<Record*>(*buffer);
}

} // namespace

EXPORT DWORD WINAPI MprAdminServerConnect(LPWSTR name, MPR_SERVER_HANDLE* server) {
    *server = reinterpret_cast<MPR_SERVER_HANDLE>(1);
    return !_wcsicmp(name, L"\\\\DOWN")     ? ERROR_BAD_NETPATH
           : !_wcsicmp(name, L"\\\\DENIED") ? ERROR_ACCESS_DENIED
           : !_wcsicmp(name, L"\\\\NORRAS") ? RPC_S_SERVER_UNAVAILABLE
                                            : NO_ERROR;
}

EXPORT VOID WINAPI MprAdminServerDisconnect(MPR_SERVER_HANDLE) {}

EXPORT DWORD WINAPI MprAdminBufferFree(LPVOID buffer) {
    std::free(buffer);
    return NO_ERROR;
}

// Two ports a page, so that paging is walked.
EXPORT DWORD WINAPI MprAdminPortEnum(RAS_SERVER_HANDLE, DWORD, HANDLE, LPBYTE* buffer, DWORD, LPDWORD read,
                                     LPDWORD total, LPDWORD resume) {
    const DWORD first = *resume, count = first == 0 ? 2 : 1;
    RAS_PORT_0* ports = Allocate<RAS_PORT_0>(buffer, count);
    for (DWORD i = 0, n = first; i < count; ++i, ++n) {
        ports[i].hPort = reinterpret_cast<HANDLE>(INT_PTR(n + 1));
        ports[i].hConnection = g_connected[n] ? reinterpret_cast<HANDLE>(INT_PTR(n + 0x100)) : nullptr;
        ports[i].dwPortCondition = g_connected[n] ? RAS_PORT_AUTHENTICATED : RAS_PORT_LISTENING;
        wcscpy(ports[i].wszPortName, kPorts[n]);
    }
    *read = count;
    *total = 3;
    *resume = first + count;
    return *resume < 3 ? ERROR_MORE_DATA : NO_ERROR;
}

EXPORT DWORD WINAPI MprAdminPortGetInfo(RAS_SERVER_HANDLE, DWORD, HANDLE, LPBYTE* buffer) {
    // 28800 bps, hardware failed, 600 bytes sent after compression saved 40 %, one CRC error.
    *Allocate<RAS_PORT_1>(buffer) = {
        nullptr, nullptr, RAS_HARDWARE_FAILURE, 28800, 600, 0, 0, 0, 1, 0, 0, 0, 0, 0, 0, 40};
    return NO_ERROR;
}

EXPORT DWORD WINAPI MprAdminPortDisconnect(RAS_SERVER_HANDLE, HANDLE port) {
    g_connected[INT_PTR(port) - 1] = false;
    return NO_ERROR;
}

// DOM\alice on WS01 for an hour, from 192.168.1.1, without IPX.
EXPORT DWORD WINAPI MprAdminConnectionGetInfo(RAS_SERVER_HANDLE, DWORD level, HANDLE, LPBYTE* buffer) {
    if (level == 0)
        *Allocate<RAS_CONNECTION_0>(buffer) = {nullptr,  nullptr, 3600,   ROUTER_IF_TYPE_CLIENT, 0, L"",
                                               L"alice", L"DOM",  L"WS01"};
    else
        Allocate<RAS_CONNECTION_1>(buffer)->PppInfo = {{}, {0, L"", L"192.168.1.1"}, {731, L""}, {}};
    return NO_ERROR;
}
