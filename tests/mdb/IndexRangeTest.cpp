// Range lookups over a two-column key, on a tree of several levels with
// duplicate keys.
#include "mdb/DatabaseCreator.h"
#include "mdb/IndexTree.h"

#include <algorithm>
#include <cmath>
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

// A range read through row views sees the same rows as one through decoded
// rows, and each view gives the values decoding gives: numbers of every
// kind (NaN for null), texts (fixed, variable, long), and refusals.
TEST(RowViews, GiveWhatDecodingGives)
{
    using namespace mdb;
    const std::string path = "views.mdb";
    MemoryFileSystem files;
    ASSERT_TRUE(createDatabase(files, path, [](DatabaseWriter& writer) {
        return writer.createTable("Readings",
                                  {{"SourceID", ColumnType::Long}, {"DateRead", ColumnType::DateTime},
                                   {"Small", ColumnType::Byte}, {"Count", ColumnType::Integer},
                                   {"Money", ColumnType::Currency}, {"Ratio", ColumnType::Single},
                                   {"Reading", ColumnType::Double}, {"TimeText", ColumnType::Text, 10},
                                   {"Code", ColumnType::Text, 4, false, true}, {"Note", ColumnType::Memo},
                                   {"Flag", ColumnType::Boolean}},
                                  {{"SourceDate", {"SourceID", "DateRead"}}});
    }));
    {
        auto database = Database::open(files, path, OpenMode::ReadWrite);
        ASSERT_TRUE(database) << database.error().message;
        DatabaseWriter writer(**database);
        for (int i = 0; i < 300; ++i) {
            const bool gaps = i % 7 == 3;  // every column but the key null
            const auto orNull = [gaps](Value value) { return gaps ? Value(Null{}) : value; };
            ASSERT_TRUE(writer.append(
                "Readings", {int32_t(i % 2), DateTime{46000.0 + i / 144.0}, orNull(uint8_t(i % 250)),
                             orNull(int16_t(-i)), orNull(Currency{i * 12345}), orNull(float(i) / 4),
                             orNull(i * 0.1), orNull(std::string(i % 5 ? "12:30" : "Gr\u00fc\u00df")),
                             orNull(std::string("AB")), orNull(std::string(3000, char('a' + i % 26))),
                             i % 2 == 0}));
        }
        ASSERT_TRUE(writer.commit());
    }
    auto database = Database::open(files, path, OpenMode::ReadOnly);
    ASSERT_TRUE(database) << database.error().message;
    auto table = (*database)->definition("Readings");
    ASSERT_TRUE(table);
    const std::vector<Value> low{int32_t(1), DateTime{46000.0}}, high{int32_t(1), DateTime{46003.0}};

    std::vector<Row> decoded;
    ASSERT_TRUE((*database)->scanRange(*table, "SourceDate", low, high, [&](const Row& row) {
        decoded.push_back(row);
        return true;
    }));
    ASSERT_EQ(decoded.size(), 150u);
    std::size_t seen = 0;
    std::string text;
    Status scanned = (*database)->scanRangeViews(*table, "SourceDate", low, high, [&](const RowView& view) {
        const Row& row = decoded.at(seen++);
        EXPECT_EQ(view.location(), row.location);
        for (std::size_t column = 0; column < table->columns.size(); ++column) {
            const Column& definition = table->columns[column];
            SCOPED_TRACE(definition.name + ", row " + std::to_string(seen));
            const Value& expected = row.values[column];
            auto value = view.value(column);
            EXPECT_TRUE(value && *value == expected);
            auto number = view.number(column);
            if (!isNumberType(definition.type)) {
                EXPECT_FALSE(number);
                EXPECT_EQ(number.error().kind, ErrorKind::InvalidArgument);
            } else if (isNull(expected)) {
                EXPECT_TRUE(number && std::isnan(*number));
            } else {
                const double wanted = std::visit(
                    [](const auto& v) -> double {
                        using T = std::decay_t<decltype(v)>;
                        if constexpr (std::is_arithmetic_v<T>) return double(v);
                        else if constexpr (std::is_same_v<T, DateTime>) return v.days;
                        else if constexpr (std::is_same_v<T, Currency>) return double(v.tenThousandths) / 10000.0;
                        else return -1;
                    },
                    expected);
                EXPECT_TRUE(number && *number == wanted);
            }
            text = "left alone";
            auto hasText = view.text(column, text);
            if (!hasText) {
                ADD_FAILURE() << hasText.error().message;
                continue;
            }
            EXPECT_EQ(*hasText, !isNull(expected));
            EXPECT_EQ(text, *hasText ? toText(expected) : "left alone");
        }
        return true;
    });
    ASSERT_TRUE(scanned) << scanned.error().message;
    EXPECT_EQ(seen, decoded.size());

    // Visiting stops when asked to; rows are visited in the order given.
    std::vector<RowPointer> backwards;
    for (auto row = decoded.rbegin(); row != decoded.rend(); ++row)
        backwards.push_back(row->location);
    std::vector<RowPointer> visited;
    ASSERT_TRUE((*database)->visitRows(*table, backwards, [&](const RowView& view) {
        visited.push_back(view.location());
        return visited.size() < 10;
    }));
    EXPECT_EQ(visited, std::vector<RowPointer>(backwards.begin(), backwards.begin() + 10));
}
