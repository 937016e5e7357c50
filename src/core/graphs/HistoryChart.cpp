#include "core/graphs/HistoryChart.h"

#include "core/graphs/DataTypes.h"
#include "core/plot/ChartPainter.h"
#include "core/settings/StoredColour.h"

#include <algorithm>

namespace {

constexpr double kLongestLabelledSpanDays = 2;  // hour labels say nothing on longer graphs

ViewRange wholeGraph(const GraphData& data)
{
    return {data.xMinimum, data.xMaximum, data.yMinimum.value_or(0), data.yMaximum.value_or(100)};
}

QString valueAxisTitle(const GraphData& data)
{
    QStringList units;
    for (const TraceSeries& series : data.traces) {
        const QString unit = DataTypes::at(series.trace.dataType).unit;
        if (!series.skipped && !units.contains(unit))
            units << unit;
    }
    return units.join(", ");
}

// The readings' labels within the shown part of the graph.
void addPointLabels(plot::Chart& chart, const GraphData& data, const ViewRange& view)
{
    const double span = view.xMaximum - view.xMinimum;
    if ((data.options.singleDay ? span / 24 : span) > kLongestLabelledSpanDays)
        return;
    for (const TraceSeries& series : data.traces) {
        const QColor colour = StoredColour::toColour(series.trace.colour);
        const auto first = std::lower_bound(series.x.begin(), series.x.end(), view.xMinimum);
        for (auto i = std::size_t(first - series.x.begin()); i < series.size() && series.x[i] <= view.xMaximum; ++i) {
            const QString label = series.label(i, data.options.singleDay);
            if (!label.isEmpty())
                chart.pointLabels.push_back({series.x[i], series.y[i], label, colour});
        }
    }
}

}  // namespace

plot::Chart historyChart(const GraphData& data, const GraphPictureRequest& request)
{
    const ViewRange view = request.view.value_or(wholeGraph(data));
    plot::Chart chart;
    chart.text = StoredColour::toColour(request.colours.text);
    chart.background = StoredColour::toColour(request.colours.background);
    chart.x = {data.options.singleDay ? plot::AxisKind::Hours : plot::AxisKind::DateTime, view.xMinimum,
               view.xMaximum, {}};
    chart.y = {plot::AxisKind::Value, view.yMinimum, view.yMaximum, valueAxisTitle(data)};
    chart.legend = !data.options.showLegend ? plot::LegendPlace::None
                   : request.legendBelow    ? plot::LegendPlace::Below
                                            : plot::LegendPlace::Right;
    const bool withDay = data.range.first < data.range.last;
    for (std::size_t i = 0; i < data.traces.size(); ++i) {
        const TraceSeries& series = data.traces[i];
        const QString title = i < std::size_t(request.titles.size()) ? request.titles[qsizetype(i)] : series.trace.title();
        plot::LineSeries line{title, StoredColour::toColour(series.trace.colour), {}, {}, false};
        if (!series.skipped) {
            line.x = series.x;
            line.y = series.y;
            chart.annotations.push_back({series.annotation(withDay), line.colour});
        }
        chart.lines.push_back(std::move(line));
        if (data.options.showStability) {
            for (const StabilityMark& mark : series.marks)
                chart.markers.push_back({mark.x, mark.y, StoredColour::toColour(standardColour(mark.stability))});
        }
    }
    addPointLabels(chart, data, view);
    return chart;
}

GraphPicture HistoryChartRenderer::render(const GraphData& data, const GraphPictureRequest& request)
{
    GraphPicture picture;
    plot::Placement placement;
    picture.image = plot::draw(historyChart(data, request), request.size, request.scale, &placement);
    picture.plotArea = placement.plotArea;
    picture.shown = {placement.xMinimum, placement.xMaximum, placement.yMinimum, placement.yMaximum};
    return picture;
}
