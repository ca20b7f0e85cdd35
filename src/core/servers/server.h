#pragma once
// One monitored server: what its last fetch read from the server's registry and
// RAS port table, its state and the change mask of that fetch. The fetcher
// thread writes a record while its fetch runs; everyone else reads it under
// Lock() or after the fetch's notice.

#include "platform/types.h"

#include <QObject>
#include <QPointer>
#include <QString>

#include <atomic>
#include <cstdint>
#include <mutex>

using OCL::BOOL;
using OCL::BYTE;
using OCL::DWORD;

class CServerFetcherThread;

// One port slot of a server.
struct CRasPortSlot {
    char name[60];
    DWORD connected; // kept on classic RAS servers only
    char user[80];   // "DOMAIN\user", empty when idle
    DWORD startTime;
    DWORD second; // the client's address on Routing and RAS servers
    BYTE reserved[16];
};

namespace ServerState {
inline constexpr DWORD Ready = 0;
inline constexpr DWORD RegistryConnectFailed = 1;
inline constexpr DWORD RegistryReadIncomplete = 2;
inline constexpr DWORD Connecting = 3;
inline constexpr DWORD RasVersionUnknown = 4;
inline constexpr DWORD RequestingRas = 5;
inline constexpr DWORD RasReadFailure = 6;
inline constexpr DWORD RrasInitError = 7;
inline constexpr DWORD RequestingRras = 8;
inline constexpr DWORD RrasReadFailure = 9;
// States after which a fetch is repeated only on a forced refresh.
bool IsFailure(DWORD state);
} // namespace ServerState

namespace ChangeBit {
inline constexpr DWORD Master = 2;
inline constexpr DWORD Odbc = 4;
inline constexpr DWORD Export = 8;
inline constexpr DWORD Settings = 16;
inline constexpr DWORD Version = 32;
inline constexpr DWORD Ports = 64;
} // namespace ChangeBit

namespace RasKindValue {
inline constexpr DWORD Rras = 0;
inline constexpr DWORD Ras = 1;
} // namespace RasKindValue

inline constexpr DWORD kUnknown = 666;
inline constexpr int kPortSlots = 256;

class CServer {
public:
    explicit CServer(const QString& name);
    // Copies every field, the fetcher pointer included; only the original owns
    // (and deletes) the fetcher.
    CServer(const CServer& other);
    CServer& operator=(const CServer& other);
    virtual ~CServer();

    // The state's text with the server's name.
    QString Status() const;
    QString Name() const;
    // How many port slots hold data: the port count, bounded by the slots.
    int SlotCount() const;
    // Identity for matching notices to records after the list changed.
    std::uint64_t Id() const { return m_id; }

    std::unique_lock<std::mutex> Lock() const { return std::unique_lock<std::mutex>(m_lock); }

    char m_name[60];
    DWORD m_portCount = kUnknown;
    DWORD m_busyPorts = kUnknown;
    CRasPortSlot m_ports[kPortSlots];
    std::atomic<BOOL> m_fetchFinished{0};
    CServerFetcherThread* m_fetcher = nullptr;
    QPointer<QObject> m_notify;
    DWORD m_rasKind = RasKindValue::Ras;
    BOOL m_master = 0;
    BOOL m_logToEventLog = 0;
    BOOL m_staticIP = 0;
    char m_masterShare[600];
    DWORD m_idleTimer = 0;
    char m_odbcDsn[50];
    char m_odbcAccount[50];
    char m_odbcPassword[50];
    DWORD m_export[5] = {}; // ExportDates, ExportDays, ExportHours, ExportUsers, ExportHistory
    char m_version[100];
    DWORD m_installed = 0;
    DWORD m_reserved = 0;
    long m_timeBias = 0; // minutes
    std::atomic<DWORD> m_state{ServerState::Connecting};
    QString m_text1;
    QString m_text2;
    DWORD m_spare[2] = {};
    DWORD m_changeMask = 0;

private:
    void CopyFields(const CServer& other);

    std::uint64_t m_id;
    bool m_ownsFetcher = true;
    mutable std::mutex m_lock;
};
