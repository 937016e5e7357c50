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

QList<FavouriteExport> favouriteExports(const QString& databasePath, const Environment& environment)
{
    if (databasePath.isEmpty())
        return {};
    BusyScope busy(environment.busy);
    const auto read = [&]() -> mdb::Result<QList<FavouriteExport>> {
        auto session = DatabaseSession::open(databasePath, DatabaseSession::Access::Read, environment);
        if (!session)
            return session.error();
        auto table = (*session)->table("Favorites", {"FavID", "FavName", "Export"});
        if (!table)
            return table.error();
        QList<FavouriteExport> favourites;
        mdb::Status scanned = (*session)->scan(*table, [&](const mdb::Row& row) {
            const QVariant key = table->value(row, "FavID");
            if (!key.isNull())
                favourites.append({table->value(row, "FavName").toString(), key.toInt(),
                                   table->value(row, "Export").toBool()});
            return true;
        });
        if (!scanned)
            return scanned.error();
        std::stable_sort(favourites.begin(), favourites.end(),
                         [](const FavouriteExport& a, const FavouriteExport& b) { return a.key < b.key; });
        return favourites;
    };
    auto favourites = read();
    if (!favourites) {
        environment.errors.report("\r\nLoad Favs Error: " + QString::fromStdString(favourites.error().message));
        return {};
    }
    return *favourites;
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
