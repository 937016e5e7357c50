// The independent Access library opens and validates what the engine writes:
// a new database, and one after thousands of appends, changes and deletes
// with long values of every size.
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

class IndependentCheck : public ::testing::Test {
protected:
    void SetUp() override
    {
        SKIP_WITHOUT_ACCESS_CHECK();
        folder = fs::temp_directory_path() / ("nimbrel-access-check-" + std::to_string(::getpid()));
        fs::create_directories(folder);
    }
    void TearDown() override { fs::remove_all(folder); }

    static void expectAccepted(const std::string& path)
    {
        const AccessCheck::Outcome outcome = AccessCheck::check(path);
        EXPECT_TRUE(outcome.opened) << outcome.output;
        EXPECT_TRUE(outcome.problems.empty()) << outcome.output;
    }

    fs::path folder;
};

Status makeLog(DatabaseWriter& writer)
{
    using T = ColumnType;
    return writer.createTable("Log",
                              {{"Id", T::Long, 0, true}, {"Station", T::Long}, {"Name", T::Text, 60},
                               {"Reading", T::Double}, {"Taken", T::DateTime}, {"Note", T::Memo},
                               {"Flag", T::Boolean}, {"Code", T::Text, 4, false, true}},
                              {{"Id", {"Id"}, true, true}, {"StationTaken", {"Station", "Taken"}},
                               {"Name", {"Name"}}, {"Reading", {"Reading"}}, {"Code", {"Code"}}});
}

std::vector<Value> logRow(int i)
{
    // Notes inline, on a page of their own, and in a chain of pages.
    const std::size_t noteLength = i % 10 == 0 ? 9000 : i % 4 == 0 ? 1200 : 30;
    return {Null{},
            int32_t(i % 6),
            "Gauge \xC3\xA9t\xC3\xA9 " + std::to_string(i % 700) + (i % 3 ? "-north" : " (roof)") +
                (i % 11 == 0 ? "  " : ""),  // Access leaves trailing blanks out of the key
            double(i % 900) / 7,
            DateTime{45000.0 + i / 144.0},
            i % 5 == 0 ? Value(Null{}) : Value(std::string(noteLength, char('a' + i % 26))),
            bool(i % 2),
            std::string(1 + i % 3, char('A' + i % 20))};
}

}  // namespace

TEST_F(IndependentCheck, AcceptsANewDatabase)
{
    const std::string path = (folder / "new.mdb").string();
    ASSERT_TRUE(createDatabase(path, makeLog));
    expectAccepted(path);
}

TEST_F(IndependentCheck, AcceptsADatabaseAfterThousandsOfChanges)
{
    const std::string path = (folder / "busy.mdb").string();
    ASSERT_TRUE(createDatabase(path, makeLog));
    std::vector<RowPointer> rows;
    for (int round = 0; round < 4; ++round) {
        auto database = Database::open(path, OpenMode::ReadWrite);
        ASSERT_TRUE(database) << database.error().message;
        DatabaseWriter writer(**database);
        for (int i = 0; i < 1500; ++i) {
            auto row = writer.append("Log", logRow(round * 1500 + i));
            ASSERT_TRUE(row) << row.error().message;
            rows.push_back(*row);
        }
        for (std::size_t i = std::size_t(round); i < rows.size(); i += 9)
            ASSERT_TRUE(writer.update("Log", rows[i], logRow(int(i) + 50000)));
        for (std::size_t i = rows.size() - 1 - std::size_t(round); i < rows.size() && i > 0; i -= 13) {
            ASSERT_TRUE(writer.remove("Log", rows[i]));
            rows.erase(rows.begin() + std::ptrdiff_t(i));
        }
        Status committed = writer.commit();
        ASSERT_TRUE(committed) << committed.error().message;
    }
    EXPECT_EQ(MdbTools::count(path, "Log"), long(rows.size()));
    auto database = Database::open(path);
    const VerifyReport report = verifyDatabase(**database);
    EXPECT_TRUE(report.problems.empty()) << report.problems.front();
    expectAccepted(path);
}

// The check is worth having: it refuses the index page layout that earlier
// versions of this engine wrote.
TEST_F(IndependentCheck, RefusesTheEarlierIndexLayout)
{
    const std::string path = (folder / "earlier.mdb").string();
    ASSERT_TRUE(createDatabase(path, [](DatabaseWriter& writer) {
        Status made = makeLog(writer);
        for (int i = 0; made && i < 400; ++i)
            made = writer.append("Log", logRow(i)) ? Status::success() : Status(invalidArgument("append"));
        return made;
    }));
    std::vector<uint8_t> bytes = fileBytes(path);
    toEarlierEngineForm(bytes);
    std::ofstream(path, std::ios::binary | std::ios::trunc)
        .write(reinterpret_cast<const char*>(bytes.data()), std::streamsize(bytes.size()));
    const AccessCheck::Outcome outcome = AccessCheck::check(path);
    EXPECT_FALSE(outcome.opened && outcome.problems.empty()) << outcome.output;
}
