#pragma once
// Shares port: turns a path as the console names it (a UNC path \\HOST\SHARE\...
// or a local path) into a path this process can open. Network failures come back
// as the system's codes (53 unreachable host or share, 5 access denied).

#include "platform/types.h"

#include <filesystem>
#include <string>

namespace OCL {

class IShares {
public:
    virtual ~IShares() = default;
    virtual DWORD Resolve(const std::string& path, std::filesystem::path* local) = 0;
};

} // namespace OCL
