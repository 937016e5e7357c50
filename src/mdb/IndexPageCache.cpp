#include "mdb/IndexPageCache.h"

#include <set>

namespace mdb {

Result<const IndexPage*> PagerIndexPages::get(uint32_t number)
{
    if (Status read = readIndexPageInto(pager_, number, form_, current_); !read)
        return read.error();
    return &current_;
}

Result<IndexPage*> IndexPageCache::load(uint32_t number)
{
    if (auto found = pages_.find(number); found != pages_.end())
        return found->second.get();
    auto page = readIndexPage(pager_, number);
    if (!page)
        return page.error();
    auto& slot = pages_[number];
    slot = std::make_unique<IndexPage>(std::move(*page));
    return slot.get();
}

Result<const IndexPage*> IndexPageCache::get(uint32_t number)
{
    auto page = load(number);
    if (!page)
        return page.error();
    return static_cast<const IndexPage*>(*page);
}

Result<IndexPage*> IndexPageCache::edit(uint32_t number)
{
    auto page = load(number);
    if (page)
        dirty_[number] = true;
    return page;
}

IndexPage* IndexPageCache::create(IndexPage page)
{
    const uint32_t number = page.number;
    auto& slot = pages_[number];
    slot = std::make_unique<IndexPage>(std::move(page));
    dirty_[number] = true;
    return slot.get();
}

void IndexPageCache::forget(uint32_t number)
{
    pages_.erase(number);
    dirty_.erase(number);
}

Status IndexPageCache::adoptTree(uint32_t root, IndexPageForm form)
{
    std::vector<uint32_t> pending{root};
    std::set<uint32_t> seen;
    while (!pending.empty()) {
        const uint32_t number = pending.back();
        pending.pop_back();
        if (!seen.insert(number).second || seen.size() > pager_.pageCount())
            return corruption("index pages loop at page " + std::to_string(number));
        if (pages_.count(number))
            continue;
        auto page = readIndexPage(pager_, number, form);
        if (!page)
            return page.error();
        if (!page->leaf) {
            for (const IndexEntry& entry : page->entries)
                pending.push_back(entry.child);
            if (page->tail != 0)
                pending.push_back(page->tail);
        }
        create(std::move(*page));
    }
    return Status::success();
}

Status IndexPageCache::flush()
{
    for (const auto& [number, dirty] : dirty_) {
        auto bytes = pager_.modify(number);
        if (!bytes)
            return bytes.error();
        if (Status encoded = encodeIndexPage(*pages_.at(number), pager_.layout(), **bytes); !encoded)
            return encoded;
    }
    dirty_.clear();
    return Status::success();
}

void IndexPageCache::clear()
{
    pages_.clear();
    dirty_.clear();
}

}  // namespace mdb
