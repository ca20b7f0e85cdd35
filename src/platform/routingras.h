#pragma once
// The entry points of _CWADMIN, the console's companion library for Routing and
// RAS servers. Server names are ANSI, in the form "\\NAME" unless noted.

#include "platform/types.h"

namespace OCL {

namespace RrasLen {
inline constexpr int PortName = 60; // bytes, terminator included
inline constexpr int User = 80;
} // namespace RrasLen

// RRAS_CreatePortViewData also reports success with this value.
inline constexpr DWORD RrasPortViewOk = 666;

extern "C" {
// Non-zero when the router administration interface is usable.
using PFN_RRAS_Init = BOOL (*)();
// Number of ports and of ports in use on the server; non-zero on success.
using PFN_RRAS_GetNumberOfPorts = BOOL (*)(const char* server, DWORD* ports, DWORD* busy);
// Refreshes the library's port table for the server; *entries is its size.
using PFN_RRAS_UpdatePortData = BOOL (*)(const char* server, DWORD* entries);
// Entry index of the last refreshed table: port name (60 bytes), "DOMAIN\user"
// (80 bytes, empty when idle), the client's IPv4 address packed most significant
// byte first, and the session start (seconds since 1970, 0 when idle).
using PFN_RRAS_GetPortData = BOOL (*)(DWORD index, char* portName, char* user, DWORD* address,
                                      DWORD* startTime);
// Writes the port's details as section "PS" of the profile file at path.
// 0 or 666 on success, any other value is an error code.
using PFN_RRAS_CreatePortViewData = DWORD (*)(const char* server, const char* port, const char* path);
// Disconnects the port's session; server may be given with or without "\\".
using PFN_RRAS_DisconnectPort = DWORD (*)(const char* server, const char* port);
}

} // namespace OCL
