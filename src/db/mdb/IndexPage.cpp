#include "db/mdb/IndexPage.h"

#include <algorithm>

namespace mdb {

namespace {

constexpr std::size_t kRowPointerSize = 4;  // 3-byte page, 1-byte row, big-endian
constexpr std::size_t kChildPointerSize = 4;
constexpr std::size_t kOwnerOffset = 4;

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

Result<IndexPage> readIndexPage(Pager& pager, uint32_t number)
{
    auto bytes = pager.read(number);
    if (!bytes)
        return bytes.error();
    const Page page{number, *bytes};
    const ByteView view = page.view();
    const Layout& layout = pager.layout();
    if (page.type() != kIndexNodePage && page.type() != kIndexLeafPage)
        return corruption(where(number) + ": page type is " + std::to_string(page.type()) + ", not an index page");

    IndexPage index;
    index.number = number;
    index.leaf = page.type() == kIndexLeafPage;
    index.owner = view.u32(kOwnerOffset);
    index.previous = view.u32(layout.indexPrevPageOffset);
    index.next = view.u32(layout.indexNextPageOffset);
    index.tail = view.u32(layout.indexTailPageOffset);
    index.prefixLength = view.u16(layout.indexPrefixLengthOffset);

    const std::size_t pointers = kRowPointerSize + (index.leaf ? 0 : kChildPointerSize);
    std::size_t start = layout.indexFirstEntryOffset;
    std::vector<uint8_t> prefix;
    std::vector<uint8_t> full;  // one entry with the prefix put back; reused
    const std::vector<std::size_t> ends = entryEnds(view, layout);
    index.entries.reserve(ends.size());
    for (std::size_t end : ends) {
        if (end > view.size() || end <= start)
            return corruption(where(number) + ": entry bitmap marks an entry end outside the page");
        IndexEntry entry;
        const ByteView stored = view.sub(start, end - start);
        if (index.entries.empty()) {
            if (index.prefixLength > stored.size())
                return corruption(where(number) + ": shared prefix is longer than the first entry");
            prefix.assign(stored.data(), stored.data() + index.prefixLength);
            full.clear();
        } else {
            full.assign(prefix.begin(), prefix.end());
        }
        full.insert(full.end(), stored.data(), stored.data() + stored.size());
        if (full.size() < pointers)
            return corruption(where(number) + ": entry " + std::to_string(index.entries.size()) + " is too short");
        const ByteView fullView(full);
        const std::size_t keyLength = full.size() - pointers;
        entry.key.assign(full.begin(), full.begin() + std::ptrdiff_t(keyLength));
        entry.row = RowPointer{fullView.u24be(keyLength), fullView.u8(keyLength + 3)};
        if (!index.leaf)
            entry.child = fullView.u32be(keyLength + kRowPointerSize);
        index.entries.push_back(std::move(entry));
        start = end;
    }
    return index;
}

}  // namespace mdb

namespace mdb {

namespace {

void put16(std::vector<uint8_t>& bytes, std::size_t at, uint16_t value)
{
    bytes[at] = uint8_t(value);
    bytes[at + 1] = uint8_t(value >> 8);
}

void put32(std::vector<uint8_t>& bytes, std::size_t at, uint32_t value)
{
    for (int i = 0; i < 4; ++i)
        bytes[at + std::size_t(i)] = uint8_t(value >> (8 * i));
}

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
    bytes[0] = page.leaf ? kIndexLeafPage : kIndexNodePage;
    bytes[1] = 0x01;
    put32(bytes, kOwnerOffset, page.owner);
    put32(bytes, layout.indexPrevPageOffset, page.previous);
    put32(bytes, layout.indexNextPageOffset, page.next);
    put32(bytes, layout.indexTailPageOffset, page.tail);
    put16(bytes, layout.indexPrefixLengthOffset, uint16_t(prefix));

    std::size_t at = layout.indexFirstEntryOffset;
    for (std::size_t i = 0; i < page.entries.size(); ++i) {
        const std::vector<uint8_t> stored = entryBytes(page.entries[i], page.leaf);
        const std::size_t skip = i == 0 ? 0 : prefix;
        std::copy(stored.begin() + std::ptrdiff_t(skip), stored.end(), bytes.begin() + std::ptrdiff_t(at));
        at += stored.size() - skip;
        const std::size_t bit = at - layout.indexFirstEntryOffset;
        bytes[layout.indexBitmaskOffset + bit / 8] = uint8_t(bytes[layout.indexBitmaskOffset + bit / 8] | (1 << (bit % 8)));
    }
    put16(bytes, 2, uint16_t(layout.pageSize - at));
    return Status::success();
}

}  // namespace mdb
