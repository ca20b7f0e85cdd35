#include "ini/inifile.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <limits>
#include <random>
#include <system_error>

#ifdef _WIN32
#include <io.h>
#else
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#endif

namespace fs = std::filesystem;

namespace OCL::Ini {
namespace {

const std::shared_ptr<const Document>& EmptyDocument() {
    static const std::shared_ptr<const Document> empty = Document::Parse({});
    return empty;
}

bool ReadBytes(const fs::path& path, std::uintmax_t expected, std::string* out) {
    std::FILE* file = std::fopen(path.string().c_str(), "rb");
    if (!file)
        return false;
    std::string bytes;
    bytes.resize(std::size_t(expected));
    std::size_t got = expected ? std::fread(bytes.data(), 1, bytes.size(), file) : 0;
    bytes.resize(got);
    // The file may have grown since it was examined; take what is there now.
    char more[65536];
    std::size_t n;
    while ((n = std::fread(more, 1, sizeof more, file)) > 0)
        bytes.append(more, n);
    const bool ok = !std::ferror(file);
    std::fclose(file);
    if (ok)
        *out = std::move(bytes);
    return ok;
}

std::string TempNameFor(const fs::path& path) {
    static thread_local std::mt19937_64 random{std::random_device{}()};
    char suffix[24];
    std::snprintf(suffix, sizeof suffix, ".%016llx", static_cast<unsigned long long>(random()));
    // Appended piece by piece: GCC 12 at -O3 warns falsely (-Wrestrict) on the chain of +.
    std::string name = ".";
    name += path.filename().string();
    name += suffix;
    name += ".cwtmp";
    return name;
}

void SetError(std::string* error, const std::string& text) {
    if (error)
        *error = text;
}

} // namespace

std::optional<FileStamp> StampOf(const fs::path& path) {
#ifdef _WIN32
    std::error_code ec;
    const auto size = fs::file_size(path, ec);
    if (ec)
        return std::nullopt;
    const auto time = fs::last_write_time(path, ec);
    if (ec)
        return std::nullopt;
    FileStamp stamp;
    stamp.size = size;
    stamp.modifiedNs = std::chrono::duration_cast<std::chrono::nanoseconds>(time.time_since_epoch()).count();
    return stamp;
#else
    struct stat st {};
    if (::stat(path.c_str(), &st) != 0 || !S_ISREG(st.st_mode))
        return std::nullopt;
    FileStamp stamp;
    stamp.size = std::uintmax_t(st.st_size);
    stamp.modifiedNs = std::int64_t(st.st_mtim.tv_sec) * 1000000000 + st.st_mtim.tv_nsec;
    stamp.inode = std::uint64_t(st.st_ino);
    stamp.device = std::uint64_t(st.st_dev);
    return stamp;
#endif
}

Files::Files(FilesOptions options) : m_options(std::move(options)) {
    if (m_options.writeChunk == 0)
        m_options.writeChunk = 1;
}

std::shared_ptr<const Document> Files::Read(const fs::path& path) {
    const auto stamp = StampOf(path);
    if (!stamp)
        return EmptyDocument();
    const std::string key = path.string();
    {
        std::lock_guard lock(m_mutex);
        auto it = m_cache.find(key);
        if (it != m_cache.end() && it->second.stamp == *stamp) {
            it->second.lastUse = ++m_useCounter;
            return it->second.document;
        }
    }
    std::string bytes;
    if (!ReadBytes(path, stamp->size, &bytes))
        return EmptyDocument();
    auto document = Document::Parse(std::move(bytes));
    // Only a parse of a file that did not change while it was read may be reused.
    const auto after = StampOf(path);
    if (after && *after == *stamp && document->Bytes().size() == stamp->size)
        Remember(key, *stamp, document);
    return document;
}

void Files::Remember(const std::string& key, const FileStamp& stamp,
                     std::shared_ptr<const Document> document) {
    std::lock_guard lock(m_mutex);
    const std::size_t size = document->Bytes().size();
    if (size > m_options.cacheBytes)
        return;
    auto it = m_cache.find(key);
    if (it != m_cache.end()) {
        m_cachedBytes -= it->second.document->Bytes().size();
        m_cache.erase(it);
    }
    while (m_cachedBytes + size > m_options.cacheBytes && !m_cache.empty()) {
        auto oldest = m_cache.begin();
        for (auto i = m_cache.begin(); i != m_cache.end(); ++i)
            if (i->second.lastUse < oldest->second.lastUse)
                oldest = i;
        m_cachedBytes -= oldest->second.document->Bytes().size();
        m_cache.erase(oldest);
    }
    m_cache.emplace(key, Cached{stamp, std::move(document), ++m_useCounter});
    m_cachedBytes += size;
}

void Files::Forget() {
    std::lock_guard lock(m_mutex);
    m_cache.clear();
    m_cachedBytes = 0;
}

void Files::Forget(const fs::path& path) {
    std::lock_guard lock(m_mutex);
    auto it = m_cache.find(path.string());
    if (it == m_cache.end())
        return;
    m_cachedBytes -= it->second.document->Bytes().size();
    m_cache.erase(it);
}

std::string Files::GetString(const fs::path& path, std::string_view section, std::string_view key,
                             std::string_view defaultValue) {
    auto found = Read(path)->Find(section, key);
    return std::string(found ? *found : defaultValue);
}

long long Files::GetInt(const fs::path& path, std::string_view section, std::string_view key,
                        long long defaultValue) {
    auto doc = Read(path);
    auto found = doc->Find(section, key);
    if (!found)
        return defaultValue;
    std::string_view text = *found;
    std::size_t i = 0;
    while (i < text.size() && (text[i] == ' ' || text[i] == '\t'))
        ++i;
    bool negative = false;
    if (i < text.size() && (text[i] == '-' || text[i] == '+'))
        negative = text[i++] == '-';
    long long value = 0;
    for (; i < text.size() && text[i] >= '0' && text[i] <= '9'; ++i) {
        if (value > (std::numeric_limits<long long>::max() - 9) / 10)
            break;
        value = value * 10 + (text[i] - '0');
    }
    return negative ? -value : value;
}

std::vector<std::string> Files::SectionNames(const fs::path& path) {
    auto doc = Read(path);
    std::vector<std::string> out;
    for (std::string_view name : doc->SectionNames())
        out.emplace_back(name);
    return out;
}

std::vector<std::string> Files::KeyNames(const fs::path& path, std::string_view section) {
    auto doc = Read(path);
    std::vector<std::string> out;
    for (std::string_view name : doc->KeyNames(section))
        out.emplace_back(name);
    return out;
}

bool Files::WriteString(const fs::path& path, std::string_view section, std::optional<std::string_view> key,
                        std::optional<std::string_view> value, std::string* error) {
    Edit edit;
    if (!key)
        edit.DeleteSection(section);
    else if (!value)
        edit.DeleteKey(section, *key);
    else
        edit.Set(section, *key, *value);
    return Apply(path, edit, error);
}

bool Files::Apply(const fs::path& path, const Edit& edit, std::string* error) {
    std::lock_guard writing(m_writeMutex);
    std::string current;
    const auto stamp = StampOf(path);
    if (stamp) {
        if (!ReadBytes(path, stamp->size, &current)) {
            SetError(error, "cannot read " + path.string() + ": " + std::strerror(errno));
            return false;
        }
    } else {
        std::error_code ec;
        if (fs::exists(path, ec) && !ec) {
            SetError(error, path.string() + " is not a regular file");
            return false;
        }
    }
    std::string updated = edit.ApplyTo(current);
    // Nothing to change, or nothing to delete from a file that is not there.
    if (updated == current && (stamp || updated.empty()))
        return true;
    return WriteAll(path, updated, error);
}

bool Files::WriteAll(const fs::path& path, std::string_view bytes, std::string* error) {
    const fs::path dir = path.has_parent_path() ? path.parent_path() : fs::path(".");
    const fs::path temp = dir / TempNameFor(path);

    std::FILE* file = std::fopen(temp.string().c_str(), "wb");
    if (!file) {
        SetError(error, "cannot create " + temp.string() + ": " + std::strerror(errno));
        return false;
    }
    std::size_t written = 0;
    while (written < bytes.size()) {
        const std::size_t piece = std::min(m_options.writeChunk, bytes.size() - written);
        if (std::fwrite(bytes.data() + written, 1, piece, file) != piece) {
            SetError(error, "cannot write " + temp.string() + ": " + std::strerror(errno));
            std::fclose(file);
            std::remove(temp.string().c_str());
            return false;
        }
        written += piece;
        if (m_options.crashAfter) {
            std::fflush(file);
            if (m_options.crashAfter(written)) {
                std::fclose(file);
                SetError(error, "write of " + path.string() + " interrupted");
                return false;
            }
        }
    }
    bool ok = std::fflush(file) == 0;
#ifndef _WIN32
    if (ok && m_options.sync)
        ok = ::fsync(::fileno(file)) == 0;
#endif
    ok = (std::fclose(file) == 0) && ok;
    if (!ok) {
        SetError(error, "cannot write " + temp.string() + ": " + std::strerror(errno));
        std::remove(temp.string().c_str());
        return false;
    }
    if (m_options.crashAfter && m_options.crashAfter(bytes.size() + 1)) {
        SetError(error, "write of " + path.string() + " interrupted");
        return false;
    }

    std::error_code ec;
    const auto perms = fs::status(path, ec).permissions();
    if (!ec && perms != fs::perms::unknown)
        fs::permissions(temp, perms, ec);
    // Stamp our file before it takes the name: once renamed, the path may already
    // hold another writer's file, whose stamp must not vouch for our bytes.
    const auto stamp = StampOf(temp);
    fs::rename(temp, path, ec);
    if (ec) {
        SetError(error, "cannot replace " + path.string() + ": " + ec.message());
        fs::remove(temp, ec);
        return false;
    }
    if (stamp)
        Remember(path.string(), *stamp, Document::Parse(std::string(bytes)));
    return true;
}

} // namespace OCL::Ini
