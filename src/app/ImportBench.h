#pragma once

#include <QString>
#include <QTextStream>

// "nimbrel bench import [HISTORY]": times importing the station program's
// history. With HISTORY (a real history.dat) given: every record into an
// empty database, then the same again (all of them already there). Then a
// generated ten-year history (5.26 million one-minute records) into an
// empty database at one row per ten-minute cycle: records read per second,
// and the memory in use after a tenth and at the end (it stays flat).
// Works in a temporary folder. Returns 0, or 1 when a step fails.
int runImportBench(QTextStream& out, QTextStream& errors, const QString& history = {});
