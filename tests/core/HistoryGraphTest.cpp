#include "DatabaseFixture.h"
#include "core/db/DatabaseSession.h"
#include "core/plot/AxisTicks.h"
#include "core/graphs/DataTypes.h"
#include "core/plot/Envelope.h"
#include "core/graphs/GraphTable.h"
#include "core/graphs/HistoryGraph.h"
#include "core/settings/SettingsModel.h"

#include <QFile>

namespace {

// The history graph over a database of its own, with readings written
// straight into History.
class HistoryGraphTest : public DatabaseFixture {
protected:
    const QDate today{2026, 3, 10};

    struct Reading {
        QDateTime time;
        QVariant outTemperature;  // null: no value
        QString windDirection = "N";
        int stability = 0;
    };

    void addReadings(qint32 sourceID, const std::vector<Reading>& readings)
    {
        auto session = DatabaseSession::open(path, DatabaseSession::Access::Write, environment);
        ASSERT_TRUE(session);
        auto table = (*session)->table("History");
        ASSERT_TRUE(table);
        for (const Reading& r : readings) {
            ASSERT_TRUE((*session)->insert(*table, {{"SourceID", sourceID},
                                                    {"DateRead", r.time},
                                                    {"TimeText", r.time.toString("hh:mm")},
                                                    {"OutTemperature", r.outTemperature},
                                                    {"WindDir", r.windDirection},
                                                    {"Stability", r.stability}}));
        }
        ASSERT_TRUE((*session)->commit());
    }

    TraceEntry trace(int dataType = 1, int offset = 0) const
    {
        TraceEntry entry;
        entry.sourceName = "Home";
        entry.sourceDatabase = path;
        entry.dataID = 7;
        entry.dataType = dataType;
        entry.offset = offset;
        entry.colour = *defaultTraceColour(1);
        return entry;
    }

    QDateTime at(int dayOffset, int hour, int minute = 0) const
    {
        return QDateTime(today.addDays(dayOffset), QTime(hour, minute));
    }

    SettingsModel settings;
    HistoryGraph graph{settings, environment, today};
};

TEST_F(HistoryGraphTest, DateButtonsKeepTheRangeInOrder)
{
    graph.stepFrom(+1);  // both on the same day: the end date follows
    EXPECT_EQ(graph.state().from, today.addDays(1));
    EXPECT_EQ(graph.state().to, today.addDays(1));
    graph.stepTo(-1);  // and back: From follows
    EXPECT_EQ(graph.state().from, today);
    EXPECT_EQ(graph.state().to, today);
    graph.stepBoth(-3);
    graph.stepTo(+3);
    graph.stepFrom(+1);
    EXPECT_EQ(graph.state().from, today.addDays(-2));
    EXPECT_EQ(graph.state().to, today);
    graph.moveToToday(today.addDays(2));
    EXPECT_EQ(graph.state().from, today);
    EXPECT_EQ(graph.state().to, today.addDays(2));
    graph.moveToToday(today);  // never back
    EXPECT_EQ(graph.state().to, today.addDays(2));
}

TEST_F(HistoryGraphTest, ARangeIsWholeDaysFromMidnightTo2359)
{
    addReadings(7, {{at(-1, 23, 50), 1}, {at(0, 0, 0), 2}, {at(0, 12, 0), 3}, {at(0, 23, 59), 4}, {at(1, 0, 0), 5}});
    graph.apply({false, 0, {trace()}});
    ASSERT_TRUE(graph.refresh());
    const GraphData& data = *graph.data();
    ASSERT_EQ(data.traces.size(), 1u);
    EXPECT_EQ(data.traces[0].y, (std::vector<double>{2, 3, 4}));
    EXPECT_DOUBLE_EQ(data.xMinimum, storedDays(today));
    EXPECT_DOUBLE_EQ(data.xMaximum, storedDays(today) + 1439.0 / 1440.0);
    EXPECT_EQ(data.traces[0].annotation(), "Max: 4 @ 23:59  Min: 2 @ 00:00");
    EXPECT_EQ(data.traces[0].label(0, false), "10-Mar-26 00:00");
    EXPECT_EQ(data.traces[0].label(1, false), "12:00");
    EXPECT_EQ(data.traces[0].label(2, false), "");
    EXPECT_EQ(data.traces[0].label(0, true), "00:00");
    EXPECT_TRUE(errors.empty());
}

// On a graph of more than one day the annotation says on which day the
// extremes were; before its first drawing a graph shows today, not the
// zero date of the stored times.
TEST_F(HistoryGraphTest, TheAnnotationNamesTheDayOnLongerGraphs)
{
    EXPECT_DOUBLE_EQ(graph.data()->xMinimum, storedDays(today));
    EXPECT_EQ(graph.data()->range.last, today);
    addReadings(7, {{at(-1, 14, 30), 12.8}, {at(0, 6, 10), -2}, {at(0, 12, 0), 3}});
    graph.setRange(today.addDays(-1), today);
    graph.apply({false, 1, {trace()}});
    ASSERT_TRUE(graph.refresh());
    const TraceSeries& series = graph.data()->traces.at(0);
    EXPECT_EQ(series.annotation(true), "Max: 12.8 @ 09-Mar 14:30  Min: -2 @ 10-Mar 06:10");
    EXPECT_EQ(series.annotation(), "Max: 12.8 @ 14:30  Min: -2 @ 06:10");
    EXPECT_EQ(TraceSeries().annotation(true), "Max: 0 @   Min: 0 @ ") << "no readings, no day";
}

TEST_F(HistoryGraphTest, AReversedRangeIsSaidOnceAndDrawnAsOneDay)
{
    addReadings(7, {{at(-2, 6), 1}, {at(0, 6), 2}});
    graph.apply({false, 0, {trace()}});
    graph.setRange(today, today.addDays(-2));
    ASSERT_TRUE(graph.refresh());
    ASSERT_EQ(boxes.boxes().size(), 1u);
    EXPECT_EQ(boxes.boxes()[0].text, "Date Range Invalid");
    EXPECT_EQ(boxes.boxes()[0].icon, MessageBoxes::Icon::Exclamation);
    EXPECT_EQ(graph.state().to, today);
    EXPECT_EQ(graph.data()->traces[0].y, std::vector<double>{2});
    ASSERT_TRUE(graph.refresh());
    EXPECT_EQ(boxes.boxes().size(), 1u) << "corrected, it is not said again";
}

TEST_F(HistoryGraphTest, ATraceWithoutReadingsIsEmpty)
{
    graph.apply({false, 0, {trace()}});
    ASSERT_TRUE(graph.refresh());
    const TraceSeries& series = graph.data()->traces.at(0);
    EXPECT_EQ(series.size(), 0u);
    EXPECT_EQ(series.annotation(), "Max: 0 @   Min: 0 @ ");
    EXPECT_EQ(series.trace.title(), "Home: Temperature Out");
    // The value axis still spans the preferences' temperature range.
    EXPECT_EQ(graph.data()->yMinimum, 0.0);
    EXPECT_EQ(graph.data()->yMaximum, 45.0);
}

TEST_F(HistoryGraphTest, SingleDayRangeOverlaysTheDaysInHours)
{
    std::vector<Reading> readings;
    for (int day = -2; day <= 0; ++day) {
        for (int hour = 0; hour < 24; ++hour)
            readings.push_back({at(day, hour, 50), double(hour)});
    }
    addReadings(7, readings);
    graph.setRange(today.addDays(-2), today);
    graph.apply({true, 0, {trace()}});
    ASSERT_TRUE(graph.refresh());
    const TraceSeries& series = graph.data()->traces.at(0);
    ASSERT_EQ(series.size(), 72u);
    EXPECT_NEAR(series.x.front(), 50.0 / 60.0, 1e-9);
    EXPECT_NEAR(series.x.back(), 71 + 50.0 / 60.0, 1e-9);
    EXPECT_LT(series.x.back(), 72.0);
    EXPECT_EQ(graph.data()->xMinimum, 0.0);
    EXPECT_EQ(graph.data()->xMaximum, 72.0);
    EXPECT_EQ(graph.state().from, today.addDays(-2)) << "a single-day favourite leaves the pickers";
}

TEST_F(HistoryGraphTest, AnOffsetTraceShowsAnotherDayOnTheSameAxis)
{
    addReadings(7, {{at(-1, 9), 5}, {at(0, 9), 15}});
    graph.apply({false, 0, {trace(1, 0), trace(1, -1)}});
    ASSERT_TRUE(graph.refresh());
    const GraphData& data = *graph.data();
    ASSERT_EQ(data.traces.size(), 2u);
    EXPECT_EQ(data.traces[1].y, std::vector<double>{5});  // yesterday's reading...
    EXPECT_DOUBLE_EQ(data.traces[1].x[0], data.traces[0].x[0]);  // ...at today's 09:00
    EXPECT_EQ(data.traces[1].trace.title(), "Home: Temperature Out -1");
    EXPECT_EQ(wallClockTime(data.traces[1].stamps[0]), at(-1, 9));
}

TEST_F(HistoryGraphTest, WindDirectionsTiesAndStabilityChanges)
{
    addReadings(7, {{at(0, 1), 0, "SW", 1}, {at(0, 2), 0, "NNW", 1}, {at(0, 3), 0, "NNW", 3}, {at(0, 4), 0, "", 3},
                    {at(0, 5), 0, "N", 1}});
    graph.setOptions({false, true, true});
    graph.apply({false, 0, {trace(DataTypes::kWindDirection)}});
    ASSERT_TRUE(graph.refresh());
    const TraceSeries& series = graph.data()->traces.at(0);
    EXPECT_EQ(series.y, (std::vector<double>{11, 16, 16, 0, 1}));  // SW is 11: N 1, clockwise
    EXPECT_EQ(series.annotation(), "Max: 16 @ 02:00  Min: 0 @ 04:00") << "ties keep the earlier reading";
    ASSERT_EQ(series.marks.size(), 2u);
    EXPECT_EQ(series.marks[0].stability, 3);
    EXPECT_DOUBLE_EQ(series.marks[0].x, series.x[2]);
    EXPECT_EQ(series.marks[1].stability, 1);
}

// A reading without a value leaves no point, wherever it lies; the extremes
// and their times come from the readings that have one.
TEST_F(HistoryGraphTest, ReadingsWithoutAValueLeaveNoPoint)
{
    addReadings(7, {{at(0, 1), QVariant()}, {at(0, 2), 4.5}, {at(0, 3), QVariant()}, {at(0, 4), -2.0},
                    {at(0, 5), 9.0}, {at(0, 6), QVariant()}});
    graph.apply({false, 0, {trace()}});
    ASSERT_TRUE(graph.refresh());
    const TraceSeries& series = graph.data()->traces.at(0);
    EXPECT_EQ(series.y, (std::vector<double>{4.5, -2, 9}));
    ASSERT_EQ(series.size(), 3u);
    EXPECT_EQ(series.minutes, (std::vector<qint16>{120, 240, 300}));
    EXPECT_EQ(series.label(2, true), "05:00");
    EXPECT_EQ(series.annotation(), "Max: 9 @ 05:00  Min: -2 @ 04:00");
    EXPECT_EQ(graph.data()->yMinimum, -2.0);
}

TEST_F(HistoryGraphTest, TheValueAxisCoversThePreferencesAndTheData)
{
    addReadings(7, {{at(0, 6), -12.5}, {at(0, 7), 3}});
    settings.setAxisMinimum(1, "-5");
    settings.setAxisMaximum(1, "30");
    graph.apply({false, 0, {trace()}});
    ASSERT_TRUE(graph.refresh());
    EXPECT_EQ(graph.data()->yMinimum, -12.5);
    EXPECT_EQ(graph.data()->yMaximum, 30.0);
    EXPECT_EQ(graph.data()->traces[0].annotation(), "Max: 3 @ 07:00  Min: -12.5 @ 06:00");
}

TEST_F(HistoryGraphTest, AnUnreadableTraceIsReportedAndEndsTheDrawing)
{
    addReadings(7, {{at(0, 6), 1}});
    TraceEntry gone = trace();
    gone.sourceDatabase = folder.file("gone.mdb");
    TraceEntry noDatabase = trace();
    noDatabase.sourceDatabase.clear();
    graph.apply({false, 0, {noDatabase, trace(), gone, trace(3)}});
    EXPECT_FALSE(graph.refresh());
    const GraphData& data = *graph.data();
    ASSERT_EQ(data.traces.size(), 2u) << "the traces before the failing one stay";
    EXPECT_TRUE(data.traces[0].skipped);
    EXPECT_EQ(data.traces[1].y, std::vector<double>{1});
    ASSERT_EQ(errors.messages().size(), 1);
    EXPECT_TRUE(errors.messages()[0].startsWith("Database Read Error: \r\n"));

    graph.clearTraces();
    EXPECT_TRUE(graph.data()->traces.empty());
    EXPECT_TRUE(graph.addTrace(trace()));
    EXPECT_EQ(graph.data()->traces.size(), 1u);
}

// Favourites: saved with their traces, found again by their own key, and
// loaded with the sources the program has.
class FavouritesTest : public HistoryGraphTest {
protected:
    void addSource(qint32 id, const QString& name)
    {
        auto session = DatabaseSession::open(path, DatabaseSession::Access::Write, environment);
        auto table = (*session)->table("Sources");
        ASSERT_TRUE((*session)->insert(*table, {{"SourceID", id}, {"SourceName", name},
                                                {"SourceDatabase", path}, {"DataID", id + 100}}));
        ASSERT_TRUE((*session)->commit());
    }
    std::vector<std::shared_ptr<WeatherSource>> loaded() { return loadSources(path, environment); }
};

TEST_F(FavouritesTest, SavedFavouritesLoadAsTheyWereSaved)
{
    addSource(1, "O'Neil's garden");
    addSource(2, "Roof");
    TraceEntry first = trace(1, -1);
    first.sourceID = 1;
    first.showNotes = true;
    TraceEntry second = trace(6);
    second.sourceID = 2;
    second.colour = standardColour(14);
    const qint32 week = Favourites::save(path, "O'Neil's week", {false, 6, {first, second}}, environment);
    const qint32 lower = Favourites::save(path, "o'neil's week", {true, 0, {second}}, environment);
    ASSERT_GT(week, 0);
    ASSERT_GT(lower, week) << "a name differing in case only is a favourite of its own";

    const MdbTools::Export traces = exported("Traces");
    ASSERT_TRUE(traces.ok) << traces.error;
    ASSERT_EQ(traces.rows.size(), 3u);
    EXPECT_EQ(cell(traces, 0, "TraceID"), "1");
    EXPECT_EQ(cell(traces, 1, "TraceID"), "2");
    EXPECT_EQ(cell(traces, 2, "TraceID"), "1") << "numbered within each favourite";
    EXPECT_EQ(cell(traces, 2, "FavID"), std::to_string(lower));

    auto favourite = Favourites::load(path, week, loaded(), environment);
    ASSERT_TRUE(favourite);
    EXPECT_FALSE(favourite->dayOnly);
    EXPECT_EQ(favourite->dateRange, 6);
    ASSERT_EQ(favourite->traces.size(), 2u);
    EXPECT_EQ(favourite->traces[0].sourceName, "O'Neil's garden");
    EXPECT_EQ(favourite->traces[0].offset, -1);
    EXPECT_TRUE(favourite->traces[0].showNotes);
    EXPECT_EQ(favourite->traces[0].dataID, 101) << "from the loaded source";
    EXPECT_EQ(favourite->traces[1].colour, standardColour(14));
    EXPECT_EQ(favourite->traces[1].dataType, 6);
    EXPECT_TRUE(errors.empty());

    // Three days back from the kept end date; a single-day one keeps both.
    graph.setRange(today.addDays(-1), today);
    graph.apply({false, 3, favourite->traces});
    EXPECT_EQ(graph.state().from, today.addDays(-3));
    graph.apply(*Favourites::load(path, lower, loaded(), environment));
    EXPECT_EQ(graph.state().from, today.addDays(-3));
    EXPECT_TRUE(graph.state().options.singleDay);
}

TEST_F(FavouritesTest, TracesOfRemovedOrUnloadedSourcesAndFailures)
{
    addSource(1, "Home");
    TraceEntry kept = trace();
    kept.sourceID = 1;
    TraceEntry removed = trace();
    removed.sourceID = 9;  // no such source: the trace is left out
    const qint32 id = Favourites::save(path, "Mixed", {false, 0, {removed, kept}}, environment);
    auto favourite = Favourites::load(path, id, loaded(), environment);
    ASSERT_TRUE(favourite);
    ASSERT_EQ(favourite->traces.size(), 1u);
    EXPECT_EQ(favourite->traces[0].sourceName, "Home");

    // A source added after the program loaded its sources.
    EXPECT_FALSE(Favourites::load(path, id, {}, environment));
    ASSERT_EQ(errors.messages().size(), 1);
    EXPECT_TRUE(errors.messages()[0].startsWith("\r\nLoad Fav Error: "));
    EXPECT_EQ(Favourites::save(folder.file("gone.mdb"), "x", {false, 0, {kept}}, environment), 0);
    EXPECT_TRUE(errors.messages()[1].startsWith("\r\nSave Fav Error: "));
    EXPECT_EQ(Favourites::save("", "x", {}, environment), 0);
    EXPECT_EQ(errors.messages().size(), 2);
}

TEST(TraceEntries, OffsetsAndDefaultColours)
{
    EXPECT_EQ(dayOffsetFromText("2.6"), 3);
    EXPECT_EQ(dayOffsetFromText("abc"), 0);
    EXPECT_EQ(dayOffsetFromText("-1"), -1);
    EXPECT_EQ(dayOffsetFromText("99999"), 32767);
    EXPECT_EQ(defaultTraceColour(1), 0xFFFF00) << "light cyan, red in the low byte";
    EXPECT_EQ(defaultTraceColour(3), 0x0000FF) << "light red";
    EXPECT_EQ(defaultTraceColour(15), 0xFFFFFF);
    EXPECT_FALSE(defaultTraceColour(16));
    EXPECT_FALSE(defaultTraceColour(0));
    EXPECT_EQ(DataTypes::name(11), "Wind Direction");
    EXPECT_STREQ(DataTypes::at(1).unit, "Celcius");
}

}  // namespace

namespace {

// A long range is read in two halves at once: nothing is lost or doubled
// at the seam, and the order holds.
TEST_F(HistoryGraphTest, ALongRangeReadsTheSameInTwoHalves)
{
    std::vector<Reading> readings;
    for (int day = -59; day <= 0; ++day) {
        readings.push_back({at(day, 0, 0), double(day)});
        readings.push_back({at(day, 23, 59), day + 0.5});
    }
    addReadings(7, readings);
    graph.setRange(today.addDays(-59), today);
    graph.apply({false, 59, {trace()}});
    ASSERT_TRUE(graph.refresh());
    const TraceSeries& series = graph.data()->traces.at(0);
    ASSERT_EQ(series.size(), readings.size());
    for (std::size_t i = 0; i < readings.size(); ++i)
        ASSERT_EQ(series.y[i], readings[i].outTemperature) << "reading " << i;
    EXPECT_TRUE(std::is_sorted(series.x.begin(), series.x.end()));
    EXPECT_EQ(series.annotation(), "Max: 0.5 @ 23:59  Min: -59 @ 00:00");
}

TEST(GraphPieces, EnvelopeKeepsEachColumnsExtremesInOrder)
{
    std::vector<double> x, y;
    for (int i = 0; i < 1000; ++i) {
        x.push_back(i / 10.0);             // ten points per unit
        y.push_back((i * 7919) % 101 - 50);  // scattered
    }
    const std::vector<QPointF> kept = envelope(x, y, 0, 100, 100);  // one column per unit
    ASSERT_LE(kept.size(), 200u);
    for (int column = 0; column < 100; ++column) {
        const auto first = y.begin() + column * 10;
        const double low = *std::min_element(first, first + 10);
        const double high = *std::max_element(first, first + 10);
        std::vector<double> inColumn;
        for (const QPointF& p : kept) {
            if (p.x() >= column && p.x() < column + 1)
                inColumn.push_back(p.y());
        }
        ASSERT_EQ(*std::min_element(inColumn.begin(), inColumn.end()), low) << column;
        ASSERT_EQ(*std::max_element(inColumn.begin(), inColumn.end()), high) << column;
    }
    EXPECT_TRUE(std::is_sorted(kept.begin(), kept.end(), [](const QPointF& a, const QPointF& b) { return a.x() < b.x(); }));
    EXPECT_EQ(envelope({1, 2, 3}, {4, 5, 6}, 0, 10, 100).size(), 3u) << "a short series comes back whole";
}

TEST(GraphPieces, AxisTicksFallOnRoundTimesAndValues)
{
    const double first = storedDays(QDate(2026, 3, 10));
    const std::vector<AxisTick> day = AxisTicks::timeTicks(first, first + 1, 8);
    ASSERT_EQ(day.size(), 9u) << "every three hours";
    EXPECT_EQ(day.front(), (AxisTick{first, "10-Mar"}));
    EXPECT_EQ(day[3], (AxisTick{first + 0.375, "09:00"}));
    EXPECT_EQ(day.back(), (AxisTick{first + 1, "11-Mar"}));
    const std::vector<AxisTick> year = AxisTicks::timeTicks(first, first + 365, 8);
    ASSERT_FALSE(year.empty());
    EXPECT_EQ(year.front().label, "May 26") << "the first of the next odd month";
    for (const AxisTick& tick : year)
        EXPECT_EQ(wallClockTime(tick.value).date().day(), 1) << tick.label.toStdString();
    EXPECT_LE(year.size(), 8u);
    EXPECT_EQ(AxisTicks::hourTicks(0, 72, 8).size(), 7u);  // every 12 hours: 0, 12 .. 72
    EXPECT_EQ(AxisTicks::valueTicks(990, 1030, 5),
              (std::vector<AxisTick>{{990, "990"}, {1000, "1000"}, {1010, "1010"}, {1020, "1020"}, {1030, "1030"}}));
    EXPECT_EQ(AxisTicks::valueTicks(0, 1, 4).at(1).label, "0.5");
}

TEST(GraphPieces, TheTableMergesTheTracesByTime)
{
    GraphData data;
    TraceSeries a, b;
    a.trace.sourceName = b.trace.sourceName = "Home";
    a.trace.dataType = 1;
    b.trace.dataType = 6;
    const double day = storedDays(QDate(2026, 3, 10));
    for (int i : {0, 1, 2}) {
        a.x.push_back(day + i / 144.0);
        a.y.push_back(i);
        a.stamps.push_back(a.x.back());
        a.minutes.push_back(qint16(i * 10));
    }
    b.x = {a.x[1], a.x[2] + 1 / 144.0};
    b.y = {-1.5, -2};
    b.stamps = b.x;
    b.minutes = {10, 30};
    data.traces = {a, b};
    const GraphTable table = tableOf(data);
    ASSERT_EQ(table.rows(), 4u);
    EXPECT_EQ(table.headers, (QStringList{"Time", "Label", "Home: Temperature Out", "Home: Dewpoint"}));
    EXPECT_EQ(table.timeText(0), "10-Mar-2026 00:00");
    EXPECT_EQ(table.labels[0], "10-Mar-26 00:00");
    EXPECT_FALSE(table.values[1][0]);
    EXPECT_EQ(table.values[1][1], -1.5);
    EXPECT_EQ(table.toCsv(), QByteArray("Time,Label,Home: Temperature Out,Home: Dewpoint\r\n"
                                        "2026-03-10 00:00,10-Mar-26 00:00,0,\r\n"
                                        "2026-03-10 00:10,,1,-1.5\r\n"
                                        "2026-03-10 00:20,,2,\r\n"
                                        "2026-03-10 00:30,,,-2\r\n"));
}

}  // namespace

TEST(FavouriteNames, WhatTheIndexOfNamesCanHold)
{
    EXPECT_EQ(Favourites::unstorableCharacter("Temp \u20AC"), QChar(0x20AC));
    EXPECT_EQ(Favourites::unstorableCharacter("Stra\u00DFe \u00BD, \u00E9t\u00E9 (roof) #2"), std::nullopt);
    const QString offered = Favourites::plainName("Garden \u2013 north \u201Cwest\u201D Temperature Out");
    EXPECT_EQ(offered, "Garden - north \"west\" Temperature Out");
    EXPECT_EQ(Favourites::unstorableCharacter(offered), std::nullopt);
}
