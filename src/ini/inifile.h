#pragma once
// The initialisation-file engine. Reads with the semantics of the Windows profile
// functions and writes like them, changing only the bytes it must; every write
// replaces the file atomically. Plain C++ and the standard library only.
//
// Reading
//  - Lines end at CR LF, at LF and at a lone CR. A UTF-8 byte-order mark at the
//    start of the file is skipped. A text ends at its first NUL byte.
//  - A section starts at a line whose first non-blank character is '['; its name
//    runs to the next ']' (or the line end) and is trimmed of blanks and tabs.
//  - Inside a section, a line "name=value" is a key; name and value are trimmed of
//    blanks and tabs, and one pair of double quotes around the whole value is
//    dropped. A line whose first non-blank character is ';' is a comment; one that
//    starts with a NUL byte (the zero-filled tail of a crashed write) is skipped.
//  - A non-blank line without '=' is a key without a value: a lookup of it answers
//    the caller's default, the key list leaves it out, and the bulk read shows it
//    with HasValue() false and an empty value.
//  - Lines before the first section are ignored; so is anything past 4 GiB.
//  - Names compare without regard to case (ASCII and the Windows-1252 letters) and
//    are trimmed of blanks and tabs before a lookup.
//  - Lookups by name use the first section of that name and the first key of that
//    name in it, even when that key has no value; the other duplicates stay in the
//    file and in the bulk read. The key list names, once each and in file order,
//    the keys that a lookup answers with a value.
//
// Writing
//  - Section and key names are trimmed of blanks and tabs; a line break inside a
//    name or value becomes a blank.
//  - A changed value is replaced in place (a key without a value gains '=' and the
//    value); a new key goes after the last key or comment line of its section; a
//    new section goes to the end of the file. New lines end with CRLF. Deleting a
//    key removes its lines from the first section of that name; deleting a section
//    removes every section of that name. The edits of one Apply act in order, as
//    separate writes would, on one parse of the file.
//  - The new bytes go to a new file beside the target, which then replaces the
//    target in one rename: a reader sees the old file or the new one. No new file
//    stays behind when a write fails.
//  - A read-modify-write holds an advisory lock on the file (POSIX: flock on the
//    target itself; Windows has none that shares honour) that every engine
//    instance honours, and checks before the rename that the file is still the one
//    it read; when another writer changed it meanwhile, the edit is done again on
//    the new bytes. So no writer's change is lost.
//
// The parse cache
//  - A parse is reused while the file's stamp (size, modification and change
//    times, file identity) is unchanged, and only once its times are older than
//    the file system's timestamp granularity when the bytes were read: within one
//    tick an in-place rewrite can leave the stamp as it was, so a younger parse is
//    checked against the file's bytes again.
//  - Read and the lists look at the stamp on every call. GetString and GetInt do
//    too, except within a tight run of lookups of one file by one thread (each
//    beginning within a microsecond of the one before, for at most a millisecond,
//    with no engine writing in this process meanwhile): those share one look, as
//    a system call costs as much as several lookups. In so short a step nothing
//    but the thread itself could change the file and let it know of that.

#include <atomic>
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

class NameIndex;

// One parsed file. Immutable, so one parse can serve many threads. Records hold
// offsets only; names and values are found in the bytes when asked for, which
// keeps a parse to a few bytes per line.
class Document {
public:
    static std::shared_ptr<const Document> Parse(std::string bytes);
    ~Document();

    // The bulk read: physical sections in file order, duplicates included, and
    // each section's key lines in file order.
    std::size_t SectionCount() const { return m_sections.size(); }
    std::string_view SectionName(std::size_t section) const;
    std::size_t KeyCount(std::size_t section) const;
    std::string_view KeyName(std::size_t section, std::size_t key) const;
    // The value as a lookup returns it; empty for a key without '='.
    std::string_view Value(std::size_t section, std::size_t key) const;
    bool HasValue(std::size_t section, std::size_t key) const;
    // The three at once, reading the line once.
    struct KeyLine {
        std::string_view name;
        bool hasValue = false;
        std::string_view value;
    };
    KeyLine Key(std::size_t section, std::size_t key) const;

    // Profile-function lookups.
    std::optional<std::size_t> FindSection(std::string_view name) const;
    // Nothing when the section or key is missing or the key has no value.
    std::optional<std::string_view> Find(std::string_view section, std::string_view key) const;
    // Distinct section names in the order of their first appearance.
    std::vector<std::string_view> SectionNames() const;
    // The key list of the first section of that name.
    std::vector<std::string_view> KeyNames(std::string_view section) const;

    const std::string& Bytes() const { return m_bytes; }

private:
    friend class Edit;
    friend class Files;
    // The key list, name by name, after reserve(upper bound of their number).
    void ForEachKeyName(std::string_view section, const std::function<void(std::size_t)>& reserve,
                        const std::function<void(std::string_view)>& take) const;

    struct Section {
        std::uint32_t header;   // first byte of the header line
        std::uint32_t firstKey; // index of its first key line
    };
    // One key line taken apart.
    struct KeyParts {
        std::uint32_t lineBegin, lineEnd, nextLine;
        std::uint32_t nameBegin, nameLength;
        std::uint32_t equals; // position of '=', or lineEnd when there is none
        std::uint32_t valueBegin, valueLength;
    };

    Document() = default;
    std::size_t KeyIndex(std::size_t section, std::size_t key) const {
        return m_sections[section].firstKey + key;
    }
    // hasValue tells whether the line has '='.
    std::string_view NameOfKey(std::size_t index, bool* hasValue = nullptr) const;
    // From is where in the line to look for '=' (0: its start).
    std::optional<std::string_view> ValueOfKey(std::size_t index, std::uint32_t from = 0) const;
    KeyParts PartsOfKey(std::size_t index) const;
    // Compare a name without taking it out of the bytes first.
    bool SectionNamed(std::size_t section, std::string_view name) const;
    // *nameEnd: where the name ended in the line, for ValueOfKey.
    bool KeyNamed(std::size_t index, std::string_view name, std::uint32_t* nameEnd = nullptr) const;
    // First byte after the section's last line.
    std::uint32_t SectionEnd(std::size_t section) const;
    // The first key of that name in the section, with or without a value.
    std::optional<std::size_t> FindKey(std::size_t section, std::string_view name,
                                       std::uint32_t* nameEnd = nullptr) const;
    struct SectionKeys;
    using KeyVisitor = std::function<void(std::string_view name, bool hasValue)>;
    // When the record is made now, visit sees the keys that come before the names'
    // order first breaks, and *visited tells how many they were (else 0).
    SectionKeys& KeysOf(std::size_t section, const KeyVisitor& visit = {},
                        std::size_t* visited = nullptr) const;
    const NameIndex& IndexOf(SectionKeys& keys) const;
    bool IsFirstOfName(SectionKeys& keys, std::size_t key) const;

    std::string m_bytes;
    std::vector<Section> m_sections;
    std::vector<std::uint32_t> m_keys; // first byte of each key line
    // Indexes by folded name, built on first use.
    mutable std::once_flag m_sectionIndexOnce;
    mutable std::unique_ptr<NameIndex> m_sectionIndex;
    mutable std::mutex m_keysMutex;
    mutable std::unordered_map<std::size_t, std::unique_ptr<SectionKeys>> m_sectionKeys;
    mutable std::atomic<SectionKeys*> m_lastKeys{nullptr};
    // The last section and key found (section << 32 | key), where the next search starts.
    mutable std::atomic<std::uint32_t> m_sectionHint{0};
    mutable std::atomic<std::uint64_t> m_keyHint{~std::uint64_t(0)};
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
    std::int64_t changedNs = 0; // POSIX ctime; Windows ChangeTime
    std::uint64_t inode = 0;    // Windows: the file index
    std::uint64_t device = 0;   // Windows: the volume serial number
    // How coarse this file system's times are: a change within one tick of the
    // last may leave them as they were.
    std::int64_t tickNs = 0;
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

    // Receives the new file's bytes in order; false stops the writing.
    using Sink = std::function<bool(std::string_view)>;

private:
    friend class Files;
    class Plan;
    struct PlanDeleter {
        void operator()(Plan* plan) const;
    };
    using PlanPtr = std::unique_ptr<Plan, PlanDeleter>;
    // The changes worked out against one parse; null when they change nothing.
    PlanPtr PlanFor(const Document& document) const;
    // Sends the whole new file to sink.
    static bool Write(const Plan& plan, const Sink& sink);

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
    // For tests: called after every piece written to the new file with the bytes
    // written so far, and once more with the full size + 1 just before the new
    // file replaces the old; returning true makes the write fail there.
    std::function<bool(std::size_t)> failAfter;
};

// Where the engine takes stamps from: StampOf, or for tests a stand-in that
// answers as a share with coarse times would.
using StampSource = std::function<std::optional<FileStamp>(const std::filesystem::path&)>;

// The engine: reads through a parse cache keyed by path and checked against the
// file's stamp; writes atomically under the lock. Safe to use from several threads
// and processes.
class Files {
public:
    explicit Files(FilesOptions options = {}, StampSource stampOf = {});
    Files(const Files&) = delete;
    Files& operator=(const Files&) = delete;

    // The bulk read: the whole parse. A missing or unreadable file reads as empty.
    std::shared_ptr<const Document> Read(const std::filesystem::path& path);

    // GetPrivateProfileString for one value.
    std::string GetString(const std::filesystem::path& path, std::string_view section, std::string_view key,
                          std::string_view defaultValue);
    // The value read as a decimal number (leading blanks, a sign, then digits;
    // 0 when none), or defaultValue when the key is missing or has no value.
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
        std::int64_t verifiedNs = 0; // when the file last held exactly these bytes
        std::int64_t tickNs = -1;    // the file system's timestamp tick, once asked
        std::uint64_t lastUse = 0;
    };
    std::optional<FileStamp> Stamp(const std::filesystem::path& path) const;
    // The cached parse when it may be served for stamp without reading the file.
    std::shared_ptr<const Document> Settled(const std::filesystem::path& path, const FileStamp& stamp);
    // Removes the path's parse from the cache; Forget also ends lookup runs.
    void Drop(const std::filesystem::path& path);
    void Remember(const std::filesystem::path& path, const FileStamp& stamp,
                  std::shared_ptr<const Document> document, std::int64_t verifiedNs);
    bool Replace(const std::filesystem::path& path, const Edit* edit, std::string_view bytes,
                 std::string* error);
    // Read for GetString and GetInt, which may share one look at the file. The
    // parse stays valid until the thread's next lookup.
    const Document& LookupRead(const std::filesystem::path& path);

    FilesOptions m_options;
    StampSource m_stampOf;
    std::uint64_t m_id; // tells engines apart for the lookup runs
    std::mutex m_mutex; // guards the cache
    std::unordered_map<std::filesystem::path::string_type, Cached> m_cache;
    std::size_t m_cachedBytes = 0;
    std::uint64_t m_useCounter = 0;
};

} // namespace OCL::Ini
