#pragma once

#include "core/graphs/GraphRenderer.h"

// The graph's pictures for a web site: wgraph<number>.gif in the picture
// folder of the preferences, drawn at 613 x 467 pixels with the legend
// under the plot and the export colours.
namespace PictureExport {

constexpr QSize kPictureSize{613, 467};

// "<folder>/wgraph<number>.gif".
QString fileName(const QString& folder, int number);

// How the picture is drawn. On a single-day graph each series is titled
// with its own day ("dd.MM.yyyy " and a blank, then "Source:Quantity"): the
// graph's end date moved by the trace's offset.
GraphPictureRequest request(const GraphData& data, const GraphColours& colours);

// Draws the graph as a picture and writes it to `path` as a GIF whose
// palette keeps the trace, text and background colours exact; false with
// `error` saying why when it could not.
bool writePicture(const GraphData& data, const QString& path, const GraphColours& colours, GraphRenderer& renderer,
                  QString& error);

// Draws and writes picture `number`. Does nothing when the folder is not
// set. A failure (a folder that does not exist, a full disk) is silent: it
// gives false with `error` saying why, for whoever wants to know.
bool exportPicture(const GraphData& data, int number, const QString& folder, const GraphColours& colours,
                   GraphRenderer& renderer, QString& error);

}  // namespace PictureExport
