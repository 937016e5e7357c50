#include "core/readings/StationSimulator.h"

#include "core/readings/Meteorology.h"
#include "core/text/DateText.h"
#include "core/text/NumberText.h"
#include "core/text/Compass.h"

#include <QMutex>
#include <QSaveFile>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <map>

namespace StationSimulator {

namespace {

constexpr double kPi = 3.14159265358979323846;

// Hours since 1 Jan 2000 00:00 UTC: the weather's clock.
double hoursOf(const QDateTime& time)
{
    static const qint64 epoch = QDateTime(QDate(2000, 1, 1), QTime(0, 0), Qt::UTC).toSecsSinceEpoch();
    return double(time.toSecsSinceEpoch() - epoch) / 3600.0;
}

// A fixed pseudo-random number in [-1, 1] for grid point `k` of channel `channel`.
double lattice(int64_t k, uint32_t channel)
{
    uint64_t x = uint64_t(k) * 0x9E3779B97F4A7C15ull ^ (uint64_t(channel) << 32 | channel) * 0xBF58476D1CE4E5B9ull;
    x ^= x >> 31;
    x *= 0x94D049BB133111EBull;
    x ^= x >> 29;
    return double(x >> 11) / double(1ull << 52) - 1.0;
}

// Smooth noise in [-1, 1] that changes over about `period` hours.
double smooth(double hours, double period, uint32_t channel)
{
    const double position = hours / period;
    const double floor = std::floor(position);
    const double fraction = position - floor;
    const double blend = (1 - std::cos(fraction * kPi)) / 2;
    const auto k = int64_t(floor);
    return lattice(k, channel) * (1 - blend) + lattice(k + 1, channel) * blend;
}

double tenths(double value)
{
    return std::round(value * 10) / 10;
}

double pressureAt(double hours)
{
    return tenths(1013 + 12 * smooth(hours, 36, 7) + 3 * smooth(hours, 6, 8));
}

// Rain in the ten-minute slot that starts at `slot` (hours, on a ten-minute mark).
double rainInSlot(double slot)
{
    const double shower = smooth(slot + 1.0 / 12, 2, 9);
    return shower > 0.72 ? std::max(0.1, tenths((shower - 0.72) * 1.5)) : 0.0;
}

// Rain over the `slotCount` ten-minute slots up to and including the one holding `hours`.
double rainOver(double hours, int slotCount)
{
    const double current = std::floor(hours * 6) / 6;
    double total = 0;
    for (int i = 0; i < slotCount; ++i)
        total += rainInSlot(current - i / 6.0);
    return tenths(total);
}

// The rain of a whole day, `day` being the hour at which it starts
// (remembered: a month's total adds up to thirty of them).
double rainOfDay(double day)
{
    static QMutex mutex;
    static std::map<int64_t, double> known;
    QMutexLocker lock(&mutex);
    const auto key = int64_t(std::llround(day * 6));
    if (auto found = known.find(key); found != known.end())
        return found->second;
    double total = 0;
    for (int i = 0; i < 144; ++i)
        total += rainInSlot(day + i / 6.0);
    return known[key] = total;
}

// Rain from `start` (a midnight, in hours) to the slot holding `hours`.
double rainSince(double start, double hours)
{
    double total = 0;
    double day = start;
    for (; day + 24 <= hours; day += 24)
        total += rainOfDay(day);
    const int slotsToday = int(std::floor((hours - day) * 6 + 1e-9)) + 1;
    for (int i = 0; i < slotsToday; ++i)
        total += rainInSlot(day + i / 6.0);
    return tenths(total);
}

// The station's precision: a tenth of a degree, never above the air temperature.
double dewpointOf(double temperature, double humidity)
{
    return std::min(temperature, tenths(Meteorology::dewpoint(temperature, humidity)));
}

double windChillOf(double temperature, double knots)
{
    return std::min(temperature, tenths(Meteorology::windChill(temperature, knots)));
}

QString number(double value)
{
    return NumberText::fixedNumber(value, 1);
}

}  // namespace

WeatherReading weatherAt(const QDateTime& time)
{
    const double hours = hoursOf(time);
    const QTime clock = time.time();
    const double hourOfDay = clock.hour() + clock.minute() / 60.0;
    const int dayOfYear = time.date().dayOfYear();

    WeatherReading w;
    w.setReadDate(QDateTime(time.date(), QTime(clock.hour(), clock.minute(), clock.second())));
    const double outside = tenths(10 - 8 * std::cos(2 * kPi * (dayOfYear - 20) / 365.0) +
                                  5 * std::sin(2 * kPi * (hourOfDay - 9) / 24) + 2 * smooth(hours, 6, 1));
    const double rainLastHour = rainOver(hours, 6);
    const double humidity = std::round(std::clamp(70 - 2.5 * 5 * std::sin(2 * kPi * (hourOfDay - 9) / 24) +
                                                      10 * smooth(hours, 8, 2) + (rainLastHour > 0 ? 15 : 0),
                                                  25.0, 99.0));
    const double wind = tenths(std::max(0.0, 6 + 5 * smooth(hours, 3, 3) + 2 * smooth(hours, 0.5, 4)));
    const double bearing = 225 + 90 * smooth(hours, 12, 5) + 30 * smooth(hours, 1, 6);
    const int point = int(std::lround(bearing / 22.5)) % 16;
    const double pressure = pressureAt(hours);
    const double change = pressure - pressureAt(hours - 3);

    w.setTemperatureOut(outside);
    w.setHumidityOut(humidity);
    w.setDewpoint(dewpointOf(outside, humidity));
    w.setWindSpeed(wind);
    w.setWindChill(windChillOf(outside, wind));
    w.setWindDirection(Compass::text(point + 1));
    w.setBarometer(pressure);
    w.setTemperatureIn(tenths(21.5 + 0.8 * smooth(hours, 5, 10)));
    w.setHumidityIn(std::round(45 + 5 * smooth(hours, 7, 11)));
    w.setRain1h(rainLastHour);
    w.setRain24h(rainOver(hours, 144));
    const QDateTime monthStart(QDate(time.date().year(), time.date().month(), 1), QTime(0, 0));
    w.setRainTotal(rainSince(hoursOf(monthStart), hours));
    w.setTrendFromCode(change > 0.8 ? "1" : change < -0.8 ? "2" : "0");
    w.setStabilityFromCode(rainLastHour > 0 ? "0" : pressure > 1016 ? "2" : "1");
    w.setStormFromCode(change < -3 ? "1" : "0");
    return w;
}

QByteArray currentDataFile(const WeatherReading& w)
{
    const QDateTime time = w.readDate();
    QString text;
    auto line = [&text](const QString& content) { text += content + "\r\n"; };
    auto value = [&line](const char* key, const QString& v) { line(QString("%1 = \"%2\"").arg(key, v)); };

    line("[header]");
    value("programm_name", "Nimbrel station simulator");
    line("");
    line("[time]");
    value("last_actualisation", QString::number(QDateTime(QDate(1900, 1, 1), QTime(0, 0), Qt::UTC).secsTo(time)));
    value("local_date", DateText::format(time, "M/d/yyyy"));
    value("local_time", DateText::format(time, "h:mm:ss AP"));
    line(QString("local_time_string").leftJustified(30, ' ') + " = \"" +
         DateText::format(time, "ddd MMM dd HH:mm:ss yyyy") + "\"");
    line("");
    line("[weather_picture]");
    line("number = 0");
    line(QString("number = %1").arg(w.stabilityCode()));
    line("[weather_tendency]");
    line("number = 0");
    line("number = 0");
    line(QString("number = %1").arg(w.trendCode()));
    line("[storm_alarm]");
    line("number = 0");
    line(QString("number = %1").arg(w.stormCode()));
    line("[indoor_temperature]");
    value("deg_C", number(w.temperatureIn()));
    line("[outdoor_temperature]");
    value("deg_C", number(w.temperatureOut()));
    line("[indoor_humidity]");
    value("percent", QString::number(w.humidityIn()));
    line("[outdoor_humidity]");
    value("percent", QString::number(w.humidityOut()));
    line("[dewpoint]");
    value("deg_C", number(w.dewpoint()));
    line("[windchill]");
    value("deg_C", number(w.windChill()));
    line("[wind_speed]");
    value("mps", number(w.windSpeed() * 0.514444));
    value("kmh", number(w.windSpeed() * 1.852));
    value("mph", number(w.windSpeed() * 1.150779));
    value("knt", number(w.windSpeed()));
    line("[wind_direction]");
    value("deg", number((Compass::code(w.windDirection()) - 1) * 22.5));
    value("name", w.windDirection());
    line("[rain_total]");
    value("mm", number(w.rainTotal()));
    line("[rain_24h]");
    value("mm", number(w.rain24h()));
    line("[rain_1h]");
    value("mm", number(w.rain1h()));
    line("[pressure_relative]");
    value("hpa", number(w.barometer()));
    return text.toLatin1();
}

bool writeCurrentDataFile(const QString& path, const QDateTime& time, QString& error)
{
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly)) {
        error = QString("cannot write %1: %2").arg(path, file.errorString());
        return false;
    }
    file.write(currentDataFile(weatherAt(time)));
    if (!file.commit()) {
        error = QString("cannot write %1: %2").arg(path, file.errorString());
        return false;
    }
    return true;
}

}  // namespace StationSimulator
