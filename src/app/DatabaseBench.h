#pragma once

#include <QString>
#include <QTextStream>

// "nimbrel bench db": builds a ten-year database of one source in a
// temporary folder and measures what the program does with it every day:
// logging one reading (open, duplicate test, insert, close) and reading one
// quantity over a day, a month and a year; then the graphs (GraphBench.h).
// Prints one line per figure.
// With `keepIn` given, the database is built in that folder and kept.
// Returns 0, or 1 when a step fails (the reason on `errors`).
int runDatabaseBench(QTextStream& out, QTextStream& errors, const QString& keepIn = {});

// Builds the bench's ten-year database at `path`: one source, "Bench
// Station" (number 0), a reading every ten minutes from 1 January 2016
// (525,600 readings). False after a line on `errors`.
bool buildTenYearDatabase(const QString& path, QTextStream& out, QTextStream& errors);
