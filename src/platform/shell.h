#pragma once
// Shell port: WinExec for the messenger command ("NET SEND user text") and
// ShellExecute for opening a document or a web page.

#include "platform/types.h"

#include <string>

namespace OCL {

class IShell {
public:
    virtual ~IShell() = default;
    // WinExec: starts the command line without waiting. Success or an error code.
    virtual DWORD Exec(const std::string& commandLine, int showCommand) = 0;
    // ShellExecute with a verb ("open") on a file path or an address.
    virtual DWORD Open(const std::string& verb, const std::string& target) = 0;
};

} // namespace OCL
