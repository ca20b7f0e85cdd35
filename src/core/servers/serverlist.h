#pragma once
// The monitored servers, persisted in the console computer's registry as one
// subkey per server under "Software\Osterline Technologies\Callwarden\Servers",
// and what the fetchers learned about the master server.
//
// Records live on the heap and never move: adding servers grows only the list
// of pointers, and a removed server whose fetch still runs is kept aside until
// that fetch has ended. A fetcher therefore always writes a live record.

#include "core/servers/server.h"

#include <QString>

#include <memory>
#include <mutex>
#include <optional>
#include <vector>

class CEnvironment;
class CRASFunc;
class CRegistry;
class CRrasLibrary;

inline constexpr const char* kServersKey = "Software\\Osterline Technologies\\Callwarden\\Servers";

// What a fetch needs besides its record.
struct CFetchContext {
    const CEnvironment& environment;
    CRegistry& registry;
    CRrasLibrary& rras;
};

class CServerList {
public:
    // Loads the list from the registry; failures are shown and leave it empty.
    explicit CServerList(CFetchContext context);
    virtual ~CServerList();
    CServerList(const CServerList&) = delete;
    CServerList& operator=(const CServerList&) = delete;

    std::size_t GetCount() const { return m_servers.size(); }
    CServer& operator[](std::size_t index) { return *m_servers[index]; }
    const CServer& operator[](std::size_t index) const { return *m_servers[index]; }

    // Exact, case-sensitive match searched from the last record; -1 when none.
    int GetServerNumberByName(const QString& name) const;
    // FALSE only for a name already monitored. A failed registry write is shown
    // and the server is not added, yet TRUE is returned.
    BOOL AddServer(const QString& name);
    void DelServer(const QString& name);

    // Starts a fetch unless one is running for that server (then nothing happens).
    void GetData(std::size_t index, CRASFunc& rasFunc, QObject* notify);
    int GetData(const QString& name, CRASFunc& rasFunc, QObject* notify);
    // Called by the fetcher: state 3 and a state notice; then the result notice.
    void StartFetch(std::size_t index, CServer& server);
    void FinnishFetch(std::size_t index, CServer& server);
    void CleanUpThread(std::size_t index);

    // The current index of the record a notice was posted for; nothing when that
    // server has been removed. Also lets go of removed servers whose fetch ended.
    std::optional<std::size_t> Resolve(std::size_t index, std::uint64_t serverId);

    // Written by the master's fetcher, read by everyone.
    void SetMaster(const QString& name, const QString& share);
    bool MasterKnown() const;
    QString MasterName() const;
    QString MasterShare() const;
    QString UsersFile() const;
    QString HardwareFile() const;

    // For tests and the shutdown: true while any fetch of a listed or removed server runs.
    bool FetchRunning() const;

private:
    void Load();
    void Post(CServer& server, std::size_t index, int message);
    void ReapRetired();

    CFetchContext m_context;
    std::vector<std::unique_ptr<CServer>> m_servers;
    std::vector<std::unique_ptr<CServer>> m_retired;

    mutable std::mutex m_masterLock;
    QString m_masterName;
    bool m_masterKnown = false;
    QString m_hardwareFile;
    QString m_usersFile;
    QString m_masterShare;
};
