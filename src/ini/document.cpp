#include "ini/inifile.h"

#include "ini/nameindex.h"
#include "ini/text.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <limits>
#include <tuple>

namespace OCL::Ini {

using namespace Text;

namespace {

// Below this many entries a walk is quicker than building an index.
constexpr std::size_t kWalkLimit = 8;

// An upper bound of the lines in the bytes, to size the key records once: every LF
// and every CR that no LF follows ends one. Eight bytes at a time.
std::size_t LineBound(const char* data, std::size_t size) {
    constexpr std::uint64_t kOnes = 0x0101010101010101ull;
    // The number of 0x80 bytes in a mask, summed into the top byte.
    auto count = [](std::uint64_t mask) {
        return std::size_t(((mask >> 7) * kOnes) >> 56);
    };
    std::size_t lines = 1;
    std::size_t i = 0;
    for (; i + 9 <= size; i += 8) {
        const std::uint64_t w = Load8(data + i);
        const std::uint64_t lf = ZeroBytes(w ^ (kOnes * '\n'));
        const std::uint64_t cr = ZeroBytes(w ^ (kOnes * '\r'));
        const std::uint64_t lfAfter = lf >> 8 | std::uint64_t(data[i + 8] == '\n') << 63;
        lines += count(lf) + count(cr & ~lfAfter);
    }
    for (; i < size; ++i)
        lines += std::size_t(data[i] == '\n') +
                 std::size_t(data[i] == '\r' && (i + 1 == size || data[i + 1] != '\n'));
    return lines;
}

constexpr std::uint32_t kNoMatch = std::numeric_limits<std::uint32_t>::max();

// Whether the name that begins at p (after its leading blanks) equals name, a
// trimmed name: the file's name runs to stop or the line end, is trimmed and cut at
// its first NUL. Where the comparison stopped, or kNoMatch.
std::uint32_t NameAt(const char* data, std::uint32_t p, std::uint32_t size, std::string_view name,
                     char stop) {
    for (const char c : name) {
        if (p >= size || data[p] == stop || IsLineEnd(data[p]) || data[p] == '\0' || Fold(data[p]) != Fold(c))
            return kNoMatch;
        ++p;
    }
    if (p < size && data[p] == '\0')
        return p;
    while (p < size && IsBlank(data[p]))
        ++p;
    return p >= size || data[p] == stop || IsLineEnd(data[p]) ? p : kNoMatch;
}

// The value in [begin, end) as a lookup returns it: trimmed, without one pair of
// surrounding quotes, cut at its first NUL.
std::pair<std::uint32_t, std::uint32_t> ValueIn(const char* data, std::uint32_t begin, std::uint32_t end,
                                                bool mayHoldNul = true) {
    while (begin < end && IsBlank(data[begin]))
        ++begin;
    while (end > begin && IsBlank(data[end - 1]))
        --end;
    if (end - begin >= 2 && data[begin] == '"' && data[end - 1] == '"') {
        ++begin;
        --end;
    }
    return {begin, mayHoldNul ? CutAtNul(data, begin, end - begin) : end - begin};
}

} // namespace

std::string FoldedName(std::string_view name) {
    std::string out(name);
    for (char& c : out)
        c = char(Fold(c));
    return out;
}

bool NamesEqual(std::string_view a, std::string_view b) {
    if (a.size() != b.size())
        return false;
    for (std::size_t i = 0; i < a.size(); ++i)
        if (Fold(a[i]) != Fold(b[i]))
            return false;
    return true;
}

Document::~Document() = default;

std::shared_ptr<const Document> Document::Parse(std::string bytes) {
    std::shared_ptr<Document> doc(new Document());
    // Offsets are 32-bit; anything beyond 4 GiB is not read.
    constexpr std::size_t kMaxBytes = std::numeric_limits<std::uint32_t>::max() - 2;
    if (bytes.size() > kMaxBytes)
        bytes.resize(kMaxBytes);
    doc->m_bytes = std::move(bytes);

    const char* data = doc->m_bytes.data();
    const auto size = std::uint32_t(doc->m_bytes.size());
    doc->m_keys.reserve(LineBound(data, size));
    bool inSection = false;
    std::uint32_t pos = StartsWithBom(doc->m_bytes) ? 3 : 0;
    while (pos < size) {
        const std::uint32_t end = LineEnd(data, pos, size);
        std::uint32_t p = pos;
        while (p < end && IsBlank(data[p]))
            ++p;
        if (p < end) {
            if (data[p] == '[') {
                doc->m_sections.push_back({pos, std::uint32_t(doc->m_keys.size())});
                inSection = true;
            } else if (inSection && data[p] != ';' && data[p] != '\0') {
                // A line starting with NUL is the zero-filled tail of a crashed write.
                doc->m_keys.push_back(pos);
            }
        }
        pos = NextLine(data, end, size);
    }
    return doc;
}

std::string_view Document::SectionName(std::size_t section) const {
    const char* data = m_bytes.data();
    const auto size = std::uint32_t(m_bytes.size());
    std::uint32_t begin = m_sections[section].header;
    const std::uint32_t end = LineEnd(data, begin, size);
    while (data[begin] != '[')
        ++begin;
    ++begin;
    const void* close = std::memchr(data + begin, ']', end - begin);
    std::uint32_t nameEnd = close ? std::uint32_t(static_cast<const char*>(close) - data) : end;
    while (begin < nameEnd && IsBlank(data[begin]))
        ++begin;
    while (nameEnd > begin && IsBlank(data[nameEnd - 1]))
        --nameEnd;
    return {data + begin, CutAtNul(data, begin, nameEnd - begin)};
}

std::uint32_t Document::SectionEnd(std::size_t section) const {
    return section + 1 < m_sections.size() ? m_sections[section + 1].header : std::uint32_t(m_bytes.size());
}

std::size_t Document::KeyCount(std::size_t section) const {
    const std::size_t end =
        section + 1 < m_sections.size() ? m_sections[section + 1].firstKey : m_keys.size();
    return end - m_sections[section].firstKey;
}

bool Document::SectionNamed(std::size_t section, std::string_view name) const {
    const char* data = m_bytes.data();
    std::uint32_t p = m_sections[section].header;
    while (data[p] != '[')
        ++p;
    ++p;
    const auto size = std::uint32_t(m_bytes.size());
    while (p < size && IsBlank(data[p]))
        ++p;
    return NameAt(data, p, size, name, ']') != kNoMatch;
}

bool Document::KeyNamed(std::size_t index, std::string_view name, std::uint32_t* nameEnd) const {
    const char* data = m_bytes.data();
    std::uint32_t p = m_keys[index];
    while (IsBlank(data[p]))
        ++p;
    const std::uint32_t end = NameAt(data, p, std::uint32_t(m_bytes.size()), name, '=');
    if (nameEnd)
        *nameEnd = end;
    return end != kNoMatch;
}

std::string_view Document::NameOfKey(std::size_t index, bool* hasValue) const {
    const char* data = m_bytes.data();
    const auto size = std::uint32_t(m_bytes.size());
    std::uint32_t begin = m_keys[index];
    while (IsBlank(data[begin]))
        ++begin;
    std::uint32_t end = begin;
    while (end < size && data[end] != '=' && !IsLineEnd(data[end]))
        ++end;
    if (hasValue)
        *hasValue = end < size && data[end] == '=';
    while (end > begin && IsBlank(data[end - 1]))
        --end;
    return {data + begin, CutAtNul(data, begin, end - begin)};
}

std::optional<std::string_view> Document::ValueOfKey(std::size_t index, std::uint32_t from) const {
    const char* data = m_bytes.data();
    const auto size = std::uint32_t(m_bytes.size());
    std::uint32_t p = from ? from : m_keys[index];
    while (p < size && data[p] != '=' && !IsLineEnd(data[p]))
        ++p;
    if (p >= size || data[p] != '=')
        return std::nullopt;
    bool nul = false;
    const std::uint32_t end = ShortLineEnd(data, p + 1, size, &nul);
    const auto [begin, length] = ValueIn(data, p + 1, end, nul);
    return std::string_view(data + begin, length);
}

Document::KeyParts Document::PartsOfKey(std::size_t index) const {
    const char* data = m_bytes.data();
    const auto size = std::uint32_t(m_bytes.size());
    KeyParts k{};
    k.lineBegin = m_keys[index];
    const std::string_view name = NameOfKey(index);
    k.nameBegin = std::uint32_t(name.data() - data);
    k.nameLength = std::uint32_t(name.size());
    std::uint32_t p = k.nameBegin;
    while (p < size && data[p] != '=' && !IsLineEnd(data[p]))
        ++p;
    if (p < size && data[p] == '=') {
        k.equals = p;
        k.lineEnd = LineEnd(data, p + 1, size);
        std::tie(k.valueBegin, k.valueLength) = ValueIn(data, p + 1, k.lineEnd);
    } else {
        k.equals = k.lineEnd = k.valueBegin = p;
    }
    k.nextLine = NextLine(data, k.lineEnd, size);
    return k;
}

Document::KeyLine Document::Key(std::size_t section, std::size_t key) const {
    const std::size_t index = KeyIndex(section, key);
    const char* data = m_bytes.data();
    const auto size = std::uint32_t(m_bytes.size());
    std::uint32_t begin = m_keys[index];
    while (IsBlank(data[begin]))
        ++begin;
    std::uint32_t end = begin;
    while (end < size && data[end] != '=' && !IsLineEnd(data[end]))
        ++end;
    KeyLine line;
    line.hasValue = end < size && data[end] == '=';
    if (line.hasValue)
        line.value = *ValueOfKey(index, end);
    while (end > begin && IsBlank(data[end - 1]))
        --end;
    line.name = {data + begin, CutAtNul(data, begin, end - begin)};
    return line;
}

std::string_view Document::KeyName(std::size_t section, std::size_t key) const {
    return NameOfKey(KeyIndex(section, key));
}

std::string_view Document::Value(std::size_t section, std::size_t key) const {
    return ValueOfKey(KeyIndex(section, key)).value_or(std::string_view());
}

bool Document::HasValue(std::size_t section, std::size_t key) const {
    bool hasValue = false;
    NameOfKey(KeyIndex(section, key), &hasValue);
    return hasValue;
}

std::optional<std::size_t> Document::FindSection(std::string_view name) const {
    name = Trim(name);
    if (m_sections.size() <= kWalkLimit) {
        for (std::size_t i = 0; i < m_sections.size(); ++i)
            if (SectionNamed(i, name))
                return i;
        return std::nullopt;
    }
    std::call_once(m_sectionIndexOnce, [&] {
        m_sectionIndex = std::make_unique<NameIndex>(std::uint32_t(m_sections.size()),
                                                     [this](std::uint32_t i) { return SectionName(i); });
    });
    // Callers tend to ask for one section many times over.
    const std::uint32_t hint = m_sectionHint.load(std::memory_order_relaxed);
    if (m_sectionIndex->IsFirst(hint) && SectionNamed(hint, name))
        return hint;
    const auto found = m_sectionIndex->Find(name, [&](std::uint32_t i) { return SectionNamed(i, name); });
    if (found)
        m_sectionHint.store(*found, std::memory_order_relaxed);
    return found;
}

// What is known of a section's keys, made on the first search among them: names in
// strictly increasing order (folded) cannot repeat, so such a section needs its
// hash index only when a search misses the hint.
struct Document::SectionKeys {
    std::size_t section;
    bool ordered;
    std::once_flag indexOnce;
    std::unique_ptr<const NameIndex> index;
};

namespace {

bool FoldedLess(std::string_view a, std::string_view b) {
    const std::size_t n = std::min(a.size(), b.size());
    for (std::size_t i = 0; i < n; ++i)
        if (Fold(a[i]) != Fold(b[i]))
            return Fold(a[i]) < Fold(b[i]);
    return a.size() < b.size();
}

} // namespace

Document::SectionKeys& Document::KeysOf(std::size_t section, const KeyVisitor& visit,
                                        std::size_t* visited) const {
    if (SectionKeys* last = m_lastKeys.load(std::memory_order_acquire); last && last->section == section)
        return *last;
    std::lock_guard lock(m_keysMutex);
    std::unique_ptr<SectionKeys>& keys = m_sectionKeys[section];
    if (!keys) {
        const std::size_t first = m_sections[section].firstKey;
        const std::size_t count = KeyCount(section);
        bool ordered = true;
        std::string_view previous;
        std::size_t k = 0;
        for (; k < count && ordered; ++k) {
            bool hasValue = false;
            const std::string_view name = NameOfKey(first + k, &hasValue);
            ordered = k == 0 || FoldedLess(previous, name);
            if (ordered && visit)
                visit(name, hasValue);
            previous = name;
        }
        if (visited)
            *visited = ordered ? k : k - 1;
        keys.reset(new SectionKeys{section, ordered, {}, nullptr});
    }
    m_lastKeys.store(keys.get(), std::memory_order_release);
    return *keys;
}

const NameIndex& Document::IndexOf(SectionKeys& keys) const {
    std::call_once(keys.indexOnce, [&] {
        const std::size_t first = m_sections[keys.section].firstKey;
        keys.index = std::make_unique<const NameIndex>(std::uint32_t(KeyCount(keys.section)),
                                                       [&](std::uint32_t i) { return NameOfKey(first + i); });
    });
    return *keys.index;
}

bool Document::IsFirstOfName(SectionKeys& keys, std::size_t key) const {
    return keys.ordered || IndexOf(keys).IsFirst(std::uint32_t(key));
}

std::optional<std::size_t> Document::FindKey(std::size_t section, std::string_view name,
                                             std::uint32_t* nameEnd) const {
    const std::size_t first = m_sections[section].firstKey;
    const std::size_t count = KeyCount(section);
    if (count <= kWalkLimit) {
        for (std::size_t k = 0; k < count; ++k)
            if (KeyNamed(first + k, name, nameEnd))
                return k;
        return std::nullopt;
    }
    SectionKeys& keys = KeysOf(section);
    // Loaders ask for a section's keys in file order: the one after the last found,
    // or else the section's first, answers without a search when it is the first
    // of its name.
    const std::uint64_t hint = m_keyHint.load(std::memory_order_relaxed);
    std::size_t next = std::uint32_t(hint) + std::size_t(1);
    if (hint >> 32 != section || next >= count)
        next = 0;
    if (KeyNamed(first + next, name, nameEnd) && (next == 0 || IsFirstOfName(keys, next))) {
        m_keyHint.store(std::uint64_t(section) << 32 | next, std::memory_order_relaxed);
        return next;
    }
    const auto found =
        IndexOf(keys).Find(name, [&](std::uint32_t i) { return KeyNamed(first + i, name, nameEnd); });
    if (!found)
        return std::nullopt;
    m_keyHint.store(std::uint64_t(section) << 32 | *found, std::memory_order_relaxed);
    return *found;
}

std::optional<std::string_view> Document::Find(std::string_view section, std::string_view key) const {
    const auto s = FindSection(section);
    if (!s)
        return std::nullopt;
    std::uint32_t nameEnd = 0;
    const auto k = FindKey(*s, Trim(key), &nameEnd);
    if (!k)
        return std::nullopt;
    return ValueOfKey(KeyIndex(*s, *k), nameEnd);
}

std::vector<std::string_view> Document::SectionNames() const {
    std::vector<std::string_view> names;
    names.reserve(m_sections.size());
    for (std::size_t i = 0; i < m_sections.size(); ++i) {
        std::string_view name = SectionName(i);
        // A later duplicate is the same section for every lookup by name.
        if (FindSection(name) == i)
            names.push_back(name);
    }
    return names;
}

std::vector<std::string_view> Document::KeyNames(std::string_view section) const {
    std::vector<std::string_view> names;
    ForEachKeyName(
        section, [&](std::size_t count) { names.reserve(count); },
        [&](std::string_view name) { names.push_back(name); });
    return names;
}

void Document::ForEachKeyName(std::string_view section, const std::function<void(std::size_t)>& reserve,
                              const std::function<void(std::string_view)>& take) const {
    const auto s = FindSection(section);
    if (!s)
        return;
    const std::size_t count = KeyCount(*s);
    reserve(count);
    // Names in order are each the first of their name: listed as the order is
    // checked, when that happens now.
    std::size_t k = 0;
    SectionKeys* keys = nullptr;
    if (count > kWalkLimit) {
        keys = &KeysOf(
            *s,
            [&](std::string_view name, bool hasValue) {
                if (hasValue)
                    take(name);
            },
            &k);
    }
    for (; k < count; ++k) {
        bool hasValue = false;
        const std::string_view name = NameOfKey(KeyIndex(*s, k), &hasValue);
        if (hasValue && (keys ? IsFirstOfName(*keys, k) : FindKey(*s, name) == k))
            take(name);
    }
}

} // namespace OCL::Ini
