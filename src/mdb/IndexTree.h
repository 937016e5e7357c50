#pragma once

#include "mdb/IndexPageCache.h"

#include <functional>
#include <memory>
#include <vector>

namespace mdb {

// Walks the pages of one stored index (FORMAT.md "Index pages"): node pages
// lead down to leaf pages, and leaf pages are chained in key order.
class IndexTree {
public:
    // Reads pages from the pager, in the form the tree was written in, or
    // from `pages` (a writer's cache, whose pages are all in Access's form).
    IndexTree(Pager& pager, const RealIndex& index)
        : owned_(std::make_unique<PagerIndexPages>(pager)), pages_(*owned_), index_(index), pageCount_(pager.pageCount()),
          pager_(&pager) {}
    IndexTree(IndexPages& pages, const RealIndex& index, uint32_t pageCount)
        : pages_(pages), index_(index), pageCount_(pageCount) {}

    // Calls `visit` for each leaf entry in key order; stops early when it
    // returns false. Fails when a page is damaged or the chain loops.
    Status forEachEntry(const std::function<bool(const IndexEntry&)>& visit);

    // The rows of the entries whose key starts with `prefix`, in key order.
    Result<std::vector<RowPointer>> find(const std::vector<uint8_t>& prefix);

    // The rows of the entries from `low` to `high`, both included, in key
    // order; an entry counts as up to `high` when its key starts with it.
    Result<std::vector<RowPointer>> range(const std::vector<uint8_t>& low, const std::vector<uint8_t>& high);

private:
    // Finds the tree's form before its first page is read from the pager.
    Status prepare();
    // The leaf page under `page` where a search for `prefix` starts.
    Result<uint32_t> leafFor(const std::vector<uint8_t>* prefix);
    // Visits leaves from `first` on along their chain; with `from`, the first
    // leaf's entries below that key are passed over.
    Status walkLeaves(uint32_t first, const std::function<bool(const IndexEntry&)>& visit,
                      const std::vector<uint8_t>* from = nullptr);

    std::unique_ptr<PagerIndexPages> owned_;
    IndexPages& pages_;
    const RealIndex& index_;
    uint32_t pageCount_ = 0;
    Pager* pager_ = nullptr;
    bool prepared_ = false;
};

}  // namespace mdb
