#include "mdb/TableDefinition.h"

#include "mdb/Text.h"

#include <algorithm>
#include <set>

namespace mdb {

namespace {

constexpr std::size_t kDefinitionPageHeader = 8;
constexpr std::size_t kNextPageOffset = 4;
constexpr std::size_t kDefinitionLengthOffset = 8;
constexpr std::size_t kMaxDefinitionPages = 64;
constexpr int kIndexColumnSlots = 10;
constexpr uint16_t kNoColumn = 0xFFFF;

// A cursor over the definition's bytes that checks each read.
class DefinitionCursor {
public:
    DefinitionCursor(ByteView bytes, std::size_t offset) : bytes_(bytes), offset_(offset) {}

    bool take(std::size_t length, ByteView& out)
    {
        if (!bytes_.has(offset_, length))
            return false;
        out = bytes_.sub(offset_, length);
        offset_ += length;
        return true;
    }
    std::size_t offset() const { return offset_; }

private:
    ByteView bytes_;
    std::size_t offset_;
};

Column parseColumn(ByteView entry, const Layout& layout)
{
    Column column;
    column.type = ColumnType(entry.u8(0));
    column.number = entry.u16(layout.columnNumberOffset);
    column.variableIndex = entry.u16(layout.columnVariableIndexOffset);
    column.precision = entry.u8(layout.columnPrecisionOffset);
    column.scale = entry.u8(layout.columnScaleOffset);
    column.sortOrder = entry.u16(layout.columnPrecisionOffset);
    column.flags = entry.u8(layout.columnFlagsOffset);
    column.compressedUnicode = layout.columnCompressedFlagOffset != 0 && (entry.u8(layout.columnCompressedFlagOffset) & 0x01);
    column.fixedOffset = entry.u16(layout.columnFixedOffsetOffset);
    column.length = entry.u16(layout.columnLengthOffset);
    return column;
}

bool readName(DefinitionCursor& cursor, const Layout& layout, std::string& name)
{
    ByteView lengthBytes;
    if (!cursor.take(layout.nameLengthSize, lengthBytes))
        return false;
    const std::size_t length = layout.nameLengthSize == 2 ? lengthBytes.u16(0) : lengthBytes.u8(0);
    ByteView text;
    if (!cursor.take(length, text))
        return false;
    name = layout.unicodeNames ? utf16leToUtf8(text) : std::string(text.data(), text.data() + text.size());
    return true;
}

RealIndex parseRealIndex(ByteView entry, const Layout& layout)
{
    RealIndex index;
    for (int slot = 0; slot < kIndexColumnSlots; ++slot) {
        const std::size_t at = layout.realIndexColumnsOffset + std::size_t(slot) * 3;
        const uint16_t number = entry.u16(at);
        if (number != kNoColumn)
            index.columns.push_back({number, (entry.u8(at + 2) & kAscendingColumnFlag) != 0});
    }
    index.ownedPagesPointer = entry.u32(layout.realIndexRootOffset - 4);
    index.rootPage = entry.u32(layout.realIndexRootOffset);
    index.flags = entry.u8(layout.realIndexFlagsOffset);
    return index;
}

Index parseIndex(ByteView entry, const Layout& layout)
{
    Index index;
    index.number = entry.u32(layout.logicalIndexNumberOffset);
    index.realIndex = entry.u32(layout.logicalIndexRealNumberOffset);
    index.kind = entry.u8(layout.logicalIndexTypeOffset);
    return index;
}

Error damaged(const TableDefinition& table, const std::string& what)
{
    return corruption("table " + table.name + ", definition page " + std::to_string(table.firstPage) + ": " + what);
}

// Checks what the rows and indexes rely on: columns inside the row limits,
// indexes naming real columns and real indexes.
Status validate(const TableDefinition& table, const Layout& layout)
{
    std::set<uint16_t> numbers;
    for (const Column& column : table.columns) {
        if (column.number >= table.maxColumns)
            return damaged(table, "column " + column.name + " has number " + std::to_string(column.number) +
                                      " beyond the table's " + std::to_string(table.maxColumns) + " columns");
        if (!numbers.insert(column.number).second)
            return damaged(table, "two columns have number " + std::to_string(column.number));
        if (column.isFixed() && std::size_t(column.fixedOffset) + column.length > layout.pageSize)
            return damaged(table, "column " + column.name + " lies beyond a page");
    }
    for (const RealIndex& real : table.realIndexes) {
        for (const IndexColumn& indexed : real.columns) {
            if (!numbers.count(indexed.columnNumber))
                return damaged(table, "an index names column number " + std::to_string(indexed.columnNumber) +
                                          ", which the table does not have");
        }
    }
    for (const Index& index : table.indexes) {
        if (index.realIndex >= table.realIndexes.size())
            return damaged(table, "index " + index.name + " refers to stored index " +
                                      std::to_string(index.realIndex) + " of " +
                                      std::to_string(table.realIndexes.size()));
    }
    return Status::success();
}

}  // namespace

const Column* TableDefinition::column(const std::string& columnName) const
{
    for (const Column& c : columns) {
        if (c.name == columnName)
            return &c;
    }
    return nullptr;
}

const Column* TableDefinition::columnByNumber(uint16_t number) const
{
    for (const Column& c : columns) {
        if (c.number == number)
            return &c;
    }
    return nullptr;
}

const Index* TableDefinition::index(const std::string& indexName) const
{
    for (const Index& i : indexes) {
        if (i.name == indexName)
            return &i;
    }
    return nullptr;
}

Result<std::vector<uint8_t>> readDefinitionBytes(Pager& pager, uint32_t page, std::vector<uint32_t>& chain)
{
    std::vector<uint8_t> bytes;
    uint32_t next = page;
    while (next != 0) {
        if (chain.size() >= kMaxDefinitionPages || std::find(chain.begin(), chain.end(), next) != chain.end())
            return corruption("definition page " + std::to_string(page) + ": its page chain loops or is too long");
        auto current = readPageOfType(pager, next, kTableDefinitionPage, "definition");
        if (!current)
            return current.error();
        chain.push_back(next);
        const ByteView view = current->view();
        const std::size_t skip = bytes.empty() ? 0 : kDefinitionPageHeader;
        bytes.insert(bytes.end(), view.data() + skip, view.data() + view.size());
        next = view.u32(kNextPageOffset);
    }
    return bytes;
}

Result<TableDefinition> readTableDefinition(Pager& pager, uint32_t page, const std::string& tableName)
{
    const Layout& layout = pager.layout();
    TableDefinition table;
    table.name = tableName;
    table.firstPage = page;
    auto bytes = readDefinitionBytes(pager, page, table.pages);
    if (!bytes)
        return within("table " + tableName, bytes.error());
    const ByteView view(*bytes);

    table.rowCount = view.u32(layout.tdefRowCountOffset);
    table.nextAutonumber = view.u32(layout.tdefAutonumberOffset);
    table.tableType = view.u8(layout.tdefTableTypeOffset);
    table.maxColumns = view.u16(layout.tdefMaxColumnsOffset);
    table.variableColumnCount = view.u16(layout.tdefVariableColumnsOffset);
    const uint16_t columnCount = view.u16(layout.tdefColumnCountOffset);
    const uint32_t indexCount = view.u32(layout.tdefIndexCountOffset);
    const uint32_t realIndexCount = view.u32(layout.tdefRealIndexCountOffset);
    table.ownedPagesPointer = view.u32(layout.tdefOwnedPagesOffset);
    table.freePagesPointer = view.u32(layout.tdefFreePagesOffset);
    if (columnCount > table.maxColumns || realIndexCount > indexCount || indexCount > 1000)
        return damaged(table, "column or index counts are inconsistent");

    DefinitionCursor cursor(view, layout.tdefRealIndexStart);
    ByteView entry;
    std::vector<uint32_t> distinctKeyss;
    for (uint32_t i = 0; i < realIndexCount; ++i) {
        if (!cursor.take(layout.realIndexCountEntrySize, entry))
            return damaged(table, "index counts run past the end of the definition");
        distinctKeyss.push_back(entry.u32(4));
    }
    for (uint16_t i = 0; i < columnCount; ++i) {
        if (!cursor.take(layout.columnEntrySize, entry))
            return damaged(table, "column entries run past the end of the definition");
        table.columns.push_back(parseColumn(entry, layout));
    }
    for (Column& column : table.columns) {
        if (!readName(cursor, layout, column.name))
            return damaged(table, "column names run past the end of the definition");
    }
    for (uint32_t i = 0; i < realIndexCount; ++i) {
        if (!cursor.take(layout.realIndexEntrySize, entry))
            return damaged(table, "index definitions run past the end of the definition");
        table.realIndexes.push_back(parseRealIndex(entry, layout));
        table.realIndexes.back().distinctKeys = distinctKeyss[i];
    }
    for (uint32_t i = 0; i < indexCount; ++i) {
        if (!cursor.take(layout.logicalIndexEntrySize, entry))
            return damaged(table, "index entries run past the end of the definition");
        table.indexes.push_back(parseIndex(entry, layout));
    }
    for (Index& index : table.indexes) {
        if (!readName(cursor, layout, index.name))
            return damaged(table, "index names run past the end of the definition");
    }
    // The long-value columns' page maps, ended by 0xFFFF (absent in some files).
    while (cursor.take(2, entry) && entry.u16(0) != kNoColumn) {
        ByteView maps;
        if (!cursor.take(8, maps))
            break;
        table.longValueMaps.push_back({entry.u16(0), maps.u32(0), maps.u32(4)});
    }
    table.length = view.u32(kDefinitionLengthOffset);

    std::sort(table.columns.begin(), table.columns.end(),
              [](const Column& a, const Column& b) { return a.number < b.number; });
    if (Status valid = validate(table, layout); !valid)
        return valid.error();
    return table;
}

}  // namespace mdb
