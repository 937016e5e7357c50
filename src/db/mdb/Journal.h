#pragma once

#include "db/mdb/FileSystem.h"
#include "db/mdb/Pager.h"

#include <string>

namespace mdb {

// Makes every change to the database file all-or-nothing, with a rollback
// journal beside it (FORMAT.md "Journal").
//
// A commit first writes the original bytes of every page it will change,
// and the file's original size, to "<database>.nimbrel-journal" and makes
// that durable; then it writes the new pages into the database and makes
// them durable; then it empties the journal and makes that durable. The
// emptying is the moment of commit. The journal file stays beside the
// database, empty, so that later commits need not create it again.
// Whenever a complete journal is found (after a crash or a failed write),
// recover() puts the original pages back, so the database reads as before
// the change; an incomplete journal means the database was not yet touched
// and is simply emptied.
namespace Journal {

std::string pathFor(const std::string& databasePath);

// Whether a journal with content lies beside the database (a change was
// interrupted and must be finished or undone before the file is read).
bool needsRecovery(FileSystem& files, const std::string& databasePath);

// Writes the pager's pending changes to `database` atomically. On failure
// the database is put back as it was (or, when even that fails, left for
// recovery at the next open) and the pending changes are discarded.
Status commit(FileSystem& files, const std::string& databasePath, File& database, Pager& pager);

// Puts back the database's original pages from a complete journal and
// empties the journal. Returns whether a change was undone.
Result<bool> recover(FileSystem& files, const std::string& databasePath, File& database, std::size_t pageSize);

}  // namespace Journal

// CRC-32 (the polynomial of zip and PNG) of some bytes.
uint32_t crc32(std::span<const uint8_t> bytes, uint32_t seed = 0);

}  // namespace mdb
