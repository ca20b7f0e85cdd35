// A stand-in for RASSAPI.DLL with the nine entry points the console binds by
// name: every server has one port, except "\\DOWN", which cannot be reached.
#include "platform/rassapi.h"

#include <string_view>

using namespace OCL;

#define ANSWER(name, ...)                                                                                    \
    extern "C" __declspec(dllexport) DWORD OCL_WINAPI name(const WCHAR* server, __VA_ARGS__) {               \
        return std::u16string_view(server) == u"\\\\DOWN" ? Err::BadNetPath : 0;                             \
    }

ANSWER(RasAdminPortGetInfo, const WCHAR*, RAS_PORT_1*, RAS_PORT_STATISTICS*, RAS_PARAMETERS**)
ANSWER(RasAdminPortDisconnect, const WCHAR*)
ANSWER(RasAdminPortClearStatistics, const WCHAR*)
ANSWER(RasAdminUserGetInfo, const WCHAR*, RAS_USER_0*)
ANSWER(RasAdminUserSetInfo, const WCHAR*, const RAS_USER_0*)
ANSWER(RasAdminServerGetInfo, RAS_SERVER_0*)

extern "C" __declspec(dllexport) DWORD OCL_WINAPI RasAdminGetErrorString(UINT, WCHAR*, DWORD) {
    return 0;
}

extern "C" __declspec(dllexport) DWORD OCL_WINAPI RasAdminFreeBuffer(void*) {
    return 0;
}

extern "C" __declspec(dllexport) DWORD OCL_WINAPI
    RasAdminPortEnum(const WCHAR* server, RAS_PORT_0** ports, WORD* count) {
    static RAS_PORT_0 port;
    *ports = &port;
    *count = 1;
    return std::u16string_view(server) == u"\\\\DOWN" ? Err::BadNetPath : 0;
}
