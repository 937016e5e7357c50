#include "core/cycle/CurrentConditions.h"

#include "core/text/DateText.h"
#include "core/text/NumberText.h"

namespace {

QString general(double value)
{
    return NumberText::generalNumber(value);
}

QString readTime(const WeatherReading& w)
{
    return DateText::format(w.readDate(), "HH:mm dd-MMM-yyyy");
}

// Pictures by the station's codes (the texts are for people to read).
QString trendPicture(qint16 trendCode)
{
    switch (trendCode) {
    case 1: return "up";      // rising
    case 2: return "down";    // falling
    default: return {};
    }
}

QString weatherPicture(qint16 stabilityCode)
{
    switch (stabilityCode) {
    case 0: return "rain";    // unstable
    case 1: return "cloud";   // fluctuating
    case 2: return "sun";     // stable
    default: return {};
    }
}

constexpr qint16 kStormWarningCode = 1;

}  // namespace

const QStringList& CurrentConditions::panelKeys()
{
    static const QStringList keys = {"barometer", "tempout", "humidout", "tempin", "wind", "rain", "time"};
    return keys;
}

void CurrentConditions::showReading(const WeatherReading& w)
{
    labels_ = {general(w.barometer()),   general(w.temperatureOut()),
               general(w.humidityOut()), general(w.temperatureIn()),
               general(w.humidityIn()),  NumberText::fixedNumber(w.windSpeed(), 1),
               w.windDirection(),        readTime(w),
               general(w.rain1h()),     general(w.rain24h())};

    panelTexts_["barometer"] = "Bar: " + general(w.barometer());
    panelTexts_["tempout"] = "Temp Out: " + general(w.temperatureOut()) + " C";
    panelTexts_["humidout"] = "Humidity Out: " + general(w.humidityOut()) + "%";
    panelTexts_["tempin"] = "Temp In: " + general(w.temperatureIn()) + " C";
    // No blank before "knots", one after, and the speed as read.
    panelTexts_["wind"] = "Wind: " + w.windDirection() + " @ " + general(w.windSpeed()) + "knots ";
    panelTexts_["rain"] = "Rain Last 1hr: " + general(w.rain1h()) + "  24hrs: " + general(w.rain24h()) +
                          "  Total: " + general(w.rainTotal());
    panelTexts_["time"] = "Read @: " + readTime(w);

    trendImage_ = trendPicture(w.trendCode());
    const bool storm = w.stormCode() == kStormWarningCode;
    if (!storm)
        weatherImage_ = weatherPicture(w.stabilityCode());
    panelImages_["rain"] = storm ? "storm" : "";
    panelImages_["barometer"] = trendImage_;
    panelImages_["time"] = weatherImage_;
}
