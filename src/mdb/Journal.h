#pragma once

#include "mdb/FileSystem.h"
#include "mdb/Pager.h"

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
// and is simply emptied. A journal identifies its file by the sizes before
// and after the change and checksums of every page's old and new bytes; a
// journal that does not fit the file now bearing the database's name (a
// backup restored after a crash, say) is never applied: it is set aside
// under another name.
namespace Journal {

std::string pathFor(const std::string& databasePath);

// Whether a journal with content lies beside the database (a change was
// interrupted and must be finished or undone before the file is read).
bool needsRecovery(FileSystem& files, const std::string& databasePath);

// Writes the pager's pending changes to `database` atomically. On failure
// the database is put back as it was (or, when even that fails, left for
// recovery at the next open) and the pending changes are discarded.
Status commit(FileSystem& files, const std::string& databasePath, File& database, Pager& pager);

// What recover() did.
struct Recovery {
    bool undone = false;   // an interrupted change was undone
    std::string setAside;  // a journal that did not fit the file was moved here
};

// Puts back the database's original pages from a complete journal that
// belongs to `database`, and empties the journal; sets aside a journal that
// belongs to another file.
Result<Recovery> recover(FileSystem& files, const std::string& databasePath, File& database, std::size_t pageSize);

}  // namespace Journal

// CRC-32 (the polynomial of zip and PNG) of some bytes.
uint32_t crc32(std::span<const uint8_t> bytes, uint32_t seed = 0);

}  // namespace mdb
