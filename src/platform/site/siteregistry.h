#pragma once
// The registry port over a site: each host keeps HKEY_LOCAL_MACHINE and
// HKEY_USERS in hosts/NAME/registry.reg (registry-export text, see regparser.h).
//
// Reads go through a parse cache keyed by the file's stamp, so a query costs a
// stat and a walk down the key path; several threads may call at once. Writes
// take the host's registry.lock, re-read the file, and replace it atomically in
// canonical REGEDIT4 form. A file with a syntax error is read as far as it is
// valid and refuses every write with BadDb, so nothing after the error is lost.
//
// A remote handle pays the host's latency once, when Connect makes it; later
// calls on it do not ask the host again.

#include "platform/registry.h"

#include <filesystem>
#include <memory>
#include <mutex>
#include <string>
#include <unordered_map>
#include <vector>

namespace OCL::Site {

class SiteDirectory;
class CRegHive;
struct HostInfo;

class CSiteRegistry final : public IRegistry {
public:
    explicit CSiteRegistry(std::shared_ptr<const SiteDirectory> site);
    ~CSiteRegistry() override;
    CSiteRegistry(const CSiteRegistry&) = delete;
    CSiteRegistry& operator=(const CSiteRegistry&) = delete;

    LONG Connect(const std::string& machine, HKEY predefined, HKEY* result) override;
    LONG OpenKey(HKEY key, const std::string& subKey, HKEY* result) override;
    LONG CreateKey(HKEY key, const std::string& subKey, HKEY* result) override;
    LONG QueryValue(HKEY key, const std::string& name, DWORD* type, BYTE* data, DWORD* size) override;
    LONG SetValue(HKEY key, const std::string& name, DWORD type, const BYTE* data, DWORD size) override;
    LONG DeleteValue(HKEY key, const std::string& name) override;
    LONG DeleteKey(HKEY key, const std::string& subKey) override;
    LONG EnumKey(HKEY key, DWORD index, char* name, DWORD cchName) override;
    LONG CloseKey(HKEY key) override;

    // Why the host's registry file cannot be written ("line 12: ..."); empty
    // when it reads cleanly or does not exist.
    std::string Problem(const HostInfo& host);

private:
    struct Target {
        std::filesystem::path file; // the host's registry.reg
        std::string root;           // "HKEY_LOCAL_MACHINE" or "HKEY_USERS"
        std::vector<std::string> path;
    };
    struct Parsed;
    struct Cached;
    struct Handle;

    LONG Resolve(HKEY key, std::shared_ptr<const Target>* target);
    // The target of subKey below key, and whether that key exists; names that
    // cannot be stored are refused when the key is to be written.
    LONG Below(HKEY key, const std::string& subKey, bool forWriting, std::shared_ptr<Target>* target,
               bool* exists);
    HKEY NewHandle(std::shared_ptr<const Target> target);
    std::shared_ptr<const Parsed> Load(const std::filesystem::path& file);
    template <typename Change>
    LONG Modify(const Target& target, Change change);

    std::shared_ptr<const SiteDirectory> m_site;
    std::mutex m_handlesMutex;
    std::unordered_map<const Handle*, std::unique_ptr<Handle>> m_handles;
    std::mutex m_cacheMutex;
    std::unordered_map<std::string, std::shared_ptr<const Cached>> m_cache;
    std::mutex m_writeMutex;
};

} // namespace OCL::Site
