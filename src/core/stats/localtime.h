#pragma once
// Local calendar positions of many times (seconds since 1970) in the system's
// time zone, as QDateTime gives them, without asking the time-zone rules for
// every one: the offset from UTC is remembered per hour of UTC time wherever
// it stays the same through that hour.

#include <QtGlobal>

#include <array>

class CLocalTime {
public:
    struct Split {
        qint64 day; // local days since 1970-01-01
        int second; // second of the local day, 0 to 86,399
    };

    Split At(qint64 time);
    int Hour(qint64 time) { return At(time).second / 3600; }

private:
    struct Slot {
        qint64 hour = -1; // UTC hours since 1970; -1 none yet
        int offset = 0;
        bool steady = false; // false: the offset changes within that hour
    };
    std::array<Slot, 64> m_slots{};
};
