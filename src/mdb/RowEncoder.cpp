#include "mdb/RowEncoder.h"

#include "mdb/Format.h"

#include "mdb/Text.h"

#include <algorithm>
#include <cstring>

namespace mdb {

namespace {


template <typename T>
void appendLittle(std::vector<uint8_t>& out, T value)
{
    uint8_t bytes[sizeof(T)];
    std::memcpy(bytes, &value, sizeof(T));
    for (uint8_t byte : bytes)
        out.push_back(byte);
}

void put16(std::vector<uint8_t>& out, std::size_t at, uint16_t value)
{
    out[at] = uint8_t(value);
    out[at + 1] = uint8_t(value >> 8);
}

bool matchesType(const Column& column, const Value& value)
{
    switch (column.type) {
    case ColumnType::Boolean: return std::holds_alternative<bool>(value);
    case ColumnType::Byte: return std::holds_alternative<uint8_t>(value);
    case ColumnType::Integer: return std::holds_alternative<int16_t>(value);
    case ColumnType::Long: return std::holds_alternative<int32_t>(value);
    case ColumnType::Currency: return std::holds_alternative<Currency>(value);
    case ColumnType::Single: return std::holds_alternative<float>(value);
    case ColumnType::Double: return std::holds_alternative<double>(value);
    case ColumnType::DateTime: return std::holds_alternative<DateTime>(value);
    case ColumnType::Guid: return std::holds_alternative<Guid>(value);
    case ColumnType::Numeric: return std::holds_alternative<Numeric>(value);
    case ColumnType::Text:
    case ColumnType::Memo: return std::holds_alternative<std::string>(value);
    case ColumnType::Binary:
    case ColumnType::Ole:
    case ColumnType::Attachment: return std::holds_alternative<Bytes>(value);
    }
    return false;
}

// UTF-16 units of a UTF-8 text, counted without converting it.
std::size_t utf16Length(const std::string& text)
{
    std::size_t units = 0;
    for (unsigned char c : text) {
        if ((c & 0xC0) != 0x80)
            units += (c >= 0xF0) ? 2 : 1;
    }
    return units;
}

// Writes a value that is not a long value: the values of fixed columns at
// `out`'s position `at` (which must have room for the column), others
// appended to `out`.
void writeValue(std::vector<uint8_t>& out, std::size_t at, const Column& column, const Value& value)
{
    const auto place = [&](const void* bytes, std::size_t size) {
        if (size > 0)
            std::memcpy(out.data() + at, bytes, size);
    };
    const auto append = [&](const std::vector<uint8_t>& bytes) { out.insert(out.end(), bytes.begin(), bytes.end()); };
    switch (column.type) {
    case ColumnType::Byte: out[at] = std::get<uint8_t>(value); break;
    case ColumnType::Integer: place(&std::get<int16_t>(value), 2); break;
    case ColumnType::Long: place(&std::get<int32_t>(value), 4); break;
    case ColumnType::Currency: place(&std::get<Currency>(value).tenThousandths, 8); break;
    case ColumnType::Single: place(&std::get<float>(value), 4); break;
    case ColumnType::Double: place(&std::get<double>(value), 8); break;
    case ColumnType::DateTime: place(&std::get<DateTime>(value).days, 8); break;
    case ColumnType::Guid: place(std::get<Guid>(value).bytes.data(), 16); break;
    case ColumnType::Numeric: {
        const Numeric& numeric = std::get<Numeric>(value);
        out[at] = numeric.negative ? 0x80 : 0x00;
        std::memcpy(out.data() + at + 1, numeric.magnitude.data(), 16);
        break;
    }
    case ColumnType::Text: {
        const std::string& text = std::get<std::string>(value);
        if (column.isFixed())
            place(encodeUcs2(text).data(), std::min<std::size_t>(column.length, utf16Length(text) * 2));
        else
            append(encodeText(text, column.compressedUnicode));
        break;
    }
    case ColumnType::Binary: {
        const Bytes& bytes = std::get<Bytes>(value);
        if (column.isFixed())
            place(bytes.data(), std::min<std::size_t>(column.length, bytes.size()));
        else
            append(bytes);
        break;
    }
    default: break;
    }
}


std::size_t fixedPartSize(const TableDefinition& table)
{
    std::size_t size = 0;
    for (const Column& column : table.columns) {
        if (column.isFixed() && column.type != ColumnType::Boolean)
            size = std::max<std::size_t>(size, std::size_t(column.fixedOffset) + column.length);
    }
    return size;
}

}  // namespace

Value storedForm(const Column& column, const Value& value)
{
    if (!column.isFixed() || isNull(value))
        return value;
    if (const auto* text = std::get_if<std::string>(&value); text && column.type == ColumnType::Text) {
        const std::size_t length = utf16Length(*text);
        return length < column.length / 2u ? Value(*text + std::string(column.length / 2u - length, ' ')) : value;
    }
    if (const auto* bytes = std::get_if<Bytes>(&value); bytes && column.type == ColumnType::Binary) {
        Bytes padded = *bytes;
        padded.resize(std::max<std::size_t>(bytes->size(), column.length), 0);
        return padded;
    }
    return value;
}

Status checkValue(const Column& column, const Value& value)
{
    if (isNull(value))
        return Status::success();
    if (!matchesType(column, value))
        return invalidArgument("column " + column.name + " takes " + typeName(column.type) + " values");
    if (column.type == ColumnType::Text) {
        const std::size_t characters = utf16Length(std::get<std::string>(value));
        if (characters > std::size_t(column.length / 2))
            return invalidArgument("column " + column.name + " holds at most " + std::to_string(column.length / 2) +
                         " characters, not " + std::to_string(characters));
    }
    if (column.type == ColumnType::Binary && std::get<Bytes>(value).size() > column.length)
        return invalidArgument("column " + column.name + " holds at most " + std::to_string(column.length) + " bytes");
    return Status::success();
}

Result<std::vector<uint8_t>> encodeRow(const TableDefinition& table, const std::vector<Value>& values,
                                       const std::map<std::size_t, std::vector<uint8_t>>& longValues,
                                       std::size_t maxRowSize)
{
    if (values.size() != table.columns.size())
        return invalidArgument("table " + table.name + " has " + std::to_string(table.columns.size()) + " columns, not " +
                     std::to_string(values.size()));

    const uint16_t columnCount = table.maxColumns;
    std::vector<uint8_t> row(kRowCountSize + fixedPartSize(table), 0);
    put16(row, 0, columnCount);
    std::vector<uint8_t> nullMask((columnCount + 7) / 8, 0);
    int variableSlots = 0;
    for (const Column& column : table.columns) {
        if (!column.isFixed())
            variableSlots = std::max(variableSlots, column.variableIndex + 1);
    }
    std::vector<std::vector<uint8_t>> variable;
    variable.resize(std::size_t(variableSlots));

    for (std::size_t i = 0; i < table.columns.size(); ++i) {
        const Column& column = table.columns[i];
        const Value& value = values[i];
        if (Status valid = checkValue(column, value); !valid)
            return within("table " + table.name, valid.error());
        bool present = !isNull(value);
        if (column.type == ColumnType::Boolean)
            present = present && std::get<bool>(value);
        if (present)
            nullMask[column.number / 8] = uint8_t(nullMask[column.number / 8] | (1 << (column.number % 8)));
        if (!present || column.type == ColumnType::Boolean)
            continue;
        if (column.isLongValue()) {
            auto prepared = longValues.find(i);
            if (prepared == longValues.end())
                return invalidArgument("table " + table.name + ": column " + column.name + " has no prepared long value");
            variable[column.variableIndex] = prepared->second;
        } else if (column.isFixed()) {
            if (fixedSizeOf(column.type) > column.length)
                return invalidArgument("table " + table.name + ": column " + column.name + " is too short for its type");
            writeValue(row, kRowCountSize + column.fixedOffset, column, storedForm(column, value));
        } else if (const std::size_t size = fixedSizeOf(column.type)) {
            // A fixed-size value kept in the variable part.
            variable[column.variableIndex].resize(size);
            writeValue(variable[column.variableIndex], 0, column, value);
        } else {
            writeValue(variable[column.variableIndex], 0, column, value);
        }
    }

    std::vector<uint16_t> offsets;
    for (const auto& bytes : variable) {
        offsets.push_back(uint16_t(row.size()));
        row.insert(row.end(), bytes.begin(), bytes.end());
    }
    if (table.variableColumnCount > 0) {
        const uint16_t end = uint16_t(row.size());
        row.resize(row.size() + 2);
        put16(row, row.size() - 2, end);
        for (auto it = offsets.rbegin(); it != offsets.rend(); ++it) {
            row.resize(row.size() + 2);
            put16(row, row.size() - 2, *it);
        }
        row.resize(row.size() + 2);
        put16(row, row.size() - 2, uint16_t(variableSlots));
    }
    row.insert(row.end(), nullMask.begin(), nullMask.end());
    if (row.size() > maxRowSize)
        return invalidArgument("table " + table.name + ": a row of " + std::to_string(row.size()) +
                     " bytes is larger than a page can hold (" + std::to_string(maxRowSize) + ")");
    return row;
}

}  // namespace mdb
