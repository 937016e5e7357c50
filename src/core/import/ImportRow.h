#pragma once

#include "core/db/DatabaseSession.h"

#include <QDateTime>
#include <QString>

#include <optional>
#include <vector>

// One past reading on its way into History, as an import file gives it.
// Values a file does not give are stored as `missing` says (0 for pages,
// as the observations page import always has).
struct ImportRow {
    QDateTime time;  // local, to the minute
    double pressure = 0;
    double inTemperature = 0;
    double inHumidity = 0;
    double outTemperature = 0;
    double outHumidity = 0;
    double dewpoint = 0;
    double windChill = 0;
    double windSpeed = 0;   // knots
    QString windDirection;  // a compass text; empty: none (stored as null)
    double rainTotal = 0;
    double rain1h = 0;
    double rain24h = 0;
    int trend = 0;  // -1: unknown
    int stability = 0;
    int storm = 0;

    // The History row for `sourceID`, its day and time texts made from `time`.
    std::vector<ColumnValue> historyRow(qint32 sourceID) const;
};
