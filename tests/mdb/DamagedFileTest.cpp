// A damaged or foreign file gives an error that says what and where; the
// engine never reads outside its buffers (the sanitizer build checks that).
#include "MdbTestSupport.h"
#include "mdb/Database.h"
#include "mdb/Header.h"

#include <fstream>
#include <gtest/gtest.h>
#include <iterator>

namespace {

// The damaged files are made from a database the test makes, so that they
// are the same on every machine.
const std::vector<uint8_t>& madeFile()
{
    static const std::vector<uint8_t> bytes = madeDatabaseBytes();
    return bytes;
}

std::string openError(std::vector<uint8_t> bytes)
{
    auto database = mdb::Database::open(std::make_unique<mdb::MemoryFile>(std::move(bytes), "test.mdb"));
    return database ? std::string() : database.error().message;
}

bool contains(const std::string& text, const std::string& part)
{
    return text.find(part) != std::string::npos;
}

// Reads every row of every table; returns the first error.
std::string readEverything(mdb::Database& database)
{
    for (const auto& entry : database.tables()) {
        auto table = database.definition(entry.name);
        if (!table)
            return table.error().message;
        auto rows = database.readAll(*table);
        if (!rows)
            return rows.error().message;
    }
    return {};
}

}  // namespace

TEST(ForeignFiles, AreRefusedWithAReason)
{
    EXPECT_TRUE(contains(openError({}), "too short"));
    EXPECT_TRUE(contains(openError(std::vector<uint8_t>(8192, 'x')), "not an Access database"));

    std::vector<uint8_t> jet3 = madeFile();
    jet3[0x14] = 0;
    EXPECT_TRUE(contains(openError(jet3), "Access 97")) << openError(jet3);

    std::vector<uint8_t> accdb = madeFile();
    accdb[0x14] = 2;
    EXPECT_TRUE(contains(openError(accdb), "Access 2007 or later"));

    // The database key lies in the masked part of the header.
    std::vector<uint8_t> encrypted = madeFile();
    const mdb::Layout& layout = mdb::jet4Layout();
    std::vector<uint8_t> header = mdb::unmaskHeader(std::span(encrypted).first(layout.pageSize), layout);
    header[layout.databaseKeyOffset] = 0x5A;
    header = mdb::unmaskHeader(header, layout);
    std::copy(header.begin(), header.end(), encrypted.begin());
    EXPECT_TRUE(contains(openError(encrypted), "encrypted"));

    EXPECT_EQ(openError(madeFile()), "");
}

TEST(DamagedFiles, LostTailIsReportedWhereItIsMissed)
{
    std::vector<uint8_t> bytes = madeFile();
    auto whole = mdb::Database::open(std::make_unique<mdb::MemoryFile>(bytes));
    ASSERT_TRUE(whole);
    const uint32_t definitionPage = (*whole)->findTable("Log")->definitionPage;
    bytes.resize(std::size_t(definitionPage) * 4096);  // cut just before the table's definition
    auto database = mdb::Database::open(std::make_unique<mdb::MemoryFile>(std::move(bytes)));
    ASSERT_TRUE(database) << database.error().message;
    auto table = (*database)->definition("Log");
    ASSERT_FALSE(table);
    EXPECT_TRUE(contains(table.error().message, "table Log")) << table.error().message;
    EXPECT_TRUE(contains(table.error().message, "beyond the end of the file")) << table.error().message;
}

TEST(DamagedFiles, BrokenRowOffsetNamesTheTableAndPage)
{
    std::vector<uint8_t> bytes = madeFile();
    auto database = mdb::Database::open(std::make_unique<mdb::MemoryFile>(bytes));
    ASSERT_TRUE(database);
    auto rows = (*database)->readAll(*(*database)->definition("Log"));
    ASSERT_TRUE(rows);
    const uint32_t page = rows->front().location.page;

    // Point the first row's offset into the page header.
    const std::size_t offsetTable = page * 4096 + mdb::jet4Layout().dataFirstRowOffset;
    bytes[offsetTable] = 0x04;
    bytes[offsetTable + 1] = 0x00;
    auto damaged = mdb::Database::open(std::make_unique<mdb::MemoryFile>(bytes));
    ASSERT_TRUE(damaged);
    const std::string error = readEverything(**damaged);
    EXPECT_TRUE(contains(error, "table Log")) << error;
    EXPECT_TRUE(contains(error, "data page " + std::to_string(page))) << error;
    EXPECT_TRUE(contains(error, "outside the row area")) << error;
}

TEST(DamagedFiles, FailingReadsAreReportedNotIgnored)
{
    for (int failing = 1; failing <= 12; ++failing) {
        auto inner = std::make_unique<mdb::MemoryFile>(madeFile());
        auto faulty = std::make_unique<mdb::FaultyFile>(std::move(inner));
        faulty->failReadAt(failing);
        auto database = mdb::Database::open(std::move(faulty));
        const std::string error = database ? readEverything(**database) : database.error().message;
        EXPECT_TRUE(contains(error, "injected read failure")) << "read " << failing << ": " << error;
    }
}

TEST(DamagedFiles, TableDefinitionPointingPastItsEndIsRefused)
{
    std::vector<uint8_t> bytes = madeFile();
    // MSysObjects' definition on page 2: claim 500 columns.
    const std::size_t columnCount = 2 * 4096 + mdb::jet4Layout().tdefColumnCountOffset;
    bytes[columnCount] = 0xF4;
    bytes[columnCount + 1] = 0x01;
    bytes[2 * 4096 + mdb::jet4Layout().tdefMaxColumnsOffset + 1] = 0x02;
    const std::string error = openError(bytes);
    EXPECT_TRUE(contains(error, "table MSysObjects, definition page 2")) << error;
}
