#include "core/sources/SourceLists.h"

#include "core/db/DatabaseSession.h"
#include "core/errors/ErrorReporter.h"

#include <algorithm>

namespace SourceLists {

namespace {

struct ListQuery {
    QString table;
    QString nameColumn;
    QString keyColumn;
    QString onlyWhere;  // a yes/no column that must be set, or empty
};

// The rows' names and keys in key order. Rows without a key are left out: no
// entry chosen by key could ever find them.
mdb::Result<QList<ListEntry>> readList(const QString& path, const ListQuery& query, const Environment& environment)
{
    auto session = DatabaseSession::open(path, DatabaseSession::Access::Read, environment);
    if (!session)
        return session.error();
    QStringList columns = {query.keyColumn, query.nameColumn};
    if (!query.onlyWhere.isEmpty())
        columns << query.onlyWhere;
    auto table = (*session)->table(query.table, columns);
    if (!table)
        return table.error();

    QList<ListEntry> entries;
    mdb::Status scanned = (*session)->scan(*table, [&](const mdb::Row& row) {
        const QVariant key = table->value(row, query.keyColumn);
        const bool wanted = query.onlyWhere.isEmpty() || table->value(row, query.onlyWhere).toBool();
        if (!key.isNull() && wanted)
            entries.append({table->value(row, query.nameColumn).toString(), key.toInt()});
        return true;
    }, columns);
    if (!scanned)
        return scanned.error();
    std::stable_sort(entries.begin(), entries.end(),
                     [](const ListEntry& a, const ListEntry& b) { return a.key < b.key; });
    return entries;
}

QList<ListEntry> reportedList(const QString& path, const ListQuery& query, const Environment& environment,
                              const QString& prefix)
{
    if (path.isEmpty())
        return {};
    BusyScope busy(environment.busy);
    auto entries = readList(path, query, environment);
    if (!entries) {
        environment.errors.report("\r\n" + prefix + QString::fromStdString(entries.error().message));
        return {};
    }
    return *entries;
}

}  // namespace

QList<ListEntry> sourceList(const QString& databasePath, const Environment& environment)
{
    return reportedList(databasePath, {"Sources", "SourceName", "SourceID", {}}, environment,
                        "Database Read Error: ");
}

QList<ListEntry> favouriteList(const QString& databasePath, const Environment& environment, bool onlyExported)
{
    return reportedList(databasePath, {"Favorites", "FavName", "FavID", onlyExported ? "Export" : ""}, environment,
                        "Load Fav Error: ");
}

}  // namespace SourceLists
