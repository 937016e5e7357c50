#pragma once

#include "core/readings/ReadOutcome.h"

#include <QDateTime>

class LineReader;
class WeatherReading;

// Reads a weather feed page saved as text into `reading`.
//
// Values follow labels such as "Temperature:" at fixed offsets from the
// label; the day comes from "<pubDate>" and the time of day from the title
// "Current weather for ... 3:00 pm WST</title>". A feed clock an hour ahead of
// `now` (a daylight-saving change) is taken back an hour; a time more than an
// hour ahead belongs to the day before the feed's date. Wind speeds given in
// km/h are converted to knots.
//
// The result is true only when a title line gave a valid time; a feed without
// one returns false even if values were set.
ReadOutcome readFeed(LineReader& lines, WeatherReading& reading, const QDateTime& now);
