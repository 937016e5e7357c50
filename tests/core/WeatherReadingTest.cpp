#include "core/readings/WeatherReading.h"

#include <gtest/gtest.h>

TEST(WeatherReading, StartsEmpty)
{
    const WeatherReading w;
    EXPECT_FALSE(w.readDate().isValid());
    EXPECT_EQ(w.stabilityText(), "");
    EXPECT_EQ(w.stabilityCode(), 0);
    EXPECT_EQ(w.windDirection(), "");
    EXPECT_EQ(w.barometer(), 0.0);
    EXPECT_EQ(w.temperatureOut(), 0.0);
}

TEST(WeatherReading, CodesSetTextAndNumberFromTheTables)
{
    WeatherReading w;
    w.setStabilityFromCode("-1");
    EXPECT_EQ(w.stabilityText(), "---");
    w.setStabilityFromCode("2");
    EXPECT_EQ(w.stabilityText(), "Stable");
    EXPECT_EQ(w.stabilityCode(), 2);

    w.setTrendFromCode("2");
    EXPECT_EQ(w.trendText(), "Falling");
    w.setTrendFromCode("0");
    EXPECT_EQ(w.trendText(), "Constant");
    EXPECT_EQ(w.trendCode(), 0);

    w.setStormFromCode("1");
    EXPECT_EQ(w.stormText(), "Storm Warning");
    w.setStormFromCode("0");
    EXPECT_EQ(w.stormText(), "");
    EXPECT_EQ(w.stormCode(), 0);
    w.setStormFromCode("1");
    w.setStormFromCode("-1");
    EXPECT_EQ(w.stormText(), "");  // not "---"
    EXPECT_EQ(w.stormCode(), -1);
}

TEST(WeatherReading, UnknownCodeTakesTheNumberButKeepsTheOldText)
{
    WeatherReading w;
    w.setTrendFromCode("1");
    w.setTrendFromCode("3");
    EXPECT_EQ(w.trendText(), "Rising");
    EXPECT_EQ(w.trendCode(), 3);

    w.setStabilityFromCode("0");
    w.setStabilityFromCode(" 1");  // a blank makes it another input
    EXPECT_EQ(w.stabilityText(), "Unstable");
    EXPECT_EQ(w.stabilityCode(), 1);

    w.setStormFromCode("1");
    w.setStormFromCode("x");
    EXPECT_EQ(w.stormText(), "Storm Warning");
    EXPECT_EQ(w.stormCode(), 0);
}

TEST(WeatherReading, WindDirectionLosesDoubleQuotes)
{
    WeatherReading w;
    w.setWindDirection("\"NNE\"");
    EXPECT_EQ(w.windDirection(), "NNE");
    w.setWindDirection("S\"W");
    EXPECT_EQ(w.windDirection(), "SW");
    w.setWindDirection("O'Neil");
    EXPECT_EQ(w.windDirection(), "O'Neil");
}
