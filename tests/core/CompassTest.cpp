#include "core/text/Compass.h"

#include <gtest/gtest.h>

using Compass::code;

TEST(Compass, SixteenPointsClockwiseFromNorth)
{
    const char* points[] = {"N", "NNE", "NE", "ENE", "E", "ESE", "SE", "SSE",
                            "S", "SSW", "SW", "WSW", "W", "WNW", "NW", "NNW"};
    for (int i = 0; i < 16; ++i) {
        EXPECT_EQ(code(points[i]), i + 1) << points[i];
        EXPECT_EQ(Compass::text(i + 1), points[i]);
    }
}

TEST(Compass, NoDirectionAndUnknownTextsAreZero)
{
    EXPECT_EQ(code(QString()), 0);
    EXPECT_EQ(code(""), 0);
    EXPECT_EQ(code("-"), 0);
    EXPECT_EQ(code("---"), 0);
    EXPECT_EQ(code("nne"), 0);
    EXPECT_EQ(code(" N"), 0);
    EXPECT_EQ(code("NNNE"), 0);
    EXPECT_EQ(Compass::text(0), "");
    EXPECT_EQ(Compass::text(17), "");
}
