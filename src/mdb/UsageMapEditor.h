#pragma once

#include "mdb/PageAllocator.h"
#include "mdb/TableDefinition.h"

namespace mdb {

// Adds and removes pages in a table's or an index's usage map (FORMAT.md
// "Usage maps"). The map's row keeps its size: an inline map whose window
// cannot reach a new page is shifted when all its pages fit a window, and
// otherwise promoted to a map by reference, whose bitmap pages come from
// the allocator.
class UsageMapEditor {
public:
    UsageMapEditor(Pager& pager, PageAllocator& allocator) : pager_(pager), allocator_(allocator) {}

    Status add(uint32_t mapPointer, uint32_t page);
    Status remove(uint32_t mapPointer, uint32_t page);

    // A new empty inline map row of the usual size (kMapRowSize).
    static std::vector<uint8_t> emptyInlineMap();

private:
    Result<std::vector<uint8_t>> readRow(RowPointer where);
    Status writeRow(RowPointer where, const std::vector<uint8_t>& row);
    Status setInReference(std::vector<uint8_t>& row, uint32_t page, bool used);
    Status addInline(std::vector<uint8_t>& row, uint32_t page);
    std::size_t pagesPerMapPage() const;

    Pager& pager_;
    PageAllocator& allocator_;
};

}  // namespace mdb
