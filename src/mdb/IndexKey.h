#pragma once

#include "mdb/GeneralSortOrder.h"
#include "mdb/Result.h"
#include "mdb/TableDefinition.h"
#include "mdb/Value.h"

#include <optional>
#include <vector>

namespace mdb {

// Index keys (FORMAT.md "Index keys"): each column of the key is a flag byte
// (0x7F for a value, 0x00 for null; both inverted for a descending column)
// followed by the value in an order-preserving form, so that keys compare as
// plain byte strings.
//
// Appends the key bytes of one column's value. Fails for a type or a text
// character the encoder does not cover, rather than guess.
Status appendKeyColumn(std::vector<uint8_t>& key, const Column& column, bool ascending, const Value& value,
                       TrailingBlanks blanks = TrailingBlanks::LeftOut);

// The key of the first values.size() columns of `index`, in Access's form.
Result<std::vector<uint8_t>> encodeKey(const TableDefinition& table, const RealIndex& index,
                                       const std::vector<Value>& values,
                                       TrailingBlanks blanks = TrailingBlanks::LeftOut);

// The key earlier versions of this engine wrote for the same values, when
// it differs from Access's (a text ending in blanks); nothing otherwise.
// Readers and the check accept either form; a change removes whichever the
// index holds and writes Access's.
std::optional<std::vector<uint8_t>> earlierFormKey(const TableDefinition& table, const RealIndex& index,
                                                   const std::vector<Value>& values,
                                                   const std::vector<uint8_t>& accessKey);

}  // namespace mdb
