// The RAS administration library over a site: the nine entry points of
// RASSAPI.DLL with the system's signatures, bound by the console at run time.
// Built twice; the partial build leaves out two entry points so that the
// console's handling of a library with missing names can be exercised.

#include "platform/rassapi.h"
#include "platform/ansi.h"
#include "platform/site/rassapi/raserrors.h"
#include "platform/site/rassapi/rasrecords.h"
#include "platform/site/rassapi/rasserver.h"
#include "platform/site/rassapi/rasusers.h"
#include "platform/site/rassapi/siteattachment.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <type_traits>

#if defined(_WIN32)
#define CW_EXPORT extern "C" __declspec(dllexport)
#else
#define CW_EXPORT extern "C" __attribute__((visibility("default")))
#endif

using namespace OCL;
using OCL::Site::CRasServer;

namespace {

Site::CSiteAttachment& Attachment() {
    static Site::CSiteAttachment attachment;
    return attachment;
}

DWORD OpenServer(const WCHAR* server, CRasServer* ras) {
    return ras->Open(Attachment().Current(), server);
}

std::string PortArgument(const WCHAR* port) {
    return Ansi::FromUtf16(port);
}

} // namespace

CW_EXPORT void CwSiteAttach(const char* siteRoot) {
    Attachment().Attach(siteRoot);
}

CW_EXPORT DWORD OCL_WINAPI RasAdminPortEnum(const WCHAR* server, RAS_PORT_0** ports, WORD* entriesRead) {
    if (!ports || !entriesRead)
        return Err::InvalidParameter;
    *ports = nullptr;
    *entriesRead = 0;
    CRasServer ras;
    if (const DWORD open = OpenServer(server, &ras))
        return open;
    const auto table = ras.Ports();
    if (table.size() > 0xFFFF)
        return Err::InvalidParameter;
    RAS_PORT_0* block = Site::NewPortArray(table);
    if (!block && !table.empty())
        return Err::NotEnoughMemory;
    *ports = block;
    *entriesRead = WORD(table.size());
    return Err::Success;
}

CW_EXPORT DWORD OCL_WINAPI RasAdminFreeBuffer(void* buffer) {
    std::free(buffer);
    return Err::Success;
}

CW_EXPORT DWORD OCL_WINAPI RasAdminGetErrorString(UINT error, WCHAR* buffer, DWORD bufferSize) {
    const char* text = Site::RasErrorText(error);
    if (!text || !buffer || bufferSize == 0)
        return Err::InvalidParameter;
    Site::CopyWideField(buffer, bufferSize, text);
    return std::strlen(text) < bufferSize ? Err::Success : Err::InsufficientBuffer;
}

CW_EXPORT DWORD OCL_WINAPI RasAdminPortGetInfo(const WCHAR* server, const WCHAR* port, RAS_PORT_1* port1,
                                               RAS_PORT_STATISTICS* stats, RAS_PARAMETERS** params) {
    if (!port || !port1 || !stats)
        return Err::InvalidParameter;
    if (params)
        *params = nullptr;
    CRasServer ras;
    if (const DWORD open = OpenServer(server, &ras))
        return open;
    const auto table = ras.Ports();
    const Site::PortRecord* record = Site::FindPort(table, PortArgument(port));
    if (!record)
        return Err::DevNotExist;
    Site::FillPort1(*record, port1);
    Site::FillStatistics(*record, stats);
    if (params) {
        *params = Site::NewParameters(*record, &port1->NumMediaParms, &port1->SizeMediaParms);
        if (!*params)
            return Err::NotEnoughMemory;
    }
    return Err::Success;
}

CW_EXPORT DWORD OCL_WINAPI RasAdminPortDisconnect(const WCHAR* server, const WCHAR* port) {
    if (!port)
        return Err::InvalidParameter;
    CRasServer ras;
    if (const DWORD open = OpenServer(server, &ras))
        return open;
    return ras.EditPort(PortArgument(port), [](Site::PortRecord& record) {
        if (!record.Connected())
            return false; // nothing to hang up
        record.EndSession();
        return true;
    });
}

#ifndef CW_RASSAPI_PARTIAL
CW_EXPORT DWORD OCL_WINAPI RasAdminPortClearStatistics(const WCHAR* server, const WCHAR* port) {
    if (!port)
        return Err::InvalidParameter;
    CRasServer ras;
    if (const DWORD open = OpenServer(server, &ras))
        return open;
    return ras.EditPort(PortArgument(port), [](Site::PortRecord& record) {
        record.bytesXmit = record.bytesRcved = record.framesXmit = record.framesRcved = 0;
        record.bytesXmitUncompressed = record.bytesRcvedUncompressed = 0;
        record.bytesXmitCompressed = record.bytesRcvedCompressed = 0;
        record.crcErr = record.timeoutErr = record.alignErr = 0;
        record.framingErr = record.hwOverrunErr = record.bufOverrunErr = 0;
        return true;
    });
}
#endif

CW_EXPORT DWORD OCL_WINAPI RasAdminUserGetInfo(const WCHAR* server, const WCHAR* user, RAS_USER_0* info) {
    return Site::GetRasUser(Attachment().Current(), server, user, info);
}

CW_EXPORT DWORD OCL_WINAPI RasAdminUserSetInfo(const WCHAR* server, const WCHAR* user,
                                               const RAS_USER_0* info) {
    return Site::SetRasUser(Attachment().Current(), server, user, info);
}

#ifndef CW_RASSAPI_PARTIAL
CW_EXPORT DWORD OCL_WINAPI RasAdminServerGetInfo(const WCHAR* server, RAS_SERVER_0* info) {
    if (!info)
        return Err::InvalidParameter;
    CRasServer ras;
    if (const DWORD open = OpenServer(server, &ras))
        return open;
    const auto table = ras.Ports();
    RAS_SERVER_0 result{};
    result.TotalPorts = WORD(std::min<std::size_t>(table.size(), 0xFFFF));
    for (const Site::PortRecord& record : table)
        if (record.Connected())
            ++result.PortsInUse;
    result.RasVersion = ras.Host().majorVersion == 3 ? 5 : 6; // NT 3.5x, else NT 4.0
    *info = result;
    return Err::Success;
}
#endif

// The entry points must keep the types the console binds them with.
static_assert(std::is_same_v<decltype(&RasAdminPortEnum), PFN_RasAdminPortEnum>);
static_assert(std::is_same_v<decltype(&RasAdminFreeBuffer), PFN_RasAdminFreeBuffer>);
static_assert(std::is_same_v<decltype(&RasAdminGetErrorString), PFN_RasAdminGetErrorString>);
static_assert(std::is_same_v<decltype(&RasAdminPortGetInfo), PFN_RasAdminPortGetInfo>);
static_assert(std::is_same_v<decltype(&RasAdminPortDisconnect), PFN_RasAdminPortDisconnect>);
static_assert(std::is_same_v<decltype(&RasAdminUserGetInfo), PFN_RasAdminUserGetInfo>);
static_assert(std::is_same_v<decltype(&RasAdminUserSetInfo), PFN_RasAdminUserSetInfo>);
static_assert(std::is_same_v<decltype(&CwSiteAttach), Site::PFN_CwSiteAttach>);
#ifndef CW_RASSAPI_PARTIAL
static_assert(std::is_same_v<decltype(&RasAdminPortClearStatistics), PFN_RasAdminPortClearStatistics>);
static_assert(std::is_same_v<decltype(&RasAdminServerGetInfo), PFN_RasAdminServerGetInfo>);
#endif
