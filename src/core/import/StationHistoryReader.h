#pragma once

#include "core/import/ImportReader.h"

#include <QByteArray>
#include <QDateTime>
#include <QIODevice>

#include <deque>

// The station program's own binary history (history.dat): one record per
// minute of 56 little-endian bytes — the time (days since 30 Dec 1899, the
// time of day as the fraction, local time), then 4-byte floats: absolute
// and relative pressure (hPa), wind speed (m/s), the wind direction (a
// 4-byte integer, 0-15 clockwise from north), gust (m/s), total rain (mm),
// new rain (mm), inside and outside temperature (°C), inside and outside
// humidity (%), and 4 bytes the readings do not use.
//
// Each record becomes a row: the relative pressure, the wind in knots, the
// rain counter, the rain of the last hour and 24 hours from the counter (a
// fall of the counter is a reset, counted from 0), the dew point and the
// wind chill worked out (Meteorology.h), trend, stability and storm unknown
// (-1). Records with an impossible time (before 1990, after `now` plus a
// day) or values no station measures (a direction outside 0-15, humidity
// outside 0-100 %, pressure outside 800-1100 hPa, wind outside 0-100 m/s,
// a value that is not a number) are left out as bad.
class StationHistoryReader final : public ImportReader {
public:
    static constexpr int kRecordSize = 56;

    // What a file holds, told before importing it.
    struct Contents {
        qint64 records = 0;
        QDateTime first;
        QDateTime last;
    };

    // Checks that `file` (open for reading, at its start) is such a history
    // and says what it holds; none with `error` saying what it is instead
    // (empty, the 36-byte records of earlier versions, something else).
    static std::optional<Contents> inspect(QIODevice& file, const QDateTime& now, QString& error);

    // Reads `file` (open, at its start, checked by inspect) from the start;
    // with `cycleMinutes` above 0 only the first record of each stretch of
    // that many minutes (from midnight) becomes a row.
    StationHistoryReader(QIODevice& file, const QDateTime& now, int cycleMinutes = 0);

    std::optional<ImportRow> next() override;
    double progress() const override;

private:
    struct Record;
    bool fill();
    std::optional<ImportRow> rowOf(const Record& record);
    void countRain(qint64 minute, double total, ImportRow& row);

    QIODevice& file_;
    qint64 earliest_ = 0;  // the span of plausible minutes (as StoredMinute counts)
    qint64 latest_ = 0;
    int cycleMinutes_;
    QByteArray buffer_;
    qsizetype offset_ = 0;
    qint64 lastSlot_ = -1;
    // Rain since the record before, by minute, for the last 24 hours.
    std::deque<std::pair<qint64, double>> rain_;
    double rainDay_ = 0;
    std::optional<double> lastTotal_;
};
