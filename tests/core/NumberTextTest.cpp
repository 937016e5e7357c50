#include "core/text/NumberText.h"

#include <QLocale>
#include <gtest/gtest.h>

using NumberText::fixedNumber;
using NumberText::generalNumber;
using NumberText::leadingNumber;

TEST(leadingNumber, TakesSignDigitsAndOnePointThenStops)
{
    EXPECT_DOUBLE_EQ(leadingNumber(u"  -12.5\""), -12.5);
    EXPECT_DOUBLE_EQ(leadingNumber(u"936.0 hPa"), 936.0);
    EXPECT_DOUBLE_EQ(leadingNumber(u"\t+7"), 7.0);
    EXPECT_DOUBLE_EQ(leadingNumber(u".5"), 0.5);
    EXPECT_DOUBLE_EQ(leadingNumber(u"1.2.3"), 1.2);
    EXPECT_DOUBLE_EQ(leadingNumber(u"20 km/h"), 20.0);
    EXPECT_DOUBLE_EQ(leadingNumber(u"1e5"), 1.0);
    EXPECT_DOUBLE_EQ(leadingNumber(u"1 234"), 1.0);
}

TEST(leadingNumber, TextWithoutLeadingNumberIsZero)
{
    EXPECT_EQ(leadingNumber(u""), 0.0);
    EXPECT_EQ(leadingNumber(u"abc"), 0.0);
    EXPECT_EQ(leadingNumber(u"-"), 0.0);
    EXPECT_EQ(leadingNumber(u"."), 0.0);
    EXPECT_EQ(leadingNumber(u"---"), 0.0);
    EXPECT_EQ(leadingNumber(u"\"21.5\""), 0.0);
}

TEST(leadingNumber, PointIsTheSeparatorInEveryLocale)
{
    QLocale::setDefault(QLocale(QLocale::German, QLocale::Germany));
    EXPECT_DOUBLE_EQ(leadingNumber(u"1013,25"), 1013.0);
    EXPECT_DOUBLE_EQ(leadingNumber(u"1013.25"), 1013.25);
    EXPECT_EQ(generalNumber(1013.25), "1013.25");
    EXPECT_EQ(fixedNumber(10.75, 1), "10.8");
    QLocale::setDefault(QLocale::c());
}

TEST(generalNumber, ShortestFormWithFifteenDigits)
{
    EXPECT_EQ(generalNumber(1013.25), "1013.25");
    EXPECT_EQ(generalNumber(451.0), "451");
    EXPECT_EQ(generalNumber(20 * 0.5399568), "10.799136");
    EXPECT_EQ(generalNumber(0.1 + 0.2), "0.3");
    EXPECT_EQ(generalNumber(-12.5), "-12.5");
    EXPECT_EQ(generalNumber(-0.0), "0");
    EXPECT_EQ(generalNumber(1234567.0), "1234567");
}

TEST(fixedNumber, RoundsHalfAwayFromZeroOnTheDecimalValue)
{
    EXPECT_EQ(fixedNumber(10.799136, 1), "10.8");
    EXPECT_EQ(fixedNumber(0.25, 1), "0.3");     // an exact binary half
    EXPECT_EQ(fixedNumber(1.15, 1), "1.2");     // 1.149999... in binary
    EXPECT_EQ(fixedNumber(0.05, 1), "0.1");
    EXPECT_EQ(fixedNumber(0.04, 1), "0.0");
    EXPECT_EQ(fixedNumber(99.96, 1), "100.0");
    EXPECT_EQ(fixedNumber(10 / 0.5399568, 1), "18.5");
    EXPECT_EQ(fixedNumber(-1.25, 1), "-1.3");
}

TEST(fixedNumber, AlwaysHasAnIntegerDigitAndTheDecimals)
{
    EXPECT_EQ(fixedNumber(0, 1), "0.0");
    EXPECT_EQ(fixedNumber(451, 1), "451.0");
    EXPECT_EQ(fixedNumber(0.001, 2), "0.00");
    EXPECT_EQ(fixedNumber(-0.04, 1), "0.0");
    EXPECT_EQ(fixedNumber(7.5, 0), "8");
}
