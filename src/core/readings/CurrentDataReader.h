#pragma once

#include "core/readings/ReadOutcome.h"

class LineReader;
class WeatherReading;

// Reads a station current-data file (currdat.lst) into `reading`.
//
// The file is a list of sections, each a bracketed header line such as
// "[outdoor_temperature]" followed by value lines. Two layouts exist:
//  - blank-separated, `deg_C = "21.5"`: each known header is followed by a
//    fixed number of lines; the last of them holds the value at a fixed
//    column (see the table in the .cpp file);
//  - compact, `deg_C="21.5"` (the station program's professional edition):
//    the value is found by its key inside the section, and the time is
//    `last_actualisation="N"`, N seconds since 1900-01-01 00:00 UTC.
// Each section is read in the layout its first value line shows.
//
// Fields are only ever set, never cleared. The result is true as soon as any
// line was read. The file ending inside a header's lines (the station program
// was rewriting it) is a failure, as is an unreadable file.
ReadOutcome readCurrentData(LineReader& lines, WeatherReading& reading);
