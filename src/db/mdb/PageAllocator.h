#pragma once

#include "db/mdb/Pager.h"

namespace mdb {

// Hands out pages for new use and takes back pages no longer used, keeping
// the file's global usage map (row 0 of page 1, a set bit marking a free
// page; FORMAT.md "Usage maps") in step. Free pages inside the file are used
// first; otherwise the file grows by a page and the map grows with it.
class PageAllocator {
public:
    static constexpr uint32_t kGlobalMapPage = 1;

    explicit PageAllocator(Pager& pager) : pager_(pager) {}

    const Layout& layout() const { return pager_.layout(); }
    uint32_t pageCount() const { return pager_.pageCount(); }

    // A page, zero-filled, marked used in the global map.
    Result<uint32_t> allocate();
    // A new empty data page whose rows belong to `owner` (a table's first
    // definition page, "LVAL" for long values, 0 for usage maps).
    Result<uint32_t> allocateDataPage(uint32_t owner);
    // Marks a page free; its content no longer matters.
    Status release(uint32_t page);

private:
    struct GlobalMap {
        std::vector<uint8_t> row;  // kind, first page, bitmap
        uint32_t firstPage = 0;
        std::size_t bits() const { return (row.size() - 5) * 8; }
        bool isFree(uint32_t page) const;
        void set(uint32_t page, bool free);
    };
    Result<GlobalMap> readMap();
    Status writeMap(const GlobalMap& map);

    Pager& pager_;
};

}  // namespace mdb
