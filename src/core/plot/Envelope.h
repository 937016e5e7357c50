#pragma once

#include <QPointF>

#include <vector>

// The points of a series that a line `columns` pixels wide needs: within
// each pixel column its lowest and highest point, in series order. Drawn,
// they give the picture every point would (the line within a column spans
// exactly from its lowest to its highest value; between two columns it
// joins points of both); a year of ten-minute readings on a 600-pixel graph
// needs about 1,200 of its 52,560. A series with no more than two points per
// column comes back whole. `x` must not decrease; `x` and `y` have the same
// length.
std::vector<QPointF> envelope(const std::vector<double>& x, const std::vector<double>& y, double xMinimum,
                              double xMaximum, int columns);
