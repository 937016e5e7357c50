#pragma once

#include <QString>

#include <array>

// One quantity a graph can show: a column of History with its unit and the
// preferences' axis range (scale group) it is drawn against.
struct DataType {
    const char* name;    // "Temperature Out"
    const char* column;  // "OutTemperature"
    const char* unit;    // "Celcius" (spelled so, as users know it)
    int scaleGroup;      // 0 pressure, 1 temperatures, 2 humidities, 3 wind, 4 rain
    int ordinal;         // 1-based position of the column in a History row
};

// The twelve quantities, in the order of their number (a trace's DataType).
namespace DataTypes {

constexpr int kCount = 12;
constexpr int kWindDirection = 11;  // stored as compass text, drawn as its code 0..16

const std::array<DataType, kCount>& all();
// The quantity numbered `type`; the first one for a number out of range.
const DataType& at(int type);
QString name(int type);

}  // namespace DataTypes
