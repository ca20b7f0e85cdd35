#include "core/log/dayreader.h"

#include "core/log/largememory.h"
#include "ini/inifile.h"

#include <QDateTime>
#include <QFile>

#include <algorithm>

namespace {

// The key names of one section seen so far, compared as the engine compares
// names. Sized per section, so it stays small and in the cache.
class CSeenKeys {
public:
    void Reset(std::size_t keys) {
        std::size_t size = 16;
        while (size < keys * 2)
            size *= 2;
        m_slots.assign(size, {});
    }
    // False when a key of that name was seen before.
    bool Insert(std::string_view name) {
        const std::size_t mask = m_slots.size() - 1;
        for (std::size_t i = FoldedHash(name) & mask;; i = (i + 1) & mask) {
            std::string_view& slot = m_slots[i];
            if (slot.data() == nullptr) {
                slot = name.data() ? name : std::string_view("", 0);
                return true;
            }
            if (OCL::Ini::NamesEqual(slot, name))
                return false;
        }
    }

private:
    std::vector<std::string_view> m_slots;
};

bool Skipped(std::string_view text) {
    return text.empty() || text.front() == '*';
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
    data.reserve(std::size_t(std::max<qint64>(expected, 0)));
    CwMemory::PreferLargePages(data.data(), data.capacity());
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

std::unique_ptr<CLogStore> CDayReader::Parse(std::string bytes, const SectionSeen& seen, bool finish) {
    auto store = std::make_unique<CLogStore>();
    const auto document = OCL::Ini::Document::Parse(std::move(bytes));
    std::size_t lines = 0;
    for (std::size_t s = 0; s < document->SectionCount(); ++s)
        lines += document->KeyCount(s);
    store->Reserve(lines);

    const std::vector<std::string_view> sections = document->SectionNames();
    if (sections.empty() || Skipped(sections.front())) {
        if (finish)
            store->Finish();
        return store;
    }
    CSeenKeys keys;
    for (const std::string_view name : sections) {
        // Every lookup by this name lands in its first section.
        const std::size_t s = *document->FindSection(name);
        const std::size_t count = document->KeyCount(s);
        // The key list leaves out lines without '='.
        std::size_t first = 0;
        while (first < count && !document->HasValue(s, first))
            ++first;
        if (first == count || Skipped(document->KeyName(s, first)))
            continue;
        if (seen)
            seen(name);
        const CwLog::LogSection split = CwLog::SplitSection(name);
        const std::uint32_t channel = store->AddChannel(split.server, split.port);
        keys.Reset(count);
        for (std::size_t k = 0; k < count; ++k) {
            const OCL::Ini::Document::KeyLine line = document->Key(s, k);
            // A line without '=' hides later keys of its name: their lookup answers
            // the default, which is skipped.
            if (!keys.Insert(line.name) || !line.hasValue || Skipped(line.value))
                continue;
            store->Add(channel, CwLog::ReadInt32(line.name), CwLog::ParseLogValue(line.value));
        }
    }
    if (finish)
        store->Finish();
    return store;
}
