#pragma once

#include "db/mdb/Database.h"

#include <string>
#include <vector>

namespace mdb {

// Checks a database with the engine's own reader (FORMAT.md "Verification"):
//  - every table's rows read, and their number equals the definition's count;
//  - every index's entries are in order, equal in number to the rows (or to
//    the definition's count), point at live rows of the table and carry the
//    keys those rows give;
//  - every table's owned-page map lists exactly the data pages it owns, its
//    free-space map only pages it owns, every index's map exactly the pages
//    of its tree;
//  - no page the global map marks free is in use.
// Returns every problem found, each naming the table, index or page; an
// empty list means the file is consistent.
std::vector<std::string> verifyDatabase(Database& database);

}  // namespace mdb
