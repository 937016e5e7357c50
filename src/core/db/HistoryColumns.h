#pragma once

#include "core/errors/Environment.h"
#include "mdb/Result.h"

#include <QDateTime>
#include <QStringList>

#include <limits>
#include <utility>
#include <vector>

// The readings of one source over a time range, column by column and in
// time order: what a graph needs of History, without a value object per
// cell.
struct HistoryColumns {
    static constexpr qint16 kNoStability = std::numeric_limits<qint16>::min();

    std::vector<double> stamps;    // DateRead, in stored days (wall clock)
    std::vector<qint16> minutes;   // TimeText as minutes of the day; -1 when it is not "hh:mm"
    std::vector<std::pair<std::size_t, QString>> otherTimeTexts;  // by row, the TimeTexts that are not "hh:mm"
    std::vector<qint16> stability; // kNoStability where null, or when not read
    // DateText ("dd.mm.yyyy") as a Julian day number, 0 when it is not such a
    // day; empty when not read.
    std::vector<qint32> dayTexts;
    // One column per column asked for: the numbers, NaN where null; a
    // compass text (WindDir) as its code 0..16.
    std::vector<std::vector<double>> values;

    std::size_t size() const { return stamps.size(); }
    // The Julian day the row was stored under: its DateText, or the day of
    // its DateRead where that text was not read or is not a date.
    qint64 storedDay(std::size_t row) const;
    // The row's TimeText as stored.
    QString timeText(std::size_t row) const;
    // Appends `later`, whose readings all follow these.
    void append(HistoryColumns&& later);
};

// The rows of source `sourceID` with DateRead from `from` to `to` (both
// included), through the History (SourceID, DateRead) index; the Stability
// column only `withStability`, DateText only `withDayText`. A long range
// is read in two halves at once, on two threads, each with its own opening
// of the file. Failures come back as the Error; nothing is reported here.
mdb::Result<HistoryColumns> readHistoryColumns(const QString& databasePath, qint32 sourceID, const QDateTime& from,
                                               const QDateTime& to, const QStringList& columns,
                                               bool withStability, const Environment& environment,
                                               bool withDayText = false);
