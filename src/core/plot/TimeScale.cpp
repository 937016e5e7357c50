#include "core/plot/TimeScale.h"

#include <cmath>

namespace plot {

namespace {
const QDate kDayZero(1899, 12, 30);
constexpr qint64 kSecondsPerDay = 86400;
}  // namespace

QDateTime wallClock(double days)
{
    // Rounded to the second, so that 0.375 is 09:00:00 and not 08:59:59.
    const qint64 seconds = std::llround(days * double(kSecondsPerDay));
    const qint64 day = seconds >= 0 ? seconds / kSecondsPerDay : -((-seconds + kSecondsPerDay - 1) / kSecondsPerDay);
    const qint64 second = seconds - day * kSecondsPerDay;
    return QDateTime(kDayZero.addDays(day), QTime(0, 0).addSecs(int(second)), Qt::LocalTime);
}

double daysOf(const QDate& date)
{
    return double(kDayZero.daysTo(date));
}

}  // namespace plot
