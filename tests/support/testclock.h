#pragma once
// A clock that tests move by hand.

#include "platform/clock.h"

#include <atomic>

class CTestClock final : public OCL::IClock {
public:
    explicit CTestClock(std::int64_t nowMs = 1700000000000LL) : m_nowMs(nowMs) {}
    OCL::DWORD TickCount() override { return OCL::DWORD(m_nowMs.load()); }
    std::int64_t Now() override { return m_nowMs.load() / 1000; }
    std::int64_t NowMs() override { return m_nowMs.load(); }
    void Advance(std::int64_t ms) { m_nowMs += ms; }
    void Set(std::int64_t ms) { m_nowMs = ms; }

private:
    std::atomic<std::int64_t> m_nowMs;
};
