#pragma once

#include "mdb/Pager.h"
#include "mdb/TableDefinition.h"

#include <vector>

namespace mdb {

// One entry of an index page (FORMAT.md "Index pages"): the encoded key, the
// row it stands for and, on node pages, the page below whose last entry it is.
struct IndexEntry {
    std::vector<uint8_t> key;
    RowPointer row;
    uint32_t child = 0;
};

// An index page, decoded: its place in the tree and its entries in order,
// with the shared prefix put back on each entry.
struct IndexPage {
    uint32_t number = 0;
    bool leaf = true;
    uint32_t owner = 0;  // the table's definition page
    uint32_t previous = 0;
    uint32_t next = 0;
    uint32_t tail = 0;
    uint16_t prefixLength = 0;
    std::vector<IndexEntry> entries;
};

// Where an index page keeps its links and its prefix length (FORMAT.md
// "Index pages"). Access keeps them where the version's Layout says. Earlier
// versions of this engine wrote Jet 4 index pages with them 4 bytes early,
// at the Jet 3 offsets; such pages are read, and every change to a file
// rewrites them in Access's form.
enum class IndexPageForm { Access, EarlierEngine };

// Reads and checks an index page: entry boundaries inside the page, each
// entry long enough for its pointers, the prefix no longer than the first
// entry.
Result<IndexPage> readIndexPage(Pager& pager, uint32_t number, IndexPageForm form = IndexPageForm::Access);
// The same into `index`, whose entries lend their keys' storage to the new
// ones (a walk over many pages then allocates next to nothing). On a
// failure `index` holds no entries.
Status readIndexPageInto(Pager& pager, uint32_t number, IndexPageForm form, IndexPage& index);

// The form the index tree whose root is `root` was written in, told from
// the fields a root page must leave empty in each form.
Result<IndexPageForm> indexTreeForm(Pager& pager, uint32_t root);

// The stored bytes of an entry: key, row pointer and (node pages) child.
std::vector<uint8_t> entryBytes(const IndexEntry& entry, bool leaf);

// The bytes the page's entries take when stored with their shared prefix.
std::size_t storedEntriesSize(const IndexPage& page);
// Whether the page's entries fit on one page.
bool fitsOnPage(const IndexPage& page, const Layout& layout);

// Writes the page (header, entry bitmap, entries with the prefix they share)
// into `bytes`. Fails when the entries do not fit.
Status encodeIndexPage(const IndexPage& page, const Layout& layout, std::vector<uint8_t>& bytes);

// Orders entries as an index does: by key, then by row pointer.
bool entryLess(const IndexEntry& a, const IndexEntry& b);

}  // namespace mdb
