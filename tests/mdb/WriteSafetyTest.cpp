// Writing into databases made by Access keeps everything already in them
// readable by mdbtools; and what the engine cannot change safely it refuses
// before touching the file.
#include "MdbTestSupport.h"
#include "MdbToolsOracle.h"
#include "db/mdb/DatabaseCreator.h"
#include "db/mdb/Verifier.h"

#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>

namespace {

using namespace mdb;
namespace fs = std::filesystem;

class WriteSafety : public ::testing::Test {
protected:
    void SetUp() override
    {
        folder = fs::temp_directory_path() / ("nimbrel-writes-" + std::to_string(::getpid()));
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

}  // namespace

TEST_F(WriteSafety, AccessFilesKeepTheirRowsWhenATableIsAddedAndFilled)
{
    for (const std::string& fixture : mdbFixtureNames()) {
        SCOPED_TRACE(fixture);
        const std::string path = copyOf(fixture);
        std::map<std::string, std::string> before;
        for (const std::string& table : MdbTools::tables(path, true))
            before[table] = exportOf(path, table);
        auto opened = Database::open(path);
        ASSERT_TRUE(opened);
        const std::size_t problemsBefore = verifyDatabase(**opened).problems.size();
        opened->reset();

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
        EXPECT_EQ(verifyDatabase(**database).problems.size(), problemsBefore);
    }
}

TEST_F(WriteSafety, AppendsToAnAccessMadeTable)
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

TEST_F(WriteSafety, RefusesWhatItCannotChangeAndLeavesTheFileAlone)
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

TEST_F(WriteSafety, UniqueKeysStayUnique)
{
    const std::string path = (folder / "unique.mdb").string();
    ASSERT_TRUE(createDatabase(path, [](DatabaseWriter& writer) {
        return writer.createTable("Sources", {{"SourceID", ColumnType::Long}, {"SourceName", ColumnType::Text}},
                                  {{"SourceID", {"SourceID"}, true, true}});
    }));
    auto database = Database::open(path, OpenMode::ReadWrite);
    DatabaseWriter writer(**database);
    ASSERT_TRUE(writer.append("Sources", {int32_t(1), std::string("Home")}));
    auto duplicate = writer.append("Sources", {int32_t(1), std::string("Roof")});
    ASSERT_FALSE(duplicate);
    EXPECT_NE(duplicate.error().message.find("SourceID"), std::string::npos);
}

TEST_F(WriteSafety, AccessOrAnotherWriterHoldingTheFileIsRespected)
{
    const std::string path = copyOf("empty.mdb");
    {
        std::ofstream lock(Database::accessLockPath(path));
    }
    auto refused = Database::open(path, OpenMode::ReadWrite);
    ASSERT_FALSE(refused);
    EXPECT_NE(refused.error().message.find("open in Access"), std::string::npos);
    fs::remove(Database::accessLockPath(path));

    DiskFileSystem disk;
    auto writer = Database::open(disk, path, OpenMode::ReadWrite);
    ASSERT_TRUE(writer) << writer.error().message;
    auto second = Database::open(disk, path, OpenMode::ReadWrite, std::chrono::milliseconds(50));
    ASSERT_FALSE(second);
    EXPECT_NE(second.error().message.find("another Nimbrel process"), std::string::npos) << second.error().message;
    auto reader = Database::open(disk, path, OpenMode::ReadOnly, std::chrono::milliseconds(50));
    EXPECT_FALSE(reader) << "a reader waits while a writer holds the file";
    writer->reset();
    EXPECT_TRUE(Database::open(disk, path, OpenMode::ReadWrite, std::chrono::milliseconds(50)));
}

TEST_F(WriteSafety, IndexAddedToAFilledTableFindsEveryRow)
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
    for (const std::string& problem : verifyDatabase(**database).problems)
        EXPECT_EQ(problem.find("table Log"), std::string::npos) << problem;
}

TEST_F(WriteSafety, EmptyingAnIndexReleasesItsPages)
{
    const std::string path = (folder / "emptied.mdb").string();
    ASSERT_TRUE(createDatabase(path, [](DatabaseWriter& writer) {
        return writer.createTable("Words", {{"Word", ColumnType::Text, 60}}, {{"Word", {"Word"}}});
    }));
    std::vector<RowPointer> rows;
    {
        auto database = Database::open(path, OpenMode::ReadWrite);
        DatabaseWriter writer(**database);
        for (int i = 0; i < 4000; ++i) {
            // Long keys make a tree of three levels.
            auto row = writer.append("Words", {std::string(55, char('a' + i % 25)) + char('a' + i / 25 % 25) +
                                                   char('a' + i / 625 % 25)});
            ASSERT_TRUE(row);
            rows.push_back(*row);
        }
        ASSERT_TRUE(writer.commit());
    }
    const auto sizeAfterFilling = fs::file_size(path);
    {
        auto database = Database::open(path, OpenMode::ReadWrite);
        DatabaseWriter writer(**database);
        for (RowPointer row : rows)
            ASSERT_TRUE(writer.remove("Words", row));
        ASSERT_TRUE(writer.commit());
        // Refilling reuses the released pages instead of growing the file.
        for (int i = 0; i < 4000; ++i)
            ASSERT_TRUE(writer.append("Words", {std::string(56, 'q') + char('a' + i % 25) + char('a' + i / 25 % 25)}));
        ASSERT_TRUE(writer.commit());
    }
    EXPECT_LE(fs::file_size(path), sizeAfterFilling);
    auto database = Database::open(path);
    const auto problems = verifyDatabase(**database).problems;
    EXPECT_TRUE(problems.empty()) << problems.front();
    EXPECT_EQ(MdbTools::count(path, "Words"), 4000);
}
