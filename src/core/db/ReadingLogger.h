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
    explicit ReadingLogger(const Environment& environment) : environment_(environment) {}

    // True when a new row was written into `databasePath` for `sourceID`.
    // False when the path is empty (nothing else happens), when the row
    // already existed, and after a failure, which is reported as "Database
    // Write Error: " through the error routine. The reading is never changed.
    bool logReading(const QString& databasePath, qint32 sourceID, const WeatherReading& reading);

    // The History row of a reading, stamped with its minute (the zero date
    // for a reading that never had a time).
    static std::vector<ColumnValue> historyRow(const WeatherReading& reading, qint32 sourceID);

private:
    const Environment& environment_;
};
