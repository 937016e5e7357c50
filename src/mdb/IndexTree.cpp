#include "mdb/IndexTree.h"

#include <algorithm>
#include <set>

namespace mdb {

namespace {

bool startsWith(const std::vector<uint8_t>& key, const std::vector<uint8_t>& prefix)
{
    return key.size() >= prefix.size() && std::equal(prefix.begin(), prefix.end(), key.begin());
}

}  // namespace

Status IndexTree::prepare()
{
    if (prepared_ || !pager_)
        return Status::success();
    auto form = indexTreeForm(*pager_, index_.rootPage);
    if (!form)
        return form.error();
    owned_->setForm(*form);
    prepared_ = true;
    return Status::success();
}

Result<uint32_t> IndexTree::leafFor(const std::vector<uint8_t>* prefix)
{
    if (Status prepared = prepare(); !prepared)
        return prepared.error();
    uint32_t current = index_.rootPage;
    std::set<uint32_t> visited;
    for (;;) {
        if (!visited.insert(current).second)
            return corruption("index pages loop at page " + std::to_string(current));
        auto loaded = pages_.get(current);
        if (!loaded)
            return loaded.error();
        const IndexPage* page = *loaded;
        if (page->leaf)
            return current;
        // Each node entry carries the last entry of its child; the last
        // child (the tail) has no entry. Descend into the first child that
        // may hold keys at or after the prefix.
        if (page->entries.empty() && page->tail == 0)
            return corruption("index node page " + std::to_string(current) + " has no children");
        uint32_t next = page->tail != 0 ? page->tail : page->entries.back().child;
        if (!prefix && !page->entries.empty())
            next = page->entries.front().child;
        if (prefix) {
            for (const IndexEntry& entry : page->entries) {
                if (!std::lexicographical_compare(entry.key.begin(), entry.key.end(), prefix->begin(), prefix->end())) {
                    next = entry.child;
                    break;
                }
            }
        }
        current = next;
    }
}

Status IndexTree::walkLeaves(uint32_t first, const std::function<bool(const IndexEntry&)>& visit,
                             const std::vector<uint8_t>* from)
{
    std::set<uint32_t> visited;
    for (uint32_t current = first; current != 0;) {
        if (!visited.insert(current).second || visited.size() > pageCount_)
            return corruption("index leaf pages loop at page " + std::to_string(current));
        auto loaded = pages_.get(current);
        if (!loaded)
            return loaded.error();
        const IndexPage* page = *loaded;
        if (!page->leaf)
            return corruption("index page " + std::to_string(current) + " is chained among leaves but is a node page");
        auto begin = page->entries.begin();
        if (from) {
            // On the first leaf, skip the entries before the key at once.
            begin = std::lower_bound(page->entries.begin(), page->entries.end(), *from,
                                     [](const IndexEntry& entry, const std::vector<uint8_t>& key) {
                                         return std::lexicographical_compare(entry.key.begin(), entry.key.end(),
                                                                             key.begin(), key.end());
                                     });
            from = nullptr;
        }
        for (auto it = begin; it != page->entries.end(); ++it) {
            if (!visit(*it))
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
    bool started = false;
    Status walked = walkLeaves(*leaf, [&](const IndexEntry& entry) {
        if (startsWith(entry.key, prefix)) {
            started = true;
            rows.push_back(entry.row);
            return true;
        }
        // Before the prefix: keep going; past it: done.
        return !started && std::lexicographical_compare(entry.key.begin(), entry.key.end(), prefix.begin(), prefix.end());
    }, &prefix);
    if (!walked)
        return walked.error();
    return rows;
}

Result<std::vector<RowPointer>> IndexTree::range(const std::vector<uint8_t>& low, const std::vector<uint8_t>& high)
{
    auto leaf = leafFor(&low);
    if (!leaf)
        return leaf.error();
    std::vector<RowPointer> rows;
    Status walked = walkLeaves(*leaf, [&](const IndexEntry& entry) {
        if (std::lexicographical_compare(entry.key.begin(), entry.key.end(), low.begin(), low.end()))
            return true;
        const bool pastHigh = std::lexicographical_compare(high.begin(), high.end(), entry.key.begin(), entry.key.end());
        if (pastHigh && !startsWith(entry.key, high))
            return false;
        rows.push_back(entry.row);
        return true;
    }, &low);
    if (!walked)
        return walked.error();
    return rows;
}

}  // namespace mdb
