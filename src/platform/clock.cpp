#include "platform/clock.h"

#include <chrono>

namespace OCL {

DWORD SystemClock::TickCount() {
    using namespace std::chrono;
    return DWORD(duration_cast<milliseconds>(steady_clock::now().time_since_epoch()).count());
}

std::int64_t SystemClock::Now() {
    using namespace std::chrono;
    return duration_cast<seconds>(system_clock::now().time_since_epoch()).count();
}

std::int64_t SystemClock::NowMs() {
    using namespace std::chrono;
    return duration_cast<milliseconds>(system_clock::now().time_since_epoch()).count();
}

} // namespace OCL
