#include "platform/site/rassapi/rasrecords.h"

#include "platform/ansi.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <new>
#include <string>

namespace OCL::Site {
namespace {

template <std::size_t N>
void CopyAnsi(char (&field)[N], const std::string& text) {
    const std::size_t n = std::min(text.size(), N - 1);
    std::memcpy(field, text.data(), n);
    field[n] = 0;
}

// A protocol's projection: its address when the session negotiated it.
void SetResult(DWORD& error, WCHAR* address, std::size_t size, bool present, const std::string& text) {
    error = present ? Err::Success : Err::ProtocolNotConfigured;
    CopyWideField(address, size, present ? text : std::string());
}

template <std::size_t N>
void CopyWide(WCHAR (&field)[N], const std::string& ansi) {
    CopyWideField(field, N, ansi);
}

} // namespace

void CopyWideField(WCHAR* field, std::size_t capacity, const std::string& ansi) {
    const std::u16string wide = Ansi::ToUtf16(ansi);
    const std::size_t n = std::min(wide.size(), capacity - 1);
    std::memcpy(field, wide.data(), n * sizeof(WCHAR));
    field[n] = 0;
}

void FillPort0(const PortRecord& port, RAS_PORT_0* out) {
    *out = RAS_PORT_0{};
    const bool up = port.Connected();
    CopyWide(out->wszPortName, port.name);
    CopyWide(out->wszDeviceType, port.deviceType);
    CopyWide(out->wszDeviceName, port.deviceName);
    CopyWide(out->wszMediaName, port.mediaName);
    out->Flags = up ? port.flags : 0;
    CopyWide(out->wszUserName, up ? port.user : std::string());
    CopyWide(out->wszComputer, up ? port.computer : std::string());
    out->dwStartSessionTime = up ? DWORD(port.start) : 0;
    CopyWide(out->wszLogonDomain, up ? port.domain : std::string());
    out->fAdvancedServer = 1;
}

void FillPort1(const PortRecord& port, RAS_PORT_1* out) {
    *out = RAS_PORT_1{};
    FillPort0(port, &out->rasport0);
    const bool up = port.Connected();
    out->LineCondition = up ? RasLine::Authenticated : RasLine::Listening;
    out->HardwareCondition = port.hardwareCondition;
    out->LineSpeed = port.lineSpeed;
    out->NumStatistics = WORD(sizeof(RAS_PORT_STATISTICS) / sizeof(DWORD));

    RAS_PPP_PROJECTION_RESULT& proj = out->ProjResult;
    proj.nbf.dwError = up ? Err::Success : Err::ProtocolNotConfigured;
    proj.nbf.dwNetBiosError = 0;
    if (up) {
        CopyAnsi(proj.nbf.szName, port.computer);
        CopyWide(proj.nbf.wszWksta, port.computer);
    }
    SetResult(proj.ip.dwError, proj.ip.wszAddress, RasLen::IpAddress + 1, up && !port.ip.empty(), port.ip);
    SetResult(proj.ipx.dwError, proj.ipx.wszAddress, RasLen::IpxAddress + 1, up && !port.ipx.empty(),
              port.ipx);
    SetResult(proj.at.dwError, proj.at.wszAddress, RasLen::AtAddress + 1, false, {});
}

void FillStatistics(const PortRecord& port, RAS_PORT_STATISTICS* out) {
    RAS_PORT_STATISTICS s{};
    s.dwBytesXmited = port.bytesXmit;
    s.dwBytesRcved = port.bytesRcved;
    s.dwFramesXmited = port.framesXmit;
    s.dwFramesRcved = port.framesRcved;
    s.dwCrcErr = port.crcErr;
    s.dwTimeoutErr = port.timeoutErr;
    s.dwAlignmentErr = port.alignErr;
    s.dwHardwareOverrunErr = port.hwOverrunErr;
    s.dwFramingErr = port.framingErr;
    s.dwBufferOverrunErr = port.bufOverrunErr;
    s.dwBytesXmitedUncompressed = port.bytesXmitUncompressed;
    s.dwBytesRcvedUncompressed = port.bytesRcvedUncompressed;
    s.dwBytesXmitedCompressed = port.bytesXmitCompressed;
    s.dwBytesRcvedCompressed = port.bytesRcvedCompressed;
    // One connection per port here, so the port's totals are the connection's.
    s.dwPortBytesXmited = s.dwBytesXmited;
    s.dwPortBytesRcved = s.dwBytesRcved;
    s.dwPortFramesXmited = s.dwFramesXmited;
    s.dwPortFramesRcved = s.dwFramesRcved;
    s.dwPortCrcErr = s.dwCrcErr;
    s.dwPortTimeoutErr = s.dwTimeoutErr;
    s.dwPortAlignmentErr = s.dwAlignmentErr;
    s.dwPortHardwareOverrunErr = s.dwHardwareOverrunErr;
    s.dwPortFramingErr = s.dwFramingErr;
    s.dwPortBufferOverrunErr = s.dwBufferOverrunErr;
    s.dwPortBytesXmitedUncompressed = s.dwBytesXmitedUncompressed;
    s.dwPortBytesRcvedUncompressed = s.dwBytesRcvedUncompressed;
    s.dwPortBytesXmitedCompressed = s.dwBytesXmitedCompressed;
    s.dwPortBytesRcvedCompressed = s.dwBytesRcvedCompressed;
    *out = s;
}

RAS_PORT_0* NewPortArray(const std::vector<PortRecord>& ports) {
    if (ports.empty())
        return nullptr;
    auto* block = static_cast<RAS_PORT_0*>(std::malloc(ports.size() * sizeof(RAS_PORT_0)));
    if (!block)
        return nullptr;
    for (std::size_t i = 0; i < ports.size(); ++i)
        FillPort0(ports[i], new (&block[i]) RAS_PORT_0);
    return block;
}

RAS_PARAMETERS* NewParameters(const PortRecord& port, WORD* count, DWORD* size) {
    struct Param {
        const char* key;
        bool isText;
        DWORD number;
        std::string text;
    };
    const Param params[] = {
        {"MAXCONNECTBPS", false, port.lineSpeed, {}},
        {"CONNECTBPS", false, port.Connected() ? port.lineSpeed : 0, {}},
        {"DEVICETYPE", true, 0, port.deviceType},
        {"DEVICENAME", true, 0, port.deviceName},
    };
    constexpr std::size_t n = std::size(params);
    std::size_t bytes = n * sizeof(RAS_PARAMETERS);
    for (const Param& p : params)
        if (p.isText)
            bytes += p.text.size() + 1;

    char* block = static_cast<char*>(std::malloc(bytes));
    if (!block)
        return nullptr;
    auto* array = reinterpret_cast<RAS_PARAMETERS*>(block);
    char* strings = block + n * sizeof(RAS_PARAMETERS);
    for (std::size_t i = 0; i < n; ++i) {
        RAS_PARAMETERS* out = new (&array[i]) RAS_PARAMETERS{};
        CopyAnsi(out->P_Key, params[i].key);
        if (params[i].isText) {
            out->P_Type = ParamString;
            out->P_Value.String.Length = DWORD(params[i].text.size());
            out->P_Value.String.Data = strings;
            std::memcpy(strings, params[i].text.c_str(), params[i].text.size() + 1);
            strings += params[i].text.size() + 1;
        } else {
            out->P_Type = ParamNumber;
            out->P_Value.Number = params[i].number;
        }
    }
    *count = WORD(n);
    *size = DWORD(bytes);
    return array;
}

} // namespace OCL::Site
