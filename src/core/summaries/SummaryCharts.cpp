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

// The colour of the `pair`th pair (from 0): the first in its own colour,
// each later one a step nearer the text colour, so that pairs of one chart
// can be told apart (after three steps the shades start again).
QColor pairShade(const QColor& colour, std::size_t pair, const QColor& text)
{
    const double toText = 0.4 * double(pair % 3);
    return QColor::fromRgbF(float(colour.redF() * (1 - toText) + text.redF() * toText),
                            float(colour.greenF() * (1 - toText) + text.greenF() * toText),
                            float(colour.blueF() * (1 - toText) + text.blueF() * toText));
}

plot::Chart blank(const QColor& text, const QColor& background)
{
    plot::Chart chart;
    chart.text = text;
    chart.background = background;
    return chart;
}

}  // namespace

plot::Chart maxMin(const std::vector<DailyExtremesSeries>& pairs, std::pair<double, double> axis, const QColor& text,
                   const QColor& background)
{
    plot::Chart chart = blank(text, background);
    chart.legend = plot::LegendPlace::Below;
    double low = std::min(axis.first, axis.second), high = std::max(axis.first, axis.second);
    double first = 0, last = 0;
    bool any = false;
    for (std::size_t p = 0; p < pairs.size(); ++p) {
        const DailyExtremesSeries& pair = pairs[p];
        const QString what = " \u2014 " + pair.label();
        plot::LineSeries maxima{"Max" + what, pairShade(paletteColour(12), p, text), {}, {}, true};
        plot::LineSeries minima{"Min" + what, pairShade(paletteColour(11), p, text), {}, {}, true};
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
