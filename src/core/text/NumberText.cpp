#include "core/text/NumberText.h"

#include <charconv>
#include <cmath>
#include <string>

namespace NumberText {

double leadingNumber(QStringView text)
{
    qsizetype i = 0;
    while (i < text.size() && (text[i] == u' ' || text[i] == u'\t'))
        ++i;

    std::string number;
    if (i < text.size() && (text[i] == u'-' || text[i] == u'+')) {
        if (text[i] == u'-')
            number += '-';
        ++i;
    }
    bool seenPoint = false;
    bool seenDigit = false;
    for (; i < text.size(); ++i) {
        const QChar c = text[i];
        if (c >= u'0' && c <= u'9') {
            number += char(c.unicode());
            seenDigit = true;
        } else if (c == u'.' && !seenPoint) {
            number += '.';
            seenPoint = true;
        } else {
            break;
        }
    }
    if (!seenDigit)
        return 0.0;

    double value = 0.0;
    const char* first = number.data();
    if (*first == '-')
        ++first;
    std::from_chars(first, number.data() + number.size(), value);
    return number.front() == '-' ? -value : value;
}

QString generalNumber(double value)
{
    if (value == 0.0)
        return QStringLiteral("0");  // also for -0.0
    return QString::number(value, 'g', 15);
}

namespace {

// Adds one unit in the last place of a string of decimal digits.
void incrementDigits(std::string& digits)
{
    for (auto it = digits.rbegin(); it != digits.rend(); ++it) {
        if (*it != '9') {
            ++*it;
            return;
        }
        *it = '0';
    }
    digits.insert(digits.begin(), '1');
}

}  // namespace

QString fixedNumber(double value, int decimals)
{
    if (!std::isfinite(value) || std::fabs(value) >= 1e15)
        return QString::number(value, 'f', decimals);

    // 15 significant digits: d.dddddddddddddde±XX
    const QByteArray scientific = QByteArray::number(std::fabs(value), 'e', 14);
    const qsizetype ePos = scientific.indexOf('e');
    std::string digits;
    for (qsizetype i = 0; i < ePos; ++i) {
        if (scientific[i] != '.')
            digits += scientific[i];
    }
    const int exponent = scientific.mid(ePos + 1).toInt();

    // Keep the digits down to the last wanted decimal place, then round on the next one.
    const int kept = exponent + 1 + decimals;
    std::string units;  // the result as a count of 10^-decimals
    if (kept < 0) {
        units = "0";
    } else if (kept >= int(digits.size())) {
        units = digits + std::string(kept - digits.size(), '0');
    } else {
        units = kept == 0 ? std::string("0") : digits.substr(0, kept);
        if (digits[kept] >= '5')
            incrementDigits(units);
    }

    if (int(units.size()) <= decimals)
        units.insert(units.begin(), decimals + 1 - units.size(), '0');
    std::string text = units;
    if (decimals > 0)
        text.insert(text.size() - decimals, 1, '.');

    const bool isZero = units.find_first_not_of('0') == std::string::npos;
    if (value < 0 && !isZero)
        text.insert(text.begin(), '-');
    return QString::fromStdString(text);
}

}  // namespace NumberText
