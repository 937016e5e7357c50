#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <variant>
#include <vector>

namespace mdb {

// Column types of the file format (FORMAT.md "Column types").
enum class ColumnType : uint8_t {
    Boolean = 0x01,
    Byte = 0x02,
    Integer = 0x03,   // 16-bit
    Long = 0x04,      // 32-bit; an autonumber is a Long with the autonumber flag
    Currency = 0x05,  // 64-bit, in ten-thousandths
    Single = 0x06,
    Double = 0x07,
    DateTime = 0x08,  // days since 30 Dec 1899 as a double
    Binary = 0x09,
    Text = 0x0A,
    Ole = 0x0B,       // long binary value
    Memo = 0x0C,      // long text value
    Guid = 0x0F,
    Numeric = 0x10,   // scaled decimal, 17 bytes
    Attachment = 0x11 // long binary value of the program's own objects
};

const char* typeName(ColumnType type);

// The stored size of a value of a fixed-size type (a yes/no value takes a
// bit of the null mask, counted here as 1); 0 for types whose values vary.
std::size_t fixedSizeOf(ColumnType type);

// Whether values of the type are numbers: Byte, Integer, Long, Currency,
// Single, Double and DateTime (a count of days).
bool isNumberType(ColumnType type);

// The absence of a value.
struct Null {
    bool operator==(const Null&) const = default;
};

// A currency amount in ten-thousandths: 3.5 is {35000}.
struct Currency {
    int64_t tenThousandths = 0;
    bool operator==(const Currency&) const = default;
};

// A date and time as the file stores it: days since 30 Dec 1899 00:00, the
// fraction being the time of day. It names a local (wall-clock) time.
struct DateTime {
    double days = 0;
    bool operator==(const DateTime&) const = default;
};

// A date and time on the wall clock, without a time zone.
struct LocalDateTime {
    int year = 1899, month = 12, day = 30, hour = 0, minute = 0, second = 0;
    bool operator==(const LocalDateTime&) const = default;
};

// Conversions between the stored form and the wall clock, to the second.
// Days before 30 Dec 1899 keep a positive time fraction, as the file does:
// -1.25 is 29 Dec 1899 06:00.
LocalDateTime toLocalDateTime(DateTime value);
DateTime fromLocalDateTime(const LocalDateTime& value);

struct Guid {
    std::array<uint8_t, 16> bytes{};
    bool operator==(const Guid&) const = default;
};

// A scaled decimal: (negative ? -1 : 1) * magnitude / 10^scale, the
// magnitude being a 128-bit number held as four 32-bit words, most
// significant first.
struct Numeric {
    bool negative = false;
    uint8_t precision = 0;
    uint8_t scale = 0;
    std::array<uint32_t, 4> magnitude{};
    bool operator==(const Numeric&) const = default;
};

using Bytes = std::vector<uint8_t>;

// One value of one column: text in UTF-8, binary data as bytes.
using Value = std::variant<Null, bool, uint8_t, int16_t, int32_t, Currency, float, double, DateTime,
                           std::string, Bytes, Guid, Numeric>;

inline bool isNull(const Value& value) { return std::holds_alternative<Null>(value); }

// A readable text of a value, for dumps and messages: numbers in their
// shortest form, currency with four decimals, dates "yyyy-mm-dd hh:mm:ss",
// booleans 1/0, binary data in upper-case hex, null as an empty text.
std::string toText(const Value& value);

}  // namespace mdb
