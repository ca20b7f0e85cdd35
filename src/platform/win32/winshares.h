#pragma once
// The shares port on Windows: a UNC path is opened as it stands. Resolving one
// asks for its share's root, so a host or share that is gone answers with the
// system's code (53, 67, 5, ...) before anything is read or written there.

#include "platform/shares.h"

namespace OCL::Win32 {

class CWinShares final : public IShares {
public:
    DWORD Resolve(const std::string& path, std::filesystem::path* local) override;
};

} // namespace OCL::Win32
