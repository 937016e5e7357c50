#pragma once

#include "core/errors/Environment.h"

#include <QString>
#include <QtGlobal>

#include <optional>

// Where one source's readings are: its database file and the SourceID its
// rows carry there. A source whose database is empty has nothing to show.
struct SummarySource {
    QString name;
    QString database;
    qint32 dataID = 0;

    // The source `sourceID` of the Sources table of `database`; none when
    // there is no such source or it keeps no readings. A failed read is
    // reported through the environment's error routine and gives none.
    static std::optional<SummarySource> find(const QString& database, qint32 sourceID,
                                             const Environment& environment);
};
