#pragma once
// Module port: LoadLibrary / LoadLibraryEx, GetProcAddress, FreeLibrary. The console
// binds the RAS administration library and its router companion by name through it.

#include "platform/types.h"

#include <string>

namespace OCL {

struct ModuleObject;
using HMODULE = ModuleObject*;

namespace LoadFlags {
inline constexpr DWORD None = 0;
inline constexpr DWORD DontResolveDllReferences = 0x1;
} // namespace LoadFlags

class IModules {
public:
    virtual ~IModules() = default;

    // Loads the module named like a Windows library ("RASSAPI.DLL", "_CWADMIN").
    // On failure *result is null and the system's error code is returned.
    virtual DWORD Load(const std::string& name, DWORD flags, HMODULE* result) = 0;
    // GetProcAddress: null when the module lacks the name.
    virtual void* Symbol(HMODULE module, const std::string& name) = 0;
    virtual void Free(HMODULE module) = 0;
};

} // namespace OCL
