#include "platform/site/siteregistry.h"

#include "ini/inifile.h"
#include "platform/site/reghive.h"
#include "platform/site/regparser.h"
#include "platform/site/sitedirectory.h"

#include <cstdio>
#include <cstring>

namespace fs = std::filesystem;

namespace OCL::Site {

struct CSiteRegistry::Parsed {
    CRegHive hive;
    bool ok = true;
    std::string problem;
};

struct CSiteRegistry::Cached {
    Ini::FileStamp stamp;
    std::shared_ptr<const Parsed> parsed;
};

struct CSiteRegistry::Handle {
    std::shared_ptr<const Target> target;
};

namespace {

std::vector<std::string> SplitPath(const std::string& subKey) {
    std::vector<std::string> parts;
    std::size_t start = 0;
    while (start <= subKey.size()) {
        std::size_t slash = subKey.find('\\', start);
        if (slash == std::string::npos)
            slash = subKey.size();
        if (slash > start)
            parts.push_back(subKey.substr(start, slash - start));
        start = slash + 1;
    }
    return parts;
}

// Names the registry file could not hold: its lines would break.
bool Writable(const std::string& name) {
    return name.find_first_of("\r\n") == std::string::npos;
}

bool ReadWholeFile(const fs::path& path, std::string* out) {
    std::FILE* file = std::fopen(path.string().c_str(), "rb");
    if (!file)
        return false;
    std::string bytes;
    char buffer[65536];
    std::size_t n;
    while ((n = std::fread(buffer, 1, sizeof buffer, file)) > 0)
        bytes.append(buffer, n);
    const bool ok = !std::ferror(file);
    std::fclose(file);
    if (ok)
        *out = std::move(bytes);
    return ok;
}

const char* RootName(HKEY predefined) {
    if (predefined == Hkey::LocalMachine)
        return "HKEY_LOCAL_MACHINE";
    if (predefined == Hkey::Users)
        return "HKEY_USERS";
    return nullptr;
}

} // namespace

CSiteRegistry::CSiteRegistry(std::shared_ptr<const SiteDirectory> site) : m_site(std::move(site)) {}

CSiteRegistry::~CSiteRegistry() = default;

HKEY CSiteRegistry::NewHandle(std::shared_ptr<const Target> target) {
    auto handle = std::make_unique<Handle>();
    handle->target = std::move(target);
    Handle* raw = handle.get();
    std::lock_guard lock(m_handlesMutex);
    m_handles.emplace(raw, std::move(handle));
    return reinterpret_cast<HKEY>(raw);
}

LONG CSiteRegistry::Resolve(HKEY key, std::shared_ptr<const Target>* target) {
    if (const char* root = RootName(key)) {
        auto host = m_site->FindHost("");
        auto t = std::make_shared<Target>();
        // This computer always has a registry; on a site that does not describe
        // it, that registry is empty and cannot be written.
        t->file = host ? host->dir / "registry.reg" : m_site->Root() / "hosts" / "?" / "registry.reg";
        t->root = root;
        *target = std::move(t);
        return LONG(Err::Success);
    }
    std::lock_guard lock(m_handlesMutex);
    auto it = m_handles.find(reinterpret_cast<const Handle*>(key));
    if (!key || it == m_handles.end())
        return LONG(Err::InvalidHandle);
    *target = it->second->target;
    return LONG(Err::Success);
}

std::shared_ptr<const CSiteRegistry::Parsed> CSiteRegistry::Load(const fs::path& file) {
    static const auto empty = std::make_shared<const Parsed>();
    const auto stamp = Ini::StampOf(file);
    if (!stamp) {
        std::error_code ec;
        if (!fs::exists(file, ec) && !ec)
            return empty;
        auto odd = std::make_shared<Parsed>();
        odd->ok = false;
        odd->problem = file.string() + " is not a regular file.";
        return odd;
    }
    const std::string key = file.string();
    {
        std::lock_guard lock(m_cacheMutex);
        auto it = m_cache.find(key);
        if (it != m_cache.end() && it->second->stamp == *stamp)
            return it->second->parsed;
    }
    std::string bytes;
    auto parsed = std::make_shared<Parsed>();
    if (!ReadWholeFile(file, &bytes)) {
        parsed->ok = false;
        parsed->problem = file.string() + " cannot be read: " + std::strerror(errno) + ".";
        return parsed;
    }
    RegParseResult result = ParseRegistryText(bytes);
    parsed->hive = std::move(result.hive);
    parsed->ok = result.ok;
    if (!result.ok)
        parsed->problem =
            file.string() + ", line " + std::to_string(result.errorLine) + ": " + result.error +
            ". The registry is read up to that line and cannot be changed until the file is mended.";
    // Only a parse of a file that stayed the same while it was read may be reused.
    const auto after = Ini::StampOf(file);
    if (after && *after == *stamp && bytes.size() == stamp->size) {
        std::lock_guard lock(m_cacheMutex);
        m_cache[key] = std::make_shared<const Cached>(Cached{*stamp, parsed});
    }
    return parsed;
}

std::string CSiteRegistry::Problem(const HostInfo& host) {
    return Load(host.dir / "registry.reg")->problem;
}

template <typename Change>
LONG CSiteRegistry::Modify(const Target& target, Change change) {
    std::lock_guard writing(m_writeMutex);
    FileLock lock(target.file.parent_path() / "registry.lock");
    if (!lock.Locked())
        return LONG(Err::CantWrite);
    const auto current = Load(target.file);
    if (!current->ok)
        return LONG(Err::BadDb);
    auto updated = std::make_shared<Parsed>(*current);
    RegNode* root = updated->hive.Root(target.root);
    if (!root)
        return LONG(Err::FileNotFound);
    bool changed = false;
    const LONG result = change(*root, &changed);
    if (result != LONG(Err::Success) || !changed)
        return result;
    Ini::Files& files = m_site->Files();
    if (!files.WriteAll(target.file, updated->hive.Serialize()))
        return LONG(Err::CantWrite);
    // The ini engine keeps a parse of what it wrote; this file is not an ini file.
    files.Forget(target.file);
    if (auto stamp = Ini::StampOf(target.file)) {
        std::lock_guard cacheLock(m_cacheMutex);
        m_cache[target.file.string()] = std::make_shared<const Cached>(Cached{*stamp, std::move(updated)});
    }
    return LONG(Err::Success);
}

LONG CSiteRegistry::Connect(const std::string& machine, HKEY predefined, HKEY* result) {
    if (!result)
        return LONG(Err::InvalidParameter);
    *result = nullptr;
    const char* root = RootName(predefined);
    if (!root)
        return LONG(Err::InvalidHandle);
    HostInfo host;
    if (const DWORD reach = m_site->Reach(machine, &host))
        return LONG(reach);
    auto t = std::make_shared<Target>();
    t->file = host.dir / "registry.reg";
    t->root = root;
    *result = NewHandle(std::move(t));
    return LONG(Err::Success);
}

LONG CSiteRegistry::Below(HKEY key, const std::string& subKey, bool forWriting,
                          std::shared_ptr<Target>* target, bool* exists) {
    std::shared_ptr<const Target> base;
    if (const LONG r = Resolve(key, &base))
        return r;
    auto t = std::make_shared<Target>(*base);
    for (std::string& part : SplitPath(subKey)) {
        if (forWriting && !Writable(part))
            return LONG(Err::InvalidParameter);
        t->path.push_back(std::move(part));
    }
    const auto parsed = Load(t->file);
    const RegNode* root = parsed->hive.Root(t->root);
    *exists = root && CRegHive::Walk(*root, t->path);
    *target = std::move(t);
    return LONG(Err::Success);
}

LONG CSiteRegistry::OpenKey(HKEY key, const std::string& subKey, HKEY* result) {
    if (!result)
        return LONG(Err::InvalidParameter);
    *result = nullptr;
    std::shared_ptr<Target> t;
    bool exists = false;
    if (const LONG r = Below(key, subKey, false, &t, &exists))
        return r;
    if (!exists)
        return LONG(Err::FileNotFound);
    *result = NewHandle(std::move(t));
    return LONG(Err::Success);
}

LONG CSiteRegistry::CreateKey(HKEY key, const std::string& subKey, HKEY* result) {
    if (!result)
        return LONG(Err::InvalidParameter);
    *result = nullptr;
    std::shared_ptr<Target> t;
    bool exists = false;
    if (const LONG r = Below(key, subKey, true, &t, &exists))
        return r;
    if (!exists) {
        const LONG r = Modify(*t, [&t](RegNode& node, bool* changed) {
            RegNode* at = &node;
            for (const std::string& part : t->path) {
                RegNode* next = at->FindSubkey(part);
                if (!next) {
                    next = &at->AddSubkey(part);
                    *changed = true;
                }
                at = next;
            }
            return LONG(Err::Success);
        });
        if (r)
            return r;
    }
    *result = NewHandle(std::move(t));
    return LONG(Err::Success);
}

LONG CSiteRegistry::QueryValue(HKEY key, const std::string& name, DWORD* type, BYTE* data, DWORD* size) {
    if (data && !size)
        return LONG(Err::InvalidParameter);
    std::shared_ptr<const Target> t;
    if (const LONG r = Resolve(key, &t))
        return r;
    const auto parsed = Load(t->file);
    const RegNode* root = parsed->hive.Root(t->root);
    const RegNode* node = root ? CRegHive::Walk(*root, t->path) : nullptr;
    const RegValue* value = node ? node->FindValue(name) : nullptr;
    if (!value)
        return LONG(Err::FileNotFound);
    if (type)
        *type = value->type;
    if (!size)
        return LONG(Err::Success);
    const auto stored = DWORD(value->data.size());
    if (data && *size < stored) {
        *size = stored;
        return LONG(Err::MoreData);
    }
    if (data && stored)
        std::memcpy(data, value->data.data(), stored);
    *size = stored;
    return LONG(Err::Success);
}

LONG CSiteRegistry::SetValue(HKEY key, const std::string& name, DWORD type, const BYTE* data, DWORD size) {
    if ((!data && size) || !Writable(name))
        return LONG(Err::InvalidParameter);
    std::shared_ptr<const Target> t;
    if (const LONG r = Resolve(key, &t))
        return r;
    std::string bytes(reinterpret_cast<const char*>(data), data ? size : 0);
    return Modify(*t, [&](RegNode& root, bool* changed) {
        RegNode* node = CRegHive::Walk(root, t->path);
        if (!node)
            return LONG(Err::FileNotFound);
        const RegValue* old = node->FindValue(name);
        if (old && old->type == type && old->data == bytes)
            return LONG(Err::Success);
        node->SetValue(name, type, std::move(bytes));
        *changed = true;
        return LONG(Err::Success);
    });
}

LONG CSiteRegistry::DeleteValue(HKEY key, const std::string& name) {
    std::shared_ptr<const Target> t;
    if (const LONG r = Resolve(key, &t))
        return r;
    return Modify(*t, [&](RegNode& root, bool* changed) {
        RegNode* node = CRegHive::Walk(root, t->path);
        if (!node || !node->RemoveValue(name))
            return LONG(Err::FileNotFound);
        *changed = true;
        return LONG(Err::Success);
    });
}

LONG CSiteRegistry::DeleteKey(HKEY key, const std::string& subKey) {
    std::shared_ptr<const Target> t;
    if (const LONG r = Resolve(key, &t))
        return r;
    std::vector<std::string> path = t->path;
    for (std::string& part : SplitPath(subKey))
        path.push_back(std::move(part));
    // A root cannot be deleted.
    if (path.empty())
        return LONG(Err::AccessDenied);
    return Modify(*t, [&path](RegNode& root, bool* changed) {
        const std::string leaf = path.back();
        path.pop_back();
        RegNode* parent = CRegHive::Walk(root, path);
        const RegNode* victim = parent ? parent->FindSubkey(leaf) : nullptr;
        if (!victim)
            return LONG(Err::FileNotFound);
        if (!victim->Subkeys().empty())
            return LONG(Err::AccessDenied);
        parent->RemoveSubkey(leaf);
        *changed = true;
        return LONG(Err::Success);
    });
}

LONG CSiteRegistry::EnumKey(HKEY key, DWORD index, char* name, DWORD cchName) {
    if (!name)
        return LONG(Err::InvalidParameter);
    std::shared_ptr<const Target> t;
    if (const LONG r = Resolve(key, &t))
        return r;
    const auto parsed = Load(t->file);
    const RegNode* root = parsed->hive.Root(t->root);
    const RegNode* node = root ? CRegHive::Walk(*root, t->path) : nullptr;
    if (!node)
        return LONG(Err::FileNotFound);
    if (index >= node->Subkeys().size())
        return LONG(Err::NoMoreItems);
    const std::string& sub = node->Subkeys()[index].Name();
    if (sub.size() + 1 > cchName)
        return LONG(Err::MoreData);
    std::memcpy(name, sub.c_str(), sub.size() + 1);
    return LONG(Err::Success);
}

LONG CSiteRegistry::CloseKey(HKEY key) {
    if (RootName(key))
        return LONG(Err::Success);
    std::unique_ptr<Handle> closing;
    std::lock_guard lock(m_handlesMutex);
    auto it = m_handles.find(reinterpret_cast<const Handle*>(key));
    if (!key || it == m_handles.end())
        return LONG(Err::InvalidHandle);
    closing = std::move(it->second);
    m_handles.erase(it);
    return LONG(Err::Success);
}

} // namespace OCL::Site
