#pragma once

#include "db/mdb/Pager.h"
#include "db/mdb/TableDefinition.h"
#include "db/mdb/Value.h"

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

private:
    // The row's layout: where its variable values and null mask are.
    struct Frame {
        uint16_t columnCount = 0;
        ByteView nullMask;
        std::vector<uint16_t> variableOffsets;  // with the end offset last
    };
    Result<Frame> frame(ByteView row) const;
    bool isPresent(const Frame& frame, const Column& column) const;
    Result<Value> fixedValue(ByteView row, const Column& column) const;
    Result<Value> variableValue(ByteView row, const Frame& frame, const Column& column) const;

    Pager& pager_;
    const TableDefinition& table_;
};

// Decodes the bytes of a fixed-size value of `column`.
Value decodeFixed(const Column& column, ByteView bytes);

}  // namespace mdb
