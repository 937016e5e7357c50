#pragma once

#include "core/errors/Environment.h"

#include <QByteArray>
#include <QDateTime>

class SettingsModel;
class WeatherSource;

// Writes a source's current reading into a copy of the user's template file
// (typically an RSS feed for a web site): each template line with the
// tokens ~SourceName~, ~NOW~, ~ReadTime~, ~TempOut~, ~windChill~,
// ~dewpoint~, ~humidityOut~, ~Windspeed~, ~windDirection~, ~rain24h~ and
// ~barometer~ replaced, in that order, and CR LF after every line. Bytes
// other than the tokens pass through unchanged.
class RssExporter {
public:
    RssExporter(const SettingsModel& settings, const Environment& environment)
        : settings_(settings), environment_(environment)
    {
    }

    // Exports one source to its exportFileName with the template named by
    // the rssFile setting. False without touching anything when the source
    // has no export file; false after a failure, reported as
    // "RSS Data Export Error: " through report. The output is written to a
    // temporary file that then replaces the old one: a reader sees the old
    // file or the new one whole, and after a failure the old one stays.
    bool exportRSS(const WeatherSource& source);

    // The output for a template's bytes, the source's reading and the time
    // of the export.
    static QByteArray fillTemplate(const QByteArray& templateBytes, const WeatherSource& source, const QDateTime& now);

private:
    const SettingsModel& settings_;
    const Environment& environment_;
};
