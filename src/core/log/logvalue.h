#pragma once
// One event of a day log, as the service writes it: the section names the
// server and port ("SERVER\PORT"), the key is the time, the value the event:
//
//   H<lasted>_<user>?<ip>                                      hang-up
//   H<lasted>_<user>?<ip>?<reason>:<ipx>:<netbios>:<in>:<out>  hang-up with details
//   C_<user>[*<info>]                                          connect
//   N_<user>[?<reason digit>]                                  log-on refused
//
// The reading is the console's and deliberately literal: the reason is the
// number after the *last* '?', the detail fields are counted from the first
// ':' of the whole value, a denial's reason is the one digit after a '?' in
// the second-to-last place. A writer must produce values that read back as
// the event it meant under exactly these rules.
//
// Plain bytes in, views into the same bytes out: this runs once per event on
// days of a million events.

#include <cstdint>
#include <string_view>

namespace CwLog {

enum Action : std::int32_t { Unknown = -1, Disconnect = 0, Connect = 1, Denied = 2 };

inline constexpr std::int32_t kNoReason = 255;

// Longest texts kept per field (the record widths less their terminating zero).
inline constexpr std::size_t kServerChars = 15;
inline constexpr std::size_t kPortChars = 19;
inline constexpr std::size_t kUserChars = 39;
inline constexpr std::size_t kHangupUserChars = 37;
inline constexpr std::size_t kIpxChars = 25;
inline constexpr std::size_t kNetbiosChars = 21;
inline constexpr std::size_t kInfoChars = 55;

struct LogValue {
    std::int32_t action = Unknown;
    std::int32_t lasted = 0;
    std::uint32_t ipAddress = 0;
    std::int32_t reason = kNoReason;
    std::int64_t bytesIn = -1;
    std::int64_t bytesOut = -1;
    std::string_view user, ipx, netbios, info;
};

// A value of an unknown kind gives action Unknown and nothing else.
LogValue ParseLogValue(std::string_view value);

// The section name split at its last backslash, each part cut to its width;
// without a backslash both are empty.
struct LogSection {
    std::string_view server, port;
};
LogSection SplitSection(std::string_view section);

// A key or number as the C library's atoi reads it: leading blanks, a sign,
// digits; 0 when there are none. Saturates instead of overflowing.
std::int32_t ReadInt32(std::string_view text);

// A forced disconnect is one the service ended for a reason.
inline bool IsForced(std::int32_t action, std::int32_t reason) {
    return action == Disconnect && reason != 0 && reason != kNoReason;
}

} // namespace CwLog
