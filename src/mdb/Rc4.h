#pragma once

#include <cstdint>
#include <span>

namespace mdb {

// RC4, the stream cipher the header page uses to mask its fields
// (FORMAT.md "Header page"). Applying it twice gives back the input.
void rc4Apply(std::span<const uint8_t> key, std::span<uint8_t> data);

}  // namespace mdb
