// Range lookups over a two-column key, on a tree of several levels with
// duplicate keys.
#include "mdb/DatabaseCreator.h"
#include "mdb/IndexTree.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <random>

// Exactly the rows a scan finds between the bounds, in key order.
TEST(IndexRange, FindsWhatAScanFindsBetweenTheBounds)
{
    using namespace mdb;
    const std::string path = "range.mdb";
    MemoryFileSystem files;
    ASSERT_TRUE(createDatabase(files, path, [](DatabaseWriter& writer) {
        return writer.createTable("Readings",
                                  {{"SourceID", ColumnType::Long}, {"DateRead", ColumnType::DateTime},
                                   {"Reading", ColumnType::Double}},
                                  {{"SourceDate", {"SourceID", "DateRead"}}});
    }));
    std::mt19937 random(42);
    {
        auto database = Database::open(files, path, OpenMode::ReadWrite);
        ASSERT_TRUE(database) << database.error().message;
        DatabaseWriter writer(**database);
        for (int i = 0; i < 6000; ++i) {
            const int32_t source = int32_t(random() % 3);
            const double day = 46000.0 + double(random() % 2000) / 144.0;  // ten-minute steps, some repeated
            ASSERT_TRUE(writer.append("Readings", {source, DateTime{day}, double(i)}));
        }
        ASSERT_TRUE(writer.commit());
    }
    auto database = Database::open(files, path, OpenMode::ReadOnly);
    ASSERT_TRUE(database) << database.error().message;
    auto table = (*database)->definition("Readings");
    ASSERT_TRUE(table);
    auto rows = (*database)->readAll(*table);
    ASSERT_TRUE(rows);

    auto keyOf = [](const Row& row) {
        return std::make_pair(std::get<int32_t>(row.values[0]), std::get<DateTime>(row.values[1]).days);
    };
    struct Case {
        int32_t source;
        double from, to;
    };
    const std::vector<Case> cases = {{1, 46001.0, 46002.0},  {0, 46000.0, 46013.9}, {2, 45000.0, 47000.0},
                                     {1, 46005.5, 46005.5},  {2, 46003.0, 46002.0}, {3, 46000.0, 47000.0},
                                     {0, 45990.0, 46000.0}};
    for (const Case& c : cases) {
        SCOPED_TRACE(std::to_string(c.source) + " " + std::to_string(c.from) + ".." + std::to_string(c.to));
        std::vector<Row> found;
        Status scanned = (*database)->scanRange(*table, "SourceDate", {c.source, DateTime{c.from}},
                                                {c.source, DateTime{c.to}},
                                                [&found](const Row& row) {
                                                    found.push_back(row);
                                                    return true;
                                                },
                                                {"DateRead"});
        ASSERT_TRUE(scanned) << scanned.error().message;
        std::multiset<std::pair<int32_t, double>> expected;
        for (const Row& row : *rows) {
            const auto key = keyOf(row);
            if (key.first == c.source && key.second >= c.from && key.second <= c.to)
                expected.insert(key);
        }
        std::multiset<std::pair<int32_t, double>> actual;
        double previous = -1e300;
        for (const Row& row : found) {
            const double day = std::get<DateTime>(row.values[1]).days;
            EXPECT_GE(day, previous);
            previous = day;
            EXPECT_TRUE(isNull(row.values[2])) << "only the named column is decoded";
            actual.insert({c.source, day});
        }
        EXPECT_EQ(actual, expected);
    }

    // A key of the first column alone covers all of that source's rows.
    std::ptrdiff_t whole = 0;
    ASSERT_TRUE((*database)->scanRange(*table, "SourceDate", {int32_t(1)}, {int32_t(1)}, [&whole](const Row& row) {
        whole += std::get<int32_t>(row.values[0]) == 1;
        return true;
    }));
    EXPECT_EQ(whole, std::count_if(rows->begin(), rows->end(), [&](const Row& r) { return keyOf(r).first == 1; }));
}
