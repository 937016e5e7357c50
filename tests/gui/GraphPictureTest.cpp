#include "ui/ChartRenderer.h"

#include "core/export/GifFile.h"
#include "core/export/PictureExport.h"
#include "core/graphs/DataTypes.h"
#include "support/TestSupport.h"
#include "GuiTestRegistry.h"

#include <QDir>
#include <QtTest>

#include <cmath>

// Pictures of the history graph: what the renderer draws, and the GIF
// files the picture export writes.
class GraphPictureTest : public QObject {
    Q_OBJECT

    const QDate kLastDay{2026, 3, 10};
    const GraphColours kDark{0xE6E6E6, 0x201814};

    // A temperature-like series every ten minutes over `days` days.
    static TraceSeries series(const QString& source, int dataType, qint32 colour, const GraphRange& range,
                              double base)
    {
        TraceSeries s;
        s.trace.sourceName = source;
        s.trace.dataType = dataType;
        s.trace.colour = colour;
        const double first = storedDays(range.first);
        const int readings = int(range.first.daysTo(range.last) + 1) * 144;
        for (int i = 0; i < readings; ++i) {
            const double stamp = first + i / 144.0;
            s.x.push_back(stamp);
            s.y.push_back(base + 6 * std::sin((i % 144) / 144.0 * 2 * M_PI - 2) + (i / 144) % 5);
            s.stamps.push_back(stamp);
            s.minutes.push_back(qint16((i % 144) * 10));
        }
        return s;
    }

    GraphData graph(int days, int traces = 2)
    {
        GraphData data;
        data.range = {kLastDay.addDays(1 - days), kLastDay};
        std::tie(data.xMinimum, data.xMaximum) = GraphData::xRangeOf(data.range, false);
        const int types[] = {1, 6, 3, 7};
        for (int i = 0; i < traces; ++i)
            data.traces.push_back(series("Home", types[i], *defaultTraceColour(i + 1), data.range, 10 - 4 * i));
        data.yMinimum = -5;
        data.yMaximum = 45;
        return data;
    }

    static void save(const QImage& image, const QString& name)
    {
        QDir().mkpath("screens");
        image.save("screens/" + name);
    }

private slots:
    void aDayAndAYearAreDrawnWithAxesAndLegend()
    {
        GraphPictureRequest request;
        request.size = QSize(800, 450);
        request.colours = kDark;
        QRectF plot;
        const QImage day = ChartRenderer::image(graph(1), request, &plot);
        QCOMPARE(day.size(), QSize(800, 450));
        QVERIFY(plot.width() > 500 && plot.height() > 300);
        save(day, "graph-day.png");
        // The trace's own colour is on the picture, exactly.
        QVERIFY(day.pixelColor(day.rect().center()).isValid());
        bool cyan = false;
        for (int x = int(plot.left()); x < int(plot.right()) && !cyan; ++x) {
            for (int y = int(plot.top()); y < int(plot.bottom()) && !cyan; ++y)
                cyan = day.pixel(x, y) == qRgb(0, 255, 255);
        }
        QVERIFY(cyan);

        GraphData year = graph(365, 4);
        year.options.showLegend = true;
        save(ChartRenderer::image(year, request), "graph-year.png");
    }

    void thePictureFileIsAnExactOpaqueGif()
    {
        TempFolder folder;
        ChartRenderer renderer;
        GraphData data = graph(3, 4);
        data.options.singleDay = true;
        std::tie(data.xMinimum, data.xMaximum) = GraphData::xRangeOf(data.range, true);
        for (TraceSeries& s : data.traces) {
            for (std::size_t i = 0; i < s.x.size(); ++i)
                s.x[i] = (s.stamps[i] - storedDays(data.range.first)) * 24;
        }
        data.traces[1].trace.offset = -1;
        const GraphPictureRequest request = PictureExport::request(data, kDark);
        QCOMPARE(request.titles.first(), QString("10.03.2026  Home:Temperature Out"));
        QCOMPARE(request.titles.at(1), QString("09.03.2026  Home:Dewpoint"));

        QString error;
        QVERIFY2(PictureExport::exportPicture(data, 3, folder.path(), kDark, renderer, error), qPrintable(error));
        const QString file = folder.file("wgraph3.gif");
        QCOMPARE(PictureExport::fileName(folder.path(), 3), file);
        QVERIFY(QFile::permissions(file) & QFile::ReadOther);  // for the web server
        QImage gif(file);
        QCOMPARE(gif.size(), QSize(613, 467));
        QVERIFY(!gif.hasAlphaChannel());
        QCOMPARE(gif.pixel(1, 1), qRgb(0x14, 0x18, 0x20));  // the export background, exact
        save(gif.convertToFormat(QImage::Format_RGB32), "wgraph3.png");

        QVERIFY(!PictureExport::exportPicture(data, 0, QString(), kDark, renderer, error));  // no folder: nothing
        QVERIFY(!PictureExport::exportPicture(data, 0, folder.file("no such folder"), kDark, renderer, error));
        QVERIFY(!QFile::exists(folder.file("no such folder/wgraph0.gif")));
    }

    void fewColoursAreKeptExactly()
    {
        std::vector<quint32> pixels(20 * 10, 0xff201814);
        pixels[5] = 0xff00ffff;
        pixels[17] = 0xfffe0102;
        const QByteArray gif = GifFile::encode({20, 10, pixels.data()});
        QImage image;
        QVERIFY(image.loadFromData(gif, "GIF"));
        QCOMPARE(image.pixel(5, 0), qRgb(0, 255, 255));
        QCOMPARE(image.pixel(17, 0), qRgb(0xfe, 1, 2));
        QCOMPARE(image.pixel(0, 9), qRgb(0x20, 0x18, 0x14));
    }
};

NIMBREL_GUI_TEST(GraphPictureTest)
#include "GraphPictureTest.moc"
