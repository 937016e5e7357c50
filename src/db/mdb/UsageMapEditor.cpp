#include "db/mdb/UsageMapEditor.h"

#include "db/mdb/DataPageEditor.h"

#include <algorithm>

namespace mdb {

namespace {

constexpr std::size_t kInlineHeader = 5;
constexpr std::size_t kInlineBitmapBytes = 64;
constexpr uint8_t kInlineKind = 0;
constexpr uint8_t kReferenceKind = 1;

uint32_t get32(const std::vector<uint8_t>& bytes, std::size_t at)
{
    return ByteView(bytes.data(), bytes.size()).u32(at);
}

void put32(std::vector<uint8_t>& bytes, std::size_t at, uint32_t value)
{
    for (int i = 0; i < 4; ++i)
        bytes[at + std::size_t(i)] = uint8_t(value >> (8 * i));
}

bool testBit(const uint8_t* bitmap, std::size_t bit)
{
    return (bitmap[bit / 8] >> (bit % 8)) & 1;
}

void setBit(uint8_t* bitmap, std::size_t bit, bool on)
{
    if (on)
        bitmap[bit / 8] = uint8_t(bitmap[bit / 8] | (1 << (bit % 8)));
    else
        bitmap[bit / 8] = uint8_t(bitmap[bit / 8] & ~(1 << (bit % 8)));
}

// The pages an inline map holds.
std::vector<uint32_t> inlinePages(const std::vector<uint8_t>& row)
{
    std::vector<uint32_t> pages;
    const uint32_t first = get32(row, 1);
    for (std::size_t bit = 0; bit < (row.size() - kInlineHeader) * 8; ++bit) {
        if (testBit(row.data() + kInlineHeader, bit))
            pages.push_back(first + uint32_t(bit));
    }
    return pages;
}

}  // namespace

std::vector<uint8_t> UsageMapEditor::emptyInlineMap()
{
    return std::vector<uint8_t>(kInlineHeader + kInlineBitmapBytes, 0);
}

std::size_t UsageMapEditor::pagesPerMapPage() const
{
    return (pager_.pageSize() - pager_.layout().usageMapPageHeader) * 8;
}

Result<std::vector<uint8_t>> UsageMapEditor::readRow(RowPointer where)
{
    auto page = pager_.modify(where.page);
    if (!page)
        return page.error();
    if ((**page)[0] != kDataPage)
        return corruption("usage map page " + std::to_string(where.page) + " is not a data page");
    DataPageEditor editor(**page, pager_.layout());
    if (where.row >= editor.rowCount())
        return corruption("usage map row " + std::to_string(where.row) + " of page " + std::to_string(where.page) + " is missing");
    const ByteView bytes = editor.row(where.row);
    if (bytes.size() < kInlineHeader)
        return corruption("usage map on page " + std::to_string(where.page) + " is cut short");
    return std::vector<uint8_t>(bytes.data(), bytes.data() + bytes.size());
}

Status UsageMapEditor::writeRow(RowPointer where, const std::vector<uint8_t>& row)
{
    auto page = pager_.modify(where.page);
    if (!page)
        return page.error();
    DataPageEditor editor(**page, pager_.layout());
    return editor.replace(where.row, row, editor.flags(where.row));
}

Status UsageMapEditor::setInReference(std::vector<uint8_t>& row, uint32_t page, bool used)
{
    const std::size_t slot = page / pagesPerMapPage();
    const std::size_t at = 1 + slot * 4;
    if (at + 4 > row.size())
        return unsupported("page " + std::to_string(page) + " lies beyond what a usage map can describe");
    uint32_t mapPage = get32(row, at);
    if (mapPage == 0) {
        if (!used)
            return Status::success();
        auto allocated = allocator_.allocate();
        if (!allocated)
            return allocated.error();
        mapPage = *allocated;
        auto bytes = pager_.modify(mapPage);
        if (!bytes)
            return bytes.error();
        (**bytes)[0] = kUsageMapPage;
        (**bytes)[1] = 0x01;
        put32(row, at, mapPage);
    }
    auto bytes = pager_.modify(mapPage);
    if (!bytes)
        return bytes.error();
    if ((**bytes)[0] != kUsageMapPage)
        return corruption("page " + std::to_string(mapPage) + " should be a usage map page");
    setBit((*bytes)->data() + pager_.layout().usageMapPageHeader, page % pagesPerMapPage(), used);
    return Status::success();
}

Status UsageMapEditor::addInline(std::vector<uint8_t>& row, uint32_t page)
{
    const std::size_t bits = (row.size() - kInlineHeader) * 8;
    const uint32_t first = get32(row, 1);
    if (page >= first && page - first < bits) {
        setBit(row.data() + kInlineHeader, page - first, true);
        return Status::success();
    }
    std::vector<uint32_t> pages = inlinePages(row);
    pages.push_back(page);
    const uint32_t low = *std::min_element(pages.begin(), pages.end());
    const uint32_t high = *std::max_element(pages.begin(), pages.end());
    if (high - low < bits) {
        // Shift the window; start it on a byte boundary when that still fits.
        const uint32_t start = (high - (low & ~7u) < bits) ? (low & ~7u) : low;
        put32(row, 1, start);
        std::fill(row.begin() + kInlineHeader, row.end(), 0);
        for (uint32_t p : pages)
            setBit(row.data() + kInlineHeader, p - start, true);
        return Status::success();
    }
    // Promote: the same row now lists bitmap pages.
    row.assign(row.size(), 0);
    row[0] = kReferenceKind;
    for (uint32_t p : pages) {
        if (Status set = setInReference(row, p, true); !set)
            return set;
    }
    return Status::success();
}

Status UsageMapEditor::add(uint32_t mapPointer, uint32_t page)
{
    const RowPointer where = RowPointer::unpack(mapPointer);
    auto row = readRow(where);
    if (!row)
        return row.error();
    Status added = (*row)[0] == kInlineKind ? addInline(*row, page)
                   : (*row)[0] == kReferenceKind ? setInReference(*row, page, true)
                                                 : Status(corruption("unknown usage map kind"));
    if (!added)
        return added;
    return writeRow(where, *row);
}

Status UsageMapEditor::remove(uint32_t mapPointer, uint32_t page)
{
    const RowPointer where = RowPointer::unpack(mapPointer);
    auto row = readRow(where);
    if (!row)
        return row.error();
    if ((*row)[0] == kReferenceKind) {
        if (Status cleared = setInReference(*row, page, false); !cleared)
            return cleared;
    } else {
        const uint32_t first = get32(*row, 1);
        const std::size_t bits = (row->size() - kInlineHeader) * 8;
        if (page >= first && page - first < bits)
            setBit(row->data() + kInlineHeader, page - first, false);
    }
    return writeRow(where, *row);
}

}  // namespace mdb
