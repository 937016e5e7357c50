#include "db/mdb/RowDecoder.h"

#include "db/mdb/LongValue.h"
#include "db/mdb/Text.h"

namespace mdb {

namespace {

constexpr std::size_t kCountSize = 2;  // Jet 4: column count, offsets and lengths take 2 bytes

std::size_t fixedSize(const Column& column)
{
    if (column.type == ColumnType::Boolean)
        return 0;
    const std::size_t size = fixedSizeOf(column.type);
    return size ? size : column.length;
}

Numeric decodeNumeric(const Column& column, ByteView bytes)
{
    Numeric value;
    value.negative = bytes.u8(0) & 0x80;
    value.precision = column.precision;
    value.scale = column.scale;
    for (std::size_t word = 0; word < 4; ++word)
        value.magnitude[word] = bytes.u32(1 + word * 4);
    return value;
}

}  // namespace

Value decodeFixed(const Column& column, ByteView bytes)
{
    switch (column.type) {
    case ColumnType::Byte: return bytes.u8(0);
    case ColumnType::Integer: return bytes.s16(0);
    case ColumnType::Long: return bytes.s32(0);
    case ColumnType::Currency: return Currency{bytes.s64(0)};
    case ColumnType::Single: return bytes.f32(0);
    case ColumnType::Double: return bytes.f64(0);
    case ColumnType::DateTime: return DateTime{bytes.f64(0)};
    case ColumnType::Guid: {
        Guid guid;
        for (std::size_t i = 0; i < guid.bytes.size(); ++i)
            guid.bytes[i] = bytes.u8(i);
        return guid;
    }
    case ColumnType::Numeric: return decodeNumeric(column, bytes);
    case ColumnType::Text: return decodeText(bytes);
    default: return Bytes(bytes.data(), bytes.data() + bytes.size());
    }
}

Result<RowDecoder::Frame> RowDecoder::frame(ByteView row) const
{
    Frame frame;
    if (row.size() < kCountSize)
        return Error{"row is " + std::to_string(row.size()) + " bytes, too short for its column count"};
    frame.columnCount = row.u16(0);
    const std::size_t maskSize = (std::size_t(frame.columnCount) + 7) / 8;
    if (row.size() < kCountSize + maskSize)
        return Error{"row is too short for the null mask of its " + std::to_string(frame.columnCount) + " columns"};
    const std::size_t maskStart = row.size() - maskSize;
    frame.nullMask = row.sub(maskStart, maskSize);
    if (table_.variableColumnCount == 0)
        return frame;

    if (maskStart < 2 * kCountSize)
        return Error{"row is too short for its variable-value table"};
    const uint16_t variableCount = row.u16(maskStart - kCountSize);
    const std::size_t tableBytes = (std::size_t(variableCount) + 2) * kCountSize;  // entries, end offset, count
    if (tableBytes > maskStart)
        return Error{"row's variable-value table (" + std::to_string(variableCount) + " entries) does not fit the row"};
    const std::size_t tableStart = maskStart - tableBytes;
    for (uint16_t k = 0; k < variableCount; ++k)
        frame.variableOffsets.push_back(row.u16(maskStart - kCountSize * (std::size_t(k) + 2)));
    frame.variableOffsets.push_back(row.u16(tableStart));  // where the last value ends
    for (std::size_t k = 0; k + 1 < frame.variableOffsets.size(); ++k) {
        if (frame.variableOffsets[k] > frame.variableOffsets[k + 1] || frame.variableOffsets.back() > tableStart)
            return Error{"row's variable-value offsets are out of order or past the row's data"};
    }
    if (frame.variableOffsets.size() == 1 && frame.variableOffsets[0] > tableStart)
        return Error{"row's data end lies past its offset table"};
    return frame;
}

bool RowDecoder::isPresent(const Frame& frame, const Column& column) const
{
    if (column.number >= frame.columnCount)
        return false;  // added to the table after the row was written
    return (frame.nullMask.u8(column.number / 8) >> (column.number % 8)) & 1;
}

Result<Value> RowDecoder::fixedValue(ByteView row, const Column& column) const
{
    const std::size_t size = fixedSize(column);
    const std::size_t at = kCountSize + column.fixedOffset;
    if (!row.has(at, size))
        return Error{"column " + column.name + " lies past the end of the row"};
    return decodeFixed(column, row.sub(at, size));
}

Result<Value> RowDecoder::variableValue(ByteView row, const Frame& frame, const Column& column) const
{
    if (std::size_t(column.variableIndex) + 1 >= frame.variableOffsets.size())
        return Value(Null{});  // the row predates the column
    const uint16_t start = frame.variableOffsets[column.variableIndex];
    const uint16_t end = frame.variableOffsets[std::size_t(column.variableIndex) + 1];
    const ByteView bytes = row.sub(start, std::size_t(end - start));
    if (column.isLongValue()) {
        auto value = readLongValue(pager_, bytes);
        if (!value)
            return within("column " + column.name, value.error());
        if (column.type == ColumnType::Memo)
            return Value(decodeText(ByteView(*value)));
        return Value(std::move(*value));
    }
    // A number may be stored in the variable part too; its bytes are the same.
    // (Yes/no values never reach here: they live in the null mask.)
    if (const std::size_t size = fixedSizeOf(column.type)) {
        if (bytes.size() < size)
            return Error{"column " + column.name + " holds " + std::to_string(bytes.size()) + " bytes, not " +
                         std::to_string(size)};
        return decodeFixed(column, bytes);
    }
    if (column.type == ColumnType::Text)
        return Value(decodeText(bytes));
    return Value(Bytes(bytes.data(), bytes.data() + bytes.size()));
}

Result<std::vector<Value>> RowDecoder::decode(ByteView row, const std::vector<bool>* wanted) const
{
    auto layout = frame(row);
    if (!layout)
        return layout.error();
    std::vector<Value> values;
    values.reserve(table_.columns.size());
    for (std::size_t i = 0; i < table_.columns.size(); ++i) {
        const Column& column = table_.columns[i];
        if (wanted && !(i < wanted->size() && (*wanted)[i])) {
            values.emplace_back(Null{});
            continue;
        }
        const bool present = isPresent(*layout, column);
        if (column.type == ColumnType::Boolean) {
            values.emplace_back(present);  // a yes/no value is its null-mask bit
            continue;
        }
        if (!present) {
            values.emplace_back(Null{});
            continue;
        }
        auto value = column.isFixed() ? fixedValue(row, column) : variableValue(row, *layout, column);
        if (!value)
            return value.error();
        values.push_back(std::move(*value));
    }
    return values;
}

}  // namespace mdb
