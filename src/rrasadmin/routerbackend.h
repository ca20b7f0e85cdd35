#pragma once
// What _CWADMIN needs of a router administration interface. The site backend
// answers from the site's port tables; a Windows backend over the router
// administration library implements the same calls beside it, chosen in CMake.

#include "platform/types.h"

#include <cstdint>
#include <string>
#include <vector>

namespace OCL::Rras {

// Line conditions as the port detail view reads them from "PortCond".
namespace LineCond {
inline constexpr DWORD NonOperational = 0;
inline constexpr DWORD Disconnected = 1;
inline constexpr DWORD CallingBack = 2;
inline constexpr DWORD Listening = 3;
inline constexpr DWORD Authenticating = 4;
inline constexpr DWORD Authenticated = 5;
inline constexpr DWORD Initializing = 6;
} // namespace LineCond

// Hardware conditions as "HWCond" carries them.
namespace HwCond {
inline constexpr DWORD Operational = 1;
inline constexpr DWORD Failure = 3;
} // namespace HwCond

// One port of a router and its session, if any. Texts are ANSI.
struct RouterPort {
    std::string name;
    std::string deviceName;
    std::string deviceType;
    std::string mediaName;
    DWORD lineSpeed = 0; // bits per second
    DWORD lineCondition = LineCond::Listening;
    DWORD hardwareCondition = HwCond::Operational;

    bool connected = false;
    std::string user;     // "DOMAIN\user"
    std::string computer; // the caller's NetBIOS name
    std::string ip;       // dotted
    std::string ipx;
    DWORD address = 0;      // the IP address packed most significant byte first
    std::int64_t start = 0; // seconds since 1970

    DWORD alignErr = 0, bufOverErr = 0, crcErr = 0, framingErr = 0, hwOverErr = 0, toErr = 0;
    DWORD bytesXmit = 0, bytesXcomp = 0, bytesXUncomp = 0, framesXmit = 0;
    DWORD bytesRcved = 0, bytesRcomp = 0, bytesRUncomp = 0, framesRcved = 0;
};

// Server names may come as "\\NAME" or "NAME". Results are Windows error codes.
// Implementations are called from several threads at once.
class IRouterBackend {
public:
    virtual ~IRouterBackend() = default;

    // Whether the router administration interface can be used on this computer.
    virtual bool Usable() = 0;
    // All ports of the server in its order.
    virtual DWORD Ports(const std::string& server, std::vector<RouterPort>* ports) = 0;
    // One port; DevNotExist when the server has no such port.
    virtual DWORD Port(const std::string& server, const std::string& port, RouterPort* result) = 0;
    // Ends the port's session; Success for an idle port.
    virtual DWORD Disconnect(const std::string& server, const std::string& port) = 0;
};

// The backend this build of _CWADMIN works with.
IRouterBackend& RouterBackend();

} // namespace OCL::Rras
