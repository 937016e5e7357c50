#include "mdb/DataPage.h"

namespace mdb {

namespace {

constexpr int kMaxOverflowHops = 2;  // a pointer, then the row it points to

std::string where(const Page& page)
{
    return "data page " + std::to_string(page.number);
}

}  // namespace

uint32_t dataPageOwner(const Page& page)
{
    return page.view().u32(kPageOwnerOffset);
}

Result<std::vector<RowSlot>> readRowSlots(const Page& page, const Layout& layout)
{
    return checkRowSlots(page.view(), layout, page.number);
}

Result<std::vector<RowSlot>> checkRowSlots(ByteView view, const Layout& layout, uint32_t number)
{
    const std::string where = "data page " + std::to_string(number);
    const uint16_t count = view.u16(layout.dataRowCountOffset);
    const std::size_t tableEnd = layout.dataFirstRowOffset + std::size_t(count) * 2;
    if (tableEnd > view.size())
        return corruption(where + ": row count " + std::to_string(count) + " does not fit the page");

    std::vector<RowSlot> slots;
    slots.reserve(count);
    std::size_t previousStart = view.size();
    for (uint16_t i = 0; i < count; ++i) {
        const uint16_t raw = view.u16(layout.dataFirstRowOffset + std::size_t(i) * 2);
        RowSlot slot;
        slot.start = raw & kRowOffsetMask;
        slot.end = uint16_t(previousStart);
        slot.deleted = raw & kRowDeletedFlag;
        slot.overflow = raw & kRowOverflowFlag;
        if (slot.start > view.size())
            return corruption(where + ": row " + std::to_string(i) + " offset " + std::to_string(slot.start) +
                              " lies past the end of the page");
        if (slot.start < tableEnd || slot.start > previousStart) {
            // A deleted row's offset may be stale; it is never read.
            if (!slot.deleted)
                return corruption(where + ": row " + std::to_string(i) + " offset " + std::to_string(slot.start) +
                             " lies outside the row area");
            slot.start = slot.end = uint16_t(previousStart);
        }
        previousStart = slot.start;
        slots.push_back(slot);
    }
    return slots;
}

Result<ByteView> readRow(Pager& pager, RowPointer pointer, Page& holder)
{
    RowReader reader(pager);
    auto bytes = reader.read(pointer);
    holder = reader.page();  // keeps the bytes alive after the reader is gone
    return bytes;
}

Status RowReader::load(uint32_t pageNumber)
{
    if (loaded_ && holder_.number == pageNumber)
        return Status::success();
    loaded_ = false;
    auto page = readPageOfType(pager_, pageNumber, kDataPage, "data");
    if (!page)
        return page.error();
    holder_ = *page;
    auto slots = readRowSlots(holder_, pager_.layout());
    if (!slots)
        return slots.error();
    slots_ = std::move(*slots);
    loaded_ = true;
    return Status::success();
}

Result<ByteView> RowReader::read(RowPointer pointer)
{
    for (int hop = 0; hop < kMaxOverflowHops; ++hop) {
        if (Status loaded = load(pointer.page); !loaded)
            return loaded.error();
        if (pointer.row >= slots_.size())
            return corruption(where(holder_) + ": row " + std::to_string(pointer.row) + " does not exist (the page has " +
                         std::to_string(slots_.size()) + " rows)");
        const RowSlot& slot = slots_[pointer.row];
        // A moved row's new home is marked deleted so that scans pass it by;
        // it is read only through the pointer left at its old place.
        if (slot.deleted && hop == 0)
            return corruption(where(holder_) + ": row " + std::to_string(pointer.row) + " is deleted");
        const ByteView bytes = holder_.view().sub(slot.start, std::size_t(slot.end - slot.start));
        if (!slot.overflow || hop > 0)
            return bytes;
        if (bytes.size() < 4)
            return corruption(where(holder_) + ": row " + std::to_string(pointer.row) + " overflow pointer is cut short");
        pointer = RowPointer::unpack(bytes.u32(0));
    }
    return corruption("row overflow pointers loop starting at page " + std::to_string(pointer.page));
}

}  // namespace mdb
