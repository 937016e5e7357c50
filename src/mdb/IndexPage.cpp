#include "mdb/IndexPage.h"

#include "mdb/ByteWriter.h"

#include <algorithm>
#include <set>

namespace mdb {

namespace {

constexpr std::size_t kRowPointerSize = kIndexRowPointerSize;
constexpr std::size_t kChildPointerSize = kIndexChildPointerSize;

// The header fields of an index page in one of its forms.
struct HeaderFields {
    std::size_t previous;
    std::size_t next;
    std::size_t tail;
    std::size_t prefixLength;
};

HeaderFields headerFields(const Layout& layout, IndexPageForm form)
{
    if (form == IndexPageForm::EarlierEngine)
        return {0x08, 0x0C, 0x10, 0x14};
    return {layout.indexPrevPageOffset, layout.indexNextPageOffset, layout.indexTailPageOffset,
            layout.indexPrefixLengthOffset};
}

std::string where(uint32_t number)
{
    return "index page " + std::to_string(number);
}

// The offsets where entries end, from the page's entry bitmap.
std::vector<std::size_t> entryEnds(ByteView view, const Layout& layout)
{
    std::vector<std::size_t> ends;
    const std::size_t maskBytes = layout.indexFirstEntryOffset - layout.indexBitmaskOffset;
    for (std::size_t byte = 0; byte < maskBytes; ++byte) {
        const uint8_t bits = view.u8(layout.indexBitmaskOffset + byte);
        for (int bit = 0; bits != 0 && bit < 8; ++bit) {
            if ((bits >> bit) & 1)
                ends.push_back(layout.indexFirstEntryOffset + byte * 8 + std::size_t(bit));
        }
    }
    return ends;
}

}  // namespace

Result<IndexPage> readIndexPage(Pager& pager, uint32_t number, IndexPageForm form)
{
    IndexPage index;
    if (Status read = readIndexPageInto(pager, number, form, index); !read)
        return read.error();
    return index;
}

namespace {

Status decodeIndexPageInto(Pager& pager, uint32_t number, IndexPageForm form, IndexPage& index)
{
    auto bytes = pager.read(number);
    if (!bytes)
        return bytes.error();
    const Page page{number, *bytes};
    const ByteView view = page.view();
    const Layout& layout = pager.layout();
    if (page.type() != kIndexNodePage && page.type() != kIndexLeafPage)
        return corruption(where(number) + ": page type is " + std::to_string(page.type()) + ", not an index page");

    index.number = number;
    index.leaf = page.type() == kIndexLeafPage;
    const HeaderFields fields = headerFields(layout, form);
    index.owner = view.u32(kPageOwnerOffset);
    index.previous = view.u32(fields.previous);
    index.next = view.u32(fields.next);
    index.tail = view.u32(fields.tail);
    index.prefixLength = view.u16(fields.prefixLength);

    const std::size_t pointers = kRowPointerSize + (index.leaf ? 0 : kChildPointerSize);
    std::size_t start = layout.indexFirstEntryOffset;
    ByteView prefix;
    std::vector<uint8_t> full;  // an entry with the prefix put back, where its pointers reach into the prefix
    const std::vector<std::size_t> ends = entryEnds(view, layout);
    // The entries already there keep their keys' storage for the new keys.
    index.entries.resize(ends.size());
    std::size_t count = 0;
    for (std::size_t end : ends) {
        if (end > view.size() || end <= start)
            return corruption(where(number) + ": entry bitmap marks an entry end outside the page");
        IndexEntry& entry = index.entries[count];
        const ByteView stored = view.sub(start, end - start);
        if (count == 0) {
            if (index.prefixLength > stored.size())
                return corruption(where(number) + ": shared prefix is longer than the first entry");
            prefix = stored.sub(0, index.prefixLength);
        }
        // The first entry holds the prefix itself; the others leave it out.
        const ByteView shared = count == 0 ? ByteView() : prefix;
        if (shared.size() + stored.size() < pointers)
            return corruption(where(number) + ": entry " + std::to_string(count) + " is too short");
        ByteView tail = stored;  // ends with the entry's pointers
        if (stored.size() < pointers) {
            full.assign(shared.data(), shared.data() + shared.size());
            full.insert(full.end(), stored.data(), stored.data() + stored.size());
            tail = ByteView(full);
        }
        const std::size_t keyLength = shared.size() + stored.size() - pointers;
        const std::size_t fromShared = std::min(keyLength, shared.size());
        entry.key.assign(shared.data(), shared.data() + fromShared);
        entry.key.insert(entry.key.end(), stored.data(), stored.data() + (keyLength - fromShared));
        const std::size_t pointersAt = tail.size() - pointers;
        entry.row = RowPointer{tail.u24be(pointersAt), tail.u8(pointersAt + 3)};
        entry.child = index.leaf ? 0 : tail.u32be(pointersAt + kRowPointerSize);
        ++count;
        start = end;
    }
    return Status::success();
}

}  // namespace

Status readIndexPageInto(Pager& pager, uint32_t number, IndexPageForm form, IndexPage& index)
{
    Status decoded = decodeIndexPageInto(pager, number, form, index);
    if (!decoded)
        index.entries.clear();
    return decoded;
}

}  // namespace mdb

namespace mdb {

namespace {

// The length of the prefix all entries share: that of the first and last
// entry, as entries are in order. It stays within the keys.
std::size_t sharedPrefix(const IndexPage& page)
{
    if (page.entries.size() < 2)
        return 0;
    const auto& first = page.entries.front().key;
    const auto& last = page.entries.back().key;
    std::size_t length = 0;
    while (length < first.size() && length < last.size() && first[length] == last[length])
        ++length;
    return length;
}

}  // namespace

bool entryLess(const IndexEntry& a, const IndexEntry& b)
{
    if (a.key != b.key)
        return std::lexicographical_compare(a.key.begin(), a.key.end(), b.key.begin(), b.key.end());
    return a.row < b.row;
}

std::vector<uint8_t> entryBytes(const IndexEntry& entry, bool leaf)
{
    std::vector<uint8_t> bytes = entry.key;
    bytes.push_back(uint8_t(entry.row.page >> 16));
    bytes.push_back(uint8_t(entry.row.page >> 8));
    bytes.push_back(uint8_t(entry.row.page));
    bytes.push_back(entry.row.row);
    if (!leaf) {
        for (int shift = 24; shift >= 0; shift -= 8)
            bytes.push_back(uint8_t(entry.child >> shift));
    }
    return bytes;
}

std::size_t storedEntriesSize(const IndexPage& page)
{
    const std::size_t prefix = sharedPrefix(page);
    const std::size_t pointers = kRowPointerSize + (page.leaf ? 0 : kChildPointerSize);
    std::size_t size = 0;
    for (std::size_t i = 0; i < page.entries.size(); ++i)
        size += page.entries[i].key.size() + pointers - (i == 0 ? 0 : prefix);
    return size;
}

bool fitsOnPage(const IndexPage& page, const Layout& layout)
{
    return storedEntriesSize(page) <= layout.pageSize - layout.indexFirstEntryOffset;
}

Status encodeIndexPage(const IndexPage& page, const Layout& layout, std::vector<uint8_t>& bytes)
{
    if (!fitsOnPage(page, layout))
        return corruption("index page " + std::to_string(page.number) + ": entries do not fit");
    const std::size_t prefix = sharedPrefix(page);
    bytes.assign(layout.pageSize, 0);
    ByteWriter writer(bytes);
    writer.u8(kPageTypeOffset, page.leaf ? kIndexLeafPage : kIndexNodePage);
    writer.u8(1, 0x01);
    writer.u32(kPageOwnerOffset, page.owner);
    writer.u32(layout.indexPrevPageOffset, page.previous);
    writer.u32(layout.indexNextPageOffset, page.next);
    writer.u32(layout.indexTailPageOffset, page.tail);
    writer.u16(layout.indexPrefixLengthOffset, uint16_t(prefix));

    std::size_t at = layout.indexFirstEntryOffset;
    for (std::size_t i = 0; i < page.entries.size(); ++i) {
        const std::vector<uint8_t> stored = entryBytes(page.entries[i], page.leaf);
        const std::size_t skip = i == 0 ? 0 : prefix;
        writer.bytes(at, std::span(stored).subspan(skip));
        at += stored.size() - skip;
        writer.bit(layout.indexBitmaskOffset, at - layout.indexFirstEntryOffset, true);
    }
    writer.u16(kPageFreeSpaceOffset, uint16_t(layout.pageSize - at));
    if (!writer.ok())
        return corruption("index page " + std::to_string(page.number) + ": entries do not fit");
    return Status::success();
}

Result<IndexPageForm> indexTreeForm(Pager& pager, uint32_t root)
{
    // A root page has no neighbours in either form, so the fields where the
    // other form keeps them tell the forms apart: Access leaves 0x08 empty
    // and keeps the tail at 0x14 and the prefix length at 0x18; the earlier
    // engine kept the tail at 0x10 and the prefix length at 0x14 and left
    // 0x18 onwards empty. A root whose fields read the same in both forms
    // (a leaf, or a node over a single child, without a prefix) is told by
    // the child below it.
    const Layout& layout = pager.layout();
    if (layout.version != JetVersion::Jet4)
        return IndexPageForm::Access;
    std::set<uint32_t> visited;
    for (uint32_t page = root; visited.insert(page).second;) {
        auto bytes = pager.read(page);
        if (!bytes)
            return bytes.error();
        const ByteView view(**bytes);
        if (view.u32(0x08) != 0 || view.u32(0x10) != 0)
            return IndexPageForm::EarlierEngine;
        if (view.u16(0x18) != 0 || view.u8(0x1A) != 0)
            return IndexPageForm::Access;
        const bool leaf = view.u8(kPageTypeOffset) == kIndexLeafPage;
        if (view.u32(0x14) != 0)  // a tail (Access) or a prefix length (earlier engine)
            return leaf ? IndexPageForm::EarlierEngine : IndexPageForm::Access;
        if (leaf)
            return IndexPageForm::Access;  // both forms read this page alike
        auto node = readIndexPage(pager, page);
        if (!node)
            return node.error();
        if (node->entries.size() != 1)
            return IndexPageForm::Access;
        page = node->entries.front().child;
    }
    return corruption("index pages loop at page " + std::to_string(root));
}

}  // namespace mdb
