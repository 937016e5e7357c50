#pragma once

#include "mdb/File.h"
#include "mdb/FileSystem.h"
#include "mdb/Header.h"
#include "mdb/IndexPageCache.h"
#include "mdb/Pager.h"
#include "mdb/RowDecoder.h"
#include "mdb/TableDefinition.h"
#include "mdb/Value.h"

#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace mdb {

// A table as the catalog lists it.
struct TableEntry {
    std::string name;
    uint32_t definitionPage = 0;
    uint32_t flags = 0;
    bool isSystem() const { return flags & (kSystemFlag | kHiddenSystemFlag); }

    static constexpr uint32_t kSystemFlag = 0x80000000;
    static constexpr uint32_t kHiddenSystemFlag = 0x00000002;
};

// One row as read: where it is stored and its values in column order.
struct Row {
    RowPointer location;
    std::vector<Value> values;
};

// The positions of the named columns in the table's column list, all of
// them when none is named; a name the table lacks is a NotFound error.
Result<std::vector<std::size_t>> columnPositions(const TableDefinition& table, const std::vector<std::string>& names);

// Turns a walk over row views into a walk over rows: each view's columns at
// `positions` are decoded into one Row, reused from row to row, for `visit`.
// Walk the views with visitor(); finish() then gives the walk's Status, or
// the failure to decode a row, naming the table. Keeps references to the
// table and to `visit`.
class ViewDecoding {
public:
    ViewDecoding(const TableDefinition& table, std::vector<std::size_t> positions,
                 const std::function<bool(const Row&)>& visit);
    std::function<bool(const RowView&)> visitor();
    Status finish(const Status& walked) const;

private:
    const TableDefinition& table_;
    std::vector<std::size_t> positions_;
    const std::function<bool(const Row&)>& visit_;
    Row row_;
    Status decoded_;
};

// An Access 2000-2003 (Jet 4) database file, open for reading or writing.
//
// open() checks the header (refusing other versions and encrypted files),
// takes a lock against other Nimbrel processes (shared for reading,
// exclusive for writing), finishes or undoes a change that a crash
// interrupted, and reads the catalog. Opening for writing is refused while
// Access has the file open (its ".ldb" lock file exists). Every operation
// returns an Error naming the table and page where the file is damaged;
// nothing is printed. Not thread-safe: one Database per thread.
class Database {
public:
    static Result<std::unique_ptr<Database>> open(const std::string& path, OpenMode mode = OpenMode::ReadOnly);
    static Result<std::unique_ptr<Database>> open(FileSystem& files, const std::string& path, OpenMode mode,
                                                  std::chrono::milliseconds lockWait = std::chrono::milliseconds(3000));
    // A file already open, read-only, without locks or recovery (tests, dumps).
    static Result<std::unique_ptr<Database>> open(std::unique_ptr<File> file);

    // The lock file Access keeps beside a database it has open.
    static std::string accessLockPath(const std::string& path);

    const HeaderInfo& header() const { return header_; }
    // What opening found worth telling the user although the file opened:
    // an interrupted change undone, a journal set aside because it belongs
    // to another file.
    const std::vector<std::string>& notices() const { return notices_; }
    const Layout& layout() const { return *header_.layout; }
    // Every table of the catalog, system tables included, in catalog order.
    const std::vector<TableEntry>& tables() const { return tables_; }
    const TableEntry* findTable(const std::string& name) const;

    Result<TableDefinition> definition(const std::string& tableName);

    // Calls `visit` for each live row in storage order (page by page, row by
    // row); stops early when `visit` returns false. With `columns` named,
    // only those are decoded and the others read as null.
    Status scan(const TableDefinition& table, const std::function<bool(const Row&)>& visit,
                const std::vector<std::string>& columns = {});
    Result<std::vector<Row>> readAll(const TableDefinition& table);
    // The row stored at `location`; with `columns` named, only those are
    // decoded and the others read as null.
    Result<Row> readRowAt(const TableDefinition& table, RowPointer location,
                          const std::vector<std::string>& columns = {});

    // The rows whose first key.size() index columns equal `key`, in index
    // order. Fails for a key the index cannot be searched with.
    Result<std::vector<Row>> find(const TableDefinition& table, const std::string& indexName,
                                  const std::vector<Value>& key);
    // Calls `visit` for each row whose index key lies between `low` and
    // `high` (both included; a shorter key covers every key it starts), in
    // index order; stops early when `visit` returns false. With `columns`
    // named, only those are decoded. The row passed is reused for the next.
    Status scanRange(const TableDefinition& table, const std::string& indexName, const std::vector<Value>& low,
                     const std::vector<Value>& high, const std::function<bool(const Row&)>& visit,
                     const std::vector<std::string>& columns = {});
    // The same rows as views of their stored bytes, for reading a few
    // columns of many rows without decoding whole rows.
    Status scanRangeViews(const TableDefinition& table, const std::string& indexName, const std::vector<Value>& low,
                          const std::vector<Value>& high, const std::function<bool(const RowView&)>& visit);
    // Calls `visit` with the row at each of `locations`, in that order;
    // stops early when `visit` returns false.
    Status visitRows(const TableDefinition& table, const std::vector<RowPointer>& locations,
                     const std::function<bool(const RowView&)>& visit);

    Pager& pager() { return *pager_; }
    File& file() { return *file_; }
    bool writable() const { return files_ != nullptr && mode_ != OpenMode::ReadOnly; }

    // Writes the pending changes to the file, all or nothing (see Journal).
    // After a failed commit the database must be opened again.
    Status commit();
    // Forgets the pending changes.
    void rollback();
    // Reads the catalog again (after tables were added).
    Status reloadCatalog();

private:
    Database(std::unique_ptr<File> file, HeaderInfo header, uint32_t pageCount);
    static Result<std::unique_ptr<Database>> openChecked(std::unique_ptr<File> file);
    Status readCatalog();

    std::unique_ptr<File> file_;
    HeaderInfo header_;
    std::unique_ptr<Pager> pager_;
    std::vector<TableEntry> tables_;
    FileSystem* files_ = nullptr;
    std::string path_;
    OpenMode mode_ = OpenMode::ReadOnly;
    bool broken_ = false;
    std::vector<std::string> notices_;
};

// The rows whose first key.size() columns of the index equal `key`, reading
// index pages from `pages`.
Result<std::vector<Row>> findRows(Database& database, IndexPages& pages, const TableDefinition& table,
                                  const std::string& indexName, const std::vector<Value>& key);

}  // namespace mdb
