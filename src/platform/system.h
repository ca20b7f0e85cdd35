#pragma once
// System port: what the console asks of the computer it runs on (GetComputerName,
// GetVersionEx, GetTempPath, GetSystemDirectory).

#include "platform/types.h"

#include <string>

namespace OCL {

namespace PlatformId {
inline constexpr DWORD Win32s = 0;
inline constexpr DWORD Windows = 1; // the 95/98 family
inline constexpr DWORD WindowsNt = 2;
} // namespace PlatformId

struct OsVersionInfo {
    DWORD majorVersion = 0;
    DWORD minorVersion = 0;
    DWORD buildNumber = 0;
    DWORD platformId = 0;
};

class ISystem {
public:
    virtual ~ISystem() = default;
    // GetComputerName: the NetBIOS name of this computer, as its owner spelled it.
    virtual std::string ComputerName() = 0;
    // GetVersionEx: Success and the version, or an error code when undetermined.
    virtual DWORD VersionInfo(OsVersionInfo* info) = 0;
    // GetTempPath: the temporary folder, ending with a path separator.
    virtual std::string TempPath() = 0;
    // GetSystemDirectory: where system libraries live (a plain local path).
    virtual std::string SystemDirectory() = 0;
};

} // namespace OCL
