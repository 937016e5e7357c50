#pragma once

#include "mdb/Pager.h"
#include "mdb/TableDefinition.h"

#include <vector>

namespace mdb {

// One entry of a data page's row offset table (FORMAT.md "Data pages").
struct RowSlot {
    uint16_t start = 0;  // first byte of the row on the page
    uint16_t end = 0;    // one past its last byte
    bool deleted = false;
    bool overflow = false;  // the row holds a pointer to where the row now lives
};

// The row slots of a data page, checked: every row lies inside the page,
// after the offset table, and before the row stored ahead of it.
Result<std::vector<RowSlot>> readRowSlots(const Page& page, const Layout& layout);
// The same check of a page's bytes; `number` names the page in messages.
Result<std::vector<RowSlot>> checkRowSlots(ByteView page, const Layout& layout, uint32_t number);

// The table page a data page belongs to ("LVAL" pages of long values give
// 0x4C41564C).
uint32_t dataPageOwner(const Page& page);

// The bytes of one row, following the overflow pointer of a moved row to
// where the row now lives. Fails for a deleted row and a row number past the
// page's rows.
Result<ByteView> readRow(Pager& pager, RowPointer where, Page& holder);

// Reads rows one after another as readRow does, keeping the last data page
// and its checked slots, so that rows read in page order cost one page read
// and one slot check per page. A row's bytes stay valid until the next read.
class RowReader {
public:
    explicit RowReader(Pager& pager) : pager_(pager) {}
    Result<ByteView> read(RowPointer where);
    // The data page the last row read lies on.
    const Page& page() const { return holder_; }

private:
    Status load(uint32_t pageNumber);

    Pager& pager_;
    Page holder_;
    std::vector<RowSlot> slots_;
    bool loaded_ = false;
};

}  // namespace mdb
