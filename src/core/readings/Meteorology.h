#pragma once

// Quantities worked out from others, for stations and files that do not
// give them.
namespace Meteorology {

// The dew point (°C) of air at `temperature` (°C) and relative `humidity`
// (%, above 0), by the Magnus formula (a = 17.62, b = 243.12 °C); never
// above the temperature.
double dewpoint(double temperature, double humidity);

// The wind chill (°C) by the North American formula (Environment Canada,
// 2001) for 10 °C and below in a wind above 4.8 km/h; the temperature
// otherwise. Never above the temperature. The wind in knots.
double windChill(double temperature, double knots);

// Knots in one metre per second.
constexpr double kKnotsPerMetrePerSecond = 1.0 / 0.514444;

}  // namespace Meteorology
