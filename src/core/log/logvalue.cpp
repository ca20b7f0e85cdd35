#include "core/log/logvalue.h"

#include <limits>

namespace CwLog {

namespace {

bool IsBlank(char c) {
    return c == ' ' || c == '\t' || c == '\n' || c == '\v' || c == '\f' || c == '\r';
}

// Leading blanks, a sign and digits, saturated; false when there are no digits.
bool ReadInt64(std::string_view text, std::int64_t* out) {
    std::size_t i = 0;
    while (i < text.size() && IsBlank(text[i]))
        ++i;
    bool negative = false;
    if (i < text.size() && (text[i] == '+' || text[i] == '-'))
        negative = text[i++] == '-';
    const std::size_t first = i;
    constexpr std::uint64_t kLimit = std::uint64_t(std::numeric_limits<std::int64_t>::max());
    std::uint64_t n = 0;
    for (; i < text.size() && text[i] >= '0' && text[i] <= '9'; ++i) {
        if (n <= kLimit)
            n = n * 10 + std::uint64_t(text[i] - '0');
    }
    if (i == first)
        return false;
    if (n > kLimit)
        *out = negative ? std::numeric_limits<std::int64_t>::min() : std::numeric_limits<std::int64_t>::max();
    else
        *out = negative ? -std::int64_t(n) : std::int64_t(n);
    return true;
}

std::int64_t AtoI64(std::string_view text) {
    std::int64_t n = 0;
    ReadInt64(text, &n);
    return n;
}

std::string_view Cut(std::string_view text, std::size_t width) {
    return text.size() > width ? text.substr(0, width) : text;
}

std::string_view After(std::string_view text, std::size_t pos) {
    return pos + 1 < text.size() ? text.substr(pos + 1) : std::string_view{};
}

void ParseHangup(std::string_view value, std::string_view rest, LogValue& r) {
    r.action = Disconnect;
    r.lasted = ReadInt32(value.substr(1));
    std::string_view user = Cut(rest, kHangupUserChars);
    if (const auto q = user.find('?'); q != std::string_view::npos)
        user = user.substr(0, q);
    r.user = user;

    const auto first = value.find('?');
    if (first == std::string_view::npos)
        return;
    r.ipAddress = std::uint32_t(AtoI64(After(value, first)));
    const auto last = value.rfind('?');
    if (last == first)
        return;
    r.reason = ReadInt32(After(value, last));

    // The details are counted from the first colon of the whole value; with
    // fewer colons the last field present takes the rest.
    const auto c1 = value.find(':');
    if (c1 == std::string_view::npos)
        return;
    const auto c2 = value.find(':', c1 + 1);
    if (c2 == std::string_view::npos) {
        r.ipx = Cut(After(value, c1), kIpxChars);
        return;
    }
    r.ipx = Cut(value.substr(c1 + 1, c2 - c1 - 1), kIpxChars);
    const auto c3 = value.find(':', c2 + 1);
    std::string_view netbios =
        c3 == std::string_view::npos ? After(value, c2) : value.substr(c2 + 1, c3 - c2 - 1);
    r.netbios = netbios.starts_with('?') ? std::string_view{} : Cut(netbios, kNetbiosChars);
    if (c3 == std::string_view::npos)
        return;
    ReadInt64(After(value, c3), &r.bytesIn);
    if (const auto c4 = value.find(':', c3 + 1); c4 != std::string_view::npos)
        ReadInt64(After(value, c4), &r.bytesOut);
}

} // namespace

std::int32_t ReadInt32(std::string_view text) {
    const std::int64_t n = AtoI64(text);
    if (n > std::numeric_limits<std::int32_t>::max())
        return std::numeric_limits<std::int32_t>::max();
    if (n < std::numeric_limits<std::int32_t>::min())
        return std::numeric_limits<std::int32_t>::min();
    return std::int32_t(n);
}

LogValue ParseLogValue(std::string_view value) {
    LogValue r;
    if (value.empty())
        return r;
    // A value without '_' takes everything after its kind as the user.
    const auto underscore = value.find('_');
    const std::string_view rest =
        underscore == std::string_view::npos ? value.substr(1) : After(value, underscore);
    switch (value.front()) {
    case 'H':
        ParseHangup(value, rest, r);
        break;
    case 'C': {
        r.action = Connect;
        const auto star = rest.find('*');
        if (star == std::string_view::npos) {
            r.user = Cut(rest, kUserChars);
        } else {
            r.user = Cut(rest.substr(0, star), kUserChars);
            r.info = Cut(After(rest, star), kInfoChars);
        }
        break;
    }
    case 'N':
        r.action = Denied;
        if (rest.size() >= 2 && rest[rest.size() - 2] == '?') {
            r.reason = ReadInt32(rest.substr(rest.size() - 1));
            r.user = Cut(rest.substr(0, rest.size() - 2), kUserChars);
        } else {
            r.user = Cut(rest, kUserChars);
        }
        break;
    default:
        break;
    }
    return r;
}

LogSection SplitSection(std::string_view section) {
    const auto slash = section.rfind('\\');
    if (slash == std::string_view::npos)
        return {};
    return {Cut(section.substr(0, slash), kServerChars), Cut(After(section, slash), kPortChars)};
}

} // namespace CwLog
