#include "db/mdb/Journal.h"

#include "db/mdb/ByteView.h"

#include <array>
#include <cstring>

namespace mdb {

uint32_t crc32(std::span<const uint8_t> bytes, uint32_t seed)
{
    static const std::array<uint32_t, 256> table = [] {
        std::array<uint32_t, 256> values{};
        for (uint32_t i = 0; i < 256; ++i) {
            uint32_t c = i;
            for (int k = 0; k < 8; ++k)
                c = (c & 1) ? 0xEDB88320u ^ (c >> 1) : c >> 1;
            values[i] = c;
        }
        return values;
    }();
    uint32_t crc = ~seed;
    for (uint8_t byte : bytes)
        crc = table[(crc ^ byte) & 0xFF] ^ (crc >> 8);
    return ~crc;
}

namespace Journal {

namespace {

constexpr char kMagic[16] = "Nimbrel journal";
constexpr uint32_t kFormatVersion = 1;
constexpr std::size_t kHeaderSize = 40;  // magic, version, page size, file size, entries, checksum
constexpr std::size_t kEntryHeaderSize = 8;  // page number, checksum

void put32(std::vector<uint8_t>& out, uint32_t value)
{
    for (int i = 0; i < 4; ++i)
        out.push_back(uint8_t(value >> (8 * i)));
}

void put64(std::vector<uint8_t>& out, uint64_t value)
{
    put32(out, uint32_t(value));
    put32(out, uint32_t(value >> 32));
}

// The journal's bytes: the original content of every changed page that
// existed before the change, and the original size of the file.
Result<std::vector<uint8_t>> buildJournal(Pager& pager, File& database)
{
    auto size = database.size();
    if (!size)
        return size.error();
    const std::size_t pageSize = pager.pageSize();
    std::vector<uint32_t> originals;
    for (const auto& [pageNumber, bytes] : pager.changes()) {
        if (uint64_t(pageNumber + 1) * pageSize <= *size)
            originals.push_back(pageNumber);
    }

    std::vector<uint8_t> journal(kMagic, kMagic + sizeof kMagic);
    put32(journal, kFormatVersion);
    put32(journal, uint32_t(pageSize));
    put64(journal, *size);
    put32(journal, uint32_t(originals.size()));
    put32(journal, crc32(journal));
    std::vector<uint8_t> page(pageSize);
    for (uint32_t pageNumber : originals) {
        if (Status read = database.read(uint64_t(pageNumber) * pageSize, page); !read)
            return read.error();
        std::vector<uint8_t> entry;
        put32(entry, pageNumber);
        put32(journal, pageNumber);
        put32(journal, crc32(page, crc32(entry)));
        journal.insert(journal.end(), page.begin(), page.end());
    }
    return journal;
}

Status writeAndSync(File& file, uint64_t offset, std::span<const uint8_t> bytes)
{
    if (Status written = file.write(offset, bytes); !written)
        return written;
    return file.sync();
}

Status writeChanges(Pager& pager, File& database)
{
    const std::size_t pageSize = pager.pageSize();
    for (const auto& [pageNumber, bytes] : pager.changes()) {
        if (Status written = database.write(uint64_t(pageNumber) * pageSize, *bytes); !written)
            return written;
    }
    return database.sync();
}

}  // namespace

std::string pathFor(const std::string& databasePath)
{
    return databasePath + ".nimbrel-journal";
}

bool needsRecovery(FileSystem& files, const std::string& databasePath)
{
    const std::string journalPath = pathFor(databasePath);
    if (!files.exists(journalPath))
        return false;
    auto journal = files.open(journalPath, OpenMode::ReadOnly);
    if (!journal)
        return true;  // let the recovery report why it cannot read it
    auto size = (*journal)->size();
    return !size || *size > 0;
}

namespace {

// The journal file, empty, ready for a change.
Result<std::unique_ptr<File>> openEmptyJournal(FileSystem& files, const std::string& journalPath)
{
    if (files.exists(journalPath)) {
        auto journal = files.open(journalPath, OpenMode::ReadWrite);
        if (!journal)
            return journal.error();
        if (Status emptied = (*journal)->truncate(0); !emptied)
            return emptied.error();
        return journal;
    }
    auto journal = files.open(journalPath, OpenMode::CreateNew);
    if (!journal)
        return journal.error();
    if (Status synced = files.syncFolderOf(journalPath); !synced)
        return synced.error();
    return journal;
}

}  // namespace

Status commit(FileSystem& files, const std::string& databasePath, File& database, Pager& pager)
{
    if (!pager.hasChanges())
        return Status::success();
    const std::string journalPath = pathFor(databasePath);
    auto journalBytes = buildJournal(pager, database);
    if (!journalBytes) {
        pager.discardChanges();
        return journalBytes.error();
    }
    auto journal = openEmptyJournal(files, journalPath);
    if (!journal) {
        pager.discardChanges();
        return within("cannot start the change", journal.error());
    }
    if (Status prepared = writeAndSync(**journal, 0, *journalBytes); !prepared) {
        // The database is untouched; a journal left half-written is emptied
        // at the next open.
        (void)(*journal)->truncate(0);
        pager.discardChanges();
        return prepared;
    }

    if (Status written = writeChanges(pager, database); !written) {
        journal->reset();
        pager.discardChanges();
        // Put the database back now; if that fails too, the next open will.
        if (auto undone = recover(files, databasePath, database, pager.pageSize()); !undone)
            return ioError(written.error().message + "; the change will be undone when the database is next opened");
        return written;
    }
    Status done = (*journal)->truncate(0);
    if (done)
        done = (*journal)->sync();
    if (!done) {
        pager.discardChanges();
        return done;
    }
    pager.acceptChanges();
    return Status::success();
}

Result<bool> recover(FileSystem& files, const std::string& databasePath, File& database, std::size_t pageSize)
{
    const std::string journalPath = pathFor(databasePath);
    if (!needsRecovery(files, databasePath))
        return false;
    auto journal = files.open(journalPath, OpenMode::ReadOnly);
    if (!journal)
        return within("cannot read the journal of an interrupted change", journal.error());
    auto size = (*journal)->size();
    if (!size)
        return size.error();
    std::vector<uint8_t> bytes(*size);
    if (Status read = (*journal)->read(0, bytes); !read)
        return read.error();
    journal->reset();

    const ByteView view(bytes);
    const std::size_t entrySize = kEntryHeaderSize + pageSize;
    bool complete = view.has(0, kHeaderSize) && std::memcmp(bytes.data(), kMagic, sizeof kMagic) == 0 &&
                    view.u32(16) == kFormatVersion && view.u32(20) == pageSize &&
                    view.u32(36) == crc32(std::span(bytes).first(36)) &&
                    bytes.size() == kHeaderSize + std::size_t(view.u32(32)) * entrySize;
    for (std::size_t at = kHeaderSize; complete && at < bytes.size(); at += entrySize)
        complete = view.u32(at + 4) == crc32(view.sub(at + kEntryHeaderSize, pageSize).span(), crc32(view.sub(at, 4).span()));

    if (complete) {
        // Each page is put back; doing this twice does no harm.
        for (std::size_t at = kHeaderSize; at < bytes.size(); at += entrySize) {
            const uint64_t offset = uint64_t(view.u32(at)) * pageSize;
            if (Status written = database.write(offset, view.sub(at + kEntryHeaderSize, pageSize).span()); !written)
                return written.error();
        }
        if (Status cut = database.truncate(view.u64(24)); !cut)
            return cut.error();
        if (Status synced = database.sync(); !synced)
            return synced.error();
    }
    auto writable = files.open(journalPath, OpenMode::ReadWrite);
    if (!writable)
        return writable.error();
    if (Status emptied = (*writable)->truncate(0); !emptied)
        return emptied.error();
    if (Status synced = (*writable)->sync(); !synced)
        return synced.error();
    return complete;
}

}  // namespace Journal

}  // namespace mdb
