#pragma once

#include "mdb/DatabaseWriter.h"

#include <functional>

namespace mdb {

// Makes a new Access 2000 (Jet 4) database file at `path`: the header page,
// the global usage map, the catalog (MSysObjects with its indexes and its
// container rows) and the other system tables Access expects (MSysACEs,
// MSysQueries, MSysRelationships), then whatever `populate` adds. The whole
// file is built in memory, written under a temporary name, made durable and
// only then given its name, so that no half-made file ever carries it.
// Refuses to replace an existing file.
Status createDatabase(FileSystem& files, const std::string& path,
                      const std::function<Status(DatabaseWriter&)>& populate = {});
Status createDatabase(const std::string& path, const std::function<Status(DatabaseWriter&)>& populate = {});

}  // namespace mdb
