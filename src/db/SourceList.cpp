#include "db/SourceList.h"

#include "db/DatabaseSession.h"
#include "errors/ErrorReporter.h"

#include <algorithm>

namespace modNimbrel {

// SELECT * FROM Sources  Order by SourceID
// Rows without a key have no use in a list chosen by key and are left out.
QList<SourceListEntry> FillSourceList(const QString& databasePath, const Environment& environment)
{
    if (databasePath.isEmpty())
        return {};
    BusyScope busy(environment.busy);
    auto fail = [&environment](const mdb::Error& error) {
        environment.errors.ReportError("\r\nDatabase Read Error: " + QString::fromStdString(error.message));
        return QList<SourceListEntry>();
    };
    auto session = DatabaseSession::open(databasePath, DatabaseSession::Access::Read, environment);
    if (!session)
        return fail(session.error());
    auto table = (*session)->table("Sources", {"SourceID", "SourceName"});
    if (!table)
        return fail(table.error());

    QList<SourceListEntry> entries;
    mdb::Status scanned = (*session)->scan(*table, [&](const mdb::Row& row) {
        const QVariant key = table->value(row, "SourceID");
        if (!key.isNull())
            entries.append({table->value(row, "SourceName").toString(), key.toInt()});
        return true;
    }, {"SourceID", "SourceName"});
    if (!scanned)
        return fail(scanned.error());
    std::stable_sort(entries.begin(), entries.end(),
                     [](const SourceListEntry& a, const SourceListEntry& b) { return a.sourceID < b.sourceID; });
    return entries;
}

}  // namespace modNimbrel
