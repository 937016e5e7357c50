#pragma once

#include "core/plot/Chart.h"
#include "core/summaries/DailyExtremes.h"
#include "core/summaries/RainDays.h"
#include "core/summaries/WindDay.h"

#include <QColor>
#include <QString>

#include <vector>

// The summaries drawn as charts, in the given text and background colours.
namespace SummaryCharts {

// The pairs as "Max — Garden, Temperature Out" (light red) and "Min — …"
// (light cyan) on a time axis, each later pair a shade nearer the text
// colour; the value axis spans `axis` (from the
// quantity's preferences) and the values.
plot::Chart maxMin(const std::vector<DailyExtremesSeries>& pairs, std::pair<double, double> axis, const QColor& text,
                   const QColor& background);

// The 16-point compass "Accumulation Chart", north on top, clockwise.
plot::Chart wind(const WindDay& day, const QColor& text, const QColor& background);

// The month's rain days as blue bars labelled by day, 0 days white, the
// title with the month's total.
plot::Chart rain(const RainMonth& month, const QColor& text, const QColor& background);

}  // namespace SummaryCharts
