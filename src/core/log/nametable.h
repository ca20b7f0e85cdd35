#pragma once
// The repeated names of a day (servers, ports, users, NetBIOS names, IPX
// addresses) kept once each: a name becomes a small id while the day loads;
// once loaded, each id has its display text and its place in the
// case-insensitive order, computed once so that views sort and filter on
// numbers.
//
// Interning is for one thread; a finished table is read-only and may be read
// from any thread.

#include <QString>

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

class CNameTable {
public:
    // Id 0 is the empty name.
    CNameTable();

    std::uint32_t Intern(std::string_view text);
    std::uint32_t Count() const { return std::uint32_t(m_spans.size()); }
    // The name's bytes (Windows-1252).
    std::string_view Text(std::uint32_t id) const {
        const Span& s = m_spans[id];
        return {m_bytes.data() + s.offset, s.length};
    }

    // Builds the display texts and the case-insensitive ranks (names that
    // differ only in case share a rank). Names interned later need another
    // Finish.
    void Finish();
    const QString& Display(std::uint32_t id) const { return m_display[id]; }
    std::uint32_t Rank(std::uint32_t id) const { return m_rank[id]; }
    // Replaces the ranks, for names with an order of their own (ports).
    void SetRanks(std::vector<std::uint32_t> ranks) { m_rank = std::move(ranks); }

    std::size_t MemoryBytes() const;

private:
    struct Span {
        std::uint32_t offset;
        std::uint32_t length;
    };
    void Grow();

    std::string m_bytes;
    std::vector<Span> m_spans;
    std::vector<std::uint32_t> m_hashes;
    std::vector<std::uint32_t> m_slots; // id + 1, 0 for a free slot
    std::vector<QString> m_display;
    std::vector<std::uint32_t> m_rank;
};

// Hashes a name so that names equal under the profile functions' case rules
// hash alike: ASCII letters folded, every byte above 0x7F taken as one.
std::uint32_t FoldedHash(std::string_view text);
// The plain hash of the bytes.
std::uint32_t BytesHash(std::string_view text);
