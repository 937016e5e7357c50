#include "mdb/DataPageEditor.h"

#include "mdb/ByteWriter.h"
#include "mdb/DataPage.h"
#include "mdb/Pager.h"

namespace mdb {

DataPageEditor::DataPageEditor(std::vector<uint8_t>& page, const Layout& layout, uint32_t number,
                               std::vector<Slot> slots)
    : page_(&page), layout_(&layout), number_(number), slots_(std::move(slots))
{
}

Result<DataPageEditor> DataPageEditor::open(std::vector<uint8_t>& page, const Layout& layout, uint32_t number)
{
    const ByteView view(page);
    if (page.size() != layout.pageSize || view.u8(kPageTypeOffset) != kDataPage)
        return corruption("data page " + std::to_string(number) + ": not a data page");
    auto checked = checkRowSlots(view, layout, number);
    if (!checked)
        return checked.error();
    std::vector<Slot> slots;
    slots.reserve(checked->size());
    for (const RowSlot& slot : *checked) {
        const uint16_t flags = uint16_t((slot.deleted ? kRowDeletedFlag : 0) | (slot.overflow ? kRowOverflowFlag : 0));
        slots.push_back({slot.start, slot.end, flags});
    }
    if (slots.size() > std::size_t(kMaxRowsPerPage))
        return corruption("data page " + std::to_string(number) + ": more rows than a page can hold");
    return DataPageEditor(page, layout, number, std::move(slots));
}

Result<DataPageEditor> DataPageEditor::edit(Pager& pager, uint32_t number)
{
    auto page = pager.modify(number);
    if (!page)
        return page.error();
    return open(**page, pager.layout(), number);
}

void DataPageEditor::initialise(std::vector<uint8_t>& page, const Layout& layout, uint32_t owner)
{
    page.assign(layout.pageSize, 0);
    ByteWriter writer(page);
    writer.u8(kPageTypeOffset, kDataPage);
    writer.u8(1, 0x01);
    writer.u32(kPageOwnerOffset, owner);
    writer.u16(layout.dataRowCountOffset, 0);
    writer.u16(kPageFreeSpaceOffset, uint16_t(layout.pageSize - layout.dataFirstRowOffset));
}

std::size_t DataPageEditor::maxRowSize(const Layout& layout)
{
    return layout.pageSize - layout.dataFirstRowOffset - 2;
}

std::size_t DataPageEditor::offsetEntry(std::size_t row) const
{
    return layout_->dataFirstRowOffset + row * 2;
}

std::size_t DataPageEditor::lowestRow() const
{
    return slots_.empty() ? layout_->pageSize : slots_.back().start;
}

std::size_t DataPageEditor::freeSpaceOf(ByteView page, const Layout& layout)
{
    const std::size_t count = page.u16(layout.dataRowCountOffset);
    const std::size_t table = layout.dataFirstRowOffset + count * 2;
    if (table > page.size())
        return 0;
    const std::size_t lowest = count == 0 ? layout.pageSize : (page.u16(table - 2) & kRowOffsetMask);
    return lowest > table && lowest <= page.size() ? lowest - table : 0;
}

std::size_t DataPageEditor::freeSpace() const
{
    const std::size_t table = offsetEntry(slots_.size());
    return lowestRow() > table ? lowestRow() - table : 0;
}

bool DataPageEditor::canInsert(std::size_t size) const
{
    return rowCount() < kMaxRowsPerPage && size + 2 <= freeSpace();
}

Error DataPageEditor::damaged(const std::string& what) const
{
    return corruption("data page " + std::to_string(number_) + ": " + what);
}

Result<uint8_t> DataPageEditor::insert(std::span<const uint8_t> bytes, uint16_t flags)
{
    if (!canInsert(bytes.size()))
        return invalidArgument("data page " + std::to_string(number_) + ": a row of " + std::to_string(bytes.size()) +
                               " bytes does not fit");
    const std::size_t row = slots_.size();
    const std::size_t start = lowestRow() - bytes.size();
    ByteWriter writer(*page_);
    writer.bytes(start, bytes);
    writer.u16(offsetEntry(row), uint16_t(start | flags));
    writer.u16(layout_->dataRowCountOffset, uint16_t(row + 1));
    if (!writer.ok())
        return damaged("a new row would lie outside the page");
    slots_.push_back({uint16_t(start), uint16_t(lowestRow()), flags});
    writer.u16(kPageFreeSpaceOffset, uint16_t(freeSpace()));
    return uint8_t(row);
}

ByteView DataPageEditor::row(uint8_t row) const
{
    if (row >= slots_.size())
        return {};
    const Slot& slot = slots_[row];
    return ByteView(*page_).sub(slot.start, std::size_t(slot.end - slot.start));
}

uint16_t DataPageEditor::flags(uint8_t row) const
{
    return row < slots_.size() ? slots_[row].flags : 0;
}

Status DataPageEditor::rewrite(std::vector<std::vector<uint8_t>> rows, std::vector<uint16_t> flags)
{
    ByteWriter writer(*page_);
    std::vector<Slot> slots;
    std::size_t end = layout_->pageSize;
    for (std::size_t i = 0; i < rows.size(); ++i) {
        if (rows[i].size() > end)
            return damaged("its rows no longer fit");
        const std::size_t start = end - rows[i].size();
        writer.bytes(start, rows[i]);
        writer.u16(offsetEntry(i), uint16_t(start | flags[i]));
        slots.push_back({uint16_t(start), uint16_t(end), flags[i]});
        end = start;
    }
    writer.u16(layout_->dataRowCountOffset, uint16_t(rows.size()));
    // Clear the freed area so that no stale row bytes remain.
    const std::size_t table = offsetEntry(rows.size());
    if (end < table)
        return damaged("its rows overlap the row offset table");
    writer.fill(table, end - table, 0);
    writer.u16(kPageFreeSpaceOffset, uint16_t(end - table));
    if (!writer.ok())
        return damaged("a row would lie outside the page");
    slots_ = std::move(slots);
    return Status::success();
}

bool DataPageEditor::canReplace(uint8_t row, std::size_t size) const
{
    if (row >= slots_.size())
        return false;
    const std::size_t current = std::size_t(slots_[row].end - slots_[row].start);
    return size <= current || size - current <= freeSpace();
}

Status DataPageEditor::replace(uint8_t row, std::span<const uint8_t> bytes, uint16_t flags)
{
    if (!canReplace(row, bytes.size()))
        return invalidArgument("data page " + std::to_string(number_) + ": a row of " + std::to_string(bytes.size()) +
                               " bytes does not fit");
    std::vector<std::vector<uint8_t>> rows;
    std::vector<uint16_t> allFlags;
    for (std::size_t i = 0; i < slots_.size(); ++i) {
        if (i == row) {
            rows.emplace_back(bytes.begin(), bytes.end());
            allFlags.push_back(flags);
        } else {
            const ByteView current = this->row(uint8_t(i));
            rows.emplace_back(current.data(), current.data() + current.size());
            allFlags.push_back(slots_[i].flags);
        }
    }
    return rewrite(std::move(rows), std::move(allFlags));
}

Status DataPageEditor::remove(uint8_t row)
{
    if (row >= slots_.size())
        return notFound("data page " + std::to_string(number_) + ": row " + std::to_string(row) + " does not exist");
    return replace(row, {}, kRowDeletedFlag);
}

}  // namespace mdb
