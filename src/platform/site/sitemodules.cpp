#include "platform/site/sitemodules.h"

#include "ini/inifile.h"
#include "platform/site/sitedirectory.h"
#include "platform/site/siteshares.h"

#include <cstdio>
#include <cstring>

#ifdef _WIN32
#include <windows.h>
#else
#include <dlfcn.h>
#endif

namespace fs = std::filesystem;

namespace OCL::Site {
namespace {

#ifdef _WIN32
constexpr const char* kSuffix = ".dll";
#else
constexpr const char* kSuffix = ".so";
#endif

void* OpenLibrary(const fs::path& file, DWORD flags) {
#ifdef _WIN32
    const DWORD how = (flags & LoadFlags::DontResolveDllReferences) ? DONT_RESOLVE_DLL_REFERENCES : 0;
    return reinterpret_cast<void*>(::LoadLibraryExW(file.wstring().c_str(), nullptr, how));
#else
    const int how = (flags & LoadFlags::DontResolveDllReferences) ? RTLD_LAZY : RTLD_NOW;
    return ::dlopen(file.c_str(), how | RTLD_LOCAL);
#endif
}

void* LibrarySymbol(void* library, const char* name) {
#ifdef _WIN32
    return reinterpret_cast<void*>(::GetProcAddress(static_cast<HMODULE>(library), name));
#else
    return ::dlsym(library, name);
#endif
}

void CloseLibrary(void* library) {
#ifdef _WIN32
    ::FreeLibrary(static_cast<HMODULE>(library));
#else
    ::dlclose(library);
#endif
}

// Whether the file begins like a shared library of this system.
bool IsSharedLibrary(const fs::path& file) {
    unsigned char head[4] = {};
    std::FILE* in = std::fopen(file.string().c_str(), "rb");
    if (!in)
        return false;
    const std::size_t n = std::fread(head, 1, sizeof head, in);
    std::fclose(in);
#ifdef _WIN32
    return n >= 2 && head[0] == 'M' && head[1] == 'Z';
#elif defined(__APPLE__)
    const std::uint32_t magic = head[0] | head[1] << 8 | head[2] << 16 | std::uint32_t(head[3]) << 24;
    return n == 4 && (magic == 0xFEEDFACF || magic == 0xFEEDFACE || magic == 0xBEBAFECA);
#else
    return n == 4 && std::memcmp(head,
                                 "\x7F"
                                 "ELF",
                                 4) == 0;
#endif
}

bool IsFile(const fs::path& file) {
    std::error_code ec;
    return fs::is_regular_file(file, ec);
}

std::string Cased(std::string text, bool upper) {
    for (char& c : text) {
        if (upper && c >= 'a' && c <= 'z')
            c = char(c - 32);
        else if (!upper && c >= 'A' && c <= 'Z')
            c = char(c + 32);
    }
    return text;
}

} // namespace

struct CSiteModules::Module {
    void* library = nullptr; // null: a data-only module
};

CSiteModules::CSiteModules(std::shared_ptr<const SiteDirectory> site, fs::path moduleFolder)
    : m_site(std::move(site)), m_moduleFolder(std::move(moduleFolder)) {}

// Libraries not freed stay loaded: a thread may still run their code.
CSiteModules::~CSiteModules() = default;

HMODULE CSiteModules::Add(std::unique_ptr<Module> module) {
    Module* raw = module.get();
    std::lock_guard lock(m_mutex);
    m_modules.emplace(raw, std::move(module));
    return reinterpret_cast<HMODULE>(raw);
}

DWORD CSiteModules::LoadNative(const fs::path& file, DWORD flags, HMODULE* result) {
    void* library = OpenLibrary(file, flags);
    if (!library)
        return Err::ModNotFound;
    if (void* attach = LibrarySymbol(library, kAttachSymbol)) {
        PFN_CwSiteAttach function = nullptr;
        static_assert(sizeof function == sizeof attach);
        std::memcpy(&function, &attach, sizeof function);
        std::error_code ec;
        const fs::path root = fs::absolute(m_site->Root(), ec);
        function((ec ? m_site->Root() : root).string().c_str());
    }
    auto module = std::make_unique<Module>();
    module->library = library;
    *result = Add(std::move(module));
    return Err::Success;
}

DWORD CSiteModules::Load(const std::string& name, DWORD flags, HMODULE* result) {
    if (!result)
        return Err::InvalidParameter;
    *result = nullptr;
    if (name.empty())
        return Err::ModNotFound;

    auto doc = m_site->Files().Read(m_site->Root() / "site.ini");
    if (auto mapped = doc->Find("Modules", name)) {
        if (mapped->empty())
            return Err::ModNotFound;
        fs::path file(*mapped);
        if (file.is_relative())
            file = (m_moduleFolder.empty() ? m_site->Root() : m_moduleFolder) / file;
        return LoadNative(file, flags, result);
    }

    std::string stem = name;
    if (stem.size() > 4 && Ini::NamesEqual(std::string_view(stem).substr(stem.size() - 4), ".dll"))
        stem.resize(stem.size() - 4);
    if (!m_moduleFolder.empty())
        for (const std::string& candidate : {stem, Cased(stem, true), Cased(stem, false)}) {
            const fs::path file = m_moduleFolder / (candidate + kSuffix);
            if (IsFile(file))
                return LoadNative(file, flags, result);
        }

    if (const auto host = m_site->FindHost("")) {
        const fs::path file = AppendWithoutCase(host->dir / "shares" / "admin$" / "system32", name);
        if (IsFile(file)) {
            if (IsSharedLibrary(file))
                return LoadNative(file, flags, result);
            *result = Add(std::make_unique<Module>());
            return Err::Success;
        }
    }
    return Err::ModNotFound;
}

void* CSiteModules::Symbol(HMODULE module, const std::string& name) {
    std::lock_guard lock(m_mutex);
    auto it = m_modules.find(reinterpret_cast<const Module*>(module));
    if (!module || it == m_modules.end() || !it->second->library)
        return nullptr;
    return LibrarySymbol(it->second->library, name.c_str());
}

void CSiteModules::Free(HMODULE module) {
    std::unique_ptr<Module> freeing;
    {
        std::lock_guard lock(m_mutex);
        auto it = m_modules.find(reinterpret_cast<const Module*>(module));
        if (!module || it == m_modules.end())
            return;
        freeing = std::move(it->second);
        m_modules.erase(it);
    }
    if (freeing->library)
        CloseLibrary(freeing->library);
}

} // namespace OCL::Site
