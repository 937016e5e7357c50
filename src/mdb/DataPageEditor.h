#pragma once

#include "mdb/ByteView.h"
#include "mdb/Format.h"
#include "mdb/Layout.h"
#include "mdb/Result.h"

#include <cstdint>
#include <span>
#include <vector>

namespace mdb {

class Pager;

// Changes the rows of one data page in place (FORMAT.md "Data pages"),
// keeping the page's invariants after every operation:
//  - the row offset table follows the header and has one entry per row;
//  - rows lie from the end of the page downwards without gaps: row 0 ends
//    at the end of the page, row i ends where row i - 1 starts;
//  - the free-space field equals the bytes between the offset table and the
//    lowest row.
// A deleted row keeps its number and occupies no bytes.
//
// A page is checked before anything is changed (open): a page that is not a
// data page, whose offset table does not fit, or whose live rows lie outside
// the row area or out of order is refused with an error naming the page, and
// nothing is written. Every write goes through a bounds-checked ByteWriter.
class DataPageEditor {
public:
    // Checks `page` (page number `number`, for messages) and prepares to edit it.
    static Result<DataPageEditor> open(std::vector<uint8_t>& page, const Layout& layout, uint32_t number);
    // The page from the pager's pending changes, checked.
    static Result<DataPageEditor> edit(Pager& pager, uint32_t number);

    // Makes `page` an empty data page owned by `owner` (a table's first
    // definition page, kLongValueOwner or kUsageMapOwner).
    static void initialise(std::vector<uint8_t>& page, const Layout& layout, uint32_t owner);

    int rowCount() const { return int(slots_.size()); }
    // Bytes free for rows and their offset entries.
    std::size_t freeSpace() const;
    // The free space of a page not (yet) opened; 0 for a page whose offset
    // table does not fit.
    static std::size_t freeSpaceOf(ByteView page, const Layout& layout);
    // The largest row that fits on an empty page.
    static std::size_t maxRowSize(const Layout& layout);

    bool canInsert(std::size_t size) const;
    // Adds a row with the given flags; fails when it does not fit.
    Result<uint8_t> insert(std::span<const uint8_t> bytes, uint16_t flags = 0);
    // Whether row `row` could be given `size` bytes.
    bool canReplace(uint8_t row, std::size_t size) const;
    // Gives a row new bytes and flags, moving the other rows as needed.
    Status replace(uint8_t row, std::span<const uint8_t> bytes, uint16_t flags);
    // Marks a row deleted and frees its bytes.
    Status remove(uint8_t row);

    ByteView row(uint8_t row) const;
    uint16_t flags(uint8_t row) const;

private:
    struct Slot {
        uint16_t start = 0;
        uint16_t end = 0;
        uint16_t flags = 0;
    };
    DataPageEditor(std::vector<uint8_t>& page, const Layout& layout, uint32_t number, std::vector<Slot> slots);
    std::size_t offsetEntry(std::size_t row) const;
    std::size_t lowestRow() const;
    Status rewrite(std::vector<std::vector<uint8_t>> rows, std::vector<uint16_t> flags);
    Error damaged(const std::string& what) const;

    std::vector<uint8_t>* page_;
    const Layout* layout_;
    uint32_t number_;
    std::vector<Slot> slots_;
};

}  // namespace mdb
