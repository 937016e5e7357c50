#pragma once

#include "mdb/Pager.h"
#include "mdb/TableDefinition.h"

#include <vector>

namespace mdb {

// A set of pages recorded as a bitmap (FORMAT.md "Usage maps"): the pages a
// table owns, the pages with free space, or (the global map) the free pages
// of the whole file.
struct UsageMap {
    enum class Kind : uint8_t { Inline = 0, Reference = 1 };

    Kind kind = Kind::Inline;
    RowPointer location;                 // the row that holds the map
    uint32_t firstPage = 0;              // inline: the page of bit 0
    std::vector<uint32_t> mapPages;      // reference: the bitmap pages, 0 where none
    std::vector<uint32_t> pages;         // the pages whose bit is set, ascending
    bool unusedSlots = false;            // reference: slots holding Access's "unused" value
};

// Whether a slot of a map by reference names a map page. 0 means none, and
// Access leaves values with the top bit set (0xFFFFFF80) in slots it does
// not use.
inline bool isMapPagePointer(uint32_t slot)
{
    return slot != 0 && (slot & 0x80000000u) == 0;
}

// Reads the map kept in the row at `pointer`. Set bits for pages beyond the
// end of the file are ignored. `what` names the map in messages.
Result<UsageMap> readUsageMap(Pager& pager, uint32_t pointer, const std::string& what);

}  // namespace mdb
