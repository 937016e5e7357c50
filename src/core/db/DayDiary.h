#pragma once

#include "core/errors/Environment.h"
#include "mdb/Result.h"

#include <QDate>
#include <QString>

// One day's diary entry: a commentary and four event flags.
struct DiaryEntry {
    QString details;
    bool rain = false;
    bool storm = false;
    bool hail = false;
    bool frost = false;

    // No text and no flag: saving it removes the day's entry.
    bool isEmpty() const { return details.isEmpty() && !rain && !storm && !hail && !frost; }
    bool operator==(const DiaryEntry&) const = default;
};

// The DayDiary table of a database: one entry per day (DiaryDate at
// midnight). Each operation opens the file and closes it again.
namespace DayDiary {

// The day's entry, empty when the day has none (with several rows, the
// last one read). An empty path gives an empty entry.
mdb::Result<DiaryEntry> load(const QString& databasePath, const QDate& day, const Environment& environment);

// Replaces the day's rows with the entry, in one change: the day's rows are
// deleted and, unless the entry is empty, one row is added (flags stored as
// yes/no, an empty commentary as null). A failure leaves the day as it was,
// is reported as "Database Error: " and gives false; an empty path gives
// false and does nothing.
bool save(const QString& databasePath, const QDate& day, const DiaryEntry& entry, const Environment& environment);

}  // namespace DayDiary
