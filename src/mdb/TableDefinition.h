#pragma once

#include "mdb/Pager.h"
#include "mdb/Result.h"
#include "mdb/Value.h"

#include <cstdint>
#include <string>
#include <vector>

namespace mdb {

// A data pointer: a row on a page, packed as page << 8 | row.
struct RowPointer {
    uint32_t page = 0;
    uint8_t row = 0;
    static RowPointer unpack(uint32_t packed) { return {packed >> 8, uint8_t(packed & 0xFF)}; }
    uint32_t pack() const { return page << 8 | row; }
    bool operator==(const RowPointer&) const = default;
    auto operator<=>(const RowPointer&) const = default;
};

// One column of a table (FORMAT.md "Table definitions").
struct Column {
    std::string name;
    ColumnType type = ColumnType::Long;
    uint16_t number = 0;         // bit in the null mask; counts deleted columns too
    uint16_t variableIndex = 0;  // entry in a row's variable-offset table
    uint16_t fixedOffset = 0;    // offset in a row's fixed part
    uint16_t length = 0;         // declared length in bytes (0 for long values)
    uint8_t flags = 0;
    bool compressedUnicode = false;
    uint8_t precision = 0;
    uint8_t scale = 0;
    uint16_t sortOrder = 0;      // text collation (0x409: General)

    static constexpr uint8_t kFixedFlag = 0x01;
    static constexpr uint8_t kNullableFlag = 0x02;
    static constexpr uint8_t kAutonumberFlag = 0x04;

    bool isFixed() const { return flags & kFixedFlag; }
    bool isAutonumber() const { return flags & kAutonumberFlag; }
    bool isLongValue() const
    {
        return type == ColumnType::Memo || type == ColumnType::Ole || type == ColumnType::Attachment;
    }
};

struct IndexColumn {
    uint16_t columnNumber = 0;
    bool ascending = true;
};

// The stored tree of an index, shared by the indexes that name it.
struct RealIndex {
    std::vector<IndexColumn> columns;
    uint32_t ownedPagesPointer = 0;
    uint32_t rootPage = 0;
    uint8_t flags = 0;
    uint32_t distinctKeys = 0;  // number of different keys, as the definition records it

    static constexpr uint8_t kUniqueFlag = 0x01;
    static constexpr uint8_t kIgnoreNullsFlag = 0x02;
    static constexpr uint8_t kRequiredFlag = 0x08;
    static constexpr uint8_t kAlwaysSetFlag = 0x80;
};

// The usage maps of a long-value column's pages.
struct LongValueMaps {
    uint16_t columnNumber = 0;
    uint32_t ownedPagesPointer = 0;
    uint32_t freePagesPointer = 0;
};

// An index as the user sees it: a name over a real index.
struct Index {
    std::string name;
    uint32_t number = 0;
    uint32_t realIndex = 0;
    uint8_t kind = 0;  // 0 plain, 1 primary key, 2 foreign key

    static constexpr uint8_t kPrimaryKey = 1;
    static constexpr uint8_t kForeignKey = 2;
};

// A table's definition, read from its definition pages.
struct TableDefinition {
    std::string name;
    uint32_t firstPage = 0;
    std::vector<uint32_t> pages;  // the definition's page chain
    uint32_t rowCount = 0;
    uint32_t nextAutonumber = 0;
    uint8_t tableType = 0;        // 0x4E user table, 0x53 system table
    uint16_t maxColumns = 0;
    uint16_t variableColumnCount = 0;
    uint32_t ownedPagesPointer = 0;
    uint32_t freePagesPointer = 0;
    std::vector<Column> columns;  // in column-number order
    std::vector<RealIndex> realIndexes;
    std::vector<Index> indexes;
    std::vector<LongValueMaps> longValueMaps;
    std::size_t length = 0;  // of the definition's bytes

    const Column* column(const std::string& columnName) const;
    const Column* columnByNumber(uint16_t number) const;
    const Index* index(const std::string& indexName) const;
};

// Reads the definition that starts at `page`, following its page chain.
// `tableName` is used in messages. Every count and offset is checked against
// the definition's length; a damaged definition gives an Error saying where.
Result<TableDefinition> readTableDefinition(Pager& pager, uint32_t page, const std::string& tableName);

// The definition's bytes: its first page whole, then each further page
// without its 8-byte header (FORMAT.md "Table definitions").
Result<std::vector<uint8_t>> readDefinitionBytes(Pager& pager, uint32_t page, std::vector<uint32_t>& chain);

}  // namespace mdb
