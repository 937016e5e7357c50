#include "core/readings/WeatherReading.h"
#include "support/TestSupport.h"

#include <gtest/gtest.h>

namespace {

const QDateTime kNow(QDate(2026, 11, 21), QTime(12, 0));

// The time line of the blank-separated layout: the date as "Mon Jul 03
// 16:00:24 2006" with the month at column 39.
QByteArray timeLine(const char* ctime)
{
    return QByteArray("local_time_string").leftJustified(30, ' ') + " = \"" + ctime + "\"\r\n";
}

// A complete blank-separated current-data file. Every line after a header
// holds a different value, so that reading the wrong line shows.
QByteArray blankSeparatedFile()
{
    return "[header]\r\n"
           "programm_name = \"Heavy Weather\"\r\n"
           "\r\n"
           "[time]\r\n"
           "last_actualisation = \"1151942424\"\r\n"
           "local_date = \"7/3/2006\"\r\n"
           "local_time = \"4:00:24 PM\"\r\n"
           + timeLine("Mon Jul 03 16:00:24 2006") +
           "\r\n"
           "[weather_picture]\r\n"
           "number = 0\r\n"
           "number = 2\r\n"
           "number = 1\r\n"
           "[weather_tendency]\r\n"
           "number = 0\r\n"
           "number = 1\r\n"
           "number = 2\r\n"
           "number = 0\r\n"
           "[storm_alarm]\r\n"
           "number = 0\r\n"
           "number = 1\r\n"
           "[indoor_temperature]\r\n"
           "deg_C = \"22.5\"\r\n"
           "deg_F = \"72.5\"\r\n"
           "[outdoor_temperature]\r\n"
           "deg_C = \"-12.5\"\r\n"
           "[indoor_humidity]\r\n"
           "percent = \"45\"\r\n"
           "[outdoor_humidity]\r\n"
           "percent = \"93\"\r\n"
           "[dewpoint]\r\n"
           "deg_C = \"-13.9\"\r\n"
           "[windchill]\r\n"
           "deg_C = \"-18.2\"\r\n"
           "[wind_speed]\r\n"
           "mps = \"5.1\"\r\n"
           "kmh = \"18.4\"\r\n"
           "mph = \"11.4\"\r\n"
           "knt = \"9.9\"\r\n"
           "bft = \"3\"\r\n"
           "[wind_direction]\r\n"
           "deg = \"22.5\"\r\n"
           "name = \"NNE\"\r\n"
           "[rain_total]\r\n"
           "mm = \"451.3\"\r\n"
           "[rain_24h]\r\n"
           "mm = \"0.6\"\r\n"
           "[rain_1h]\r\n"
           "mm = \"0.3\"\r\n"
           "[pressure_relative]\r\n"
           "hpa = \"1013.25\"\r\n";
}

class CurrentDataReader : public ::testing::Test {
protected:
    bool read(const QByteArray& content)
    {
        return reading.readSourceFile(folder.write("currdat.lst", content), SourceKind::StationFile, errors, kNow);
    }

    TempFolder folder;
    RecordingErrors errors;
    WeatherReading reading;
};

}  // namespace

TEST_F(CurrentDataReader, ReadsTheBlankSeparatedLayoutFromItsFixedLinesAndColumns)
{
    ASSERT_TRUE(read(blankSeparatedFile()));
    EXPECT_TRUE(errors.empty());
    EXPECT_EQ(reading.readDate(), QDateTime(QDate(2006, 7, 3), QTime(16, 0, 24)));
    EXPECT_EQ(reading.stabilityText(), "Stable");          // second line after the header
    EXPECT_EQ(reading.trendText(), "Falling");             // third
    EXPECT_EQ(reading.stormText(), "Storm Warning");  // second
    EXPECT_EQ(reading.temperatureIn(), 22.5);
    EXPECT_EQ(reading.humidityIn(), 45);
    EXPECT_EQ(reading.humidityOut(), 93);
    EXPECT_EQ(reading.dewpoint(), -13.9);
    EXPECT_EQ(reading.windChill(), -18.2);
    EXPECT_EQ(reading.windSpeed(), 9.9);               // fourth: knots, not km/h
    EXPECT_EQ(reading.windDirection(), "NNE");
    EXPECT_EQ(reading.rain24h(), 0.6);
    EXPECT_EQ(reading.rain1h(), 0.3);
}

TEST_F(CurrentDataReader, NumbersLongerThanTheirColumnsAreReadWhole)
{
    ASSERT_TRUE(read(blankSeparatedFile()));
    EXPECT_EQ(reading.temperatureOut(), -12.5);
    EXPECT_EQ(reading.rainTotal(), 451.3);
    EXPECT_EQ(reading.barometer(), 1013.25);
}

using CurrentDataReaderFromFixtures = CurrentDataReader;

TEST_F(CurrentDataReaderFromFixtures, ReadsTheCompactLayoutOfTheProfessionalEdition)
{
    SKIP_WITHOUT_FIXTURES();
    ASSERT_TRUE(reading.readSourceFile(fixturePath("currdat-hwpro-ws2800.lst"), SourceKind::StationFile, errors, kNow));
    EXPECT_TRUE(errors.empty());
    EXPECT_EQ(reading.temperatureIn(), 28.5);
    EXPECT_EQ(reading.temperatureOut(), 21.5);
    EXPECT_EQ(reading.humidityIn(), 54);
    EXPECT_EQ(reading.humidityOut(), 84);
    EXPECT_EQ(reading.dewpoint(), 18.7);
    EXPECT_EQ(reading.windChill(), 21.5);
    EXPECT_EQ(reading.windSpeed(), 0);
    EXPECT_EQ(reading.windDirection(), "SW");
    EXPECT_EQ(reading.rainTotal(), 451);
    EXPECT_EQ(reading.rain24h(), 22.2);
    EXPECT_EQ(reading.rain1h(), 0);
    EXPECT_EQ(reading.barometer(), 936);
    EXPECT_EQ(reading.stabilityText(), "Fluctuating");
    EXPECT_EQ(reading.stabilityCode(), 1);
    EXPECT_EQ(reading.trendText(), "Rising");
    EXPECT_EQ(reading.trendCode(), 1);
    EXPECT_EQ(reading.stormText(), "");
    EXPECT_EQ(reading.stormCode(), -1);
    EXPECT_EQ(reading.readDate(), QDateTime(QDate(2013, 2, 27), QTime(8, 12, 37), Qt::UTC));
    EXPECT_EQ(reading.readDate().timeSpec(), Qt::LocalTime);
}

TEST_F(CurrentDataReader, CompactMissingValueKeepsThePreviousOne)
{
    reading.setRain1h(1.5);
    reading.setBarometer(1000);
    ASSERT_TRUE(read("[rain_1h]\nmm=\"---\"\ninch=\"---\"\n\n[pressure_relative]\nhpa=\"1002.5\"\n"));
    EXPECT_EQ(reading.rain1h(), 1.5);
    EXPECT_EQ(reading.barometer(), 1002.5);
}

TEST_F(CurrentDataReader, FieldsAreOnlySetNeverCleared)
{
    reading.setBarometer(999);
    reading.setWindDirection("W");
    ASSERT_TRUE(read("[outdoor_temperature]\r\ndeg_C = \"3.5\"\r\n"));
    EXPECT_EQ(reading.temperatureOut(), 3.5);
    EXPECT_EQ(reading.barometer(), 999);
    EXPECT_EQ(reading.windDirection(), "W");
}

TEST_F(CurrentDataReader, UnrelatedLinesGiveTrueAndChangeNothing)
{
    ASSERT_TRUE(read("hello\r\n[unknown]\r\nvalue = \"5\"\r\n [outdoor_temperature]\r\n"));
    EXPECT_EQ(reading, WeatherReading());
    EXPECT_TRUE(errors.empty());
}

TEST_F(CurrentDataReader, EmptyFileGivesFalseWithoutAnError)
{
    EXPECT_FALSE(read(""));
    EXPECT_TRUE(errors.empty());
}

TEST_F(CurrentDataReader, LinesAfterAHeaderAreNotHeadersThemselves)
{
    // The wind-speed header swallows the next four lines, the header among them.
    ASSERT_TRUE(read("[wind_speed]\nmps = \"1\"\n[outdoor_temperature]\ndeg_C = \"7\"\nknt = \"4.5\"\n"));
    EXPECT_EQ(reading.windSpeed(), 4.5);
    EXPECT_EQ(reading.temperatureOut(), 0);
}

TEST_F(CurrentDataReader, FileCutOffInsideAHeadersLinesFailsButKeepsWhatWasRead)
{
    EXPECT_FALSE(read("[outdoor_temperature]\r\ndeg_C = \"3.5\"\r\n[wind_speed]\r\nmps = \"1\"\r\n"));
    EXPECT_EQ(reading.temperatureOut(), 3.5);
    ASSERT_EQ(errors.messages().size(), 1);
    EXPECT_TRUE(errors.messages().first().startsWith("\r\nCurrent Data Read Error: "));
    EXPECT_TRUE(errors.messages().first().contains("[wind_speed]"));
}

TEST_F(CurrentDataReader, HeaderAtTheVeryEndFails)
{
    EXPECT_FALSE(read("[pressure_relative]\r\n"));
    EXPECT_EQ(errors.messages().size(), 1);
}

TEST_F(CurrentDataReader, CompactValueCutOffFails)
{
    EXPECT_FALSE(read("[outdoor_temperature]\ndeg_C=\"21"));
    EXPECT_EQ(reading.temperatureOut(), 0);
    ASSERT_EQ(errors.messages().size(), 1);
    EXPECT_TRUE(errors.messages().first().contains("not closed"));
}

TEST_F(CurrentDataReader, AmpersandsBecomeBlanksBeforeAnyTest)
{
    ASSERT_TRUE(read("[outdoor_temperature]\ndeg_C = \"21&5\"\n"));
    EXPECT_EQ(reading.temperatureOut(), 21);
}

TEST_F(CurrentDataReader, InvalidTimeKeepsTheOldReadDate)
{
    const QDateTime before(QDate(2020, 1, 1), QTime(10, 0));
    reading.setReadDate(before);
    ASSERT_TRUE(read("[time]\na\nb\nc\n" + timeLine("Mon Jul 33 16:00:24 2006")));
    EXPECT_EQ(reading.readDate(), before);
}

TEST_F(CurrentDataReader, AnyLineEndIsAccepted)
{
    ASSERT_TRUE(read("[outdoor_temperature]\rdeg_C = \"4\"\r[dewpoint]\ndeg_C = \"1\""));
    EXPECT_EQ(reading.temperatureOut(), 4);
    EXPECT_EQ(reading.dewpoint(), 1);
}
