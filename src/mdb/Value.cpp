#include "mdb/Value.h"

#include <charconv>
#include <cmath>
#include <cstdio>

namespace mdb {

const char* typeName(ColumnType type)
{
    switch (type) {
    case ColumnType::Boolean: return "Boolean";
    case ColumnType::Byte: return "Byte";
    case ColumnType::Integer: return "Integer";
    case ColumnType::Long: return "Long Integer";
    case ColumnType::Currency: return "Currency";
    case ColumnType::Single: return "Single";
    case ColumnType::Double: return "Double";
    case ColumnType::DateTime: return "Date/Time";
    case ColumnType::Binary: return "Binary";
    case ColumnType::Text: return "Text";
    case ColumnType::Ole: return "OLE Object";
    case ColumnType::Memo: return "Memo";
    case ColumnType::Guid: return "Replication ID";
    case ColumnType::Numeric: return "Decimal";
    case ColumnType::Attachment: return "Long Binary";
    }
    return "Unknown";
}

std::size_t fixedSizeOf(ColumnType type)
{
    switch (type) {
    case ColumnType::Boolean:
    case ColumnType::Byte: return 1;
    case ColumnType::Integer: return 2;
    case ColumnType::Long:
    case ColumnType::Single: return 4;
    case ColumnType::Currency:
    case ColumnType::Double:
    case ColumnType::DateTime: return 8;
    case ColumnType::Guid: return 16;
    case ColumnType::Numeric: return 17;
    default: return 0;
    }
}

bool isNumberType(ColumnType type)
{
    switch (type) {
    case ColumnType::Byte:
    case ColumnType::Integer:
    case ColumnType::Long:
    case ColumnType::Currency:
    case ColumnType::Single:
    case ColumnType::Double:
    case ColumnType::DateTime: return true;
    default: return false;
    }
}

namespace {

// Days from 1 Jan 1970 to a civil date (proleptic Gregorian).
int64_t daysFromCivil(int64_t year, unsigned month, unsigned day)
{
    year -= month <= 2;
    const int64_t era = (year >= 0 ? year : year - 399) / 400;
    const unsigned yoe = unsigned(year - era * 400);
    const unsigned doy = (153 * (month + (month > 2 ? -3 : 9)) + 2) / 5 + day - 1;
    const unsigned doe = yoe * 365 + yoe / 4 - yoe / 100 + doy;
    return era * 146097 + int64_t(doe) - 719468;
}

void civilFromDays(int64_t z, int& year, int& month, int& day)
{
    z += 719468;
    const int64_t era = (z >= 0 ? z : z - 146096) / 146097;
    const unsigned doe = unsigned(z - era * 146097);
    const unsigned yoe = (doe - doe / 1460 + doe / 36524 - doe / 146096) / 365;
    const unsigned doy = doe - (365 * yoe + yoe / 4 - yoe / 100);
    const unsigned mp = (5 * doy + 2) / 153;
    day = int(doy - (153 * mp + 2) / 5 + 1);
    month = int(mp < 10 ? mp + 3 : mp - 9);
    year = int(int64_t(yoe) + era * 400 + (month <= 2));
}

const int64_t kDaysFrom1970To1899 = daysFromCivil(1899, 12, 30);

}  // namespace

LocalDateTime toLocalDateTime(DateTime value)
{
    if (!std::isfinite(value.days) || std::fabs(value.days) > 3e6)
        return {};
    // The integer part counts days; the fraction is always the time of day.
    const double whole = std::trunc(value.days);
    double fraction = std::fabs(value.days - whole);
    int64_t day = int64_t(whole);
    int64_t seconds = std::llround(fraction * 86400.0);
    if (seconds >= 86400) {
        seconds -= 86400;
        day += value.days < 0 ? -1 : 1;
    }
    LocalDateTime result;
    civilFromDays(kDaysFrom1970To1899 + day, result.year, result.month, result.day);
    result.hour = int(seconds / 3600);
    result.minute = int(seconds / 60 % 60);
    result.second = int(seconds % 60);
    return result;
}

DateTime fromLocalDateTime(const LocalDateTime& value)
{
    const int64_t day = daysFromCivil(value.year, unsigned(value.month), unsigned(value.day)) - kDaysFrom1970To1899;
    const double fraction = (value.hour * 3600 + value.minute * 60 + value.second) / 86400.0;
    return DateTime{day >= 0 ? double(day) + fraction : double(day) - fraction};
}

namespace {

std::string shortest(double value)
{
    char buffer[64];
    const auto result = std::to_chars(buffer, buffer + sizeof buffer, value);
    return std::string(buffer, result.ptr);
}

std::string hex(const Bytes& bytes)
{
    static const char digits[] = "0123456789ABCDEF";
    std::string text;
    text.reserve(bytes.size() * 2);
    for (uint8_t byte : bytes) {
        text += digits[byte >> 4];
        text += digits[byte & 15];
    }
    return text;
}

std::string numericText(const Numeric& value)
{
    // Divide the 128-bit magnitude by ten repeatedly to get its digits.
    std::array<uint32_t, 4> words = value.magnitude;
    std::string digits;
    bool zero = false;
    while (!zero) {
        uint64_t remainder = 0;
        zero = true;
        for (uint32_t& word : words) {
            const uint64_t current = remainder << 32 | word;
            word = uint32_t(current / 10);
            remainder = current % 10;
            zero = zero && word == 0;
        }
        digits.insert(digits.begin(), char('0' + remainder));
    }
    if (value.scale > 0) {
        if (digits.size() <= value.scale)
            digits.insert(digits.begin(), value.scale + 1 - digits.size(), '0');
        digits.insert(digits.end() - value.scale, '.');
    }
    const bool isZero = digits.find_first_not_of("0.") == std::string::npos;
    return (value.negative && !isZero ? "-" : "") + digits;
}

std::string guidText(const Guid& guid)
{
    const auto& b = guid.bytes;
    char text[64];
    std::snprintf(text, sizeof text, "{%02X%02X%02X%02X-%02X%02X-%02X%02X-%02X%02X-%02X%02X%02X%02X%02X%02X}",
                  b[3], b[2], b[1], b[0], b[5], b[4], b[7], b[6], b[8], b[9], b[10], b[11], b[12], b[13], b[14], b[15]);
    return text;
}

}  // namespace

std::string toText(const Value& value)
{
    struct Visitor {
        std::string operator()(const Null&) const { return {}; }
        std::string operator()(bool v) const { return v ? "1" : "0"; }
        std::string operator()(uint8_t v) const { return std::to_string(v); }
        std::string operator()(int16_t v) const { return std::to_string(v); }
        std::string operator()(int32_t v) const { return std::to_string(v); }
        std::string operator()(const Currency& v) const
        {
            const uint64_t magnitude = v.tenThousandths < 0 ? uint64_t(0) - uint64_t(v.tenThousandths)
                                                            : uint64_t(v.tenThousandths);
            char text[48];
            std::snprintf(text, sizeof text, "%s%llu.%04llu", v.tenThousandths < 0 ? "-" : "",
                          (unsigned long long)(magnitude / 10000), (unsigned long long)(magnitude % 10000));
            return text;
        }
        std::string operator()(float v) const
        {
            char buffer[64];
            const auto result = std::to_chars(buffer, buffer + sizeof buffer, v);
            return std::string(buffer, result.ptr);
        }
        std::string operator()(double v) const { return shortest(v); }
        std::string operator()(const DateTime& v) const
        {
            const LocalDateTime t = toLocalDateTime(v);
            char text[48];
            std::snprintf(text, sizeof text, "%04d-%02d-%02d %02d:%02d:%02d", t.year, t.month, t.day, t.hour,
                          t.minute, t.second);
            return text;
        }
        std::string operator()(const std::string& v) const { return v; }
        std::string operator()(const Bytes& v) const { return hex(v); }
        std::string operator()(const Guid& v) const { return guidText(v); }
        std::string operator()(const Numeric& v) const { return numericText(v); }
    };
    return std::visit(Visitor{}, value);
}

}  // namespace mdb
