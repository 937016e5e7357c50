#include "shared/NumberText.h"

#include <QLocale>
#include <gtest/gtest.h>

using NumberText::FixedNumber;
using NumberText::GeneralNumber;
using NumberText::LeadingNumber;

TEST(LeadingNumber, TakesSignDigitsAndOnePointThenStops)
{
    EXPECT_DOUBLE_EQ(LeadingNumber(u"  -12.5\""), -12.5);
    EXPECT_DOUBLE_EQ(LeadingNumber(u"936.0 hPa"), 936.0);
    EXPECT_DOUBLE_EQ(LeadingNumber(u"\t+7"), 7.0);
    EXPECT_DOUBLE_EQ(LeadingNumber(u".5"), 0.5);
    EXPECT_DOUBLE_EQ(LeadingNumber(u"1.2.3"), 1.2);
    EXPECT_DOUBLE_EQ(LeadingNumber(u"20 km/h"), 20.0);
    EXPECT_DOUBLE_EQ(LeadingNumber(u"1e5"), 1.0);
    EXPECT_DOUBLE_EQ(LeadingNumber(u"1 234"), 1.0);
}

TEST(LeadingNumber, TextWithoutLeadingNumberIsZero)
{
    EXPECT_EQ(LeadingNumber(u""), 0.0);
    EXPECT_EQ(LeadingNumber(u"abc"), 0.0);
    EXPECT_EQ(LeadingNumber(u"-"), 0.0);
    EXPECT_EQ(LeadingNumber(u"."), 0.0);
    EXPECT_EQ(LeadingNumber(u"---"), 0.0);
    EXPECT_EQ(LeadingNumber(u"\"21.5\""), 0.0);
}

TEST(LeadingNumber, PointIsTheSeparatorInEveryLocale)
{
    QLocale::setDefault(QLocale(QLocale::German, QLocale::Germany));
    EXPECT_DOUBLE_EQ(LeadingNumber(u"1013,25"), 1013.0);
    EXPECT_DOUBLE_EQ(LeadingNumber(u"1013.25"), 1013.25);
    EXPECT_EQ(GeneralNumber(1013.25), "1013.25");
    EXPECT_EQ(FixedNumber(10.75, 1), "10.8");
    QLocale::setDefault(QLocale::c());
}

TEST(GeneralNumber, ShortestFormWithFifteenDigits)
{
    EXPECT_EQ(GeneralNumber(1013.25), "1013.25");
    EXPECT_EQ(GeneralNumber(451.0), "451");
    EXPECT_EQ(GeneralNumber(20 * 0.5399568), "10.799136");
    EXPECT_EQ(GeneralNumber(0.1 + 0.2), "0.3");
    EXPECT_EQ(GeneralNumber(-12.5), "-12.5");
    EXPECT_EQ(GeneralNumber(-0.0), "0");
    EXPECT_EQ(GeneralNumber(1234567.0), "1234567");
}

TEST(FixedNumber, RoundsHalfAwayFromZeroOnTheDecimalValue)
{
    EXPECT_EQ(FixedNumber(10.799136, 1), "10.8");
    EXPECT_EQ(FixedNumber(0.25, 1), "0.3");     // an exact binary half
    EXPECT_EQ(FixedNumber(1.15, 1), "1.2");     // 1.149999... in binary
    EXPECT_EQ(FixedNumber(0.05, 1), "0.1");
    EXPECT_EQ(FixedNumber(0.04, 1), "0.0");
    EXPECT_EQ(FixedNumber(99.96, 1), "100.0");
    EXPECT_EQ(FixedNumber(10 / 0.5399568, 1), "18.5");
    EXPECT_EQ(FixedNumber(-1.25, 1), "-1.3");
}

TEST(FixedNumber, AlwaysHasAnIntegerDigitAndTheDecimals)
{
    EXPECT_EQ(FixedNumber(0, 1), "0.0");
    EXPECT_EQ(FixedNumber(451, 1), "451.0");
    EXPECT_EQ(FixedNumber(0.001, 2), "0.00");
    EXPECT_EQ(FixedNumber(-0.04, 1), "0.0");
    EXPECT_EQ(FixedNumber(7.5, 0), "8");
}
