#pragma once

#include "core/errors/Environment.h"
#include "core/summaries/SummarySource.h"
#include "mdb/Result.h"

#include <QDate>
#include <QString>

#include <vector>

// One day's lowest and highest value of one quantity.
struct DayExtremes {
    QDate day;        // the day as stored with the readings (DateText)
    double minimum = 0;
    double maximum = 0;
};

// The daily extremes of one quantity of one source, as one Max/Min pair of
// a chart or table shows them.
struct DailyExtremesSeries {
    QString sourceName;
    QString typeName;
    std::vector<DayExtremes> days;

    // "Garden, Temperature Out"
    QString label() const { return sourceName + ", " + typeName; }
};

// Each day's extremes of History column `column` for the source, from 00:00
// on `first` to 23:59 on `last`, grouped by the day the readings were stored
// under and in date order. Days without a value are absent. Readings whose
// day text is not a date are grouped by the day of their time. Failures
// come back as the Error; nothing is reported here.
mdb::Result<std::vector<DayExtremes>> readDailyExtremes(const SummarySource& source, const QString& column,
                                                        const QDate& first, const QDate& last,
                                                        const Environment& environment);
