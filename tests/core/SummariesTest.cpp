#include "DatabaseFixture.h"
#include "core/db/DatabaseSession.h"
#include "core/plot/TimeScale.h"
#include "core/summaries/ClimateSummary.h"
#include "core/summaries/DailyExtremes.h"
#include "core/summaries/RainDays.h"
#include "core/summaries/SummaryCharts.h"
#include "core/summaries/SummaryTable.h"
#include "core/summaries/WindDay.h"

#include <cmath>

namespace {

double at(int year, int month, int day, int hour, int minute = 0)
{
    return plot::daysOf(QDate(year, month, day)) + (hour * 60 + minute) / 1440.0;
}

// A rain month from (time, counter) pairs.
RainMonth rainOf(const QDate& month, const std::vector<std::pair<double, double>>& readings)
{
    std::vector<double> stamps, counters;
    for (const auto& [stamp, counter] : readings) {
        stamps.push_back(stamp);
        counters.push_back(counter);
    }
    return rainDays(month, stamps, counters);
}

const QDate kNovember(2026, 11, 1);

}  // namespace

TEST(RainDays, NineOClockClosesTheDayAndItsRainGoesToTheDayItEnds)
{
    const RainMonth month = rainOf(kNovember, {{at(2026, 10, 31, 9), 100.0},   // the month's first rain day opens
                                               {at(2026, 10, 31, 23), 102.5},  // rain before the 1st ...
                                               {at(2026, 11, 1, 8, 59), 103.0},
                                               {at(2026, 11, 1, 9), 103.5},    // ... is day 01's
                                               {at(2026, 11, 2, 8, 59), 104.0},  // not yet closing day 02
                                               {at(2026, 11, 2, 9, 10), 104.3}});
    ASSERT_EQ(month.days.size(), 2u);
    EXPECT_EQ(month.days[0].day, QDate(2026, 11, 1));
    EXPECT_DOUBLE_EQ(*month.days[0].rain, 3.5);
    EXPECT_EQ(month.days[1].day, QDate(2026, 11, 2));
    EXPECT_NEAR(*month.days[1].rain, 0.8, 1e-9);
    EXPECT_NEAR(*month.total, 4.3, 1e-9);
    EXPECT_EQ(month.title(), "Rainfall for November 2026.    Total is 4.3mm");
}

TEST(RainDays, ResetsGapsAndEmptyMonths)
{
    // A counter reset: the day shows 0, the total is last minus first.
    const RainMonth reset = rainOf(kNovember, {{at(2026, 10, 31, 9), 50.0},
                                               {at(2026, 11, 1, 9), 52.0},
                                               {at(2026, 11, 2, 9), 0.5},
                                               {at(2026, 11, 3, 9), 1.5}});
    ASSERT_EQ(reset.days.size(), 3u);
    EXPECT_EQ(*reset.days[1].rain, 0.0);
    EXPECT_EQ(*reset.days[2].rain, 1.0);
    EXPECT_DOUBLE_EQ(*reset.total, -48.5);

    // A gap of three days: one reading closes every day that has ended, the
    // days of the gap have no rain of their own, the closing day has it all.
    const RainMonth gap = rainOf(kNovember, {{at(2026, 10, 31, 9), 10.0},
                                             {at(2026, 11, 1, 9), 11.0},
                                             {at(2026, 11, 5, 10), 17.0},
                                             {at(2026, 11, 6, 9), 17.5}});
    ASSERT_EQ(gap.days.size(), 6u);
    for (int d : {1, 2, 3})
        EXPECT_FALSE(gap.days[std::size_t(d)].rain) << "day " << d + 1 << " had no reading";
    EXPECT_EQ(gap.days[4].day, QDate(2026, 11, 5));
    EXPECT_EQ(*gap.days[4].rain, 6.0);
    EXPECT_EQ(*gap.days[5].rain, 0.5);

    // No readings: no days, no total, the bare title.
    const RainMonth empty = rainOf(kNovember, {});
    EXPECT_TRUE(empty.days.empty());
    EXPECT_FALSE(empty.total);
    EXPECT_EQ(empty.title(), "Rainfall for November 2026");

    // Readings that begin within the month: nothing says what fell before the first.
    const RainMonth late = rainOf(kNovember, {{at(2026, 11, 3, 9, 30), 5.0}, {at(2026, 11, 4, 9), 5.5}});
    ASSERT_EQ(late.days.size(), 4u);
    EXPECT_FALSE(late.days[2].rain);
    EXPECT_EQ(*late.days[3].rain, 0.5);
}

// Readings stored as the logger stores them, with their day and time texts.
class SummariesTest : public DatabaseFixture {
protected:
    struct Row {
        QDateTime time;
        QVariant temperature;
        double speed = 0;
        QString direction = "N";
        double rain = 0;
    };

    void store(const std::vector<Row>& rows, qint32 source = 3)
    {
        auto session = DatabaseSession::open(path, DatabaseSession::Access::Write, environment);
        ASSERT_TRUE(session) << session.error().message;
        auto history = (*session)->table("History");
        ASSERT_TRUE(history);
        for (const Row& row : rows) {
            ASSERT_TRUE((*session)->insert(*history, {{"SourceID", source},
                                                      {"DateRead", row.time},
                                                      {"DateText", row.time.toString("dd.MM.yyyy")},
                                                      {"TimeText", row.time.toString("HH:mm")},
                                                      {"OutTemperature", row.temperature},
                                                      {"WindSpeed", row.speed},
                                                      {"WindDir", row.direction},
                                                      {"RainTotal", row.rain}}));
        }
        ASSERT_TRUE((*session)->commit());
    }

    SummarySource source{"Garden", path, 3};
};

TEST_F(SummariesTest, DailyExtremesCoverWholeDaysOfTheRange)
{
    store({{QDateTime(QDate(2026, 11, 1), QTime(23, 59)), 30.0},  // the day before: left out
           {QDateTime(QDate(2026, 11, 2), QTime(0, 0)), 4.0},
           {QDateTime(QDate(2026, 11, 2), QTime(14, 0)), 11.5},
           {QDateTime(QDate(2026, 11, 2), QTime(20, 0)), {}},  // no value
           {QDateTime(QDate(2026, 11, 4), QTime(12, 0)), 7.0},  // a single reading
           {QDateTime(QDate(2026, 11, 5), QTime(23, 59)), -2.0},  // the last minute of the last day
           {QDateTime(QDate(2026, 11, 6), QTime(0, 0)), -9.0}});
    store({{QDateTime(QDate(2026, 11, 3), QTime(12, 0)), 99.0}}, 4);  // another source

    auto days = readDailyExtremes(source, "OutTemperature", QDate(2026, 11, 2), QDate(2026, 11, 5), environment);
    ASSERT_TRUE(days) << days.error().message;
    ASSERT_EQ(days->size(), 3u) << "the 3rd had no reading and is absent";
    EXPECT_EQ((*days)[0].day, QDate(2026, 11, 2));
    EXPECT_EQ((*days)[0].minimum, 4.0);
    EXPECT_EQ((*days)[0].maximum, 11.5);
    EXPECT_EQ((*days)[1].minimum, (*days)[1].maximum);
    EXPECT_EQ((*days)[2].day, QDate(2026, 11, 5));
    EXPECT_EQ((*days)[2].minimum, -2.0);

    // Two pairs on one chart: four series that say whose they are.
    const plot::Chart chart = SummaryCharts::maxMin({{"Garden", "Temperature Out", *days}, {"Roof", "Dewpoint", {}}},
                                                    {-5, 45}, Qt::black, Qt::white);
    ASSERT_EQ(chart.lines.size(), 4u);
    EXPECT_EQ(chart.lines[0].name, "Max \u2014 Garden, Temperature Out");
    EXPECT_EQ(chart.lines[3].name, "Min \u2014 Roof, Dewpoint");
    EXPECT_EQ(chart.lines[0].colour, QColor(255, 0, 0)) << "the first pair in light red and light cyan";
    EXPECT_EQ(chart.lines[1].colour, QColor(0, 255, 255));
    EXPECT_NE(chart.lines[2].colour, chart.lines[0].colour) << "a later pair in its own shade";
    EXPECT_EQ(chart.y.minimum, -5.0);
}

TEST_F(SummariesTest, WindDaySumsSpeedsByCompassPoint)
{
    const QDate day(2026, 11, 10);
    store({{QDateTime(day.addDays(-1), QTime(23, 50)), {}, 40.0, "S"},  // the day before
           {QDateTime(day, QTime(0, 10)), {}, 0.0, "---"},  // calm: no direction needed
           {QDateTime(day, QTime(6, 0)), {}, 12.0, "NNE"},
           {QDateTime(day, QTime(9, 0)), {}, 5.0, "NNE"},
           {QDateTime(day, QTime(15, 0)), {}, 12.0, "W"},  // as strong, later: not the maximum
           {QDateTime(day, QTime(18, 0)), {}, 3.0, "NNW"}});
    auto wind = readWindDay(source, day, environment);
    ASSERT_TRUE(wind) << wind.error().message;
    EXPECT_EQ(wind->sums[1], 17.0) << "NNE is the first point clockwise from north";
    EXPECT_EQ(wind->sums[12], 12.0);
    EXPECT_EQ(wind->sums[15], 3.0);
    EXPECT_EQ(wind->sums[8], 0.0);
    EXPECT_EQ(wind->maximum, 12.0);
    EXPECT_EQ(wind->maximumTime, "06:00");
    EXPECT_EQ(wind->maximumDirection, "NNE");
    EXPECT_EQ(wind->dominant(), 1);
    const plot::Chart chart = SummaryCharts::wind(*wind, Qt::black, Qt::white);
    ASSERT_TRUE(chart.polar);
    EXPECT_EQ(chart.polar->spokes[1].label, "NNE");
    EXPECT_EQ(chart.polar->spokes[1].degrees, 22.5) << "just right of north";

    const SummaryTable table = SummaryTables::wind(*wind);
    EXPECT_EQ(table.foot, QStringList({"Max: 12", "Max Time: 06:00", "Dir: NNE"}));

    // A calm day: sixteen zeros, a maximum of 0 and no time.
    auto calm = readWindDay(source, day.addDays(5), environment);
    ASSERT_TRUE(calm);
    EXPECT_EQ(calm->maximum, 0.0);
    EXPECT_TRUE(calm->maximumTime.isEmpty());
    EXPECT_EQ(calm->dominant(), -1);

    // Wind from a direction that is not a compass point: an error naming the reading.
    store({{QDateTime(day.addDays(1), QTime(7, 30)), {}, 4.0, "North"}});
    auto bad = readWindDay(source, day.addDays(1), environment);
    ASSERT_FALSE(bad);
    EXPECT_NE(bad.error().message.find("07:30"), std::string::npos) << bad.error().message;
}

TEST_F(SummariesTest, RainAndClimateOfAMonthFromTheDatabase)
{
    std::vector<Row> rows;
    const QDateTime start(QDate(2026, 10, 31), QTime(9, 0));
    for (int hour = 0; hour <= 31 * 24; hour += 6) {  // every six hours to 09:00 on 1 December
        const QDateTime time = start.addSecs(3600LL * hour);
        rows.push_back({time, 10.0 + (hour % 24) / 6, double(hour % 24), "E", 0.5 * (hour / 24)});
    }
    store(rows);
    auto rain = readRainMonth(source, kNovember, environment);
    ASSERT_TRUE(rain) << rain.error().message;
    ASSERT_EQ(rain->days.size(), 30u);
    for (const RainDay& day : rain->days)
        EXPECT_EQ(day.rain.value_or(-1), 0.5) << day.day.toString().toStdString();
    EXPECT_DOUBLE_EQ(*rain->total, 15.0) << "to 08:59 on 1 December: 09:00 is the next month's";

    auto climate = readClimateSummary(source, kNovember, QDate(2026, 11, 30), environment);
    ASSERT_TRUE(climate) << climate.error().message;
    ASSERT_EQ(climate->days.size(), 30u);
    const ClimateDay& second = climate->days[1];
    EXPECT_EQ(second.high, 13.0);
    EXPECT_EQ(second.low, 10.0);
    EXPECT_EQ(second.mean, 11.5);
    EXPECT_EQ(second.rain, 0.5);
    EXPECT_EQ(second.maxWind, 18.0);
    EXPECT_EQ(WindDay::pointName(second.dominantPoint), "E");
    const SummaryTable table = SummaryTables::climate(*climate);
    EXPECT_EQ(table.foot.at(2), "Rain: 15.0 mm on 30 days");
}

TEST(SummaryTable, TextIsAlignedAndCsvQuoted)
{
    SummaryTable table{{"Day", "Rain (mm)"}, {}, {"Total: 3"}};
    table.rows.push_back({{"01.11.2026", 0}, {"12.5", 12.5}});
    table.rows.push_back({{"a, \"b\"", {}}, {"no data", {}}});
    EXPECT_EQ(table.toText().toStdString(), "Day         Rain (mm)\n"
                              "01.11.2026       12.5\n"
                              "a, \"b\"        no data\n"
                              "Total: 3\n");
    EXPECT_EQ(table.toCsv().toStdString(), "Day,Rain (mm)\n01.11.2026,12.5\n\"a, \"\"b\"\"\",no data\n");
}
