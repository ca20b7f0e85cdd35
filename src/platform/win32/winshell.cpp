#include "platform/win32/winshell.h"

#include <windows.h>
// After windows.h, which it needs.
#include <shellapi.h>

#include <cstdint>

namespace OCL::Win32 {
namespace {

// Both calls answer above 31 (WinExec) or 32 (ShellExecute) on success and
// with an error code below; 0 stands for lack of memory.
DWORD FromSmallResult(std::uintptr_t result, std::uintptr_t success) {
    if (result > success)
        return ERROR_SUCCESS;
    return result == 0 ? DWORD(ERROR_NOT_ENOUGH_MEMORY) : DWORD(result);
}

} // namespace

DWORD CWinShell::Exec(const std::string& commandLine, int showCommand) {
    return FromSmallResult(::WinExec(commandLine.c_str(), UINT(showCommand)), 31);
}

DWORD CWinShell::Open(const std::string& verb, const std::string& target) {
    const HINSTANCE result = ::ShellExecuteA(nullptr, verb.empty() ? nullptr : verb.c_str(), target.c_str(),
                                             nullptr, nullptr, SW_SHOWNORMAL);
    return FromSmallResult(reinterpret_cast<std::uintptr_t>(result), 32);
}

} // namespace OCL::Win32
