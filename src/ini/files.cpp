#include "ini/inifile.h"

#include "ini/fileio.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <limits>

namespace fs = std::filesystem;

namespace OCL::Ini {
namespace {

// Each try follows another writer's completed write, so the file system as a whole
// makes progress; the bound only ends a fight with a writer that never stops.
constexpr int kMaxAttempts = 1000;
// Times older than this are settled on any file system.
constexpr std::int64_t kCoarsestTickNs = 2'000'000'000;

const std::shared_ptr<const Document>& EmptyDocument() {
    static const std::shared_ptr<const Document> empty = Document::Parse({});
    return empty;
}

void SetError(std::string* error, const std::string& text) {
    if (error)
        *error = text;
}

// Whether bytes read at readNs of a file stamped so can only have changed with the
// stamp: its last change lies at least one timestamp tick before the read. *tickNs
// caches the file system's tick (negative: not asked yet).
bool IsSettled(const fs::path& path, const FileStamp& stamp, std::int64_t readNs, std::int64_t* tickNs) {
    const std::int64_t age = readNs - std::max(stamp.modifiedNs, stamp.changedNs);
    if (age >= kCoarsestTickNs)
        return true;
    if (age < 0)
        return false;
    if (*tickNs < 0)
        *tickNs = Io::TickNs(path);
    return age >= *tickNs;
}

// Lookups in a tight run share one look at the file: a system call costs many
// lookups, and between two lookups that close together on one thread nothing can
// both change the file and let that thread know of it. A run ends at any engine's
// write in this process, at a longer step, and after a while in any case.
constexpr std::int64_t kRunStepNs = 1'000;
constexpr std::int64_t kRunSpanNs = 1'000'000;
std::atomic<std::uint64_t> g_writes{0};
std::atomic<std::uint64_t> g_engines{0};

std::int64_t MonotonicNs() {
    return std::chrono::duration_cast<std::chrono::nanoseconds>(
               std::chrono::steady_clock::now().time_since_epoch())
        .count();
}

// The thread's last lookup. It holds that parse until the thread's next lookup.
struct LookupRun {
    std::uint64_t engine = 0;
    fs::path::string_type path;
    std::shared_ptr<const Document> document;
    std::uint64_t writes = 0;
    std::int64_t checkedNs = 0; // when the file was last looked at
    std::int64_t lastNs = 0;    // when the run's last lookup began
};
thread_local LookupRun t_run;

// Hands the new file's bytes to the file in pieces of one size, reporting each
// piece to the test hook.
class Pieces {
public:
    Pieces(Io::NewFile& file, const FilesOptions& options, const fs::path& path, std::string* error)
        : m_file(file), m_options(options), m_path(path), m_error(error) {
        m_buffer.reserve(options.writeChunk);
    }

    bool Put(std::string_view bytes) {
        const std::size_t chunk = m_options.writeChunk;
        while (!bytes.empty()) {
            if (m_buffer.empty() && bytes.size() >= chunk) {
                if (!Out(bytes.substr(0, chunk)))
                    return false;
                bytes.remove_prefix(chunk);
                continue;
            }
            const std::size_t take = std::min(bytes.size(), chunk - m_buffer.size());
            m_buffer.append(bytes.substr(0, take));
            bytes.remove_prefix(take);
            if (m_buffer.size() == chunk && !Flush())
                return false;
        }
        return true;
    }

    bool Flush() {
        if (m_buffer.empty())
            return true;
        const bool ok = Out(m_buffer);
        m_buffer.clear();
        return ok;
    }

    std::size_t Written() const { return m_written; }

private:
    bool Out(std::string_view piece) {
        if (!m_file.Write(piece, m_error))
            return false;
        m_written += piece.size();
        if (m_options.failAfter && m_options.failAfter(m_written)) {
            SetError(m_error, "write of " + m_path.string() + " interrupted");
            return false;
        }
        return true;
    }

    Io::NewFile& m_file;
    const FilesOptions& m_options;
    const fs::path& m_path;
    std::string* m_error;
    std::string m_buffer;
    std::size_t m_written = 0;
};

} // namespace

Files::Files(FilesOptions options, StampSource stampOf)
    : m_options(std::move(options)), m_stampOf(std::move(stampOf)), m_id(++g_engines) {
    if (m_options.writeChunk == 0)
        m_options.writeChunk = 1;
}

std::optional<FileStamp> Files::Stamp(const fs::path& path) const {
    return m_stampOf ? m_stampOf(path) : StampOf(path);
}

std::shared_ptr<const Document> Files::Settled(const fs::path& path, const FileStamp& stamp) {
    std::lock_guard lock(m_mutex);
    auto it = m_cache.find(path.native());
    if (it == m_cache.end() || !(it->second.stamp == stamp) ||
        !IsSettled(path, stamp, it->second.verifiedNs, &it->second.tickNs))
        return nullptr;
    it->second.lastUse = ++m_useCounter;
    return it->second.document;
}

std::shared_ptr<const Document> Files::Read(const fs::path& path) {
    const auto stamp = Stamp(path);
    if (!stamp) {
        Drop(path);
        return EmptyDocument();
    }
    std::shared_ptr<const Document> young;
    {
        std::lock_guard lock(m_mutex);
        auto it = m_cache.find(path.native());
        if (it != m_cache.end() && it->second.stamp == *stamp) {
            it->second.lastUse = ++m_useCounter;
            if (IsSettled(path, *stamp, it->second.verifiedNs, &it->second.tickNs))
                return it->second.document;
            young = it->second.document;
        }
    }
    const std::int64_t readNs = Io::NowNs();
    // A parse too young to trust by its stamp is still good when the bytes agree.
    if (young && Io::Holds(path, young->Bytes()) && Stamp(path) == stamp) {
        std::lock_guard lock(m_mutex);
        auto it = m_cache.find(path.native());
        if (it != m_cache.end() && it->second.document == young)
            it->second.verifiedNs = readNs;
        return young;
    }
    std::string bytes;
    if (!Io::ReadWhole(path, &bytes))
        return EmptyDocument();
    auto document = Document::Parse(std::move(bytes));
    // Only a parse of a file that did not change while it was read may be reused.
    const auto after = Stamp(path);
    if (after && *after == *stamp && document->Bytes().size() == stamp->size)
        Remember(path, *stamp, document, readNs);
    return document;
}

void Files::Remember(const fs::path& path, const FileStamp& stamp, std::shared_ptr<const Document> document,
                     std::int64_t verifiedNs) {
    std::lock_guard lock(m_mutex);
    const std::size_t size = document->Bytes().size();
    if (size > m_options.cacheBytes)
        return;
    auto it = m_cache.find(path.native());
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
    m_cache.emplace(path.native(), Cached{stamp, std::move(document), verifiedNs, -1, ++m_useCounter});
    m_cachedBytes += size;
}

void Files::Forget() {
    ++g_writes;
    std::lock_guard lock(m_mutex);
    m_cache.clear();
    m_cachedBytes = 0;
}

void Files::Forget(const fs::path& path) {
    ++g_writes;
    Drop(path);
}

void Files::Drop(const fs::path& path) {
    std::lock_guard lock(m_mutex);
    auto it = m_cache.find(path.native());
    if (it == m_cache.end())
        return;
    m_cachedBytes -= it->second.document->Bytes().size();
    m_cache.erase(it);
}

const Document& Files::LookupRead(const fs::path& path) {
    const std::int64_t start = MonotonicNs();
    const std::uint64_t writes = g_writes.load();
    const bool sameRun = t_run.engine == m_id && t_run.writes == writes &&
                         start - t_run.lastNs < kRunStepNs && start - t_run.checkedNs < kRunSpanNs &&
                         t_run.path == path.native();
    if (sameRun) {
        t_run.lastNs = start;
        return *t_run.document;
    }
    t_run.document = Read(path);
    t_run.engine = m_id;
    t_run.path = path.native();
    t_run.writes = writes;
    t_run.checkedNs = start;
    // A run is counted from the end of the look at the file.
    t_run.lastNs = MonotonicNs();
    return *t_run.document;
}

std::string Files::GetString(const fs::path& path, std::string_view section, std::string_view key,
                             std::string_view defaultValue) {
    const auto found = LookupRead(path).Find(section, key);
    return std::string(found ? *found : defaultValue);
}

long long Files::GetInt(const fs::path& path, std::string_view section, std::string_view key,
                        long long defaultValue) {
    const auto found = LookupRead(path).Find(section, key);
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
    std::vector<std::string> out;
    Read(path)->ForEachKeyName(
        section, [&](std::size_t count) { out.reserve(count); },
        [&](std::string_view name) { out.emplace_back(name); });
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
    return Replace(path, &edit, {}, error);
}

bool Files::WriteAll(const fs::path& path, std::string_view bytes, std::string* error) {
    return Replace(path, nullptr, bytes, error);
}

// The read-modify-write: under the lock, from the bytes the file holds now, and
// again from the top when a writer that does not lock changed it meanwhile.
bool Files::Replace(const fs::path& path, const Edit* edit, std::string_view bytes, std::string* error) {
    for (int attempt = 0; attempt < kMaxAttempts; ++attempt) {
        Io::Target target;
        const Io::Target::Result held = target.Lock(path, error);
        if (held == Io::Target::Result::Failed)
            return false;
        if (held == Io::Target::Result::Replaced)
            continue;
        const bool exists = held == Io::Target::Result::Locked;

        std::shared_ptr<const Document> document = EmptyDocument();
        std::optional<FileStamp> stamp;
        std::int64_t readNs = 0;
        Edit::PlanPtr plan;
        if (edit) {
            if (exists) {
                stamp = Stamp(path);
                if (!stamp)
                    continue;
                readNs = Io::NowNs();
                document = Settled(path, *stamp);
                if (!document) {
                    std::string current;
                    if (!target.Read(&current, error))
                        return false;
                    document = Document::Parse(std::move(current));
                }
            }
            plan = edit->PlanFor(*document);
            // Nothing to change, or nothing to delete from a file that is not there.
            if (!plan)
                return true;
        }

        Io::NewFile file;
        if (!file.Create(path, error))
            return false;
        Pieces pieces(file, m_options, path, error);
        const bool written =
            plan ? Edit::Write(*plan, [&pieces](std::string_view piece) { return pieces.Put(piece); })
                 : pieces.Put(bytes);
        if (!written || !pieces.Flush() || !file.Finish(m_options.sync, target, error))
            return false;
        if (m_options.failAfter && m_options.failAfter(pieces.Written() + 1)) {
            SetError(error, "write of " + path.string() + " interrupted");
            return false;
        }
        if (stamp) {
            // Writers that do not take the lock may have changed the file since it was
            // read; within one timestamp tick only its bytes can tell.
            const auto now = Stamp(path);
            std::int64_t tickNs = -1;
            if (!now || !(*now == *stamp) ||
                (!IsSettled(path, *stamp, readNs, &tickNs) && !Io::Holds(path, document->Bytes())))
                continue;
        }
        switch (file.Put(!exists, error)) {
        case Io::NewFile::Commit::Done:
            Forget(path); // which also ends lookup runs in this process
            return true;
        case Io::NewFile::Commit::Again:
            continue;
        case Io::NewFile::Commit::Failed:
            return false;
        }
    }
    SetError(error, path.string() + " kept being changed by other writers; it was not written");
    return false;
}

} // namespace OCL::Ini
