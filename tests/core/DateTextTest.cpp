#include "core/text/DateText.h"

#include <gtest/gtest.h>

using DateText::parseDateTime;
using DateText::parseTime;

namespace {

QDateTime at(int y, int mo, int d, int h = 0, int mi = 0, int s = 0)
{
    return QDateTime(QDate(y, mo, d), QTime(h, mi, s));
}

}  // namespace

TEST(DateText, FormatsWithEnglishNamesWhateverTheLocale)
{
    QLocale::setDefault(QLocale(QLocale::French, QLocale::France));
    EXPECT_EQ(DateText::format(at(2007, 3, 5, 14, 7, 9), "dd-MMM-yyyy HH:mm:ss"), "05-Mar-2007 14:07:09");
    EXPECT_EQ(DateText::format(at(2026, 11, 15, 15, 4, 55), "ddd, dd MMM yyyy HH:mm:ss"), "Sun, 15 Nov 2026 15:04:55");
    QLocale::setDefault(QLocale::c());
}

TEST(DateText, ReadsDatesInTheFormsStationsWrite)
{
    const QLocale english(QLocale::English, QLocale::UnitedKingdom);
    EXPECT_EQ(parseDateTime("15 Nov 2026", english), at(2026, 11, 15));
    EXPECT_EQ(parseDateTime("15-Nov-2026", english), at(2026, 11, 15));
    EXPECT_EQ(parseDateTime("Sun, 15 Nov 2026", english), at(2026, 11, 15));
    EXPECT_EQ(parseDateTime("November 15, 2026", english), at(2026, 11, 15));
    EXPECT_EQ(parseDateTime("2026-11-15", english), at(2026, 11, 15));
    EXPECT_EQ(parseDateTime("15.11.2026", english), at(2026, 11, 15));
    EXPECT_EQ(parseDateTime("16:00:24 03 Jul 2006", english), at(2006, 7, 3, 16, 0, 24));
    EXPECT_EQ(parseDateTime("03 Jul 2006 4:00 pm", english), at(2006, 7, 3, 16, 0));
}

TEST(DateText, NumericDayAndMonthFollowTheLocaleOrder)
{
    const QLocale british(QLocale::English, QLocale::UnitedKingdom);
    const QLocale american(QLocale::English, QLocale::UnitedStates);
    EXPECT_EQ(parseDateTime("03/07/2006", british), at(2006, 7, 3));
    EXPECT_EQ(parseDateTime("03/07/2006", american), at(2006, 3, 7));
    EXPECT_EQ(parseDateTime("03.07.2006", american), at(2006, 7, 3));  // dots are day first
    EXPECT_FALSE(parseDateTime("13/25/2006", american));
}

TEST(DateText, RefusesWhatIsNotARealDateOrTime)
{
    EXPECT_FALSE(parseDateTime(""));
    EXPECT_FALSE(parseDateTime("31 Feb 2026"));
    EXPECT_FALSE(parseDateTime("15 Nox 2026"));
    EXPECT_FALSE(parseDateTime("25:00 15 Nov 2026"));
    EXPECT_FALSE(parseDateTime("15 Nov 2026 garbage"));
    EXPECT_FALSE(parseDateTime("n 03 Ju1 16:00:24 2"));
}

TEST(DateText, ReadsTimesWithAndWithoutMeridiem)
{
    EXPECT_EQ(parseTime("3:00 pm"), QTime(15, 0));
    EXPECT_EQ(parseTime("11:30 am"), QTime(11, 30));
    EXPECT_EQ(parseTime("12:05 am"), QTime(0, 5));
    EXPECT_EQ(parseTime("12:30 PM"), QTime(12, 30));
    EXPECT_EQ(parseTime("15:07"), QTime(15, 7));
    EXPECT_EQ(parseTime("16:00:24"), QTime(16, 0, 24));
    EXPECT_FALSE(parseTime("13:00 pm"));
    EXPECT_FALSE(parseTime("1:30 a"));
    EXPECT_FALSE(parseTime(":30 am"));
    EXPECT_FALSE(parseTime("15 Nov 2026"));
    EXPECT_EQ(parseDateTime("3:00 pm"), QDateTime(DateText::zeroDate(), QTime(15, 0)));
}
