#include "shared/modNimbrel.h"

#include <gtest/gtest.h>

using modNimbrel::CompassCode;

TEST(CompassCode, SixteenPointsClockwiseFromNorth)
{
    const char* points[] = {"N", "NNE", "NE", "ENE", "E", "ESE", "SE", "SSE",
                            "S", "SSW", "SW", "WSW", "W", "WNW", "NW", "NNW"};
    for (int i = 0; i < 16; ++i) {
        EXPECT_EQ(CompassCode(points[i]), i + 1) << points[i];
        EXPECT_EQ(modNimbrel::CompassText(i + 1), points[i]);
    }
}

TEST(CompassCode, NoDirectionAndUnknownTextsAreZero)
{
    EXPECT_EQ(CompassCode(QString()), 0);
    EXPECT_EQ(CompassCode(""), 0);
    EXPECT_EQ(CompassCode("-"), 0);
    EXPECT_EQ(CompassCode("---"), 0);
    EXPECT_EQ(CompassCode("nne"), 0);
    EXPECT_EQ(CompassCode(" N"), 0);
    EXPECT_EQ(CompassCode("NNNE"), 0);
    EXPECT_EQ(modNimbrel::CompassText(0), "");
    EXPECT_EQ(modNimbrel::CompassText(17), "");
}

TEST(SqlHelpers, QuoteDoublesSingleQuotesAndTextGivesNullForEmpty)
{
    EXPECT_EQ(modNimbrel::SqlQuote("O'Neil"), "O''Neil");
    EXPECT_EQ(modNimbrel::SqlQuote("''"), "''''");
    EXPECT_EQ(modNimbrel::SqlQuote(""), "");
    EXPECT_EQ(modNimbrel::SqlText(""), "NULL");
    EXPECT_EQ(modNimbrel::SqlText("Home"), "'Home'");
}
