#pragma once

#include "db/mdb/File.h"
#include "db/mdb/Header.h"
#include "db/mdb/Pager.h"
#include "db/mdb/TableDefinition.h"
#include "db/mdb/Value.h"

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

// An Access 2000-2003 (Jet 4) database file, open for reading.
//
// open() checks the header (refusing other versions and encrypted files)
// and reads the catalog. Every operation returns an Error naming the table
// and page where the file is damaged; nothing is printed. Not thread-safe:
// one Database per thread.
class Database {
public:
    static Result<std::unique_ptr<Database>> open(const std::string& path);
    static Result<std::unique_ptr<Database>> open(std::unique_ptr<File> file);

    const HeaderInfo& header() const { return header_; }
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
    Result<Row> readRowAt(const TableDefinition& table, RowPointer location);

    // The rows whose first key.size() index columns equal `key`, in index
    // order. Fails for a key the index cannot be searched with.
    Result<std::vector<Row>> find(const TableDefinition& table, const std::string& indexName,
                                  const std::vector<Value>& key);

    Pager& pager() { return *pager_; }
    File& file() { return *file_; }

private:
    Database(std::unique_ptr<File> file, HeaderInfo header, uint32_t pageCount);
    Status readCatalog();

    std::unique_ptr<File> file_;
    HeaderInfo header_;
    std::unique_ptr<Pager> pager_;
    std::vector<TableEntry> tables_;
};

}  // namespace mdb
