#include "db/mdb/PageAllocator.h"

#include "db/mdb/DataPageEditor.h"

namespace mdb {

namespace {

constexpr uint8_t kGlobalMapRow = 0;
constexpr uint32_t kFirstUsablePage = 3;  // header, global map, catalog definition
constexpr std::size_t kGrowthBytes = 32;  // the map grows 256 pages at a time

}  // namespace

bool PageAllocator::GlobalMap::isFree(uint32_t page) const
{
    if (page < firstPage || page - firstPage >= bits())
        return false;
    const std::size_t bit = page - firstPage;
    return (row[5 + bit / 8] >> (bit % 8)) & 1;
}

void PageAllocator::GlobalMap::set(uint32_t page, bool free)
{
    const std::size_t bit = page - firstPage;
    uint8_t& byte = row[5 + bit / 8];
    byte = free ? uint8_t(byte | (1 << (bit % 8))) : uint8_t(byte & ~(1 << (bit % 8)));
}

Result<PageAllocator::GlobalMap> PageAllocator::readMap()
{
    auto page = pager_.modify(kGlobalMapPage);
    if (!page)
        return page.error();
    DataPageEditor editor(**page, pager_.layout());
    if (editor.rowCount() <= kGlobalMapRow)
        return corruption("page 1 holds no global usage map");
    const ByteView bytes = editor.row(kGlobalMapRow);
    if (bytes.size() < 6 || bytes.u8(0) != 0)
        return corruption("the global usage map on page 1 is not an inline map");
    GlobalMap map;
    map.row.assign(bytes.data(), bytes.data() + bytes.size());
    map.firstPage = bytes.u32(1);
    return map;
}

Status PageAllocator::writeMap(const GlobalMap& map)
{
    auto page = pager_.modify(kGlobalMapPage);
    if (!page)
        return page.error();
    DataPageEditor editor(**page, pager_.layout());
    const uint16_t flags = editor.flags(kGlobalMapRow);
    if (!editor.canReplace(kGlobalMapRow, map.row.size()))
        return unsupported("the database has reached the largest size the global usage map can describe (" +
                     std::to_string(pager_.pageCount()) + " pages)");
    return editor.replace(kGlobalMapRow, map.row, flags);
}

Result<uint32_t> PageAllocator::allocate()
{
    auto map = readMap();
    if (!map)
        return map.error();
    uint32_t page = 0;
    for (uint32_t candidate = std::max(kFirstUsablePage, map->firstPage); candidate < pager_.pageCount(); ++candidate) {
        if (map->isFree(candidate)) {
            page = candidate;
            break;
        }
    }
    if (page != 0) {
        auto bytes = pager_.modify(page);
        if (!bytes)
            return bytes.error();
        std::fill((*bytes)->begin(), (*bytes)->end(), 0);
    } else {
        page = pager_.append();
        if (page < map->firstPage)
            return corruption("the global usage map does not start at page 0");
        // Pages the map does not reach yet are free, as Access records them.
        while (page - map->firstPage >= map->bits())
            map->row.insert(map->row.end(), kGrowthBytes, 0xFF);
    }
    map->set(page, false);
    if (Status written = writeMap(*map); !written)
        return written.error();
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
    auto map = readMap();
    if (!map)
        return map.error();
    if (page < kFirstUsablePage || page < map->firstPage || page - map->firstPage >= map->bits())
        return corruption("page " + std::to_string(page) + " cannot be released");
    map->set(page, true);
    return writeMap(*map);
}

}  // namespace mdb
