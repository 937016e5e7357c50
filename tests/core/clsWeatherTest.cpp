#include "readings/clsWeather.h"

#include <gtest/gtest.h>

TEST(clsWeather, StartsEmpty)
{
    const clsWeather w;
    EXPECT_FALSE(w.ReadDate().isValid());
    EXPECT_EQ(w.Stability(), "");
    EXPECT_EQ(w.StabilityData(), 0);
    EXPECT_EQ(w.WindDirection(), "");
    EXPECT_EQ(w.Barometer(), 0.0);
    EXPECT_EQ(w.TemperatureOut(), 0.0);
}

TEST(clsWeather, CodesSetTextAndNumberFromTheTables)
{
    clsWeather w;
    w.setStability("-1");
    EXPECT_EQ(w.Stability(), "---");
    w.setStability("2");
    EXPECT_EQ(w.Stability(), "Stable");
    EXPECT_EQ(w.StabilityData(), 2);

    w.setTrend("2");
    EXPECT_EQ(w.Trend(), "Falling");
    w.setTrend("0");
    EXPECT_EQ(w.Trend(), "Constant");
    EXPECT_EQ(w.TrendData(), 0);

    w.setStormWarning("1");
    EXPECT_EQ(w.StormWarning(), "Storm Warning");
    w.setStormWarning("0");
    EXPECT_EQ(w.StormWarning(), "");
    EXPECT_EQ(w.StormWarningData(), 0);
    w.setStormWarning("1");
    w.setStormWarning("-1");
    EXPECT_EQ(w.StormWarning(), "");  // not "---"
    EXPECT_EQ(w.StormWarningData(), -1);
}

TEST(clsWeather, UnknownCodeTakesTheNumberButKeepsTheOldText)
{
    clsWeather w;
    w.setTrend("1");
    w.setTrend("3");
    EXPECT_EQ(w.Trend(), "Rising");
    EXPECT_EQ(w.TrendData(), 3);

    w.setStability("0");
    w.setStability(" 1");  // a blank makes it another input
    EXPECT_EQ(w.Stability(), "Unstable");
    EXPECT_EQ(w.StabilityData(), 1);

    w.setStormWarning("1");
    w.setStormWarning("x");
    EXPECT_EQ(w.StormWarning(), "Storm Warning");
    EXPECT_EQ(w.StormWarningData(), 0);
}

TEST(clsWeather, WindDirectionLosesDoubleQuotes)
{
    clsWeather w;
    w.setWindDirection("\"NNE\"");
    EXPECT_EQ(w.WindDirection(), "NNE");
    w.setWindDirection("S\"W");
    EXPECT_EQ(w.WindDirection(), "SW");
    w.setWindDirection("O'Neil");
    EXPECT_EQ(w.WindDirection(), "O'Neil");
}
