#include "core/db/DatabaseSession.h"

#include "core/errors/ErrorReporter.h"

#include "core/db/ColumnValues.h"
#include "core/errors/Environment.h"

#include <algorithm>

namespace {

using mdb::Error;
using mdb::invalidArgument;
using mdb::notFound;

// An index whose first columns are exactly `columns` (in any order), with
// the positions of those columns in the index's order.
struct IndexChoice {
    std::string name;
    std::vector<int> keyPositions;
};

// With `then` given, the index's next column must be that column, ascending.
std::optional<IndexChoice> indexOver(const mdb::TableDefinition& table, const std::vector<int>& positions,
                                     std::optional<int> then = std::nullopt)
{
    std::optional<IndexChoice> best;
    std::size_t bestWidth = 0;
    for (const mdb::Index& index : table.indexes) {
        const mdb::RealIndex& real = table.realIndexes[index.realIndex];
        const std::size_t width = positions.size() + (then ? 1 : 0);
        if (real.columns.size() < width)
            continue;
        IndexChoice choice{index.name, {}};
        for (std::size_t i = 0; i < positions.size(); ++i) {
            const mdb::Column* column = table.columnByNumber(real.columns[i].columnNumber);
            const int position = column ? int(column - table.columns.data()) : -1;
            if (std::find(positions.begin(), positions.end(), position) == positions.end())
                break;
            choice.keyPositions.push_back(position);
        }
        if (then && choice.keyPositions.size() == positions.size()) {
            // A descending range column would turn the bounds round.
            const mdb::IndexColumn& rangeColumn = real.columns[positions.size()];
            const mdb::Column* next = table.columnByNumber(rangeColumn.columnNumber);
            if (!next || int(next - table.columns.data()) != *then || !rangeColumn.ascending)
                continue;
        }
        // The narrowest index that fits reads the fewest pages.
        if (choice.keyPositions.size() == positions.size() && (!best || real.columns.size() < bestWidth)) {
            best = choice;
            bestWidth = real.columns.size();
        }
    }
    return best;
}

// Whether the row's columns at `positions` equal `wanted`, as "=" compares.
bool matchesAll(const mdb::Row& row, const std::vector<int>& positions, const std::vector<mdb::Value>& wanted)
{
    for (std::size_t i = 0; i < positions.size(); ++i) {
        if (!ColumnValues::equal(row.values[std::size_t(positions[i])], wanted[i]))
            return false;
    }
    return true;
}

}  // namespace

int SessionTable::position(const QString& column) const
{
    for (std::size_t i = 0; i < definition_.columns.size(); ++i) {
        if (QString::fromStdString(definition_.columns[i].name).compare(column, Qt::CaseInsensitive) == 0)
            return int(i);
    }
    return -1;
}

QVariant SessionTable::value(const mdb::Row& row, const QString& column) const
{
    const int at = position(column);
    if (at < 0 || std::size_t(at) >= row.values.size())
        return QVariant();
    return ColumnValues::fromStored(row.values[std::size_t(at)]);
}

DatabaseSession::DatabaseSession(std::unique_ptr<mdb::Database> database) : database_(std::move(database))
{
    if (database_->writable())
        writer_ = std::make_unique<mdb::DatabaseWriter>(*database_);
}

mdb::Result<std::unique_ptr<DatabaseSession>> DatabaseSession::open(const QString& path, Access access,
                                                                    const Environment& environment)
{
    const mdb::OpenMode mode = access == Access::Write ? mdb::OpenMode::ReadWrite : mdb::OpenMode::ReadOnly;
    auto database = mdb::Database::open(environment.files, path.toStdString(), mode, environment.lockWait);
    if (!database)
        return database.error();
    for (const std::string& notice : (*database)->notices())
        environment.errors.report(QStringLiteral("Database Recovery: \r\n") + QString::fromStdString(notice));
    return std::unique_ptr<DatabaseSession>(new DatabaseSession(std::move(*database)));
}

mdb::Result<SessionTable> DatabaseSession::table(const QString& name, const QStringList& columns)
{
    const mdb::TableEntry* entry = nullptr;
    for (const mdb::TableEntry& candidate : database_->tables()) {
        if (QString::fromStdString(candidate.name).compare(name, Qt::CaseInsensitive) == 0) {
            entry = &candidate;
            break;
        }
    }
    if (!entry)
        return notFound("the database has no table " + name.toStdString());
    auto definition = database_->definition(entry->name);
    if (!definition)
        return definition.error();
    SessionTable table(std::move(*definition));
    for (const QString& column : columns) {
        if (table.position(column) < 0)
            return notFound("table " + table.name() + " has no column " + column.toStdString());
    }
    return table;
}

mdb::Result<std::vector<mdb::Value>> DatabaseSession::storedValues(const SessionTable& table,
                                                                   const std::vector<ColumnValue>& values,
                                                                   std::vector<int>& positions)
{
    std::vector<mdb::Value> stored;
    for (const ColumnValue& value : values) {
        const int at = table.position(value.column);
        if (at < 0)
            return notFound("table " + table.name() + " has no column " + value.column.toStdString());
        auto converted = ColumnValues::toStored(table.definition().columns[std::size_t(at)], value.value);
        if (!converted)
            return mdb::within("table " + table.name(), converted.error());
        positions.push_back(at);
        stored.push_back(std::move(*converted));
    }
    return stored;
}

mdb::Result<std::vector<mdb::Row>> DatabaseSession::rowsWhere(const SessionTable& table,
                                                              const std::vector<ColumnValue>& equal)
{
    std::vector<int> positions;
    auto wanted = storedValues(table, equal, positions);
    if (!wanted)
        return wanted.error();

    if (const std::optional<IndexChoice> index = indexOver(table.definition(), positions)) {
        std::vector<mdb::Value> key;
        for (int position : index->keyPositions)
            key.push_back((*wanted)[std::size_t(std::find(positions.begin(), positions.end(), position) -
                                                positions.begin())]);
        const bool anyNull = std::any_of(key.begin(), key.end(), [](const mdb::Value& v) { return mdb::isNull(v); });
        if (anyNull)
            return std::vector<mdb::Row>{};
        auto found = writer_ ? writer_->find(table.name(), index->name, key)
                             : database_->find(table.definition(), index->name, key);
        // Only an index whose key form this program does not know (another
        // text order, a character outside it) is passed by for a full read; a
        // damaged index is reported, never quietly read around.
        if (found || found.error().kind != mdb::ErrorKind::Unsupported)
            return found;
    }

    std::vector<mdb::Row> rows;
    mdb::Status scanned = database_->scan(table.definition(), [&](const mdb::Row& row) {
        if (matchesAll(row, positions, *wanted))
            rows.push_back(row);
        return true;
    });
    if (!scanned)
        return scanned.error();
    return rows;
}

mdb::Status DatabaseSession::viewsBetween(const SessionTable& table, const std::vector<ColumnValue>& equal,
                                          const ColumnValue& low, const QVariant& high,
                                          const std::function<bool(const mdb::RowView&)>& visit)
{
    std::vector<int> positions;
    auto wanted = storedValues(table, equal, positions);
    if (!wanted)
        return wanted.error();
    std::vector<int> rangePosition;
    auto bounds = storedValues(table, {low, {low.column, high}}, rangePosition);
    if (!bounds)
        return bounds.error();
    if (std::any_of(wanted->begin(), wanted->end(), [](const mdb::Value& v) { return mdb::isNull(v); }) ||
        mdb::isNull((*bounds)[0]) || mdb::isNull((*bounds)[1]))
        return mdb::Status::success();

    if (const auto index = indexOver(table.definition(), positions, rangePosition[0])) {
        std::vector<mdb::Value> lowKey, highKey;
        for (int position : index->keyPositions) {
            const auto at = std::size_t(std::find(positions.begin(), positions.end(), position) - positions.begin());
            lowKey.push_back((*wanted)[at]);
            highKey.push_back((*wanted)[at]);
        }
        lowKey.push_back((*bounds)[0]);
        highKey.push_back((*bounds)[1]);
        return database_->scanRangeViews(table.definition(), index->name, lowKey, highKey, visit);
    }

    // Without such an index: the matching rows found by reading the whole
    // table (only the compared columns), put in order, then visited.
    const std::size_t rangeAt = std::size_t(rangePosition[0]);
    std::vector<std::pair<mdb::Value, mdb::RowPointer>> found;
    mdb::Status scanned = database_->scan(table.definition(), [&](const mdb::Row& row) {
        const mdb::Value& value = row.values[rangeAt];
        if (matchesAll(row, positions, *wanted) && ColumnValues::compare(value, (*bounds)[0]) >= 0 &&
            ColumnValues::compare(value, (*bounds)[1]) <= 0)
            found.emplace_back(value, row.location);
        return true;
    }, decodedColumns(table, {}, equal, low.column));
    if (!scanned)
        return scanned;
    std::stable_sort(found.begin(), found.end(), [](const auto& a, const auto& b) {
        return ColumnValues::compare(a.first, b.first) < 0;
    });
    std::vector<mdb::RowPointer> locations;
    locations.reserve(found.size());
    for (const auto& [value, location] : found)
        locations.push_back(location);
    return database_->visitRows(table.definition(), locations, visit);
}

mdb::Status DatabaseSession::rowsBetween(const SessionTable& table, const std::vector<ColumnValue>& equal,
                                         const ColumnValue& low, const QVariant& high,
                                         const std::function<bool(const mdb::Row&)>& visit, const QStringList& columns)
{
    // No columns named: all of them.
    auto positions = mdb::columnPositions(table.definition(), columns.isEmpty()
                                                                  ? std::vector<std::string>()
                                                                  : decodedColumns(table, columns, equal, low.column));
    if (!positions)
        return positions.error();
    mdb::ViewDecoding rows(table.definition(), std::move(*positions), visit);
    return rows.finish(viewsBetween(table, equal, low, high, rows.visitor()));
}

std::vector<std::string> DatabaseSession::decodedColumns(const SessionTable& table, const QStringList& columns,
                                                         const std::vector<ColumnValue>& equal,
                                                         const QString& range) const
{
    QStringList all = columns;
    for (const ColumnValue& value : equal)
        all << value.column;
    all << range;
    std::vector<std::string> names;
    for (const QString& column : all) {
        const int at = table.position(column);
        if (at >= 0)
            names.push_back(table.definition().columns[std::size_t(at)].name);
    }
    return names;
}

mdb::Status DatabaseSession::scan(const SessionTable& table, const std::function<bool(const mdb::Row&)>& visit,
                                  const QStringList& columns)
{
    std::vector<std::string> names;
    for (const QString& column : columns) {
        const int at = table.position(column);
        if (at < 0)
            return notFound("table " + table.name() + " has no column " + column.toStdString());
        names.push_back(table.definition().columns[std::size_t(at)].name);
    }
    return database_->scan(table.definition(), visit, names);
}

mdb::Status DatabaseSession::checkWriting() const
{
    if (!writer_)
        return invalidArgument("the database is open for reading only");
    return mdb::Status::success();
}

mdb::Result<mdb::RowPointer> DatabaseSession::insert(const SessionTable& table, const std::vector<ColumnValue>& values)
{
    if (mdb::Status writing = checkWriting(); !writing)
        return writing.error();
    std::vector<int> positions;
    auto stored = storedValues(table, values, positions);
    if (!stored)
        return stored.error();
    std::vector<mdb::Value> row(table.definition().columns.size(), mdb::Null{});
    for (std::size_t i = 0; i < positions.size(); ++i)
        row[std::size_t(positions[i])] = std::move((*stored)[i]);
    return writer_->append(table.name(), std::move(row));
}

mdb::Status DatabaseSession::remove(const SessionTable& table, mdb::RowPointer location)
{
    if (mdb::Status writing = checkWriting(); !writing)
        return writing;
    return writer_->remove(table.name(), location);
}

mdb::Status DatabaseSession::update(const SessionTable& table, mdb::RowPointer location,
                                    const std::vector<ColumnValue>& values)
{
    if (mdb::Status writing = checkWriting(); !writing)
        return writing;
    std::vector<int> positions;
    auto stored = storedValues(table, values, positions);
    if (!stored)
        return stored.error();
    auto current = database_->readRowAt(table.definition(), location);
    if (!current)
        return current.error();
    std::vector<mdb::Value> row = std::move(current->values);
    for (std::size_t i = 0; i < positions.size(); ++i)
        row[std::size_t(positions[i])] = std::move((*stored)[i]);
    return writer_->update(table.name(), location, std::move(row));
}

mdb::Status DatabaseSession::commit()
{
    if (mdb::Status writing = checkWriting(); !writing)
        return writing;
    return writer_->commit();
}
