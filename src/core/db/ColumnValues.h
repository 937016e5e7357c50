#pragma once

#include "mdb/TableDefinition.h"
#include "mdb/Value.h"

#include <QDateTime>
#include <QVariant>
#include <optional>

// Conversions between the program's values (QVariant) and the values a
// column stores, with the conversions a database statement makes: a number
// goes into any numeric column (rounded to a whole number, half to even, for
// whole-number columns), a number into a text column as its general text.
// A null QVariant stores as null.
namespace ColumnValues {

// The value to store in `column`. Fails, naming the column, when the value
// does not fit the column's type or range ("type mismatch", "overflow").
mdb::Result<mdb::Value> toStored(const mdb::Column& column, const QVariant& value);

// A stored value as the program uses it: whole numbers as int, other numbers
// as double, text as QString, dates as local QDateTime, yes/no as bool,
// binary data as QByteArray, null as a null QVariant.
QVariant fromStored(const mdb::Value& value);

// A stored number, yes/no or date as a number; nothing for null and for
// other values.
std::optional<double> asNumber(const mdb::Value& value);

// A local wall-clock date-time in the stored form and back, to the second.
mdb::DateTime toDateTime(const QDateTime& local);
QDateTime fromDateTime(mdb::DateTime stored);

// Whether two stored values are equal as a statement's "=" compares them:
// null equals nothing, numbers compare by value whatever their type, texts
// ignore letter case and blanks at their end (as a text index does).
bool equal(const mdb::Value& a, const mdb::Value& b);

// Orders two stored values as a statement's ORDER BY does: null first,
// numbers and dates by value, texts ignoring letter case and trailing
// blanks. Negative, zero or
// positive as a is before, level with or after b.
int compare(const mdb::Value& a, const mdb::Value& b);

}  // namespace ColumnValues
