#pragma once

#include "mdb/PageAllocator.h"
#include "mdb/TableDefinition.h"

#include <string>
#include <vector>

namespace mdb {

// A column of a table to be made.
struct ColumnSpec {
    std::string name;
    ColumnType type = ColumnType::Long;
    uint16_t characters = 255;  // text columns: the longest text
    bool autonumber = false;
    bool fixedLength = false;   // text columns: always `characters` long, kept in the row's fixed part
};

// An index of a table to be made; its columns are ascending.
struct IndexSpec {
    std::string name;
    std::vector<std::string> columns;
    bool unique = false;
    bool primaryKey = false;
};

// The definition bytes of a new table (FORMAT.md "Table definitions"), given
// its columns, its indexes (with their usage maps and root pages already
// placed) and its usage maps. `table` is filled in as the reader would read
// it: columns numbered in order, fixed columns laid out, variable columns
// indexed.
Result<std::vector<uint8_t>> buildDefinition(TableDefinition& table, const std::vector<ColumnSpec>& columns,
                                             const std::vector<IndexSpec>& indexes, const Layout& layout);

// The definition bytes with one more index (real and logical), the rest of
// the bytes kept as they were, so that fields this engine does not know are
// preserved.
Result<std::vector<uint8_t>> addIndexToDefinition(const std::vector<uint8_t>& bytes, const TableDefinition& table,
                                                  const RealIndex& real, const std::string& name,
                                                  const Layout& layout);

// Writes definition bytes over the table's page chain starting at
// `firstPage`, taking more pages from the allocator when the definition has
// grown and releasing pages it no longer needs.
Status writeDefinition(Pager& pager, PageAllocator& allocator, uint32_t firstPage, const std::vector<uint8_t>& bytes);

}  // namespace mdb
