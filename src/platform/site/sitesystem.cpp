#include "platform/site/sitesystem.h"

#include "platform/site/sitedirectory.h"

namespace fs = std::filesystem;

namespace OCL::Site {
namespace {

std::string WithSeparator(std::string path) {
    if (path.empty() || (path.back() != '/' && path.back() != '\\'))
        path += char(fs::path::preferred_separator);
    return path;
}

} // namespace

CSiteSystem::CSiteSystem(std::shared_ptr<const SiteDirectory> site) : m_site(std::move(site)) {}

std::string CSiteSystem::ComputerName() {
    return m_site->LocalComputer();
}

DWORD CSiteSystem::VersionInfo(OsVersionInfo* info) {
    if (!info)
        return Err::InvalidParameter;
    const auto host = m_site->FindHost("");
    if (!host || host->majorVersion == 0)
        return Err::FileNotFound;
    info->majorVersion = host->majorVersion;
    info->minorVersion = host->minorVersion;
    info->buildNumber = host->buildNumber;
    info->platformId = host->platformId;
    return Err::Success;
}

std::string CSiteSystem::TempPath() {
    std::error_code ec;
    const auto host = m_site->FindHost("");
    if (!host)
        return WithSeparator(fs::temp_directory_path(ec).string());
    const fs::path temp = host->dir / "temp";
    fs::create_directories(temp, ec);
    return WithSeparator(temp.string());
}

std::string CSiteSystem::SystemDirectory() {
    const auto host = m_site->FindHost("");
    const fs::path base = host ? host->dir : m_site->Root() / "hosts" / m_site->LocalComputer();
    return (base / "shares" / "admin$" / "system32").string();
}

} // namespace OCL::Site
