#pragma once

#include <QString>
#include <QStringView>

// Number <-> text conversions with fixed rules, the same in every locale.
// The decimal separator is always ".".
namespace NumberText {

// The lenient leading-number rule used for every number read from a station
// file or a settings value: leading blanks and tabs are skipped, then an
// optional sign, digits and at most one decimal point are taken; conversion
// stops at the first other character. Text without a leading number gives 0.
// "  -12.5\"" gives -12.5, "936.0 hPa" gives 936, "abc" gives 0.
double leadingNumber(QStringView text);

// The general text form of a number: the shortest decimal form with up to 15
// significant digits, no thousands separators, no trailing zeros.
// 1013.25 gives "1013.25", 451.0 gives "451", 10.799136000000001 gives "10.799136".
QString generalNumber(double value);

// The number rounded to `decimals` places, at least one integer digit, as in
// the pattern "#0.0" for decimals = 1. Halves round away from zero on the
// decimal value (15 significant digits), so 0.25 gives "0.3" and 10.799136 "10.8".
QString fixedNumber(double value, int decimals);

}  // namespace NumberText
