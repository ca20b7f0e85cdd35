#include "platform/site/site.h"

#include "platform/site/sitedirectory.h"
#include "platform/site/sitemodules.h"
#include "platform/site/sitenetwork.h"
#include "platform/site/sitepipe.h"
#include "platform/site/siteregistry.h"
#include "platform/site/siteservices.h"
#include "platform/site/siteshares.h"
#include "platform/site/siteshell.h"
#include "platform/site/sitesystem.h"

#include <cstdlib>

namespace fs = std::filesystem;

namespace OCL::Site {
namespace {

// Platform::clock for the ports that share one clock with it.
class SharedClock final : public IClock {
public:
    explicit SharedClock(std::shared_ptr<IClock> clock) : m_clock(std::move(clock)) {}
    DWORD TickCount() override { return m_clock->TickCount(); }
    std::int64_t Now() override { return m_clock->Now(); }
    std::int64_t NowMs() override { return m_clock->NowMs(); }

private:
    std::shared_ptr<IClock> m_clock;
};

std::unique_ptr<Platform> Open(const fs::path& root, const SiteOptions& options) {
    std::error_code ec;
    fs::path absolute = fs::absolute(root, ec);
    if (ec)
        absolute = root;
    auto site = std::make_shared<const SiteDirectory>(absolute.lexically_normal());
    std::shared_ptr<IClock> clock;
    if (options.clock)
        clock = std::shared_ptr<IClock>(options.clock, [](IClock*) {});
    else
        clock = std::make_shared<SystemClock>();

    auto platform = std::make_unique<Platform>();
    auto registry = std::make_unique<CSiteRegistry>(site);
    platform->problems = site->Problems();
    for (const std::string& name : site->HostNames())
        if (const auto host = site->FindHost(name))
            if (std::string problem = registry->Problem(*host); !problem.empty())
                platform->problems.push_back(std::move(problem));

    platform->registry = std::move(registry);
    platform->services = std::make_unique<CSiteServiceControl>(site, clock);
    platform->modules = std::make_unique<CSiteModules>(site, options.moduleFolder);
    platform->network = std::make_unique<CSiteNetwork>(site);
    platform->pipe = std::make_unique<CSitePipe>(site);
    platform->shares = std::make_unique<CSiteShares>(site);
    platform->shell = std::make_unique<CSiteShell>(site, clock, options.opener);
    platform->system = std::make_unique<CSiteSystem>(site);
    platform->clock = std::make_unique<SharedClock>(clock);
    return platform;
}

} // namespace

std::unique_ptr<Platform> OpenSite(const fs::path& root, const SiteOptions& options) {
    try {
        return Open(root, options);
    } catch (...) {
        return nullptr;
    }
}

fs::path DefaultSiteDir() {
#ifdef _WIN32
    if (const char* local = std::getenv("LOCALAPPDATA"); local && *local)
        return fs::path(local) / "callwarden" / "site";
#else
    if (const char* data = std::getenv("XDG_DATA_HOME"); data && *data == '/')
        return fs::path(data) / "callwarden" / "site";
#endif
    if (const char* home = std::getenv("HOME"); home && *home)
        return fs::path(home) / ".local" / "share" / "callwarden" / "site";
    std::error_code ec;
    return fs::current_path(ec) / "callwarden-site";
}

} // namespace OCL::Site
