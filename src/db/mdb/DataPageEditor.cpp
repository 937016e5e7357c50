#include "db/mdb/DataPageEditor.h"

#include "db/mdb/DataPage.h"

#include <algorithm>

namespace mdb {

namespace {

constexpr std::size_t kFreeSpaceOffset = 2;
constexpr std::size_t kOwnerOffset = 4;

void put16(std::vector<uint8_t>& page, std::size_t at, uint16_t value)
{
    page[at] = uint8_t(value);
    page[at + 1] = uint8_t(value >> 8);
}

void put32(std::vector<uint8_t>& page, std::size_t at, uint32_t value)
{
    for (int i = 0; i < 4; ++i)
        page[at + std::size_t(i)] = uint8_t(value >> (8 * i));
}

}  // namespace

DataPageEditor::DataPageEditor(std::vector<uint8_t>& page, const Layout& layout) : page_(page), layout_(layout) {}

void DataPageEditor::initialise(std::vector<uint8_t>& page, const Layout& layout, uint32_t owner)
{
    page.assign(layout.pageSize, 0);
    page[0] = kDataPage;
    page[1] = 0x01;
    put32(page, kOwnerOffset, owner);
    put16(page, layout.dataRowCountOffset, 0);
    put16(page, kFreeSpaceOffset, uint16_t(layout.pageSize - layout.dataFirstRowOffset));
}

std::size_t DataPageEditor::maxRowSize(const Layout& layout)
{
    return layout.pageSize - layout.dataFirstRowOffset - 2;
}

int DataPageEditor::rowCount() const
{
    return ByteView(page_.data(), page_.size()).u16(layout_.dataRowCountOffset);
}

std::size_t DataPageEditor::offsetEntry(int row) const
{
    return layout_.dataFirstRowOffset + std::size_t(row) * 2;
}

uint16_t DataPageEditor::rowStart(int row) const
{
    return ByteView(page_.data(), page_.size()).u16(offsetEntry(row)) & kRowOffsetMask;
}

uint16_t DataPageEditor::rowEnd(int row) const
{
    return row == 0 ? uint16_t(layout_.pageSize) : rowStart(row - 1);
}

std::size_t DataPageEditor::freeSpaceOf(ByteView page, const Layout& layout)
{
    const int count = page.u16(layout.dataRowCountOffset);
    const std::size_t table = layout.dataFirstRowOffset + std::size_t(count) * 2;
    const std::size_t lowest = count == 0 ? layout.pageSize : (page.u16(table - 2) & kRowOffsetMask);
    return lowest > table ? lowest - table : 0;
}

std::size_t DataPageEditor::freeSpace() const
{
    const int count = rowCount();
    const std::size_t lowest = count == 0 ? layout_.pageSize : rowStart(count - 1);
    return lowest - offsetEntry(count);
}

void DataPageEditor::setFreeSpace()
{
    put16(page_, kFreeSpaceOffset, uint16_t(freeSpace()));
}

bool DataPageEditor::canInsert(std::size_t size) const
{
    return rowCount() < kMaxRows && size + 2 <= freeSpace();
}

Result<uint8_t> DataPageEditor::insert(std::span<const uint8_t> bytes, uint16_t flags)
{
    if (!canInsert(bytes.size()))
        return corruption("a row of " + std::to_string(bytes.size()) + " bytes does not fit on the page");
    const int row = rowCount();
    const std::size_t lowest = row == 0 ? layout_.pageSize : rowStart(row - 1);
    const std::size_t start = lowest - bytes.size();
    std::copy(bytes.begin(), bytes.end(), page_.begin() + std::ptrdiff_t(start));
    put16(page_, offsetEntry(row), uint16_t(start | flags));
    put16(page_, layout_.dataRowCountOffset, uint16_t(row + 1));
    setFreeSpace();
    return uint8_t(row);
}

ByteView DataPageEditor::row(uint8_t row) const
{
    if (row >= rowCount())
        return {};
    return ByteView(page_.data() + rowStart(row), std::size_t(rowEnd(row) - rowStart(row)));
}

uint16_t DataPageEditor::flags(uint8_t row) const
{
    if (row >= rowCount())
        return 0;
    return ByteView(page_.data(), page_.size()).u16(offsetEntry(row)) & ~kRowOffsetMask;
}

std::vector<DataPageEditor::Slot> DataPageEditor::slots() const
{
    std::vector<Slot> all;
    for (int i = 0; i < rowCount(); ++i) {
        const ByteView bytes = row(uint8_t(i));
        all.push_back({std::vector<uint8_t>(bytes.data(), bytes.data() + bytes.size()), flags(uint8_t(i))});
    }
    return all;
}

void DataPageEditor::rewrite(const std::vector<Slot>& all)
{
    std::size_t end = layout_.pageSize;
    for (std::size_t i = 0; i < all.size(); ++i) {
        const std::size_t start = end - all[i].bytes.size();
        std::copy(all[i].bytes.begin(), all[i].bytes.end(), page_.begin() + std::ptrdiff_t(start));
        put16(page_, offsetEntry(int(i)), uint16_t(start | all[i].flags));
        end = start;
    }
    put16(page_, layout_.dataRowCountOffset, uint16_t(all.size()));
    // Clear the freed area so that no stale row bytes remain.
    std::fill(page_.begin() + std::ptrdiff_t(offsetEntry(int(all.size()))), page_.begin() + std::ptrdiff_t(end), 0);
    setFreeSpace();
}

bool DataPageEditor::canReplace(uint8_t row, std::size_t size) const
{
    if (row >= rowCount())
        return false;
    const std::size_t current = std::size_t(rowEnd(row) - rowStart(row));
    return size <= current || size - current <= freeSpace();
}

Status DataPageEditor::replace(uint8_t row, std::span<const uint8_t> bytes, uint16_t flags)
{
    if (!canReplace(row, bytes.size()))
        return corruption("a row of " + std::to_string(bytes.size()) + " bytes does not fit on the page");
    std::vector<Slot> all = slots();
    all[row].bytes.assign(bytes.begin(), bytes.end());
    all[row].flags = flags;
    rewrite(all);
    return Status::success();
}

Status DataPageEditor::remove(uint8_t row)
{
    if (row >= rowCount())
        return corruption("row " + std::to_string(row) + " does not exist");
    return replace(row, {}, kRowDeletedFlag);
}

}  // namespace mdb
