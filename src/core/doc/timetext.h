#pragma once
// Times of day in the user's locale, as the console shows them: the locale's own
// long time format (so with seconds), without a time zone, shaped by flags that
// mirror those of the system's time formatting.

#include <QDateTime>
#include <QLocale>
#include <QString>

namespace TimeFlags {
// No minutes and no seconds: the hour alone (with its marker).
inline constexpr int NoMinutesOrSeconds = 0x1;
inline constexpr int NoSeconds = 0x2;
// No AM/PM marker; a 12-hour clock stays a 12-hour clock.
inline constexpr int NoTimeMarker = 0x4;
// A 24-hour clock whatever the locale says; the marker then says nothing and goes.
inline constexpr int Force24Hour = 0x8;
} // namespace TimeFlags

namespace CTimeText {

// The time of day of local in locale's long time format, shaped by flags.
QString TimeOfDay(const QTime& local, const QLocale& locale, int flags);

} // namespace CTimeText
