#pragma once

#include "mdb/Result.h"
#include "mdb/TableDefinition.h"
#include "mdb/Value.h"

#include <vector>

namespace mdb {

// Index keys (FORMAT.md "Index keys"): each column of the key is a flag byte
// (0x7F for a value, 0x00 for null; both inverted for a descending column)
// followed by the value in an order-preserving form, so that keys compare as
// plain byte strings.
//
// Appends the key bytes of one column's value. Fails for a type or a text
// character the encoder does not cover, rather than guess.
Status appendKeyColumn(std::vector<uint8_t>& key, const Column& column, bool ascending, const Value& value);

// The key of the first values.size() columns of `index`.
Result<std::vector<uint8_t>> encodeKey(const TableDefinition& table, const RealIndex& index,
                                       const std::vector<Value>& values);

}  // namespace mdb
