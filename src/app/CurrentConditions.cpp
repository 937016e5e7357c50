#include "app/CurrentConditions.h"

#include "shared/DateText.h"
#include "shared/NumberText.h"

namespace {

QString general(double value)
{
    return NumberText::GeneralNumber(value);
}

QString readTime(const clsWeather& w)
{
    return DateText::format(w.ReadDate(), "HH:mm dd-MMM-yyyy");
}

QString trendPicture(const QString& trend)
{
    if (trend == u"Rising")
        return "up";
    if (trend == u"Falling")
        return "down";
    return {};
}

QString weatherPicture(const QString& stability)
{
    if (stability == u"Unstable")
        return "rain";
    if (stability == u"Fluctuating")
        return "cloud";
    if (stability == u"Stable")
        return "sun";
    return {};
}

}  // namespace

const QStringList& CurrentConditions::panelKeys()
{
    static const QStringList keys = {"barometer", "tempout", "humidout", "tempin", "wind", "rain", "time"};
    return keys;
}

void CurrentConditions::ShowReading(const clsWeather& w)
{
    labels_ = {general(w.Barometer()),   general(w.TemperatureOut()),
               general(w.HumidityOut()), general(w.TemperatureIn()),
               general(w.HumidityIn()),  NumberText::FixedNumber(w.WindSpeed(), 1),
               w.WindDirection(),        readTime(w),
               general(w.Rain1hr()),     general(w.Rain24hr())};

    panelTexts_["barometer"] = "Bar: " + general(w.Barometer());
    panelTexts_["tempout"] = "Temp Out: " + general(w.TemperatureOut()) + " C";
    panelTexts_["humidout"] = "Humidity Out: " + general(w.HumidityOut()) + "%";
    panelTexts_["tempin"] = "Temp In: " + general(w.TemperatureIn()) + " C";
    // No blank before "knots", one after, and the speed as read.
    panelTexts_["wind"] = "Wind: " + w.WindDirection() + " @ " + general(w.WindSpeed()) + "knots ";
    panelTexts_["rain"] = "Rain Last 1hr: " + general(w.Rain1hr()) + "  24hrs: " + general(w.Rain24hr()) +
                          "  Total: " + general(w.RainTotal());
    panelTexts_["time"] = "Read @: " + readTime(w);

    trendImage_ = trendPicture(w.Trend());
    const bool storm = w.StormWarning() == u"Storm Warning";
    if (!storm)
        weatherImage_ = weatherPicture(w.Stability());
    panelImages_["rain"] = storm ? "storm" : "";
    panelImages_["barometer"] = trendImage_;
    panelImages_["time"] = weatherImage_;
}
