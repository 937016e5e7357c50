#include "mdb/PageAllocator.h"

#include "mdb/ByteWriter.h"
#include "mdb/DataPageEditor.h"
#include "mdb/UsageMap.h"

#include <algorithm>

namespace mdb {

namespace {

constexpr uint32_t kFirstUsablePage = 3;  // header, global map, catalog definition
constexpr std::size_t kGrowthBytes = 32;  // an inline map grows 256 pages at a time

}  // namespace

// The global usage map as it stands in the pending changes: either the
// inline row on page 1, or the row of map page numbers and the map pages.
class PageAllocator::GlobalMap {
public:
    explicit GlobalMap(Pager& pager) : pager_(pager) {}

    Status load()
    {
        auto editor = DataPageEditor::edit(pager_, kGlobalMapPage);
        if (!editor)
            return within("the global usage map", editor.error());
        if (editor->rowCount() <= kGlobalMapRow)
            return corruption("page 1 holds no global usage map");
        const ByteView bytes = editor->row(kGlobalMapRow);
        row_.assign(bytes.data(), bytes.data() + bytes.size());
        if (row_.size() < kInlineMapHeader || (row_[0] != kInlineMapKind && row_[0] != kReferenceMapKind))
            return corruption("page 1: the global usage map's row is damaged");
        return Status::success();
    }

    bool isInline() const { return row_[0] == kInlineMapKind; }

    // The first free page from `from` on, or 0 when the file has none.
    Result<uint32_t> firstFree(uint32_t from)
    {
        if (isInline()) {
            const uint32_t first = ByteView(row_).u32(1);
            return firstSetBit(ByteView(row_).from(kInlineMapHeader), first, std::max(from, first));
        }
        const uint32_t perPage = uint32_t(pagesPerMapPage());
        for (uint32_t range = from / perPage; uint64_t(range) * perPage < pager_.pageCount(); ++range) {
            const uint32_t mapPage = referencePage(range * perPage);
            if (mapPage == 0)
                continue;
            auto bytes = pager_.read(mapPage);
            if (!bytes)
                return bytes.error();
            auto found = firstSetBit(ByteView(**bytes).from(kMapPageHeader), range * perPage,
                                     std::max(from, range * perPage));
            if (!found || *found != 0)
                return found;
        }
        return uint32_t(0);
    }

    // Marks `page` free or used; a page the file has just grown by is used.
    Status set(uint32_t page, bool free)
    {
        if (isInline())
            return setInline(page, free);
        return setByReference(page, free);
    }

private:
    // The first page from `from` on whose bit is set in `bitmap` (whose bit 0
    // stands for page `first`), below the end of the file; 0 for none.
    Result<uint32_t> firstSetBit(ByteView bitmap, uint32_t first, uint32_t from) const
    {
        for (std::size_t byte = (from - first) / 8; byte < bitmap.size(); ++byte) {
            const uint8_t bits = bitmap.u8(byte);
            if (bits == 0)
                continue;
            for (int bit = 0; bit < 8; ++bit) {
                const uint64_t page = uint64_t(first) + byte * 8 + std::size_t(bit);
                if (page >= pager_.pageCount())
                    return uint32_t(0);
                if (page >= from && (bits >> bit & 1))
                    return uint32_t(page);
            }
        }
        return uint32_t(0);
    }

    std::size_t pagesPerMapPage() const { return (pager_.pageSize() - kMapPageHeader) * 8; }

    // The map page of the range that holds `page`, or 0 for none.
    uint32_t referencePage(uint32_t page) const
    {
        const std::size_t at = 1 + page / pagesPerMapPage() * 4;
        if (at + 4 > row_.size())
            return 0;
        const uint32_t pointer = ByteView(row_).u32(at);
        return isMapPagePointer(pointer) ? pointer : 0;
    }

    Status writeRow()
    {
        auto editor = DataPageEditor::edit(pager_, kGlobalMapPage);
        if (!editor)
            return editor.error();
        if (!editor->canReplace(kGlobalMapRow, row_.size()))
            return invalidArgument("the global usage map no longer fits page 1");
        return editor->replace(kGlobalMapRow, row_, editor->flags(kGlobalMapRow));
    }

    Status setInline(uint32_t page, bool free)
    {
        const uint32_t first = ByteView(row_).u32(1);
        if (page < first)
            return free ? corruption("page " + std::to_string(page) + " lies before the global usage map")
                        : Status::success();
        // Pages the map does not reach yet are free, as Access records them.
        std::vector<uint8_t> grown = row_;
        while (std::size_t(page - first) >= (grown.size() - kInlineMapHeader) * 8)
            grown.insert(grown.end(), kGrowthBytes, 0xFF);
        ByteWriter(grown).bit(kInlineMapHeader, page - first, free);
        auto editor = DataPageEditor::edit(pager_, kGlobalMapPage);
        if (!editor)
            return editor.error();
        if (!editor->canReplace(kGlobalMapRow, grown.size())) {
            if (Status promoted = promote(); !promoted)
                return promoted;
            return setByReference(page, free);
        }
        row_ = std::move(grown);
        return writeRow();
    }

    // Turns the inline map into a map by reference holding the same free
    // pages. Its map pages are new pages at the end of the file.
    Status promote()
    {
        std::vector<uint32_t> freePages;
        const uint32_t first = ByteView(row_).u32(1);
        for (std::size_t bit = 0; bit < (row_.size() - kInlineMapHeader) * 8; ++bit) {
            const uint64_t page = uint64_t(first) + bit;
            if (page < pager_.pageCount() && (row_[kInlineMapHeader + bit / 8] >> (bit % 8) & 1))
                freePages.push_back(uint32_t(page));
        }
        row_.assign(kMapRowSize, 0);
        row_[0] = kReferenceMapKind;
        if (Status written = writeRow(); !written)
            return written;
        for (uint32_t page : freePages) {
            if (Status set = setByReference(page, true); !set)
                return set;
        }
        return Status::success();
    }

    Status setByReference(uint32_t page, bool free)
    {
        const std::size_t at = 1 + page / pagesPerMapPage() * 4;
        if (at + 4 > row_.size())
            return unsupported("page " + std::to_string(page) + " lies beyond what the global usage map can describe");
        uint32_t mapPage = referencePage(page);
        if (mapPage == 0) {
            if (!free)
                return Status::success();  // the range has no free page anyway
            mapPage = pager_.append();
            auto bytes = pager_.modify(mapPage);
            if (!bytes)
                return bytes.error();
            ByteWriter header(**bytes);
            header.u8(kPageTypeOffset, kUsageMapPage);
            header.u8(1, 0x01);
            ByteWriter(row_).u32(at, mapPage);
            if (Status written = writeRow(); !written)
                return written;
        }
        auto bytes = pager_.modify(mapPage);
        if (!bytes)
            return bytes.error();
        if ((**bytes)[kPageTypeOffset] != kUsageMapPage)
            return corruption("page " + std::to_string(mapPage) + " should be a page of the global usage map");
        ByteWriter writer(**bytes);
        writer.bit(kMapPageHeader, page % pagesPerMapPage(), free);
        return writer.ok() ? Status::success() : corruption("the global usage map page is too short");
    }

    Pager& pager_;
    std::vector<uint8_t> row_;
};

Result<uint32_t> PageAllocator::allocate()
{
    GlobalMap map(pager_);
    if (Status loaded = map.load(); !loaded)
        return loaded.error();
    auto found = map.firstFree(std::max(kFirstUsablePage, searchFrom_));
    if (!found)
        return found.error();
    uint32_t page = *found;
    if (page != 0) {
        auto bytes = pager_.modify(page);
        if (!bytes)
            return bytes.error();
        std::fill((*bytes)->begin(), (*bytes)->end(), 0);
    } else {
        if (pager_.pageCount() >= kMaxPages)
            return unsupported("the database has reached the largest size of an Access file (2 GB)");
        page = pager_.append();
    }
    if (Status marked = map.set(page, false); !marked)
        return marked.error();
    searchFrom_ = page + 1;
    return page;
}

Result<uint32_t> PageAllocator::allocateDataPage(uint32_t owner)
{
    auto page = allocate();
    if (!page)
        return page.error();
    auto bytes = pager_.modify(*page);
    if (!bytes)
        return bytes.error();
    DataPageEditor::initialise(**bytes, pager_.layout(), owner);
    return page;
}

Status PageAllocator::release(uint32_t page)
{
    if (page < kFirstUsablePage || page >= pager_.pageCount())
        return invalidArgument("page " + std::to_string(page) + " cannot be released");
    GlobalMap map(pager_);
    if (Status loaded = map.load(); !loaded)
        return loaded;
    if (Status marked = map.set(page, true); !marked)
        return marked;
    searchFrom_ = std::min(searchFrom_, page);
    return Status::success();
}

}  // namespace mdb
