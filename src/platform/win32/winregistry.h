#pragma once
// The registry port over the Win32 registry calls, local and remote. Codes and
// data are the system's; only a short buffer is kept untouched, as the port
// promises and the A-calls do not.

#include "platform/registry.h"

namespace OCL::Win32 {

class CWinRegistry final : public IRegistry {
public:
    LONG Connect(const std::string& machine, HKEY predefined, HKEY* result) override;
    LONG OpenKey(HKEY key, const std::string& subKey, HKEY* result) override;
    LONG CreateKey(HKEY key, const std::string& subKey, HKEY* result) override;
    LONG QueryValue(HKEY key, const std::string& name, DWORD* type, BYTE* data, DWORD* size) override;
    LONG SetValue(HKEY key, const std::string& name, DWORD type, const BYTE* data, DWORD size) override;
    LONG DeleteValue(HKEY key, const std::string& name) override;
    LONG DeleteKey(HKEY key, const std::string& subKey) override;
    LONG EnumKey(HKEY key, DWORD index, char* name, DWORD cchName) override;
    LONG CloseKey(HKEY key) override;
};

} // namespace OCL::Win32
