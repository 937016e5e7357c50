#pragma once

#include <QString>
#include <QTextStream>

// The graph part of "nimbrel bench db", on the bench's ten-year database:
// a one-year trace made ready to show, a four-trace graph of a year and of
// a week drawn and written as a GIF (each the median of several runs in this
// warm process), and the whole export-graph command run as a new process.
// Prints one line per figure; returns 0, or 1 when a step fails.
int runGraphBench(const QString& databasePath, QTextStream& out, QTextStream& errors);
