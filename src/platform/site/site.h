#pragma once
// Opening a site: the portable implementation of every platform port over a
// site directory (its layout is described in sitedirectory.h and in
// docs/site-format.md).

#include "platform/platform.h"

#include <filesystem>
#include <functional>
#include <memory>
#include <string>

namespace OCL::Site {

struct SiteOptions {
    // Where the site's own libraries (RASSAPI, _CWADMIN) are found by name.
    std::filesystem::path moduleFolder;
    // Opens a document or web page for the shell port; empty: only recorded.
    std::function<void(const std::string& target)> opener;
    // A clock to use instead of the system's (tests drive time with it). Not
    // owned: it must outlive the platform. Platform::clock then forwards to it.
    IClock* clock = nullptr;
};

// Never throws. A missing or malformed site still gives every port (unknown
// hosts answer 53) and says what is wrong in Platform::problems; nothing is
// created or overwritten until something is written on purpose. Null only when
// memory runs out.
std::unique_ptr<Platform> OpenSite(const std::filesystem::path& root, const SiteOptions& options = {});

// $XDG_DATA_HOME/callwarden/site, else ~/.local/share/callwarden/site
// (%LOCALAPPDATA%\callwarden\site on Windows).
std::filesystem::path DefaultSiteDir();

} // namespace OCL::Site
