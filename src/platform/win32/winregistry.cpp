#include "platform/win32/winregistry.h"

#include "platform/win32/wintext.h"

#include <windows.h>

#include <cstring>
#include <vector>

namespace {
// The system's predefined handles, taken where its macros see its own types.
::HKEY const kLocalMachine = HKEY_LOCAL_MACHINE;
::HKEY const kUsers = HKEY_USERS;
} // namespace

namespace OCL::Win32 {
namespace {

// The port's predefined handles carry the 32-bit values; the system's are
// sign-extended on 64-bit Windows.
::HKEY ToSystem(HKEY key) {
    if (key == Hkey::LocalMachine)
        return kLocalMachine;
    if (key == Hkey::Users)
        return kUsers;
    return reinterpret_cast<::HKEY>(key);
}

HKEY FromSystem(::HKEY key) {
    if (key == kLocalMachine)
        return Hkey::LocalMachine;
    if (key == kUsers)
        return Hkey::Users;
    return reinterpret_cast<HKEY>(key);
}

bool Predefined(HKEY key) {
    return key == Hkey::LocalMachine || key == Hkey::Users;
}

// Hands out what an open call made of result once the call is done.
template <typename Call>
LONG Opened(HKEY* result, Call call) {
    ::HKEY opened = nullptr;
    const LONG rc = call(&opened);
    *result = rc == ERROR_SUCCESS ? FromSystem(opened) : nullptr;
    return rc;
}

} // namespace

LONG CWinRegistry::Connect(const std::string& machine, HKEY predefined, HKEY* result) {
    if (!result)
        return ERROR_INVALID_PARAMETER;
    const std::string unc = MachineUnc(machine);
    return Opened(result, [&](::HKEY* opened) {
        return ::RegConnectRegistryA(unc.empty() ? nullptr : unc.c_str(), ToSystem(predefined), opened);
    });
}

LONG CWinRegistry::OpenKey(HKEY key, const std::string& subKey, HKEY* result) {
    if (!result)
        return ERROR_INVALID_PARAMETER;
    return Opened(result,
                  [&](::HKEY* opened) { return ::RegOpenKeyA(ToSystem(key), subKey.c_str(), opened); });
}

LONG CWinRegistry::CreateKey(HKEY key, const std::string& subKey, HKEY* result) {
    if (!result)
        return ERROR_INVALID_PARAMETER;
    return Opened(result,
                  [&](::HKEY* opened) { return ::RegCreateKeyA(ToSystem(key), subKey.c_str(), opened); });
}

LONG CWinRegistry::QueryValue(HKEY key, const std::string& name, DWORD* type, BYTE* data, DWORD* size) {
    if (data && !size)
        return ERROR_INVALID_PARAMETER;
    unsigned long storedType = 0;
    unsigned long storedSize = size ? *size : 0;
    // The system may fill a short buffer partly; the caller's keeps its preset.
    std::vector<BYTE> buffer(data ? std::size_t(storedSize) + 1 : 0);
    const LONG rc = ::RegQueryValueExA(ToSystem(key), name.c_str(), nullptr, &storedType,
                                       data ? buffer.data() : nullptr, size ? &storedSize : nullptr);
    if (rc == ERROR_SUCCESS && data)
        std::memcpy(data, buffer.data(), storedSize);
    if (rc == ERROR_SUCCESS || rc == ERROR_MORE_DATA) {
        if (size)
            *size = DWORD(storedSize);
        if (type)
            *type = DWORD(storedType);
    }
    return rc;
}

LONG CWinRegistry::SetValue(HKEY key, const std::string& name, DWORD type, const BYTE* data, DWORD size) {
    return ::RegSetValueExA(ToSystem(key), name.c_str(), 0, type, data, size);
}

LONG CWinRegistry::DeleteValue(HKEY key, const std::string& name) {
    return ::RegDeleteValueA(ToSystem(key), name.c_str());
}

LONG CWinRegistry::DeleteKey(HKEY key, const std::string& subKey) {
    return ::RegDeleteKeyA(ToSystem(key), subKey.c_str());
}

LONG CWinRegistry::EnumKey(HKEY key, DWORD index, char* name, DWORD cchName) {
    return ::RegEnumKeyA(ToSystem(key), index, name, cchName);
}

LONG CWinRegistry::CloseKey(HKEY key) {
    if (!key)
        return ERROR_INVALID_HANDLE;
    return Predefined(key) ? ERROR_SUCCESS : ::RegCloseKey(ToSystem(key));
}

} // namespace OCL::Win32
