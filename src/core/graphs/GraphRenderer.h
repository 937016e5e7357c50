#pragma once

#include "core/graphs/GraphData.h"

#include <QRectF>
#include <QSize>
#include <QStringList>

#include <vector>

// The two colours of a graph's scheme, in the stored form (red in the low byte).
struct GraphColours {
    qint32 text = 0;
    qint32 background = 0xFFFFFF;
};

// How a picture of the graph is to be drawn.
struct GraphPictureRequest {
    QSize size{613, 467};   // in logical pixels
    qreal scale = 1;        // pixels per logical pixel (a screen's device pixel ratio)
    GraphColours colours;
    bool legendBelow = false;  // the legend under the plot rather than on its right
    QStringList titles;        // the series' titles to show instead of their own (none: their own)
};

// A drawn picture of the graph: opaque pixels, row by row, each 0xffRRGGBB,
// with where the plot lies in it (logical pixels) for pointing at points.
struct GraphPicture {
    int width = 0;
    int height = 0;
    qreal scale = 1;
    std::vector<quint32> pixels;
    QRectF plotArea;

    bool isNull() const { return pixels.empty(); }
};

// Draws a picture of the graph. The program's renderer uses the charting
// library; it may be called on the worker thread, one picture at a time.
class GraphRenderer {
public:
    virtual ~GraphRenderer() = default;
    virtual GraphPicture render(const GraphData& data, const GraphPictureRequest& request) = 0;
};
