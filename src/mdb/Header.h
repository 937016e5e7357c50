#pragma once

#include "mdb/Layout.h"
#include "mdb/Result.h"

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
    // An earlier version of this engine aligned the empty password's mask
    // wrongly; Access would ask such a file for a password. Rewritten by
    // the next change (alignedPasswordMask).
    bool misalignedPasswordMask = false;
};

// Decodes the first bytes of a file (at least the Jet 3 page size). Refuses
// what is not a Jet database, an Access 2007 or later file, an encrypted
// database and a database protected by a password, each with a message
// saying so.
Result<HeaderInfo> readHeader(std::span<const uint8_t> firstBytes);

// The header page with its masked area un-masked (or masked again: the mask
// is its own inverse).
std::vector<uint8_t> unmaskHeader(std::span<const uint8_t> page, const Layout& layout);

// Writes the empty password into an un-masked Jet 4 header page: the
// password's bytes masked with the whole days of the creation date.
void writeEmptyPassword(std::vector<uint8_t>& unmaskedPage);

// The header page (masked, as stored) with an empty password masked as
// Access masks it.
std::vector<uint8_t> alignedPasswordMask(std::span<const uint8_t> page, const Layout& layout);

}  // namespace mdb
