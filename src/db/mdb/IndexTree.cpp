#include "db/mdb/IndexTree.h"

#include <algorithm>
#include <set>

namespace mdb {

namespace {

bool startsWith(const std::vector<uint8_t>& key, const std::vector<uint8_t>& prefix)
{
    return key.size() >= prefix.size() && std::equal(prefix.begin(), prefix.end(), key.begin());
}

}  // namespace

Result<uint32_t> IndexTree::leafFor(const std::vector<uint8_t>* prefix)
{
    uint32_t current = index_.rootPage;
    std::set<uint32_t> visited;
    for (;;) {
        if (!visited.insert(current).second)
            return Error{"index pages loop at page " + std::to_string(current)};
        auto page = readIndexPage(pager_, current);
        if (!page)
            return page.error();
        if (page->leaf)
            return current;
        if (page->entries.empty())
            return Error{"index node page " + std::to_string(current) + " has no entries"};
        // Each node entry carries the last key of its child: descend into the
        // first child that may hold keys at or after the prefix.
        const IndexEntry* chosen = &page->entries.back();
        if (prefix) {
            for (const IndexEntry& entry : page->entries) {
                if (!std::lexicographical_compare(entry.key.begin(), entry.key.end(), prefix->begin(), prefix->end())) {
                    chosen = &entry;
                    break;
                }
            }
        } else {
            chosen = &page->entries.front();
        }
        current = chosen->child;
    }
}

Status IndexTree::walkLeaves(uint32_t first, const std::function<bool(const IndexEntry&)>& visit)
{
    std::set<uint32_t> visited;
    for (uint32_t current = first; current != 0;) {
        if (!visited.insert(current).second || visited.size() > pager_.pageCount())
            return Error{"index leaf pages loop at page " + std::to_string(current)};
        auto page = readIndexPage(pager_, current);
        if (!page)
            return page.error();
        if (!page->leaf)
            return Error{"index page " + std::to_string(current) + " is chained among leaves but is a node page"};
        for (const IndexEntry& entry : page->entries) {
            if (!visit(entry))
                return Status::success();
        }
        current = page->next;
    }
    return Status::success();
}

Status IndexTree::forEachEntry(const std::function<bool(const IndexEntry&)>& visit)
{
    auto leaf = leafFor(nullptr);
    if (!leaf)
        return leaf.error();
    return walkLeaves(*leaf, visit);
}

Result<std::vector<RowPointer>> IndexTree::find(const std::vector<uint8_t>& prefix)
{
    auto leaf = leafFor(&prefix);
    if (!leaf)
        return leaf.error();
    std::vector<RowPointer> rows;
    Status walked = walkLeaves(*leaf, [&](const IndexEntry& entry) {
        if (startsWith(entry.key, prefix)) {
            rows.push_back(entry.row);
            return true;
        }
        // Before the prefix: keep going; past it: done.
        return std::lexicographical_compare(entry.key.begin(), entry.key.end(), prefix.begin(), prefix.end());
    });
    if (!walked)
        return walked.error();
    return rows;
}

}  // namespace mdb
