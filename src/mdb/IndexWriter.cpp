#include "mdb/IndexWriter.h"

#include <algorithm>

namespace mdb {

namespace {

IndexEntry withoutChild(IndexEntry entry)
{
    entry.child = 0;
    return entry;
}

bool sameEntry(const IndexEntry& a, const IndexEntry& b)
{
    return a.key == b.key && a.row == b.row;
}

}  // namespace

IndexWriter::IndexWriter(IndexPageCache& cache, PageAllocator& allocator, UsageMapEditor& maps,
                         uint32_t tableFirstPage, const RealIndex& index)
    : cache_(cache), allocator_(allocator), maps_(maps), owner_(tableFirstPage), index_(index)
{
}

Result<uint32_t> IndexWriter::createRoot(IndexPageCache& cache, PageAllocator& allocator, uint32_t tableFirstPage)
{
    auto page = allocator.allocate();
    if (!page)
        return page.error();
    IndexPage root;
    root.number = *page;
    root.leaf = true;
    root.owner = tableFirstPage;
    cache.create(std::move(root));
    return *page;
}

Result<IndexPage*> IndexWriter::load(uint32_t page)
{
    auto loaded = cache_.edit(page);
    if (!loaded)
        return loaded.error();
    if ((*loaded)->owner != owner_)
        return corruption("index page " + std::to_string(page) + " belongs to another table");
    return loaded;
}

bool IndexWriter::fits(const IndexPage& page) const
{
    return fitsOnPage(page, allocator_.layout());
}

Result<IndexPage*> IndexWriter::newPage(bool leaf)
{
    auto page = allocator_.allocate();
    if (!page)
        return page.error();
    if (Status recorded = maps_.add(index_.ownedPagesPointer, *page); !recorded)
        return recorded.error();
    IndexPage created;
    created.number = *page;
    created.leaf = leaf;
    created.owner = owner_;
    return cache_.create(std::move(created));
}

Status IndexWriter::relink(uint32_t page, std::optional<uint32_t> previous, std::optional<uint32_t> next)
{
    auto loaded = load(page);
    if (!loaded)
        return loaded.error();
    if (previous)
        (*loaded)->previous = *previous;
    if (next)
        (*loaded)->next = *next;
    return Status::success();
}

Status IndexWriter::releasePage(const IndexPage& page)
{
    if (page.previous != 0) {
        if (Status linked = relink(page.previous, std::nullopt, page.next); !linked)
            return linked;
    }
    if (page.next != 0) {
        if (Status linked = relink(page.next, page.previous, std::nullopt); !linked)
            return linked;
    }
    if (Status removed = maps_.remove(index_.ownedPagesPointer, page.number); !removed)
        return removed;
    const uint32_t number = page.number;
    cache_.forget(number);  // `page` is gone from here on
    return allocator_.release(number);
}

std::vector<IndexWriter::Child> IndexWriter::childrenOf(const IndexPage& node) const
{
    std::vector<Child> children;
    for (const IndexEntry& entry : node.entries)
        children.push_back({entry.child, withoutChild(entry)});
    if (node.tail != 0)
        children.push_back({node.tail, std::nullopt});
    return children;
}

std::size_t IndexWriter::chooseStored(const IndexPage& node, const IndexEntry& entry)
{
    // The first child whose last entry is not below the entry; past them all,
    // the tail (or, without one, the last child).
    auto at = std::lower_bound(node.entries.begin(), node.entries.end(), entry, entryLess);
    std::size_t i = std::size_t(at - node.entries.begin());
    if (i == node.entries.size() && node.tail == 0 && i > 0)
        --i;
    return i;
}

Result<uint32_t> IndexWriter::childAt(const IndexPage& node, std::size_t i)
{
    if (i < node.entries.size())
        return node.entries[i].child;
    if (node.tail == 0)
        return corruption("index node page " + std::to_string(node.number) + " has no children");
    return node.tail;
}

Result<IndexWriter::Change> IndexWriter::adoptChange(IndexPage& node, std::size_t i, const Change& sub, bool isRoot)
{
    Change change;
    const bool toTail = i == node.entries.size();
    const bool lastChild = toTail || (node.tail == 0 && i + 1 == node.entries.size());
    if (!sub.splitBefore) {
        // The usual case: at most the child's last entry changed.
        if (!sub.newLast)
            return change;
        if (!toTail) {
            const uint32_t child = node.entries[i].child;
            node.entries[i] = *sub.newLast;
            node.entries[i].child = child;
        }
        if (lastChild)
            change.newLast = sub.newLast;
        return finish(node, isRoot, change);
    }
    std::vector<Child> children = childrenOf(node);
    if (Status applied = applyChildChange(children, i, sub, change); !applied)
        return applied.error();
    if (Status set = setChildren(node, children); !set)
        return set.error();
    return finish(node, isRoot, change);
}

Result<IndexEntry> IndexWriter::lastEntryOf(uint32_t page)
{
    for (int depth = 0; depth < 32; ++depth) {
        auto loaded = load(page);
        if (!loaded)
            return loaded.error();
        const IndexPage& current = **loaded;
        if (current.leaf || current.tail == 0) {
            if (current.entries.empty())
                return corruption("index page " + std::to_string(page) + " has no entries");
            return withoutChild(current.entries.back());
        }
        page = current.tail;
    }
    return corruption("index tree is deeper than it can be");
}

Result<IndexEntry> IndexWriter::lastOf(Child& child)
{
    if (!child.last) {
        auto last = lastEntryOf(child.page);
        if (!last)
            return last.error();
        child.last = *last;
    }
    return *child.last;
}

Status IndexWriter::setChildren(IndexPage& node, std::vector<Child>& children)
{
    node.entries.clear();
    node.tail = 0;
    const std::size_t stored = children.size() == 1 ? 1 : children.size() - 1;
    for (std::size_t i = 0; i < stored; ++i) {
        auto last = lastOf(children[i]);
        if (!last)
            return last.error();
        IndexEntry entry = *last;
        entry.child = children[i].page;
        node.entries.push_back(std::move(entry));
    }
    if (children.size() > 1)
        node.tail = children.back().page;
    return Status::success();
}

Status IndexWriter::applyChildChange(std::vector<Child>& children, std::size_t i, const Change& sub, Change& change)
{
    const bool wasLast = i + 1 == children.size();
    if (sub.emptied) {
        children.erase(children.begin() + std::ptrdiff_t(i));
        if (wasLast && !children.empty()) {
            auto last = lastOf(children.back());
            if (!last)
                return last.error();
            change.newLast = *last;
        }
        return Status::success();
    }
    if (sub.newLast) {
        children[i].last = *sub.newLast;
        if (wasLast)
            change.newLast = sub.newLast;
    }
    if (sub.splitBefore)
        children.insert(children.begin() + std::ptrdiff_t(i), *sub.splitBefore);
    return Status::success();
}

Result<IndexWriter::Child> IndexWriter::split(IndexPage& page)
{
    auto created = newPage(page.leaf);
    if (!created)
        return created.error();
    IndexPage* left = *created;
    left->previous = page.previous;
    left->next = page.number;
    if (page.previous != 0) {
        if (Status linked = relink(page.previous, std::nullopt, left->number); !linked)
            return linked.error();
    }
    page.previous = left->number;

    Child leftChild{left->number, std::nullopt};
    if (page.leaf) {
        const std::size_t half = (page.entries.size() + 1) / 2;
        left->entries.assign(std::make_move_iterator(page.entries.begin()),
                             std::make_move_iterator(page.entries.begin() + std::ptrdiff_t(half)));
        page.entries.erase(page.entries.begin(), page.entries.begin() + std::ptrdiff_t(half));
        leftChild.last = left->entries.back();
    } else {
        std::vector<Child> children = childrenOf(page);
        const std::size_t half = (children.size() + 1) / 2;
        std::vector<Child> leftChildren(children.begin(), children.begin() + std::ptrdiff_t(half));
        std::vector<Child> rightChildren(children.begin() + std::ptrdiff_t(half), children.end());
        auto lastLeft = lastOf(leftChildren.back());
        if (!lastLeft)
            return lastLeft.error();
        leftChild.last = *lastLeft;
        if (Status set = setChildren(*left, leftChildren); !set)
            return set.error();
        if (Status set = setChildren(page, rightChildren); !set)
            return set.error();
        // Node pages are chained only within their parent: the two halves'
        // children are now in different parents.
        auto boundary = load(leftChildren.back().page);
        if (!boundary)
            return boundary.error();
        if (!(*boundary)->leaf) {
            if (Status cut = relink(leftChildren.back().page, std::nullopt, 0); !cut)
                return cut.error();
            if (Status cut = relink(rightChildren.front().page, 0, std::nullopt); !cut)
                return cut.error();
        }
    }
    return leftChild;
}

Status IndexWriter::nestRoot(IndexPage& root)
{
    // The root keeps its page (the table definition names it); its content
    // moves one level down.
    auto created = newPage(root.leaf);
    if (!created)
        return created.error();
    IndexPage* below = *created;
    below->entries = std::move(root.entries);
    below->tail = root.tail;
    auto splitOff = split(*below);
    if (!splitOff)
        return splitOff.error();
    std::vector<Child> children{*splitOff, {below->number, std::nullopt}};
    root.leaf = false;
    root.previous = root.next = 0;
    return setChildren(root, children);
}

Result<IndexWriter::Change> IndexWriter::finish(IndexPage& page, bool isRoot, Change change)
{
    if (fits(page))
        return change;
    if (isRoot) {
        if (Status nested = nestRoot(page); !nested)
            return nested.error();
        return change;
    }
    auto left = split(page);
    if (!left)
        return left.error();
    change.splitBefore = *left;
    return change;
}

Result<IndexWriter::Change> IndexWriter::insertInto(uint32_t pageNumber, const IndexEntry& entry, bool isRoot)
{
    auto loaded = load(pageNumber);
    if (!loaded)
        return loaded.error();
    IndexPage* page = *loaded;
    Change change;
    if (page->leaf) {
        auto at = std::lower_bound(page->entries.begin(), page->entries.end(), entry, entryLess);
        if (at != page->entries.end() && sameEntry(*at, entry))
            return corruption("the index already holds this entry");
        if (at == page->entries.end())
            change.newLast = entry;
        const std::size_t position = std::size_t(at - page->entries.begin());
        sameKey_ = neighbours(*page, position, entry.key);
        page->entries.insert(at, entry);
        return finish(*page, isRoot, change);
    }
    const std::size_t i = chooseStored(*page, entry);
    auto child = childAt(*page, i);
    if (!child)
        return child.error();
    auto sub = insertInto(*child, entry, false);
    if (!sub)
        return sub.error();
    return adoptChange(*page, i, *sub, isRoot);
}

Result<IndexWriter::Change> IndexWriter::removeFrom(uint32_t pageNumber, const IndexEntry& entry, bool isRoot)
{
    auto loaded = load(pageNumber);
    if (!loaded)
        return loaded.error();
    IndexPage* page = *loaded;
    Change change;
    if (page->leaf) {
        auto at = std::lower_bound(page->entries.begin(), page->entries.end(), entry, entryLess);
        if (at == page->entries.end() || !sameEntry(*at, entry))
            return corruption("the index does not hold the entry to remove");
        const bool wasLast = at + 1 == page->entries.end();
        const std::size_t position = std::size_t(at - page->entries.begin());
        page->entries.erase(at);
        sameKey_ = neighbours(*page, position, entry.key);
        if (page->entries.empty() && !isRoot) {
            if (Status released = releasePage(*page); !released)
                return released.error();
            change.emptied = true;
            return change;
        }
        // (a released page is not touched again)
        if (wasLast && !page->entries.empty())
            change.newLast = page->entries.back();
        return finish(*page, isRoot, change);
    }
    const std::size_t stored = chooseStored(*page, entry);
    auto child = childAt(*page, stored);
    if (!child)
        return child.error();
    auto sub = removeFrom(*child, entry, false);
    if (!sub)
        return sub.error();
    if (!sub->emptied)
        return adoptChange(*page, stored, *sub, isRoot);
    std::vector<Child> children = childrenOf(*page);
    if (Status applied = applyChildChange(children, stored, *sub, change); !applied)
        return applied.error();
    if (children.empty()) {
        if (isRoot) {
            page->leaf = true;
            page->entries.clear();
            page->tail = 0;
            return finish(*page, true, change);
        }
        if (Status released = releasePage(*page); !released)
            return released.error();
        change.emptied = true;
        return change;
    }
    if (Status set = setChildren(*page, children); !set)
        return set.error();
    return finish(*page, isRoot, change);
}

IndexWriter::SameKey IndexWriter::neighbours(const IndexPage& leaf, std::size_t at, const std::vector<uint8_t>& key)
{
    // `at` is where the entry is (or was): its neighbours are at - 1 and at.
    const std::vector<IndexEntry>& entries = leaf.entries;
    if ((at < entries.size() && entries[at].key == key) || (at > 0 && entries[at - 1].key == key))
        return SameKey::Present;
    // At an end of the page the neighbour may be on the next or previous page.
    if ((at == 0 && leaf.previous != 0) || (at >= entries.size() && leaf.next != 0))
        return SameKey::Unknown;
    return SameKey::Absent;
}

Result<IndexWriter::SameKey> IndexWriter::insert(const IndexEntry& entry)
{
    sameKey_ = SameKey::Unknown;
    auto done = insertInto(index_.rootPage, withoutChild(entry), true);
    if (!done)
        return done.error();
    return sameKey_;
}

Result<IndexWriter::SameKey> IndexWriter::remove(const IndexEntry& entry)
{
    sameKey_ = SameKey::Unknown;
    auto done = removeFrom(index_.rootPage, withoutChild(entry), true);
    if (!done)
        return done.error();
    return sameKey_;
}

}  // namespace mdb
