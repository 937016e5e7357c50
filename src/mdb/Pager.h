#pragma once

#include "mdb/ByteView.h"
#include "mdb/Format.h"
#include "mdb/File.h"
#include "mdb/Layout.h"
#include "mdb/Result.h"

#include <list>
#include <map>
#include <memory>
#include <unordered_map>
#include <vector>

namespace mdb {

// One page of the file, shared between its readers. A page as read from the
// file never changes while it is held; a page with pending changes is the
// pending copy itself, which later changes alter in place.
using PageBytes = std::shared_ptr<const std::vector<uint8_t>>;

// The only part of the engine that reads pages from the file. Keeps the most
// recently used pages in memory (a bounded cache), and checks that every page
// asked for lies inside the file.
//
// Changes are made to private copies of pages (modify, append) that every
// read sees at once; they reach the file only when a commit writes them (see
// Journal), and discardChanges() forgets them. A view of a page taken before
// it is modified sees the modification too: do not keep views across changes.
class Pager {
public:
    static constexpr std::size_t kCachedPages = 2048;

    Pager(File& file, const Layout& layout, uint32_t pageCount);

    const Layout& layout() const { return layout_; }
    std::size_t pageSize() const { return layout_.pageSize; }
    uint32_t pageCount() const { return pageCount_; }
    File& file() { return file_; }

    // The page, or an error saying that it lies outside the file or could
    // not be read.
    Result<PageBytes> read(uint32_t pageNumber);

    // Brings the pages into the cache ahead of their reads, pages that
    // follow one another in the file with one read each. At most
    // kCachedPages / 2 of them are kept; pages outside the file, and read
    // failures, are left for read() to report.
    void prefetch(std::vector<uint32_t> pageNumbers);
    // The page's bytes for changing: a copy private to the pending changes.
    Result<std::vector<uint8_t>*> modify(uint32_t pageNumber);
    // A new zero-filled page at the end of the file, part of the pending changes.
    uint32_t append();

    bool hasChanges() const { return !changed_.empty(); }
    // The changed and added pages, in page order.
    const std::map<uint32_t, std::shared_ptr<std::vector<uint8_t>>>& changes() const { return changed_; }
    // The page count of the file as last committed.
    uint32_t committedPageCount() const { return committedPageCount_; }
    // Forgets the pending changes.
    void discardChanges();
    // After a commit: the pending changes are now the file's content.
    void acceptChanges();

private:
    void remember(uint32_t pageNumber, PageBytes bytes);

    File& file_;
    const Layout& layout_;
    uint32_t pageCount_;
    std::list<uint32_t> recent_;  // most recent first
    struct Entry {
        PageBytes bytes;
        std::list<uint32_t>::iterator position;
    };
    std::unordered_map<uint32_t, Entry> cache_;
    std::map<uint32_t, std::shared_ptr<std::vector<uint8_t>>> changed_;
    uint32_t committedPageCount_;
};

// A page in hand with its number, viewed with bounds checks.
struct Page {
    uint32_t number = 0;
    PageBytes bytes;
    ByteView view() const { return ByteView(bytes->data(), bytes->size()); }
    uint8_t type() const { return view().u8(0); }
};


// Reads a page and checks its type; the error names the page and what it was.
Result<Page> readPageOfType(Pager& pager, uint32_t number, uint8_t type, const char* what);

}  // namespace mdb
