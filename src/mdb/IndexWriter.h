#pragma once

#include "mdb/IndexPageCache.h"
#include "mdb/UsageMapEditor.h"

#include <optional>

namespace mdb {

// Adds and removes entries of one stored index, keeping its tree in the
// form Access keeps it (FORMAT.md "Index pages"):
//  - entries on every page in order of key, then row pointer;
//  - a node page lists, for each child but the last, the child's last entry;
//    its last child is its tail (named in the header, without an entry),
//    unless it has only one child;
//  - pages of one level chained by their previous/next pointers (leaf pages
//    across the whole index, node pages within their parent);
//  - a full page split in two, the first half moved to a new page placed
//    before it; a full root moved down a level under a new root; an empty
//    page released.
// Pages come from the allocator and are recorded in the index's usage map.
// The writer works on the decoded pages of `cache`; they reach the pager
// when the cache is flushed.
class IndexWriter {
public:
    IndexWriter(IndexPageCache& cache, PageAllocator& allocator, UsageMapEditor& maps, uint32_t tableFirstPage,
                const RealIndex& index);

    // What an insert or removal found out about other entries of the same key.
    enum class SameKey { Present, Absent, Unknown };

    // Adds the entry; tells whether other entries had its key.
    Result<SameKey> insert(const IndexEntry& entry);
    // Removes exactly this entry (fails when the index does not hold it);
    // tells whether other entries with its key remain.
    Result<SameKey> remove(const IndexEntry& entry);

    // A new, empty index: a leaf root page owned by the table.
    static Result<uint32_t> createRoot(IndexPageCache& cache, PageAllocator& allocator, uint32_t tableFirstPage);

private:
    struct Child {
        uint32_t page = 0;
        std::optional<IndexEntry> last;  // unknown for a tail child until needed
    };
    struct Change {
        std::optional<IndexEntry> newLast;  // the subtree's last entry changed to this
        std::optional<Child> splitBefore;   // a new page now comes before this one
        bool emptied = false;               // the page was emptied and released
    };
    static SameKey neighbours(const IndexPage& leaf, std::size_t at, const std::vector<uint8_t>& key);
    // The stored entry whose child to descend into; entries.size() for the tail.
    static std::size_t chooseStored(const IndexPage& node, const IndexEntry& entry);
    // The child page at stored position `i` (the tail past the entries).
    static Result<uint32_t> childAt(const IndexPage& node, std::size_t i);
    // Takes a child's change into its node: the child at stored position `i`.
    Result<Change> adoptChange(IndexPage& node, std::size_t i, const Change& sub, bool isRoot);

    Result<Change> insertInto(uint32_t page, const IndexEntry& entry, bool isRoot);
    Result<Change> removeFrom(uint32_t page, const IndexEntry& entry, bool isRoot);
    Status applyChildChange(std::vector<Child>& children, std::size_t i, const Change& sub, Change& change);
    Result<Change> finish(IndexPage& page, bool isRoot, Change change);
    Result<Child> split(IndexPage& page);
    Status nestRoot(IndexPage& root);
    bool fits(const IndexPage& page) const;

    std::vector<Child> childrenOf(const IndexPage& node) const;
    Status setChildren(IndexPage& node, std::vector<Child>& children);
    Result<IndexEntry> lastEntryOf(uint32_t page);
    Result<IndexEntry> lastOf(Child& child);
    Result<IndexPage*> load(uint32_t page);
    Result<IndexPage*> newPage(bool leaf);
    Status releasePage(const IndexPage& page);
    Status relink(uint32_t page, std::optional<uint32_t> previous, std::optional<uint32_t> next);

    IndexPageCache& cache_;
    PageAllocator& allocator_;
    UsageMapEditor& maps_;
    uint32_t owner_;
    const RealIndex& index_;
    SameKey sameKey_ = SameKey::Unknown;
};

}  // namespace mdb
