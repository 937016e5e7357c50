#include "DatabaseFixture.h"
#include "core/db/ColumnValues.h"
#include "core/db/DatabaseSession.h"
#include "core/db/HistoryColumns.h"
#include "mdb/DatabaseCreator.h"

#include <algorithm>
#include <cmath>
#include <random>

namespace {

// Readings of two sources every 30 minutes over three days, stored in a
// shuffled order, with some values null.
void storeReadings(const QString& path, const Environment& environment)
{
    std::vector<std::pair<qint32, int>> steps;
    for (qint32 source : {0, 1}) {
        for (int step = 0; step < 3 * 48; ++step)
            steps.push_back({source, step});
    }
    std::shuffle(steps.begin(), steps.end(), std::mt19937(7));
    auto session = DatabaseSession::open(path, DatabaseSession::Access::Write, environment);
    ASSERT_TRUE(session) << session.error().message;
    auto history = (*session)->table("History");
    ASSERT_TRUE(history);
    const QDateTime first(QDate(2026, 3, 1), QTime(0, 0));
    for (const auto& [source, step] : steps) {
        const QVariant temperature = step % 10 == 3 ? QVariant() : QVariant(source * 100 + step / 2.0);
        ASSERT_TRUE((*session)->insert(*history, {{"SourceID", source},
                                                  {"DateRead", first.addSecs(1800LL * step)},
                                                  {"OutTemperature", temperature}}));
    }
    ASSERT_TRUE((*session)->commit());
}

class HistoryColumnsTest : public DatabaseFixture {};

QDateTime timeOf(double stamp)
{
    return ColumnValues::fromDateTime(mdb::DateTime{stamp});
}

TEST_F(HistoryColumnsTest, IndexAndFullReadGiveTheSameSamples)
{
    // The same readings in a database without Nimbrel's index.
    const QString plain = folder.file("made in Access.mdb");
    ASSERT_TRUE(mdb::createDatabase(plain.toStdString(), [](mdb::DatabaseWriter& writer) {
        return writer.createTable("History", {{"DateRead", mdb::ColumnType::DateTime},
                                              {"OutTemperature", mdb::ColumnType::Double},
                                              {"SourceID", mdb::ColumnType::Long},
                                              {"TimeText", mdb::ColumnType::Text, 5},
                                              {"Stability", mdb::ColumnType::Integer}},
                                  {});
    }));
    storeReadings(path, environment);
    storeReadings(plain, environment);

    const QDateTime from(QDate(2026, 3, 2), QTime(0, 0));
    const QDateTime to(QDate(2026, 3, 2), QTime(23, 30));
    for (const QString& database : {path, plain}) {
        SCOPED_TRACE(database.toStdString());
        auto rows = readHistoryColumns(database, 1, from, to, {"outtemperature"}, false, environment);
        ASSERT_TRUE(rows) << rows.error().message;
        ASSERT_EQ(rows->size(), 48u) << "both ends included";
        EXPECT_EQ(timeOf(rows->stamps.front()), from);
        EXPECT_EQ(timeOf(rows->stamps.back()), to);
        for (std::size_t i = 0; i < rows->size(); ++i) {
            const int step = 48 + int(i);
            EXPECT_EQ(timeOf(rows->stamps[i]), QDateTime(QDate(2026, 3, 1), QTime(0, 0)).addSecs(1800LL * step));
            if (step % 10 == 3)
                EXPECT_TRUE(std::isnan(rows->values[0][i])) << "no value";
            else
                EXPECT_EQ(rows->values[0][i], 100 + step / 2.0);
        }
    }
    EXPECT_TRUE(errors.empty());
}

TEST_F(HistoryColumnsTest, EmptyRangesAndMissingColumns)
{
    storeReadings(path, environment);
    const QDateTime day(QDate(2026, 3, 2), QTime(0, 0));
    auto none = readHistoryColumns(path, 7, day, day.addDays(1), {"OutTemperature"}, false, environment);
    ASSERT_TRUE(none);
    EXPECT_EQ(none->size(), 0u) << "no such source";
    auto reversed = readHistoryColumns(path, 0, day.addDays(1), day, {"OutTemperature"}, false, environment);
    ASSERT_TRUE(reversed);
    EXPECT_EQ(reversed->size(), 0u);
    auto missing = readHistoryColumns(path, 0, day, day.addDays(1), {"Sunshine"}, false, environment);
    ASSERT_FALSE(missing);
    EXPECT_EQ(missing.error().message, "table History has no column Sunshine");
}

// Values go into columns as a statement would put them there.
TEST(ColumnValuesTest, ConversionsIntoColumns)
{
    const auto column = [](mdb::ColumnType type) { return mdb::Column{"C", type}; };
    using T = mdb::ColumnType;
    EXPECT_EQ(*ColumnValues::toStored(column(T::Integer), 2.5), mdb::Value(int16_t(2))) << "half to even";
    EXPECT_EQ(*ColumnValues::toStored(column(T::Integer), 3.5), mdb::Value(int16_t(4)));
    EXPECT_EQ(*ColumnValues::toStored(column(T::Long), -7), mdb::Value(int32_t(-7)));
    EXPECT_EQ(*ColumnValues::toStored(column(T::Text), 1013.25), mdb::Value(std::string("1013.25")));
    EXPECT_EQ(*ColumnValues::toStored(column(T::Boolean), true), mdb::Value(true));
    EXPECT_TRUE(mdb::isNull(*ColumnValues::toStored(column(T::Double), QVariant())));
    EXPECT_EQ(ColumnValues::toStored(column(T::Integer), 40000).error().message,
              "overflow: 40000 does not fit column C");
    EXPECT_EQ(ColumnValues::toStored(column(T::Double), QString("12")).error().message,
              "type mismatch: column C takes Double values");
    EXPECT_FALSE(ColumnValues::toStored(column(T::Byte), -1));

    const QDateTime winter(QDate(2026, 1, 15), QTime(10, 5, 0));
    EXPECT_EQ(ColumnValues::fromDateTime(ColumnValues::toDateTime(winter)), winter);
    EXPECT_EQ(ColumnValues::toDateTime(QDateTime(QDate(1899, 12, 30), QTime(0, 0))).days, 0.0);

    EXPECT_FALSE(ColumnValues::equal(mdb::Null{}, mdb::Null{})) << "null equals nothing";
    EXPECT_TRUE(ColumnValues::equal(int32_t(3), 3.0));
    EXPECT_TRUE(ColumnValues::equal(std::string("Roof"), std::string("ROOF")));
    EXPECT_TRUE(ColumnValues::equal(std::string("Roof  "), std::string("roof"))) << "as the index finds it";
    EXPECT_FALSE(ColumnValues::equal(std::string(" Roof"), std::string("Roof")));
    EXPECT_LT(ColumnValues::compare(mdb::Null{}, int32_t(-5)), 0) << "null sorts first";
}

}  // namespace
