#include "core/log/nametable.h"

#include "core/app/ansitext.h"

#include <algorithm>
#include <cstring>
#include <numeric>

namespace {

constexpr std::uint32_t kFnvOffset = 2166136261u;
constexpr std::uint32_t kFnvPrime = 16777619u;

} // namespace

std::uint32_t BytesHash(std::string_view text) {
    std::uint32_t h = kFnvOffset;
    for (const char c : text)
        h = (h ^ static_cast<unsigned char>(c)) * kFnvPrime;
    return h;
}

std::uint32_t FoldedHash(std::string_view text) {
    std::uint32_t h = kFnvOffset;
    for (const char c : text) {
        auto b = static_cast<unsigned char>(c);
        if (b >= 'A' && b <= 'Z')
            b = static_cast<unsigned char>(b + 32);
        else if (b > 0x7F)
            b = 0x80;
        h = (h ^ b) * kFnvPrime;
    }
    return h;
}

CNameTable::CNameTable() {
    m_slots.assign(16, 0);
    Intern({});
}

void CNameTable::Grow() {
    std::vector<std::uint32_t> table(m_slots.size() * 2, 0);
    const std::size_t mask = table.size() - 1;
    for (std::uint32_t id = 0; id < m_spans.size(); ++id) {
        std::size_t i = m_hashes[id] & mask;
        while (table[i] != 0)
            i = (i + 1) & mask;
        table[i] = id + 1;
    }
    m_slots = std::move(table);
}

std::uint32_t CNameTable::Intern(std::string_view text) {
    const std::uint32_t hash = BytesHash(text);
    const std::size_t mask = m_slots.size() - 1;
    std::size_t i = hash & mask;
    while (const std::uint32_t slot = m_slots[i]) {
        const std::uint32_t id = slot - 1;
        if (m_hashes[id] == hash && Text(id) == text)
            return id;
        i = (i + 1) & mask;
    }
    const auto id = std::uint32_t(m_spans.size());
    m_spans.push_back({std::uint32_t(m_bytes.size()), std::uint32_t(text.size())});
    m_bytes.append(text);
    m_hashes.push_back(hash);
    m_slots[i] = id + 1;
    if (m_spans.size() * 2 > m_slots.size())
        Grow();
    return id;
}

void CNameTable::Finish() {
    m_display.clear();
    m_display.reserve(m_spans.size());
    for (std::uint32_t id = 0; id < m_spans.size(); ++id)
        m_display.push_back(CAnsi::ToQString(Text(id)));
    std::vector<std::uint32_t> order(m_spans.size());
    std::iota(order.begin(), order.end(), 0u);
    std::sort(order.begin(), order.end(), [this](std::uint32_t a, std::uint32_t b) {
        return m_display[a].compare(m_display[b], Qt::CaseInsensitive) < 0;
    });
    m_rank.assign(m_spans.size(), 0);
    std::uint32_t rank = 0;
    for (std::size_t i = 0; i < order.size(); ++i) {
        if (i > 0 && m_display[order[i - 1]].compare(m_display[order[i]], Qt::CaseInsensitive) != 0)
            ++rank;
        m_rank[order[i]] = rank;
    }
}

std::size_t CNameTable::MemoryBytes() const {
    std::size_t bytes =
        sizeof *this + m_bytes.capacity() + m_spans.capacity() * sizeof(Span) +
        (m_hashes.capacity() + m_slots.capacity() + m_rank.capacity()) * sizeof(std::uint32_t) +
        m_display.capacity() * sizeof(QString);
    for (const QString& text : m_display)
        bytes += std::size_t(text.capacity()) * sizeof(QChar) + 16; // the shared block's header
    return bytes;
}
