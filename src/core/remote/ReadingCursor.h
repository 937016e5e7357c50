#pragma once

#include "core/errors/Environment.h"
#include "core/import/ImportRow.h"
#include "mdb/Result.h"

#include <QDateTime>
#include <QString>

#include <vector>

// Where the sending of one source's readings stands, oldest first: the
// time of the last reading sent and how many readings with that time were
// sent. Each chunk is read in a session of its own, so a logger writing the
// same file waits at most for one chunk, and readings it adds after the
// cursor are sent too.
class ReadingCursor {
public:
    // From `from` on (its minute included).
    ReadingCursor(QString database, qint32 dataID, QDateTime from)
        : database_(std::move(database)), dataID_(dataID), last_(std::move(from))
    {
    }

    // The next `limit` readings at most, in DateRead order; fewer only at
    // the end of what the file holds now. A failed read comes back as its
    // Error; nothing is reported here.
    mdb::Result<std::vector<ImportRow>> next(int limit, const Environment& environment);

private:
    QString database_;
    qint32 dataID_;
    QDateTime last_;
    int sentAtLast_ = 0;  // readings of time last_ already sent
};
