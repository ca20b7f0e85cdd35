#include "platform/win32/winmodules.h"

#include <windows.h>

#include <cstring>

namespace OCL::Win32 {

DWORD CWinModules::Load(const std::string& name, DWORD flags, HMODULE* result) {
    if (!result)
        return ERROR_INVALID_PARAMETER;
    const DWORD how = (flags & LoadFlags::DontResolveDllReferences) ? DONT_RESOLVE_DLL_REFERENCES : 0;
    // A library that is missing, or misses one of its own, is reported by code,
    // never by a box of the system's.
    unsigned long oldMode = 0;
    const bool quiet = ::SetThreadErrorMode(SEM_FAILCRITICALERRORS | SEM_NOOPENFILEERRORBOX, &oldMode);
    ::HMODULE module = ::LoadLibraryExA(name.c_str(), nullptr, how);
    const DWORD rc = module ? DWORD(ERROR_SUCCESS) : DWORD(::GetLastError());
    if (quiet)
        ::SetThreadErrorMode(oldMode, nullptr);
    *result = reinterpret_cast<HMODULE>(module);
    return rc;
}

void* CWinModules::Symbol(HMODULE module, const std::string& name) {
    if (!module)
        return nullptr;
    const FARPROC entry = ::GetProcAddress(reinterpret_cast<::HMODULE>(module), name.c_str());
    void* symbol = nullptr;
    static_assert(sizeof symbol == sizeof entry);
    std::memcpy(&symbol, &entry, sizeof symbol);
    return symbol;
}

void CWinModules::Free(HMODULE module) {
    if (module)
        ::FreeLibrary(reinterpret_cast<::HMODULE>(module));
}

} // namespace OCL::Win32
