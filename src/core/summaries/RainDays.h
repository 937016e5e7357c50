#pragma once

#include "core/errors/Environment.h"
#include "core/summaries/SummarySource.h"
#include "mdb/Result.h"

#include <QDate>
#include <QString>

#include <optional>
#include <vector>

// One rain day: the 24 hours from 09:00 to 08:59, named after the day they
// end on.
struct RainDay {
    QDate day;
    std::optional<double> rain;  // mm; none for a day that no reading closed (a gap in the readings)
};

// A month of rain days of one source, from the rain counter (RainTotal).
struct RainMonth {
    QDate month;                  // its first day
    std::vector<RainDay> days;    // in order, each closed day of the month
    std::optional<double> total;  // last counter value minus the first; none without readings

    // "Rainfall for November 2026", with ".    Total is 12.3mm" when there is a total.
    QString title() const;
};

// The rain days of `month` from counter readings (times as stored days,
// the counter in mm) in time order, read from 09:00 on the last day of the
// month before to 08:59 on the first of the next. A reading at or after
// the end of open rain days closes all of them; the rain since the last
// closed day is the closing reading's counter minus the counter then (0
// after a reset), and belongs to the last of them: the days before it in a
// gap get no rain of their own, nor do the days closed by the first
// reading (nothing before it says what fell).
RainMonth rainDays(const QDate& month, const std::vector<double>& stamps, const std::vector<double>& counters);

// The same from the source's readings. Failures come back as the Error.
mdb::Result<RainMonth> readRainMonth(const SummarySource& source, const QDate& month, const Environment& environment);
