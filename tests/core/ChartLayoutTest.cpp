// Where the plotting layer puts its texts: never over one another, never
// outside the picture, whatever its size; and what part of the graph a
// zoomed picture shows.

#include "core/graphs/HistoryChart.h"
#include "core/plot/ChartLayout.h"
#include "core/plot/ChartPainter.h"
#include "core/plot/TimeScale.h"

#include <gtest/gtest.h>

namespace {

plot::Chart timeChart(double days, plot::AxisKind kind = plot::AxisKind::DateTime)
{
    plot::Chart chart;
    chart.title = "A title";
    const double first = plot::daysOf(QDate(2026, 3, 10));
    chart.x = {kind, kind == plot::AxisKind::Hours ? 0 : first, kind == plot::AxisKind::Hours ? days * 24 : first + days, "Time"};
    chart.y = {plot::AxisKind::Value, 987.5, 1041.25, "Celcius, hPa"};
    for (const char* name : {"Home: Temperature Out", "Home: Pressure", "Garden shed: Humidity In -1", "Roof: Wind"})
        chart.lines.push_back({name, Qt::red, {chart.x.minimum, chart.x.maximum}, {990, 1040}, false});
    chart.legend = plot::LegendPlace::Below;
    return chart;
}

plot::Chart barChart()
{
    plot::Chart chart;
    chart.x = {plot::AxisKind::Category, 0.5, 31.5, {}};
    chart.y = {plot::AxisKind::Value, 0, 12.5, "mm"};
    plot::BarSeries bars{"Rain", Qt::blue, 0.8, {}};
    for (int day = 1; day <= 31; ++day)
        bars.bars.push_back({double(day), day % 4 * 2.5, Qt::blue, QString::asprintf("%02d", day)});
    chart.bars.push_back(bars);
    return chart;
}

plot::Chart polarChart()
{
    plot::Chart chart;
    chart.title = "Accumulation Chart";
    plot::PolarSeries wind{"", Qt::green, {}};
    const char* const names[] = {"N", "NNE", "NE", "ENE", "E", "ESE", "SE", "SSE",
                                 "S", "SSW", "SW", "WSW", "W", "WNW", "NW", "NNW"};
    for (int i = 0; i < 16; ++i)
        wind.spokes.push_back({i * 22.5, double(i), names[i]});
    chart.polar = wind;
    chart.legend = plot::LegendPlace::None;
    return chart;
}

void expectTextsApartAndInside(const plot::Chart& chart, const QSize& size, const std::string& what)
{
    plot::Placement placement;
    plot::draw(chart, size, 1, &placement);
    const QRectF picture(QPointF(0, 0), QSizeF(size));
    ASSERT_FALSE(placement.labelBoxes.empty()) << what;
    for (std::size_t i = 0; i < placement.labelBoxes.size(); ++i) {
        const QRectF box = placement.labelBoxes[i];
        EXPECT_TRUE(picture.contains(box)) << what << ": text " << i << " leaves the picture";
        for (std::size_t j = i + 1; j < placement.labelBoxes.size(); ++j) {
            EXPECT_FALSE(box.intersects(placement.labelBoxes[j]))
                << what << ": texts " << i << " and " << j << " overlap";
        }
        EXPECT_FALSE(box.intersects(placement.plotArea.adjusted(1, 1, -1, -1)) && !chart.polar)
            << what << ": text " << i << " over the plot";
    }
}

}  // namespace

TEST(ChartLayout, TextsNeverOverlapOrLeaveThePicture)
{
    for (const QSize size : {QSize(320, 220), QSize(613, 467), QSize(1000, 680), QSize(1900, 1000)}) {
        const std::string at = std::to_string(size.width()) + "x" + std::to_string(size.height());
        for (const double days : {0.2, 1.0, 3.0, 9.0, 45.0, 365.0, 3650.0})
            expectTextsApartAndInside(timeChart(days), size, at + ", " + std::to_string(days) + " days");
        expectTextsApartAndInside(timeChart(3, plot::AxisKind::Hours), size, at + ", hours");
        expectTextsApartAndInside(barChart(), size, at + ", bars");
        expectTextsApartAndInside(polarChart(), size, at + ", compass");
    }
}

TEST(ChartLayout, AWidePictureLabelsEveryDayAndANarrowOneFewer)
{
    const plot::Chart week = timeChart(7);
    const plot::ChartLayout wide(week, QRectF(0, 0, 1200, 500));
    const plot::ChartLayout narrow(week, QRectF(0, 0, 320, 220));
    std::vector<QString> labels;
    for (const plot::PlacedText& label : wide.xLabels())
        labels.push_back(label.text);
    EXPECT_EQ(labels.front(), "10-Mar");
    EXPECT_EQ(labels.back(), "17-Mar");
    for (int day = 10; day <= 17; ++day)
        EXPECT_NE(std::find(labels.begin(), labels.end(), QString("%1-Mar").arg(day)), labels.end()) << day;
    EXPECT_LT(narrow.xLabels().size(), 5u);
    EXPECT_GE(narrow.xLabels().size(), 2u);
}

TEST(ChartLayout, ACompassPutsNorthUpAndEastRight)
{
    const plot::Chart chart = polarChart();
    const plot::ChartLayout layout(chart, QRectF(0, 0, 400, 400));
    const QPointF centre = layout.plot().center();
    EXPECT_LT(layout.toPixels(0, 10).y(), centre.y() - 50);
    EXPECT_NEAR(layout.toPixels(0, 10).x(), centre.x(), 1e-9);
    EXPECT_GT(layout.toPixels(90, 10).x(), centre.x() + 50);
    EXPECT_LT(layout.toPixels(337.5, 10).x(), centre.x()) << "NNW just left of north";
    EXPECT_EQ(layout.rimLabels().at(1).text, "NNE");
    EXPECT_GT(layout.rimLabels().at(1).box.center().x(), centre.x()) << "NNE just right of north";
}

TEST(ChartLayout, AZoomedPictureShowsThePartAsked)
{
    GraphData data;
    data.range = {QDate(2026, 3, 1), QDate(2026, 3, 10)};
    std::tie(data.xMinimum, data.xMaximum) = GraphData::xRangeOf(data.range, false);
    data.yMinimum = -5;
    data.yMaximum = 45;
    GraphPictureRequest request;
    request.size = {600, 400};
    const ViewRange part{data.xMinimum + 2, data.xMinimum + 2.5, 10, 20};
    request.view = part;
    const GraphPicture picture = HistoryChartRenderer().render(data, request);
    EXPECT_EQ(picture.shown, part);
    request.view.reset();
    const GraphPicture whole = HistoryChartRenderer().render(data, request);
    EXPECT_EQ(whole.shown, (ViewRange{data.xMinimum, data.xMaximum, -5, 45}));
}
