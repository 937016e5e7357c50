#include "core/db/HistoryRange.h"

#include "core/db/ColumnValues.h"
#include "core/db/DatabaseSession.h"

QDateTime HistorySample::time() const
{
    return ColumnValues::fromDateTime(stamp);
}

// Walks the History (SourceID, DateRead) index from `from` to `to`.
mdb::Result<std::vector<HistorySample>> readHistoryRange(const QString& databasePath, qint32 sourceID,
                                                         const QDateTime& from, const QDateTime& to,
                                                         const QString& column, const Environment& environment)
{
    auto session = DatabaseSession::open(databasePath, DatabaseSession::Access::Read, environment);
    if (!session)
        return session.error();
    auto table = (*session)->table("History", {"SourceID", "DateRead", column});
    if (!table)
        return table.error();
    const auto timeAt = std::size_t(table->position("DateRead"));
    const auto valueAt = std::size_t(table->position(column));
    std::vector<HistorySample> samples;
    auto collect = [&](const mdb::Row& row) {
        // A row without a time has no place on a time axis.
        if (const auto* stamp = std::get_if<mdb::DateTime>(&row.values[timeAt]))
            samples.push_back({*stamp, ColumnValues::asNumber(row.values[valueAt])});
        return true;
    };
    mdb::Status read =
        (*session)->rowsBetween(*table, {{"SourceID", sourceID}}, {"DateRead", from}, to, collect, {column});
    if (!read)
        return read.error();
    return samples;
}
