#pragma once

#include <QString>
#include <QtGlobal>

// Helpers shared by every part of the program.
namespace modNimbrel {

// The wind-direction code of a compass text: "N" 1, "NNE" 2, ... "NNW" 16,
// clockwise from north; 0 for no direction (empty or null text, "-", "---")
// and for any other text. The comparison is exact and case-sensitive.
qint16 CompassCode(const QString& compassText);

// The compass text of a code 1..16 ("N".."NNW"); empty for any other code.
QString CompassText(int code);

// The text with every single quote doubled: O'Neil gives O''Neil.
QString SqlQuote(const QString& value);

// "NULL" for an empty text, otherwise the text between single quotes. The
// text is not quoted again: callers pass SqlQuote's result.
QString SqlText(const QString& value);

}  // namespace modNimbrel
