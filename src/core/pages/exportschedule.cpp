#include "core/pages/exportschedule.h"

using namespace Qt::StringLiterals;

namespace CExportSchedule {

QStringList HourEntries() {
    QStringList entries;
    for (int hour = 0; hour < kHours; ++hour)
        entries.append(u"%1:00"_s.arg(hour, 2, 10, QChar(u'0')));
    return entries;
}

QStringList WeekdayEntries() {
    return {u"Monday"_s, u"Tuesday"_s,  u"Wednesday"_s, u"Thursday"_s,
            u"Friday"_s, u"Saturday"_s, u"Sunday"_s};
}

QStringList DateEntries() {
    QStringList entries;
    for (int day = 1; day <= kDates; ++day)
        entries.append(u"%1"_s.arg(day, 2, 10, QChar(u'0')));
    return entries;
}

quint32 EntryBit(int entry) {
    if (entry < 0 || entry > 30)
        return 0;
    return quint32(1) << (entry + 1);
}

quint32 BitsOf(const QList<int>& entries) {
    quint32 bits = 0;
    for (int entry : entries)
        bits |= EntryBit(entry);
    return bits;
}

QList<int> EntriesOf(quint32 bits, int count) {
    QList<int> entries;
    for (int entry = 0; entry < count && entry <= 30; ++entry)
        if (bits & EntryBit(entry))
            entries.append(entry);
    return entries;
}

} // namespace CExportSchedule
