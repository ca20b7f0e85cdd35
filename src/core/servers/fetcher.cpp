#include "core/servers/fetcher.h"

#include "core/app/ansitext.h"
#include "core/app/environment.h"
#include "core/app/registry.h"
#include "core/ocl/trace.h"
#include "core/ras/rasfunc.h"
#include "core/ras/rraslibrary.h"
#include "platform/ansi.h"

#include <cstring>

using namespace OCL;

namespace {

// Reads a value of at most capacity bytes into buffer; the buffer keeps its old
// bytes when the read fails.
bool Query(IRegistry& reg, HKEY key, const char* name, void* buffer, DWORD capacity) {
    DWORD size = capacity;
    return reg.QueryValue(key, name, nullptr, static_cast<BYTE*>(buffer), &size) == Err::Success;
}

// A text read into a fixed buffer, cut at its terminator or the buffer's end.
std::string Text(const char* buffer, std::size_t size) {
    return std::string(CAnsi::FieldText(buffer, size));
}

std::string Narrow(const WCHAR* text) {
    return Ansi::FromUtf16(std::u16string_view(text));
}

} // namespace

CServerFetcherThread::CServerFetcherThread(CServerList& list, std::size_t index, CServer& server,
                                           CRASFunc& rasFunc, CFetchContext context)
    : m_list(list), m_index(index), m_server(server), m_rasFunc(rasFunc), m_context(context) {}

CServerFetcherThread::~CServerFetcherThread() {
    Shutdown();
}

bool CServerFetcherThread::UpdateIfChanged(CServer& server, char* target, std::size_t size, const char* value,
                                           DWORD bit) {
    // The field keeps at most size - 1 bytes of the value: compare with what it
    // would store, or a value longer than the field counts as changed on every fetch.
    const std::string_view stored = std::string_view(value).substr(0, size - 1);
    auto lock = server.Lock();
    if (CAnsi::FieldText(target, size) == stored)
        return false;
    CAnsi::CopyToField(target, size, stored);
    server.m_changeMask |= bit;
    return true;
}

bool CServerFetcherThread::UpdateIfChanged(CServer& server, long& target, long value, DWORD bit) {
    auto lock = server.Lock();
    if (target == value)
        return false;
    target = value;
    server.m_changeMask |= bit;
    return true;
}

bool CServerFetcherThread::UpdateIfChanged(CServer& server, DWORD& target, DWORD value, DWORD bit) {
    auto lock = server.Lock();
    if (target == value)
        return false;
    target = value;
    server.m_changeMask |= bit;
    return true;
}

bool CServerFetcherThread::UpdateIfChanged(CServer& server, BOOL& target, BOOL value, DWORD bit) {
    auto lock = server.Lock();
    if (target == value)
        return false;
    target = value;
    server.m_changeMask |= bit;
    return true;
}

int CServerFetcherThread::Run() {
    {
        auto lock = m_server.Lock();
        m_server.m_changeMask = 0;
    }
    m_list.StartFetch(m_index, m_server);
    const BOOL registryOk = GetRegistryData(m_server);
    if (!Alive()) {
        Trace("Server Fetcher Thread for %s requested to die before reading RAS data\n", m_server.m_name);
        return 0;
    }
    const BOOL portsOk = registryOk ? GetRASData(m_server) : 0;
    if (!Alive())
        return 0;
    if (registryOk && portsOk)
        m_server.m_state = ServerState::Ready;
    m_list.FinnishFetch(m_index, m_server);
    return 0;
}

BOOL CServerFetcherThread::GetRegistryData(CServer& server) {
    IRegistry& reg = m_context.environment.Registry();
    const std::string name = Text(server.m_name, sizeof server.m_name);
    const std::string path = "\\\\" + name;
    server.m_state = ServerState::Connecting;

    RegKeyGuard connection(reg), key(reg);
    if (reg.Connect(path, Hkey::LocalMachine, connection.Out()) != Err::Success) {
        server.m_state = ServerState::RegistryConnectFailed;
        return 0;
    }
    if (reg.OpenKey(connection.Get(), kServiceKey, key.Out()) != Err::Success) {
        server.m_state = ServerState::RegistryConnectFailed;
        return 0;
    }

    BYTE masterBuffer[100] = {};
    DWORD masterValue = 0;
    const bool isMaster = Query(reg, key.Get(), "Master", masterBuffer, sizeof masterBuffer) &&
                          (std::memcpy(&masterValue, masterBuffer, sizeof masterValue), masterValue == 1);

    char share[600] = {};
    if (!isMaster) {
        UpdateIfChanged(server, server.m_master, 0, ChangeBit::Master);
        if (!Query(reg, key.Get(), "MasterShare", share, sizeof share)) {
            server.m_state = ServerState::RegistryReadIncomplete;
            return 0;
        }
        UpdateIfChanged(server, server.m_masterShare, sizeof server.m_masterShare,
                        Text(share, sizeof share).c_str(), ChangeBit::Master);
    } else {
        if (!server.m_master) {
            {
                auto lock = server.Lock();
                server.m_master = 1;
                server.m_changeMask |= ChangeBit::Master;
            }
            if (!Query(reg, key.Get(), "MasterShare", share, sizeof share)) {
                server.m_state = ServerState::RegistryReadIncomplete;
                return 0;
            }
            // The list's paths are filled once, when the master is first found.
            m_list.SetMaster(QString::fromLatin1(name.c_str()), CAnsi::ToQString(Text(share, sizeof share)));
        }
        // All three texts go through one buffer and all five numbers through one
        // slot, unchecked: a missing value repeats the one read before it.
        char odbc[50] = {};
        Query(reg, key.Get(), "ODBC_DSN", odbc, sizeof odbc);
        UpdateIfChanged(server, server.m_odbcDsn, sizeof server.m_odbcDsn, Text(odbc, sizeof odbc).c_str(),
                        ChangeBit::Odbc);
        Query(reg, key.Get(), "ODBC_Account", odbc, sizeof odbc);
        UpdateIfChanged(server, server.m_odbcAccount, sizeof server.m_odbcAccount,
                        Text(odbc, sizeof odbc).c_str(), ChangeBit::Odbc);
        Query(reg, key.Get(), "ODBC_Password", odbc, sizeof odbc);
        UpdateIfChanged(server, server.m_odbcPassword, sizeof server.m_odbcPassword,
                        Text(odbc, sizeof odbc).c_str(), ChangeBit::Odbc);
        static const char* const exportNames[5] = {"ExportDates", "ExportDays", "ExportHours", "ExportUsers",
                                                   "ExportHistory"};
        DWORD number = 0;
        for (int i = 0; i < 5; ++i) {
            Query(reg, key.Get(), exportNames[i], &number, sizeof number);
            UpdateIfChanged(server, server.m_export[i], number, ChangeBit::Export);
        }
    }

    // One slot serves the three settings, "Installed" and the time bias: a value
    // that cannot be read leaves the one before it in the slot.
    const QString qname = CAnsi::ToQString(path);
    DWORD slot = 0;
    m_context.registry.ReadDWORD(qname, QStringLiteral("Service"),
                                 QStringLiteral("LogSessionEventsToEventLog"), &slot);
    UpdateIfChanged(server, server.m_logToEventLog, slot != 0 ? 1 : 0, ChangeBit::Settings);
    m_context.registry.ReadDWORD(qname, QStringLiteral("Service"), QStringLiteral("StaticIP"), &slot);
    UpdateIfChanged(server, server.m_staticIP, slot != 0 ? 1 : 0, ChangeBit::Settings);
    m_context.registry.ReadDWORD(qname, QStringLiteral("Service"), QStringLiteral("IdleTimer"), &slot);
    UpdateIfChanged(server, server.m_idleTimer, slot, ChangeBit::Settings);

    Query(reg, key.Get(), "Installed", &slot, sizeof slot);
    UpdateIfChanged(server, server.m_installed, slot, ChangeBit::Settings);

    {
        RegKeyGuard zone(reg);
        if (reg.OpenKey(connection.Get(), "System\\CurrentControlSet\\Control\\TimeZoneInformation",
                        zone.Out()) == Err::Success)
            Query(reg, zone.Get(), "ActiveTimeBias", &slot, sizeof slot);
        UpdateIfChanged(server, server.m_timeBias, long(static_cast<std::int32_t>(slot)),
                        ChangeBit::Settings);
    }

    char version[100] = {};
    if (!Query(reg, key.Get(), "Version", version, sizeof version)) {
        server.m_state = ServerState::RegistryReadIncomplete;
        return 0;
    }
    UpdateIfChanged(server, server.m_version, sizeof server.m_version, Text(version, sizeof version).c_str(),
                    ChangeBit::Version);
    return 1;
}

BOOL CServerFetcherThread::GetRASData(CServer& server) {
    const std::string path = "\\\\" + Text(server.m_name, sizeof server.m_name);
    const BOOL rras = m_context.registry.IsRRAS(CAnsi::ToQString(path));
    server.m_rasKind = rras ? RasKindValue::Rras : RasKindValue::Ras;
    return rras ? GetRouterPorts(server, path) : GetClassicPorts(server, path);
}

BOOL CServerFetcherThread::GetClassicPorts(CServer& server, const std::string& path) {
    server.m_state = ServerState::RequestingRas;
    m_rasFunc.Init();
    RAS_PORT_0* ports = nullptr;
    WORD count = 0;
    if (m_rasFunc.PortEnum(CAnsi::ToQString(path), &ports, &count) != Err::Success) {
        server.m_state = ServerState::RasReadFailure;
        UpdateIfChanged(server, server.m_portCount, kUnknown, ChangeBit::Ports);
        UpdateIfChanged(server, server.m_busyPorts, kUnknown, ChangeBit::Ports);
        if (ports)
            m_rasFunc.FreeBuffer(ports);
        return 0;
    }
    DWORD busy = 0;
    // The record has 256 slots; ports beyond them are counted but not kept.
    const int kept = std::min<int>(count, kPortSlots);
    for (int i = 0; i < count; ++i) {
        const RAS_PORT_0& port = ports[i];
        if (port.dwStartSessionTime != 0)
            ++busy;
        if (i >= kept)
            continue;
        CRasPortSlot& slot = server.m_ports[i];
        const std::string user = port.dwStartSessionTime == 0
                                     ? std::string()
                                     : Narrow(port.wszLogonDomain) + "\\" + Narrow(port.wszUserName);
        UpdateIfChanged(server, slot.name, sizeof slot.name, Narrow(port.wszPortName).c_str(),
                        ChangeBit::Ports);
        UpdateIfChanged(server, slot.user, sizeof slot.user, user.c_str(), ChangeBit::Ports);
        if (UpdateIfChanged(server, slot.startTime, port.dwStartSessionTime, ChangeBit::Ports)) {
            auto lock = server.Lock();
            slot.connected = port.dwStartSessionTime != 0 ? 1 : 0;
        }
    }
    UpdateIfChanged(server, server.m_busyPorts, busy, ChangeBit::Ports);
    UpdateIfChanged(server, server.m_portCount, DWORD(count), ChangeBit::Ports);
    if (ports)
        m_rasFunc.FreeBuffer(ports);
    return 1;
}

BOOL CServerFetcherThread::GetRouterPorts(CServer& server, const std::string& path) {
    CRrasLibrary& rras = m_context.rras;
    server.m_state = ServerState::RequestingRras;
    if (!rras.Init()) {
        server.m_state = ServerState::RrasInitError;
        return 0;
    }
    DWORD ports = 0, busy = 0;
    if (!rras.GetNumberOfPorts(path, &ports, &busy)) {
        server.m_state = ServerState::RrasReadFailure;
        return 0;
    }
    {
        // Stored without change bits: a router whose only change is in its ports
        // reports a new state, not new data.
        auto lock = server.Lock();
        server.m_portCount = ports;
        server.m_busyPorts = busy;
    }
    DWORD entries = 0;
    if (!rras.UpdatePortData(path, &entries)) {
        server.m_state = ServerState::RrasReadFailure;
        return 0;
    }
    const DWORD kept = std::min<DWORD>(entries, kPortSlots);
    for (DWORD i = 0; i < kept; ++i) {
        CRasPortSlot& slot = server.m_ports[i];
        // The library writes straight into the slot; an entry it cannot give
        // leaves the slot as it was.
        char name[60], user[80];
        DWORD second, start;
        {
            auto lock = server.Lock();
            std::memcpy(name, slot.name, sizeof name);
            std::memcpy(user, slot.user, sizeof user);
            second = slot.second;
            start = slot.startTime;
        }
        rras.GetPortData(i, name, user, &second, &start);
        auto lock = server.Lock();
        std::memcpy(slot.name, name, sizeof slot.name);
        std::memcpy(slot.user, user, sizeof slot.user);
        slot.second = second;
        slot.startTime = start;
    }
    return 1;
}
