#include "core/graphs/Favourites.h"

#include "core/db/DatabaseSession.h"
#include "core/db/NimbrelSchema.h"
#include "core/errors/ErrorReporter.h"
#include "mdb/GeneralSortOrder.h"

#include <QHash>

#include <algorithm>
#include <functional>

namespace Favourites {

namespace {

void report(const Environment& environment, const char* prefix, const mdb::Error& error)
{
    environment.errors.report("\r\n" + QString(prefix) + QString::fromStdString(error.message));
}

// The key the database gave the row just added at `added`.
mdb::Result<qint32> keyOfAdded(DatabaseSession& session, const SessionTable& favourites, const QString& name,
                               mdb::RowPointer added)
{
    auto rows = session.rowsWhere(favourites, {{"FavName", name}});
    if (!rows)
        return rows.error();
    for (const mdb::Row& row : *rows) {
        if (row.location == added)
            return favourites.value(row, "FavID").toInt();
    }
    return mdb::corruption("the favourite just added cannot be found again");
}

mdb::Result<qint32> saveRows(const QString& databasePath, const QString& name, const Favourite& favourite,
                             const Environment& environment)
{
    auto session = DatabaseSession::open(databasePath, DatabaseSession::Access::Write, environment);
    if (!session)
        return session.error();
    auto favourites = NimbrelSchema::table(**session, "Favorites");
    auto traces = NimbrelSchema::table(**session, "Traces");
    if (!favourites)
        return favourites.error();
    if (!traces)
        return traces.error();
    auto added = (*session)->insert(
        *favourites, {{"FavName", name}, {"DayOnly", favourite.dayOnly}, {"DateRange", favourite.dateRange}});
    if (!added)
        return added.error();
    auto favID = keyOfAdded(**session, *favourites, name, *added);
    if (!favID)
        return favID.error();
    qint32 traceID = 0;
    for (const TraceEntry& trace : favourite.traces) {
        auto row = (*session)->insert(*traces, {{"TraceID", ++traceID},
                                                {"FavID", *favID},
                                                {"SourceID", trace.sourceID},
                                                {"TraceColor", trace.colour},
                                                {"DataType", trace.dataType},
                                                {"Offset", trace.offset},
                                                {"ShowNotes", trace.showNotes}});
        if (!row)
            return row.error();
    }
    if (mdb::Status committed = (*session)->commit(); !committed)
        return committed.error();
    return *favID;
}

struct TraceRow {
    qint32 traceID;
    TraceEntry entry;
};

// The favourite `favID` from an open database.
mdb::Result<Favourite> loadFrom(DatabaseSession& session, qint32 favID,
                                const std::vector<std::shared_ptr<WeatherSource>>& sources)
{
    auto favourites = session.table("Favorites", {"FavID", "DayOnly", "DateRange"});
    auto traces = NimbrelSchema::table(session, "Traces");
    auto sourceTable = session.table("Sources", {"SourceID", "SourceName"});
    for (const auto* table : {&favourites, &traces, &sourceTable}) {
        if (!*table)
            return table->error();
    }
    auto favouriteRows = session.rowsWhere(*favourites, {{"FavID", favID}});
    if (!favouriteRows)
        return favouriteRows.error();
    Favourite favourite;
    if (favouriteRows->empty())
        return favourite;
    favourite.dayOnly = favourites->value(favouriteRows->front(), "DayOnly").toBool();
    favourite.dateRange = favourites->value(favouriteRows->front(), "DateRange").toInt();

    QHash<qint32, QString> sourceNames;
    mdb::Status scanned = session.scan(*sourceTable, [&](const mdb::Row& row) {
        sourceNames.insert(sourceTable->value(row, "SourceID").toInt(), sourceTable->value(row, "SourceName").toString());
        return true;
    });
    if (!scanned)
        return scanned.error();

    auto traceRows = session.rowsWhere(*traces, {{"FavID", favID}});
    if (!traceRows)
        return traceRows.error();
    std::vector<TraceRow> ordered;
    for (const mdb::Row& row : *traceRows) {
        const qint32 sourceID = traces->value(row, "SourceID").toInt();
        if (!sourceNames.contains(sourceID))
            continue;  // its source has been removed
        TraceEntry entry;
        entry.sourceID = sourceID;
        entry.sourceName = sourceNames.value(sourceID);
        entry.colour = traces->value(row, "TraceColor").toInt();
        entry.dataType = traces->value(row, "DataType").toInt();
        entry.offset = traces->value(row, "Offset").toInt();
        entry.showNotes = traces->value(row, "ShowNotes").toBool();
        ordered.push_back({traces->value(row, "TraceID").toInt(), entry});
    }
    std::stable_sort(ordered.begin(), ordered.end(),
                     [](const TraceRow& a, const TraceRow& b) { return a.traceID < b.traceID; });
    for (TraceRow& row : ordered) {
        const auto loaded = std::find_if(sources.begin(), sources.end(), [&row](const auto& source) {
            return source->sourceID() == row.entry.sourceID;
        });
        if (loaded == sources.end())
            return mdb::notFound("source " + std::to_string(row.entry.sourceID) +
                                        " is not among the loaded sources; restart Nimbrel to load it");
        row.entry.sourceDatabase = (*loaded)->sourceDatabase();
        row.entry.dataID = (*loaded)->dataID();
        favourite.traces.push_back(std::move(row.entry));
    }
    return favourite;
}

// Every favourite marked for export, numbered by its place among all.
mdb::Result<std::vector<MarkedFavourite>> loadMarked(DatabaseSession& session,
                                                     const std::vector<std::shared_ptr<WeatherSource>>& sources)
{
    auto table = session.table("Favorites", {"FavID", "Export"});
    if (!table)
        return table.error();
    std::vector<std::pair<qint32, bool>> all;  // key, marked
    mdb::Status scanned = session.scan(*table, [&](const mdb::Row& row) {
        const QVariant key = table->value(row, "FavID");
        if (!key.isNull())
            all.emplace_back(key.toInt(), table->value(row, "Export").toBool());
        return true;
    }, {"FavID", "Export"});
    if (!scanned)
        return scanned.error();
    std::stable_sort(all.begin(), all.end(), [](const auto& a, const auto& b) { return a.first < b.first; });
    std::vector<MarkedFavourite> marked;
    for (std::size_t number = 0; number < all.size(); ++number) {
        if (!all[number].second)
            continue;
        auto favourite = loadFrom(session, all[number].first, sources);
        if (!favourite)
            return favourite.error();
        marked.push_back({all[number].first, int(number), std::move(*favourite)});
    }
    return marked;
}

template <typename Loaded>
std::optional<Loaded> readReported(const QString& databasePath, const Environment& environment,
                                   const std::function<mdb::Result<Loaded>(DatabaseSession&)>& read)
{
    if (databasePath.isEmpty())
        return std::nullopt;
    BusyScope busy(environment.busy);
    auto session = DatabaseSession::open(databasePath, DatabaseSession::Access::Read, environment);
    mdb::Result<Loaded> loaded = session ? read(**session) : mdb::Result<Loaded>(session.error());
    if (!loaded) {
        report(environment, "Load Fav Error: ", loaded.error());
        return std::nullopt;
    }
    return std::move(*loaded);
}

}  // namespace

qint32 save(const QString& databasePath, const QString& name, const Favourite& favourite,
            const Environment& environment)
{
    if (databasePath.isEmpty())
        return 0;
    BusyScope busy(environment.busy);
    auto saved = saveRows(databasePath, name, favourite, environment);
    if (!saved) {
        report(environment, "Save Fav Error: ", saved.error());
        return 0;
    }
    return *saved;
}

std::optional<Favourite> load(const QString& databasePath, qint32 favID,
                              const std::vector<std::shared_ptr<WeatherSource>>& sources,
                              const Environment& environment)
{
    return readReported<Favourite>(databasePath, environment,
                                   [&](DatabaseSession& session) { return loadFrom(session, favID, sources); });
}

std::optional<std::vector<MarkedFavourite>> loadMarkedForExport(
    const QString& databasePath, const std::vector<std::shared_ptr<WeatherSource>>& sources,
    const Environment& environment)
{
    return readReported<std::vector<MarkedFavourite>>(
        databasePath, environment, [&](DatabaseSession& session) { return loadMarked(session, sources); });
}

std::optional<QChar> unstorableCharacter(const QString& name)
{
    for (const QChar c : name) {
        if (!mdb::generalTextKey(std::u16string(1, c.unicode())))
            return c;
    }
    return std::nullopt;
}

QString plainName(const QString& name)
{
    QString plain = name;
    plain.replace(QChar(0x2013), u'-').replace(QChar(0x2014), u'-').replace(QChar(0x2212), u'-');
    plain.replace(QChar(0x2018), u'\'').replace(QChar(0x2019), u'\'');
    plain.replace(QChar(0x201C), u'"').replace(QChar(0x201D), u'"');
    plain.replace(QChar(0x2026), QStringLiteral("..."));
    return plain;
}

}  // namespace Favourites
