#pragma once
// The system port over GetComputerName, GetVersionEx, GetTempPath and
// GetSystemDirectory.

#include "platform/system.h"

namespace OCL::Win32 {

class CWinSystem final : public ISystem {
public:
    std::string ComputerName() override;
    DWORD VersionInfo(OsVersionInfo* info) override;
    std::string TempPath() override;
    std::string SystemDirectory() override;
};

} // namespace OCL::Win32
