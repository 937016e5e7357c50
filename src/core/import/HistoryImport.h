#pragma once

#include "core/errors/Environment.h"
#include "core/import/ImportReader.h"

#include <QString>

#include <functional>

// How an import went, counted as it goes.
struct ImportCounts {
    qint64 read = 0;        // records or rows met in the file
    qint64 stored = 0;      // new rows in History
    qint64 duplicates = 0;  // left out: the source has a row for that minute
    qint64 bad = 0;         // left out: unusable
    qint64 thinned = 0;     // left out: one row per log cycle was asked for

    // "20881 read, 2089 stored, 0 already there, 0 bad, 18792 thinned"
    QString text() const;
};

struct ImportOutcome {
    ImportCounts counts;
    QString problem;         // why the import stopped early; empty when it read the whole file
    bool cancelled = false;  // stopped because the caller asked
    bool ok() const { return problem.isEmpty(); }
};

// Stores what `reader` reads into History of `database` as rows of
// `sourceID`, leaving out rows for a minute the source already has (in the
// database or earlier in the file). Rows are committed in batches of
// kBatch, so a cancel, a failure or a crash keeps the batches before, and
// importing the same file again adds nothing: an import can always simply
// be repeated. `progress` is called after each batch with the counts so far
// and how far through the file the reader is (0 to 1); it returns false to
// cancel (the rows read so far are kept). Failures (the database, the file)
// come back as the outcome's problem; nothing is reported here.
class HistoryImport {
public:
    static constexpr int kBatch = 2000;
    using Progress = std::function<bool(const ImportCounts& counts, double done)>;

    static ImportOutcome run(ImportReader& reader, const QString& database, qint32 sourceID,
                             const Environment& environment, const Progress& progress = {});
};
