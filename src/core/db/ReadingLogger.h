#pragma once

#include "core/db/DatabaseSession.h"
#include "core/errors/Environment.h"

#include <vector>

class WeatherReading;

// Writes a source's reading as one row of History, unless that source
// already has a row for the same minute. The database file is opened for
// each reading and closed again.
class ReadingLogger {
public:
    enum class Outcome { Written, AlreadyLogged, NoDatabase, Failed };

    explicit ReadingLogger(const Environment& environment) : environment_(environment) {}

    // Writes the reading into `databasePath` for `sourceID` unless that
    // source has a row for its minute. Nothing happens for an empty path. A
    // failure is reported as "Database Write Error: " through the error
    // routine. The reading is never changed.
    Outcome log(const QString& databasePath, qint32 sourceID, const WeatherReading& reading);
    // True when a new row was written (log() gave Written).
    bool logReading(const QString& databasePath, qint32 sourceID, const WeatherReading& reading)
    {
        return log(databasePath, sourceID, reading) == Outcome::Written;
    }

    // The History row of a reading, stamped with its minute (the zero date
    // for a reading that never had a time).
    static std::vector<ColumnValue> historyRow(const WeatherReading& reading, qint32 sourceID);

private:
    const Environment& environment_;
};
