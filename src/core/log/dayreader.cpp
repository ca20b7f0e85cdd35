#include "core/log/dayreader.h"

#include "ini/inifile.h"

#include <QDateTime>
#include <QFile>

#include <algorithm>
#include <exception>
#include <mutex>
#include <thread>
#include <unordered_set>

namespace {

// Below this a second thread costs more than it saves.
constexpr std::size_t kSplitBytes = std::size_t(8) << 20;

bool Skipped(std::string_view text) {
    return text.empty() || text.front() == '*';
}

// The key names of one section seen so far, compared as the engine compares
// names. Per section, so it stays small and in the cache.
class CSeenKeys {
public:
    void Reset(std::size_t keys) {
        std::size_t size = 16;
        while (size < keys * 2)
            size *= 2;
        m_slots.assign(size, {});
        m_used = 0;
    }
    // False when a key of that name was seen before.
    bool Insert(std::string_view name) {
        if ((m_used + 1) * 2 > m_slots.size())
            Grow();
        const std::size_t mask = m_slots.size() - 1;
        for (std::size_t i = FoldedHash(name) & mask;; i = (i + 1) & mask) {
            std::string_view& slot = m_slots[i];
            if (slot.data() == nullptr) {
                slot = name.data() ? name : std::string_view("", 0);
                ++m_used;
                return true;
            }
            if (OCL::Ini::NamesEqual(slot, name))
                return false;
        }
    }

private:
    void Grow() {
        std::vector<std::string_view> old(m_slots.size() * 2);
        old.swap(m_slots);
        const std::size_t mask = m_slots.size() - 1;
        for (const std::string_view name : old) {
            if (name.data() == nullptr)
                continue;
            std::size_t i = FoldedHash(name) & mask;
            while (m_slots[i].data() != nullptr)
                i = (i + 1) & mask;
            m_slots[i] = name;
        }
    }

    std::vector<std::string_view> m_slots;
    std::size_t m_used = 0;
};

// Walks parsed sections as the console's reading does: a section name read
// before is skipped (lookups by name land in its first section), a section
// whose first key is empty or begins with '*' is skipped, and so is every
// later key of a name seen before and every empty or '*' value.
class CWalker {
public:
    struct Run {
        std::string name; // folded
        std::size_t begin, end;
    };

    CWalker(CLogStore& store, const CDayReader::SectionSeen& seen) : m_store(store), m_seen(seen) {}

    void Walk(const OCL::Ini::Document& document) {
        for (std::size_t s = 0; s < document.SectionCount(); ++s) {
            const std::string_view name = document.SectionName(s);
            std::string folded = OCL::Ini::FoldedName(name);
            m_state = State::Skipped;
            if (!m_names.insert(folded).second)
                continue;
            m_state = State::NotStarted;
            m_name = name;
            m_keys.Reset(document.KeyCount(s));
            m_runs.push_back({std::move(folded), m_store.Count(), m_store.Count()});
            WalkKeys(document, s);
        }
    }
    // More lines of the last section walked, parsed elsewhere.
    void Continue(const OCL::Ini::Document& document, std::size_t section) {
        if (m_state != State::Skipped)
            WalkKeys(document, section);
    }
    bool Walked(const std::string& folded) const { return m_names.contains(folded); }
    const std::vector<Run>& Runs() const { return m_runs; }

private:
    enum class State { NotStarted, Walking, Skipped };

    void WalkKeys(const OCL::Ini::Document& document, std::size_t s) {
        const std::size_t count = document.KeyCount(s);
        for (std::size_t k = 0; k < count; ++k) {
            const std::string_view key = document.KeyName(s, k);
            if (m_state == State::NotStarted) {
                if (Skipped(key)) {
                    m_state = State::Skipped;
                    return;
                }
                m_state = State::Walking;
                if (m_seen)
                    m_seen(m_name);
                const CwLog::LogSection split = CwLog::SplitSection(m_name);
                m_channel = m_store.AddChannel(split.server, split.port);
            }
            if (!m_keys.Insert(key))
                continue;
            const std::string_view value = document.Value(s, k);
            if (!Skipped(value))
                m_store.Add(m_channel, CwLog::ReadInt32(key), CwLog::ParseLogValue(value));
        }
        m_runs.back().end = m_store.Count();
    }

    CLogStore& m_store;
    const CDayReader::SectionSeen& m_seen;
    std::unordered_set<std::string> m_names;
    std::vector<Run> m_runs;
    CSeenKeys m_keys;
    State m_state = State::Skipped;
    std::string_view m_name;
    std::uint32_t m_channel = 0;
};

// A file whose first section name is empty or begins with '*' reads as empty.
bool NothingToRead(const OCL::Ini::Document& first, const OCL::Ini::Document& second) {
    const OCL::Ini::Document& document = first.SectionCount() > 0 ? first : second;
    return document.SectionCount() == 0 || Skipped(document.SectionName(0));
}

} // namespace

bool CDayReader::ReadFile(const std::filesystem::path& path, std::string* bytes, Stamp* stamp) {
    QFile file(QString::fromStdString(path.string()));
    if (!file.open(QIODevice::ReadOnly | QIODevice::Unbuffered))
        return false;
    // Taken from the open file: if the service replaces it meanwhile, the next
    // reload test sees the difference.
    const qint64 expected = file.size();
    if (stamp)
        *stamp = {expected, file.fileTime(QFileDevice::FileModificationTime).toSecsSinceEpoch()};
    std::string data;
    data.resize(std::size_t(std::max<qint64>(expected, 0)));
    const qint64 got = data.empty() ? 0 : file.read(data.data(), qint64(data.size()));
    if (got < 0)
        return false;
    data.resize(std::size_t(got));
    // The service may have added to the file since its size was taken.
    char more[65536];
    qint64 n;
    while ((n = file.read(more, sizeof more)) > 0)
        data.append(more, std::size_t(n));
    if (n < 0)
        return false;
    *bytes = std::move(data);
    return true;
}

std::unique_ptr<CLogStore> CDayReader::Parse(std::string bytes, const SectionSeen& seen,
                                             std::size_t splitAt) {
    auto store = std::make_unique<CLogStore>();
    if (splitAt == kSplitAuto)
        splitAt =
            bytes.size() >= kSplitBytes && std::thread::hardware_concurrency() >= 2 ? bytes.size() / 2 : 0;
    std::size_t split = 0;
    if (splitAt > 0 && splitAt < bytes.size()) {
        const std::size_t newline = bytes.find('\n', splitAt - 1);
        split = newline == std::string::npos ? 0 : newline + 1;
    }

    if (split == 0 || split >= bytes.size()) {
        const auto document = OCL::Ini::Document::Parse(std::move(bytes));
        if (!NothingToRead(*document, *document)) {
            store->Reserve(document->Keys().size());
            CWalker(*store, seen).Walk(*document);
        }
        store->Finish();
        return store;
    }

    std::mutex seenLock;
    const SectionSeen oneAtATime = [&](std::string_view section) {
        std::lock_guard lock(seenLock);
        if (seen)
            seen(section);
    };
    CLogStore secondStore;
    CWalker first(*store, oneAtATime), second(secondStore, oneAtATime);
    std::shared_ptr<const OCL::Ini::Document> secondDocument;
    std::exception_ptr failure;
    std::thread worker([&, tail = bytes.substr(split)]() mutable {
        try {
            secondDocument = OCL::Ini::Document::Parse(std::move(tail));
            secondStore.Reserve(secondDocument->Keys().size());
            second.Walk(*secondDocument);
        } catch (...) {
            failure = std::current_exception();
        }
    });
    bytes.resize(split);
    std::shared_ptr<const OCL::Ini::Document> firstDocument;
    try {
        firstDocument = OCL::Ini::Document::Parse(std::move(bytes));
        store->Reserve(firstDocument->Keys().size());
        first.Walk(*firstDocument);
    } catch (...) {
        worker.join();
        throw;
    }
    worker.join();
    if (failure)
        std::rethrow_exception(failure);

    // The second part's lines before its first section continue the first
    // part's last section: read them under that section's name.
    const std::size_t sections = firstDocument->SectionCount();
    const std::size_t orphans = secondDocument->SectionCount() > 0 ? secondDocument->Sections()[0].headerBegin
                                                                   : secondDocument->Bytes().size();
    if (sections > 0 && orphans > 0) {
        std::string continued = "[";
        continued += firstDocument->SectionName(sections - 1);
        continued += "]\n";
        continued.append(secondDocument->Bytes(), 0, orphans);
        const auto rest = OCL::Ini::Document::Parse(std::move(continued));
        if (rest->SectionCount() > 0)
            first.Continue(*rest, 0);
    }
    if (NothingToRead(*firstDocument, *secondDocument)) {
        auto empty = std::make_unique<CLogStore>();
        empty->Finish();
        return empty;
    }
    std::vector<std::pair<std::size_t, std::size_t>> ranges;
    for (const CWalker::Run& run : second.Runs())
        if (!first.Walked(run.name) && run.end > run.begin)
            ranges.emplace_back(run.begin, run.end);
    store->Append(secondStore, ranges);
    store->Finish();
    return store;
}
