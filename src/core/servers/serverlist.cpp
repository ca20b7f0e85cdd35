#include "core/servers/serverlist.h"

#include "core/app/ansitext.h"
#include "core/app/environment.h"
#include "core/servers/fetcher.h"
#include "core/servers/servernotice.h"

#include <QCoreApplication>

using namespace OCL;

CServerList::CServerList(CFetchContext context) : m_context(context) {
    Load();
}

CServerList::~CServerList() {
    m_servers.clear();
    m_retired.clear();
}

void CServerList::Load() {
    IRegistry& reg = m_context.environment.Registry();
    RegKeyGuard key(reg);
    const LONG rc = reg.OpenKey(Hkey::LocalMachine, kServersKey, key.Out());
    if (rc != Err::Success) {
        m_context.environment.Prompter().Inform(
            QStringLiteral("Failed to open the SERVERS key in the registry. Error %1.").arg(rc),
            IPrompter::Icon::Error);
        return;
    }
    char name[100];
    for (DWORD index = 0; reg.EnumKey(key.Get(), index, name, sizeof name) == Err::Success; ++index)
        m_servers.push_back(std::make_unique<CServer>(CAnsi::ToQString(CAnsi::FieldText(name))));
}

int CServerList::GetServerNumberByName(const QString& name) const {
    for (std::size_t i = m_servers.size(); i-- > 0;)
        if (m_servers[i]->Name() == name)
            return int(i);
    return -1;
}

BOOL CServerList::AddServer(const QString& name) {
    if (GetServerNumberByName(name) >= 0)
        return 0;
    IRegistry& reg = m_context.environment.Registry();
    RegKeyGuard key(reg);
    const std::string path = std::string(kServersKey) + "\\" + CAnsi::FromQString(name);
    if (reg.CreateKey(Hkey::LocalMachine, path, key.Out()) != Err::Success) {
        m_context.environment.Prompter().Inform(
            QStringLiteral("Failed to write %1 in local registry\n Server will not be monitored").arg(name),
            IPrompter::Icon::Error);
        // Callers only learn that the name was not a duplicate.
        return 1;
    }
    m_servers.push_back(std::make_unique<CServer>(name));
    return 1;
}

void CServerList::DelServer(const QString& name) {
    const int index = GetServerNumberByName(name);
    if (index < 0)
        return;
    std::unique_ptr<CServer> record = std::move(m_servers[std::size_t(index)]);
    m_servers.erase(m_servers.begin() + index);
    // A fetch still writing the record keeps it alive until that fetch ends.
    if (record->m_fetcher && !record->m_fetchFinished.load())
        m_retired.push_back(std::move(record));
    record.reset();

    IRegistry& reg = m_context.environment.Registry();
    reg.DeleteKey(Hkey::LocalMachine, std::string(kServersKey) + "\\" + CAnsi::FromQString(name));
}

void CServerList::GetData(std::size_t index, CRASFunc& rasFunc, QObject* notify) {
    CServer& server = *m_servers[index];
    if (server.m_fetcher) {
        if (!server.m_fetchFinished.load())
            return; // one fetch per server; the request is dropped
        CleanUpThread(index);
    }
    server.m_fetchFinished = 0;
    server.m_notify = notify;
    server.m_fetcher = new CServerFetcherThread(*this, index, server, rasFunc, m_context);
    server.m_fetcher->Start();
}

int CServerList::GetData(const QString& name, CRASFunc& rasFunc, QObject* notify) {
    const int index = GetServerNumberByName(name);
    if (index < 0)
        return -1;
    GetData(std::size_t(index), rasFunc, notify);
    return index;
}

void CServerList::Post(CServer& server, std::size_t index, int message) {
    if (QObject* target = server.m_notify.data())
        QCoreApplication::postEvent(target, new CServerNotice(message, index, server.Id()));
}

void CServerList::StartFetch(std::size_t index, CServer& server) {
    server.m_state = ServerState::Connecting;
    Post(server, index, WM_NEW_SERVER_STATE);
}

void CServerList::FinnishFetch(std::size_t index, CServer& server) {
    server.m_fetchFinished = 1;
    DWORD mask;
    {
        auto lock = server.Lock();
        mask = server.m_changeMask;
    }
    Post(server, index, mask != 0 ? WM_NEW_SERVER_DATA : WM_NEW_SERVER_STATE);
}

void CServerList::CleanUpThread(std::size_t index) {
    CServer& server = *m_servers[index];
    delete server.m_fetcher;
    server.m_fetcher = nullptr;
}

void CServerList::ReapRetired() {
    std::erase_if(m_retired, [](const std::unique_ptr<CServer>& record) {
        return !record->m_fetcher || record->m_fetchFinished.load();
    });
}

std::optional<std::size_t> CServerList::Resolve(std::size_t index, std::uint64_t serverId) {
    ReapRetired();
    if (index < m_servers.size() && m_servers[index]->Id() == serverId)
        return index;
    for (std::size_t i = 0; i < m_servers.size(); ++i)
        if (m_servers[i]->Id() == serverId)
            return i;
    return std::nullopt;
}

bool CServerList::FetchRunning() const {
    auto running = [](const std::unique_ptr<CServer>& record) {
        return record->m_fetcher && !record->m_fetchFinished.load();
    };
    return std::any_of(m_servers.begin(), m_servers.end(), running) ||
           std::any_of(m_retired.begin(), m_retired.end(), running);
}

void CServerList::SetMaster(const QString& name, const QString& share) {
    std::lock_guard lock(m_masterLock);
    m_masterName = name;
    m_masterKnown = true;
    m_masterShare = share;
    m_usersFile = share + QStringLiteral("\\callward.usr");
    m_hardwareFile = share + QStringLiteral("\\callward.hw");
}

bool CServerList::MasterKnown() const {
    std::lock_guard lock(m_masterLock);
    return m_masterKnown;
}

QString CServerList::MasterName() const {
    std::lock_guard lock(m_masterLock);
    return m_masterName;
}

QString CServerList::MasterShare() const {
    std::lock_guard lock(m_masterLock);
    return m_masterShare;
}

QString CServerList::UsersFile() const {
    std::lock_guard lock(m_masterLock);
    return m_usersFile;
}

QString CServerList::HardwareFile() const {
    std::lock_guard lock(m_masterLock);
    return m_hardwareFile;
}
