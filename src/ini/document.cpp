#include "ini/inifile.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <unordered_set>

namespace OCL::Ini {
namespace {

inline bool IsBlank(char c) {
    return c == ' ' || c == '\t';
}

// Lower case as the profile functions fold names: ASCII and the Windows-1252 letters.
inline unsigned char Fold(unsigned char c) {
    if (c >= 'A' && c <= 'Z')
        return c + 32;
    if (c >= 0xC0 && c <= 0xDE && c != 0xD7)
        return c + 32;
    switch (c) {
    case 0x8A:
    case 0x8C:
    case 0x8E:
        return c + 16;
    case 0x9F:
        return 0xFF;
    default:
        return c;
    }
}

// The part of [begin, end) before the first NUL.
inline std::uint32_t CutAtNul(const char* data, std::uint32_t begin, std::uint32_t length) {
    const void* nul = std::memchr(data + begin, '\0', length);
    return nul ? std::uint32_t(static_cast<const char*>(nul) - (data + begin)) : length;
}

} // namespace

std::string FoldedName(std::string_view name) {
    std::string out(name);
    for (char& c : out)
        c = char(Fold(static_cast<unsigned char>(c)));
    return out;
}

bool NamesEqual(std::string_view a, std::string_view b) {
    if (a.size() != b.size())
        return false;
    for (std::size_t i = 0; i < a.size(); ++i)
        if (Fold(static_cast<unsigned char>(a[i])) != Fold(static_cast<unsigned char>(b[i])))
            return false;
    return true;
}

std::shared_ptr<const Document> Document::Parse(std::string bytes) {
    std::shared_ptr<Document> doc(new Document());
    // Offsets are 32-bit; anything beyond 4 GiB is not read.
    if (bytes.size() > std::numeric_limits<std::uint32_t>::max() - 2)
        bytes.resize(std::numeric_limits<std::uint32_t>::max() - 2);
    doc->m_bytes = std::move(bytes);

    const char* data = doc->m_bytes.data();
    const auto size = std::uint32_t(doc->m_bytes.size());
    SectionSpan* current = nullptr;
    std::uint32_t pos = 0;

    while (pos < size) {
        const void* nl = std::memchr(data + pos, '\n', size - pos);
        const std::uint32_t next = nl ? std::uint32_t(static_cast<const char*>(nl) - data) + 1 : size;
        std::uint32_t contentEnd = nl ? next - 1 : size;
        if (contentEnd > pos && data[contentEnd - 1] == '\r')
            --contentEnd;

        std::uint32_t p = pos;
        while (p < contentEnd && IsBlank(data[p]))
            ++p;

        if (p == contentEnd || data[p] == '\0') {
            // Blank line, or the zero-filled tail a crash leaves: belongs to the
            // section but is no key and no place for new keys.
        } else if (data[p] == '[') {
            if (current)
                current->bodyEnd = pos;
            SectionSpan span{};
            span.headerBegin = pos;
            span.insertAt = next;
            span.bodyEnd = size;
            std::uint32_t nameBegin = p + 1;
            const void* close = std::memchr(data + nameBegin, ']', contentEnd - nameBegin);
            std::uint32_t nameEnd =
                close ? std::uint32_t(static_cast<const char*>(close) - data) : contentEnd;
            while (nameBegin < nameEnd && IsBlank(data[nameBegin]))
                ++nameBegin;
            while (nameEnd > nameBegin && IsBlank(data[nameEnd - 1]))
                --nameEnd;
            span.nameBegin = nameBegin;
            span.nameLength = CutAtNul(data, nameBegin, nameEnd - nameBegin);
            span.firstKey = std::uint32_t(doc->m_keys.size());
            span.keyCount = 0;
            doc->m_sections.push_back(span);
            current = &doc->m_sections.back();
        } else if (current) {
            if (data[p] != ';') {
                KeyLine key{};
                key.lineBegin = pos;
                key.lineEnd = contentEnd;
                key.nextLine = next;
                const void* eq = std::memchr(data + p, '=', contentEnd - p);
                std::uint32_t nameEnd = eq ? std::uint32_t(static_cast<const char*>(eq) - data) : contentEnd;
                key.rawValueBegin = eq ? nameEnd + 1 : contentEnd;
                while (nameEnd > p && IsBlank(data[nameEnd - 1]))
                    --nameEnd;
                key.nameBegin = p;
                key.nameLength = CutAtNul(data, p, nameEnd - p);

                std::uint32_t valueBegin = key.rawValueBegin;
                std::uint32_t valueEnd = contentEnd;
                while (valueBegin < valueEnd && IsBlank(data[valueBegin]))
                    ++valueBegin;
                while (valueEnd > valueBegin && IsBlank(data[valueEnd - 1]))
                    --valueEnd;
                if (valueEnd - valueBegin >= 2 && data[valueBegin] == '"' && data[valueEnd - 1] == '"') {
                    ++valueBegin;
                    --valueEnd;
                }
                key.valueBegin = valueBegin;
                key.valueLength = CutAtNul(data, valueBegin, valueEnd - valueBegin);
                doc->m_keys.push_back(key);
                ++current->keyCount;
            }
            current->insertAt = next;
        }
        pos = next;
    }
    return doc;
}

std::string_view Document::SectionName(std::size_t section) const {
    const SectionSpan& s = m_sections[section];
    return {m_bytes.data() + s.nameBegin, s.nameLength};
}

std::size_t Document::KeyCount(std::size_t section) const {
    return m_sections[section].keyCount;
}

std::string_view Document::KeyName(std::size_t section, std::size_t key) const {
    const KeyLine& k = m_keys[m_sections[section].firstKey + key];
    return {m_bytes.data() + k.nameBegin, k.nameLength};
}

std::string_view Document::Value(std::size_t section, std::size_t key) const {
    const KeyLine& k = m_keys[m_sections[section].firstKey + key];
    return {m_bytes.data() + k.valueBegin, k.valueLength};
}

void Document::BuildIndex() const {
    std::call_once(m_indexOnce, [this] {
        m_index.reserve(m_sections.size());
        for (std::uint32_t i = 0; i < m_sections.size(); ++i)
            m_index.emplace(FoldedName(SectionName(i)), i);
    });
}

std::optional<std::size_t> Document::FindSection(std::string_view name) const {
    // Small files are quicker to walk than to index.
    if (m_sections.size() <= 8) {
        for (std::size_t i = 0; i < m_sections.size(); ++i)
            if (NamesEqual(SectionName(i), name))
                return i;
        return std::nullopt;
    }
    BuildIndex();
    auto it = m_index.find(FoldedName(name));
    if (it == m_index.end())
        return std::nullopt;
    return it->second;
}

std::optional<std::string_view> Document::Find(std::string_view section, std::string_view key) const {
    auto s = FindSection(section);
    if (!s)
        return std::nullopt;
    const std::size_t count = KeyCount(*s);
    for (std::size_t k = 0; k < count; ++k)
        if (NamesEqual(KeyName(*s, k), key))
            return Value(*s, k);
    return std::nullopt;
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
    auto s = FindSection(section);
    if (!s)
        return names;
    const std::size_t count = KeyCount(*s);
    names.reserve(count);
    std::unordered_set<std::string> seen;
    for (std::size_t k = 0; k < count; ++k) {
        std::string_view name = KeyName(*s, k);
        if (seen.insert(FoldedName(name)).second)
            names.push_back(name);
    }
    return names;
}

} // namespace OCL::Ini
