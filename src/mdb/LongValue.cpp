#include "mdb/LongValue.h"

#include "mdb/DataPage.h"
#include "mdb/TableDefinition.h"

#include <set>

namespace mdb {

namespace {

// No value can span more pages than the file has; this also stops loops.
Result<std::vector<uint8_t>> readChain(Pager& pager, RowPointer next, uint32_t length)
{
    std::vector<uint8_t> value;
    std::set<uint32_t> visited;
    while (value.size() < length) {
        if (next.page == 0)
            return corruption("long value ends after " + std::to_string(value.size()) + " of " + std::to_string(length) + " bytes");
        if (!visited.insert(next.pack()).second)
            return corruption("long value pages loop at page " + std::to_string(next.page));
        Page holder;
        auto row = readRow(pager, next, holder);
        if (!row)
            return within("long value", row.error());
        if (row->size() < 4)
            return corruption("long value piece on page " + std::to_string(next.page) + " is cut short");
        const ByteView piece = row->from(4);
        const std::size_t wanted = std::min<std::size_t>(piece.size(), length - value.size());
        value.insert(value.end(), piece.data(), piece.data() + wanted);
        next = RowPointer::unpack(row->u32(0));
    }
    return value;
}

}  // namespace

Result<std::vector<uint8_t>> readLongValue(Pager& pager, ByteView reference)
{
    if (reference.size() < LongValueReference::kSize)
        return corruption("long value reference is " + std::to_string(reference.size()) + " bytes, shorter than 12");
    const uint32_t header = reference.u32(0);
    const uint32_t length = header & LongValueReference::kLengthMask;
    const RowPointer where = RowPointer::unpack(reference.u32(4));

    if (header & LongValueReference::kInlineFlag) {
        const ByteView inlineBytes = reference.from(LongValueReference::kSize);
        if (inlineBytes.size() < length)
            return corruption("inline long value holds " + std::to_string(inlineBytes.size()) + " of " +
                         std::to_string(length) + " bytes");
        return std::vector<uint8_t>(inlineBytes.data(), inlineBytes.data() + length);
    }
    if (length == 0)
        return std::vector<uint8_t>{};
    if (length > uint64_t(pager.pageCount()) * pager.pageSize())
        return corruption("long value length " + std::to_string(length) + " exceeds the file");

    if (header & LongValueReference::kSinglePageFlag) {
        Page holder;
        auto row = readRow(pager, where, holder);
        if (!row)
            return within("long value", row.error());
        if (row->size() < length)
            return corruption("long value on page " + std::to_string(where.page) + " holds " +
                         std::to_string(row->size()) + " of " + std::to_string(length) + " bytes");
        return std::vector<uint8_t>(row->data(), row->data() + length);
    }
    return readChain(pager, where, length);
}

}  // namespace mdb
