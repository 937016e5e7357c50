#include "mdb/DefinitionWriter.h"

#include "mdb/ByteWriter.h"

#include "mdb/Text.h"

#include <algorithm>

namespace mdb {

namespace {

// Constants found in every definition Access writes (FORMAT.md "Table
// definitions").
constexpr uint32_t kDefinitionMagic = 0x0659;
constexpr uint32_t kRealIndexMagic = 0x0783;
constexpr uint8_t kCascadeNone = 0x04;
constexpr uint16_t kGeneralSortOrderCode = 0x0409;
constexpr uint8_t kUserTable = 0x4E;
constexpr std::size_t kHeaderSize = 8;
constexpr uint16_t kNoColumn = 0xFFFF;
constexpr int kIndexColumnSlots = 10;

class Writer {
public:
    void u8(uint8_t v) { bytes.push_back(v); }
    void u16(uint16_t v)
    {
        u8(uint8_t(v));
        u8(uint8_t(v >> 8));
    }
    void u32(uint32_t v)
    {
        u16(uint16_t(v));
        u16(uint16_t(v >> 16));
    }
    void zeros(std::size_t n) { bytes.insert(bytes.end(), n, 0); }
    void name(const std::string& text)
    {
        const std::vector<uint8_t> ucs2 = encodeUcs2(text);
        u16(uint16_t(ucs2.size()));
        bytes.insert(bytes.end(), ucs2.begin(), ucs2.end());
    }
    std::vector<uint8_t> bytes;
};

bool isVariable(ColumnType type)
{
    return fixedSizeOf(type) == 0;
}

// Lays out the columns as the reader will find them.
Status layOutColumns(TableDefinition& table, const std::vector<ColumnSpec>& specs)
{
    uint16_t fixedOffset = 0;
    uint16_t variableIndex = 0;
    for (std::size_t i = 0; i < specs.size(); ++i) {
        const ColumnSpec& spec = specs[i];
        Column column;
        column.name = spec.name;
        column.type = spec.type;
        column.number = uint16_t(i);
        column.flags = Column::kNullableFlag;
        if (spec.autonumber) {
            if (spec.type != ColumnType::Long)
                return invalidArgument("column " + spec.name + ": only Long Integer columns can be autonumbers");
            column.flags |= Column::kAutonumberFlag;
        }
        const bool fixedText = spec.fixedLength && spec.type == ColumnType::Text;
        if (isVariable(spec.type) && !fixedText) {
            column.variableIndex = variableIndex++;
            column.length = spec.type == ColumnType::Text ? uint16_t(spec.characters * 2)
                            : spec.type == ColumnType::Binary ? 510 : 0;
            column.compressedUnicode = spec.type == ColumnType::Text || spec.type == ColumnType::Memo;
            column.sortOrder = kGeneralSortOrderCode;
        } else {
            column.flags |= Column::kFixedFlag;
            column.variableIndex = variableIndex;  // variable columns before it, as Access records
            column.length = fixedText ? uint16_t(spec.characters * 2) : uint16_t(fixedSizeOf(spec.type));
            column.fixedOffset = spec.type == ColumnType::Boolean ? 0 : fixedOffset;
            if (spec.type != ColumnType::Boolean)
                fixedOffset = uint16_t(fixedOffset + column.length);
            column.sortOrder = kGeneralSortOrderCode;
        }
        table.columns.push_back(column);
    }
    table.maxColumns = uint16_t(specs.size());
    table.variableColumnCount = variableIndex;
    return Status::success();
}

Result<RealIndex> realIndexFor(const TableDefinition& table, const IndexSpec& spec, const RealIndex& placed)
{
    RealIndex real = placed;
    real.columns.clear();
    if (spec.columns.empty() || spec.columns.size() > std::size_t(kIndexColumnSlots))
        return invalidArgument("index " + spec.name + " must have 1 to 10 columns");
    for (const std::string& name : spec.columns) {
        const Column* column = table.column(name);
        if (!column)
            return invalidArgument("index " + spec.name + " names a column " + name + " the table does not have");
        real.columns.push_back({column->number, true});
    }
    real.flags = uint8_t(RealIndex::kAlwaysSetFlag | (spec.unique || spec.primaryKey ? RealIndex::kUniqueFlag : 0));
    return real;
}

void writeColumnEntry(Writer& out, const Column& column, std::size_t position)
{
    out.u8(uint8_t(column.type));
    out.u32(kDefinitionMagic);
    out.u16(column.number);
    out.u16(column.variableIndex);
    out.u16(uint16_t(position));
    if (column.type == ColumnType::Numeric) {
        out.u8(column.precision);
        out.u8(column.scale);
    } else {
        out.u16(column.sortOrder);
    }
    out.u16(0);  // sort order version 0
    out.u8(column.flags);
    out.u8(column.compressedUnicode ? 0x01 : 0x00);
    out.u32(0);
    out.u16(column.fixedOffset);
    out.u16(column.length);
}

void writeRealIndex(Writer& out, const RealIndex& real)
{
    out.u32(kRealIndexMagic);
    for (int slot = 0; slot < kIndexColumnSlots; ++slot) {
        if (std::size_t(slot) < real.columns.size()) {
            out.u16(real.columns[std::size_t(slot)].columnNumber);
            out.u8(real.columns[std::size_t(slot)].ascending ? kAscendingColumnFlag : 0);
        } else {
            out.u16(kNoColumn);
            out.u8(0);
        }
    }
    out.u32(real.ownedPagesPointer);
    out.u32(real.rootPage);
    out.u32(0);
    out.u8(real.flags);
    out.zeros(5);
}

void writeLogicalIndex(Writer& out, const Index& index)
{
    out.u32(kDefinitionMagic);
    out.u32(index.number);
    out.u32(index.realIndex);
    out.u8(0);
    out.u32(0xFFFFFFFF);  // not a foreign key
    out.u32(0);
    out.u8(kCascadeNone);
    out.u8(kCascadeNone);
    out.u8(index.kind);
    out.u32(0);
}

}  // namespace

Result<std::vector<uint8_t>> buildDefinition(TableDefinition& table, const std::vector<ColumnSpec>& columns,
                                             const std::vector<IndexSpec>& indexes, const Layout& layout)
{
    if (columns.empty())
        return invalidArgument("table " + table.name + " needs at least one column");
    table.columns.clear();
    if (Status laidOut = layOutColumns(table, columns); !laidOut)
        return laidOut.error();
    if (indexes.size() != table.realIndexes.size())
        return invalidArgument("table " + table.name + ": every index needs its root page and map");
    for (std::size_t i = 0; i < indexes.size(); ++i) {
        auto real = realIndexFor(table, indexes[i], table.realIndexes[i]);
        if (!real)
            return within("table " + table.name, real.error());
        table.realIndexes[i] = *real;
        Index index;
        index.name = indexes[i].name;
        index.number = uint32_t(i);
        index.realIndex = uint32_t(i);
        index.kind = indexes[i].primaryKey ? Index::kPrimaryKey : 0;
        table.indexes.push_back(index);
    }

    Writer out;
    out.u8(kTableDefinitionPage);
    out.u8(0x01);
    out.u16(0);  // free space, set when the pages are written
    out.u32(0);  // next page, likewise
    out.u32(0);  // length, set below
    out.u32(kDefinitionMagic);
    out.u32(table.rowCount);
    out.u32(table.nextAutonumber);
    out.u8(0x01);  // autonumbers enabled
    out.zeros(3 + 4 + 8);
    out.u8(table.tableType ? table.tableType : kUserTable);
    out.u16(table.maxColumns);
    out.u16(table.variableColumnCount);
    out.u16(uint16_t(table.columns.size()));
    out.u32(uint32_t(table.indexes.size()));
    out.u32(uint32_t(table.realIndexes.size()));
    out.u32(table.ownedPagesPointer);
    out.u32(table.freePagesPointer);
    if (out.bytes.size() != layout.tdefRealIndexStart)
        return invalidArgument("definition header has the wrong size");
    for (const RealIndex& real : table.realIndexes) {
        out.u32(0);
        out.u32(real.distinctKeys);
        out.u32(0);
    }
    for (std::size_t i = 0; i < table.columns.size(); ++i)
        writeColumnEntry(out, table.columns[i], i);
    for (const Column& column : table.columns)
        out.name(column.name);
    for (const RealIndex& real : table.realIndexes)
        writeRealIndex(out, real);
    for (const Index& index : table.indexes)
        writeLogicalIndex(out, index);
    for (const Index& index : table.indexes)
        out.name(index.name);
    for (const LongValueMaps& maps : table.longValueMaps) {
        out.u16(maps.columnNumber);
        out.u32(maps.ownedPagesPointer);
        out.u32(maps.freePagesPointer);
    }
    out.u16(kNoColumn);
    ByteWriter(out.bytes).u32(8, uint32_t(out.bytes.size()));
    table.length = out.bytes.size();
    return out.bytes;
}

Result<std::vector<uint8_t>> addIndexToDefinition(const std::vector<uint8_t>& bytes, const TableDefinition& table,
                                                  const RealIndex& real, const std::string& name,
                                                  const Layout& layout)
{
    const ByteView view(bytes);
    const uint32_t realCount = view.u32(layout.tdefRealIndexCountOffset);
    const uint32_t logicalCount = view.u32(layout.tdefIndexCountOffset);
    if (realCount != table.realIndexes.size() || logicalCount != table.indexes.size())
        return invalidArgument("table " + table.name + ": definition does not match what was read");

    // Where each section ends in the current bytes.
    std::size_t at = layout.tdefRealIndexStart + realCount * layout.realIndexCountEntrySize;
    const std::size_t countsEnd = at;
    at += table.columns.size() * layout.columnEntrySize;
    for (std::size_t i = 0; i < table.columns.size(); ++i)
        at += 2 + view.u16(at);
    const std::size_t realEnd = at + realCount * layout.realIndexEntrySize;
    const std::size_t logicalEnd = realEnd + logicalCount * layout.logicalIndexEntrySize;
    std::size_t namesEnd = logicalEnd;
    for (uint32_t i = 0; i < logicalCount; ++i)
        namesEnd += 2 + view.u16(namesEnd);
    if (namesEnd > bytes.size())
        return invalidArgument("table " + table.name + ": definition is shorter than its sections");

    Writer count, realEntry, logicalEntry, indexName;
    count.u32(0);
    count.u32(0);
    count.u32(0);
    writeRealIndex(realEntry, real);
    Index index;
    index.name = name;
    index.number = logicalCount;
    index.realIndex = realCount;
    writeLogicalIndex(logicalEntry, index);
    indexName.name(name);

    std::vector<uint8_t> result(bytes.begin(), bytes.begin() + std::ptrdiff_t(countsEnd));
    result.insert(result.end(), count.bytes.begin(), count.bytes.end());
    result.insert(result.end(), bytes.begin() + std::ptrdiff_t(countsEnd), bytes.begin() + std::ptrdiff_t(realEnd));
    result.insert(result.end(), realEntry.bytes.begin(), realEntry.bytes.end());
    result.insert(result.end(), bytes.begin() + std::ptrdiff_t(realEnd), bytes.begin() + std::ptrdiff_t(logicalEnd));
    result.insert(result.end(), logicalEntry.bytes.begin(), logicalEntry.bytes.end());
    result.insert(result.end(), bytes.begin() + std::ptrdiff_t(logicalEnd), bytes.begin() + std::ptrdiff_t(namesEnd));
    result.insert(result.end(), indexName.bytes.begin(), indexName.bytes.end());
    const std::size_t oldLength = std::min<std::size_t>(view.u32(8), bytes.size());
    result.insert(result.end(), bytes.begin() + std::ptrdiff_t(namesEnd), bytes.begin() + std::ptrdiff_t(oldLength));
    ByteWriter counts(result);
    counts.u32(layout.tdefIndexCountOffset, logicalCount + 1);
    counts.u32(layout.tdefRealIndexCountOffset, realCount + 1);
    counts.u32(8, uint32_t(result.size()));
    return result;
}

Status writeDefinition(Pager& pager, PageAllocator& allocator, uint32_t firstPage, const std::vector<uint8_t>& bytes)
{
    const std::size_t pageSize = pager.pageSize();
    std::vector<uint32_t> chain;
    if (firstPage != 0) {
        auto existing = readDefinitionBytes(pager, firstPage, chain);
        if (!existing && chain.empty())
            chain.push_back(firstPage);  // a new page, not yet a definition
    }
    const std::size_t capacity = pageSize - kHeaderSize;
    const std::size_t pagesNeeded = 1 + (bytes.size() > pageSize ? (bytes.size() - pageSize + capacity - 1) / capacity : 0);
    while (chain.size() < pagesNeeded) {
        auto page = allocator.allocate();
        if (!page)
            return page.error();
        chain.push_back(*page);
    }
    for (std::size_t extra = pagesNeeded; extra < chain.size(); ++extra) {
        if (Status released = allocator.release(chain[extra]); !released)
            return released;
    }
    chain.resize(pagesNeeded);

    std::size_t from = 0;
    for (std::size_t i = 0; i < chain.size(); ++i) {
        auto page = pager.modify(chain[i]);
        if (!page)
            return page.error();
        std::vector<uint8_t>& out = **page;
        std::fill(out.begin(), out.end(), 0);
        const std::size_t skip = i == 0 ? 0 : kHeaderSize;
        const std::size_t take = std::min(bytes.size() - from, pageSize - skip);
        std::copy_n(bytes.begin() + std::ptrdiff_t(from), take, out.begin() + std::ptrdiff_t(skip));
        from += take;
        const std::size_t unused = pageSize - skip - take;
        ByteWriter header(out);
        header.u8(0, kTableDefinitionPage);
        header.u8(1, 0x01);
        header.u16(2, uint16_t(unused > kHeaderSize ? unused - kHeaderSize : 0));
        header.u32(4, i + 1 < chain.size() ? chain[i + 1] : 0);
    }
    return Status::success();
}

}  // namespace mdb
