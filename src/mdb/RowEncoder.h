#pragma once

#include "mdb/TableDefinition.h"
#include "mdb/Value.h"

#include <map>
#include <vector>

namespace mdb {

// Builds the stored bytes of a row from values in column order (FORMAT.md
// "Rows"), the inverse of RowDecoder. Long-value columns take the prepared
// reference bytes given in `longValues` (by column position). Fails, naming
// the column, for a value of the wrong type, a text longer than its column,
// or a row too large for a page.
Result<std::vector<uint8_t>> encodeRow(const TableDefinition& table, const std::vector<Value>& values,
                                       const std::map<std::size_t, std::vector<uint8_t>>& longValues,
                                       std::size_t maxRowSize);

// The value as it reads back once stored: a text in a fixed-length text
// column is filled up with blanks to the column's length, bytes in a
// fixed-length binary column with zeros. Other values are unchanged.
Value storedForm(const Column& column, const Value& value);

// Checks that a value may be stored in a column: the right type, a text
// within the column's length. Null is accepted everywhere.
Status checkValue(const Column& column, const Value& value);

}  // namespace mdb
