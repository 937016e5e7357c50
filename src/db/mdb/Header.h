#pragma once

#include "db/mdb/Layout.h"
#include "db/mdb/Result.h"

#include <cstdint>
#include <span>
#include <vector>

namespace mdb {

// What the header page (page 0) says about the file (FORMAT.md "Header page").
struct HeaderInfo {
    const Layout* layout = nullptr;
    uint16_t codePage = 0;
    uint32_t sortOrder = 0;
    uint32_t databaseKey = 0;  // non-zero: the file is encrypted
};

// Decodes the first bytes of a file (at least the Jet 3 page size). Refuses
// what is not a Jet database, an Access 2007 or later file, and an encrypted
// database, each with a message saying so.
Result<HeaderInfo> readHeader(std::span<const uint8_t> firstBytes);

// The header page with its masked area un-masked (or masked again: the mask
// is its own inverse).
std::vector<uint8_t> unmaskHeader(std::span<const uint8_t> page, const Layout& layout);

}  // namespace mdb
