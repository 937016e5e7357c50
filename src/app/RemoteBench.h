#pragma once

#include <QString>
#include <QTextStream>

// "nimbrel bench remote [TEN-YEARS.mdb]": times remote collection over
// 127.0.0.1 from the ten-year database of "nimbrel bench db" (built in a
// temporary folder when none is given): `nimbrel serve` runs as a process
// of its own, and this one downloads the last year, then all ten years,
// each into an empty database, from the request until every reading is
// stored. Prints the times and the most memory the server and this client
// used. Returns 0, or 1 when a step fails.
int runRemoteBench(QTextStream& out, QTextStream& errors, const QString& tenYears = {});
