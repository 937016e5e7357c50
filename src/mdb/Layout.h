#pragma once

#include <cstddef>
#include <cstdint>

namespace mdb {

enum class JetVersion { Jet3, Jet4 };

// Where things are in the pages of one version of the file format. The
// differences between versions are kept here as data, not as branches in the
// decoders. Offsets are in bytes; table-definition offsets count from the
// start of the definition (its first page's header included). See FORMAT.md.
struct Layout {
    JetVersion version;
    const char* name;
    std::size_t pageSize;

    // Header page (FORMAT.md "Header page").
    std::size_t headerMaskOffset;
    std::size_t headerMaskLength;
    std::size_t databaseKeyOffset;
    std::size_t codePageOffset;
    std::size_t sortOrderOffset;
    std::size_t sortOrderSize;

    // Data pages (FORMAT.md "Data pages").
    std::size_t dataRowCountOffset;
    std::size_t dataFirstRowOffset;  // the row offset table follows the count

    // Table definitions (FORMAT.md "Table definitions").
    std::size_t tdefRowCountOffset;
    std::size_t tdefAutonumberOffset;
    std::size_t tdefTableTypeOffset;
    std::size_t tdefMaxColumnsOffset;
    std::size_t tdefVariableColumnsOffset;
    std::size_t tdefColumnCountOffset;
    std::size_t tdefIndexCountOffset;
    std::size_t tdefRealIndexCountOffset;
    std::size_t tdefOwnedPagesOffset;
    std::size_t tdefFreePagesOffset;
    std::size_t tdefRealIndexStart;     // the per-index row counts
    std::size_t realIndexCountEntrySize;
    std::size_t columnEntrySize;
    std::size_t columnNumberOffset;      // within a column entry
    std::size_t columnVariableIndexOffset;
    std::size_t columnPrecisionOffset;
    std::size_t columnScaleOffset;
    std::size_t columnFlagsOffset;
    std::size_t columnCompressedFlagOffset;  // 0: the version has no such flag
    std::size_t columnFixedOffsetOffset;
    std::size_t columnLengthOffset;
    std::size_t nameLengthSize;          // 1 (Jet3) or 2 (Jet4) bytes before each name
    bool unicodeNames;                   // UCS-2 names (Jet4) or code-page names (Jet3)
    std::size_t realIndexEntrySize;
    std::size_t realIndexColumnsOffset;  // within a real index entry
    std::size_t realIndexRootOffset;
    std::size_t realIndexFlagsOffset;
    std::size_t logicalIndexEntrySize;
    std::size_t logicalIndexNumberOffset;
    std::size_t logicalIndexRealNumberOffset;
    std::size_t logicalIndexForeignTypeOffset;
    std::size_t logicalIndexTypeOffset;

    // Rows (FORMAT.md "Rows").
    std::size_t rowCountSize;  // 1 (Jet3) or 2 (Jet4) bytes per count and offset

    // Index pages (FORMAT.md "Index pages").
    std::size_t indexPrevPageOffset;
    std::size_t indexNextPageOffset;
    std::size_t indexTailPageOffset;
    std::size_t indexPrefixLengthOffset;
    std::size_t indexBitmaskOffset;
    std::size_t indexFirstEntryOffset;
};

const Layout& jet3Layout();
const Layout& jet4Layout();

}  // namespace mdb
