#pragma once

#include <QColor>
#include <QFont>
#include <QString>

#include <optional>
#include <vector>

// A chart described as data: what to draw, in the units of its axes. Drawn
// by plot::draw (ChartPainter.h); building one needs no painter and no
// screen. Colours are drawn as given, except where a colour would be
// unreadable on the background (see legible).
namespace plot {

enum class AxisKind {
    DateTime,  // days as on a time axis (TimeScale.h): ticks on round times and dates
    Hours,     // hours from 0: ticks every 1, 2, 3, 6, 12 or 24 hours
    Value,     // plain numbers: ticks on 1, 2 or 5 times a power of ten
    Category,  // bars' own labels under each bar, no ticks of its own
};

// An axis: its kind, the range drawn (minimum < maximum; a range of no
// width is widened by one either side) and its title.
struct Axis {
    AxisKind kind = AxisKind::Value;
    double minimum = 0;
    double maximum = 1;
    QString title;
};

// A line through points in x order (x must not decrease), one device
// pixel wide. Long series are drawn from their extremes per pixel column.
struct LineSeries {
    QString name;  // its legend entry; empty: none
    QColor colour;
    std::vector<double> x;
    std::vector<double> y;
    bool dots = false;  // a dot at each point as well (short series)
};

// A bar from 0 (or the axis' minimum) to `value`, centred on `x`.
struct Bar {
    double x = 0;
    double value = 0;
    QColor colour;
    QString label;  // under the bar on a category axis
};

// Bars of one series, `width` wide in x units.
struct BarSeries {
    QString name;
    QColor colour;  // the legend's colour; each bar has its own
    double width = 0.8;
    std::vector<Bar> bars;
};

// A spoke of a polar chart: from the centre outwards to `value` on the
// radial axis, `degrees` clockwise from north (up).
struct Spoke {
    double degrees = 0;
    double value = 0;
    QString label;  // at the rim, in the spoke's direction
};

// A polar chart (a compass): spokes joined into a filled outline.
struct PolarSeries {
    QString name;
    QColor colour;
    std::vector<Spoke> spokes;
};

// A circle at a point, outlined in the text colour.
struct Marker {
    double x = 0;
    double y = 0;
    QColor colour;
};

// A short text above a point; left out where it would cover another label
// or leave the plot.
struct PointLabel {
    double x = 0;
    double y = 0;
    QString text;
    QColor colour;
};

// A line of text in the plot's top left corner, one under the other.
struct Annotation {
    QString text;
    QColor colour;
};

enum class LegendPlace { None, Right, Below };

struct Chart {
    QString title;  // above the plot; empty: none
    Axis x{AxisKind::DateTime, 0, 1, {}};
    Axis y;
    std::vector<LineSeries> lines;
    std::vector<BarSeries> bars;
    std::optional<PolarSeries> polar;  // drawn instead of x/y axes when set
    std::vector<Marker> markers;
    std::vector<PointLabel> pointLabels;
    std::vector<Annotation> annotations;
    LegendPlace legend = LegendPlace::Right;
    QColor text = Qt::black;
    QColor background = Qt::white;
    std::optional<QFont> font;  // none: the application's, at 11 pixels
};

}  // namespace plot
