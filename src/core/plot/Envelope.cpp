#include "core/plot/Envelope.h"

#include <algorithm>
#include <cmath>

std::vector<QPointF> envelope(const std::vector<double>& x, const std::vector<double>& y, double xMinimum,
                              double xMaximum, int columns)
{
    const std::size_t n = std::min(x.size(), y.size());
    std::vector<QPointF> points;
    if (columns < 1 || xMaximum <= xMinimum || n <= std::size_t(columns) * 2) {
        points.reserve(n);
        for (std::size_t i = 0; i < n; ++i)
            points.emplace_back(x[i], y[i]);
        return points;
    }
    const double perColumn = double(columns) / (xMaximum - xMinimum);
    const auto place = [&](double value) { return (value - xMinimum) * perColumn; };
    points.reserve(std::size_t(columns) * 2);
    std::size_t start = 0;
    while (start < n) {
        // One pixel column: [start, end), the points whose place has this
        // floor (compared with its bounds: a floor per point costs a call).
        const double column = std::floor(place(x[start]));
        const auto inColumn = [&](double value) {
            const double at = place(value);
            return at >= column && at < column + 1;
        };
        std::size_t end = start + 1;
        std::size_t low = start, high = start;
        double lowest = y[start], highest = y[start];
        while (end < n && inColumn(x[end])) {
            const double value = y[end];
            if (value < lowest) {
                lowest = value;
                low = end;
            }
            if (value > highest) {
                highest = value;
                high = end;
            }
            ++end;
        }
        points.emplace_back(x[std::min(low, high)], y[std::min(low, high)]);
        if (low != high)
            points.emplace_back(x[std::max(low, high)], y[std::max(low, high)]);
        start = end;
    }
    return points;
}
