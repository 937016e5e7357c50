#pragma once

#include "mdb/Pager.h"

namespace mdb {

// The 12-byte reference a row holds for a memo or OLE value (FORMAT.md
// "Long values"): the value's length and flags, and where it is stored when
// it is not inline.
struct LongValueReference {
    static constexpr std::size_t kSize = 12;
    static constexpr uint32_t kInlineFlag = 0x80000000;
    static constexpr uint32_t kSinglePageFlag = 0x40000000;
    static constexpr uint32_t kLengthMask = 0x3FFFFFFF;
};

// Reads a memo or OLE value from the reference in a row's variable part.
// Fails when the reference is cut short, points to a missing row, or the
// stored pieces do not add up to the recorded length.
Result<std::vector<uint8_t>> readLongValue(Pager& pager, ByteView reference);

}  // namespace mdb
