#include "core/accounts/userstore.h"

#include "core/app/ansitext.h"
#include "ini/inifile.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <numeric>

namespace {

// Each byte as the profile functions fold it, so that the order agrees with
// the way names are told apart.
const std::array<unsigned char, 256>& FoldTable() {
    static const std::array<unsigned char, 256> table = [] {
        std::array<unsigned char, 256> fold{};
        for (int c = 0; c < 256; ++c)
            fold[std::size_t(c)] =
                static_cast<unsigned char>(OCL::Ini::FoldedName(std::string(1, char(c))).front());
        return fold;
    }();
    return table;
}

} // namespace

void CUserStore::Reserve(std::size_t accounts, std::size_t nameBytes) {
    m_records.reserve(accounts);
    m_names.reserve(nameBytes);
}

void CUserStore::Add(std::string_view name, const Stats& stats) {
    m_records.push_back({std::uint32_t(m_names.size()), std::uint32_t(name.size()), stats});
    m_names.append(name);
}

QString CUserStore::DisplayName(std::size_t i) const {
    return CAnsi::ToQString(Name(i));
}

void CUserStore::Finish() {
    const auto& fold = FoldTable();
    std::string folded(m_names.size(), '\0');
    for (std::size_t i = 0; i < m_names.size(); ++i)
        folded[i] = char(fold[static_cast<unsigned char>(m_names[i])]);
    std::vector<std::uint32_t> order(m_records.size());
    std::iota(order.begin(), order.end(), 0u);
    const char* base = folded.data();
    std::sort(order.begin(), order.end(), [&](std::uint32_t a, std::uint32_t b) {
        const Record& ra = m_records[a];
        const Record& rb = m_records[b];
        const std::size_t n = std::min(ra.nameLength, rb.nameLength);
        if (const int c = std::memcmp(base + ra.nameOffset, base + rb.nameOffset, n))
            return c < 0;
        return ra.nameLength != rb.nameLength ? ra.nameLength < rb.nameLength : a < b;
    });
    m_ranks.assign(m_records.size(), 0);
    for (std::size_t i = 0; i < order.size(); ++i)
        m_ranks[order[i]] = std::uint32_t(i);
}

std::size_t CUserStore::MemoryBytes() const {
    return sizeof *this + m_names.capacity() + m_records.capacity() * sizeof(Record) +
           m_ranks.capacity() * sizeof(std::uint32_t);
}
