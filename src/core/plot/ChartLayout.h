#pragma once

#include "core/plot/AxisTicks.h"
#include "core/plot/Chart.h"

#include <QFont>
#include <QFontMetricsF>
#include <QRectF>

#include <vector>

namespace plot {

// A text and the box it is drawn in.
struct PlacedText {
    QString text;
    QRectF box;
};

// A legend entry: its sample colour, its text and its box.
struct LegendEntry {
    QColor colour;
    QString text;
    QRectF box;
};

// Where everything of a chart goes within an area, worked out before any
// drawing: the plot rectangle, the ticks and their labels (those that would
// overlap a neighbour or leave the area are left out), the titles and the
// legend.
class ChartLayout {
public:
    ChartLayout(const Chart& chart, const QRectF& area);

    QRectF area() const { return area_; }
    QFont font() const { return font_; }
    double lineHeight() const { return lineHeight_; }
    QRectF plot() const { return plot_; }
    double xMinimum() const { return xRange_.first; }
    double xMaximum() const { return xRange_.second; }
    double yMinimum() const { return yRange_.first; }
    double yMaximum() const { return yRange_.second; }
    QPointF toPixels(double x, double y) const;

    // Where a grid line is drawn, in the axis' units.
    const std::vector<double>& xGrid() const { return xGrid_; }
    const std::vector<double>& yGrid() const { return yGrid_; }
    const std::vector<PlacedText>& xLabels() const { return xLabels_; }
    const std::vector<PlacedText>& yLabels() const { return yLabels_; }
    // A polar chart's spoke labels around its rim, in spoke order.
    const std::vector<PlacedText>& rimLabels() const { return rimLabels_; }
    // Drawn centred in its box; the y title turned to read upwards.
    const std::optional<PlacedText>& title() const { return title_; }
    const std::optional<PlacedText>& xTitle() const { return xTitle_; }
    const std::optional<PlacedText>& yTitle() const { return yTitle_; }
    const std::vector<LegendEntry>& legend() const { return legend_; }

    static constexpr double kLegendSample = 18;

private:
    void placeLegendBelow(double width);
    void placeXLabels(const std::vector<AxisTick>& ticks);
    std::vector<AxisTick> xTicks(int maxTicks) const;

    const Chart& chart_;
    QRectF area_;
    QFont font_;
    QFontMetricsF metrics_;
    double lineHeight_;
    std::pair<double, double> xRange_;
    std::pair<double, double> yRange_;
    QRectF plot_;
    std::vector<double> xGrid_;
    std::vector<double> yGrid_;
    std::vector<PlacedText> xLabels_;
    std::vector<PlacedText> yLabels_;
    std::vector<PlacedText> rimLabels_;
    std::optional<PlacedText> title_;
    std::optional<PlacedText> xTitle_;
    std::optional<PlacedText> yTitle_;
    std::vector<LegendEntry> legend_;
};

// The chart's font: its own, or the application's at 11 pixels.
QFont chartFont(const Chart& chart);

}  // namespace plot
