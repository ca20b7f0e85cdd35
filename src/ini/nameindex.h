#pragma once
// A hash index from names, compared as the profile functions compare them, to
// item numbers; the first item of a name wins. It keeps only item numbers, with a
// byte of each name's hash where they leave room, and which items come first of
// their name: the names stay in the file's bytes. Internal to the engine.

#include "ini/text.h"

#include <bit>
#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

namespace OCL::Ini {

bool NamesEqual(std::string_view a, std::string_view b);

class NameIndex {
public:
    // nameOf(i) gives the name of item i, for i below count.
    template <typename NameOf>
    NameIndex(std::uint32_t count, NameOf nameOf) : m_first((std::size_t(count) + 63) / 64) {
        // Items below 2^24 leave the slot's top byte for the hash.
        m_tagged = count < (1u << 24);
        // Sized for distinct names up to a point, then grown as they come: a huge
        // section of one name repeated stays small.
        constexpr std::uint32_t kPresized = 1u << 20;
        Resize(std::bit_ceil(16 + std::uint64_t(count < kPresized ? count : kPresized) * 4 / 3));
        // In batches: the slots of a batch are fetched from memory while its names
        // are hashed, not one after the other.
        constexpr std::uint32_t kBatch = 16;
        std::string_view names[kBatch];
        std::uint64_t hashes[kBatch];
        for (std::uint32_t begin = 0; begin < count; begin += kBatch) {
            const std::uint32_t n = count - begin < kBatch ? count - begin : kBatch;
            for (std::uint32_t i = 0; i < n; ++i) {
                names[i] = nameOf(begin + i);
                hashes[i] = Hash(names[i]);
                __builtin_prefetch(&m_slots[hashes[i] >> m_shift]);
            }
            for (std::uint32_t i = 0; i < n; ++i)
                Insert(begin + i, names[i], hashes[i], nameOf);
        }
    }

    // named(i) tells whether item i bears the name.
    template <typename Named>
    std::optional<std::uint32_t> Find(std::string_view name, Named named) const {
        const std::uint64_t hash = Hash(name);
        for (std::uint64_t slot = hash >> m_shift; m_slots[slot]; slot = (slot + 1) & m_mask)
            if (Matches(m_slots[slot], hash) && named(ItemOf(m_slots[slot])))
                return ItemOf(m_slots[slot]);
        return std::nullopt;
    }

    // Whether item is the first of its name.
    bool IsFirst(std::uint32_t item) const { return (m_first[item / 64] >> (item % 64)) & 1; }

private:
    template <typename NameOf>
    void Insert(std::uint32_t item, std::string_view name, std::uint64_t hash, NameOf nameOf) {
        std::uint64_t slot = hash >> m_shift;
        for (; m_slots[slot]; slot = (slot + 1) & m_mask)
            if (Matches(m_slots[slot], hash) && NamesEqual(nameOf(ItemOf(m_slots[slot])), name))
                return;
        m_slots[slot] = SlotFor(item, hash);
        m_first[item / 64] |= std::uint64_t(1) << (item % 64);
        if (++m_used * 4 > m_slots.size() * 3)
            Grow(nameOf);
    }

    static std::uint64_t Hash(std::string_view name) {
        std::uint64_t h = 14695981039346656037ull;
        for (char c : name)
            h = (h ^ Text::Fold(c)) * 1099511628211ull;
        h ^= h >> 29;
        return h * 0x9E3779B97F4A7C15ull;
    }

    std::uint32_t SlotFor(std::uint32_t item, std::uint64_t hash) const {
        return m_tagged ? (std::uint32_t(hash & 0xFF) << 24) | (item + 1) : item + 1;
    }
    std::uint32_t ItemOf(std::uint32_t slot) const { return (m_tagged ? slot & 0xFFFFFF : slot) - 1; }
    bool Matches(std::uint32_t slot, std::uint64_t hash) const {
        return !m_tagged || (slot >> 24) == (hash & 0xFF);
    }

    void Resize(std::size_t slots) {
        m_slots.assign(slots, 0);
        m_mask = slots - 1;
        m_shift = 64 - std::countr_zero(slots);
    }

    template <typename NameOf>
    void Grow(NameOf nameOf) {
        std::vector<std::uint32_t> slots;
        slots.swap(m_slots);
        Resize(slots.size() * 2);
        for (std::uint32_t stored : slots) {
            if (!stored)
                continue;
            std::uint64_t slot = Hash(nameOf(ItemOf(stored))) >> m_shift;
            while (m_slots[slot])
                slot = (slot + 1) & m_mask;
            m_slots[slot] = stored;
        }
    }

    std::vector<std::uint32_t> m_slots; // 0 marks a free slot
    std::vector<std::uint64_t> m_first; // a bit per item: first of its name
    std::uint64_t m_mask = 0;
    int m_shift = 64; // the hash's top bits choose the slot
    bool m_tagged = true;
    std::size_t m_used = 0;
};

} // namespace OCL::Ini
