#pragma once

#include "mdb/GeneralSortOrder.h"
#include "mdb/IndexWriter.h"
#include "mdb/TableDefinition.h"
#include "mdb/UsageMapEditor.h"
#include "mdb/Value.h"

namespace mdb {

// Appends, changes and deletes the rows of one table, keeping in step its
// indexes, its usage maps and the counts in its definition (row count, last
// autonumber, index entry counts). The changes wait in the pager until the
// database commits them, so a failed operation leaves nothing to undo but
// the pending changes.
//
// A row that no longer fits its page when changed moves to another page;
// its old place keeps a pointer to it, so the row's identity (the pointer
// its index entries hold) stays. Long values of changed or deleted rows are
// not reclaimed.
class TableWriter {
public:
    TableWriter(Pager& pager, IndexPageCache& indexPages, PageAllocator& allocator, UsageMapEditor& maps,
                TableDefinition& table);

    // Whether this engine can change the table safely: refuses tables with a
    // foreign-key index and indexes over types or text orders it cannot encode.
    static Status checkWritable(const TableDefinition& table);

    // Adds a row; a null autonumber column gets the next number. Returns
    // where the row was stored. Refuses a duplicate key in a unique index.
    Result<RowPointer> append(std::vector<Value> values);
    Status update(RowPointer location, std::vector<Value> values);
    Status remove(RowPointer location);
    // Adds every row's entry to a real index (a new, empty one).
    Status fillIndex(std::size_t realIndex);

    // The form of the text keys it writes: Access's, unless told to write
    // those of earlier versions of this engine (for tests that make such files).
    void setTextKeyForm(TrailingBlanks form) { keyForm_ = form; }

private:
    struct Stored {
        std::vector<uint8_t> bytes;
        uint16_t flags = 0;
        RowPointer place;  // where the bytes are (the moved-to place for a moved row)
        bool moved = false;
    };

    Result<std::vector<uint8_t>> encode(const std::vector<Value>& values);
    Result<std::vector<uint8_t>> prepareLongValue(const Column& column, const Value& value);
    Result<RowPointer> storeLongValueRow(const Column& column, const std::vector<uint8_t>& bytes);
    Result<RowPointer> placeRow(const std::vector<uint8_t>& bytes, uint16_t flags);
    // Places the row on `page` when it has room; a zero pointer when not.
    Result<RowPointer> tryPlaceOn(uint32_t page, const std::vector<uint8_t>& bytes, uint16_t flags);
    Result<RowPointer> placeOnNewPage(const std::vector<uint8_t>& bytes, uint16_t flags);
    Result<std::vector<Value>> readValues(RowPointer location);
    Result<Stored> locate(RowPointer location);
    Result<std::optional<IndexEntry>> entryFor(const RealIndex& index, const std::vector<Value>& values, RowPointer row);
    Status checkUnique(std::size_t indexNumber, const IndexEntry& entry);
    // Whether entries other than `entry` have its key, given what the
    // insert or removal already found out.
    Status useTheFormHeld(const RealIndex& index, const std::vector<Value>& values, IndexEntry& entry);
    Result<bool> sameKeyElsewhere(const RealIndex& index, const IndexEntry& entry, IndexWriter::SameKey known);
    Status addEntries(const std::vector<Value>& values, RowPointer row);
    Status removeEntries(const std::vector<Value>& values, RowPointer row);
    Status removeStoredRow(RowPointer location);
    Status writeCounts();
    Status noteFreeSpace(uint32_t page);

    Pager& pager_;
    IndexPageCache& indexPages_;
    PageAllocator& allocator_;
    UsageMapEditor& maps_;
    TableDefinition& table_;
    TrailingBlanks keyForm_ = TrailingBlanks::LeftOut;
    uint32_t insertPage_ = 0;
    uint32_t longValuePage_ = 0;
};

}  // namespace mdb
