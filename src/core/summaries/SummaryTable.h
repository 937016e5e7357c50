#pragma once

#include "core/summaries/ClimateSummary.h"
#include "core/summaries/DailyExtremes.h"
#include "core/summaries/RainDays.h"
#include "core/summaries/WindDay.h"

#include <QByteArray>
#include <QString>
#include <QStringList>

#include <optional>
#include <vector>

// A summary as a table: what the summary tabs show beside their charts and
// what `nimbrel summary` prints. Cells hold their text and, for sorting,
// their number where they have one.
struct SummaryTable {
    struct Cell {
        QString text;
        std::optional<double> number;
    };

    QStringList headers;
    std::vector<std::vector<Cell>> rows;
    QStringList foot;  // lines below the table: totals and extremes

    // Columns padded to their widest cell, the first to the left, the others
    // (numbers, and the direction beside them) to the right; then the foot.
    QString toText() const;
    // A header line and one line per row, comma-separated, quoted where a
    // cell holds a comma or a quote; the foot is left out.
    QByteArray toCsv() const;
};

namespace SummaryTables {

SummaryTable maxMin(const std::vector<DayExtremes>& days);
// Several pairs side by side: the day, then "Max — Garden, Temperature Out"
// and "Min — …" for each pair; a row for every day any pair has, empty
// cells where a pair has none. A single pair gives maxMin(days).
SummaryTable maxMin(const std::vector<DailyExtremesSeries>& pairs);
SummaryTable wind(const WindDay& day);
SummaryTable rain(const RainMonth& month);
SummaryTable climate(const ClimateSummary& summary);

}  // namespace SummaryTables
