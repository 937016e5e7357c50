#pragma once

#include "mdb/Pager.h"
#include "mdb/TableDefinition.h"
#include "mdb/Value.h"

#include <vector>

namespace mdb {

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

private:
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
    bool isPresent(const Frame& frame, const Column& column) const;
    Result<Value> fixedValue(ByteView row, const Column& column) const;
    Result<Value> variableValue(ByteView row, const Frame& frame, const Column& column) const;
    Result<Value> columnValue(ByteView row, const Frame& frame, const Column& column) const;
    // Decodes a present Double or DateTime value straight into `value`;
    // false, touching nothing, for any other column or case.
    bool decodeNumberInPlace(ByteView row, const Frame& frame, const Column& column, Value& value) const;

    Pager& pager_;
    const TableDefinition& table_;
};

// Decodes the bytes of a fixed-size value of `column`.
Value decodeFixed(const Column& column, ByteView bytes);

}  // namespace mdb
