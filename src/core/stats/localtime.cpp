#include "core/stats/localtime.h"

#include <QDateTime>

namespace {

qint64 FloorDiv(qint64 a, qint64 b) {
    return a / b - ((a % b != 0) && ((a < 0) != (b < 0)) ? 1 : 0);
}

int OffsetAt(qint64 time) {
    return QDateTime::fromSecsSinceEpoch(time).offsetFromUtc();
}

} // namespace

CLocalTime::Split CLocalTime::At(qint64 time) {
    const qint64 hour = FloorDiv(time, 3600);
    Slot& slot = m_slots[std::size_t(hour & 63)];
    if (slot.hour != hour) {
        slot.hour = hour;
        slot.offset = OffsetAt(hour * 3600);
        slot.steady = OffsetAt(hour * 3600 + 3599) == slot.offset;
    }
    const qint64 local = time + (slot.steady ? slot.offset : OffsetAt(time));
    const qint64 day = FloorDiv(local, 86400);
    return {day, int(local - day * 86400)};
}
