#include "platform/ansi.h"

#include <array>
#include <cstdint>

namespace OCL::Ansi {
namespace {

// 0x80..0x9F of Windows-1252; undefined bytes keep their own value.
constexpr std::array<char16_t, 32> kHigh = {0x20AC, 0x0081, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021,
                                            0x02C6, 0x2030, 0x0160, 0x2039, 0x0152, 0x008D, 0x017D, 0x008F,
                                            0x0090, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022, 0x2013, 0x2014,
                                            0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x009D, 0x017E, 0x0178};

char16_t Decode(unsigned char byte) {
    if (byte >= 0x80 && byte < 0xA0)
        return kHigh[byte - 0x80];
    return char16_t(byte);
}

char Encode(char32_t code) {
    if (code < 0x80 || (code >= 0xA0 && code <= 0xFF))
        return char(code);
    for (std::size_t i = 0; i < kHigh.size(); ++i)
        if (kHigh[i] == code)
            return char(0x80 + i);
    return '?';
}

void AppendUtf8(std::string& out, char32_t code) {
    if (code < 0x80) {
        out += char(code);
    } else if (code < 0x800) {
        out += char(0xC0 | (code >> 6));
        out += char(0x80 | (code & 0x3F));
    } else if (code < 0x10000) {
        out += char(0xE0 | (code >> 12));
        out += char(0x80 | ((code >> 6) & 0x3F));
        out += char(0x80 | (code & 0x3F));
    } else {
        out += char(0xF0 | (code >> 18));
        out += char(0x80 | ((code >> 12) & 0x3F));
        out += char(0x80 | ((code >> 6) & 0x3F));
        out += char(0x80 | (code & 0x3F));
    }
}

} // namespace

std::u16string ToUtf16(std::string_view ansi) {
    std::u16string out;
    out.reserve(ansi.size());
    for (char c : ansi)
        out += Decode(static_cast<unsigned char>(c));
    return out;
}

std::string FromUtf16(std::u16string_view text) {
    std::string out;
    out.reserve(text.size());
    for (std::size_t i = 0; i < text.size(); ++i) {
        char32_t code = text[i];
        if (code >= 0xD800 && code < 0xDC00 && i + 1 < text.size() && text[i + 1] >= 0xDC00 &&
            text[i + 1] < 0xE000) {
            code = 0x10000 + ((code - 0xD800) << 10) + (text[i + 1] - 0xDC00);
            ++i;
        }
        out += Encode(code);
    }
    return out;
}

std::string ToUtf8(std::string_view ansi) {
    std::string out;
    out.reserve(ansi.size() + ansi.size() / 8);
    for (char c : ansi)
        AppendUtf8(out, Decode(static_cast<unsigned char>(c)));
    return out;
}

std::string FromUtf8(std::string_view utf8) {
    std::string out;
    out.reserve(utf8.size());
    for (std::size_t i = 0; i < utf8.size();) {
        const auto lead = static_cast<unsigned char>(utf8[i]);
        char32_t code = lead;
        std::size_t length = 1;
        if (lead >= 0xF0 && lead < 0xF8) {
            code = lead & 0x07;
            length = 4;
        } else if (lead >= 0xE0) {
            code = lead & 0x0F;
            length = 3;
        } else if (lead >= 0xC0) {
            code = lead & 0x1F;
            length = 2;
        }
        bool valid = length == 1 ? lead < 0x80 : i + length <= utf8.size();
        for (std::size_t k = 1; valid && k < length; ++k) {
            const auto next = static_cast<unsigned char>(utf8[i + k]);
            valid = (next & 0xC0) == 0x80;
            code = (code << 6) | (next & 0x3F);
        }
        if (!valid) {
            out += '?';
            ++i;
            continue;
        }
        out += Encode(code);
        i += length;
    }
    return out;
}

} // namespace OCL::Ansi
