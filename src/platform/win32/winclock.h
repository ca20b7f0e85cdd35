#pragma once
// The clock port over the system's tick count and system time. Local calendar
// time comes from the C library, which follows the system's time zone here.

#include "platform/clock.h"

namespace OCL::Win32 {

class CWinClock final : public IClock {
public:
    DWORD TickCount() override;
    std::int64_t Now() override;
    std::int64_t NowMs() override;
};

} // namespace OCL::Win32
