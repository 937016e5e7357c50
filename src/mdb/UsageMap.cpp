#include "mdb/UsageMap.h"

#include "mdb/DataPage.h"

namespace mdb {

namespace {

constexpr std::size_t kReferenceHeader = 1;  // kind

void collectBits(ByteView bitmap, uint64_t firstPage, uint32_t pageCount, std::vector<uint32_t>& pages)
{
    for (std::size_t byte = 0; byte < bitmap.size(); ++byte) {
        const uint8_t bits = bitmap.u8(byte);
        for (int bit = 0; bits != 0 && bit < 8; ++bit) {
            const uint64_t page = firstPage + byte * 8 + std::size_t(bit);
            if ((bits >> bit) & 1 && page < pageCount)
                pages.push_back(uint32_t(page));
        }
    }
}

}  // namespace

Result<UsageMap> readUsageMap(Pager& pager, uint32_t pointer, const std::string& what)
{
    UsageMap map;
    map.location = RowPointer::unpack(pointer);
    Page holder;
    auto row = readRow(pager, map.location, holder);
    if (!row)
        return within(what, row.error());
    const ByteView bytes = *row;
    if (bytes.empty())
        return corruption(what + ": the map's row is empty");

    const uint8_t kind = bytes.u8(0);
    if (kind == kInlineMapKind) {
        if (!bytes.has(0, kInlineMapHeader))
            return corruption(what + ": the map's row is cut short");
        map.firstPage = bytes.u32(1);
        collectBits(bytes.from(kInlineMapHeader), map.firstPage, pager.pageCount(), map.pages);
        return map;
    }
    if (kind != kReferenceMapKind)
        return corruption(what + ": unknown map kind " + std::to_string(kind));

    map.kind = UsageMap::Kind::Reference;
    const Layout& layout = pager.layout();
    const std::size_t pagesPerMapPage = (layout.pageSize - kMapPageHeader) * 8;
    for (std::size_t at = kReferenceHeader; at + 4 <= bytes.size(); at += 4) {
        uint32_t mapPage = bytes.u32(at);
        if (!isMapPagePointer(mapPage)) {
            map.unusedSlots = map.unusedSlots || mapPage != 0;
            mapPage = 0;
        }
        map.mapPages.push_back(mapPage);
        if (mapPage == 0)
            continue;
        auto page = readPageOfType(pager, mapPage, kUsageMapPage, "usage map");
        if (!page)
            return within(what, page.error());
        const uint64_t first = uint64_t(map.mapPages.size() - 1) * pagesPerMapPage;
        collectBits(page->view().from(kMapPageHeader), first, pager.pageCount(), map.pages);
    }
    return map;
}

}  // namespace mdb
