// Index lookups must return exactly the rows a full scan finds, and every
// index of the Access-made fixtures must be in order and complete.
#include "MdbTestSupport.h"
#include "mdb/Database.h"
#include "mdb/DatabaseCreator.h"
#include "mdb/IndexTree.h"

#include <algorithm>
#include <cctype>
#include <gtest/gtest.h>
#include <random>
#include <set>

namespace {

using mdb::RowPointer;

// The General sort order ignores case.
bool sameKeyValue(const mdb::Value& a, const mdb::Value& b)
{
    const auto* textA = std::get_if<std::string>(&a);
    const auto* textB = std::get_if<std::string>(&b);
    if (textA && textB) {
        return std::equal(textA->begin(), textA->end(), textB->begin(), textB->end(),
                          [](char x, char y) { return std::tolower(x) == std::tolower(y); });
    }
    return a == b;
}

// The rows a scan finds with `key` in the index's first columns; an index
// that ignores nulls has no entry for a row whose indexed values are all null.
std::set<RowPointer> scanMatches(const std::vector<mdb::Row>& rows, const std::vector<std::size_t>& positions,
                                 const std::vector<mdb::Value>& key, bool ignoresNulls)
{
    std::set<RowPointer> matches;
    for (const mdb::Row& row : rows) {
        if (ignoresNulls && std::all_of(positions.begin(), positions.end(),
                                        [&row](std::size_t at) { return mdb::isNull(row.values[at]); }))
            continue;
        bool equal = true;
        for (std::size_t i = 0; i < key.size() && equal; ++i)
            equal = sameKeyValue(row.values[positions[i]], key[i]);
        if (equal)
            matches.insert(row.location);
    }
    return matches;
}

class IndexesOf : public ::testing::TestWithParam<std::string> {};

}  // namespace

TEST_P(IndexesOf, LookupsFindWhatAScanFinds)
{
    SKIP_WITHOUT_FIXTURES();
    auto database = mdb::Database::open(mdbFixture(GetParam()));
    ASSERT_TRUE(database) << database.error().message;
    int lookups = 0;
    int refused = 0;
    for (const auto& entry : (*database)->tables()) {
        auto table = (*database)->definition(entry.name);
        ASSERT_TRUE(table) << table.error().message;
        auto rows = (*database)->readAll(*table);
        ASSERT_TRUE(rows) << rows.error().message;
        for (const mdb::Index& index : table->indexes) {
            SCOPED_TRACE(entry.name + "." + index.name);
            const mdb::RealIndex& real = table->realIndexes[index.realIndex];
            std::vector<std::size_t> positions;
            for (const auto& column : real.columns)
                positions.push_back(std::size_t(table->columnByNumber(column.columnNumber) - table->columns.data()));
            for (const mdb::Row& row : *rows) {
                // The whole key, and its first column alone.
                for (std::size_t length : {positions.size(), std::size_t(1)}) {
                    std::vector<mdb::Value> key;
                    for (std::size_t i = 0; i < length; ++i)
                        key.push_back(row.values[positions[i]]);
                    auto found = (*database)->find(*table, index.name, key);
                    if (!found) {
                        // Only keys outside the General sort order's table (Greek, Cyrillic, Han).
                        ++refused;
                        EXPECT_EQ(found.error().kind, mdb::ErrorKind::Unsupported) << found.error().message;
                        continue;
                    }
                    std::set<RowPointer> locations;
                    for (const mdb::Row& match : *found)
                        locations.insert(match.location);
                    EXPECT_EQ(locations,
                              scanMatches(*rows, positions, key, real.flags & mdb::RealIndex::kIgnoreNullsFlag));
                    ++lookups;
                }
            }
        }
    }
    EXPECT_GT(lookups, 10 * refused);
}

TEST_P(IndexesOf, EveryIndexIsOrderedAndCoversEveryRow)
{
    SKIP_WITHOUT_FIXTURES();
    auto database = mdb::Database::open(mdbFixture(GetParam()));
    ASSERT_TRUE(database) << database.error().message;
    for (const auto& entry : (*database)->tables()) {
        auto table = (*database)->definition(entry.name);
        ASSERT_TRUE(table) << table.error().message;
        auto rows = (*database)->readAll(*table);
        ASSERT_TRUE(rows) << rows.error().message;
        std::set<RowPointer> rowLocations;
        for (const auto& row : *rows)
            rowLocations.insert(row.location);

        for (const mdb::RealIndex& real : table->realIndexes) {
            SCOPED_TRACE(entry.name + ", index on page " + std::to_string(real.rootPage));
            std::vector<uint8_t> previous;
            std::set<RowPointer> indexed;
            mdb::Status walked = mdb::IndexTree((*database)->pager(), real).forEachEntry([&](const mdb::IndexEntry& e) {
                EXPECT_LE(previous, e.key);
                previous = e.key;
                indexed.insert(e.row);
                return true;
            });
            ASSERT_TRUE(walked) << walked.error().message;
            if (!(real.flags & mdb::RealIndex::kIgnoreNullsFlag)) {
                EXPECT_EQ(indexed, rowLocations);
            }
        }
    }
}

INSTANTIATE_TEST_SUITE_P(AccessFiles, IndexesOf, ::testing::ValuesIn(mdbFixtureNames()),
                         [](const auto& info) { return info.param.substr(0, info.param.find('.')); });
