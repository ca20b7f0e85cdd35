#include "core/app/registry.h"

#include "core/app/ansitext.h"

#include <cstdlib>
#include <cstring>

using namespace OCL;

namespace {

constexpr DWORD kStringBuffer = 600;

std::string Ansi(const QString& text) {
    return CAnsi::FromQString(text);
}

} // namespace

QString CRegistry::KeyFor(const QString& section) {
    return QString::fromLatin1(kProductKey).replace(QStringLiteral("%s"), section);
}

LONG CRegistry::Open(const QString& server, const QString& section, RegKeyGuard& connection,
                     RegKeyGuard& key) const {
    IRegistry& reg = m_env.Registry();
    HKEY root = Hkey::LocalMachine;
    if (!server.isEmpty()) {
        const LONG rc = reg.Connect(Ansi(server), Hkey::LocalMachine, connection.Out());
        if (rc != Err::Success)
            return rc;
        root = connection.Get();
    }
    return reg.OpenKey(root, Ansi(KeyFor(section)), key.Out());
}

BOOL CRegistry::ReadDWORD(const QString& server, const QString& section, const QString& name,
                          DWORD* value) const {
    RegKeyGuard connection(m_env.Registry()), key(m_env.Registry());
    DWORD data = 0;
    DWORD size = sizeof data;
    if (Open(server, section, connection, key) != Err::Success ||
        m_env.Registry().QueryValue(key.Get(), Ansi(name), nullptr, reinterpret_cast<BYTE*>(&data), &size) !=
            Err::Success) {
        *value = 0;
        return 0;
    }
    *value = data;
    return 1;
}

BOOL CRegistry::SetDWORD(const QString& server, const QString& section, const QString& name,
                         DWORD value) const {
    RegKeyGuard connection(m_env.Registry()), key(m_env.Registry());
    if (Open(server, section, connection, key) != Err::Success)
        return 0;
    return m_env.Registry().SetValue(key.Get(), Ansi(name), RegType::Dword,
                                     reinterpret_cast<const BYTE*>(&value), sizeof value) == Err::Success;
}

BOOL CRegistry::ReadString(const QString& server, const QString& section, const QString& name,
                           std::string* value) const {
    RegKeyGuard connection(m_env.Registry()), key(m_env.Registry());
    char buffer[kStringBuffer];
    DWORD size = kStringBuffer;
    if (Open(server, section, connection, key) != Err::Success ||
        m_env.Registry().QueryValue(key.Get(), Ansi(name), nullptr, reinterpret_cast<BYTE*>(buffer), &size) !=
            Err::Success)
        return 0;
    *value = std::string(CAnsi::FieldText(buffer, size));
    return 1;
}

BOOL CRegistry::SetString(const QString& server, const QString& section, const QString& name,
                          const QString& text) const {
    RegKeyGuard connection(m_env.Registry()), key(m_env.Registry());
    if (Open(server, section, connection, key) != Err::Success)
        return 0;
    const std::string bytes = Ansi(text);
    return m_env.Registry().SetValue(key.Get(), Ansi(name), RegType::Sz,
                                     reinterpret_cast<const BYTE*>(bytes.data()),
                                     DWORD(bytes.size())) == Err::Success;
}

bool CRegistry::ReadText(HKEY root, const char* subKey, const char* name, DWORD size,
                         std::string* value) const {
    RegKeyGuard key(m_env.Registry());
    if (m_env.Registry().OpenKey(root, subKey, key.Out()) != Err::Success)
        return false;
    std::string buffer(size, '\0');
    DWORD got = size;
    if (m_env.Registry().QueryValue(key.Get(), name, nullptr, reinterpret_cast<BYTE*>(buffer.data()), &got) !=
        Err::Success)
        return false;
    *value = std::string(CAnsi::FieldText(buffer.data(), got));
    return true;
}

BOOL CRegistry::IsRRAS(const QString& server) const {
    IRegistry& reg = m_env.Registry();
    std::string path;
    if (!server.isEmpty()) {
        const std::string name = Ansi(server);
        if (name.size() > 1 && name[1] == '\\')
            path = name;
        else if (name[0] != '\\')
            path = "\\\\" + name;
        else
            path = "\\" + name;
    }

    RegKeyGuard connection(reg);
    HKEY root = Hkey::LocalMachine;
    if (!server.isEmpty()) {
        if (reg.Connect(path, Hkey::LocalMachine, connection.Out()) == Err::Success) {
            root = connection.Get();
            // The service records what it found; trust it first.
            RegKeyGuard key(reg);
            DWORD type = 0;
            DWORD size = sizeof type;
            if (reg.OpenKey(root, kServiceKey, key.Out()) == Err::Success &&
                reg.QueryValue(key.Get(), "RAS Type", nullptr, reinterpret_cast<BYTE*>(&type), &size) ==
                    Err::Success)
                return type > 0 ? 1 : 0;
        } else {
            root = nullptr;
        }
    }

    std::string text;
    if (GetOSVersion(server) > 4.0) {
        if (root &&
            ReadText(root, "System\\CurrentControlSet\\Services\\RemoteAccess", "DisplayName", kStringBuffer,
                     &text) &&
            QString::compare(CAnsi::ToQString(text), QStringLiteral("Remote Access Service"),
                             Qt::CaseInsensitive) == 0)
            return 0;
        return 1;
    }
    // The title test compares with "Routin2", which no real title matches, so a
    // version-4.0 server without "RAS Type" counts as classic RAS.
    if (root && ReadText(root, "Software\\Microsoft\\RAS\\CurrentVersion", "Title", kStringBuffer, &text) &&
        text.size() >= 7 &&
        QString::compare(CAnsi::ToQString(text.substr(0, 7)), QStringLiteral("Routin2"),
                         Qt::CaseInsensitive) == 0)
        return 1;
    return 0;
}

double CRegistry::GetOSVersion(const QString& server) const {
    if (!server.isEmpty()) {
        RegKeyGuard connection(m_env.Registry());
        if (m_env.Registry().Connect(Ansi(server), Hkey::LocalMachine, connection.Out()) != Err::Success)
            return 0.0;
        std::string text;
        if (!ReadText(connection.Get(), "Software\\Microsoft\\Windows NT\\CurrentVersion", "CurrentVersion",
                      100, &text))
            return 0.0;
        return std::atof(text.c_str());
    }
    OsVersionInfo info;
    if (m_env.System().VersionInfo(&info) != Err::Success) {
        m_env.Prompter().Inform(QStringLiteral("Failed to determine local OS type\n"),
                                IPrompter::Icon::Error);
        return 0.0;
    }
    if (info.platformId != PlatformId::WindowsNt) {
        m_env.Prompter().Inform(QStringLiteral("Non-NT Windows are not supported"), IPrompter::Icon::Error);
        return 0.0;
    }
    return double(info.majorVersion);
}
