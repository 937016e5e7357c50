#pragma once

#include <cstddef>
#include <cstdint>

namespace mdb {

// Constants of the file format that the reading and the writing code share
// and that do not differ between versions (those live in Layout). Each
// names the FORMAT.md section that describes it.

// "Pages": the first byte of every page is its type.
enum PageType : uint8_t {
    kHeaderPage = 0x00,
    kDataPage = 0x01,
    kTableDefinitionPage = 0x02,
    kIndexNodePage = 0x03,
    kIndexLeafPage = 0x04,
    kUsageMapPage = 0x05,
};
constexpr std::size_t kPageTypeOffset = 0;
constexpr std::size_t kPageFreeSpaceOffset = 2;  // data and index pages, 2 bytes
constexpr std::size_t kPageOwnerOffset = 4;      // data and index pages: the table's definition page

constexpr uint32_t kGlobalMapPage = 1;  // its row 0 is the global usage map
constexpr uint8_t kGlobalMapRow = 0;
constexpr uint32_t kCatalogPage = 2;    // the definition of MSysObjects

// "Catalog": rows of MSysObjects.
constexpr uint32_t kTablesContainerId = 0x0F000001;  // the ParentId of every table
constexpr uint32_t kSystemObjectFlag = 0x80000000;   // in Flags: a system table

// "Rows": a row's column count, and each offset and length in its variable
// table, take 2 bytes.
constexpr std::size_t kRowCountSize = 2;

// "Data pages": flags in a row offset table entry.
constexpr uint16_t kRowDeletedFlag = 0x8000;
constexpr uint16_t kRowOverflowFlag = 0x4000;
constexpr uint16_t kRowOffsetMask = 0x1FFF;
constexpr int kMaxRowsPerPage = 255;                 // a data pointer's row is one byte
constexpr uint32_t kLongValueOwner = 0x4C41564C;     // "LVAL": the owner of long-value pages
constexpr uint32_t kUsageMapOwner = 0;               // the owner of data pages holding usage maps

// "Usage maps".
constexpr uint8_t kInlineMapKind = 0;
constexpr uint8_t kReferenceMapKind = 1;
constexpr std::size_t kInlineMapHeader = 5;          // kind, first page
constexpr std::size_t kMapRowSize = 69;              // an inline map of 64 bytes, or 17 map pages by reference
constexpr std::size_t kMapPageHeader = 4;            // 05 01 00 00 before a usage map page's bitmap

// "Index pages": an entry ends with its row and, on node pages, its child.
constexpr std::size_t kIndexRowPointerSize = 4;      // 3-byte page, 1-byte row, big-endian
constexpr std::size_t kIndexChildPointerSize = 4;    // big-endian

// "Table definitions": the order byte of an index column.
constexpr uint8_t kAscendingColumnFlag = 0x01;  // clear: descending

// "Index keys".
constexpr uint8_t kKeyValueFlag = 0x7F;
constexpr uint8_t kKeyNullFlag = 0x00;

}  // namespace mdb
