// Pictures drawn by the plotting layer, compared with reference pictures
// in tests/golden/charts; the GIF files of the picture export; drawing on
// several threads at once.
//
// The references were looked at by a person once. After a deliberate change
// of the drawing, write them again with
//   NIMBREL_UPDATE_GOLDEN=1 build/tests/core_tests --gtest_filter='ChartPictures.*'
// and look at each changed picture before committing it.

#include "core/export/GifFile.h"
#include "core/export/PictureExport.h"
#include "core/graphs/HistoryChart.h"
#include "core/plot/ChartPainter.h"
#include "core/settings/StoredColour.h"
#include "support/TestSupport.h"

#include <QDir>
#include <QFile>
#include <QImage>

#include <gtest/gtest.h>

#include <cmath>
#include <future>

namespace {

const QDate kLastDay{2026, 3, 10};
const GraphColours kDark{0xE6E6E6, 0x201814};
const GraphColours kLight{0x202020, 0xFFFFFF};
constexpr int kChannelTolerance = 40;      // a pixel may differ this much in any channel
constexpr double kDifferentShare = 0.002;  // and this share of the pixels by more

// A temperature-like series every ten minutes over the range.
TraceSeries series(int dataType, qint32 colour, const GraphRange& range, double base)
{
    TraceSeries s;
    s.trace.sourceName = "Home";
    s.trace.dataType = dataType;
    s.trace.colour = colour;
    const double first = storedDays(range.first);
    const int readings = int(range.first.daysTo(range.last) + 1) * 144;
    for (int i = 0; i < readings; ++i) {
        const double stamp = first + i / 144.0;
        const double wave = base + 6 * std::sin((i % 144) / 144.0 * 2 * M_PI - 2) + (i / 144) % 5;
        const double value = std::round(wave * 10) / 10;  // as a station gives them
        s.x.push_back(stamp);
        s.y.push_back(value);
        s.stamps.push_back(stamp);
        s.minutes.push_back(qint16((i % 144) * 10));
        if (i == 0 || value > s.maximum) {
            s.maximum = value;
            s.maximumStamp = stamp;
            s.maximumTime = wallClockTime(stamp).toString("hh:mm");
        }
        if (i == 0 || value < s.minimum) {
            s.minimum = value;
            s.minimumStamp = stamp;
            s.minimumTime = wallClockTime(stamp).toString("hh:mm");
        }
    }
    return s;
}

GraphData graph(int days, int traces)
{
    GraphData data;
    data.range = {kLastDay.addDays(1 - days), kLastDay};
    std::tie(data.xMinimum, data.xMaximum) = GraphData::xRangeOf(data.range, false);
    const int types[] = {1, 6, 3, 7};
    for (int i = 0; i < traces; ++i)
        data.traces.push_back(series(types[i], *defaultTraceColour(i + 1), data.range, 10 - 4 * i));
    data.yMinimum = -5;
    data.yMaximum = 45;
    return data;
}

// The graph of `days` with x in hours from 00:00 of the first day.
GraphData singleDayGraph(int days, int traces)
{
    GraphData data = graph(days, traces);
    data.options.singleDay = true;
    std::tie(data.xMinimum, data.xMaximum) = GraphData::xRangeOf(data.range, true);
    for (TraceSeries& s : data.traces) {
        for (std::size_t i = 0; i < s.x.size(); ++i)
            s.x[i] = (s.stamps[i] - storedDays(data.range.first)) * 24;
    }
    return data;
}

QImage render(const GraphData& data, const GraphColours& colours, QSize size = {800, 450})
{
    GraphPictureRequest request;
    request.size = size;
    request.colours = colours;
    return HistoryChartRenderer().render(data, request).image;
}

plot::Chart compass()
{
    plot::Chart chart;
    chart.title = "Accumulation Chart";
    const char* const names[] = {"N", "NNE", "NE", "ENE", "E", "ESE", "SE", "SSE",
                                 "S", "SSW", "SW", "WSW", "W", "WNW", "NW", "NNW"};
    plot::PolarSeries wind{"Wind", QColor(0x90, 0xEE, 0x90), {}};
    for (int i = 0; i < 16; ++i)
        wind.spokes.push_back({i * 22.5, i == 10 ? 84.0 : (i * 37 % 11) * 4.0, names[i]});
    chart.polar = wind;
    return chart;
}

plot::Chart rainBars()
{
    plot::Chart chart;
    chart.title = "Rainfall for March 2026.    Total is 61.2mm";
    chart.x = {plot::AxisKind::Category, 0.5, 31.5, {}};
    chart.y = {plot::AxisKind::Value, 0, 20, "mm"};
    plot::BarSeries rain{"Rainfall for March 2026", Qt::blue, 0.7, {}};
    for (int day = 1; day <= 31; ++day) {
        const double value = (day * 7 % 13) > 8 ? (day * 7 % 13) * 1.5 : 0;
        rain.bars.push_back({double(day), value, value > 0 ? QColor(Qt::blue) : QColor(Qt::white),
                             QString::asprintf("%02d", day)});
    }
    chart.bars.push_back(rain);
    chart.legend = plot::LegendPlace::None;  // the title says it
    return chart;
}

// Compares with the reference picture within the tolerance, or writes it
// when NIMBREL_UPDATE_GOLDEN=1. A copy of a failing picture is left in
// ./screens for a look.
void expectLikeGolden(const QImage& drawn, const QString& name)
{
    const QString path = goldenPath("charts/" + name + ".png");
    const QImage actual = drawn.convertToFormat(QImage::Format_RGB32);
    if (qEnvironmentVariableIntValue("NIMBREL_UPDATE_GOLDEN") == 1) {
        QDir().mkpath(QFileInfo(path).path());
        EXPECT_TRUE(actual.save(path)) << path.toStdString();
        return;
    }
    const QImage golden = QImage(path).convertToFormat(QImage::Format_RGB32);
    ASSERT_FALSE(golden.isNull()) << path.toStdString() << " is missing; write it with NIMBREL_UPDATE_GOLDEN=1";
    ASSERT_EQ(actual.size(), golden.size()) << name.toStdString();
    qint64 different = 0;
    for (int y = 0; y < actual.height(); ++y) {
        const auto* a = reinterpret_cast<const QRgb*>(actual.constScanLine(y));
        const auto* g = reinterpret_cast<const QRgb*>(golden.constScanLine(y));
        for (int x = 0; x < actual.width(); ++x) {
            const int worst = std::max({std::abs(qRed(a[x]) - qRed(g[x])), std::abs(qGreen(a[x]) - qGreen(g[x])),
                                        std::abs(qBlue(a[x]) - qBlue(g[x]))});
            different += worst > kChannelTolerance;
        }
    }
    const double share = double(different) / double(actual.width() * actual.height());
    if (share > kDifferentShare) {
        QDir().mkpath("screens");
        actual.save("screens/" + name + "-actual.png");
        ADD_FAILURE() << name.toStdString() << ": " << different << " pixels differ from " << path.toStdString()
                      << " (see screens/" << name.toStdString()
                      << "-actual.png; after a deliberate change rewrite the references with NIMBREL_UPDATE_GOLDEN=1)";
    }
}

}  // namespace

TEST(ChartPictures, HistoryGraphsLookAsReviewed)
{
    expectLikeGolden(render(graph(1, 1), kDark), "one-trace-day");

    GraphData year = graph(365, 4);
    year.options.showLegend = true;
    expectLikeGolden(render(year, kDark), "four-traces-year");

    GraphData overlaid = singleDayGraph(3, 2);
    overlaid.traces[1].trace.offset = -1;
    expectLikeGolden(render(overlaid, kDark), "single-day");

    GraphData marked = graph(2, 1);
    marked.options.showStability = true;
    for (int i = 1; i < 8; ++i) {
        const std::size_t at = std::size_t(i) * 36;
        marked.traces[0].marks.push_back({marked.traces[0].x[at], marked.traces[0].y[at], i % 3});
    }
    expectLikeGolden(render(marked, kLight), "stability-marks");

    GraphData empty;
    empty.range = {kLastDay.addDays(-2), kLastDay};
    std::tie(empty.xMinimum, empty.xMaximum) = GraphData::xRangeOf(empty.range, false);
    expectLikeGolden(render(empty, kDark, {613, 467}), "empty-range");
}

TEST(ChartPictures, SummaryChartsLookAsReviewed)
{
    expectLikeGolden(plot::draw(compass(), {480, 420}), "wind-compass");
    expectLikeGolden(plot::draw(rainBars(), {613, 467}), "rain-bars");
}

// The web picture: an opaque GIF at 613 x 467 in the export colours, its
// background, text and (legible) trace colours exact.
TEST(ChartPictures, TheExportPictureIsAnExactOpaqueGif)
{
    TempFolder folder;
    HistoryChartRenderer renderer;
    GraphData data = singleDayGraph(3, 4);
    data.options.showLegend = true;
    data.traces[1].trace.offset = -1;
    const GraphPictureRequest request = PictureExport::request(data, kLight);
    EXPECT_EQ(request.titles.first(), "10.03.2026  Home:Temperature Out");
    EXPECT_EQ(request.titles.at(1), "09.03.2026  Home:Dewpoint");

    QString error;
    ASSERT_TRUE(PictureExport::exportPicture(data, 3, folder.path(), kLight, renderer, error)) << error.toStdString();
    const QString file = folder.file("wgraph3.gif");
    EXPECT_EQ(PictureExport::fileName(folder.path(), 3), file);
    EXPECT_TRUE(QFile::permissions(file) & QFile::ReadOther);  // for the web server
    const QImage gif(file);
    ASSERT_EQ(gif.size(), QSize(613, 467));
    EXPECT_FALSE(gif.hasAlphaChannel());
    EXPECT_EQ(gif.pixel(1, 1), qRgb(0xFF, 0xFF, 0xFF));  // the export background, exact
    expectLikeGolden(gif, "export-picture");

    // Every trace colour, as drawn, is in the picture exactly.
    for (const TraceSeries& s : data.traces) {
        const QRgb drawn = plot::legible(StoredColour::toColour(s.trace.colour), Qt::white).rgb();
        bool found = false;
        for (int y = 0; y < gif.height() && !found; ++y) {
            for (int x = 0; x < gif.width() && !found; ++x)
                found = gif.pixel(x, y) == drawn;
        }
        EXPECT_TRUE(found) << QColor(drawn).name().toStdString();
    }

    EXPECT_FALSE(PictureExport::exportPicture(data, 0, QString(), kLight, renderer, error));  // no folder: nothing
    EXPECT_FALSE(PictureExport::exportPicture(data, 0, folder.file("no such folder"), kLight, renderer, error));
    EXPECT_FALSE(QFile::exists(folder.file("no such folder/wgraph0.gif")));
}

TEST(ChartPictures, FewColoursAreKeptExactly)
{
    std::vector<quint32> pixels(20 * 10, 0xff201814);
    pixels[5] = 0xff00ffff;
    pixels[17] = 0xfffe0102;
    const QByteArray gif = GifFile::encode({20, 10, pixels.data()});
    QImage image;
    ASSERT_TRUE(image.loadFromData(gif, "GIF"));
    EXPECT_EQ(image.pixel(5, 0), qRgb(0, 255, 255));
    EXPECT_EQ(image.pixel(17, 0), qRgb(0xfe, 1, 2));
    EXPECT_EQ(image.pixel(0, 9), qRgb(0x20, 0x18, 0x14));
}

// The compressed image data reads back pixel for pixel through another
// decoder: a picture of long runs, and one of noise that fills the string
// table many times over (codes growing to 12 bits, the table started again),
// with the smallest and the largest code sizes.
TEST(ChartPictures, CompressedPixelsReadBackExactly)
{
    for (int colours : {2, 4, 256}) {
        constexpr int kWidth = 613, kHeight = 467;
        std::vector<quint32> pixels(std::size_t(kWidth) * kHeight);
        quint32 seed = 20261124;
        for (std::size_t i = 0; i < pixels.size(); ++i) {
            seed = seed * 1664525u + 1013904223u;
            // A third noise, a third long runs, a third a background with
            // specks, as a chart's picture has.
            const std::size_t third = i * 3 / pixels.size();
            const quint32 noise = (seed >> 16) % quint32(colours);
            const quint32 entry = third == 0   ? noise
                                  : third == 1 ? quint32(i / 997) % quint32(colours)
                                               : (noise % 29 == 0 ? noise : 0);
            // colours far enough apart to stay apart in the palette
            pixels[i] = 0xff000000u | (entry & 7) << 21 | (entry >> 3 & 7) << 13 | (entry >> 6 & 3) << 6;
        }
        const QByteArray gif = GifFile::encode({kWidth, kHeight, pixels.data()});
        QImage image;
        ASSERT_TRUE(image.loadFromData(gif, "GIF")) << colours;
        ASSERT_EQ(image.size(), QSize(kWidth, kHeight));
        int wrong = 0;
        for (int y = 0; y < kHeight; ++y) {
            for (int x = 0; x < kWidth; ++x)
                wrong += image.pixel(x, y) != pixels[std::size_t(y) * kWidth + std::size_t(x)];
        }
        EXPECT_EQ(wrong, 0) << colours << " colours";
    }
}

// More colours than a palette holds: the exact ones stay exact, every
// other pixel gets a colour close to its own.
TEST(ChartPictures, ManyColoursGetTheNearestPaletteColour)
{
    constexpr int kWidth = 64, kHeight = 64;
    std::vector<quint32> pixels(kWidth * kHeight);
    for (int i = 0; i < kWidth * kHeight; ++i)  // 4,096 colours spread over the colour cube
        pixels[std::size_t(i)] = 0xff000000u | quint32((i * 37) % 256) << 16 | quint32((i * 11) % 256) << 8 | quint32(i % 256);
    pixels[100] = 0xff123456;
    const QByteArray gif = GifFile::encode({kWidth, kHeight, pixels.data()}, {0x123456});
    QImage image;
    ASSERT_TRUE(image.loadFromData(gif, "GIF"));
    EXPECT_EQ(image.pixel(100 % kWidth, 100 / kWidth), qRgb(0x12, 0x34, 0x56));
    int worst = 0;
    for (int i = 0; i < kWidth * kHeight; ++i) {
        const QRgb original = pixels[std::size_t(i)], got = image.pixel(i % kWidth, i / kWidth);
        worst = std::max({worst, std::abs(qRed(original) - qRed(got)), std::abs(qGreen(original) - qGreen(got)),
                          std::abs(qBlue(original) - qBlue(got))});
    }
    EXPECT_LE(worst, 96) << "a colour far from every palette entry";
}

// Pale trace colours are darkened on a light background (yellow on white
// would not show); colours that show already are kept exactly.
TEST(ChartPictures, PaleColoursAreDrawnLegibly)
{
    const QColor onWhite = plot::legible(Qt::yellow, Qt::white);
    EXPECT_NE(onWhite, QColor(Qt::yellow));
    EXPECT_EQ(onWhite.hue(), QColor(Qt::yellow).hue()) << "the same hue, darker";
    EXPECT_LT(onWhite.value(), 200);
    EXPECT_EQ(plot::legible(Qt::cyan, QColor(0x14, 0x18, 0x20)), QColor(Qt::cyan));
    EXPECT_EQ(plot::legible(Qt::blue, Qt::white), QColor(Qt::blue));
    EXPECT_NE(plot::legible(Qt::black, Qt::black), QColor(Qt::black)) << "lighter on a dark background";
}

// Pictures drawn on four threads at once are the same as one drawn alone
// (a year of four traces: each drawing works out its envelopes on a thread
// of its own too).
TEST(ChartPictures, FourThreadsDrawAtOnce)
{
    GraphData year = graph(365, 4);
    year.options.showLegend = true;
    const QImage alone = render(year, kDark);
    const plot::Chart wind = compass();
    const QImage compassAlone = plot::draw(wind, {300, 300});
    std::vector<std::future<bool>> drawers;
    for (int thread = 0; thread < 4; ++thread) {
        drawers.push_back(std::async(std::launch::async, [&] {
            bool same = true;
            for (int i = 0; i < 5; ++i) {
                same = same && render(year, kDark) == alone;
                same = same && plot::draw(wind, {300, 300}) == compassAlone;
            }
            return same;
        }));
    }
    for (std::future<bool>& drawer : drawers)
        EXPECT_TRUE(drawer.get());
}
