#pragma once
// The RAS administration library's records and entry points, bound at run time
// by name (RASSAPI.DLL). Layouts follow the system's: wide strings are UTF-16.

#include "platform/types.h"

namespace OCL {

#if defined(_WIN32) && !defined(_WIN64)
#define OCL_WINAPI __stdcall
#else
#define OCL_WINAPI
#endif

namespace RasLen {
inline constexpr int PortName = 17;
inline constexpr int DeviceType = 13;
inline constexpr int DeviceName = 128;
inline constexpr int MediaName = 16;
inline constexpr int PhoneNumber = 128;
inline constexpr int ParamKey = 32;
inline constexpr int UserName = 256;   // UNLEN
inline constexpr int NetbiosName = 16; // NETBIOS_NAME_LEN
inline constexpr int DomainName = 15;  // DNLEN
inline constexpr int IpAddress = 15;
inline constexpr int IpxAddress = 22;
inline constexpr int AtAddress = 32;
} // namespace RasLen

// Flags of a port's session.
namespace RasPortFlags {
inline constexpr DWORD MessengerPresent = 0x1;
inline constexpr DWORD PppClient = 0x4;
inline constexpr DWORD Multilinked = 0x10;
} // namespace RasPortFlags

// Line and hardware conditions of RAS_PORT_1.
namespace RasLine {
inline constexpr DWORD NonOperational = 1;
inline constexpr DWORD Disconnected = 2;
inline constexpr DWORD CallingBack = 3;
inline constexpr DWORD Listening = 4;
inline constexpr DWORD Authenticating = 5;
inline constexpr DWORD Authenticated = 6;
inline constexpr DWORD Initializing = 7;
} // namespace RasLine

namespace RasHardware {
inline constexpr DWORD Operational = 1;
inline constexpr DWORD NotResponding = 2;
inline constexpr DWORD HardwareFailure = 3;
} // namespace RasHardware

// RAS_USER_0 privilege bits.
namespace RasPriv {
inline constexpr BYTE NoCallback = 0x01;
inline constexpr BYTE AdminSetCallback = 0x02;
inline constexpr BYTE CallerSetCallback = 0x04;
inline constexpr BYTE DialinPrivilege = 0x08;
} // namespace RasPriv

struct RAS_PORT_0 {
    WCHAR wszPortName[RasLen::PortName];
    WCHAR wszDeviceType[RasLen::DeviceType];
    WCHAR wszDeviceName[RasLen::DeviceName];
    WCHAR wszMediaName[RasLen::MediaName];
    DWORD reserved;
    DWORD Flags;
    WCHAR wszUserName[RasLen::UserName + 1];
    WCHAR wszComputer[RasLen::NetbiosName];
    DWORD dwStartSessionTime; // seconds since 1970; 0 when idle
    WCHAR wszLogonDomain[RasLen::DomainName + 1];
    BOOL fAdvancedServer;
};

struct RAS_PPP_NBFCP_RESULT {
    DWORD dwError;
    DWORD dwNetBiosError;
    char szName[RasLen::NetbiosName + 1];
    WCHAR wszWksta[RasLen::NetbiosName + 1];
};

struct RAS_PPP_IPCP_RESULT {
    DWORD dwError;
    WCHAR wszAddress[RasLen::IpAddress + 1];
};

struct RAS_PPP_IPXCP_RESULT {
    DWORD dwError;
    WCHAR wszAddress[RasLen::IpxAddress + 1];
};

struct RAS_PPP_ATCP_RESULT {
    DWORD dwError;
    WCHAR wszAddress[RasLen::AtAddress + 1];
};

struct RAS_PPP_PROJECTION_RESULT {
    RAS_PPP_NBFCP_RESULT nbf;
    RAS_PPP_IPCP_RESULT ip;
    RAS_PPP_IPXCP_RESULT ipx;
    RAS_PPP_ATCP_RESULT at;
};

struct RAS_PORT_1 {
    RAS_PORT_0 rasport0;
    DWORD LineCondition;
    DWORD HardwareCondition;
    DWORD LineSpeed; // bits per second
    WORD NumStatistics;
    WORD NumMediaParms;
    DWORD SizeMediaParms;
    RAS_PPP_PROJECTION_RESULT ProjResult;
};

struct RAS_PORT_STATISTICS {
    DWORD dwBytesXmited;
    DWORD dwBytesRcved;
    DWORD dwFramesXmited;
    DWORD dwFramesRcved;
    DWORD dwCrcErr;
    DWORD dwTimeoutErr;
    DWORD dwAlignmentErr;
    DWORD dwHardwareOverrunErr;
    DWORD dwFramingErr;
    DWORD dwBufferOverrunErr;
    DWORD dwBytesXmitedUncompressed;
    DWORD dwBytesRcvedUncompressed;
    DWORD dwBytesXmitedCompressed;
    DWORD dwBytesRcvedCompressed;
    DWORD dwPortBytesXmited;
    DWORD dwPortBytesRcved;
    DWORD dwPortFramesXmited;
    DWORD dwPortFramesRcved;
    DWORD dwPortCrcErr;
    DWORD dwPortTimeoutErr;
    DWORD dwPortAlignmentErr;
    DWORD dwPortHardwareOverrunErr;
    DWORD dwPortFramingErr;
    DWORD dwPortBufferOverrunErr;
    DWORD dwPortBytesXmitedUncompressed;
    DWORD dwPortBytesRcvedUncompressed;
    DWORD dwPortBytesXmitedCompressed;
    DWORD dwPortBytesRcvedCompressed;
};

enum RAS_PARAMS_FORMAT { ParamNumber = 0, ParamString = 1 };

union RAS_PARAMS_VALUE {
    DWORD Number;
    struct {
        DWORD Length;
        char* Data;
    } String;
};

struct RAS_PARAMETERS {
    char P_Key[RasLen::ParamKey];
    RAS_PARAMS_FORMAT P_Type;
    BYTE P_Attributes;
    RAS_PARAMS_VALUE P_Value;
};

struct RAS_USER_0 {
    BYTE bfPrivilege;
    WCHAR szPhoneNumber[RasLen::PhoneNumber + 1];
};

struct RAS_SERVER_0 {
    WORD TotalPorts;
    WORD PortsInUse;
    DWORD RasVersion;
};

extern "C" {
using PFN_RasAdminPortEnum = DWORD(OCL_WINAPI*)(const WCHAR* server, RAS_PORT_0** ports, WORD* entriesRead);
using PFN_RasAdminFreeBuffer = DWORD(OCL_WINAPI*)(void* buffer);
using PFN_RasAdminGetErrorString = DWORD(OCL_WINAPI*)(UINT error, WCHAR* buffer, DWORD bufferSize);
using PFN_RasAdminPortGetInfo = DWORD(OCL_WINAPI*)(const WCHAR* server, const WCHAR* port, RAS_PORT_1* port1,
                                                   RAS_PORT_STATISTICS* stats, RAS_PARAMETERS** params);
using PFN_RasAdminPortDisconnect = DWORD(OCL_WINAPI*)(const WCHAR* server, const WCHAR* port);
using PFN_RasAdminPortClearStatistics = DWORD(OCL_WINAPI*)(const WCHAR* server, const WCHAR* port);
using PFN_RasAdminUserGetInfo = DWORD(OCL_WINAPI*)(const WCHAR* server, const WCHAR* user, RAS_USER_0* info);
using PFN_RasAdminUserSetInfo = DWORD(OCL_WINAPI*)(const WCHAR* server, const WCHAR* user,
                                                   const RAS_USER_0* info);
using PFN_RasAdminServerGetInfo = DWORD(OCL_WINAPI*)(const WCHAR* server, RAS_SERVER_0* info);
}

} // namespace OCL
