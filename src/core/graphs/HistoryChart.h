#pragma once

#include "core/graphs/GraphRenderer.h"
#include "core/plot/Chart.h"

// The history graph as a chart of the plotting layer: a line per trace in
// its colour, the value axis titled with the traces' units, the traces'
// Max/Min annotations (with the day when the graph shows more than one),
// stability marks, and the readings' labels on graphs of up to two days.
plot::Chart historyChart(const GraphData& data, const GraphPictureRequest& request);

// Draws the history graph through the plotting layer. Keeps no state: any
// number of threads may draw with it at once.
class HistoryChartRenderer final : public GraphRenderer {
public:
    GraphPicture render(const GraphData& data, const GraphPictureRequest& request) override;
};
