#pragma once

#include "db/mdb/ByteView.h"
#include "db/mdb/Layout.h"
#include "db/mdb/Result.h"

#include <cstdint>
#include <span>
#include <vector>

namespace mdb {

// Changes the rows of one data page in place (FORMAT.md "Data pages"),
// keeping the page's invariants after every operation:
//  - the row offset table follows the header and has one entry per row;
//  - rows lie from the end of the page downwards without gaps: row 0 ends
//    at the end of the page, row i ends where row i - 1 starts;
//  - the free-space field equals the bytes between the offset table and the
//    lowest row.
// A deleted row keeps its number and occupies no bytes. The editor assumes
// a page that already holds these invariants (the engine's own, or one the
// reader checked).
class DataPageEditor {
public:
    static constexpr int kMaxRows = 255;  // a data pointer's row is one byte

    DataPageEditor(std::vector<uint8_t>& page, const Layout& layout);

    // Makes `page` an empty data page owned by `owner` (a table's first
    // definition page, or kLongValueOwner).
    static void initialise(std::vector<uint8_t>& page, const Layout& layout, uint32_t owner);
    static constexpr uint32_t kLongValueOwner = 0x4C41564C;  // "LVAL"

    int rowCount() const;
    // Bytes free for rows and their offset entries.
    std::size_t freeSpace() const;
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
        std::vector<uint8_t> bytes;
        uint16_t flags = 0;
    };
    std::vector<Slot> slots() const;
    void rewrite(const std::vector<Slot>& slots);
    std::size_t offsetEntry(int row) const;
    uint16_t rowStart(int row) const;
    uint16_t rowEnd(int row) const;
    void setFreeSpace();

    std::vector<uint8_t>& page_;
    const Layout& layout_;
};

}  // namespace mdb
