#pragma once
// The shares port over a site. "\\HOST\SHARE\rest" is, in this order: the folder
// that site.ini [Shares] maps "\\HOST\SHARE" to (a real mounted share can stand
// in this way), or hosts/HOST/shares/SHARE/rest. A drive path "C:\dir\file" of
// this computer is hosts/LOCAL/drives/C/dir/file, so fixed Windows paths land
// inside the site; any other path is a local path of this machine.
//
// Host, share and every existing folder or file on the way are matched without
// regard to case, as a Windows share would; what does not exist yet keeps the
// spelling given. ".." never climbs above the share.

#include "platform/shares.h"

#include <memory>
#include <string>
#include <vector>

namespace OCL::Site {

class SiteDirectory;
struct HostInfo;

class CSiteShares final : public IShares {
public:
    explicit CSiteShares(std::shared_ptr<const SiteDirectory> site);

    DWORD Resolve(const std::string& path, std::filesystem::path* local) override;

    // The shares a host offers: its folders under shares/ and its [Shares]
    // mappings, each name once.
    static std::vector<std::string> ShareNames(const SiteDirectory& site, const HostInfo& host);

private:
    std::shared_ptr<const SiteDirectory> m_site;
};

// base/rest with rest split at '\' and '/', each existing step matched without case.
std::filesystem::path AppendWithoutCase(std::filesystem::path base, const std::string& rest);

} // namespace OCL::Site
