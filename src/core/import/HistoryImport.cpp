#include "core/import/HistoryImport.h"

#include "core/db/DatabaseSession.h"
#include "core/db/NimbrelSchema.h"
#include "core/import/MinuteSet.h"


namespace {

constexpr int kBatchesPerSession = 25;

QString messageOf(const mdb::Error& error)
{
    return QString::fromStdString(error.message);
}

}  // namespace

QString ImportCounts::text() const
{
    QString line = QString("%1 read, %2 stored, %3 already there, %4 bad").arg(read).arg(stored).arg(duplicates).arg(bad);
    if (thinned > 0)
        line += QString(", %1 between log cycles").arg(thinned);
    return line;
}

ImportOutcome HistoryImport::run(ImportReader& reader, const QString& database, qint32 sourceID,
                                 const Environment& environment, const Progress& progress)
{
    ImportOutcome outcome;
    const auto counted = [&outcome, &reader] {
        outcome.counts.read = reader.read();
        outcome.counts.bad = reader.bad();
        outcome.counts.thinned = reader.thinned();
    };
    auto session = DatabaseSession::open(database, DatabaseSession::Access::Write, environment);
    if (!session) {
        outcome.problem = messageOf(session.error());
        return outcome;
    }
    auto history = NimbrelSchema::table(**session, "History");
    if (!history) {
        outcome.problem = messageOf(history.error());
        return outcome;
    }

    // The minutes the source has: one walk of its rows instead of a search per row.
    MinuteSet logged;
    const int dateRead = history->position("DateRead");
    mdb::Status walked = (*session)->rowsBetween(
        *history, {{"SourceID", sourceID}}, {"DateRead", QDateTime(QDate(100, 1, 1), QTime(0, 0))},
        QDateTime(QDate(9999, 12, 31), QTime(23, 59)),
        [&](const mdb::Row& row) {
            if (const auto* stamp = std::get_if<mdb::DateTime>(&row.values[std::size_t(dateRead)]))
                logged.insert(StoredMinute::of(*stamp));
            return true;
        },
        {"DateRead"});
    if (!walked) {
        outcome.problem = messageOf(walked.error());
        return outcome;
    }

    int pending = 0;
    int batches = 0;
    const auto commit = [&]() -> bool {
        if (pending == 0)
            return true;
        if (mdb::Status committed = (*session)->commit(); !committed) {
            outcome.problem = messageOf(committed.error());
            outcome.counts.stored -= pending;  // that batch is not in the file
            return false;
        }
        pending = 0;
        // The writer keeps what each session changed until the session ends:
        // a new session now and then keeps a long import's memory flat.
        if (++batches % kBatchesPerSession == 0) {
            session->reset();  // closed before it is opened again
            session = DatabaseSession::open(database, DatabaseSession::Access::Write, environment);
            history = session ? NimbrelSchema::table(**session, "History") : mdb::Result<SessionTable>(session.error());
            if (!history) {
                outcome.problem = messageOf(history.error());
                return false;
            }
        }
        return true;
    };
    while (std::optional<ImportRow> row = reader.next()) {
        if (!logged.insert(StoredMinute::of(row->time))) {
            ++outcome.counts.duplicates;
            continue;
        }
        if (auto added = (*session)->insert(*history, row->historyRow(sourceID)); !added) {
            outcome.problem = messageOf(added.error());
            outcome.counts.stored -= pending;  // a failed change discards the batch
            counted();
            return outcome;
        }
        ++outcome.counts.stored;
        if (++pending < kBatch)
            continue;
        if (!commit())
            break;
        counted();
        if (progress && !progress(outcome.counts, reader.progress())) {
            outcome.cancelled = true;
            break;
        }
    }
    if (outcome.problem.isEmpty() && commit() && !outcome.cancelled)
        outcome.problem = reader.problem();
    counted();
    if (progress && !outcome.cancelled)
        progress(outcome.counts, 1.0);
    return outcome;
}
