#pragma once

#include <QDate>
#include <QDateTime>

// A time axis counts days since 00:00 of 30 Dec 1899 on the wall clock, the
// fraction being the time of day (12:00 is .5), as the station database
// stores its times. No time zone is involved: a value names a wall-clock
// time, whatever the clock changes of the place.
namespace plot {

// The wall-clock time `days` names, to the second.
QDateTime wallClock(double days);
// 00:00 of `date` in days.
double daysOf(const QDate& date);

}  // namespace plot
