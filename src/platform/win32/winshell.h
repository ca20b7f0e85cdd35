#pragma once
// The shell port: WinExec and ShellExecute, their small-number results turned
// into the system's error codes.

#include "platform/shell.h"

namespace OCL::Win32 {

class CWinShell final : public IShell {
public:
    DWORD Exec(const std::string& commandLine, int showCommand) override;
    DWORD Open(const std::string& verb, const std::string& target) override;
};

} // namespace OCL::Win32
