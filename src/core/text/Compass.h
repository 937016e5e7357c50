#pragma once

#include <QString>
#include <QtGlobal>

// The sixteen points of the compass, as station files and the database
// write wind directions.
namespace Compass {

// The code of a compass text: "N" 1, "NNE" 2, ... "NNW" 16, clockwise from
// north; 0 for no direction (empty or null text, "-", "---") and for any
// other text. The comparison is exact and case-sensitive.
qint16 code(const QString& compassText);

// The compass text of a code 1..16 ("N".."NNW"); empty for any other code.
QString text(int code);

}  // namespace Compass
