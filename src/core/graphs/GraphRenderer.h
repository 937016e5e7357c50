#pragma once

#include "core/graphs/GraphData.h"

#include <QImage>
#include <QRectF>
#include <QSize>
#include <QStringList>

#include <optional>

// The two colours of a graph's scheme, in the stored form (red in the low byte).
struct GraphColours {
    qint32 text = 0;
    qint32 background = 0xFFFFFF;
};

// A part of the graph to show instead of the whole (a zoom): x in graph
// units, y in the values' units.
struct ViewRange {
    double xMinimum = 0;
    double xMaximum = 1;
    double yMinimum = 0;
    double yMaximum = 1;
    bool operator==(const ViewRange&) const = default;
};

// How a picture of the graph is to be drawn.
struct GraphPictureRequest {
    QSize size{613, 467};   // in logical pixels
    qreal scale = 1;        // pixels per logical pixel (a screen's device pixel ratio)
    GraphColours colours;
    bool legendBelow = false;  // the legend under the plot rather than on its right
    QStringList titles;        // the series' titles to show instead of their own (none: their own)
    std::optional<ViewRange> view;  // none: the whole graph
};

// A drawn picture of the graph: an opaque image (its device pixel ratio
// the request's scale), where the plot lies in it (logical pixels) and the
// part of the graph it shows, for pointing at points and zooming.
struct GraphPicture {
    QImage image;
    QRectF plotArea;
    ViewRange shown;

    bool isNull() const { return image.isNull(); }
};

// Draws a picture of the graph. The program's renderer draws through the
// plotting layer (HistoryChart.h); it may be called on any thread.
class GraphRenderer {
public:
    virtual ~GraphRenderer() = default;
    virtual GraphPicture render(const GraphData& data, const GraphPictureRequest& request) = 0;
};
