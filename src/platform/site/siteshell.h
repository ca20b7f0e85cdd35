#pragma once
// The shell port over a site. "NET SEND user text" puts one line into
// spool/messages.log: "<seconds since 1970>\t<sending computer>\t<user>\t<text>"
// (tabs and line breaks inside become blanks). Opening a document or page
// records "<seconds>\t<verb>\t<target>" in spool/shell.log and hands the target
// to the opener, when one is set (the desktop's opener in the console).

#include "platform/clock.h"
#include "platform/shell.h"

#include <functional>
#include <memory>
#include <string>

namespace OCL::Site {

class SiteDirectory;

class CSiteShell final : public IShell {
public:
    using Opener = std::function<void(const std::string& target)>;

    CSiteShell(std::shared_ptr<const SiteDirectory> site, std::shared_ptr<IClock> clock, Opener opener);

    DWORD Exec(const std::string& commandLine, int showCommand) override;
    DWORD Open(const std::string& verb, const std::string& target) override;

private:
    DWORD Append(const char* file, const std::string& line);

    std::shared_ptr<const SiteDirectory> m_site;
    std::shared_ptr<IClock> m_clock;
    Opener m_opener;
};

} // namespace OCL::Site
