#include "core/readings/Meteorology.h"

#include <algorithm>
#include <cmath>

namespace Meteorology {

double dewpoint(double temperature, double humidity)
{
    const double a = 17.62, b = 243.12;
    const double gamma = std::log(humidity / 100) + a * temperature / (b + temperature);
    return std::min(temperature, b * gamma / (a - gamma));
}

double windChill(double temperature, double knots)
{
    const double kmh = knots / 0.5399568;
    if (temperature > 10 || kmh <= 4.8)
        return temperature;
    const double power = std::pow(kmh, 0.16);
    return std::min(temperature, 13.12 + 0.6215 * temperature - 11.37 * power + 0.3965 * temperature * power);
}

}  // namespace Meteorology
