#pragma once
// Registry port: the remote and local registry calls (RegConnectRegistry,
// RegOpenKey, RegCreateKey, RegQueryValueEx, RegSetValueEx, RegDeleteValue,
// RegDeleteKey, RegEnumKey, RegCloseKey) on HKEY_LOCAL_MACHINE and HKEY_USERS.
// Every operation returns the system's error code; data and sizes behave as the
// real calls do (ERROR_MORE_DATA with the needed size when a buffer is short,
// string data exactly as stored, with or without a terminator).

#include "platform/types.h"

#include <cstdint>
#include <string>

namespace OCL {

struct RegKeyObject;
using HKEY = RegKeyObject*;

namespace Hkey {
// The predefined handles carry the system's values.
inline HKEY const LocalMachine = reinterpret_cast<HKEY>(std::uintptr_t{0x80000002});
inline HKEY const Users = reinterpret_cast<HKEY>(std::uintptr_t{0x80000003});
} // namespace Hkey

namespace RegType {
inline constexpr DWORD None = 0;
inline constexpr DWORD Sz = 1;
inline constexpr DWORD ExpandSz = 2;
inline constexpr DWORD Binary = 3;
inline constexpr DWORD Dword = 4;
inline constexpr DWORD MultiSz = 7;
} // namespace RegType

class IRegistry {
public:
    virtual ~IRegistry() = default;

    // RegConnectRegistry. machine is "\\NAME", "NAME", or empty for this computer;
    // predefined is Hkey::LocalMachine or Hkey::Users.
    virtual LONG Connect(const std::string& machine, HKEY predefined, HKEY* result) = 0;
    // RegOpenKey: opens an existing key (never creates).
    virtual LONG OpenKey(HKEY key, const std::string& subKey, HKEY* result) = 0;
    // RegCreateKey: opens the key, creating it and its missing parents.
    virtual LONG CreateKey(HKEY key, const std::string& subKey, HKEY* result) = 0;
    // RegQueryValueEx. type and data may be null; *size is the buffer size on entry
    // and the stored size on return. A short buffer gives MoreData and leaves data
    // untouched. An empty name is the key's default value.
    virtual LONG QueryValue(HKEY key, const std::string& name, DWORD* type, BYTE* data, DWORD* size) = 0;
    // RegSetValueEx: stores exactly size bytes of data under the given type.
    virtual LONG SetValue(HKEY key, const std::string& name, DWORD type, const BYTE* data, DWORD size) = 0;
    virtual LONG DeleteValue(HKEY key, const std::string& name) = 0;
    // RegDeleteKey: deletes a key that has no subkeys.
    virtual LONG DeleteKey(HKEY key, const std::string& subKey) = 0;
    // RegEnumKey: the index-th subkey name into a buffer of cchName characters
    // (terminator included); NoMoreItems past the end, MoreData when too long.
    virtual LONG EnumKey(HKEY key, DWORD index, char* name, DWORD cchName) = 0;
    virtual LONG CloseKey(HKEY key) = 0;
};

// Closes a key when it goes out of scope; predefined and null handles are left alone.
class RegKeyGuard {
public:
    RegKeyGuard(IRegistry& registry, HKEY key = nullptr) : m_registry(registry), m_key(key) {}
    ~RegKeyGuard() { Reset(); }
    RegKeyGuard(const RegKeyGuard&) = delete;
    RegKeyGuard& operator=(const RegKeyGuard&) = delete;

    HKEY* Out() {
        Reset();
        return &m_key;
    }
    HKEY Get() const { return m_key; }
    void Reset() {
        if (m_key && m_key != Hkey::LocalMachine && m_key != Hkey::Users)
            m_registry.CloseKey(m_key);
        m_key = nullptr;
    }

private:
    IRegistry& m_registry;
    HKEY m_key;
};

} // namespace OCL
