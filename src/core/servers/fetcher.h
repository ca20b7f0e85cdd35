#pragma once
// One fetch of one server on a thread of its own: the service's registry values,
// then the RAS or Routing and RAS port data, compared with what the record held
// (the change mask), then a notice to the user-interface thread.

#include "core/ocl/thread.h"
#include "core/servers/server.h"
#include "core/servers/serverlist.h"

#include <string>

class CRASFunc;

class CServerFetcherThread : public OCL::Thread {
public:
    CServerFetcherThread(CServerList& list, std::size_t index, CServer& server, CRASFunc& rasFunc,
                         CFetchContext context);
    ~CServerFetcherThread() override;

    // The four ways of assigning a fetched value: nothing changes when the value
    // is the same; otherwise it is stored and bit is added to the change mask.
    static bool UpdateIfChanged(CServer& server, char* target, std::size_t size, const char* value,
                                DWORD bit);
    static bool UpdateIfChanged(CServer& server, long& target, long value, DWORD bit);
    static bool UpdateIfChanged(CServer& server, DWORD& target, DWORD value, DWORD bit);
    static bool UpdateIfChanged(CServer& server, BOOL& target, BOOL value, DWORD bit);

    BOOL GetRegistryData(CServer& server);
    BOOL GetRASData(CServer& server);

protected:
    int Run() override;

private:
    BOOL GetClassicPorts(CServer& server, const std::string& path);
    BOOL GetRouterPorts(CServer& server, const std::string& path);

    CServerList& m_list;
    std::size_t m_index;
    CServer& m_server;
    CRASFunc& m_rasFunc;
    CFetchContext m_context;
};
