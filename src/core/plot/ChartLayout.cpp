#include "core/plot/ChartLayout.h"

#include <QGuiApplication>

#include <algorithm>
#include <cmath>

namespace plot {

namespace {

constexpr double kTickLabelGap = 6;   // between the axis and its labels
constexpr double kLabelSpacing = 6;   // at least this between two x labels
constexpr double kPixelsPerYTick = 36;
constexpr double kPixelsPerXTick = 70;

std::pair<double, double> widened(double minimum, double maximum)
{
    if (!(maximum > minimum))
        return {minimum - 1, minimum + 1};
    return {minimum, maximum};
}

// The largest value a polar chart's spokes reach, or 1.
double polarReach(const PolarSeries& polar)
{
    double reach = 0;
    for (const Spoke& spoke : polar.spokes)
        reach = std::max(reach, spoke.value);
    return reach > 0 ? reach : 1;
}

std::vector<LegendEntry> legendItems(const Chart& chart)
{
    std::vector<LegendEntry> items;
    for (const LineSeries& line : chart.lines) {
        if (!line.name.isEmpty())
            items.push_back({line.colour, line.name, {}});
    }
    for (const BarSeries& bars : chart.bars) {
        if (!bars.name.isEmpty())
            items.push_back({bars.colour, bars.name, {}});
    }
    if (chart.polar && !chart.polar->name.isEmpty())
        items.push_back({chart.polar->colour, chart.polar->name, {}});
    return items;
}

}  // namespace

QFont chartFont(const Chart& chart)
{
    if (chart.font)
        return *chart.font;
    QFont font = QGuiApplication::font();
    font.setPixelSize(11);
    return font;
}

ChartLayout::ChartLayout(const Chart& chart, const QRectF& area)
    : chart_(chart), area_(area), font_(chartFont(chart)), metrics_(font_), lineHeight_(metrics_.height())
{
    xRange_ = widened(chart.x.minimum, chart.x.maximum);
    yRange_ = chart.polar ? std::pair<double, double>{0, polarReach(*chart.polar)}
                          : widened(chart.y.minimum, chart.y.maximum);
    double left = area.left() + 8, right = area.right() - 12, top = area.top() + 10;
    double bottom = area.bottom() - 8;
    if (!chart.title.isEmpty()) {
        title_ = PlacedText{chart.title, QRectF(area.left() + 4, top, area.width() - 8, lineHeight_)};
        top += lineHeight_ + 6;
    }
    legend_ = legendItems(chart);
    if (chart.legend == LegendPlace::None)
        legend_.clear();
    if (!legend_.empty() && chart.legend == LegendPlace::Below) {
        placeLegendBelow(area.width() - 16);
        const double height = legend_.back().box.bottom();
        for (LegendEntry& entry : legend_)
            entry.box.translate(area.left() + 8, bottom - height);
        bottom -= height + 6;
    } else if (!legend_.empty()) {
        double widest = 0;
        for (const LegendEntry& entry : legend_)
            widest = std::max(widest, metrics_.horizontalAdvance(entry.text));
        const double width = std::min(widest + kLegendSample + 8, area.width() * 0.4);
        right -= width + 12;
        for (std::size_t i = 0; i < legend_.size(); ++i)
            legend_[i].box = QRectF(right + 12, top + double(i) * (lineHeight_ + 4), width, lineHeight_);
    }

    if (chart.polar) {
        // A square plot for the compass, its rim labels around it.
        double widest = 0;
        for (const Spoke& spoke : chart.polar->spokes)
            widest = std::max(widest, metrics_.horizontalAdvance(spoke.label));
        const double side = std::max(10.0, std::min(right - left - 2 * widest, bottom - top - 2 * lineHeight_) - 8);
        plot_ = QRectF(0, 0, side, side);
        plot_.moveCenter(QPointF((left + right) / 2, (top + bottom) / 2));
        for (const Spoke& spoke : chart.polar->spokes) {
            // Just outside the rim, the box's nearest edge towards the centre.
            const double angle = spoke.degrees * M_PI / 180;
            const double width = metrics_.horizontalAdvance(spoke.label);
            const QPointF rim = plot_.center() + QPointF(std::sin(angle), -std::cos(angle)) * (side / 2 + 4);
            QRectF box(0, 0, width, lineHeight_);
            box.moveCenter(rim + QPointF(std::sin(angle) * width / 2, -std::cos(angle) * lineHeight_ / 2));
            rimLabels_.push_back({spoke.label, box});
        }
        for (const AxisTick& tick : AxisTicks::valueTicks(0, yRange_.second, 4)) {
            if (tick.value <= 0)
                continue;
            yGrid_.push_back(tick.value);
            const QPointF at = toPixels(0, tick.value);
            yLabels_.push_back({tick.label, QRectF(at.x() + 3, at.y(), metrics_.horizontalAdvance(tick.label), lineHeight_)});
        }
        return;
    }

    if (!chart.x.title.isEmpty()) {
        xTitle_ = PlacedText{chart.x.title, QRectF(left, bottom - lineHeight_, right - left, lineHeight_)};
        bottom -= lineHeight_ + 2;
    }
    bottom -= lineHeight_ + kTickLabelGap;  // the x labels
    if (!chart.y.title.isEmpty()) {
        yTitle_ = PlacedText{chart.y.title, QRectF(left, top, lineHeight_, bottom - top)};
        left += lineHeight_ + 4;
    }
    const double plotHeight = std::max(1.0, bottom - top);
    const auto yTicks = AxisTicks::valueTicks(yRange_.first, yRange_.second,
                                              std::max(2, int(plotHeight / kPixelsPerYTick)));
    double labelWidth = 0;
    for (const AxisTick& tick : yTicks)
        labelWidth = std::max(labelWidth, metrics_.horizontalAdvance(tick.label));
    left += labelWidth + kTickLabelGap;
    plot_ = QRectF(left, top, std::max(1.0, right - left), plotHeight);
    if (yTitle_)
        yTitle_->box = QRectF(area.left() + 8, plot_.top(), lineHeight_, plot_.height());
    for (const AxisTick& tick : yTicks) {
        yGrid_.push_back(tick.value);
        const double y = toPixels(0, tick.value).y();
        const QRectF box(plot_.left() - kTickLabelGap - labelWidth, y - lineHeight_ / 2, labelWidth, lineHeight_);
        yLabels_.push_back({tick.label, box});
    }
    placeXLabels(xTicks(std::max(2, int(plot_.width() / kPixelsPerXTick))));
}

QPointF ChartLayout::toPixels(double x, double y) const
{
    if (chart_.polar) {
        // x in degrees clockwise from north, y the distance from the centre.
        const double radius = y / yRange_.second * plot_.width() / 2;
        const double angle = x * M_PI / 180;
        return plot_.center() + QPointF(radius * std::sin(angle), -radius * std::cos(angle));
    }
    const double xSpan = xRange_.second - xRange_.first;
    const double ySpan = yRange_.second - yRange_.first;
    return {plot_.left() + (x - xRange_.first) / xSpan * plot_.width(),
            plot_.bottom() - (y - yRange_.first) / ySpan * plot_.height()};
}

std::vector<AxisTick> ChartLayout::xTicks(int maxTicks) const
{
    switch (chart_.x.kind) {
    case AxisKind::DateTime:
        return AxisTicks::timeTicks(xRange_.first, xRange_.second, maxTicks);
    case AxisKind::Hours:
        return AxisTicks::hourTicks(xRange_.first, xRange_.second, maxTicks);
    case AxisKind::Value:
        return AxisTicks::valueTicks(xRange_.first, xRange_.second, maxTicks);
    case AxisKind::Category:
        break;
    }
    std::vector<AxisTick> ticks;
    for (const BarSeries& series : chart_.bars) {
        for (const Bar& bar : series.bars)
            ticks.push_back({bar.x, bar.label});
    }
    return ticks;
}

// Each tick's label centred under it, moved inside the area at the ends;
// one that would come within a few pixels of the one before is left out.
void ChartLayout::placeXLabels(const std::vector<AxisTick>& ticks)
{
    double lastRight = -1e9;
    for (const AxisTick& tick : ticks) {
        if (tick.value < xRange_.first - 1e-9 || tick.value > xRange_.second + 1e-9)
            continue;
        if (chart_.x.kind != AxisKind::Category)
            xGrid_.push_back(tick.value);
        const double x = toPixels(tick.value, 0).x();
        const double width = metrics_.horizontalAdvance(tick.label);
        QRectF box(x - width / 2, plot_.bottom() + kTickLabelGap - 2, width, lineHeight_);
        box.moveLeft(std::clamp(box.left(), area_.left(), std::max(area_.left(), area_.right() - width)));
        if (tick.label.isEmpty() || box.left() < lastRight + kLabelSpacing)
            continue;
        xLabels_.push_back({tick.label, box});
        lastRight = box.right();
    }
}

// Entries in rows `width` wide from (0, 0), each as wide as its text; the
// caller moves them into place.
void ChartLayout::placeLegendBelow(double width)
{
    double x = 0, y = 0;
    for (LegendEntry& entry : legend_) {
        const double wide = std::min(kLegendSample + 6 + metrics_.horizontalAdvance(entry.text) + 2, width);
        if (x > 0 && x + wide > width) {
            x = 0;
            y += lineHeight_ + 2;
        }
        entry.box = QRectF(x, y, wide, lineHeight_);
        x += wide + 14;
    }
}

}  // namespace plot
