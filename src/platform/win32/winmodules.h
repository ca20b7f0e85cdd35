#pragma once
// The module port over LoadLibraryEx and GetProcAddress: names are found on the
// system's own search path ("_CWADMIN" gains ".dll" as LoadLibrary adds it).

#include "platform/modules.h"

namespace OCL::Win32 {

class CWinModules final : public IModules {
public:
    DWORD Load(const std::string& name, DWORD flags, HMODULE* result) override;
    void* Symbol(HMODULE module, const std::string& name) override;
    void Free(HMODULE module) override;
};

} // namespace OCL::Win32
