#include "mdb/RowDecoder.h"

#include "mdb/Format.h"

#include "mdb/LongValue.h"
#include "mdb/Text.h"

#include <cmath>
#include <optional>
#include <type_traits>

namespace mdb {

namespace {


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
    if (row.size() < kRowCountSize)
        return corruption("row is " + std::to_string(row.size()) + " bytes, too short for its column count");
    frame.columnCount = row.u16(0);
    const std::size_t maskSize = (std::size_t(frame.columnCount) + 7) / 8;
    if (row.size() < kRowCountSize + maskSize)
        return corruption("row is too short for the null mask of its " + std::to_string(frame.columnCount) + " columns");
    const std::size_t maskStart = row.size() - maskSize;
    frame.nullMask = row.sub(maskStart, maskSize);
    if (table_.variableColumnCount == 0)
        return frame;

    if (maskStart < 2 * kRowCountSize)
        return corruption("row is too short for its variable-value table");
    const uint16_t variableCount = row.u16(maskStart - kRowCountSize);
    const std::size_t tableBytes = (std::size_t(variableCount) + 2) * kRowCountSize;  // entries, end offset, count
    if (tableBytes > maskStart)
        return corruption("row's variable-value table (" + std::to_string(variableCount) + " entries) does not fit the row");
    frame.variableCount = variableCount;
    frame.maskStart = maskStart;
    frame.tableStart = maskStart - tableBytes;
    if (row.u16(frame.tableStart) > frame.tableStart)
        return corruption("row's data end lies past its offset table");
    return frame;
}

Result<Value> RowDecoder::fixedValue(ByteView row, const Column& column) const
{
    const std::size_t size = fixedSize(column);
    const std::size_t at = kRowCountSize + column.fixedOffset;
    if (!row.has(at, size))
        return corruption("column " + column.name + " lies past the end of the row");
    return decodeFixed(column, row.sub(at, size));
}

Result<std::optional<ByteView>> RowDecoder::variableBytes(ByteView row, const Frame& frame, const Column& column) const
{
    if (std::size_t(column.variableIndex) >= frame.variableCount)
        return std::optional<ByteView>();  // the row predates the column
    // Entry k lies 2(k + 2) bytes before the mask; the entry after the
    // last one is the end of the data, at the table's start.
    const std::size_t k = column.variableIndex;
    const uint16_t start = row.u16(frame.maskStart - kRowCountSize * (k + 2));
    const uint16_t end = k + 1 < frame.variableCount ? row.u16(frame.maskStart - kRowCountSize * (k + 3))
                                                     : row.u16(frame.tableStart);
    if (start > end || end > frame.tableStart)
        return corruption("column " + column.name + ": the row's variable-value offsets are out of order or past its data");
    return std::optional<ByteView>(row.sub(start, std::size_t(end - start)));
}

Result<Value> RowDecoder::variableValue(ByteView row, const Frame& frame, const Column& column) const
{
    auto stored = variableBytes(row, frame, column);
    if (!stored)
        return stored.error();
    if (!*stored)
        return Value(Null{});
    const ByteView bytes = **stored;
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
            return corruption("column " + column.name + " holds " + std::to_string(bytes.size()) + " bytes, not " +
                         std::to_string(size));
        return decodeFixed(column, bytes);
    }
    if (column.type == ColumnType::Text)
        return Value(decodeText(bytes));
    return Value(Bytes(bytes.data(), bytes.data() + bytes.size()));
}

Result<Value> RowDecoder::columnValue(ByteView row, const Frame& frame, const Column& column) const
{
    const bool present = isPresent(frame, column);
    if (column.type == ColumnType::Boolean)
        return Value(present);  // a yes/no value is its null-mask bit
    if (!present)
        return Value(Null{});
    return column.isFixed() ? fixedValue(row, column) : variableValue(row, frame, column);
}

Result<std::vector<Value>> RowDecoder::decode(ByteView row, const std::vector<bool>* wanted) const
{
    auto layout = frame(row);
    if (!layout)
        return layout.error();
    std::vector<Value> values(table_.columns.size());
    for (std::size_t i = 0; i < table_.columns.size(); ++i) {
        if (wanted && !(i < wanted->size() && (*wanted)[i]))
            continue;
        auto value = columnValue(row, *layout, table_.columns[i]);
        if (!value)
            return value.error();
        values[i] = std::move(*value);
    }
    return values;
}

bool RowDecoder::decodeNumberInPlace(ByteView row, const Frame& frame, const Column& column, Value& value) const
{
    // Written into the value's slot without a Result and a move of a Value.
    const auto at = fixedDoubleAt(row, frame, column);
    if (!at)
        return false;
    if (column.type == ColumnType::Double)
        value.emplace<double>(row.f64(*at));
    else
        value.emplace<DateTime>(DateTime{row.f64(*at)});
    return true;
}

Status RowDecoder::decodeInto(ByteView row, const std::vector<std::size_t>& positions,
                              std::vector<Value>& values) const
{
    auto rowView = view(row);
    if (!rowView)
        return rowView.error();
    return rowView->decodeInto(positions, values);
}

Result<RowView> RowDecoder::view(ByteView row, RowPointer location) const
{
    auto layout = frame(row);
    if (!layout)
        return layout.error();
    return RowView(*this, row, *layout, location);
}

Result<Value> RowView::value(std::size_t position) const
{
    const Column* wanted = column(position);
    if (!wanted)
        return corruption("column position " + std::to_string(position) + " is outside the row");
    return decoder_.columnValue(row_, frame_, *wanted);
}

Result<double> RowView::otherNumber(std::size_t position) const
{
    const Column* wanted = column(position);
    if (!wanted || !isNumberType(wanted->type))
        return invalidArgument("column position " + std::to_string(position) + " does not hold numbers");
    auto value = decoder_.columnValue(row_, frame_, *wanted);
    if (!value)
        return value.error();
    return std::visit(
        [](const auto& v) -> double {
            using T = std::decay_t<decltype(v)>;
            if constexpr (std::is_arithmetic_v<T>)
                return double(v);
            else if constexpr (std::is_same_v<T, DateTime>)
                return v.days;
            else if constexpr (std::is_same_v<T, Currency>)
                return double(v.tenThousandths) / 10000.0;
            else
                return std::nan("");  // null
        },
        *value);
}

Result<bool> RowView::text(std::size_t position, std::string& into) const
{
    const Column* wanted = column(position);
    if (wanted && wanted->type == ColumnType::Text && !wanted->isFixed()) {
        if (!decoder_.isPresent(frame_, *wanted))
            return false;
        auto stored = decoder_.variableBytes(row_, frame_, *wanted);
        if (!stored)
            return stored.error();
        if (!*stored)
            return false;
        decodeTextInto(**stored, into);
        return true;
    }
    auto value = this->value(position);
    if (!value)
        return value.error();
    if (isNull(*value))
        return false;
    if (const auto* held = std::get_if<std::string>(&*value))
        into = *held;
    else
        into = toText(*value);
    return true;
}

Status RowView::decodeInto(const std::vector<std::size_t>& positions, std::vector<Value>& values) const
{
    for (std::size_t i : positions) {
        const Column* wanted = column(i);
        if (!wanted || i >= values.size())
            return corruption("column position " + std::to_string(i) + " is outside the row");
        if (decoder_.decodeNumberInPlace(row_, frame_, *wanted, values[i]))
            continue;
        auto value = decoder_.columnValue(row_, frame_, *wanted);
        if (!value)
            return value.error();
        values[i] = std::move(*value);
    }
    return Status::success();
}

}  // namespace mdb
