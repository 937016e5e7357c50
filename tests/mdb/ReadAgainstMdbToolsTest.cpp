// What the engine reads from databases made by Access itself must equal what
// mdbtools, an independent reader, prints for them: every table of every
// fixture, value by value. Only formatting is normalised, never content.
#include "MdbTestSupport.h"
#include "MdbToolsOracle.h"
#include "mdb/Database.h"

#include <algorithm>
#include <cstdlib>
#include <gtest/gtest.h>

namespace {

using MdbTools::Cell;

std::string hexOf(const std::string& text)
{
    static const char digits[] = "0123456789ABCDEF";
    std::string hex;
    for (unsigned char c : text) {
        hex += digits[c >> 4];
        hex += digits[c & 15];
    }
    return hex;
}

// The GUID text printed in hex, without its dashes.
std::string guidWithoutDashes(const std::string& hex)
{
    std::string text;
    for (std::size_t i = 0; i + 1 < hex.size(); i += 2) {
        const char c = char(std::stoi(hex.substr(i, 2), nullptr, 16));
        if (c != '-')
            text += c;
    }
    return text;
}

std::string roundedNumber(const std::string& text, int digits)
{
    char buffer[64];
    std::snprintf(buffer, sizeof buffer, "%.*g", digits, std::strtod(text.c_str(), nullptr));
    return buffer;
}

// A cell in the one form both sides can be compared in. mdbtools prints
// binary values only up to their first zero byte, GUIDs as the hex of their
// text (sometimes without one dash), and numbers with fewer digits.
Cell normalised(const mdb::Column& column, Cell cell)
{
    if (!cell)
        return cell;
    switch (column.type) {
    case mdb::ColumnType::Single: return roundedNumber(*cell, 6);
    case mdb::ColumnType::Double: return roundedNumber(*cell, 14);
    case mdb::ColumnType::Guid: return guidWithoutDashes(*cell);
    case mdb::ColumnType::Attachment: return std::nullopt;  // mdbtools cannot print these
    default: return cell;
    }
}

// Our value as mdbtools would print it.
Cell asMdbToolsPrints(const mdb::Column& column, const mdb::Value& value)
{
    if (mdb::isNull(value))
        return std::nullopt;
    std::string text = mdb::toText(value);
    if (column.type == mdb::ColumnType::Guid)
        return hexOf(text);
    if (column.type == mdb::ColumnType::Binary) {
        for (std::size_t i = 0; i + 1 < text.size(); i += 2) {
            if (text[i] == '0' && text[i + 1] == '0')
                return text.substr(0, i);
        }
    }
    return text;
}

std::string show(const std::vector<Cell>& row)
{
    std::string text;
    for (const Cell& cell : row)
        text += (cell ? "[" + cell->substr(0, 40) + "]" : "<null>") + " ";
    return text;
}

void compareTable(mdb::Database& database, const std::string& path, const std::string& tableName)
{
    SCOPED_TRACE(path + " table " + tableName);
    auto definition = database.definition(tableName);
    ASSERT_TRUE(definition) << definition.error().message;
    auto rows = database.readAll(*definition);
    ASSERT_TRUE(rows) << rows.error().message;

    const MdbTools::Export theirs = MdbTools::exportTable(path, tableName);
    ASSERT_TRUE(theirs.ok) << theirs.error;
    std::vector<std::string> names;
    for (const auto& column : definition->columns)
        names.push_back(column.name);
    ASSERT_EQ(names, theirs.header);

    // Row order may differ where a row was moved: mdbtools lists it where it
    // now lives, the engine where it was first stored. Compare the sorted rows.
    std::vector<std::vector<Cell>> ourRows;
    for (const mdb::Row& row : *rows) {
        std::vector<Cell> cells;
        for (std::size_t c = 0; c < names.size(); ++c)
            cells.push_back(normalised(definition->columns[c], asMdbToolsPrints(definition->columns[c], row.values[c])));
        ourRows.push_back(std::move(cells));
    }
    std::vector<std::vector<Cell>> theirRows;
    for (const auto& row : theirs.rows) {
        ASSERT_EQ(row.size(), names.size());
        std::vector<Cell> cells;
        for (std::size_t c = 0; c < names.size(); ++c)
            cells.push_back(normalised(definition->columns[c], row[c]));
        theirRows.push_back(std::move(cells));
    }
    std::sort(ourRows.begin(), ourRows.end());
    std::sort(theirRows.begin(), theirRows.end());
    ASSERT_EQ(ourRows.size(), theirRows.size());
    for (std::size_t r = 0; r < ourRows.size(); ++r)
        ASSERT_EQ(ourRows[r], theirRows[r]) << "ours:     " << show(ourRows[r]) << "\nmdbtools: " << show(theirRows[r]);
}

class EveryFixture : public ::testing::TestWithParam<std::string> {};

}  // namespace

TEST_P(EveryFixture, EveryTableReadsAsMdbToolsReadsIt)
{
    SKIP_WITHOUT_FIXTURES();
    const std::string path = mdbFixture(GetParam());
    auto database = mdb::Database::open(path);
    ASSERT_TRUE(database) << database.error().message;

    std::vector<std::string> ours;
    for (const auto& table : (*database)->tables())
        ours.push_back(table.name);
    EXPECT_EQ(ours, MdbTools::tables(path, true));

    for (const auto& table : (*database)->tables())
        compareTable(**database, path, table.name);
}

INSTANTIATE_TEST_SUITE_P(AccessFiles, EveryFixture, ::testing::ValuesIn(mdbFixtureNames()),
                         [](const auto& info) { return info.param.substr(0, info.param.find('.')); });
