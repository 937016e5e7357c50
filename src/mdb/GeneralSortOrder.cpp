#include "mdb/GeneralSortOrder.h"

#include <array>
#include <cstdio>

namespace mdb {

namespace {

// How one character enters a key.
struct CharacterCodes {
    enum class Kind : uint8_t { None, Sorted, PassedBy };
    Kind kind = Kind::None;
    uint8_t codes[2] = {0, 0};  // Sorted: one or two sort codes (0 = none)
    uint8_t accent = kNoAccent;  // Sorted: the accent code
    uint8_t passedBy = 0;        // PassedBy: the character's code in the last part

    static constexpr uint8_t kNoAccent = 0x02;
};

constexpr uint8_t kTextEnd = 0x01;
constexpr uint8_t kKeyEnd = 0x00;
constexpr uint8_t kPassedByMarker = 0x06;

using Table = std::array<CharacterCodes, 256>;

void sorted(Table& table, char16_t c, uint8_t first, uint8_t second = 0, uint8_t accent = CharacterCodes::kNoAccent)
{
    table[c] = {CharacterCodes::Kind::Sorted, {first, second}, accent, 0};
}

void passedBy(Table& table, char16_t c, uint8_t code)
{
    table[c] = {CharacterCodes::Kind::PassedBy, {0, 0}, CharacterCodes::kNoAccent, code};
}

// One accented family: the letters `from`..`from + accents.size() - 1`
// share the base letter's codes and differ by accent.
void family(Table& table, char16_t from, std::initializer_list<uint8_t> accents, uint8_t base, uint8_t second = 0)
{
    char16_t c = from;
    for (uint8_t accent : accents)
        sorted(table, c++, base, second, accent);
}

// The codes read from index keys that Access 2000 and 2003 wrote: a text
// of every character U+0001 to U+00FF, names with blanks, digits,
// punctuation and accented letters.
Table buildTable()
{
    Table table{};
    for (char16_t c = 0x01; c <= 0x08; ++c)
        passedBy(table, c, uint8_t(0x03 + (c - 0x01)));
    for (char16_t c = 0x09; c <= 0x0D; ++c)  // tab, line feed ... carriage return
        sorted(table, c, 0x08, uint8_t(0x03 + (c - 0x09)));
    for (char16_t c = 0x0E; c <= 0x1F; ++c)
        passedBy(table, c, uint8_t(0x0B + (c - 0x0E)));
    const char16_t punctuation[] = u" !\"#$%&()*+,./:;<=>?@[\\]";
    const uint8_t punctuationCodes[] = {0x07, 0x09, 0x0A, 0x0C, 0x0E, 0x10, 0x12, 0x14, 0x16, 0x18, 0x2C, 0x1A, 0x1C,
                                        0x1E, 0x20, 0x22, 0x2E, 0x30, 0x32, 0x24, 0x26, 0x27, 0x29, 0x2A};
    for (std::size_t i = 0; i < std::size(punctuationCodes); ++i)
        sorted(table, punctuation[i], punctuationCodes[i]);
    passedBy(table, u'\'', 0x80);
    passedBy(table, u'-', 0x82);
    for (char16_t d = 0; d < 10; ++d)
        sorted(table, char16_t(u'0' + d), uint8_t(0x36 + 2 * d));
    const uint8_t letters[26] = {0x4A, 0x4C, 0x4D, 0x4F, 0x51, 0x53, 0x55, 0x57, 0x59, 0x5B, 0x5C, 0x5E, 0x60,
                                 0x62, 0x64, 0x66, 0x68, 0x69, 0x6B, 0x6D, 0x6F, 0x71, 0x73, 0x75, 0x76, 0x78};
    for (char16_t l = 0; l < 26; ++l) {
        sorted(table, char16_t(u'A' + l), letters[l]);
        sorted(table, char16_t(u'a' + l), letters[l]);
    }
    const char16_t symbols[] = u"^_`{|}~";
    const uint8_t symbolCodes[] = {0x02, 0x03, 0x07, 0x09, 0x0B, 0x0D, 0x0F};
    for (std::size_t i = 0; i < std::size(symbolCodes); ++i)
        sorted(table, symbols[i], 0x2B, symbolCodes[i]);
    passedBy(table, 0x7F, 0x1D);
    for (char16_t c = 0x80; c <= 0x9F; ++c)
        passedBy(table, c, uint8_t(0x1E + (c - 0x80)));

    // U+00A0 to U+00BF: signs and symbols.
    struct Sign {
        char16_t c;
        uint8_t first, second, accent;
    };
    const Sign signs[] = {
        {0xA0, 0x08, 0x02, 0x02}, {0xA1, 0x2B, 0x10, 0x02}, {0xA2, 0x34, 0xA6, 0x02}, {0xA3, 0x34, 0xA7, 0x02},
        {0xA4, 0x34, 0xA8, 0x02}, {0xA5, 0x34, 0xA9, 0x02}, {0xA6, 0x2B, 0x11, 0x02}, {0xA7, 0x34, 0xAA, 0x02},
        {0xA8, 0x2B, 0x12, 0x02}, {0xA9, 0x34, 0xAB, 0x02}, {0xAA, 0x4A, 0x00, 0x03}, {0xAB, 0x33, 0x05, 0x02},
        {0xAC, 0x34, 0xAC, 0x02}, {0xAE, 0x34, 0xAD, 0x02}, {0xAF, 0x2B, 0x13, 0x02}, {0xB0, 0x34, 0xAE, 0x02},
        {0xB1, 0x33, 0x04, 0x02}, {0xB2, 0x3A, 0x00, 0x02}, {0xB3, 0x3C, 0x00, 0x02}, {0xB4, 0x2B, 0x14, 0x02},
        {0xB5, 0x34, 0xAF, 0x02}, {0xB6, 0x34, 0xB0, 0x02}, {0xB7, 0x34, 0xB1, 0x02}, {0xB8, 0x2B, 0x15, 0x02},
        {0xB9, 0x38, 0x00, 0x02}, {0xBA, 0x64, 0x00, 0x03}, {0xBB, 0x33, 0x07, 0x02}, {0xBC, 0x37, 0x12, 0x02},
        {0xBD, 0x37, 0x16, 0x02}, {0xBE, 0x37, 0x1A, 0x02}, {0xBF, 0x2B, 0x16, 0x02},
    };
    for (const Sign& sign : signs)
        sorted(table, sign.c, sign.first, sign.second, sign.accent);
    passedBy(table, 0xAD, 0x83);  // soft hyphen

    // U+00C0 to U+00FF: letters with accents, upper case then lower case.
    for (char16_t base : {char16_t(0xC0), char16_t(0xE0)}) {
        family(table, base + 0x00, {0x0F, 0x0E, 0x12, 0x19, 0x13, 0x1A}, 0x4A);  // A grave .. A ring
        sorted(table, base + 0x06, 0x4A, 0x51);                                  // AE
        sorted(table, base + 0x07, 0x4D, 0, 0x1C);                               // C cedilla
        family(table, base + 0x08, {0x0F, 0x0E, 0x12, 0x13}, 0x51);              // E
        family(table, base + 0x0C, {0x0F, 0x0E, 0x12, 0x13}, 0x59);              // I
        sorted(table, base + 0x10, 0x4F, 0, 0x68);                               // Eth
        sorted(table, base + 0x11, 0x62, 0, 0x19);                               // N tilde
        family(table, base + 0x12, {0x0F, 0x0E, 0x12, 0x19, 0x13}, 0x64);        // O
        sorted(table, base + 0x18, 0x64, 0, 0x21);                               // O stroke
        family(table, base + 0x19, {0x0F, 0x0E, 0x12, 0x13}, 0x6F);              // U
        sorted(table, base + 0x1D, 0x76, 0, 0x0E);                               // Y acute
        sorted(table, base + 0x1E, 0x6D, 0x57);                                  // Thorn
    }
    sorted(table, 0xD7, 0x33, 0x09);  // multiplication sign
    sorted(table, 0xDF, 0x6B, 0x6B);  // sharp s
    sorted(table, 0xF7, 0x33, 0x0A);  // division sign
    sorted(table, 0xFF, 0x76, 0, 0x13);  // y diaeresis
    return table;
}

const Table& codeTable()
{
    static const Table table = buildTable();
    return table;
}

}  // namespace

Result<std::vector<uint8_t>> generalTextKey(std::u16string text, TrailingBlanks blanks)
{
    if (blanks == TrailingBlanks::LeftOut) {
        while (!text.empty() && text.back() == u' ')
            text.pop_back();
    }
    const Table& table = codeTable();
    std::vector<uint8_t> key;
    std::vector<uint8_t> accents;
    std::vector<uint8_t> passed;
    std::size_t sortedCount = 0;
    for (char16_t c : text) {
        const CharacterCodes* codes = c < table.size() ? &table[c] : nullptr;
        if (!codes || codes->kind == CharacterCodes::Kind::None) {
            char name[16];
            std::snprintf(name, sizeof name, "U+%04X", unsigned(c));
            return unsupported(std::string("the text holds the character ") + name +
                               ", which Access's General sort order has no code for here");
        }
        if (codes->kind == CharacterCodes::Kind::PassedBy) {
            // Where it stood: 0x8000 + 7 + 4 for each sorted character before it.
            const std::size_t position = 0x8000 + 7 + 4 * sortedCount;
            passed.insert(passed.end(), {uint8_t(position >> 8), uint8_t(position), kPassedByMarker, codes->passedBy});
            continue;
        }
        key.push_back(codes->codes[0]);
        if (codes->codes[1] != 0)
            key.push_back(codes->codes[1]);
        accents.push_back(codes->accent);
        ++sortedCount;
    }
    while (!accents.empty() && accents.back() == CharacterCodes::kNoAccent)
        accents.pop_back();
    key.push_back(kTextEnd);
    key.insert(key.end(), accents.begin(), accents.end());
    if (!passed.empty()) {
        key.insert(key.end(), {kTextEnd, kTextEnd, kTextEnd});
        key.insert(key.end(), passed.begin(), passed.end());
    }
    key.push_back(kKeyEnd);
    return key;
}

}  // namespace mdb
