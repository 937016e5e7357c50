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
    const auto columnOf = [&](double value) { return std::floor((value - xMinimum) * perColumn); };
    points.reserve(std::size_t(columns) * 2);
    std::size_t start = 0;
    while (start < n) {
        // One pixel column: [start, end).
        const double column = columnOf(x[start]);
        std::size_t end = start + 1;
        std::size_t low = start, high = start;
        while (end < n && columnOf(x[end]) == column) {
            if (y[end] < y[low])
                low = end;
            if (y[end] > y[high])
                high = end;
            ++end;
        }
        points.emplace_back(x[std::min(low, high)], y[std::min(low, high)]);
        if (low != high)
            points.emplace_back(x[std::max(low, high)], y[std::max(low, high)]);
        start = end;
    }
    return points;
}
