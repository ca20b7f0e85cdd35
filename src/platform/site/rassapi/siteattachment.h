#pragma once
// Which site a site library (RASSAPI, _CWADMIN) works on. The site's module loader
// attaches the library after loading it; before that the library follows the
// environment variable CWSITE_DIR, and without it every remote host is unreachable.
// Safe to use from several threads: a call keeps the site it started with even if
// the library is attached elsewhere meanwhile.

#include "platform/site/sitedirectory.h"

#include <memory>
#include <mutex>
#include <string>

namespace OCL::Site {

class CSiteAttachment {
public:
    // A null or empty root leaves the library without a site.
    void Attach(const char* siteRoot);
    // The current site, or null when there is none.
    std::shared_ptr<const SiteDirectory> Current();

private:
    std::mutex m_mutex;
    bool m_attached = false;
    std::string m_root;
    std::shared_ptr<const SiteDirectory> m_site;
};

// Milliseconds since 1970, the time base of the site's pending service phases.
std::int64_t SiteNowMs();

// "Bare" host name of a wide server argument ("\\NAME", "NAME" or null).
std::string HostArgument(const char16_t* server);

} // namespace OCL::Site
