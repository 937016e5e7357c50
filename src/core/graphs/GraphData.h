#pragma once

#include "core/graphs/TraceEntry.h"

#include <QDate>
#include <QString>

#include <optional>
#include <vector>

// The history graph's days: from 00:00 of `first` to 23:59 of `last`.
struct GraphRange {
    QDate first;
    QDate last;
    bool operator==(const GraphRange&) const = default;
};

// The Options menu's switches that change what is drawn.
struct GraphOptions {
    bool singleDay = false;      // x in hours from 00:00 of the first day; days overlaid
    bool showStability = false;  // mark where a trace's stability changes
    bool showLegend = true;
    bool operator==(const GraphOptions&) const = default;
};

// A point where the stability value of the readings changed.
struct StabilityMark {
    double x = 0;
    double y = 0;
    int stability = 0;  // its colour is standardColour(stability)
};

// One drawn trace: its points in time order, with what the data grid and
// the annotation show of them.
//
// x is in graph units: the reading's time in stored days (days since
// 30 Dec 1899, wall clock) moved back by the trace's offset, or, for a
// single-day graph, hours since 00:00 of the reading's first day.
struct TraceSeries {
    TraceEntry trace;
    bool skipped = false;       // the source has no database: nothing read, nothing drawn
    std::vector<double> x;
    std::vector<double> y;
    std::vector<double> stamps;  // each reading's DateRead, in stored days
    std::vector<qint16> minutes; // each reading's TimeText as minutes of the day; -1 when not "hh:mm"
    std::vector<StabilityMark> marks;
    double maximum = 0;  // the largest value; ties keep the earlier reading
    double minimum = 0;
    QString maximumTime;  // TimeText of the reading with the largest value
    QString minimumTime;
    double maximumStamp = 0;  // DateRead of that reading, in stored days
    double minimumStamp = 0;

    std::size_t size() const { return x.size(); }
    // "Max: 21.4 @ 14:20  Min: 3.1 @ 06:10" (from no readings: "Max: 0 @   Min: 0 @ ").
    // With the day, for a graph of more than one day: "Max: 21.4 @ 21-Nov 14:20  ...".
    QString annotation(bool withDay = false) const;
    // The reading's label: its date and time "dd-MMM-yy hh:mm" at midnight
    // (not on a single-day graph), its TimeText on the whole hour, else empty.
    QString label(std::size_t i, bool singleDay) const;
};

// Everything a picture of the history graph shows, computed from the
// database: the axes' ranges and one series per trace, in trace order.
struct GraphData {
    GraphRange range;
    GraphOptions options;
    bool stabilityRead = false;  // the series carry their stability marks
    double xMinimum = 0;
    double xMaximum = 1;
    // The value axis: the union of the traces' preference ranges and their
    // values; nothing when there are no traces.
    std::optional<double> yMinimum;
    std::optional<double> yMaximum;
    std::vector<TraceSeries> traces;

    // The x range of the graph's days, in graph units.
    static std::pair<double, double> xRangeOf(const GraphRange& range, bool singleDay);
};

// The time a stored date-time names, on the wall clock.
QDateTime wallClockTime(double storedDays);
// A date's 00:00 in stored days.
double storedDays(const QDate& date);
