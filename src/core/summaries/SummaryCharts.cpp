#include "core/summaries/SummaryCharts.h"

#include "core/graphs/TraceEntry.h"
#include "core/plot/TimeScale.h"
#include "core/settings/StoredColour.h"

#include <algorithm>

namespace SummaryCharts {

namespace {

// The palette's light red, light cyan and light green, as the station
// program's charts colour them.
QColor paletteColour(int index)
{
    return StoredColour::toColour(standardColour(index));
}

plot::Chart blank(const QColor& text, const QColor& background)
{
    plot::Chart chart;
    chart.text = text;
    chart.background = background;
    return chart;
}

}  // namespace

plot::Chart maxMin(const std::vector<MaxMinPair>& pairs, std::pair<double, double> axis, const QColor& text,
                   const QColor& background)
{
    plot::Chart chart = blank(text, background);
    chart.legend = plot::LegendPlace::Below;
    double low = std::min(axis.first, axis.second), high = std::max(axis.first, axis.second);
    double first = 0, last = 0;
    bool any = false;
    for (const MaxMinPair& pair : pairs) {
        const QString what = " \u2014 " + pair.sourceName + ", " + pair.typeName;
        plot::LineSeries maxima{"Max" + what, paletteColour(12), {}, {}, true};
        plot::LineSeries minima{"Min" + what, paletteColour(11), {}, {}, true};
        for (const DayExtremes& day : pair.days) {
            const double x = plot::daysOf(day.day) + 0.5;  // midday: the day's own tick
            maxima.x.push_back(x);
            maxima.y.push_back(day.maximum);
            minima.x.push_back(x);
            minima.y.push_back(day.minimum);
            low = std::min(low, day.minimum);
            high = std::max(high, day.maximum);
            first = any ? std::min(first, x) : x;
            last = any ? std::max(last, x) : x;
            any = true;
        }
        chart.lines.push_back(std::move(maxima));
        chart.lines.push_back(std::move(minima));
    }
    chart.x = {plot::AxisKind::DateTime, any ? first - 0.5 : 0, any ? last + 0.5 : 1, "Time"};
    chart.y = {plot::AxisKind::Value, low, high, pairs.empty() ? QString() : pairs.back().typeName};
    return chart;
}

plot::Chart wind(const WindDay& day, const QColor& text, const QColor& background)
{
    plot::Chart chart = blank(text, background);
    chart.title = "Accumulation Chart";
    chart.legend = plot::LegendPlace::None;
    plot::PolarSeries series{"Wind", paletteColour(10), {}};
    for (int bin = 0; bin < 16; ++bin)
        series.spokes.push_back({bin * 22.5, day.sums[std::size_t(bin)], WindDay::pointName(bin)});
    chart.polar = std::move(series);
    return chart;
}

plot::Chart rain(const RainMonth& month, const QColor& text, const QColor& background)
{
    plot::Chart chart = blank(text, background);
    chart.title = month.title();
    chart.legend = plot::LegendPlace::None;  // the title says it
    const int days = month.month.daysInMonth();
    chart.x = {plot::AxisKind::Category, 0.5, days + 0.5, {}};
    double high = 1;
    plot::BarSeries bars{month.title(), Qt::blue, 0.7, {}};
    for (const RainDay& day : month.days) {
        if (!day.rain)
            continue;  // a day no reading closed: no bar
        bars.bars.push_back({double(day.day.day()), *day.rain, *day.rain > 0 ? QColor(Qt::blue) : QColor(Qt::white),
                             day.day.toString("dd")});
        high = std::max(high, *day.rain);
    }
    chart.y = {plot::AxisKind::Value, 0, high * 1.1, "mm"};  // room above the wettest day
    chart.bars.push_back(std::move(bars));
    return chart;
}

}  // namespace SummaryCharts
