#pragma once

#include "core/plot/Chart.h"

#include <QImage>
#include <QPointF>
#include <QRectF>

#include <vector>

class QPainter;

namespace plot {

// Where a chart was drawn, in logical pixels of the picture: the plot
// rectangle and the axes' ranges as drawn (for pointing at values), and the
// box of every text drawn around the plot (tick labels, titles, legend).
struct Placement {
    QRectF plotArea;
    double xMinimum = 0;
    double xMaximum = 1;
    double yMinimum = 0;
    double yMaximum = 1;
    std::vector<QRectF> labelBoxes;
};

// Draws `chart` into `area` (logical pixels of the painter) and says where.
// Uses only the painter it is given: any number of threads may draw at
// once, each with its own painter.
Placement paint(QPainter& painter, const Chart& chart, const QRectF& area);

// A new opaque picture of `chart`: `size` logical pixels, `scale` device
// pixels to each (a screen's device pixel ratio). An empty size gives a
// null image.
QImage draw(const Chart& chart, const QSize& size, qreal scale = 1, Placement* placement = nullptr);

// `colour`, or, where it would hardly show on `background` (yellow on
// white), the nearest shade of it that does: darker on a light background,
// lighter on a dark one.
QColor legible(const QColor& colour, const QColor& background);

}  // namespace plot
