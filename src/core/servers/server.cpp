#include "core/servers/server.h"

#include "core/app/ansitext.h"
#include "core/servers/fetcher.h"

#include <cstring>

namespace {
std::atomic<std::uint64_t> g_nextId{1};
}

bool ServerState::IsFailure(DWORD state) {
    return state == 1 || state == 2 || state == 4 || state == 6 || state == 7 || state == 9;
}

CServer::CServer(const QString& name) : m_id(g_nextId++) {
    std::memset(m_name, 0, sizeof m_name);
    std::memset(m_ports, 0, sizeof m_ports);
    std::memset(m_masterShare, 0, sizeof m_masterShare);
    std::memset(m_odbcDsn, 0, sizeof m_odbcDsn);
    std::memset(m_odbcAccount, 0, sizeof m_odbcAccount);
    std::memset(m_odbcPassword, 0, sizeof m_odbcPassword);
    std::memset(m_version, 0, sizeof m_version);
    CAnsi::CopyToField(m_name, CAnsi::FromQString(name));
}

CServer::CServer(const CServer& other) : m_id(other.m_id), m_ownsFetcher(false) {
    CopyFields(other);
}

CServer& CServer::operator=(const CServer& other) {
    if (this == &other)
        return *this;
    if (m_ownsFetcher)
        delete m_fetcher;
    m_id = other.m_id;
    m_ownsFetcher = false;
    CopyFields(other);
    return *this;
}

CServer::~CServer() {
    if (m_ownsFetcher)
        delete m_fetcher;
}

void CServer::CopyFields(const CServer& other) {
    auto lock = other.Lock();
    std::memcpy(m_name, other.m_name, sizeof m_name);
    m_portCount = other.m_portCount;
    m_busyPorts = other.m_busyPorts;
    std::memcpy(m_ports, other.m_ports, sizeof m_ports);
    m_fetchFinished = other.m_fetchFinished.load();
    m_fetcher = other.m_fetcher;
    m_notify = other.m_notify;
    m_rasKind = other.m_rasKind;
    m_master = other.m_master;
    m_logToEventLog = other.m_logToEventLog;
    m_staticIP = other.m_staticIP;
    std::memcpy(m_masterShare, other.m_masterShare, sizeof m_masterShare);
    m_idleTimer = other.m_idleTimer;
    std::memcpy(m_odbcDsn, other.m_odbcDsn, sizeof m_odbcDsn);
    std::memcpy(m_odbcAccount, other.m_odbcAccount, sizeof m_odbcAccount);
    std::memcpy(m_odbcPassword, other.m_odbcPassword, sizeof m_odbcPassword);
    std::memcpy(m_export, other.m_export, sizeof m_export);
    std::memcpy(m_version, other.m_version, sizeof m_version);
    m_installed = other.m_installed;
    m_reserved = other.m_reserved;
    m_timeBias = other.m_timeBias;
    m_state = other.m_state.load();
    m_text1 = other.m_text1;
    m_text2 = other.m_text2;
    std::memcpy(m_spare, other.m_spare, sizeof m_spare);
    m_changeMask = other.m_changeMask;
}

QString CServer::Name() const {
    return CAnsi::ToQString(CAnsi::FieldText(m_name));
}

int CServer::SlotCount() const {
    return m_portCount == kUnknown ? 0 : int(std::min<DWORD>(m_portCount, kPortSlots));
}

QString CServer::Status() const {
    static const char* const texts[] = {"%1 is ready",
                                        "Couldn't connect to %1's registry",
                                        "Couldn't read all data from %1's registry",
                                        "Connecting to %1...",
                                        "Unable to determine RAS version for %1...",
                                        "Requesting RAS data for %1...",
                                        "RAS read failure for %1",
                                        "RRAS Init error for %1",
                                        "Requesting RRAS data for %1...",
                                        "RRAS read failure for %1"};
    const DWORD state = m_state.load();
    const char* text = state < 10 ? texts[state] : "Unknown state for server %1";
    return QString::fromLatin1(text).arg(Name());
}
