#include "db/mdb/IndexPage.h"

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
        return Error{where(number) + ": page type is " + std::to_string(page.type()) + ", not an index page"};

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
    for (std::size_t end : entryEnds(view, layout)) {
        if (end > view.size() || end <= start)
            return Error{where(number) + ": entry bitmap marks an entry end outside the page"};
        IndexEntry entry;
        const ByteView stored = view.sub(start, end - start);
        if (index.entries.empty()) {
            if (index.prefixLength > stored.size())
                return Error{where(number) + ": shared prefix is longer than the first entry"};
            prefix.assign(stored.data(), stored.data() + index.prefixLength);
        }
        std::vector<uint8_t> full = index.entries.empty() ? std::vector<uint8_t>() : prefix;
        full.insert(full.end(), stored.data(), stored.data() + stored.size());
        if (full.size() < pointers)
            return Error{where(number) + ": entry " + std::to_string(index.entries.size()) + " is too short"};
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
