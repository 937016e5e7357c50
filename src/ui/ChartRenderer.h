#pragma once

#include "core/graphs/GraphRenderer.h"

#include <QImage>

// Draws the history graph with the charting library: the lines of the
// traces as chart series, and around them the axes, grid, legend, the
// traces' Max/Min annotations, stability marks and the point labels that
// fit. Long series are cut to what the pixels can show (an envelope per
// pixel column), so a year of readings draws as fast as a day.
//
// Safe to use on any one thread at a time (it draws into images only).
class ChartRenderer final : public GraphRenderer {
public:
    GraphPicture render(const GraphData& data, const GraphPictureRequest& request) override;

    // The same drawing as an image, for printing and for tests.
    static QImage image(const GraphData& data, const GraphPictureRequest& request, QRectF* plotArea = nullptr);
};

// The image of a drawn picture (shares nothing with it).
QImage imageOf(const GraphPicture& picture);
