// A stand-in for RASSAPI.DLL with the nine entry points the console binds by
// name: server "\\SRV" has one port in a session, "\\DOWN" cannot be reached.
#include "platform/rassapi.h"

#include <cstring>
#include <string_view>

#define EXPORT extern "C" __declspec(dllexport)

using namespace OCL;

namespace {

RAS_PORT_0 g_port;

bool Down(const WCHAR* server) {
    return std::u16string_view(server) == u"\\\\DOWN";
}

} // namespace

EXPORT DWORD OCL_WINAPI RasAdminPortEnum(const WCHAR* server, RAS_PORT_0** ports, WORD* count) {
    if (Down(server))
        return Err::BadNetPath;
    std::memcpy(g_port.wszPortName, u"COM1", sizeof u"COM1");
    std::memcpy(g_port.wszUserName, u"alice", sizeof u"alice");
    std::memcpy(g_port.wszLogonDomain, u"DOM", sizeof u"DOM");
    g_port.dwStartSessionTime = 946684800;
    *ports = &g_port;
    *count = 1;
    return 0;
}
EXPORT DWORD OCL_WINAPI RasAdminFreeBuffer(void*) {
    return 0;
}
EXPORT DWORD OCL_WINAPI RasAdminGetErrorString(UINT, WCHAR*, DWORD) {
    return 0;
}
EXPORT DWORD OCL_WINAPI RasAdminPortGetInfo(const WCHAR* server, const WCHAR*, RAS_PORT_1*,
                                            RAS_PORT_STATISTICS*, RAS_PARAMETERS**) {
    return Down(server) ? Err::BadNetPath : 0;
}
EXPORT DWORD OCL_WINAPI RasAdminPortDisconnect(const WCHAR* server, const WCHAR*) {
    return Down(server) ? Err::BadNetPath : 0;
}
EXPORT DWORD OCL_WINAPI RasAdminPortClearStatistics(const WCHAR* server, const WCHAR*) {
    return Down(server) ? Err::BadNetPath : 0;
}
EXPORT DWORD OCL_WINAPI RasAdminUserGetInfo(const WCHAR* server, const WCHAR*, RAS_USER_0*) {
    return Down(server) ? Err::BadNetPath : 0;
}
EXPORT DWORD OCL_WINAPI RasAdminUserSetInfo(const WCHAR* server, const WCHAR*, const RAS_USER_0*) {
    return Down(server) ? Err::BadNetPath : 0;
}
EXPORT DWORD OCL_WINAPI RasAdminServerGetInfo(const WCHAR* server, RAS_SERVER_0*) {
    return Down(server) ? Err::BadNetPath : 0;
}
