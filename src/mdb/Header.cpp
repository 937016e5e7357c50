#include "mdb/Header.h"

#include "mdb/ByteView.h"
#include "mdb/ByteWriter.h"
#include "mdb/Rc4.h"

#include <array>
#include <cmath>
#include <cstring>

namespace mdb {

namespace {

constexpr std::array<uint8_t, 4> kHeaderMaskKey = {0xC7, 0xDA, 0x39, 0x6B};
constexpr std::size_t kVersionOffset = 0x14;
constexpr char kJetSignature[] = "Standard Jet DB";
constexpr char kAceSignature[] = "Standard ACE DB";
constexpr std::size_t kPasswordOffset = 0x42;  // Jet 4, in the masked area
constexpr std::size_t kPasswordLength = 40;
constexpr std::size_t kCreationDateOffset = 0x72;

// The 4 bytes each password byte is XORed with, in turn: the whole days of
// the creation date, little-endian.
std::array<uint8_t, 4> passwordMask(ByteView unmasked)
{
    const auto days = uint32_t(int32_t(std::trunc(unmasked.f64(kCreationDateOffset))));
    return {uint8_t(days), uint8_t(days >> 8), uint8_t(days >> 16), uint8_t(days >> 24)};
}

// Whether the password bytes are the mask alone (an empty password), with
// the mask's first byte at password byte `shift`.
bool emptyPassword(ByteView unmasked, std::size_t shift)
{
    const std::array<uint8_t, 4> mask = passwordMask(unmasked);
    for (std::size_t i = 0; i < kPasswordLength; ++i) {
        if (unmasked.u8(kPasswordOffset + i) != mask[(i + shift) % 4])
            return false;
    }
    return true;
}

}  // namespace

std::vector<uint8_t> unmaskHeader(std::span<const uint8_t> page, const Layout& layout)
{
    std::vector<uint8_t> bytes(page.begin(), page.end());
    const std::size_t end = layout.headerMaskOffset + layout.headerMaskLength;
    if (bytes.size() >= end)
        rc4Apply(kHeaderMaskKey, std::span(bytes).subspan(layout.headerMaskOffset, layout.headerMaskLength));
    return bytes;
}

void writeEmptyPassword(std::vector<uint8_t>& unmaskedPage)
{
    const std::array<uint8_t, 4> mask = passwordMask(ByteView(unmaskedPage));
    ByteWriter writer(unmaskedPage);
    for (std::size_t i = 0; i < kPasswordLength; ++i)
        writer.u8(kPasswordOffset + i, mask[i % 4]);
}

std::vector<uint8_t> alignedPasswordMask(std::span<const uint8_t> page, const Layout& layout)
{
    std::vector<uint8_t> unmasked = unmaskHeader(page, layout);
    writeEmptyPassword(unmasked);
    return unmaskHeader(unmasked, layout);
}

Result<HeaderInfo> readHeader(std::span<const uint8_t> firstBytes)
{
    const ByteView view(firstBytes);
    if (!view.has(0, jet3Layout().pageSize))
        return corruption("header page: the file is too short to be a database (" + std::to_string(view.size()) + " bytes)");
    const bool jet = std::memcmp(view.data() + 4, kJetSignature, sizeof kJetSignature) == 0;
    const bool ace = std::memcmp(view.data() + 4, kAceSignature, sizeof kAceSignature) == 0;
    if (view.u8(0) != 0 || (!jet && !ace))
        return unsupported("header page: not an Access database (no Jet signature)");

    const uint8_t version = view.u8(kVersionOffset);
    if (ace || version >= 2)
        return unsupported("header page: an Access 2007 or later database (.accdb format); only Access 2000-2003 (Jet 4) files are supported");
    if (version == 0)
        return unsupported("header page: an Access 97 database (Jet 3); only Access 2000-2003 (Jet 4) files are supported");

    HeaderInfo info;
    info.layout = &jet4Layout();
    if (!view.has(0, info.layout->pageSize))
        return corruption("header page: the file is too short to be a Jet 4 database (" + std::to_string(view.size()) + " bytes)");
    const std::vector<uint8_t> unmasked = unmaskHeader(firstBytes.first(info.layout->pageSize), *info.layout);
    const ByteView header(unmasked);
    info.codePage = header.u16(info.layout->codePageOffset);
    info.sortOrder = info.layout->sortOrderSize == 4 ? header.u32(info.layout->sortOrderOffset)
                                                      : header.u16(info.layout->sortOrderOffset);
    info.databaseKey = header.u32(info.layout->databaseKeyOffset);
    if (info.databaseKey != 0)
        return unsupported("header page: the database is encrypted; encrypted databases are not supported");
    if (!emptyPassword(header, 0)) {
        // The earlier engine's mask started at the byte of the page offset
        // (0x42 % 4), not at the password's first byte.
        if (!emptyPassword(header, kPasswordOffset % 4))
            return unsupported("header page: the database is protected by a password; remove the password in "
                               "Access (Database Tools, Decrypt Database) to use it here");
        info.misalignedPasswordMask = true;
    }
    return info;
}

}  // namespace mdb
