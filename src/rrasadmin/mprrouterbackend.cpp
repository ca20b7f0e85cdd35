#include "rrasadmin/mprrouterbackend.h"

#include "platform/win32/wintext.h"

#include <windows.h>
// After windows.h, which it needs.
#include <mprapi.h>

#include <algorithm>
#include <ctime>
#include <mutex>

namespace OCL::Rras {
namespace {

// The entry points _CWADMIN uses, all or none.
struct Mpr {
    decltype(&::MprAdminServerConnect) serverConnect = nullptr;
    decltype(&::MprAdminServerDisconnect) serverDisconnect = nullptr;
    decltype(&::MprAdminPortEnum) portEnum = nullptr;
    decltype(&::MprAdminPortGetInfo) portGetInfo = nullptr;
    decltype(&::MprAdminPortDisconnect) portDisconnect = nullptr;
    decltype(&::MprAdminConnectionGetInfo) connectionGetInfo = nullptr;
    decltype(&::MprAdminBufferFree) bufferFree = nullptr;
};

template <typename Function>
bool Bind(::HMODULE module, const char* name, Function* function) {
    // Through the generic function type, which any function pointer may be cast to.
    *function = reinterpret_cast<Function>(reinterpret_cast<void (*)()>(::GetProcAddress(module, name)));
    return *function != nullptr;
}

const Mpr* Bound() {
    static std::mutex mutex;
    static Mpr mpr;
    static bool bound = false;
    std::lock_guard lock(mutex);
    if (bound)
        return &mpr;
    ::HMODULE module = ::LoadLibraryA("MPRAPI.DLL");
    if (!module)
        return nullptr;
    Mpr found;
    if (Bind(module, "MprAdminServerConnect", &found.serverConnect) &&
        Bind(module, "MprAdminServerDisconnect", &found.serverDisconnect) &&
        Bind(module, "MprAdminPortEnum", &found.portEnum) &&
        Bind(module, "MprAdminPortGetInfo", &found.portGetInfo) &&
        Bind(module, "MprAdminPortDisconnect", &found.portDisconnect) &&
        Bind(module, "MprAdminConnectionGetInfo", &found.connectionGetInfo) &&
        Bind(module, "MprAdminBufferFree", &found.bufferFree)) {
        mpr = found;
        bound = true;
        return &mpr;
    }
    ::FreeLibrary(module);
    return nullptr;
}

// One administration session with a server, ended when it goes out of scope.
class Session {
public:
    explicit Session(const Mpr& mpr) : m_mpr(mpr) {}
    ~Session() {
        if (m_server)
            m_mpr.serverDisconnect(m_server);
    }
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;

    DWORD Connect(const std::string& server) {
        std::wstring name = Win32::Wide(Win32::MachineUnc(server));
        return m_mpr.serverConnect(name.data(), &m_server);
    }
    const Mpr& Api() const { return m_mpr; }
    MPR_SERVER_HANDLE Server() const { return m_server; }

private:
    const Mpr& m_mpr;
    MPR_SERVER_HANDLE m_server = nullptr;
};

// A level of information about one object; the library's buffer is freed
// whatever the result.
template <typename Record, typename Call>
DWORD Info(const Session& session, Record* record, Call call) {
    LPBYTE buffer = nullptr;
    const DWORD rc = call(&buffer);
    if (rc == NO_ERROR && buffer)
        *record = *reinterpret_cast<const Record*>(buffer);
    if (buffer)
        session.Api().bufferFree(buffer);
    return rc == NO_ERROR && !buffer ? DWORD(ERROR_INVALID_DATA) : rc;
}

DWORD EnumPorts(const Session& session, std::vector<RAS_PORT_0>* ports) {
    unsigned long resume = 0;
    for (;;) {
        LPBYTE buffer = nullptr;
        unsigned long read = 0, total = 0;
        const DWORD rc = session.Api().portEnum(session.Server(), 0, INVALID_HANDLE_VALUE, &buffer,
                                                MAX_PREFERRED_LENGTH, &read, &total, &resume);
        if ((rc == NO_ERROR || rc == ERROR_MORE_DATA) && buffer) {
            const auto* records = reinterpret_cast<const RAS_PORT_0*>(buffer);
            ports->insert(ports->end(), records, records + read);
        }
        if (buffer)
            session.Api().bufferFree(buffer);
        if (rc != ERROR_MORE_DATA)
            return rc;
    }
}

bool HasConnection(const RAS_PORT_0& port) {
    return port.hConnection && port.hConnection != INVALID_HANDLE_VALUE;
}

// "a.b.c.d" packed most significant byte first; 0 when it is no address.
DWORD PackAddress(const std::string& dotted) {
    unsigned parts[4] = {};
    int part = 0;
    bool digit = false;
    for (char c : dotted) {
        if (c >= '0' && c <= '9' && parts[part] < 256) {
            parts[part] = parts[part] * 10 + unsigned(c - '0');
            digit = true;
        } else if (c == '.' && digit && part < 3) {
            ++part;
            digit = false;
        } else {
            return 0;
        }
    }
    if (part != 3 || !digit || std::any_of(parts, parts + 4, [](unsigned p) { return p > 255; }))
        return 0;
    return DWORD(parts[0] << 24 | parts[1] << 16 | parts[2] << 8 | parts[3]);
}

RouterPort FromPort(const Session& session, const RAS_PORT_0& raw) {
    RouterPort port;
    port.name = Win32::Ansi(raw.wszPortName);
    port.deviceName = Win32::Ansi(raw.wszDeviceName);
    port.deviceType = Win32::Ansi(raw.wszDeviceType);
    port.mediaName = Win32::Ansi(raw.wszMediaName);
    port.lineCondition = DWORD(raw.dwPortCondition);
    RAS_CONNECTION_0 connection{};
    if (!HasConnection(raw) || Info(session, &connection, [&](LPBYTE* buffer) {
                                   return session.Api().connectionGetInfo(session.Server(), 0,
                                                                          raw.hConnection, buffer);
                               }) != NO_ERROR)
        return port;
    port.connected = true;
    port.user = Win32::Ansi(connection.wszLogonDomain) + "\\" + Win32::Ansi(connection.wszUserName);
    port.computer = Win32::Ansi(connection.wszRemoteComputer);
    port.start = std::int64_t(std::time(nullptr)) - connection.dwConnectDuration;
    RAS_CONNECTION_1 projection{};
    if (Info(session, &projection, [&](LPBYTE* buffer) {
            return session.Api().connectionGetInfo(session.Server(), 1, raw.hConnection, buffer);
        }) == NO_ERROR) {
        if (projection.PppInfo.ip.dwError == NO_ERROR) {
            port.ip = Win32::Ansi(projection.PppInfo.ip.wszRemoteAddress);
            port.address = PackAddress(port.ip);
        }
        if (projection.PppInfo.ipx.dwError == NO_ERROR)
            port.ipx = Win32::Ansi(projection.PppInfo.ipx.wszAddress);
    }
    return port;
}

// The library gives how much compression saved, in percent; the console works
// its ratio out of sent - compressed + uncompressed, so the two counters are
// chosen to give that ratio back.
void Compression(DWORD bytes, DWORD savedPercent, DWORD* compressed, DWORD* uncompressed) {
    *compressed = 0;
    *uncompressed = 0;
    if (savedPercent == 0 || savedPercent >= 100)
        return;
    const unsigned long long before = (unsigned long long)bytes * 100 / (100 - savedPercent);
    *uncompressed = DWORD(std::min<unsigned long long>(before - bytes, 0xFFFFFFFFull));
}

void AddStatistics(const RAS_PORT_1& raw, RouterPort* port) {
    port->hardwareCondition =
        raw.dwHardwareCondition == RAS_HARDWARE_FAILURE ? HwCond::Failure : HwCond::Operational;
    port->lineSpeed = raw.dwLineSpeed;
    port->alignErr = raw.dwAlignmentErr;
    port->bufOverErr = raw.dwBufferOverrunErr;
    port->crcErr = raw.dwCrcErr;
    port->framingErr = raw.dwFramingErr;
    port->hwOverErr = raw.dwHardwareOverrunErr;
    port->toErr = raw.dwTimeoutErr;
    port->bytesXmit = raw.dwBytesXmited;
    port->framesXmit = raw.dwFramesXmited;
    port->bytesRcved = raw.dwBytesRcved;
    port->framesRcved = raw.dwFramesRcved;
    Compression(raw.dwBytesXmited, raw.dwCompressionRatioOut, &port->bytesXcomp, &port->bytesXUncomp);
    Compression(raw.dwBytesRcved, raw.dwCompressionRatioIn, &port->bytesRcomp, &port->bytesRUncomp);
}

bool SameName(const std::wstring& a, const std::wstring& b) {
    return ::CompareStringW(LOCALE_INVARIANT, NORM_IGNORECASE, a.c_str(), int(a.size()), b.c_str(),
                            int(b.size())) == CSTR_EQUAL;
}

// The session's port named name; DevNotExist when the server has none.
DWORD FindPort(const Session& session, const std::string& name, RAS_PORT_0* found) {
    std::vector<RAS_PORT_0> ports;
    if (const DWORD rc = EnumPorts(session, &ports))
        return rc;
    const std::wstring wide = Win32::Wide(name);
    for (const RAS_PORT_0& port : ports)
        if (SameName(port.wszPortName, wide)) {
            *found = port;
            return NO_ERROR;
        }
    return ERROR_DEV_NOT_EXIST;
}

CMprRouterBackend& MprBackend() {
    static CMprRouterBackend backend;
    return backend;
}

} // namespace

IRouterBackend& RouterBackend() {
    return MprBackend();
}

bool CMprRouterBackend::Usable() {
    return Bound() != nullptr;
}

DWORD CMprRouterBackend::Ports(const std::string& server, std::vector<RouterPort>* ports) {
    const Mpr* mpr = Bound();
    if (!mpr)
        return ERROR_MOD_NOT_FOUND;
    Session session(*mpr);
    if (const DWORD rc = session.Connect(server))
        return rc;
    std::vector<RAS_PORT_0> raw;
    if (const DWORD rc = EnumPorts(session, &raw))
        return rc;
    ports->clear();
    for (const RAS_PORT_0& port : raw)
        ports->push_back(FromPort(session, port));
    return NO_ERROR;
}

DWORD CMprRouterBackend::Port(const std::string& server, const std::string& port, RouterPort* result) {
    const Mpr* mpr = Bound();
    if (!mpr)
        return ERROR_MOD_NOT_FOUND;
    Session session(*mpr);
    if (const DWORD rc = session.Connect(server))
        return rc;
    RAS_PORT_0 found{};
    if (const DWORD rc = FindPort(session, port, &found))
        return rc;
    RouterPort detail = FromPort(session, found);
    RAS_PORT_1 statistics{};
    if (const DWORD rc = Info(session, &statistics, [&](LPBYTE* buffer) {
            return mpr->portGetInfo(session.Server(), 1, found.hPort, buffer);
        }))
        return rc;
    AddStatistics(statistics, &detail);
    *result = std::move(detail);
    return NO_ERROR;
}

DWORD CMprRouterBackend::Disconnect(const std::string& server, const std::string& port) {
    const Mpr* mpr = Bound();
    if (!mpr)
        return ERROR_MOD_NOT_FOUND;
    Session session(*mpr);
    if (const DWORD rc = session.Connect(server))
        return rc;
    RAS_PORT_0 found{};
    if (const DWORD rc = FindPort(session, port, &found))
        return rc;
    return HasConnection(found) ? mpr->portDisconnect(session.Server(), found.hPort) : DWORD(NO_ERROR);
}

} // namespace OCL::Rras
