#include "core/readings/StationSimulator.h"
#include "support/TestSupport.h"

#include <gtest/gtest.h>

namespace {

// What the simulator writes, the station reader reads back exactly.
TEST(StationSimulator, ItsFileReadsBackAsItsWeather)
{
    TempFolder folder;
    RecordingErrors errors;
    for (const QDateTime& time : {QDateTime(QDate(2026, 1, 15), QTime(6, 0)),
                                  QDateTime(QDate(2026, 7, 3), QTime(15, 47, 12)),
                                  QDateTime(QDate(2026, 10, 31), QTime(23, 59, 59))}) {
        QString error;
        const QString path = folder.file("currdat.lst");
        ASSERT_TRUE(StationSimulator::writeCurrentDataFile(path, time, error)) << error.toStdString();
        WeatherReading read;
        ASSERT_TRUE(read.readSourceFile(path, SourceKind::StationFile, errors, time));
        EXPECT_EQ(read, StationSimulator::weatherAt(time)) << time.toString().toStdString();
        EXPECT_EQ(read.readDate(), time);
    }
    EXPECT_TRUE(errors.empty());
}

// A year of readings, every ten minutes, stays within what a real station
// shows (the dew point and the wind chill never above the temperature), and
// the same moment always gives the same weather.
TEST(StationSimulator, AYearOfPlausibleWeather)
{
    double previousTotal = 0;
    int rainySlots = 0;
    int month = 1;
    for (QDateTime time(QDate(2026, 1, 1), QTime(0, 0)); time.date().year() == 2026; time = time.addSecs(600)) {
        const WeatherReading w = StationSimulator::weatherAt(time);
        EXPECT_GT(w.temperatureOut(), -15);
        EXPECT_LT(w.temperatureOut(), 35);
        ASSERT_LE(w.dewpoint(), w.temperatureOut()) << time.toString().toStdString();
        ASSERT_LE(w.windChill(), w.temperatureOut()) << time.toString().toStdString();
        EXPECT_GE(w.humidityOut(), 25);
        EXPECT_LE(w.humidityOut(), 99);
        EXPECT_GT(w.barometer(), 990);
        EXPECT_LT(w.barometer(), 1036);
        EXPECT_GE(w.windSpeed(), 0);
        EXPECT_FALSE(w.windDirection().isEmpty());
        if (time.date().month() != month) {
            month = time.date().month();
            previousTotal = 0;  // the total counts from the start of the month
        }
        EXPECT_GE(w.rainTotal(), previousTotal);
        previousTotal = w.rainTotal();
        rainySlots += w.rain1h() > 0;
    }
    EXPECT_GT(rainySlots, 6 * 200) << "it rains now and then";
    EXPECT_LT(rainySlots, 6 * 3000);
    const QDateTime moment(QDate(2026, 5, 5), QTime(5, 5));
    EXPECT_EQ(StationSimulator::weatherAt(moment), StationSimulator::weatherAt(moment));
}

}  // namespace
