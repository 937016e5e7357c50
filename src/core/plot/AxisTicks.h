#pragma once

#include <QString>

#include <vector>

// A mark on an axis: where it is, in the axis' units, and its label.
struct AxisTick {
    double value = 0;
    QString label;
    bool operator==(const AxisTick&) const = default;
};

namespace AxisTicks {

// Marks for a time axis in days (see TimeScale.h), at most `maxTicks`,
// on round times: whole hours ("06:00", and "dd-MMM" at midnight), whole
// days ("dd-MMM"), weeks, the first of a month ("MMM yy") or of a year.
std::vector<AxisTick> timeTicks(double from, double to, int maxTicks);

// Marks for an axis of hours since 00:00 of the first day (a single-day
// graph): every 1, 2, 3, 6, 12 or 24 hours, labelled with the hour count.
std::vector<AxisTick> hourTicks(double from, double to, int maxTicks);

// Marks for a value axis at round steps (1, 2 or 5 times a power of ten),
// at most `maxTicks`, labelled with as many decimals as the step needs.
std::vector<AxisTick> valueTicks(double from, double to, int maxTicks);

}  // namespace AxisTicks
