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
    QString flagColumn;  // a yes/no column read with each row, or empty
};

// A row of a list with its flag (false when the query reads none).
struct ListRow {
    QString name;
    qint32 key = 0;
    bool flag = false;
};

// The rows' names and keys in key order. Rows without a key are left out: no
// entry chosen by key could ever find them.
mdb::Result<QList<ListRow>> readList(const QString& path, const ListQuery& query, const Environment& environment)
{
    auto session = DatabaseSession::open(path, DatabaseSession::Access::Read, environment);
    if (!session)
        return session.error();
    QStringList columns = {query.keyColumn, query.nameColumn};
    if (!query.flagColumn.isEmpty())
        columns << query.flagColumn;
    auto table = (*session)->table(query.table, columns);
    if (!table)
        return table.error();

    QList<ListRow> rows;
    mdb::Status scanned = (*session)->scan(*table, [&](const mdb::Row& row) {
        const QVariant key = table->value(row, query.keyColumn);
        const bool flag = !query.flagColumn.isEmpty() && table->value(row, query.flagColumn).toBool();
        if (!key.isNull())
            rows.append({table->value(row, query.nameColumn).toString(), key.toInt(), flag});
        return true;
    }, columns);
    if (!scanned)
        return scanned.error();
    std::stable_sort(rows.begin(), rows.end(), [](const ListRow& a, const ListRow& b) { return a.key < b.key; });
    return rows;
}

QList<ListRow> reportedList(const QString& path, const ListQuery& query, const Environment& environment,
                            const QString& prefix)
{
    if (path.isEmpty())
        return {};
    BusyScope busy(environment.busy);
    auto rows = readList(path, query, environment);
    if (!rows) {
        environment.errors.report("\r\n" + prefix + QString::fromStdString(rows.error().message));
        return {};
    }
    return *rows;
}

// The names and keys of the rows, or of the flagged rows only.
QList<ListEntry> entriesOf(const QList<ListRow>& rows, bool onlyFlagged)
{
    QList<ListEntry> entries;
    for (const ListRow& row : rows) {
        if (row.flag || !onlyFlagged)
            entries.append({row.name, row.key});
    }
    return entries;
}

}  // namespace

QList<ListEntry> sourceList(const QString& databasePath, const Environment& environment)
{
    const ListQuery query{"Sources", "SourceName", "SourceID", {}};
    return entriesOf(reportedList(databasePath, query, environment, "Database Read Error: "), false);
}

QList<ListEntry> favouriteList(const QString& databasePath, const Environment& environment, bool onlyExported)
{
    const ListQuery query{"Favorites", "FavName", "FavID", onlyExported ? "Export" : ""};
    return entriesOf(reportedList(databasePath, query, environment, "Load Fav Error: "), onlyExported);
}

QList<FavouriteExport> favouriteExports(const QString& databasePath, const Environment& environment)
{
    const ListQuery query{"Favorites", "FavName", "FavID", "Export"};
    QList<FavouriteExport> favourites;
    for (const ListRow& row : reportedList(databasePath, query, environment, "Load Favs Error: "))
        favourites.append({row.name, row.key, row.flag});
    return favourites;
}

bool setFavouriteExport(const QString& databasePath, qint32 favID, bool exported, const Environment& environment)
{
    BusyScope busy(environment.busy);
    auto fail = [&environment](const mdb::Error& error) {
        environment.errors.report("\r\nUpdate Favs Error: " + QString::fromStdString(error.message));
        return false;
    };
    auto session = DatabaseSession::open(databasePath, DatabaseSession::Access::Write, environment);
    if (!session)
        return fail(session.error());
    auto table = (*session)->table("Favorites", {"FavID", "Export"});
    if (!table)
        return fail(table.error());
    auto rows = (*session)->rowsWhere(*table, {{"FavID", favID}});
    if (!rows)
        return fail(rows.error());
    for (const mdb::Row& row : *rows) {
        if (mdb::Status changed = (*session)->update(*table, row.location, {{"Export", exported}}); !changed)
            return fail(changed.error());
    }
    if (mdb::Status committed = (*session)->commit(); !committed)
        return fail(committed.error());
    return true;
}

}  // namespace SourceLists
