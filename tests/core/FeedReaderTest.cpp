#include "core/readings/WeatherReading.h"
#include "support/TestSupport.h"

#include <gtest/gtest.h>

namespace {

QByteArray feed(const QByteArray& time = "11:30 am", const QByteArray& wind = "NNE at 20 km/h")
{
    return "<rss version=\"2.0\"><channel>\n"
           "<pubDate>Sat, 21 Nov 2026 03:30:00 GMT</pubDate>\n"
           "<item><title>Current weather for Perth at " + time + " WST</title>\n"
           "<description>\n"
           "<b>Temperature:</b> 23.4&deg;C<br />\n"
           "<b>Dew point:</b> 12.1&deg;C<br />\n"
           "<b>Pressure:</b> 1013.25 hPa<br />\n"
           "<b>Rain:</b> 0.2 mm<br />\n"
           "<b>Wind:</b> " + wind + "<br />\n"
           "<b>Relative humidity:</b> 63%<br />\n"
           "</description></item></channel></rss>\n";
}

QDateTime on21Nov(int hour, int minute)
{
    return QDateTime(QDate(2026, 11, 21), QTime(hour, minute));
}

class FeedReader : public ::testing::Test {
protected:
    bool read(const QByteArray& content, const QDateTime& now = on21Nov(12, 0))
    {
        return reading.readSourceFile(folder.write("feed.xml", content), SourceKind::Feed, errors, now);
    }

    TempFolder folder;
    RecordingErrors errors;
    WeatherReading reading;
};

}  // namespace

TEST_F(FeedReader, ReadsTheLabelledValues)
{
    ASSERT_TRUE(read(feed()));
    EXPECT_TRUE(errors.empty());
    EXPECT_EQ(reading.temperatureOut(), 23.4);
    EXPECT_EQ(reading.dewpoint(), 12.1);
    EXPECT_EQ(reading.barometer(), 1013.25);
    EXPECT_EQ(reading.rain24h(), 0.2);
    EXPECT_EQ(reading.humidityOut(), 63);
    EXPECT_EQ(reading.windDirection(), "NNE");
    EXPECT_DOUBLE_EQ(reading.windSpeed(), 20 * 0.5399568);
    EXPECT_EQ(reading.readDate(), on21Nov(11, 30));
}

TEST_F(FeedReader, WindInKnotsIsNotConvertedAndWindWithoutSpeedKeepsTheOldSpeed)
{
    ASSERT_TRUE(read(feed("11:30 am", "SW at 12 knots")));
    EXPECT_EQ(reading.windSpeed(), 12);
    EXPECT_EQ(reading.windDirection(), "SW");

    ASSERT_TRUE(read(feed("11:30 am", "Calm")));
    EXPECT_EQ(reading.windSpeed(), 12);
    EXPECT_EQ(reading.windDirection(), "Calm<br />");
}

TEST_F(FeedReader, TitleTimesWithOneAndTwoDigitHours)
{
    ASSERT_TRUE(read(feed("9:05 am")));
    EXPECT_EQ(reading.readDate(), on21Nov(9, 5));
    ASSERT_TRUE(read(feed("11:30 am")));
    EXPECT_EQ(reading.readDate(), on21Nov(11, 30));  // not 1:30
    ASSERT_TRUE(read(feed("12:05 am")));
    EXPECT_EQ(reading.readDate(), on21Nov(0, 5));
}

TEST_F(FeedReader, TimeAheadOfTheClockIsCorrected)
{
    // Behind the clock or level with it: as read.
    ASSERT_TRUE(read(feed("11:30 am"), on21Nov(11, 30)));
    EXPECT_EQ(reading.readDate(), on21Nov(11, 30));
    // 30 minutes ahead: the feed's clock is an hour ahead.
    ASSERT_TRUE(read(feed("11:30 am"), on21Nov(11, 0)));
    EXPECT_EQ(reading.readDate(), on21Nov(10, 30));
    // 59 minutes ahead, counted in whole minutes.
    ASSERT_TRUE(read(feed("11:30 am"), QDateTime(QDate(2026, 11, 21), QTime(10, 31, 59))));
    EXPECT_EQ(reading.readDate(), on21Nov(10, 30));
    // An hour or more ahead: the time belongs to the day before.
    ASSERT_TRUE(read(feed("11:30 am"), on21Nov(10, 30)));
    EXPECT_EQ(reading.readDate(), QDateTime(QDate(2026, 11, 20), QTime(11, 30)));
    ASSERT_TRUE(read(feed("11:30 am"), on21Nov(10, 0)));
    EXPECT_EQ(reading.readDate(), QDateTime(QDate(2026, 11, 20), QTime(11, 30)));
}

TEST_F(FeedReader, WithoutATitleTimeTheResultIsFalseButValuesAreSet)
{
    EXPECT_FALSE(read("<b>Temperature:</b> 23.4&deg;C<br />\n"));
    EXPECT_EQ(reading.temperatureOut(), 23.4);
    EXPECT_TRUE(errors.empty());

    EXPECT_FALSE(read("<title>Current weather for Perth at noon WST</title>\n"));
    EXPECT_FALSE(read("<title>Current weather for Perth at 11:30 am</title>\n"));
}

TEST_F(FeedReader, UnreadablePubDateMeansToday)
{
    ASSERT_TRUE(read("<pubDate>Sat, 99 Xyz 2026</pubDate>\n"
                     "<title>Current weather for Perth at 3:00 pm WST</title>\n",
                     QDateTime(QDate(2026, 11, 25), QTime(18, 0))));
    EXPECT_EQ(reading.readDate(), QDateTime(QDate(2026, 11, 25), QTime(15, 0)));
}

TEST_F(FeedReader, OneLineMayHoldEveryLabel)
{
    QByteArray oneLine = feed();
    oneLine.replace('\n', ' ');
    ASSERT_TRUE(read(oneLine));
    EXPECT_EQ(reading.temperatureOut(), 23.4);
    EXPECT_EQ(reading.humidityOut(), 63);
    EXPECT_EQ(reading.readDate(), on21Nov(11, 30));
}
