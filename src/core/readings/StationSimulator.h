#pragma once

#include "core/readings/WeatherReading.h"

#include <QByteArray>
#include <QDateTime>
#include <QString>

// A made-up weather station, for the demo and for tests: the weather at any
// moment, and the current-data file a station program would write for it.
//
// The weather is computed from the time alone, so the same moment always
// gives the same reading: temperatures follow the seasons and the hours of
// the day, pressure drifts over days, the wind shifts, and showers come and
// go. Values carry the station's precision (one decimal, whole percent).
namespace StationSimulator {

// The reading at `time` (local), with readDate set to it (to the second).
WeatherReading weatherAt(const QDateTime& time);

// The current-data file of a reading, in the blank-separated layout
// (`deg_C = "21.5"`), with CR LF line ends.
QByteArray currentDataFile(const WeatherReading& reading);

// Writes the file for `time` as a station program does, whole: the new
// content goes to a temporary file that then replaces the old one, so a
// reader never sees half a file. Returns false and says why in `error`.
bool writeCurrentDataFile(const QString& path, const QDateTime& time, QString& error);

}  // namespace StationSimulator
