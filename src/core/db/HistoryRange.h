#pragma once

#include "mdb/Result.h"
#include "mdb/Value.h"
#include "core/errors/Environment.h"

#include <QDateTime>
#include <QString>
#include <optional>
#include <vector>

// One logged value of one quantity: the reading's time and the value,
// absent where the row holds null. The time is kept in the stored form
// (local wall-clock days since 30 Dec 1899), which orders and spaces samples
// without the cost of a time-zone lookup per sample.
struct HistorySample {
    mdb::DateTime stamp;
    std::optional<double> value;

    QDateTime time() const;
};

// The values of one History column for one source over a time range,
// `from` and `to` included, in time order. Opens the database for reading
// and closes it before returning. Failures come back as the Error; nothing
// is reported here.
mdb::Result<std::vector<HistorySample>> readHistoryRange(const QString& databasePath, qint32 sourceID,
                                                         const QDateTime& from, const QDateTime& to,
                                                         const QString& column, const Environment& environment);
