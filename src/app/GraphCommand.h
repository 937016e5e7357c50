#pragma once

#include "core/errors/Environment.h"
#include "core/graphs/HistoryGraph.h"

#include <QStringList>
#include <QTextStream>

class GraphRenderer;
class SettingsModel;

// The export-graph command: a saved favourite drawn into a GIF picture
// without a window (for cron jobs and web pages), with the axis ranges and
// export colours of the user's preferences.
namespace GraphCommand {

// export-graph DATABASE FAVOURITE OUT.gif [--to yyyy-MM-dd] [--from yyyy-MM-dd] [--settings FILE]
// FAVOURITE is a favourite's name or its number. The end date is today
// unless given; the first day is the favourite's span before it unless given.
int run(const QStringList& arguments, QTextStream& out, QTextStream& errors);

// Draws `graph` as it is set and writes it to `path` as a 613 x 467 GIF in
// the export colours; false with `error` when it could not.
bool writePicture(HistoryGraph& graph, const SettingsModel& settings, GraphRenderer& renderer, const QString& path,
                  QString& error);

}  // namespace GraphCommand
