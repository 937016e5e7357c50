#pragma once

#include "mdb/Database.h"
#include "mdb/DatabaseWriter.h"

#include <QString>
#include <QStringList>
#include <QVariant>

#include <memory>
#include <vector>

struct Environment;

// A table of an open database with its columns found by name, as a
// statement finds them: letter case is ignored.
class SessionTable {
public:
    explicit SessionTable(mdb::TableDefinition definition) : definition_(std::move(definition)) {}

    const mdb::TableDefinition& definition() const { return definition_; }
    const std::string& name() const { return definition_.name; }
    // The column's position in a row, or -1 when the table has no such column.
    int position(const QString& column) const;
    // The column's value in a row read from this table, converted for the
    // program (ColumnValues::fromStored); null for a column the table lacks.
    QVariant value(const mdb::Row& row, const QString& column) const;

private:
    mdb::TableDefinition definition_;
};

// A column name with a value, for conditions and for the values of a row.
struct ColumnValue {
    QString column;
    QVariant value;
};

// One operation's use of a database file: opened for reading or writing at
// the start, closed when the session ends. Changes are written by commit(),
// all of them or none; a session that ends without commit() changes nothing.
// Every failure comes back as an Error whose message describes it for the
// user ("cannot open C:/x.mdb: No such file or directory").
class DatabaseSession {
public:
    enum class Access { Read, Write };

    static mdb::Result<std::unique_ptr<DatabaseSession>> open(const QString& path, Access access,
                                                              const Environment& environment);

    // The table, checked to hold every one of `columns`.
    mdb::Result<SessionTable> table(const QString& name, const QStringList& columns = {});

    // The rows whose columns equal the given values ("=" of a statement: null
    // matches nothing). Searched through an index over exactly those columns
    // when the table has one whose key form the engine knows (rows then in
    // index order), otherwise by reading the whole table (rows in storage
    // order); a damaged index is an error, never read around. A writing session sees its own
    // pending changes through the index only.
    mdb::Result<std::vector<mdb::Row>> rowsWhere(const SessionTable& table, const std::vector<ColumnValue>& equal);
    // Calls `visit` for the rows whose `equal` columns equal their values
    // and whose column `low.column` lies from `low.value` to `high` (both
    // included), in order of that column; stops when `visit` returns false.
    // Searched through an index over the equal columns followed by the range
    // column when the table has one. With `columns` named, only those (and
    // the compared ones) are decoded.
    mdb::Status rowsBetween(const SessionTable& table, const std::vector<ColumnValue>& equal, const ColumnValue& low,
                            const QVariant& high, const std::function<bool(const mdb::Row&)>& visit,
                            const QStringList& columns = {});
    // The same rows as views of their stored bytes (valid during the visit
    // only), for a read that wants a few numbers of many rows.
    mdb::Status viewsBetween(const SessionTable& table, const std::vector<ColumnValue>& equal, const ColumnValue& low,
                             const QVariant& high, const std::function<bool(const mdb::RowView&)>& visit);
    // Every row in storage order, decoding only `columns` (all when empty).
    mdb::Status scan(const SessionTable& table, const std::function<bool(const mdb::Row&)>& visit,
                     const QStringList& columns = {});

    // Adds a row holding the given values; other columns are null (an
    // autonumber column takes the next number).
    mdb::Result<mdb::RowPointer> insert(const SessionTable& table, const std::vector<ColumnValue>& values);
    // Deletes the row at `location`.
    mdb::Status remove(const SessionTable& table, mdb::RowPointer location);
    // Changes the given columns of the row at `location`; the others keep their values.
    mdb::Status update(const SessionTable& table, mdb::RowPointer location, const std::vector<ColumnValue>& values);
    mdb::Status commit();

    mdb::Database& database() { return *database_; }

private:
    explicit DatabaseSession(std::unique_ptr<mdb::Database> database);
    mdb::Result<std::vector<mdb::Value>> storedValues(const SessionTable& table, const std::vector<ColumnValue>& values,
                                                      std::vector<int>& positions);
    mdb::Status checkWriting() const;
    // The names of `columns`, the `equal` columns and the `range` column.
    std::vector<std::string> decodedColumns(const SessionTable& table, const QStringList& columns,
                                            const std::vector<ColumnValue>& equal, const QString& range) const;

    std::unique_ptr<mdb::Database> database_;
    std::unique_ptr<mdb::DatabaseWriter> writer_;
};
