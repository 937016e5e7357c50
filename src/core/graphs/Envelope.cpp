#include "core/graphs/Envelope.h"

#include <algorithm>
#include <cmath>

std::vector<QPointF> envelope(const std::vector<double>& x, const std::vector<double>& y, double xMinimum,
                              double xMaximum, int columns)
{
    const std::size_t n = std::min(x.size(), y.size());
    std::vector<QPointF> points;
    if (columns < 1 || xMaximum <= xMinimum || n <= std::size_t(columns) * 4) {
        points.reserve(n);
        for (std::size_t i = 0; i < n; ++i)
            points.emplace_back(x[i], y[i]);
        return points;
    }
    const double perColumn = double(columns) / (xMaximum - xMinimum);
    const auto columnOf = [&](double value) { return std::floor((value - xMinimum) * perColumn); };
    points.reserve(std::size_t(columns) * 4);
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
        std::size_t kept[] = {start, low, high, end - 1};
        std::sort(std::begin(kept), std::end(kept));
        const std::size_t* last = std::unique(std::begin(kept), std::end(kept));
        for (const std::size_t* i = kept; i != last; ++i)
            points.emplace_back(x[*i], y[*i]);
        start = end;
    }
    return points;
}
