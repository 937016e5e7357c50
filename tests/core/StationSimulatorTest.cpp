#include "readings/StationSimulator.h"
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
        clsWeather read;
        ASSERT_TRUE(read.RefreshData(path, 0, errors, time));
        EXPECT_EQ(read, StationSimulator::weatherAt(time)) << time.toString().toStdString();
        EXPECT_EQ(read.ReadDate(), time);
    }
    EXPECT_TRUE(errors.empty());
}

// A year of readings stays within what a real station shows, and the same
// moment always gives the same weather.
TEST(StationSimulator, AYearOfPlausibleWeather)
{
    double previousTotal = 0;
    int rainySlots = 0;
    int month = 1;
    for (QDateTime time(QDate(2026, 1, 1), QTime(0, 0)); time.date().year() == 2026; time = time.addSecs(3600)) {
        const clsWeather w = StationSimulator::weatherAt(time);
        EXPECT_GT(w.TemperatureOut(), -15);
        EXPECT_LT(w.TemperatureOut(), 35);
        EXPECT_LE(w.Dewpoint(), w.TemperatureOut());
        EXPECT_LE(w.WindChill(), w.TemperatureOut());
        EXPECT_GE(w.HumidityOut(), 25);
        EXPECT_LE(w.HumidityOut(), 99);
        EXPECT_GT(w.Barometer(), 990);
        EXPECT_LT(w.Barometer(), 1036);
        EXPECT_GE(w.WindSpeed(), 0);
        EXPECT_FALSE(w.WindDirection().isEmpty());
        if (time.date().month() != month) {
            month = time.date().month();
            previousTotal = 0;  // the total counts from the start of the month
        }
        EXPECT_GE(w.RainTotal(), previousTotal);
        previousTotal = w.RainTotal();
        rainySlots += w.Rain1hr() > 0;
    }
    EXPECT_GT(rainySlots, 200) << "it rains now and then";
    EXPECT_LT(rainySlots, 3000);
    const QDateTime moment(QDate(2026, 5, 5), QTime(5, 5));
    EXPECT_EQ(StationSimulator::weatherAt(moment), StationSimulator::weatherAt(moment));
}

}  // namespace
