#pragma once
// Clock port: the tick count and the calendar time. Local calendar conversion is
// left to the C library and the process's time zone, which tests pin.

#include "platform/types.h"

#include <cstdint>

namespace OCL {

class IClock {
public:
    virtual ~IClock() = default;
    // GetTickCount: milliseconds since an arbitrary start, wrapping at 2^32.
    virtual DWORD TickCount() = 0;
    // time(): seconds since 1970-01-01 UTC.
    virtual std::int64_t Now() = 0;
    // Milliseconds since 1970-01-01 UTC, for timed phases that other processes
    // on the same site must see alike.
    virtual std::int64_t NowMs() = 0;
};

// The real clock.
class SystemClock final : public IClock {
public:
    DWORD TickCount() override;
    std::int64_t Now() override;
    std::int64_t NowMs() override;
};

} // namespace OCL
