#pragma once

#include <cstdint>
#include <vector>

// Opens a database held in memory and walks everything in it: the catalog,
// every table's definition and rows, every index's entries, and a lookup
// through each index; then writes to it: a row added to, changed in and
// deleted from every table. Errors are expected for damaged input; a crash,
// a sanitizer report or a hang is the failure this looks for. Returns the
// number of errors met, for statistics.
int exerciseDatabase(std::vector<uint8_t> bytes);
