#include "core/graphs/DataTypes.h"

namespace DataTypes {

const std::array<DataType, kCount>& all()
{
    static const std::array<DataType, kCount> types = {{
        {"Barometer", "Pressure", "HPa", 0, 1},
        {"Temperature Out", "OutTemperature", "Celcius", 1, 4},
        {"Humidity Out", "OutHumidity", "Percent %", 2, 5},
        {"Temperature In", "InTemperature", "Celcius", 1, 2},
        {"Humidity In", "InHumidity", "Percent %", 2, 3},
        {"Windspeed", "Windspeed", "Knots", 3, 8},
        {"Dewpoint", "Dewpoint", "Celcius", 1, 6},
        {"Windchill", "Windchill", "Celcius", 1, 7},
        {"Rain 1hr", "Rain1hr", "mm", 4, 14},
        {"Rain 24hr", "Rain24hr", "mm", 4, 15},
        {"Rain Total", "RainTotal", "mm", 4, 10},
        {"Wind Direction", "WindDir", "Dir", 3, 9},
    }};
    return types;
}

const DataType& at(int type)
{
    return all()[type >= 0 && type < kCount ? std::size_t(type) : 0];
}

QString name(int type)
{
    return QString::fromLatin1(at(type).name);
}

}  // namespace DataTypes
