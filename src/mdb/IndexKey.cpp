#include "mdb/IndexKey.h"

#include "mdb/GeneralSortOrder.h"
#include "mdb/Text.h"

#include <algorithm>
#include <cstring>

namespace mdb {

namespace {


void appendBigEndian(std::vector<uint8_t>& key, uint64_t bits, int bytes)
{
    for (int i = bytes - 1; i >= 0; --i)
        key.push_back(uint8_t(bits >> (8 * i)));
}

// Integers: big-endian with the sign bit flipped, so negatives sort first.
void appendSigned(std::vector<uint8_t>& key, int64_t value, int bytes)
{
    const uint64_t signBit = uint64_t(1) << (8 * bytes - 1);
    appendBigEndian(key, uint64_t(value) ^ signBit, bytes);
}

// Floating point: big-endian; positives get the sign bit set, negatives are
// inverted whole, so that the bytes sort as the numbers do.
void appendFloating(std::vector<uint8_t>& key, uint64_t bits, int bytes)
{
    const uint64_t signBit = uint64_t(1) << (8 * bytes - 1);
    const uint64_t mask = bytes == 8 ? ~uint64_t(0) : (uint64_t(1) << (8 * bytes)) - 1;
    bits = (bits & signBit) ? (~bits & mask) : (bits | signBit);
    appendBigEndian(key, bits, bytes);
}

template <typename T>
const T* as(const Value& value)
{
    return std::get_if<T>(&value);
}

Status mismatch(const Column& column)
{
    return invalidArgument("a key value for column " + column.name + " does not have the column's type (" +
                 typeName(column.type) + ")");
}

Status appendValueBytes(std::vector<uint8_t>& key, const Column& column, const Value& value, TrailingBlanks blanks)
{
    switch (column.type) {
    case ColumnType::Byte:
        if (auto v = as<uint8_t>(value)) { key.push_back(*v); return Status::success(); }
        break;
    case ColumnType::Integer:
        if (auto v = as<int16_t>(value)) { appendSigned(key, *v, 2); return Status::success(); }
        break;
    case ColumnType::Long:
        if (auto v = as<int32_t>(value)) { appendSigned(key, *v, 4); return Status::success(); }
        break;
    case ColumnType::Currency:
        if (auto v = as<Currency>(value)) { appendSigned(key, v->tenThousandths, 8); return Status::success(); }
        break;
    case ColumnType::Single:
        if (auto v = as<float>(value)) {
            uint32_t bits;
            std::memcpy(&bits, v, sizeof bits);
            appendFloating(key, bits, 4);
            return Status::success();
        }
        break;
    case ColumnType::Double:
    case ColumnType::DateTime: {
        const double* number = column.type == ColumnType::Double ? as<double>(value) : nullptr;
        if (auto date = as<DateTime>(value); date && column.type == ColumnType::DateTime)
            number = &date->days;
        if (number) {
            uint64_t bits;
            std::memcpy(&bits, number, sizeof bits);
            appendFloating(key, bits, 8);
            return Status::success();
        }
        break;
    }
    case ColumnType::Text:
        if (auto v = as<std::string>(value)) {
            if (column.sortOrder != kGeneralSortOrder)
                return unsupported("column " + column.name + " uses sort order " + std::to_string(column.sortOrder) +
                             "; only the General sort order is supported");
            auto text = generalTextKey(utf8ToUtf16(*v), blanks);
            if (!text)
                return within("column " + column.name, text.error());
            key.insert(key.end(), text->begin(), text->end());
            return Status::success();
        }
        break;
    default:
        return unsupported("column " + column.name + ": keys of type " + typeName(column.type) + " are not supported");
    }
    return mismatch(column);
}

}  // namespace

Status appendKeyColumn(std::vector<uint8_t>& key, const Column& column, bool ascending, const Value& value,
                       TrailingBlanks blanks)
{
    const std::size_t start = key.size();
    if (isNull(value)) {
        key.push_back(kKeyNullFlag);
    } else {
        key.push_back(kKeyValueFlag);
        if (Status appended = appendValueBytes(key, column, value, blanks); !appended)
            return appended;
    }
    if (!ascending) {
        for (std::size_t i = start; i < key.size(); ++i)
            key[i] = uint8_t(~key[i]);
    }
    return Status::success();
}

Result<std::vector<uint8_t>> encodeKey(const TableDefinition& table, const RealIndex& index,
                                       const std::vector<Value>& values, TrailingBlanks blanks)
{
    if (values.size() > index.columns.size())
        return invalidArgument("a key of " + std::to_string(values.size()) + " values for an index of " +
                     std::to_string(index.columns.size()) + " columns");
    std::vector<uint8_t> key;
    for (std::size_t i = 0; i < values.size(); ++i) {
        const Column* column = table.columnByNumber(index.columns[i].columnNumber);
        if (!column)
            return corruption("table " + table.name + ": an index names a missing column");
        if (Status appended = appendKeyColumn(key, *column, index.columns[i].ascending, values[i], blanks);
            !appended)
            return appended.error();
    }
    return key;
}

std::optional<std::vector<uint8_t>> earlierFormKey(const TableDefinition& table, const RealIndex& index,
                                                   const std::vector<Value>& values,
                                                   const std::vector<uint8_t>& accessKey)
{
    const bool endsInBlank = std::any_of(values.begin(), values.end(), [](const Value& value) {
        const auto* text = std::get_if<std::string>(&value);
        return text && !text->empty() && text->back() == ' ';
    });
    if (!endsInBlank)
        return std::nullopt;
    auto kept = encodeKey(table, index, values, TrailingBlanks::Kept);
    if (!kept || *kept == accessKey)
        return std::nullopt;
    return std::move(*kept);
}

}  // namespace mdb
