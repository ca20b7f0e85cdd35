// _CWADMIN: the console's companion library for Routing and RAS servers. Plain C
// exports over the router backend of this build.

#include "platform/routingras.h"
#include "rrasadmin/exports.h"
#include "rrasadmin/portviewfile.h"
#include "rrasadmin/routerbackend.h"

#include <algorithm>
#include <cstring>
#include <type_traits>
#include <vector>

using namespace OCL;
using OCL::Rras::RouterBackend;
using OCL::Rras::RouterPort;

namespace {

// The last snapshot of the calling thread: fetchers of different servers run at
// once, and each reads back only the table it refreshed itself.
thread_local std::vector<RouterPort> t_ports;

void CopyCut(char* out, std::size_t size, const std::string& text) {
    const std::size_t n = std::min(text.size(), size - 1);
    std::memcpy(out, text.data(), n);
    out[n] = 0;
}

} // namespace

CW_EXPORT BOOL RRAS_Init() {
    return RouterBackend().Usable() ? 1 : 0;
}

CW_EXPORT BOOL RRAS_GetNumberOfPorts(const char* server, DWORD* ports, DWORD* busy) {
    if (!server || !ports || !busy)
        return 0;
    std::vector<RouterPort> table;
    if (RouterBackend().Ports(server, &table) != Err::Success)
        return 0;
    *ports = DWORD(table.size());
    *busy = DWORD(std::count_if(table.begin(), table.end(), [](const RouterPort& p) { return p.connected; }));
    return 1;
}

CW_EXPORT BOOL RRAS_UpdatePortData(const char* server, DWORD* entries) {
    std::vector<RouterPort> table;
    const bool ok = server && RouterBackend().Ports(server, &table) == Err::Success;
    // A failed refresh leaves nothing stale to be read back.
    t_ports = std::move(table);
    if (entries)
        *entries = DWORD(t_ports.size());
    return ok ? 1 : 0;
}

CW_EXPORT BOOL RRAS_GetPortData(DWORD index, char* portName, char* user, DWORD* address, DWORD* startTime) {
    if (index >= t_ports.size())
        return 0;
    const RouterPort& port = t_ports[index];
    if (portName)
        CopyCut(portName, RrasLen::PortName, port.name);
    if (user)
        CopyCut(user, RrasLen::User, port.connected ? port.user : std::string());
    if (address)
        *address = port.connected ? port.address : 0;
    if (startTime)
        *startTime = port.connected ? DWORD(port.start) : 0;
    return 1;
}

CW_EXPORT DWORD RRAS_CreatePortViewData(const char* server, const char* port, const char* path) {
    if (!server || !port || !path || !*path)
        return Err::InvalidParameter;
    RouterPort detail;
    if (const DWORD result = RouterBackend().Port(server, port, &detail))
        return result;
    if (const DWORD result = Rras::WritePortView(path, detail))
        return result;
    return detail.connected ? Err::Success : RrasPortViewOk;
}

CW_EXPORT DWORD RRAS_DisconnectPort(const char* server, const char* port) {
    if (!server || !port)
        return Err::InvalidParameter;
    return RouterBackend().Disconnect(server, port);
}

// The entry points must keep the types the console binds them with.
static_assert(std::is_same_v<decltype(&RRAS_Init), PFN_RRAS_Init>);
static_assert(std::is_same_v<decltype(&RRAS_GetNumberOfPorts), PFN_RRAS_GetNumberOfPorts>);
static_assert(std::is_same_v<decltype(&RRAS_UpdatePortData), PFN_RRAS_UpdatePortData>);
static_assert(std::is_same_v<decltype(&RRAS_GetPortData), PFN_RRAS_GetPortData>);
static_assert(std::is_same_v<decltype(&RRAS_CreatePortViewData), PFN_RRAS_CreatePortViewData>);
static_assert(std::is_same_v<decltype(&RRAS_DisconnectPort), PFN_RRAS_DisconnectPort>);
