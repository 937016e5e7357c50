#pragma once

#include <QStringList>
#include <QTextStream>

// The summary command: a source's daily extremes, a day of wind, a month of
// rain days, or a month's or year's climate summary, printed as a table (or
// CSV) and, on request, drawn into a 613 x 467 GIF in the export colours.
namespace SummaryCommand {

// summary maxmin|wind|rain|month|year DATABASE SOURCE ... (see --help).
// 0 when done, 1 when the database or source cannot be read, 2 for a usage error.
int run(const QStringList& arguments, QTextStream& out, QTextStream& errors);

}  // namespace SummaryCommand
