#pragma once
// The export schedule's bit sets as the service reads them: list entry i
// (counted from 0) is bit 2^(i+1), so bit 2^0 is never used. Hour h is 2^(h+1),
// Monday 2^1 .. Sunday 2^7, day of the month d is 2^d (day 31 the top bit).

#include <QList>
#include <QStringList>

namespace CExportSchedule {

inline constexpr int kHours = 24;
inline constexpr int kWeekdays = 7;
inline constexpr int kDates = 31;

// The list entries: "00:00".."23:00", "Monday".."Sunday", "01".."31".
QStringList HourEntries();
QStringList WeekdayEntries();
QStringList DateEntries();

// The bit of list entry i.
quint32 EntryBit(int entry);
// The sum of the bits of the given entries.
quint32 BitsOf(const QList<int>& entries);
// The entries among the first count whose bits are set, in list order.
QList<int> EntriesOf(quint32 bits, int count);

inline quint32 HourBit(int hour) {
    return EntryBit(hour);
}
// weekday: 0 Monday .. 6 Sunday.
inline quint32 WeekdayBit(int weekday) {
    return EntryBit(weekday);
}
// day: 1 .. 31.
inline quint32 DateBit(int day) {
    return EntryBit(day - 1);
}

} // namespace CExportSchedule
