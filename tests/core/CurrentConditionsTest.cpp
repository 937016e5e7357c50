#include "core/cycle/CurrentConditions.h"

#include <gtest/gtest.h>

namespace {

WeatherReading reading()
{
    WeatherReading w;
    w.setReadDate(QDateTime(QDate(2026, 3, 5), QTime(14, 7, 9)));
    w.setBarometer(1013.25);
    w.setTemperatureOut(-2.5);
    w.setHumidityOut(84);
    w.setTemperatureIn(21);
    w.setHumidityIn(45);
    w.setWindSpeed(10.799136);
    w.setWindDirection("NNE");
    w.setRain1h(0.3);
    w.setRain24h(2.4);
    w.setRainTotal(451.3);
    return w;
}

TEST(CurrentConditions, LabelsAndPanelTexts)
{
    CurrentConditions shown;
    shown.showReading(reading());
    const QStringList labels = {"1013.25", "-2.5", "84", "21", "45", "10.8", "NNE", "14:07 05-Mar-2026", "0.3", "2.4"};
    for (int i = 0; i < CurrentConditions::kLabels; ++i)
        EXPECT_EQ(shown.label(i), labels[i]) << "lblCur(" << i << ")";
    EXPECT_EQ(shown.panelText("barometer"), "Bar: 1013.25");
    EXPECT_EQ(shown.panelText("tempout"), "Temp Out: -2.5 C");
    EXPECT_EQ(shown.panelText("humidout"), "Humidity Out: 84%");
    EXPECT_EQ(shown.panelText("tempin"), "Temp In: 21 C");
    EXPECT_EQ(shown.panelText("wind"), "Wind: NNE @ 10.799136knots ") << "the speed as read, no blank before knots";
    EXPECT_EQ(shown.panelText("rain"), "Rain Last 1hr: 0.3  24hrs: 2.4  Total: 451.3");
    EXPECT_EQ(shown.panelText("time"), "Read @: 14:07 05-Mar-2026");
}

TEST(CurrentConditions, PicturesFollowTrendStabilityAndStorm)
{
    CurrentConditions shown;
    WeatherReading w = reading();
    w.setTrendFromCode("-1");
    w.setStabilityFromCode("-1");
    shown.showReading(w);
    EXPECT_EQ(shown.trendImage(), "") << "\"---\" shows no picture";
    EXPECT_EQ(shown.weatherImage(), "");

    const std::pair<const char*, const char*> trends[] = {{"1", "up"}, {"2", "down"}, {"0", ""}};
    for (const auto& [code, picture] : trends) {
        w.setTrendFromCode(code);
        shown.showReading(w);
        EXPECT_EQ(shown.trendImage(), picture) << code;
        EXPECT_EQ(shown.panelImage("barometer"), picture) << code;
    }
    const std::pair<const char*, const char*> weathers[] = {{"0", "rain"}, {"1", "cloud"}, {"2", "sun"}};
    for (const auto& [code, picture] : weathers) {
        w.setStabilityFromCode(code);
        shown.showReading(w);
        EXPECT_EQ(shown.weatherImage(), picture) << code;
        EXPECT_EQ(shown.panelImage("time"), picture) << code;
        EXPECT_EQ(shown.panelImage("rain"), "");
    }

    // A storm warning keeps the weather picture and shows the storm in the rain panel.
    w.setStormFromCode("1");
    w.setStabilityFromCode("0");
    shown.showReading(w);
    EXPECT_EQ(shown.weatherImage(), "sun");
    EXPECT_EQ(shown.panelImage("rain"), "storm");
    w.setStormFromCode("0");
    shown.showReading(w);
    EXPECT_EQ(shown.weatherImage(), "rain");
    EXPECT_EQ(shown.panelImage("rain"), "") << "the storm picture goes with the warning";
}

}  // namespace
