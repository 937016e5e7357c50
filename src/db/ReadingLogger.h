#pragma once

#include "shared/Environment.h"

class SettingsModel;
class clsSource;

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
    // ReportError. The reading itself is never changed.
    bool LogReading(const clsSource& source);

private:
    const SettingsModel& settings_;
    const Environment& environment_;
};
