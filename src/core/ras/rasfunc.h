#pragma once
// Binds the RAS administration library by name, once per process, and wraps its
// calls for the console. A missing library or entry point is reported with the
// library's own wording; a call through a missing entry point answers 127
// instead of crashing.

#include "core/app/environment.h"
#include "platform/rassapi.h"

#include <QString>

#include <array>
#include <mutex>

using OCL::BOOL;
using OCL::DWORD;
using OCL::WORD;

// The library handle and the nine entry points: one per process, shared by the
// document's CRASFunc and every fetcher thread.
class CRasBinding {
public:
    CRasBinding() = default;
    CRasBinding(const CRasBinding&) = delete;
    CRasBinding& operator=(const CRasBinding&) = delete;

    static constexpr std::array<const char*, 9> kNames = {
        "RasAdminPortEnum",    "RasAdminFreeBuffer",     "RasAdminGetErrorString",
        "RasAdminPortGetInfo", "RasAdminPortDisconnect", "RasAdminPortClearStatistics",
        "RasAdminUserGetInfo", "RasAdminUserSetInfo",    "RasAdminServerGetInfo"};

    std::mutex mutex;
    bool bound = false;
    OCL::HMODULE module = nullptr;
    std::array<void*, 9> entries{};
};

class CRASFunc {
public:
    // Calls Init, as every user does before a call.
    CRASFunc(const CEnvironment& environment, CRasBinding& binding);

    // 1 when the library is loaded (even with entry points missing), 0 when it
    // could not be; a failed load is tried again on the next call.
    BOOL Init();

    // RasAdminPortEnum; server in the form "\\NAME".
    DWORD PortEnum(const QString& server, OCL::RAS_PORT_0** ports, WORD* count);
    DWORD FreeBuffer(void* buffer);
    // RasAdminPortGetInfo; server in the form "\\NAME".
    DWORD PortGetInfo(const QString& server, const QString& port, OCL::RAS_PORT_1* port1,
                      OCL::RAS_PORT_STATISTICS* statistics, OCL::RAS_PARAMETERS** parameters);
    // Forms "\\%s" from the server name.
    DWORD PortClearStatistics(const QString& server, const QString& port);
    // Account read and write through the object's account buffer.
    DWORD UserGetInfo(const QString& server, const QString& user);
    DWORD UserSetInfo(const QString& server, const QString& user);
    // Forms "\\%s" from the server name.
    DWORD PortDisconnect(const QString& serverName, const QString& port);

    OCL::RAS_USER_0& Account() { return m_account; }

    // Wide text of at most limit characters, as the calls take it.
    static std::u16string Wide(const QString& text, int limit);

private:
    template <typename Fn>
    Fn Entry(int number) const {
        return reinterpret_cast<Fn>(m_binding.entries[std::size_t(number - 1)]);
    }

    const CEnvironment& m_env;
    CRasBinding& m_binding;
    OCL::RAS_USER_0 m_account{};
};

// The router administration library's binding (MPRAPI.DLL, one entry point).
// Kept ready beside CRASFunc; the console itself does not call through it.
class CRRASFunc {
public:
    CRRASFunc(const CEnvironment& environment) : m_env(environment) {}
    BOOL Init();

private:
    const CEnvironment& m_env;
    bool m_bound = false;
    OCL::HMODULE m_module = nullptr;
    void* m_serverConnect = nullptr;
};
