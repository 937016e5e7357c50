#include "mdb/UsageMapEditor.h"

#include "mdb/ByteWriter.h"
#include "mdb/DataPageEditor.h"
#include "mdb/UsageMap.h"

#include <algorithm>

namespace mdb {

namespace {

bool testBit(const std::vector<uint8_t>& bytes, std::size_t at, std::size_t bit)
{
    return ByteView(bytes).u8(at + bit / 8) >> (bit % 8) & 1;
}

// The pages an inline map holds.
std::vector<uint32_t> inlinePages(const std::vector<uint8_t>& row)
{
    std::vector<uint32_t> pages;
    const uint32_t first = ByteView(row).u32(1);
    for (std::size_t bit = 0; bit < (row.size() - kInlineMapHeader) * 8; ++bit) {
        if (testBit(row, kInlineMapHeader, bit))
            pages.push_back(first + uint32_t(bit));
    }
    return pages;
}

}  // namespace

std::vector<uint8_t> UsageMapEditor::emptyInlineMap()
{
    return std::vector<uint8_t>(kMapRowSize, 0);
}

std::size_t UsageMapEditor::pagesPerMapPage() const
{
    return (pager_.pageSize() - kMapPageHeader) * 8;
}

Result<std::vector<uint8_t>> UsageMapEditor::readRow(RowPointer where)
{
    auto editor = DataPageEditor::edit(pager_, where.page);
    if (!editor)
        return within("usage map", editor.error());
    if (where.row >= editor->rowCount())
        return corruption("usage map row " + std::to_string(where.row) + " of page " + std::to_string(where.page) +
                          " is missing");
    const ByteView bytes = editor->row(where.row);
    if (bytes.size() < kInlineMapHeader)
        return corruption("usage map on page " + std::to_string(where.page) + " is cut short");
    return std::vector<uint8_t>(bytes.data(), bytes.data() + bytes.size());
}

Status UsageMapEditor::writeRow(RowPointer where, const std::vector<uint8_t>& row)
{
    auto editor = DataPageEditor::edit(pager_, where.page);
    if (!editor)
        return editor.error();
    return editor->replace(where.row, row, editor->flags(where.row));
}

Status UsageMapEditor::setInReference(std::vector<uint8_t>& row, uint32_t page, bool used)
{
    const std::size_t at = 1 + page / pagesPerMapPage() * 4;
    if (at + 4 > row.size())
        return unsupported("page " + std::to_string(page) + " lies beyond what a usage map can describe");
    uint32_t mapPage = ByteView(row).u32(at);
    if (!isMapPagePointer(mapPage)) {
        if (!used)
            return Status::success();
        auto allocated = allocator_.allocate();
        if (!allocated)
            return allocated.error();
        mapPage = *allocated;
        auto bytes = pager_.modify(mapPage);
        if (!bytes)
            return bytes.error();
        ByteWriter header(**bytes);
        header.u8(kPageTypeOffset, kUsageMapPage);
        header.u8(1, 0x01);
        ByteWriter(row).u32(at, mapPage);
    }
    auto bytes = pager_.modify(mapPage);
    if (!bytes)
        return bytes.error();
    if ((**bytes)[kPageTypeOffset] != kUsageMapPage)
        return corruption("page " + std::to_string(mapPage) + " should be a usage map page");
    ByteWriter(**bytes).bit(kMapPageHeader, page % pagesPerMapPage(), used);
    return Status::success();
}

Status UsageMapEditor::addInline(std::vector<uint8_t>& row, uint32_t page)
{
    const std::size_t bits = (row.size() - kInlineMapHeader) * 8;
    const uint32_t first = ByteView(row).u32(1);
    if (page >= first && page - first < bits) {
        ByteWriter(row).bit(kInlineMapHeader, page - first, true);
        return Status::success();
    }
    std::vector<uint32_t> pages = inlinePages(row);
    pages.push_back(page);
    const uint32_t low = *std::min_element(pages.begin(), pages.end());
    const uint32_t high = *std::max_element(pages.begin(), pages.end());
    if (high - low < bits) {
        // Shift the window; start it on a byte boundary when that still fits.
        const uint32_t start = (high - (low & ~7u) < bits) ? (low & ~7u) : low;
        ByteWriter writer(row);
        writer.u32(1, start);
        writer.fill(kInlineMapHeader, row.size() - kInlineMapHeader, 0);
        for (uint32_t p : pages)
            writer.bit(kInlineMapHeader, p - start, true);
        return Status::success();
    }
    // Promote: the same row now lists bitmap pages.
    row.assign(row.size(), 0);
    row[0] = kReferenceMapKind;
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
    Status added = (*row)[0] == kInlineMapKind      ? addInline(*row, page)
                   : (*row)[0] == kReferenceMapKind ? setInReference(*row, page, true)
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
    if ((*row)[0] == kReferenceMapKind) {
        if (Status cleared = setInReference(*row, page, false); !cleared)
            return cleared;
    } else {
        const uint32_t first = ByteView(*row).u32(1);
        const std::size_t bits = (row->size() - kInlineMapHeader) * 8;
        if (page >= first && page - first < bits)
            ByteWriter(*row).bit(kInlineMapHeader, page - first, false);
    }
    return writeRow(where, *row);
}

}  // namespace mdb
