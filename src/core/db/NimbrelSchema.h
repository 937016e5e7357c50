#pragma once

#include "mdb/DatabaseWriter.h"

#include <string>

// The tables of a Nimbrel database and the indexes that keep its queries
// fast: History (one row per logged reading), Sources, Favorites, Traces and
// DayDiary. The indexes change no result, only speed.
namespace NimbrelSchema {

// The names of the five tables, in the order they are made.
const std::vector<std::string>& tableNames();

// Adds the five tables with their indexes.
mdb::Status createTables(mdb::DatabaseWriter& writer);

// Makes a new database file holding the five tables; refuses an existing file.
mdb::Status createDatabase(const std::string& path);

// Adds to an existing database whatever of the five tables it lacks, and
// the indexes its tables lack (a database a user made in Access). Tables
// are matched by name; a table's missing index is added over the same columns.
mdb::Status completeDatabase(mdb::DatabaseWriter& writer, mdb::Database& database);

}  // namespace NimbrelSchema
