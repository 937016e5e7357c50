#pragma once

#include <cstdint>
#include <vector>

namespace mdb {

// The General sort order of Access 2000-2003 text indexes (sort order 0x409,
// version 0; FORMAT.md "Text keys").
constexpr uint16_t kGeneralSortOrder = 0x0409;
constexpr uint8_t kGeneralTextEnd = 0x01;   // ends the characters' codes
constexpr uint8_t kGeneralExtraEnd = 0x00;  // ends the (here empty) extra codes

// Appends the code of a character in the General sort order. Returns false,
// appending nothing, for a character the table does not cover: the table
// holds only codes confirmed in files written by Access itself.
bool appendGeneralSortCode(char16_t c, std::vector<uint8_t>& key);

}  // namespace mdb
