#pragma once

#include "core/db/DatabaseSession.h"
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

// Makes a new database file holding the five tables, and the folders it
// lies in when they are missing; refuses an existing file.
mdb::Status createDatabase(const std::string& path);

// One of the five tables in an open database, checked to hold every column
// Nimbrel keeps in it: the one list of a table's columns that the code
// reading and writing the table relies on.
mdb::Result<SessionTable> table(DatabaseSession& session, const std::string& name);

}  // namespace NimbrelSchema
