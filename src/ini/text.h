#pragma once
// Byte-level rules shared by the parser and the writer: blanks, line ends, name
// folding. Internal to the engine.

#include <array>
#include <bit>
#include <cstdint>
#include <cstring>
#include <string_view>

namespace OCL::Ini::Text {

inline bool IsBlank(char c) {
    return c == ' ' || c == '\t';
}

inline bool IsLineEnd(char c) {
    return c == '\r' || c == '\n';
}

// Lower case as the profile functions fold names: ASCII and the Windows-1252 letters.
inline constexpr std::array<unsigned char, 256> kFold = [] {
    std::array<unsigned char, 256> fold{};
    for (int c = 0; c < 256; ++c) {
        int f = c;
        if ((c >= 'A' && c <= 'Z') || (c >= 0xC0 && c <= 0xDE && c != 0xD7))
            f = c + 32;
        else if (c == 0x8A || c == 0x8C || c == 0x8E)
            f = c + 16;
        else if (c == 0x9F)
            f = 0xFF;
        fold[std::size_t(c)] = static_cast<unsigned char>(f);
    }
    return fold;
}();

inline unsigned char Fold(char c) {
    return kFold[static_cast<unsigned char>(c)];
}

inline std::string_view Trim(std::string_view s) {
    while (!s.empty() && IsBlank(s.front()))
        s.remove_prefix(1);
    while (!s.empty() && IsBlank(s.back()))
        s.remove_suffix(1);
    return s;
}

// The part of [begin, begin + length) before the first NUL.
inline std::uint32_t CutAtNul(const char* data, std::uint32_t begin, std::uint32_t length) {
    const void* nul = std::memchr(data + begin, '\0', length);
    return nul ? std::uint32_t(static_cast<const char*>(nul) - (data + begin)) : length;
}

// The first CR or LF at or after pos, or size. Looks through a window at a time so
// that a file without one of the two characters is not searched to its end per line.
inline std::uint32_t LineEnd(const char* data, std::uint32_t pos, std::uint32_t size) {
    constexpr std::uint32_t kWindow = 256;
    while (pos < size) {
        const std::uint32_t window = size - pos < kWindow ? size - pos : kWindow;
        const void* lf = std::memchr(data + pos, '\n', window);
        const std::uint32_t limit = lf ? std::uint32_t(static_cast<const char*>(lf) - (data + pos)) : window;
        if (const void* cr = std::memchr(data + pos, '\r', limit))
            return std::uint32_t(static_cast<const char*>(cr) - data);
        if (lf)
            return pos + limit;
        pos += window;
    }
    return size;
}

// The start of the line after the one that ends at end: past CR LF, LF or a lone CR.
inline std::uint32_t NextLine(const char* data, std::uint32_t end, std::uint32_t size) {
    if (end >= size)
        return size;
    if (data[end] == '\r' && end + 1 < size && data[end + 1] == '\n')
        return end + 2;
    return end + 1;
}

// 0x80 in each byte of w that is zero, nothing elsewhere.
inline std::uint64_t ZeroBytes(std::uint64_t w) {
    constexpr std::uint64_t kLow7 = 0x7F7F7F7F7F7F7F7Full;
    return ~(((w & kLow7) + kLow7) | w | kLow7);
}

// Eight bytes from data in the order they stand, the first in the lowest byte.
inline std::uint64_t Load8(const char* data) {
    std::uint64_t w;
    std::memcpy(&w, data, 8);
    if constexpr (std::endian::native == std::endian::big)
        w = __builtin_bswap64(w);
    return w;
}

// The line end at or after pos, as LineEnd, eight bytes at a time for short lines;
// *nul tells whether a NUL comes before it.
inline std::uint32_t ShortLineEnd(const char* data, std::uint32_t pos, std::uint32_t size, bool* nul) {
    constexpr std::uint64_t kOnes = 0x0101010101010101ull;
    *nul = false;
    for (; pos + 8 <= size; pos += 8) {
        const std::uint64_t w = Load8(data + pos);
        const std::uint64_t ends = ZeroBytes(w ^ (kOnes * '\r')) | ZeroBytes(w ^ (kOnes * '\n'));
        const std::uint64_t zeros = ZeroBytes(w);
        if (ends) {
            *nul = *nul || (zeros & ((ends & (~ends + 1)) - 1)) != 0;
            return pos + std::uint32_t(std::countr_zero(ends)) / 8;
        }
        *nul = *nul || zeros != 0;
    }
    for (; pos < size && !IsLineEnd(data[pos]); ++pos)
        *nul = *nul || data[pos] == '\0';
    return pos;
}

inline bool StartsWithBom(std::string_view bytes) {
    return bytes.size() >= 3 && bytes.substr(0, 3) == "\xEF\xBB\xBF";
}

} // namespace OCL::Ini::Text
