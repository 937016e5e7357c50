#pragma once

#include "core/graphs/GraphData.h"

#include <QStringList>

#include <optional>
#include <vector>

// The drawn series as a table: one row per point in time (in x order), a
// time column, the reading's label, and one column per trace holding its
// value there (none where the trace has no reading at that time).
struct GraphTable {
    QStringList headers;  // "Time", "Label", then the traces' titles
    std::vector<double> x;
    std::vector<QString> labels;
    std::vector<std::vector<std::optional<double>>> values;  // [trace][row]
    bool singleDay = false;

    std::size_t rows() const { return x.size(); }
    // The row's time: "10-Mar-2026 14:20", or on a single-day graph the
    // time of day with the day it fell on ("14:20", "06:10 +1").
    QString timeText(std::size_t row) const;
    // The whole table as comma-separated text with a header line; times as
    // "2026-03-10 14:20" (hours from the first day's midnight on a
    // single-day graph), numbers with a decimal point.
    QByteArray toCsv() const;
};

GraphTable tableOf(const GraphData& data);
