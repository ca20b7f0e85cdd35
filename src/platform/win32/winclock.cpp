#include "platform/win32/winclock.h"

#include <windows.h>

namespace OCL::Win32 {
namespace {

// 100-nanosecond intervals from 1601-01-01 to 1970-01-01.
constexpr std::int64_t kEpochDifference = 116444736000000000LL;

} // namespace

DWORD CWinClock::TickCount() {
    return ::GetTickCount();
}

std::int64_t CWinClock::Now() {
    return NowMs() / 1000;
}

std::int64_t CWinClock::NowMs() {
    FILETIME now{};
    ::GetSystemTimeAsFileTime(&now);
    const std::int64_t intervals =
        std::int64_t((std::uint64_t(now.dwHighDateTime) << 32) | now.dwLowDateTime);
    return (intervals - kEpochDifference) / 10000;
}

} // namespace OCL::Win32
