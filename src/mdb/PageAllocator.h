#pragma once

#include "mdb/Pager.h"

namespace mdb {

// Hands out pages for new use and takes back pages no longer used, keeping
// the file's global usage map (row 0 of page 1, a set bit marking a free
// page; FORMAT.md "Usage maps") in step. Free pages inside the file are used
// first; otherwise the file grows by a page and the map grows with it.
//
// The map is kept inline on page 1 while it fits there (about 32,000 pages,
// 128 MB); beyond that it becomes a map by reference, whose bitmap pages
// each describe 32,736 pages, as Access does. A file may grow to the
// format's limit of 2 GB.
class PageAllocator {
public:
    static constexpr uint32_t kMaxPages = 0x80000000u / 4096;  // 2 GB of 4 KB pages

    explicit PageAllocator(Pager& pager) : pager_(pager) {}

    const Layout& layout() const { return pager_.layout(); }
    uint32_t pageCount() const { return pager_.pageCount(); }

    // A page, zero-filled, marked used in the global map.
    Result<uint32_t> allocate();
    // A new empty data page whose rows belong to `owner` (a table's first
    // definition page, kLongValueOwner or kUsageMapOwner).
    Result<uint32_t> allocateDataPage(uint32_t owner);
    // Marks a page free; its content no longer matters.
    Status release(uint32_t page);

private:
    class GlobalMap;

    Pager& pager_;
    uint32_t searchFrom_ = 0;  // no page below this one is free
};

}  // namespace mdb
