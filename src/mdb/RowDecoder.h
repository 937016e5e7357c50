#pragma once

#include "mdb/Format.h"
#include "mdb/Pager.h"
#include "mdb/TableDefinition.h"
#include "mdb/Value.h"

#include <optional>
#include <string>
#include <vector>

namespace mdb {

class RowView;

// Turns the bytes of one stored row into values, one per column of the
// table in column-number order (FORMAT.md "Rows"). Columns added after the
// row was written read as null. Long values are fetched through the pager.
class RowDecoder {
public:
    RowDecoder(Pager& pager, const TableDefinition& table) : pager_(pager), table_(table) {}

    // `wanted`, when given, marks the columns to decode (by position in the
    // table's column list); the others read as null without being touched.
    Result<std::vector<Value>> decode(ByteView row, const std::vector<bool>* wanted = nullptr) const;
    // Decodes only the columns at `positions` into `values` (which must
    // hold a value per column), leaving the other entries as they are: for
    // reading many rows into one vector.
    Status decodeInto(ByteView row, const std::vector<std::size_t>& positions, std::vector<Value>& values) const;
    // The row with its layout checked, its columns decoded one by one as
    // they are asked for. The view borrows `row` and this decoder.
    Result<RowView> view(ByteView row, RowPointer location = {}) const;

private:
    friend class RowView;

    // The row's layout: where its null mask and variable-offset table are.
    // Offsets are read when a value needs them, each checked then.
    struct Frame {
        uint16_t columnCount = 0;
        ByteView nullMask;
        std::size_t variableCount = 0;
        std::size_t maskStart = 0;   // the offset table ends here
        std::size_t tableStart = 0;  // the variable values end here
    };
    Result<Frame> frame(ByteView row) const;
    bool isPresent(const Frame& frame, const Column& column) const
    {
        if (column.number >= frame.columnCount)
            return false;  // added to the table after the row was written
        return (frame.nullMask.u8(column.number / 8) >> (column.number % 8)) & 1;
    }
    Result<Value> fixedValue(ByteView row, const Column& column) const;
    // The stored bytes of a variable-length value; none when the row
    // predates the column.
    Result<std::optional<ByteView>> variableBytes(ByteView row, const Frame& frame, const Column& column) const;
    Result<Value> variableValue(ByteView row, const Frame& frame, const Column& column) const;
    Result<Value> columnValue(ByteView row, const Frame& frame, const Column& column) const;
    // Where the row holds a present Double or DateTime of its fixed part,
    // the common case of a range read; nothing for any other column or case
    // (the general way decodes those, or reports the damage).
    std::optional<std::size_t> fixedDoubleAt(ByteView row, const Frame& frame, const Column& column) const
    {
        if (column.type != ColumnType::Double && column.type != ColumnType::DateTime)
            return std::nullopt;
        const std::size_t at = kRowCountSize + column.fixedOffset;
        if (!column.isFixed() || !isPresent(frame, column) || !row.has(at, 8))
            return std::nullopt;
        return at;
    }
    // Decodes a present Double or DateTime value straight into `value`;
    // false, touching nothing, for any other column or case.
    bool decodeNumberInPlace(ByteView row, const Frame& frame, const Column& column, Value& value) const;

    Pager& pager_;
    const TableDefinition& table_;
};

// One stored row, read column by column where a scan needs a few values of
// many rows: a number comes straight from the row's bytes, without a Value.
// Valid only while the bytes it views are (during the visit of a scan).
// Positions count columns in the table's column list.
class RowView {
public:
    RowPointer location() const { return location_; }
    // The column's value, as RowDecoder::decode gives it.
    Result<Value> value(std::size_t position) const;
    // A number column (Byte, Integer, Long, Currency, Single, Double; a
    // DateTime as its days) as a double, NaN when null. Another type of
    // column is an InvalidArgument error, a value outside the row Corruption.
    Result<double> number(std::size_t position) const
    {
        if (const Column* wanted = column(position)) {
            if (const auto at = decoder_.fixedDoubleAt(row_, frame_, *wanted))
                return row_.f64(*at);  // the usual case, without a Value
        }
        return otherNumber(position);
    }
    // A Text or Memo column's value into `into` (its storage reused), any
    // other value as toText writes it; false, leaving `into` as it was,
    // when null.
    Result<bool> text(std::size_t position, std::string& into) const;
    // Decodes the columns at `positions` into `values`, as
    // RowDecoder::decodeInto does.
    Status decodeInto(const std::vector<std::size_t>& positions, std::vector<Value>& values) const;

private:
    friend class RowDecoder;
    RowView(const RowDecoder& decoder, ByteView row, RowDecoder::Frame frame, RowPointer location)
        : decoder_(decoder), row_(row), frame_(frame), location_(location)
    {
    }
    const Column* column(std::size_t position) const
    {
        const std::vector<Column>& columns = decoder_.table_.columns;
        return position < columns.size() ? &columns[position] : nullptr;
    }
    // Any other number (and null), decoded as a Value first.
    Result<double> otherNumber(std::size_t position) const;

    const RowDecoder& decoder_;
    ByteView row_;
    RowDecoder::Frame frame_;
    RowPointer location_;
};

// Whether values of the type are numbers (RowView::number reads them).
bool isNumberType(ColumnType type);

// Decodes the bytes of a fixed-size value of `column`.
Value decodeFixed(const Column& column, ByteView bytes);

}  // namespace mdb
