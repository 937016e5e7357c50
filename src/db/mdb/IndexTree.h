#pragma once

#include "db/mdb/IndexPage.h"

#include <functional>
#include <vector>

namespace mdb {

// Walks the pages of one stored index (FORMAT.md "Index pages"): node pages
// lead down to leaf pages, and leaf pages are chained in key order.
class IndexTree {
public:
    IndexTree(Pager& pager, const RealIndex& index) : pager_(pager), index_(index) {}

    // Calls `visit` for each leaf entry in key order; stops early when it
    // returns false. Fails when a page is damaged or the chain loops.
    Status forEachEntry(const std::function<bool(const IndexEntry&)>& visit);

    // The rows of the entries whose key starts with `prefix`, in key order.
    Result<std::vector<RowPointer>> find(const std::vector<uint8_t>& prefix);

private:
    // The leaf page under `page` where a search for `prefix` starts.
    Result<uint32_t> leafFor(const std::vector<uint8_t>* prefix);
    // Visits leaves from `first` on along their chain.
    Status walkLeaves(uint32_t first, const std::function<bool(const IndexEntry&)>& visit);

    Pager& pager_;
    const RealIndex& index_;
};

}  // namespace mdb
