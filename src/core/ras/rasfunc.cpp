#include "core/ras/rasfunc.h"

#include <QStringList>

using namespace OCL;

namespace {
constexpr DWORD kProcNotFound = 127;
}

CRASFunc::CRASFunc(const CEnvironment& environment, CRasBinding& binding)
    : m_env(environment), m_binding(binding) {
    Init();
}

std::u16string CRASFunc::Wide(const QString& text, int limit) {
    const QString cut = text.left(limit);
    return std::u16string(reinterpret_cast<const char16_t*>(cut.utf16()), std::size_t(cut.size()));
}

BOOL CRASFunc::Init() {
    // The boxes are shown after the lock is let go: a modal box runs an event loop,
    // and fetcher threads (or the loop itself) must not wait on the binding meanwhile.
    QStringList messages;
    BOOL result = 1;
    {
        std::lock_guard lock(m_binding.mutex);
        if (m_binding.bound)
            return 1;
        IModules& modules = m_env.Modules();
        HMODULE module = nullptr;
        DWORD rc = modules.Load("RASSAPI.DLL", LoadFlags::None, &module);
        if (rc != Err::Success)
            rc = modules.Load("RASSAPI.DLL", LoadFlags::DontResolveDllReferences, &module);
        if (rc != Err::Success) {
            messages.append(QStringLiteral("Error when loading RASSAPI.DLL (code:%1)\n\nVerify that the file "
                                           "exists in your search path.\n")
                                .arg(rc));
            result = 0;
        } else {
            m_binding.module = module;
            for (std::size_t i = 0; i < CRasBinding::kNames.size(); ++i)
                m_binding.entries[i] = modules.Symbol(module, CRasBinding::kNames[i]);
            for (std::size_t i = 0; i < CRasBinding::kNames.size(); ++i) {
                if (m_binding.entries[i])
                    continue;
                // Only the first ordinal's text ends with a full stop.
                messages.append(
                    QStringLiteral("Error when loading Rassapi.dll: Unable to locate ordinal 0x%1")
                        .arg(i + 1, 3, 10, QLatin1Char('0')) +
                    (i == 0 ? QStringLiteral(".") : QString()));
            }
            m_binding.bound = true;
        }
    }
    for (const QString& text : messages)
        m_env.Prompter().Inform(text);
    return result;
}

DWORD CRASFunc::PortEnum(const QString& server, RAS_PORT_0** ports, WORD* count) {
    auto fn = Entry<PFN_RasAdminPortEnum>(1);
    if (!fn)
        return kProcNotFound;
    const std::u16string name = Wide(server, 200);
    return fn(name.c_str(), ports, count);
}

DWORD CRASFunc::FreeBuffer(void* buffer) {
    auto fn = Entry<PFN_RasAdminFreeBuffer>(2);
    return fn ? fn(buffer) : kProcNotFound;
}

DWORD CRASFunc::PortGetInfo(const QString& server, const QString& port, RAS_PORT_1* port1,
                            RAS_PORT_STATISTICS* statistics, RAS_PARAMETERS** parameters) {
    auto fn = Entry<PFN_RasAdminPortGetInfo>(4);
    if (!fn)
        return kProcNotFound;
    const std::u16string wideServer = Wide(server, 200);
    const std::u16string widePort = Wide(port, 200);
    return fn(wideServer.c_str(), widePort.c_str(), port1, statistics, parameters);
}

DWORD CRASFunc::PortClearStatistics(const QString& server, const QString& port) {
    auto fn = Entry<PFN_RasAdminPortClearStatistics>(6);
    if (!fn)
        return kProcNotFound;
    const std::u16string wideServer = Wide(QStringLiteral("\\\\") + server, 60);
    const std::u16string widePort = Wide(port, 60);
    return fn(wideServer.c_str(), widePort.c_str());
}

DWORD CRASFunc::UserGetInfo(const QString& server, const QString& user) {
    auto fn = Entry<PFN_RasAdminUserGetInfo>(7);
    if (!fn)
        return kProcNotFound;
    const std::u16string wideServer = Wide(server, 200);
    const std::u16string wideUser = Wide(user, 200);
    return fn(wideServer.c_str(), wideUser.c_str(), &m_account);
}

DWORD CRASFunc::UserSetInfo(const QString& server, const QString& user) {
    auto fn = Entry<PFN_RasAdminUserSetInfo>(8);
    if (!fn)
        return kProcNotFound;
    const std::u16string wideServer = Wide(server, 200);
    const std::u16string wideUser = Wide(user, 200);
    return fn(wideServer.c_str(), wideUser.c_str(), &m_account);
}

DWORD CRASFunc::PortDisconnect(const QString& serverName, const QString& port) {
    auto fn = Entry<PFN_RasAdminPortDisconnect>(5);
    if (!fn)
        return kProcNotFound;
    const std::u16string wideServer = Wide(QStringLiteral("\\\\") + serverName, 60);
    const std::u16string widePort = Wide(port, 60);
    return fn(wideServer.c_str(), widePort.c_str());
}

BOOL CRRASFunc::Init() {
    if (m_bound)
        return 1;
    IModules& modules = m_env.Modules();
    HMODULE module = nullptr;
    DWORD rc = modules.Load("MPRAPI.DLL", LoadFlags::None, &module);
    if (rc != Err::Success)
        rc = modules.Load("MPRAPI.DLL", LoadFlags::DontResolveDllReferences, &module);
    if (rc != Err::Success) {
        m_env.Prompter().Inform(QStringLiteral(
            "Error when loading MPRAPI.DLL. Verify that the file exists in your search path."));
        return 0;
    }
    m_module = module;
    m_serverConnect = modules.Symbol(module, "RasAdminServerConnect");
    if (!m_serverConnect)
        m_env.Prompter().Inform(
            QStringLiteral("Error when loading MPRAPI.DLL: Unable to locate ordinal 0x001."));
    m_bound = true;
    return 1;
}
