// A stand-in for the router administration library MPRAPI.DLL: server "\\SRV"
// has three ports, one in a session; "\\DOWN", "\\DENIED" and "\\NORRAS" answer
// what such servers answer.
#include <windows.h>
// After windows.h, which it needs.
#include <mprapi.h>

#include <cstdlib>
#include <cwchar>

#define EXPORT extern "C" __declspec(dllexport)

namespace {

struct Port {
    const wchar_t* name;
    bool connected;
};
Port g_ports[] = {{L"COM1", false}, {L"COM2", true}, {L"VPN3", false}};
constexpr DWORD kPorts = 3;

template <typename Record>
Record* Allocate(LPBYTE* buffer, DWORD count = 1) {
    auto* records = static_cast<Record*>(std::calloc(count, sizeof(Record)));
    *buffer = reinterpret_cast<LPBYTE>(records);
    return records;
}

} // namespace

EXPORT DWORD WINAPI MprAdminServerConnect(LPWSTR name, MPR_SERVER_HANDLE* server) {
    const struct {
        const wchar_t* name;
        DWORD rc;
    } refusals[] = {{L"\\\\DOWN", ERROR_BAD_NETPATH},
                    {L"\\\\DENIED", ERROR_ACCESS_DENIED},
                    {L"\\\\NORRAS", RPC_S_SERVER_UNAVAILABLE}};
    for (const auto& refusal : refusals)
        if (_wcsicmp(name, refusal.name) == 0)
            return refusal.rc;
    *server = reinterpret_cast<MPR_SERVER_HANDLE>(1);
    return NO_ERROR;
}

EXPORT VOID WINAPI MprAdminServerDisconnect(MPR_SERVER_HANDLE) {}

EXPORT DWORD WINAPI MprAdminBufferFree(LPVOID buffer) {
    std::free(buffer);
    return NO_ERROR;
}

// Two ports a page, so the paging is walked.
EXPORT DWORD WINAPI MprAdminPortEnum(RAS_SERVER_HANDLE, DWORD, HANDLE, LPBYTE* buffer, DWORD, LPDWORD read,
                                     LPDWORD total, LPDWORD resume) {
    const DWORD first = *resume, count = first + 2 < kPorts ? 2 : kPorts - first;
    RAS_PORT_0* ports = Allocate<RAS_PORT_0>(buffer, count);
    for (DWORD i = 0; i < count; ++i) {
        const Port& port = g_ports[first + i];
        ports[i].hPort = reinterpret_cast<HANDLE>(INT_PTR(first + i + 1));
        ports[i].hConnection =
            port.connected ? reinterpret_cast<HANDLE>(INT_PTR(first + i + 0x100)) : nullptr;
        ports[i].dwPortCondition = port.connected ? RAS_PORT_AUTHENTICATED : RAS_PORT_LISTENING;
        wcscpy(ports[i].wszPortName, port.name);
        wcscpy(ports[i].wszDeviceName, L"Standard 28800 bps Modem");
        wcscpy(ports[i].wszDeviceType, L"modem");
        wcscpy(ports[i].wszMediaName, L"rastapi");
    }
    *read = count;
    *total = kPorts;
    *resume = first + count;
    return *resume < kPorts ? ERROR_MORE_DATA : NO_ERROR;
}

EXPORT DWORD WINAPI MprAdminPortGetInfo(RAS_SERVER_HANDLE, DWORD, HANDLE port, LPBYTE* buffer) {
    RAS_PORT_1* info = Allocate<RAS_PORT_1>(buffer);
    info->hPort = port;
    info->dwLineSpeed = 28800;
    info->dwBytesXmited = 600;
    info->dwCompressionRatioOut = 40;
    info->dwBytesRcved = 1000;
    info->dwCrcErr = 1;
    info->dwHardwareCondition = RAS_HARDWARE_FAILURE;
    return NO_ERROR;
}

EXPORT DWORD WINAPI MprAdminPortDisconnect(RAS_SERVER_HANDLE, HANDLE port) {
    g_ports[INT_PTR(port) - 1].connected = false;
    return NO_ERROR;
}

EXPORT DWORD WINAPI MprAdminConnectionGetInfo(RAS_SERVER_HANDLE, DWORD level, HANDLE, LPBYTE* buffer) {
    if (level == 0) {
        RAS_CONNECTION_0* info = Allocate<RAS_CONNECTION_0>(buffer);
        info->dwConnectDuration = 3600;
        wcscpy(info->wszUserName, L"alice");
        wcscpy(info->wszLogonDomain, L"DOM");
        wcscpy(info->wszRemoteComputer, L"WS01");
        return NO_ERROR;
    }
    RAS_CONNECTION_1* info = Allocate<RAS_CONNECTION_1>(buffer);
    wcscpy(info->PppInfo.ip.wszRemoteAddress, L"192.168.1.1");
    info->PppInfo.ipx.dwError = 731; // the protocol is not configured
    return NO_ERROR;
}
