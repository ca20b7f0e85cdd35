#include "platform/site/siteshares.h"

#include "ini/inifile.h"
#include "platform/ansi.h"
#include "platform/site/sitedirectory.h"

#include <algorithm>

namespace fs = std::filesystem;

namespace OCL::Site {
namespace {

// A name as the console spells it (Windows-1252) as a path component here.
fs::path AnsiPath(const std::string& ansi) {
#ifdef _WIN32
    const std::u16string wide = Ansi::ToUtf16(ansi);
    return fs::path(std::wstring(wide.begin(), wide.end()));
#else
    return fs::path(Ansi::ToUtf8(ansi));
#endif
}

std::string AnsiName(const fs::path& path) {
#ifdef _WIN32
    const std::wstring wide = path.filename().wstring();
    return Ansi::FromUtf16(std::u16string(wide.begin(), wide.end()));
#else
    return Ansi::FromUtf8(path.filename().string());
#endif
}

std::vector<std::string> SplitAny(const std::string& text) {
    std::vector<std::string> parts;
    std::string part;
    for (char c : text) {
        if (c == '\\' || c == '/') {
            if (!part.empty())
                parts.push_back(std::move(part));
            part.clear();
        } else {
            part += c;
        }
    }
    if (!part.empty())
        parts.push_back(std::move(part));
    return parts;
}

// The entry of dir named like name without regard to case; empty when none.
fs::path FindEntry(const fs::path& dir, const std::string& name) {
    std::error_code ec;
    const fs::path exact = dir / AnsiPath(name);
    if (fs::exists(exact, ec))
        return exact;
    for (fs::directory_iterator it(dir, ec), end; !ec && it != end; it.increment(ec))
        if (Ini::NamesEqual(AnsiName(it->path()), name))
            return it->path();
    return {};
}

struct UncParts {
    std::string host, share, rest;
};

bool SplitUnc(const std::string& path, UncParts* parts) {
    if (path.size() < 2 || (path[0] != '\\' && path[0] != '/') || (path[1] != '\\' && path[1] != '/'))
        return false;
    const std::size_t hostEnd = path.find_first_of("\\/", 2);
    parts->host = path.substr(2, hostEnd == std::string::npos ? std::string::npos : hostEnd - 2);
    if (hostEnd == std::string::npos)
        return true;
    const std::size_t shareEnd = path.find_first_of("\\/", hostEnd + 1);
    parts->share =
        path.substr(hostEnd + 1, shareEnd == std::string::npos ? std::string::npos : shareEnd - hostEnd - 1);
    if (shareEnd != std::string::npos)
        parts->rest = path.substr(shareEnd + 1);
    return true;
}

// The [Shares] mapping of \\host\share, matched without case; empty when none.
std::string Mapping(const SiteDirectory& site, const std::vector<std::string>& hostNames,
                    const std::string& share) {
    auto doc = site.Files().Read(site.Root() / "site.ini");
    auto section = doc->FindSection("Shares");
    if (!section)
        return {};
    for (std::size_t k = 0; k < doc->KeyCount(*section); ++k) {
        UncParts key;
        if (!SplitUnc(std::string(doc->KeyName(*section, k)), &key) || !Ini::NamesEqual(key.share, share))
            continue;
        for (const std::string& host : hostNames)
            if (Ini::NamesEqual(key.host, host))
                return std::string(doc->Value(*section, k));
    }
    return {};
}

} // namespace

fs::path AppendWithoutCase(fs::path base, const std::string& rest) {
    std::vector<std::string> steps;
    for (std::string& part : SplitAny(rest)) {
        if (part == ".")
            continue;
        if (part == "..") {
            if (!steps.empty())
                steps.pop_back();
            continue;
        }
        steps.push_back(std::move(part));
    }
    // Match each step against what is on the disk until a step does not exist.
    fs::path at = std::move(base);
    bool exists = true;
    for (const std::string& step : steps) {
        fs::path found = exists ? FindEntry(at, step) : fs::path();
        if (found.empty()) {
            exists = false;
            at /= AnsiPath(step);
        } else {
            at = std::move(found);
        }
    }
    return at;
}

CSiteShares::CSiteShares(std::shared_ptr<const SiteDirectory> site) : m_site(std::move(site)) {}

std::vector<std::string> CSiteShares::ShareNames(const SiteDirectory& site, const HostInfo& host) {
    std::vector<std::string> names;
    auto add = [&names](const std::string& name) {
        if (!name.empty() && std::none_of(names.begin(), names.end(),
                                          [&name](const std::string& n) { return Ini::NamesEqual(n, name); }))
            names.push_back(name);
    };
    std::vector<std::string> folders;
    std::error_code ec;
    for (fs::directory_iterator it(host.dir / "shares", ec), end; !ec && it != end; it.increment(ec))
        if (it->is_directory(ec))
            folders.push_back(AnsiName(it->path()));
    std::sort(folders.begin(), folders.end());
    for (const std::string& folder : folders)
        add(folder);
    auto doc = site.Files().Read(site.Root() / "site.ini");
    if (auto section = doc->FindSection("Shares"))
        for (std::size_t k = 0; k < doc->KeyCount(*section); ++k) {
            UncParts key;
            if (SplitUnc(std::string(doc->KeyName(*section, k)), &key) && SameName(key.host, host.name))
                add(key.share);
        }
    return names;
}

DWORD CSiteShares::Resolve(const std::string& path, fs::path* local) {
    if (!local)
        return Err::InvalidParameter;
    UncParts unc;
    if (SplitUnc(path, &unc)) {
        if (unc.host.empty())
            return Err::InvalidName;
        const auto host = m_site->FindHost(unc.host);
        std::vector<std::string> hostNames{unc.host};
        if (host)
            hostNames.push_back(host->name);
        const std::string mapped = unc.share.empty() ? std::string() : Mapping(*m_site, hostNames, unc.share);
        // A mapped share of a computer the site does not describe is simply there.
        if (host || mapped.empty())
            if (const DWORD reach = m_site->Reach(unc.host))
                return reach;
        if (unc.share.empty())
            return Err::BadNetName;
        fs::path base;
        if (!mapped.empty()) {
            base = fs::path(mapped);
            if (base.is_relative())
                base = m_site->Root() / base;
        } else {
            base = FindEntry(host->dir / "shares", unc.share);
            std::error_code ec;
            if (base.empty() || !fs::is_directory(base, ec))
                return Err::BadNetName;
        }
        *local = AppendWithoutCase(base, unc.rest);
        return Err::Success;
    }

    const bool drive = path.size() >= 2 && path[1] == ':' &&
                       ((path[0] >= 'A' && path[0] <= 'Z') || (path[0] >= 'a' && path[0] <= 'z')) &&
                       (path.size() == 2 || path[2] == '\\' || path[2] == '/');
    if (drive) {
        const auto host = m_site->FindHost("");
        if (!host)
            return Err::PathNotFound;
        const char letter[2] = {char(path[0] & ~0x20), '\0'};
        *local = AppendWithoutCase(host->dir / "drives" / letter, path.substr(2));
        return Err::Success;
    }

#ifdef _WIN32
    *local = fs::path(path);
#else
    // A backslash separates folders in the console's paths; here it would be
    // part of a file name.
    std::string native = path;
    std::replace(native.begin(), native.end(), '\\', '/');
    *local = fs::path(native);
#endif
    return Err::Success;
}

} // namespace OCL::Site
