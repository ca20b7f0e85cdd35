#pragma once
// The system port over a site: this computer is site.ini's LocalComputer, its
// version comes from its host.ini, its temporary folder is hosts/LOCAL/temp/ and
// its system folder hosts/LOCAL/shares/admin$/system32 (so \\LOCAL\admin$\system32
// is the same place).

#include "platform/system.h"

#include <memory>

namespace OCL::Site {

class SiteDirectory;

class CSiteSystem final : public ISystem {
public:
    explicit CSiteSystem(std::shared_ptr<const SiteDirectory> site);

    std::string ComputerName() override;
    // FileNotFound when host.ini gives no MajorVersion: the version is unknown.
    DWORD VersionInfo(OsVersionInfo* info) override;
    // Made when missing. Without a local computer folder: the system's own
    // temporary folder.
    std::string TempPath() override;
    std::string SystemDirectory() override;

private:
    std::shared_ptr<const SiteDirectory> m_site;
};

} // namespace OCL::Site
