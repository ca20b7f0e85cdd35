#include "platform/win32/winsystem.h"

#include <windows.h>

namespace OCL::Win32 {
namespace {

// A path call that answers the size it needs when the buffer is short.
template <typename Call>
std::string GrowingPath(Call call) {
    std::string text(MAX_PATH + 1, '\0');
    for (int attempt = 0; attempt < 4; ++attempt) {
        const UINT n = call(text.data(), UINT(text.size()));
        if (n == 0)
            return {};
        if (n < text.size()) {
            text.resize(n);
            return text;
        }
        text.assign(std::size_t(n) + 1, '\0');
    }
    return {};
}

} // namespace

std::string CWinSystem::ComputerName() {
    char name[MAX_COMPUTERNAME_LENGTH + 1] = {};
    unsigned long size = sizeof name;
    return ::GetComputerNameA(name, &size) ? std::string(name, size) : std::string();
}

DWORD CWinSystem::VersionInfo(OsVersionInfo* info) {
    if (!info)
        return ERROR_INVALID_PARAMETER;
    OSVERSIONINFOA version{};
    version.dwOSVersionInfoSize = sizeof version;
#if defined(_MSC_VER)
#pragma warning(suppress : 4996) // the console asks what the system tells this program
#endif
    if (!::GetVersionExA(&version))
        return ::GetLastError();
    info->majorVersion = version.dwMajorVersion;
    info->minorVersion = version.dwMinorVersion;
    info->buildNumber = version.dwBuildNumber;
    info->platformId = version.dwPlatformId;
    return ERROR_SUCCESS;
}

std::string CWinSystem::TempPath() {
    return GrowingPath([](char* buffer, UINT size) { return UINT(::GetTempPathA(size, buffer)); });
}

std::string CWinSystem::SystemDirectory() {
    return GrowingPath([](char* buffer, UINT size) { return ::GetSystemDirectoryA(buffer, size); });
}

} // namespace OCL::Win32
