#include "mdb/Text.h"

#include <algorithm>

namespace mdb {

namespace {

void appendUtf8(std::string& out, char32_t c)
{
    if (c < 0x80) {
        out += char(c);
    } else if (c < 0x800) {
        out += char(0xC0 | (c >> 6));
        out += char(0x80 | (c & 0x3F));
    } else if (c < 0x10000) {
        out += char(0xE0 | (c >> 12));
        out += char(0x80 | ((c >> 6) & 0x3F));
        out += char(0x80 | (c & 0x3F));
    } else {
        out += char(0xF0 | (c >> 18));
        out += char(0x80 | ((c >> 12) & 0x3F));
        out += char(0x80 | ((c >> 6) & 0x3F));
        out += char(0x80 | (c & 0x3F));
    }
}

constexpr char32_t kReplacement = 0xFFFD;

}  // namespace

std::string utf16ToUtf8(const std::u16string& text)
{
    std::string out;
    out.reserve(text.size());
    for (std::size_t i = 0; i < text.size(); ++i) {
        const char16_t unit = text[i];
        if (unit >= 0xD800 && unit <= 0xDBFF && i + 1 < text.size() && text[i + 1] >= 0xDC00 && text[i + 1] <= 0xDFFF) {
            appendUtf8(out, 0x10000 + ((char32_t(unit) - 0xD800) << 10) + (char32_t(text[i + 1]) - 0xDC00));
            ++i;
        } else if (unit >= 0xD800 && unit <= 0xDFFF) {
            appendUtf8(out, kReplacement);
        } else {
            appendUtf8(out, unit);
        }
    }
    return out;
}

std::u16string utf8ToUtf16(const std::string& text)
{
    std::u16string out;
    out.reserve(text.size());
    std::size_t i = 0;
    while (i < text.size()) {
        const auto lead = uint8_t(text[i]);
        int extra = lead < 0x80 ? 0 : (lead & 0xE0) == 0xC0 ? 1 : (lead & 0xF0) == 0xE0 ? 2 : (lead & 0xF8) == 0xF0 ? 3 : -1;
        char32_t c = extra == 0 ? lead : extra == 1 ? lead & 0x1F : extra == 2 ? lead & 0x0F : lead & 0x07;
        bool valid = extra >= 0 && i + std::size_t(extra) < text.size();
        for (int k = 1; valid && k <= extra; ++k) {
            const auto next = uint8_t(text[i + std::size_t(k)]);
            valid = (next & 0xC0) == 0x80;
            c = c << 6 | (next & 0x3F);
        }
        if (!valid) {
            out += char16_t(kReplacement);
            ++i;
            continue;
        }
        i += std::size_t(extra) + 1;
        if (c >= 0x10000 && c <= 0x10FFFF) {
            out += char16_t(0xD800 + ((c - 0x10000) >> 10));
            out += char16_t(0xDC00 + ((c - 0x10000) & 0x3FF));
        } else if (c < 0x10000) {
            out += char16_t(c);
        } else {
            out += char16_t(kReplacement);
        }
    }
    return out;
}

namespace {

// A NUL character ends a text (some programs store a terminator).
std::string untilNul(std::u16string units)
{
    if (const std::size_t nul = units.find(u'\0'); nul != std::u16string::npos)
        units.resize(nul);
    return utf16ToUtf8(units);
}

}  // namespace

std::string utf16leToUtf8(ByteView bytes)
{
    std::u16string units;
    units.reserve(bytes.size() / 2);
    for (std::size_t i = 0; i + 1 < bytes.size(); i += 2)
        units += char16_t(bytes.u16(i));
    return untilNul(std::move(units));
}

std::string decodeText(ByteView bytes)
{
    std::string text;
    decodeTextInto(bytes, text);
    return text;
}

void decodeTextInto(ByteView bytes, std::string& text)
{
    if (!(bytes.size() >= 2 && bytes.u8(0) == 0xFF && bytes.u8(1) == 0xFE)) {
        text = utf16leToUtf8(bytes);
        return;
    }

    // The common case first: compressed text of plain ASCII only, which is
    // its own UTF-8.
    const auto* first = bytes.data() + 2;
    const auto* end = bytes.data() + bytes.size();
    if (std::all_of(first, end, [](uint8_t byte) { return byte > 0x00 && byte < 0x80; })) {
        text.assign(reinterpret_cast<const char*>(first), std::size_t(end - first));
        return;
    }

    std::u16string units;
    bool compressed = true;
    std::size_t i = 2;
    while (i < bytes.size()) {
        if (bytes.u8(i) == 0x00) {
            compressed = !compressed;
            ++i;
        } else if (compressed) {
            units += char16_t(bytes.u8(i));
            ++i;
        } else if (i + 1 < bytes.size()) {
            units += char16_t(bytes.u16(i));
            i += 2;
        } else {
            break;  // a lone byte at the end: not a character
        }
    }
    text = untilNul(std::move(units));
}

std::vector<uint8_t> encodeUcs2(const std::string& utf8)
{
    std::vector<uint8_t> bytes;
    for (char16_t unit : utf8ToUtf16(utf8)) {
        bytes.push_back(uint8_t(unit & 0xFF));
        bytes.push_back(uint8_t(unit >> 8));
    }
    return bytes;
}

std::vector<uint8_t> encodeText(const std::string& utf8, bool allowCompression)
{
    const std::u16string units = utf8ToUtf16(utf8);
    bool compressible = allowCompression && !units.empty();
    for (char16_t unit : units)
        compressible = compressible && unit >= 0x01 && unit <= 0xFF;
    if (!compressible)
        return encodeUcs2(utf8);
    std::vector<uint8_t> bytes{0xFF, 0xFE};
    for (char16_t unit : units)
        bytes.push_back(uint8_t(unit));
    return bytes;
}

}  // namespace mdb
