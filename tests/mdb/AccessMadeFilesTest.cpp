// Writing into databases made by Access: what is in them stays readable
// by mdbtools, the engine's own check finds no fault, and the independent
// Access library opens and validates every file afterwards.
#include "AccessCheck.h"
#include "MdbTestSupport.h"
#include "MdbToolsOracle.h"
#include "mdb/DatabaseCreator.h"
#include "mdb/Verifier.h"

#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>

namespace {

using namespace mdb;
namespace fs = std::filesystem;

class AccessMadeFiles : public ::testing::Test {
protected:
    void SetUp() override
    {
        SKIP_WITHOUT_FIXTURES();
        folder = fs::temp_directory_path() / ("nimbrel-access-made-" + std::to_string(::getpid()));
        fs::create_directories(folder);
    }
    void TearDown() override { fs::remove_all(folder); }

    std::string copyOf(const std::string& fixture)
    {
        const fs::path target = folder / fixture;
        fs::copy_file(mdbFixture(fixture), target, fs::copy_options::overwrite_existing);
        fs::permissions(target, fs::perms::owner_read | fs::perms::owner_write);
        return target.string();
    }
    static std::string exportOf(const std::string& path, const std::string& table)
    {
        return MdbTools::run("mdb-export -b hex " + MdbTools::shellQuote(path) + " " + MdbTools::shellQuote(table));
    }
    static std::string bytesOf(const std::string& path)
    {
        std::ifstream in(path, std::ios::binary);
        return std::string(std::istreambuf_iterator<char>(in), {});
    }

    fs::path folder;
};

std::vector<Value> noteRow(int i)
{
    return {Null{}, std::string("note") + char('a' + i % 25), DateTime{46000.0 + i}, double(i) / 3};
}

// The user tables of a file that the engine may change.
std::vector<std::string> writableUserTables(Database& database)
{
    std::vector<std::string> names;
    for (const TableEntry& entry : database.tables()) {
        auto table = database.definition(entry.name);
        if (!entry.isSystem() && table && TableWriter::checkWritable(*table))
            names.push_back(entry.name);
    }
    return names;
}

}  // namespace

TEST_F(AccessMadeFiles, TheEnginesCheckFindsNoFaultInAnyOfThem)
{
    for (const std::string& fixture : mdbFixtureNames()) {
        auto database = Database::open(mdbFixture(fixture));
        ASSERT_TRUE(database) << fixture << ": " << database.error().message;
        const VerifyReport report = verifyDatabase(**database);
        EXPECT_TRUE(report.problems.empty()) << fixture << ": " << report.problems.front();
    }
}

// Appends, changes and deletes on every table the engine may change, over
// indexed long (ascending and descending), date, double, text and
// fixed-length text columns; afterwards every table reads as mdbtools reads
// it and both checks pass.
TEST_F(AccessMadeFiles, ChangedCopiesPassBothChecks)
{
    SKIP_WITHOUT_ACCESS_CHECK();
    for (const std::string& fixture : mdbFixtureNames()) {
        SCOPED_TRACE(fixture);
        const std::string path = copyOf(fixture);
        std::size_t tables = 0;
        {
            auto database = Database::open(path, OpenMode::ReadWrite);
            ASSERT_TRUE(database) << database.error().message;
            DatabaseWriter writer(**database);
            for (const std::string& table : writableUserTables(**database)) {
                Status exercised = exerciseTable(writer, table, 60);
                ASSERT_TRUE(exercised) << table << ": " << exercised.error().message;
                ++tables;
            }
            Status committed = writer.commit();
            ASSERT_TRUE(committed) << committed.error().message;
        }
        auto database = Database::open(path);
        ASSERT_TRUE(database);
        const VerifyReport report = verifyDatabase(**database);
        EXPECT_TRUE(report.problems.empty()) << report.problems.front();
        const AccessCheck::Outcome checked = AccessCheck::check(path);
        EXPECT_TRUE(checked.opened) << checked.output;
        EXPECT_TRUE(checked.problems.empty()) << checked.output;
        if (fixture == "compIndexTestV2000.mdb" || fixture == "fixedTextTestV2000.mdb") {
            EXPECT_GT(tables, 0u);
        }
    }
}

// A fixed-length text column keeps its value in its slot of the row: read
// back by mdbtools, found through its index, changed and deleted again.
TEST_F(AccessMadeFiles, FixedLengthTextIsStoredInItsSlot)
{
    const std::string path = copyOf("fixedTextTestV2000.mdb");
    auto database = Database::open(path, OpenMode::ReadWrite);
    ASSERT_TRUE(database);
    DatabaseWriter writer(**database);
    auto table = writer.definition("users");
    ASSERT_TRUE(table);
    std::vector<Value> values((*table)->columns.size(), Null{});
    const auto set = [&](const char* column, Value value) {
        values[std::size_t((*table)->column(column) - (*table)->columns.data())] = std::move(value);
    };
    set("i_user_id", int32_t(3));
    set("c_user_login", std::string("guest"));
    set("c_flag_", std::string("Y"));
    auto row = writer.append("users", values);
    ASSERT_TRUE(row) << row.error().message;
    ASSERT_TRUE(writer.commit());
    EXPECT_NE(exportOf(path, "users").find("\"guest\""), std::string::npos);
    EXPECT_NE(exportOf(path, "users").find(",\"Y\","), std::string::npos) << exportOf(path, "users");

    auto found = writer.find("users", "Users2_8_idx", {std::string("y")});
    ASSERT_TRUE(found) << found.error().message;
    ASSERT_EQ(found->size(), 1u);
    set("c_flag_", std::string("Z"));
    ASSERT_TRUE(writer.update("users", found->front().location, values));
    ASSERT_TRUE(writer.commit());
    EXPECT_EQ(writer.find("users", "Users2_8_idx", {std::string("Z")})->size(), 1u);
    ASSERT_TRUE(writer.remove("users", found->front().location));
    ASSERT_TRUE(writer.commit());
    EXPECT_EQ(MdbTools::count(path, "users"), 2);
    EXPECT_TRUE(verifyDatabase(**database).problems.empty());
}

TEST_F(AccessMadeFiles, AccessFilesKeepTheirRowsWhenATableIsAddedAndFilled)
{
    for (const std::string& fixture : mdbFixtureNames()) {
        SCOPED_TRACE(fixture);
        const std::string path = copyOf(fixture);
        std::map<std::string, std::string> before;
        for (const std::string& table : MdbTools::tables(path, true))
            before[table] = exportOf(path, table);
        {
            auto database = Database::open(path, OpenMode::ReadWrite);
            ASSERT_TRUE(database) << database.error().message;
            DatabaseWriter writer(**database);
            using T = ColumnType;
            Status made = writer.createTable("Notes", {{"Id", T::Long, 0, true}, {"Text", T::Text, 50},
                                                       {"Day", T::DateTime}, {"Value", T::Double}},
                                             {{"Id", {"Id"}, true, true}, {"Text", {"Text"}}});
            ASSERT_TRUE(made) << made.error().message;
            for (int i = 0; i < 500; ++i) {
                auto row = writer.append("Notes", noteRow(i));
                ASSERT_TRUE(row) << row.error().message;
            }
            ASSERT_TRUE(writer.commit());
        }

        // Every table reads as before; the catalog has one more row at its end.
        for (const auto& [table, exported] : before) {
            const std::string now = exportOf(path, table);
            if (table == "MSysObjects")
                EXPECT_EQ(now.substr(0, exported.size()), exported);
            else
                EXPECT_EQ(now, exported) << table;
        }
        EXPECT_EQ(MdbTools::count(path, "Notes"), 500);
        auto database = Database::open(path);
        ASSERT_TRUE(database);
        const auto problems = verifyDatabase(**database).problems;
        EXPECT_TRUE(problems.empty()) << problems.front();
    }
}

TEST_F(AccessMadeFiles, AppendsToAnAccessMadeTable)
{
    const std::string path = copyOf("testV2000.mdb");
    {
        auto database = Database::open(path, OpenMode::ReadWrite);
        ASSERT_TRUE(database);
        DatabaseWriter writer(**database);
        auto row = writer.append("Table1", {std::string("kilo"), std::string("lima"), uint8_t(7), int16_t(-3),
                                            int32_t(123456), 2.5, DateTime{38000.5}, Currency{12345}, true});
        ASSERT_TRUE(row) << row.error().message;
        ASSERT_TRUE(writer.commit());
    }
    const std::string exported = exportOf(path, "Table1");
    EXPECT_NE(exported.find("\"abcdefg\",\"hijklmnop\",2,222,333333333"), std::string::npos);
    EXPECT_NE(exported.find("\"kilo\",\"lima\",7,-3,123456,2.5"), std::string::npos) << exported;
    auto database = Database::open(path);
    auto table = (*database)->definition("Table1");
    auto found = (*database)->find(*table, "PrimaryKey", {std::string("KILO")});
    ASSERT_TRUE(found) << found.error().message;
    ASSERT_EQ(found->size(), 1u);
}

TEST_F(AccessMadeFiles, RefusesWhatItCannotChangeAndLeavesTheFileAlone)
{
    const std::string path = copyOf("indexTestV2000.mdb");
    const std::string original = bytesOf(path);
    {
        auto database = Database::open(path, OpenMode::ReadWrite);
        ASSERT_TRUE(database);
        DatabaseWriter writer(**database);
        // Table1 takes part in relationships enforced by foreign-key indexes.
        auto refused = writer.append("Table1", {int32_t(9), int32_t(1), int32_t(11), std::string("x"), int32_t(0)});
        ASSERT_FALSE(refused);
        EXPECT_NE(refused.error().message.find("foreign-key"), std::string::npos) << refused.error().message;
        // A text key with a character the General sort order has no code for.
        ASSERT_TRUE(writer.createTable("Words", {{"Word", ColumnType::Text, 20}}, {{"Word", {"Word"}}}));
        auto odd = writer.append("Words", {std::string("10 \xE2\x82\xAC")});
        ASSERT_FALSE(odd);
        EXPECT_EQ(odd.error().kind, ErrorKind::Unsupported);
        EXPECT_NE(odd.error().message.find("U+20AC"), std::string::npos) << odd.error().message;
        // The failed append discarded every pending change, the new table too.
        EXPECT_TRUE(writer.commit());
        // An index whose keys this program cannot build.
        Status flagIndex = writer.createTable("Flags", {{"Flag", ColumnType::Boolean}}, {{"Flag", {"Flag"}}});
        ASSERT_FALSE(flagIndex);
        EXPECT_NE(flagIndex.error().message.find("key form"), std::string::npos) << flagIndex.error().message;
        EXPECT_TRUE(writer.commit());
    }
    EXPECT_EQ(bytesOf(path), original);
}

TEST_F(AccessMadeFiles, IndexAddedToAFilledTableFindsEveryRow)
{
    const std::string path = copyOf("testV2000.mdb");
    {
        auto database = Database::open(path, OpenMode::ReadWrite);
        DatabaseWriter writer(**database);
        ASSERT_TRUE(writer.createTable("Log", {{"Station", ColumnType::Long}, {"Taken", ColumnType::DateTime}}, {}));
        for (int i = 0; i < 3000; ++i)
            ASSERT_TRUE(writer.append("Log", {int32_t(i % 5), DateTime{45000.0 + i / 144.0}}));
        ASSERT_TRUE(writer.commit());
        Status added = writer.createIndex("Log", {"StationTaken", {"Station", "Taken"}});
        ASSERT_TRUE(added) << added.error().message;
        // An index over a column of a table Access made.
        added = writer.createIndex("Table1", {"ByE", {"E"}});
        ASSERT_TRUE(added) << added.error().message;
        ASSERT_TRUE(writer.commit());
    }
    auto database = Database::open(path);
    auto log = (*database)->definition("Log");
    auto found = (*database)->find(*log, "StationTaken", {int32_t(3)});
    ASSERT_TRUE(found);
    EXPECT_EQ(found->size(), 600u);
    auto table1 = (*database)->definition("Table1");
    auto byE = (*database)->find(*table1, "ByE", {int32_t(333333333)});
    ASSERT_TRUE(byE) << byE.error().message;
    EXPECT_EQ(byE->size(), 1u);
    EXPECT_NE(exportOf(path, "Table1").find("\"abcdefg\",\"hijklmnop\""), std::string::npos);
    const auto problems = verifyDatabase(**database).problems;
    EXPECT_TRUE(problems.empty()) << problems.front();
}

