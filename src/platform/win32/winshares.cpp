#include "platform/win32/winshares.h"

#include "platform/win32/wintext.h"

#include <windows.h>

namespace OCL::Win32 {
namespace {

bool Separator(char c) {
    return c == '\\' || c == '/';
}

} // namespace

DWORD CWinShares::Resolve(const std::string& path, std::filesystem::path* local) {
    if (!local)
        return ERROR_INVALID_PARAMETER;
    const bool unc = path.size() > 2 && Separator(path[0]) && Separator(path[1]);
    if (unc) {
        // "\\HOST\SHARE\" is the share's root.
        std::size_t end = path.find_first_of("\\/", 2);
        if (end == 2)
            return ERROR_INVALID_NAME;
        if (end == std::string::npos || end + 1 >= path.size())
            return ERROR_BAD_NET_NAME;
        end = path.find_first_of("\\/", end + 1);
        const std::string root = path.substr(0, end) + "\\";
        if (::GetFileAttributesA(root.c_str()) == INVALID_FILE_ATTRIBUTES)
            return ::GetLastError();
    }
    *local = std::filesystem::path(Wide(path));
    return ERROR_SUCCESS;
}

} // namespace OCL::Win32
