#pragma once

#include "core/db/DatabaseSession.h"
#include "core/errors/Environment.h"

#include <vector>

class SettingsModel;
class WeatherSource;
class WeatherReading;

// Writes a source's current reading as one row of History in the primary
// database, unless that source already has a row for the same minute.
// The database file is opened for each reading and closed again.
class ReadingLogger {
public:
    ReadingLogger(const SettingsModel& settings, const Environment& environment)
        : settings_(settings), environment_(environment)
    {
    }

    // True when a new row was written. False when no primary database is
    // set (nothing else happens), when the row already existed, and after a
    // failure, which is reported as "Database Write Error: " through
    // report. The reading itself is never changed.
    bool logReading(const WeatherSource& source);

    // The History row of a reading, stamped with its minute (the zero date
    // for a reading that never had a time).
    static std::vector<ColumnValue> historyRow(const WeatherReading& reading, qint32 sourceID);

private:
    const SettingsModel& settings_;
    const Environment& environment_;
};
