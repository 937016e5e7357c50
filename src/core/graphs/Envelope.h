#pragma once

#include <QPointF>

#include <vector>

// The points of a series that a line `columns` pixels wide needs: within
// each pixel column its first, lowest, highest and last point, in series
// order. Drawn, they give the same picture as every point would; a year of
// ten-minute readings on a 600-pixel graph needs about 2,400 of its 52,560.
// A series with few points per column comes back whole. `x` must not
// decrease; `x` and `y` have the same length.
std::vector<QPointF> envelope(const std::vector<double>& x, const std::vector<double>& y, double xMinimum,
                              double xMaximum, int columns);
