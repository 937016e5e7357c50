#pragma once

#include "core/errors/Environment.h"
#include "core/summaries/SummarySource.h"
#include "mdb/Result.h"

#include <QDate>

#include <optional>
#include <vector>

// One day of a climate summary. Values are absent when no reading gave one.
struct ClimateDay {
    QDate day;
    std::optional<double> high, low, mean;  // OutTemperature, Celsius
    std::optional<double> rain;             // the rain day ending at 09:00 on this day, mm
    std::optional<double> maxWind;          // WindSpeed, knots
    int dominantPoint = -1;                 // compass point 0 (N) .. 15 (NNW) with the most wind; -1 calm
};

// Every day of a month (or of a year), with or without readings.
struct ClimateSummary {
    QDate first, last;
    std::vector<ClimateDay> days;
};

// The days from `first` to `last` (whole months) of the source: temperatures
// and wind grouped by the day the readings were stored under, rain by rain
// day (09:00 to 08:59). Failures come back as the Error.
mdb::Result<ClimateSummary> readClimateSummary(const SummarySource& source, const QDate& first, const QDate& last,
                                               const Environment& environment);
