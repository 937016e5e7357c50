#pragma once

#include "mdb/Database.h"
#include "mdb/DefinitionWriter.h"
#include "mdb/TableWriter.h"

#include <map>
#include <memory>

namespace mdb {

// Changes to a database open for writing: rows appended, changed and
// deleted, tables and indexes added. Changes wait in memory until commit(),
// which writes them all or none (see Journal). Any failed change discards
// every pending change, so a commit never writes half an operation.
class DatabaseWriter {
public:
    explicit DatabaseWriter(Database& database);

    Result<RowPointer> append(const std::string& table, std::vector<Value> values);
    Status update(const std::string& table, RowPointer location, std::vector<Value> values);
    Status remove(const std::string& table, RowPointer location);

    // Adds a table with its indexes and lists it in the catalog.
    Status createTable(const std::string& name, const std::vector<ColumnSpec>& columns,
                       const std::vector<IndexSpec>& indexes, bool system = false);
    // Adds an index to an existing table and fills it from the table's rows.
    Status createIndex(const std::string& table, const IndexSpec& index);

    // The rows whose first key.size() index columns equal `key`, seeing the
    // pending changes.
    Result<std::vector<Row>> find(const std::string& table, const std::string& index, const std::vector<Value>& key);

    Status commit();
    void rollback();

    // When on (for the whole program), every commit is followed by a full
    // check of the file (verifyDatabase) and fails when it finds a problem.
    static void verifyEveryCommit(bool on);

    // Writes text keys with their trailing blanks, as earlier versions of
    // this engine did: only for tests that need such files.
    void writeEarlierTextKeys() { earlierTextKeys_ = true; }

    // The table's definition as changed so far.
    Result<TableDefinition*> definition(const std::string& table);

private:
    struct TableState {
        TableDefinition definition;
        std::unique_ptr<TableWriter> writer;
    };
    Result<TableState*> state(const std::string& table);
    TableState& adopt(TableDefinition definition);
    Status addCatalogRow(const TableDefinition& table, bool system);
    // Takes into the index cache the trees of `table` written in an earlier
    // engine's form, so that they are read right and written back in
    // Access's form.
    Status takeEarlierIndexPages(const TableDefinition& table);
    // Every change also rewrites what earlier versions of this engine wrote
    // in forms other programs cannot read: index pages (of every table) and
    // the header page's password mask.
    Status rewriteEarlierForms();
    template <typename T>
    T failed(T error)
    {
        rollback();
        return error;
    }

    Database& database_;
    IndexPageCache indexPages_;
    PageAllocator allocator_;
    UsageMapEditor maps_;
    std::map<std::string, TableState> tables_;
    bool earlierTextKeys_ = false;
};

// The wall-clock time now, in the file's date form.
DateTime now();

// Makes a table whose definition starts on `definitionPage` (already
// allocated): its usage maps, index root pages and definition, but no row in
// the catalog. Used for every new table, and alone for the catalog itself.
Result<TableDefinition> makeTable(Pager& pager, IndexPageCache& indexPages, PageAllocator& allocator,
                                  UsageMapEditor& maps, uint32_t definitionPage, const std::string& name,
                                  const std::vector<ColumnSpec>& columns, const std::vector<IndexSpec>& indexes,
                                  bool system);

}  // namespace mdb
