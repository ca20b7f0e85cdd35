#pragma once
// The initialisation-file engine. Reads with the semantics of the Windows profile
// functions and writes like them, changing only the bytes it must; every write
// replaces the file atomically. Plain C++ and the standard library only.
//
// Reading
//  - A section starts at a line whose first non-blank character is '['; its name
//    runs to the next ']' (or the line end) and is trimmed.
//  - Inside a section, a line "name=value" is a key; name and value are trimmed of
//    blanks and tabs, and one pair of double quotes around the whole value is
//    dropped. A non-blank line without '=' is a key with an empty value. A line
//    whose first non-blank character is ';' is a comment; one that starts with a
//    NUL byte (the zero-filled tail of a crashed write) is skipped.
//  - Lines before the first section are ignored. Lines end at LF; a CR before it
//    is not part of the line. A text ends at its first NUL byte.
//  - Names compare without regard to case (ASCII and the Windows-1252 letters).
//  - Lookups by name use the first section of that name and the first key of that
//    name in it; the other duplicates stay in the file and in the bulk read.
//
// Writing
//  - A changed value is replaced in place; a new key goes after the last key or
//    comment line of its section; a new section goes to the end of the file. New lines end
//    with CRLF. Deleting a key removes its lines from the first section of that
//    name; deleting a section removes every section of that name.
//  - The new bytes go to a temporary file beside the target, which then replaces
//    the target in one rename: a reader sees the old file or the new one.

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace OCL::Ini {

// One parsed file. Immutable, so one parse can serve many threads.
class Document {
public:
    static std::shared_ptr<const Document> Parse(std::string bytes);

    // Physical sections in file order, duplicates included.
    std::size_t SectionCount() const { return m_sections.size(); }
    std::string_view SectionName(std::size_t section) const;
    std::size_t KeyCount(std::size_t section) const;
    std::string_view KeyName(std::size_t section, std::size_t key) const;
    std::string_view Value(std::size_t section, std::size_t key) const;

    // Profile-function lookups.
    std::optional<std::size_t> FindSection(std::string_view name) const;
    std::optional<std::string_view> Find(std::string_view section, std::string_view key) const;
    // Distinct section names in the order of their first appearance.
    std::vector<std::string_view> SectionNames() const;
    // Distinct key names of the first section of that name, in file order.
    std::vector<std::string_view> KeyNames(std::string_view section) const;

    const std::string& Bytes() const { return m_bytes; }

    // Where things are in the bytes; used by the writer.
    struct KeyLine {
        std::uint32_t lineBegin; // first byte of the line
        std::uint32_t lineEnd;   // one past the line's content (before CR/LF)
        std::uint32_t nextLine;  // first byte of the following line
        std::uint32_t nameBegin, nameLength;
        std::uint32_t valueBegin, valueLength; // the value as returned (trimmed, unquoted, cut)
        std::uint32_t rawValueBegin;           // first byte after '=' (lineEnd when none)
    };
    struct SectionSpan {
        std::uint32_t headerBegin; // first byte of the header line
        std::uint32_t bodyEnd;     // first byte after the section's last line
        std::uint32_t insertAt;    // first byte after the last key line (or the header)
        std::uint32_t nameBegin, nameLength;
        std::uint32_t firstKey, keyCount; // range in keys()
    };
    const std::vector<SectionSpan>& Sections() const { return m_sections; }
    const std::vector<KeyLine>& Keys() const { return m_keys; }

private:
    Document() = default;
    void BuildIndex() const;

    std::string m_bytes;
    std::vector<SectionSpan> m_sections;
    std::vector<KeyLine> m_keys;
    // Lower-cased name to the first section of that name, made on first lookup.
    mutable std::once_flag m_indexOnce;
    mutable std::unordered_map<std::string, std::uint32_t> m_index;
};

// Compares two names as the profile functions do.
bool NamesEqual(std::string_view a, std::string_view b);
// The name folded to lower case as NamesEqual compares it (ASCII and the
// Windows-1252 letters), for use as a lookup key.
std::string FoldedName(std::string_view name);

// Identity of a file's contents for the parse cache.
struct FileStamp {
    std::uintmax_t size = 0;
    std::int64_t modifiedNs = 0;
    std::uint64_t inode = 0;
    std::uint64_t device = 0;
    bool operator==(const FileStamp&) const = default;
};
std::optional<FileStamp> StampOf(const std::filesystem::path& path);

// A list of changes applied to one file in one atomic write.
class Edit {
public:
    // WritePrivateProfileString(section, key, value).
    Edit& Set(std::string_view section, std::string_view key, std::string_view value);
    // WritePrivateProfileString(section, key, NULL).
    Edit& DeleteKey(std::string_view section, std::string_view key);
    // WritePrivateProfileString(section, NULL, NULL).
    Edit& DeleteSection(std::string_view section);

    bool Empty() const { return m_ops.empty(); }
    // Applies the changes to bytes in order; returns the new bytes.
    std::string ApplyTo(std::string bytes) const;

private:
    struct Op {
        enum Kind { SetValue, RemoveKey, RemoveSection } kind;
        std::string section, key, value;
    };
    std::vector<Op> m_ops;
};

struct FilesOptions {
    // Parses kept for reuse, in bytes of file text.
    std::size_t cacheBytes = std::size_t{256} << 20;
    // Writes go out in pieces of this size.
    std::size_t writeChunk = std::size_t{1} << 16;
    // Flush the new file to the disk before it replaces the old one.
    bool sync = false;
    // For tests: called after every piece written to the temporary file with the
    // bytes written so far, and once more with the full size + 1 just before the
    // rename; returning true abandons the write there, as a crash would, leaving
    // the temporary file behind.
    std::function<bool(std::size_t)> crashAfter;
};

// The engine: reads through a parse cache keyed by path, size, modification time
// and file identity; writes atomically. Safe to use from several threads.
class Files {
public:
    explicit Files(FilesOptions options = {});
    Files(const Files&) = delete;
    Files& operator=(const Files&) = delete;

    // The bulk read: the whole parse. A missing or unreadable file reads as empty.
    std::shared_ptr<const Document> Read(const std::filesystem::path& path);

    // GetPrivateProfileString for one value.
    std::string GetString(const std::filesystem::path& path, std::string_view section, std::string_view key,
                          std::string_view defaultValue);
    // The value read as a decimal number (leading blanks, a sign, then digits;
    // 0 when none), or defaultValue when the key is missing.
    long long GetInt(const std::filesystem::path& path, std::string_view section, std::string_view key,
                     long long defaultValue);
    std::vector<std::string> SectionNames(const std::filesystem::path& path);
    std::vector<std::string> KeyNames(const std::filesystem::path& path, std::string_view section);

    // WritePrivateProfileString: a null key deletes the section, a null value the key.
    // Creates the file when missing and something is to be written. False, with a reason in *error, when the
    // file could not be written; the file is then as it was.
    bool WriteString(const std::filesystem::path& path, std::string_view section,
                     std::optional<std::string_view> key, std::optional<std::string_view> value,
                     std::string* error = nullptr);
    bool Apply(const std::filesystem::path& path, const Edit& edit, std::string* error = nullptr);

    // Replaces the whole file atomically with bytes.
    bool WriteAll(const std::filesystem::path& path, std::string_view bytes, std::string* error = nullptr);

    // Forgets cached parses (all, or of one path).
    void Forget();
    void Forget(const std::filesystem::path& path);

private:
    struct Cached {
        FileStamp stamp;
        std::shared_ptr<const Document> document;
        std::uint64_t lastUse = 0;
    };
    void Remember(const std::string& key, const FileStamp& stamp, std::shared_ptr<const Document> document);

    FilesOptions m_options;
    std::mutex m_mutex;      // guards the cache
    std::mutex m_writeMutex; // one read-modify-write at a time
    std::unordered_map<std::string, Cached> m_cache;
    std::size_t m_cachedBytes = 0;
    std::uint64_t m_useCounter = 0;
};

} // namespace OCL::Ini
