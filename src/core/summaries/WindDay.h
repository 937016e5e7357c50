#pragma once

#include "core/errors/Environment.h"
#include "core/summaries/SummarySource.h"
#include "mdb/Result.h"

#include <QDate>
#include <QString>

#include <array>

// One day of wind of one source: per compass point the sum of the wind
// speeds (knots) of the readings from that point, and the day's strongest
// wind. Bins run clockwise from north: 0 "N", 1 "NNE" ... 15 "NNW".
struct WindDay {
    std::array<double, 16> sums{};
    double maximum = 0;
    QString maximumTime;       // TimeText of the first reading with the maximum; empty on a calm day
    QString maximumDirection;  // its WindDir text

    // The compass text of bin `bin`.
    static QString pointName(int bin);
    // The compass point (0-15) with the greatest sum; -1 on a calm day.
    int dominant() const;
};

// The readings stored under `day` (their DateText), in time order. A
// reading with wind whose direction is not one of the sixteen points is an
// Error naming its time, as is a failed read.
mdb::Result<WindDay> readWindDay(const SummarySource& source, const QDate& day, const Environment& environment);
