#include "mdb/TableWriter.h"

#include "mdb/ByteWriter.h"
#include "mdb/DataPage.h"
#include "mdb/DataPageEditor.h"
#include "mdb/GeneralSortOrder.h"
#include "mdb/IndexKey.h"
#include "mdb/IndexTree.h"
#include "mdb/LongValue.h"
#include "mdb/RowDecoder.h"
#include "mdb/RowEncoder.h"
#include "mdb/Text.h"
#include "mdb/UsageMap.h"

#include <algorithm>
#include <limits>

namespace mdb {

namespace {

constexpr std::size_t kInlineLongValueLimit = 256;  // longer values go to their own pages
constexpr std::size_t kFreeMapThreshold = 512;      // a page with less room leaves the free-space map
constexpr std::size_t kPointerSize = 4;
constexpr int kPagesTriedForRoom = 8;

std::vector<uint8_t> pointerBytes(RowPointer pointer)
{
    const uint32_t packed = pointer.pack();
    return {uint8_t(packed), uint8_t(packed >> 8), uint8_t(packed >> 16), uint8_t(packed >> 24)};
}

bool keyTypeSupported(const Column& column)
{
    if (isNumberType(column.type))
        return true;
    return column.type == ColumnType::Text && column.sortOrder == kGeneralSortOrder;
}

}  // namespace

TableWriter::TableWriter(Pager& pager, IndexPageCache& indexPages, PageAllocator& allocator, UsageMapEditor& maps,
                         TableDefinition& table)
    : pager_(pager), indexPages_(indexPages), allocator_(allocator), maps_(maps), table_(table)
{
}

Status TableWriter::checkWritable(const TableDefinition& table)
{
    for (const Index& index : table.indexes) {
        if (index.kind == Index::kForeignKey)
            return unsupported("table " + table.name + " has the foreign-key index " + index.name +
                         ", which this program does not maintain; it will not change the table");
    }
    for (const RealIndex& real : table.realIndexes) {
        for (const IndexColumn& indexed : real.columns) {
            const Column* column = table.columnByNumber(indexed.columnNumber);
            if (!column || !keyTypeSupported(*column))
                return unsupported("table " + table.name + " has an index over column " + (column ? column->name : "?") +
                             ", whose key form this program does not maintain; it will not change the table");
        }
    }
    return Status::success();
}

Status TableWriter::writeCounts()
{
    auto page = pager_.modify(table_.firstPage);
    if (!page)
        return page.error();
    const Layout& layout = pager_.layout();
    ByteWriter writer(**page);
    writer.u32(layout.tdefRowCountOffset, table_.rowCount);
    writer.u32(layout.tdefAutonumberOffset, table_.nextAutonumber);
    for (std::size_t i = 0; i < table_.realIndexes.size(); ++i) {
        const std::size_t at = layout.tdefRealIndexStart + i * layout.realIndexCountEntrySize + 4;
        writer.u32(at, table_.realIndexes[i].distinctKeys);
    }
    if (!writer.ok())
        return corruption("table " + table_.name + ": index counts lie beyond the first definition page");
    return Status::success();
}

Status TableWriter::noteFreeSpace(uint32_t pageNumber)
{
    auto page = pager_.read(pageNumber);
    if (!page)
        return page.error();
    if (DataPageEditor::freeSpaceOf(ByteView((*page)->data(), (*page)->size()), pager_.layout()) < kFreeMapThreshold)
        return maps_.remove(table_.freePagesPointer, pageNumber);
    return maps_.add(table_.freePagesPointer, pageNumber);
}

Result<RowPointer> TableWriter::placeRow(const std::vector<uint8_t>& bytes, uint16_t flags)
{
    if (insertPage_ != 0) {
        auto placed = tryPlaceOn(insertPage_, bytes, flags);
        if (!placed || placed->page != 0)
            return placed;
    }
    auto free = readUsageMap(pager_, table_.freePagesPointer, "table " + table_.name + ", free-space map");
    if (!free)
        return free.error();
    int tried = 0;
    for (auto it = free->pages.rbegin(); it != free->pages.rend() && tried < kPagesTriedForRoom; ++it, ++tried) {
        auto placed = tryPlaceOn(*it, bytes, flags);
        if (!placed || placed->page != 0)
            return placed;
    }
    return placeOnNewPage(bytes, flags);
}

Result<RowPointer> TableWriter::tryPlaceOn(uint32_t candidate, const std::vector<uint8_t>& bytes, uint16_t flags)
{
    auto page = pager_.read(candidate);
    if (!page)
        return page.error();
    const Page view{candidate, *page};
    if (view.type() != kDataPage || dataPageOwner(view) != table_.firstPage)
        return RowPointer{};
    if (DataPageEditor::freeSpaceOf(view.view(), pager_.layout()) < bytes.size() + 2)
        return RowPointer{};
    auto editor = DataPageEditor::edit(pager_, candidate);
    if (!editor)
        return within("table " + table_.name, editor.error());
    if (!editor->canInsert(bytes.size()))
        return RowPointer{};
    auto row = editor->insert(bytes, flags);
    if (!row)
        return row.error();
    insertPage_ = candidate;
    if (editor->freeSpace() < kFreeMapThreshold) {
        if (Status noted = maps_.remove(table_.freePagesPointer, candidate); !noted)
            return noted.error();
    }
    return RowPointer{candidate, *row};
}

Result<RowPointer> TableWriter::placeOnNewPage(const std::vector<uint8_t>& bytes, uint16_t flags)
{
    auto allocated = allocator_.allocateDataPage(table_.firstPage);
    if (!allocated)
        return allocated.error();
    auto editor = DataPageEditor::edit(pager_, *allocated);
    if (!editor)
        return editor.error();
    auto row = editor->insert(bytes, flags);
    if (!row)
        return row.error();
    if (Status owned = maps_.add(table_.ownedPagesPointer, *allocated); !owned)
        return owned.error();
    if (editor->freeSpace() >= kFreeMapThreshold) {
        if (Status noted = maps_.add(table_.freePagesPointer, *allocated); !noted)
            return noted.error();
    }
    insertPage_ = *allocated;
    return RowPointer{*allocated, *row};
}

Result<RowPointer> TableWriter::storeLongValueRow(const Column& column, const std::vector<uint8_t>& bytes)
{
    if (longValuePage_ != 0) {
        auto editor = DataPageEditor::edit(pager_, longValuePage_);
        if (!editor)
            return editor.error();
        if (editor->canInsert(bytes.size())) {
            auto row = editor->insert(bytes);
            if (!row)
                return row.error();
            return RowPointer{longValuePage_, *row};
        }
    }
    auto allocated = allocator_.allocateDataPage(kLongValueOwner);
    if (!allocated)
        return allocated.error();
    for (const LongValueMaps& maps : table_.longValueMaps) {
        if (maps.columnNumber == column.number) {
            if (Status owned = maps_.add(maps.ownedPagesPointer, *allocated); !owned)
                return owned.error();
        }
    }
    longValuePage_ = *allocated;
    auto editor = DataPageEditor::edit(pager_, *allocated);
    if (!editor)
        return editor.error();
    auto row = editor->insert(bytes);
    if (!row)
        return row.error();
    return RowPointer{*allocated, *row};
}

Result<std::vector<uint8_t>> TableWriter::prepareLongValue(const Column& column, const Value& value)
{
    const std::vector<uint8_t> data = column.type == ColumnType::Memo
                                          ? encodeText(std::get<std::string>(value), column.compressedUnicode)
                                          : std::get<Bytes>(value);
    if (data.size() > LongValueReference::kLengthMask)
        return invalidArgument("column " + column.name + ": the value is too large");
    std::vector<uint8_t> reference(LongValueReference::kSize, 0);
    const uint32_t length = uint32_t(data.size());
    if (data.size() <= kInlineLongValueLimit) {
        ByteWriter(reference).u32(0, length | LongValueReference::kInlineFlag);
        reference.insert(reference.end(), data.begin(), data.end());
        return reference;
    }
    const std::size_t maxRow = DataPageEditor::maxRowSize(pager_.layout());
    if (data.size() <= maxRow) {
        auto where = storeLongValueRow(column, data);
        if (!where)
            return where.error();
        ByteWriter writer(reference);
        writer.u32(0, length | LongValueReference::kSinglePageFlag);
        writer.u32(4, where->pack());
        return reference;
    }
    // A chain of pieces, each naming the next; stored last first.
    const std::size_t pieceSize = maxRow - kPointerSize;
    RowPointer next;
    for (std::size_t end = data.size(); end > 0;) {
        const std::size_t start = (end - 1) / pieceSize * pieceSize;
        std::vector<uint8_t> piece = pointerBytes(next);
        piece.insert(piece.end(), data.begin() + std::ptrdiff_t(start), data.begin() + std::ptrdiff_t(end));
        auto where = storeLongValueRow(column, piece);
        if (!where)
            return where.error();
        next = *where;
        end = start;
    }
    ByteWriter writer(reference);
    writer.u32(0, length);
    writer.u32(4, next.pack());
    return reference;
}

Result<std::vector<uint8_t>> TableWriter::encode(const std::vector<Value>& values)
{
    if (values.size() != table_.columns.size())
        return invalidArgument("table " + table_.name + " has " + std::to_string(table_.columns.size()) + " columns, not " +
                     std::to_string(values.size()));
    std::map<std::size_t, std::vector<uint8_t>> longValues;
    for (std::size_t i = 0; i < values.size(); ++i) {
        const Column& column = table_.columns[i];
        if (Status valid = checkValue(column, values[i]); !valid)
            return within("table " + table_.name, valid.error());
        if (column.isLongValue() && !isNull(values[i])) {
            auto reference = prepareLongValue(column, values[i]);
            if (!reference)
                return within("table " + table_.name, reference.error());
            longValues[i] = std::move(*reference);
        }
    }
    return encodeRow(table_, values, longValues, DataPageEditor::maxRowSize(pager_.layout()));
}

Result<std::optional<IndexEntry>> TableWriter::entryFor(const RealIndex& index, const std::vector<Value>& values,
                                                        RowPointer row)
{
    std::vector<Value> keyValues;
    bool allNull = true;
    for (const IndexColumn& indexed : index.columns) {
        const Column* column = table_.columnByNumber(indexed.columnNumber);
        const Value& value = values[std::size_t(column - table_.columns.data())];
        allNull = allNull && isNull(value);
        keyValues.push_back(value);
    }
    if (allNull && (index.flags & RealIndex::kIgnoreNullsFlag))
        return std::optional<IndexEntry>();
    auto key = encodeKey(table_, index, keyValues, keyForm_);
    if (!key)
        return within("table " + table_.name, key.error());
    IndexEntry entry;
    entry.key = std::move(*key);
    entry.row = row;
    return std::optional<IndexEntry>(std::move(entry));
}

// An entry written by an earlier version may carry the key of its text with
// the trailing blanks: the entry to remove is the one the index holds.
Status TableWriter::useTheFormHeld(const RealIndex& index, const std::vector<Value>& values, IndexEntry& entry)
{
    std::vector<Value> keyValues;
    for (const IndexColumn& indexed : index.columns)
        keyValues.push_back(values[std::size_t(table_.columnByNumber(indexed.columnNumber) - table_.columns.data())]);
    const auto earlier = earlierFormKey(table_, index, keyValues, entry.key);
    if (!earlier)
        return Status::success();
    auto rows = IndexTree(indexPages_, index, pager_.pageCount()).find(entry.key);
    if (!rows)
        return within("table " + table_.name, rows.error());
    if (std::find(rows->begin(), rows->end(), entry.row) == rows->end())
        entry.key = *earlier;
    return Status::success();
}

Result<bool> TableWriter::sameKeyElsewhere(const RealIndex& index, const IndexEntry& entry,
                                           IndexWriter::SameKey known)
{
    if (known != IndexWriter::SameKey::Unknown)
        return known == IndexWriter::SameKey::Present;
    auto rows = IndexTree(indexPages_, index, pager_.pageCount()).find(entry.key);
    if (!rows)
        return rows.error();
    for (RowPointer row : *rows) {
        if (row != entry.row)
            return true;
    }
    return false;
}

Status TableWriter::checkUnique(std::size_t indexNumber, const IndexEntry& entry)
{
    const RealIndex& index = table_.realIndexes[indexNumber];
    if (!(index.flags & RealIndex::kUniqueFlag))
        return Status::success();
    auto existing = IndexTree(indexPages_, index, pager_.pageCount()).find(entry.key);
    if (!existing)
        return existing.error();
    for (RowPointer row : *existing) {
        if (row != entry.row) {
            std::string name;
            for (const Index& logical : table_.indexes) {
                if (logical.realIndex == indexNumber)
                    name = logical.name;
            }
            return invalidArgument("table " + table_.name + ": a row with the same " + name + " exists already");
        }
    }
    return Status::success();
}

Status TableWriter::addEntries(const std::vector<Value>& values, RowPointer row)
{
    for (std::size_t i = 0; i < table_.realIndexes.size(); ++i) {
        RealIndex& index = table_.realIndexes[i];
        auto entry = entryFor(index, values, row);
        if (!entry)
            return entry.error();
        if (!*entry)
            continue;
        if (Status unique = checkUnique(i, **entry); !unique)
            return unique;
        auto inserted = IndexWriter(indexPages_, allocator_, maps_, table_.firstPage, index).insert(**entry);
        if (!inserted)
            return within("table " + table_.name, inserted.error());
        auto others = sameKeyElsewhere(index, **entry, *inserted);
        if (!others)
            return others.error();
        if (!*others)
            ++index.distinctKeys;
    }
    return Status::success();
}

Status TableWriter::removeEntries(const std::vector<Value>& values, RowPointer row)
{
    for (RealIndex& index : table_.realIndexes) {
        auto entry = entryFor(index, values, row);
        if (!entry)
            return entry.error();
        if (!*entry)
            continue;
        if (Status found = useTheFormHeld(index, values, **entry); !found)
            return found;
        auto removed = IndexWriter(indexPages_, allocator_, maps_, table_.firstPage, index).remove(**entry);
        if (!removed)
            return within("table " + table_.name, removed.error());
        auto remaining = sameKeyElsewhere(index, **entry, *removed);
        if (!remaining)
            return remaining.error();
        if (!*remaining && index.distinctKeys > 0)
            --index.distinctKeys;
    }
    return Status::success();
}

Result<RowPointer> TableWriter::append(std::vector<Value> values)
{
    if (values.size() != table_.columns.size())
        return invalidArgument("table " + table_.name + " has " + std::to_string(table_.columns.size()) + " columns, not " +
                     std::to_string(values.size()));
    for (std::size_t i = 0; i < values.size(); ++i) {
        if (table_.columns[i].isAutonumber() && isNull(values[i])) {
            if (table_.nextAutonumber >= uint32_t(std::numeric_limits<int32_t>::max()))
                return unsupported("table " + table_.name + " has used all its autonumbers");
            values[i] = int32_t(++table_.nextAutonumber);
        }
        values[i] = storedForm(table_.columns[i], values[i]);  // index keys are made from what is stored
    }
    auto bytes = encode(values);
    if (!bytes)
        return bytes.error();
    auto row = placeRow(*bytes, 0);
    if (!row)
        return row.error();
    if (Status indexed = addEntries(values, *row); !indexed)
        return indexed.error();
    ++table_.rowCount;
    if (Status counted = writeCounts(); !counted)
        return counted.error();
    return *row;
}

Result<TableWriter::Stored> TableWriter::locate(RowPointer location)
{
    auto page = pager_.read(location.page);
    if (!page)
        return page.error();
    const Page view{location.page, *page};
    if (view.type() != kDataPage || dataPageOwner(view) != table_.firstPage)
        return notFound("table " + table_.name + ": page " + std::to_string(location.page) + " holds none of its rows");
    auto slots = readRowSlots(view, pager_.layout());
    if (!slots)
        return slots.error();
    if (location.row >= slots->size() || (*slots)[location.row].deleted)
        return notFound("table " + table_.name + ": no row at page " + std::to_string(location.page) + ", row " +
                     std::to_string(location.row));
    const RowSlot& slot = (*slots)[location.row];
    Stored stored;
    stored.place = location;
    if (slot.overflow) {
        const ByteView bytes = view.view().sub(slot.start, std::size_t(slot.end - slot.start));
        stored.moved = true;
        stored.place = RowPointer::unpack(bytes.u32(0));
        stored.flags = kRowDeletedFlag;
    }
    return stored;
}

Result<std::vector<Value>> TableWriter::readValues(RowPointer location)
{
    Page holder;
    auto bytes = readRow(pager_, location, holder);
    if (!bytes)
        return bytes.error();
    return RowDecoder(pager_, table_).decode(*bytes);
}

Status TableWriter::update(RowPointer location, std::vector<Value> values)
{
    auto stored = locate(location);
    if (!stored)
        return stored.error();
    auto old = readValues(location);
    if (!old)
        return old.error();
    for (std::size_t i = 0; i < values.size() && i < table_.columns.size(); ++i) {
        if (table_.columns[i].isAutonumber() && isNull(values[i]))
            values[i] = (*old)[i];  // an autonumber keeps its number
        values[i] = storedForm(table_.columns[i], values[i]);
    }
    auto bytes = encode(values);
    if (!bytes)
        return bytes.error();
    if (Status removed = removeEntries(*old, location); !removed)
        return removed;
    if (Status added = addEntries(values, location); !added)
        return added;

    auto editor = DataPageEditor::edit(pager_, stored->place.page);
    if (!editor)
        return within("table " + table_.name, editor.error());
    if (editor->canReplace(stored->place.row, bytes->size())) {
        if (Status replaced = editor->replace(stored->place.row, *bytes, stored->flags); !replaced)
            return replaced;
        if (Status noted = noteFreeSpace(stored->place.page); !noted)
            return noted;
        return writeCounts();
    }
    // The row moves; its first place keeps a pointer to it.
    auto moved = placeRow(*bytes, kRowDeletedFlag);
    if (!moved)
        return moved.error();
    if (stored->moved) {
        if (Status removed = removeStoredRow(stored->place); !removed)
            return removed;
    }
    auto home = DataPageEditor::edit(pager_, location.page);
    if (!home)
        return within("table " + table_.name, home.error());
    if (Status pointed = home->replace(location.row, pointerBytes(*moved), kRowOverflowFlag); !pointed)
        return within("table " + table_.name, pointed.error());
    return writeCounts();
}

Status TableWriter::removeStoredRow(RowPointer location)
{
    auto editor = DataPageEditor::edit(pager_, location.page);
    if (!editor)
        return within("table " + table_.name, editor.error());
    return editor->remove(location.row);
}

Status TableWriter::remove(RowPointer location)
{
    auto stored = locate(location);
    if (!stored)
        return stored.error();
    auto old = readValues(location);
    if (!old)
        return old.error();
    if (Status removed = removeEntries(*old, location); !removed)
        return removed;
    if (stored->moved) {
        if (Status removed = removeStoredRow(stored->place); !removed)
            return removed;
        if (Status noted = noteFreeSpace(stored->place.page); !noted)
            return noted;
    }
    if (Status removed = removeStoredRow(location); !removed)
        return removed;
    if (Status noted = noteFreeSpace(location.page); !noted)
        return noted;
    if (table_.rowCount > 0)
        --table_.rowCount;
    return writeCounts();
}

}  // namespace mdb

namespace mdb {

Status TableWriter::fillIndex(std::size_t realIndex)
{
    if (realIndex >= table_.realIndexes.size())
        return notFound("table " + table_.name + " has no index " + std::to_string(realIndex));
    auto owned = readUsageMap(pager_, table_.ownedPagesPointer, "table " + table_.name + ", owned-page map");
    if (!owned)
        return owned.error();
    std::vector<IndexEntry> entries;
    const RowDecoder decoder(pager_, table_);
    for (uint32_t pageNumber : owned->pages) {
        auto bytes = pager_.read(pageNumber);
        if (!bytes)
            return bytes.error();
        const Page page{pageNumber, *bytes};
        if (page.type() != kDataPage || dataPageOwner(page) != table_.firstPage)
            continue;
        auto slots = readRowSlots(page, pager_.layout());
        if (!slots)
            return slots.error();
        for (std::size_t i = 0; i < slots->size(); ++i) {
            if ((*slots)[i].deleted)
                continue;
            const RowPointer location{pageNumber, uint8_t(i)};
            auto values = readValues(location);
            if (!values)
                return values.error();
            auto entry = entryFor(table_.realIndexes[realIndex], *values, location);
            if (!entry)
                return entry.error();
            if (*entry)
                entries.push_back(std::move(**entry));
        }
    }
    std::sort(entries.begin(), entries.end(), entryLess);
    RealIndex& index = table_.realIndexes[realIndex];
    for (std::size_t i = 0; i < entries.size(); ++i) {
        if ((index.flags & RealIndex::kUniqueFlag) && i > 0 && entries[i].key == entries[i - 1].key)
            return invalidArgument("table " + table_.name + ": rows share a key of the new unique index");
        if (auto inserted = IndexWriter(indexPages_, allocator_, maps_, table_.firstPage, index).insert(entries[i]); !inserted)
            return inserted.error();
        if (i == 0 || entries[i].key != entries[i - 1].key)
            ++index.distinctKeys;
    }
    return writeCounts();
}

}  // namespace mdb
