#pragma once

#include "mdb/DatabaseWriter.h"

#include <cstdint>
#include <string>
#include <vector>

// The Access-made databases of the shared fixture folder.
std::vector<std::string> mdbFixtureNames();
std::string mdbFixture(const std::string& name);
std::vector<uint8_t> mdbFixtureBytes(const std::string& name);

// Whether the shared fixture folder is here; a plain clone has none.
bool haveFixtures();

// Skips a test that needs the shared fixture folder, with one line saying so
// (the same as the core tests' macro of this name, where both are included).
#ifndef SKIP_WITHOUT_FIXTURES
#define SKIP_WITHOUT_FIXTURES()                                                                        \
    do {                                                                                               \
        if (!haveFixtures())                                                                           \
            GTEST_SKIP() << "needs the shared fixture folder " NIMBREL_FIXTURES_DIR ", absent here";   \
    } while (0)
#endif

std::vector<uint8_t> fileBytes(const std::string& path);

// A database made by this engine in memory, for tests that damage files: a
// table "Log" of the common column types (a text, a memo with values inline
// and on pages of their own, numbers, a date, yes/no) with
// indexes over a number, a text and a pair, filled with `rows` rows that
// were appended, changed and deleted.
std::vector<uint8_t> madeDatabaseBytes(int rows = 400);

// Rewrites a Jet 4 database image as earlier versions of this engine wrote
// it: the links and prefix length of every index page 4 bytes early, and the
// empty password's mask misaligned. Only for files written by this engine.
void toEarlierEngineForm(std::vector<uint8_t>& bytes);

// Appends, changes and deletes rows of a table so that every column and
// index is touched: `rows` appends with values made from each column's type
// (unique where an index may require it), then changes to every third new
// row's values (indexed ones too) and deletes every fifth. Returns the first
// failure.
mdb::Status exerciseTable(mdb::DatabaseWriter& writer, const std::string& table, int rows);
