#include "db/mdb/GeneralSortOrder.h"

namespace mdb {

namespace {

// Letters sort without regard to case. 0: not confirmed (z).
constexpr uint8_t kLetterCodes[26] = {
    0x4A, 0x4C, 0x4D, 0x4F, 0x51, 0x53, 0x55, 0x57, 0x59, 0x5B, 0x5C, 0x5E, 0x60,  // a..m
    0x62, 0x64, 0x66, 0x68, 0x69, 0x6B, 0x6D, 0x6F, 0x71, 0x73, 0x75, 0x76, 0x00,  // n..z
};
// Digits 0..3; the others are not confirmed.
constexpr uint8_t kDigitCodes[4] = {0x36, 0x38, 0x3A, 0x3C};

}  // namespace

bool appendGeneralSortCode(char16_t c, std::vector<uint8_t>& key)
{
    uint8_t code = 0;
    if (c >= u'a' && c <= u'z')
        code = kLetterCodes[c - u'a'];
    else if (c >= u'A' && c <= u'Z')
        code = kLetterCodes[c - u'A'];
    else if (c >= u'0' && c <= u'3')
        code = kDigitCodes[c - u'0'];
    else if (c == u'_') {
        key.push_back(0x2B);
        key.push_back(0x03);
        return true;
    }
    if (code == 0)
        return false;
    key.push_back(code);
    return true;
}

}  // namespace mdb
