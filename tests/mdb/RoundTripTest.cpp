// What the engine writes, mdbtools reads back exactly: a new database with
// 100,000 appended rows, then changes and deletes, compared value by value
// with what was written; and the engine's own reader and verifier agree.
#include "MdbTestSupport.h"
#include "MdbToolsOracle.h"
#include "mdb/DatabaseCreator.h"
#include "mdb/Verifier.h"

#include <algorithm>
#include <filesystem>
#include <gtest/gtest.h>
#include <map>

namespace {

using namespace mdb;

constexpr int kRows = 100000;

std::vector<ColumnSpec> historyColumns()
{
    using T = ColumnType;
    return {{"Pressure", T::Double}, {"WindDir", T::Text, 255}, {"DateText", T::Text, 255},
            {"DateRead", T::DateTime}, {"BarTrend", T::Integer}, {"Flags", T::Byte},
            {"Rain", T::Currency}, {"Remark", T::Memo}, {"Storm", T::Boolean}, {"SourceID", T::Long}};
}

std::vector<Value> reading(int i)
{
    static const char* const directions[] = {"N", "NNE", "NE", "ENE", "E", "SSW", "W", "NW"};
    return {1000.0 + (i % 400) / 10.0,
            std::string(directions[i % 8]),
            std::string("day") + char('a' + i % 20),
            DateTime{40000.0 + i / 144.0},
            int16_t(i % 3 - 1),
            uint8_t(i % 256),
            Currency{int64_t(i) * 25},
            i % 1000 == 0 ? Value(std::string(5000, char('a' + i % 26))) : Value(Null{}),
            i % 7 == 0,
            int32_t(i % 4)};
}

// A value as mdb-export prints it (dates in the test's format).
MdbTools::Cell printed(const Value& value)
{
    if (isNull(value))
        return std::nullopt;
    if (const auto* number = std::get_if<double>(&value)) {
        char text[64];
        std::snprintf(text, sizeof text, "%.14g", *number);
        return std::string(text);
    }
    return toText(value);
}

std::vector<MdbTools::Cell> printedRow(const std::vector<Value>& values)
{
    std::vector<MdbTools::Cell> cells;
    for (const Value& value : values)
        cells.push_back(printed(value));
    return cells;
}

std::vector<MdbTools::Cell> normalised(std::vector<MdbTools::Cell> cells)
{
    if (cells[0]) {
        char text[64];
        std::snprintf(text, sizeof text, "%.14g", std::strtod(cells[0]->c_str(), nullptr));
        cells[0] = std::string(text);
    }
    return cells;
}

class RoundTrip : public ::testing::Test {
protected:
    void SetUp() override
    {
        folder = std::filesystem::temp_directory_path() / ("nimbrel-roundtrip-" + std::to_string(::getpid()));
        std::filesystem::create_directories(folder);
        path = (folder / "weather.mdb").string();
    }
    void TearDown() override { std::filesystem::remove_all(folder); }

    std::filesystem::path folder;
    std::string path;
};

}  // namespace

TEST_F(RoundTrip, MdbToolsReadsBackExactlyWhatWasWritten)
{
    std::map<RowPointer, std::vector<Value>> model;
    Status created = createDatabase(path, [](DatabaseWriter& writer) {
        return writer.createTable("History", historyColumns(), {{"SourceDate", {"SourceID", "DateRead"}}});
    });
    ASSERT_TRUE(created) << created.error().message;
    {
        auto database = Database::open(path, OpenMode::ReadWrite);
        ASSERT_TRUE(database) << database.error().message;
        DatabaseWriter writer(**database);
        for (int i = 0; i < kRows; ++i) {
            auto row = writer.append("History", reading(i));
            ASSERT_TRUE(row) << row.error().message;
            model[*row] = reading(i);
        }
        ASSERT_TRUE(writer.commit());
    }
    {
        // Changes that grow rows past their page, and deletes.
        auto database = Database::open(path, OpenMode::ReadWrite);
        ASSERT_TRUE(database);
        DatabaseWriter writer(**database);
        int step = 0;
        for (auto it = model.begin(); it != model.end(); ++step) {
            if (step % 97 == 0) {
                std::vector<Value> changed = it->second;
                changed[1] = std::string(120, 'x');
                changed[3] = DateTime{50000.0 + step};
                ASSERT_TRUE(writer.update("History", it->first, changed));
                it->second = changed;
                ++it;
            } else if (step % 89 == 0) {
                ASSERT_TRUE(writer.remove("History", it->first));
                it = model.erase(it);
            } else {
                ++it;
            }
        }
        ASSERT_TRUE(writer.commit());
    }

    EXPECT_EQ(MdbTools::tables(path, false), std::vector<std::string>{"History"});
    EXPECT_EQ(MdbTools::count(path, "History"), long(model.size()));
    const MdbTools::Export exported = MdbTools::exportTable(path, "History");
    ASSERT_TRUE(exported.ok) << exported.error;
    std::vector<std::vector<MdbTools::Cell>> theirs, ours;
    for (const auto& row : exported.rows)
        theirs.push_back(normalised(row));
    for (const auto& [location, values] : model)
        ours.push_back(printedRow(values));
    std::sort(theirs.begin(), theirs.end());
    std::sort(ours.begin(), ours.end());
    ASSERT_EQ(theirs.size(), ours.size());
    EXPECT_TRUE(theirs == ours);

    auto database = Database::open(path);
    ASSERT_TRUE(database);
    auto table = (*database)->definition("History");
    auto rows = (*database)->readAll(*table);
    ASSERT_TRUE(rows);
    std::map<RowPointer, std::vector<Value>> read;
    for (const Row& row : *rows)
        read[row.location] = row.values;
    EXPECT_TRUE(read == model);
    const auto problems = verifyDatabase(**database).problems;
    EXPECT_TRUE(problems.empty()) << problems.front();
}
