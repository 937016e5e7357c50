#pragma once

#include "mdb/ByteView.h"

#include <cstdint>
#include <string>
#include <vector>

namespace mdb {

// Text as the Jet 4 format stores it (FORMAT.md "Text"): UCS-2
// little-endian, or, when it starts with the marker FF FE, compressed: runs of
// characters below U+0100 stored one byte each, switched to and from runs of
// two-byte characters by a 0x00 byte.
std::string decodeText(ByteView bytes);
// The same into `text`, whose storage is reused.
void decodeTextInto(ByteView bytes, std::string& text);

// UCS-2 little-endian bytes (names in table definitions), to UTF-8.
std::string utf16leToUtf8(ByteView bytes);

// UTF-8 to UTF-16 code units; invalid sequences become U+FFFD.
std::u16string utf8ToUtf16(const std::string& text);
std::string utf16ToUtf8(const std::u16string& text);

// The UCS-2 little-endian bytes of a text, uncompressed.
std::vector<uint8_t> encodeUcs2(const std::string& utf8);

// The compressed form when every character is in U+0001..U+00FF (one byte
// each, after the marker); otherwise the plain UCS-2 form.
std::vector<uint8_t> encodeText(const std::string& utf8, bool allowCompression);

}  // namespace mdb
