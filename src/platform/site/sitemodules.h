#pragma once
// The module port over a site. A library name ("RASSAPI.DLL", "_CWADMIN") is
// found, in this order:
//   1. site.ini [Modules] NAME=file: the file (relative to the module folder, or
//      absolute); an empty file means the library is absent on this site;
//   2. the module folder's NAME.so without ".dll" (as given, in upper case, in
//      lower case);
//   3. the local computer's system folder (hosts/LOCAL/shares/admin$/system32):
//      a real shared library there is loaded; any other file gives a data-only
//      module without symbols, so "can this library be loaded" holds for a
//      placeholder file.
// A loaded library that exports CwSiteAttach is handed the site's root.

#include "platform/modules.h"

#include <filesystem>
#include <memory>
#include <mutex>
#include <unordered_map>

namespace OCL::Site {

class SiteDirectory;

class CSiteModules final : public IModules {
public:
    CSiteModules(std::shared_ptr<const SiteDirectory> site, std::filesystem::path moduleFolder);
    ~CSiteModules() override;
    CSiteModules(const CSiteModules&) = delete;
    CSiteModules& operator=(const CSiteModules&) = delete;

    DWORD Load(const std::string& name, DWORD flags, HMODULE* result) override;
    void* Symbol(HMODULE module, const std::string& name) override;
    void Free(HMODULE module) override;

private:
    struct Module;

    DWORD LoadNative(const std::filesystem::path& file, DWORD flags, HMODULE* result);
    HMODULE Add(std::unique_ptr<Module> module);

    std::shared_ptr<const SiteDirectory> m_site;
    std::filesystem::path m_moduleFolder;
    std::mutex m_mutex;
    std::unordered_map<const Module*, std::unique_ptr<Module>> m_modules;
};

} // namespace OCL::Site
