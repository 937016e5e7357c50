#pragma once

#include "mdb/Database.h"

#include <string>
#include <vector>

namespace mdb {

// What a check of a database found (FORMAT.md "Verification").
struct VerifyReport {
    // Faults: rows an index misses, index entries without their row or with
    // another key, pages both in use and free, maps that lose pages, index
    // pages other programs cannot read. Any of these means the file is not
    // consistent.
    std::vector<std::string> problems;
    // What Access itself leaves behind and keeps working with: counts it
    // updates lazily, freed pages still holding deleted rows, unused slots
    // of a map by reference.
    std::vector<std::string> notes;
};

// Checks a database with the engine's own reader:
//  - every table's rows read, and their number equals the definition's count;
//  - every index's entries are in order, one per row (an ignore-nulls index
//    leaves out rows whose indexed values are all null), each pointing at a
//    live row of the table and carrying the key that row gives;
//  - every table's owned-page map lists the data pages holding its rows, its
//    free-space map only pages it owns, every index's map exactly the pages
//    of its tree;
//  - no page the global map marks free is in use.
// Each finding names the table, index or page. The rows are streamed, not
// held: memory stays small whatever the size of the file.
VerifyReport verifyDatabase(Database& database);

}  // namespace mdb
