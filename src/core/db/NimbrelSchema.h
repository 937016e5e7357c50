#pragma once

#include "mdb/DatabaseWriter.h"

#include <QStringList>
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

// The columns of one of the five tables, in the order they are made: the
// one list that the code reading and writing a table takes its columns from.
QStringList columnNames(const std::string& table);

}  // namespace NimbrelSchema
