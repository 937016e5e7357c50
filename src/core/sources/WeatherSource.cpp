#include "core/sources/WeatherSource.h"

#include "core/db/DatabaseSession.h"
#include "core/db/NimbrelSchema.h"
#include "core/sources/SourceLists.h"
#include "core/errors/ErrorReporter.h"
#include "core/errors/MessageBoxes.h"
#include "core/text/Clock.h"

#include <cmath>
#include <limits>

namespace {


// A text column's value; null reads as empty text.
QString textOf(const QVariant& value)
{
    return value.isNull() ? QString() : value.toString();
}

// What a statement stores for a text: NULL for empty text.
QVariant storedText(const QString& text)
{
    return text.isEmpty() ? QVariant() : QVariant(text);
}

// A whole-number column's value in the property's range; null reads as 0.
template <typename Whole>
mdb::Result<Whole> wholeOf(const QVariant& value, const char* column)
{
    if (value.isNull())
        return Whole(0);
    const double number = std::nearbyint(value.toDouble());
    if (!(number >= double(std::numeric_limits<Whole>::min()) && number <= double(std::numeric_limits<Whole>::max())))
        return mdb::invalidArgument(std::string("overflow: the value of ") + column + " is out of range");
    return Whole(number);
}

// The Sources table of a database opened for one operation.
struct OpenSources {
    std::unique_ptr<DatabaseSession> session;
    SessionTable table;
};

mdb::Result<OpenSources> openSources(const QString& path, DatabaseSession::Access access,
                                     const Environment& environment)
{
    auto session = DatabaseSession::open(path, access, environment);
    if (!session)
        return session.error();
    auto table = NimbrelSchema::table(**session, "Sources");
    if (!table)
        return table.error();
    return OpenSources{std::move(*session), std::move(*table)};
}

void report(const Environment& environment, const char* prefix, const mdb::Error& error)
{
    environment.errors.report("\r\n" + QString(prefix) + QString::fromStdString(error.message));
}

}  // namespace

WeatherSource::WeatherSource(const Environment& environment) : environment_(environment) {}

WeatherReading& WeatherSource::reading() const
{
    if (!reading_)
        reading_ = std::make_shared<WeatherReading>();
    return *reading_;
}

bool WeatherSource::refresh()
{
    return refresh(environment_.errors);
}

bool WeatherSource::refresh(ErrorReporter& errors)
{
    return reading().readSourceFile(sourceFileName_, sourceKind_, errors, environment_.clock.now());
}

// The first row with the key fills the properties; logCounter and reading stay.
bool WeatherSource::load(const QString& databasePath, qint32 id)
{
    if (databasePath.isEmpty())
        return false;
    BusyScope busy(environment_.busy);
    auto fail = [this](const mdb::Error& error) {
        report(environment_, "Database Read Error: ", error);
        return false;
    };
    auto sources = openSources(databasePath, DatabaseSession::Access::Read, environment_);
    if (!sources)
        return fail(sources.error());
    const SessionTable& table = sources->table;
    auto rows = sources->session->rowsWhere(table, {{"SourceID", id}});
    if (!rows)
        return fail(rows.error());
    if (rows->empty())
        return false;

    const mdb::Row& row = rows->front();
    auto type = wholeOf<qint16>(table.value(row, "SourceType"), "SourceType");
    auto dataID = wholeOf<qint32>(table.value(row, "DataID"), "DataID");
    auto logMultiple = wholeOf<qint32>(table.value(row, "LogMultiple"), "LogMultiple");
    if (!type)
        return fail(type.error());
    if (!dataID)
        return fail(dataID.error());
    if (!logMultiple)
        return fail(logMultiple.error());
    sourceID_ = id;
    sourceName_ = textOf(table.value(row, "SourceName"));
    sourceKind_ = *type == 0 ? SourceKind::StationFile : SourceKind::Feed;
    sourceFileName_ = textOf(table.value(row, "SourceFileName"));
    sourceDatabase_ = textOf(table.value(row, "SourceDatabase"));
    dataID_ = *dataID;
    importFileName_ = textOf(table.value(row, "ImportFilename"));
    exportFileName_ = textOf(table.value(row, "ExportFilename"));
    logMultiple_ = *logMultiple;
    enabled_ = table.value(row, "Enabled").toBool();
    return true;
}

// Changes every row with the key (empty texts stored as null), or inserts a
// new row when there is none.
bool WeatherSource::save(const QString& databasePath, qint32& id)
{
    if (databasePath.isEmpty())
        return false;
    BusyScope busy(environment_.busy);
    auto fail = [this](const mdb::Error& error) {
        report(environment_, "Database Write Error: ", error);
        return false;
    };
    auto sources = openSources(databasePath, DatabaseSession::Access::Write, environment_);
    if (!sources)
        return fail(sources.error());
    DatabaseSession& session = *sources->session;
    auto rows = session.rowsWhere(sources->table, {{"SourceID", id}});
    if (!rows)
        return fail(rows.error());
    if (rows->empty()) {
        sources->session.reset();  // insertNew opens the file for itself
        id = insertNew(databasePath).value_or(0);
        return true;
    }

    const std::vector<ColumnValue> values = storedProperties();
    for (const mdb::Row& row : *rows) {
        if (mdb::Status updated = session.update(sources->table, row.location, values); !updated)
            return fail(updated.error());
    }
    if (mdb::Status committed = session.commit(); !committed)
        return fail(committed.error());
    return true;
}

// The columns both a change and a new row store, texts as a statement
// writes them (empty text as NULL). enabled is not among them.
std::vector<ColumnValue> WeatherSource::storedProperties() const
{
    return {
        {"SourceName", storedText(sourceName_)},
        {"SourceType", qint16(sourceKind_)},
        {"SourceFileName", storedText(sourceFileName_)},
        {"SourceDatabase", storedText(sourceDatabase_)},
        {"DataID", dataID_},
        {"ImportFilename", storedText(importFileName_)},
        {"ExportFilename", storedText(exportFileName_)},
        {"LogMultiple", logMultiple_},
    };
}

// The new key is the highest key plus one (0 for an empty table).
std::optional<qint32> WeatherSource::insertNew(const QString& databasePath)
{
    if (databasePath.isEmpty())
        return std::nullopt;
    BusyScope busy(environment_.busy);
    auto fail = [this](const mdb::Error& error) {
        report(environment_, "Database write Error: ", error);
        return std::optional<qint32>();
    };
    auto sources = openSources(databasePath, DatabaseSession::Access::Write, environment_);
    if (!sources)
        return fail(sources.error());
    DatabaseSession& session = *sources->session;

    // Rows without a key are passed over; they can never be chosen by key.
    std::optional<qint64> highest;
    mdb::Status scanned = session.scan(sources->table, [&](const mdb::Row& row) {
        const QVariant key = sources->table.value(row, "SourceID");
        if (!key.isNull())
            highest = std::max(highest.value_or(std::numeric_limits<qint64>::min()), qint64(key.toDouble()));
        return true;
    }, {"SourceID"});
    if (!scanned)
        return fail(scanned.error());
    const qint64 next = highest ? *highest + 1 : 0;
    if (next > std::numeric_limits<qint32>::max())
        return fail(mdb::invalidArgument("overflow: no source key follows " + std::to_string(*highest)));

    std::vector<ColumnValue> values = storedProperties();
    values.insert(values.begin(), {"SourceID", qint32(next)});
    if (auto inserted = session.insert(sources->table, values); !inserted)
        return fail(inserted.error());
    if (mdb::Status committed = session.commit(); !committed)
        return fail(committed.error());
    sources->session.reset();

    sourceID_ = qint32(next);
    environment_.boxes.show("New Source Added",
                            "Source " + sourceName_ +
                                " has been added. When you have completed adding Sources, restart the application",
                            MessageBoxes::Icon::Information);
    return sourceID_;
}

// One source per row of the source list, each loaded by its key.
std::vector<std::shared_ptr<WeatherSource>> loadSources(const QString& databasePath, const Environment& environment)
{
    std::vector<std::shared_ptr<WeatherSource>> sources;
    for (const SourceLists::ListEntry& entry : SourceLists::sourceList(databasePath, environment)) {
        auto source = std::make_shared<WeatherSource>(environment);
        if (source->load(databasePath, entry.key))
            sources.push_back(std::move(source));
    }
    return sources;
}
