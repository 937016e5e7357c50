#pragma once

#include "shared/Environment.h"

#include <QList>
#include <QString>
#include <QtGlobal>

namespace modNimbrel {

// One entry of a source list: the name shown and the source's key.
struct SourceListEntry {
    QString name;
    qint32 sourceID = 0;
    bool operator==(const SourceListEntry&) const = default;
};

// The entries of a source list, one per row of Sources in SourceID order.
// An empty path gives an empty list. A failure is reported as "Database Read
// Error: " through ReportError and gives the entries read so far (none).
QList<SourceListEntry> FillSourceList(const QString& databasePath, const Environment& environment);

}  // namespace modNimbrel
