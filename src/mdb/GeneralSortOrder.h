#pragma once

#include "mdb/Result.h"

#include <cstdint>
#include <string>
#include <vector>

namespace mdb {

// The General sort order of Access 2000-2003 text indexes (sort order 0x409,
// version 0; FORMAT.md "Text keys"), for the characters U+0001 to U+00FF:
// the characters of Windows-1252 that Unicode shares with ISO 8859-1.
constexpr uint16_t kGeneralSortOrder = 0x0409;

// What a key makes of blanks at the end of a text: Access leaves them out
// ("A  " has the key of "A"); earlier versions of this engine kept them.
enum class TrailingBlanks { LeftOut, Kept };

// The key bytes of a text, without the column's flag byte: one or two
// codes per character, 0x01, the accent codes (one per character that has
// codes, trailing plain ones left out), then for characters the order
// passes by (control characters, the apostrophe and the hyphens) 01 01 01
// and where each stood, then 0x00. Upper and lower case give the same key.
// A character outside the table (such as the euro sign, or any above
// U+00FF) is refused with an Unsupported error naming it.
Result<std::vector<uint8_t>> generalTextKey(std::u16string text, TrailingBlanks blanks = TrailingBlanks::LeftOut);

}  // namespace mdb
