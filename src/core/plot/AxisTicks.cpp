#include "core/plot/AxisTicks.h"

#include "core/plot/TimeScale.h"

#include <QDateTime>

#include <array>
#include <cmath>

namespace AxisTicks {

namespace {

constexpr double kHour = 1.0 / 24.0;

std::vector<AxisTick> everyFewHours(double from, double to, int hours)
{
    std::vector<AxisTick> ticks;
    const double step = hours * kHour;
    for (double value = std::ceil(from / step - 1e-9) * step; value <= to + 1e-9; value += step) {
        const QDateTime time = plot::wallClock(value);
        const bool midnight = time.time().hour() == 0 && time.time().minute() == 0;
        ticks.push_back({value, time.toString(midnight ? "dd-MMM" : "hh:mm")});
    }
    return ticks;
}

std::vector<AxisTick> everyFewDays(double from, double to, int days)
{
    std::vector<AxisTick> ticks;
    // Weeks start on Mondays; other steps count from the first whole day.
    double first = std::ceil(from - 1e-9);
    if (days == 7) {
        while (plot::wallClock(first).date().dayOfWeek() != Qt::Monday)
            first += 1;
    }
    for (double value = first; value <= to + 1e-9; value += days)
        ticks.push_back({value, plot::wallClock(value).toString("dd-MMM")});
    return ticks;
}

std::vector<AxisTick> everyFewMonths(double from, double to, int months)
{
    std::vector<AxisTick> ticks;
    const QDate start = plot::wallClock(std::ceil(from - 1e-9)).date();
    QDate month(start.year(), start.month(), 1);
    if (month < start)
        month = month.addMonths(1);
    while ((month.month() - 1) % months != 0)
        month = month.addMonths(1);
    for (; plot::daysOf(month) <= to + 1e-9; month = month.addMonths(months))
        ticks.push_back({plot::daysOf(month), month.toString(months >= 12 ? "yyyy" : "MMM yy")});
    return ticks;
}

}  // namespace

std::vector<AxisTick> timeTicks(double from, double to, int maxTicks)
{
    if (!(to > from) || maxTicks < 1)
        return {};
    const double span = to - from;
    for (int hours : {1, 2, 3, 6, 12}) {
        if (span / (hours * kHour) <= maxTicks)
            return everyFewHours(from, to, hours);
    }
    for (int days : {1, 2, 3, 7, 14}) {
        if (span / days <= maxTicks)
            return everyFewDays(from, to, days);
    }
    for (int months : {1, 2, 3, 6, 12}) {
        if (span / (months * 30.44) <= maxTicks)
            return everyFewMonths(from, to, months);
    }
    return everyFewMonths(from, to, 12 * int(std::ceil(span / 365.25 / maxTicks)));
}

std::vector<AxisTick> hourTicks(double from, double to, int maxTicks)
{
    if (!(to > from) || maxTicks < 1)
        return {};
    int step = 24;
    for (int hours : {1, 2, 3, 6, 12, 24}) {
        if ((to - from) / hours <= maxTicks) {
            step = hours;
            break;
        }
    }
    if ((to - from) / step > maxTicks)
        step = 24 * int(std::ceil((to - from) / 24.0 / maxTicks));
    std::vector<AxisTick> ticks;
    for (double value = std::ceil(from / step) * step; value <= to + 1e-9; value += step)
        ticks.push_back({value, QString::number(value, 'f', 0)});
    return ticks;
}

std::vector<AxisTick> valueTicks(double from, double to, int maxTicks)
{
    if (!(to > from) || maxTicks < 1)
        return {};
    const double rough = (to - from) / maxTicks;
    const double power = std::pow(10.0, std::floor(std::log10(rough)));
    double step = power * 10;
    for (double factor : {1.0, 2.0, 5.0, 10.0}) {
        if (factor * power >= rough) {
            step = factor * power;
            break;
        }
    }
    const int decimals = std::max(0, -int(std::floor(std::log10(step) + 1e-9)));
    std::vector<AxisTick> ticks;
    for (double n = std::ceil(from / step - 1e-9); n * step <= to + 1e-9 * step; n += 1) {
        const double value = n * step;
        ticks.push_back({value, QString::number(value == 0 ? 0.0 : value, 'f', decimals)});
    }
    return ticks;
}

}  // namespace AxisTicks
