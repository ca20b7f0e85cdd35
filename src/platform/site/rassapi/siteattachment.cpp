#include "platform/site/rassapi/siteattachment.h"

#include "platform/ansi.h"
#include "platform/clock.h"

#include <cstdlib>

namespace OCL::Site {

void CSiteAttachment::Attach(const char* siteRoot) {
    std::string root = siteRoot ? siteRoot : "";
    auto site = root.empty() ? nullptr : std::make_shared<const SiteDirectory>(root);
    std::lock_guard lock(m_mutex);
    m_attached = true;
    m_root = std::move(root);
    m_site = std::move(site);
}

std::shared_ptr<const SiteDirectory> CSiteAttachment::Current() {
    std::lock_guard lock(m_mutex);
    if (!m_attached) {
        const char* env = std::getenv("CWSITE_DIR");
        const std::string root = env ? env : "";
        if (root != m_root || (!m_site && !root.empty())) {
            m_root = root;
            m_site = root.empty() ? nullptr : std::make_shared<const SiteDirectory>(root);
        }
    }
    return m_site;
}

std::int64_t SiteNowMs() {
    return SystemClock().NowMs();
}

std::string HostArgument(const char16_t* server) {
    if (!server)
        return {};
    return BareName(Ansi::FromUtf16(server));
}

} // namespace OCL::Site
