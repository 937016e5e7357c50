#include "mdb/Journal.h"

#include "mdb/ByteView.h"

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
constexpr uint32_t kFormatVersion = 2;
// magic, version, page size, size before, size after, page count, checksum
constexpr std::size_t kHeaderSize = 48;
constexpr std::size_t kHeaderChecksumOffset = 44;
// page number, checksum of number and original bytes, checksum of the new bytes
constexpr std::size_t kEntryHeaderSize = 12;

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

uint32_t entryChecksum(uint32_t pageNumber, std::span<const uint8_t> bytes)
{
    std::vector<uint8_t> number;
    put32(number, pageNumber);
    return crc32(bytes, crc32(number));
}

// The journal's bytes: the file's size before and after the change, and
// for every changed page that existed before the change its original bytes
// with checksums of them and of the new bytes. Together they identify the
// file the journal belongs to: at any moment of the change, each page holds
// its original or its new bytes, and the size lies between the two sizes.
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
    put64(journal, std::max<uint64_t>(*size, uint64_t(pager.pageCount()) * pageSize));
    put32(journal, uint32_t(originals.size()));
    put32(journal, crc32(journal));
    std::vector<uint8_t> page(pageSize);
    for (uint32_t pageNumber : originals) {
        if (Status read = database.read(uint64_t(pageNumber) * pageSize, page); !read)
            return read.error();
        put32(journal, pageNumber);
        put32(journal, entryChecksum(pageNumber, page));
        put32(journal, crc32(*pager.changes().at(pageNumber)));
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

// A journal read back: complete when its size and every checksum are right.
struct SavedChange {
    bool complete = false;
    uint64_t sizeBefore = 0;
    uint64_t sizeAfter = 0;
    struct Entry {
        uint32_t page;
        uint32_t originalChecksum;
        uint32_t newChecksum;
        ByteView original;
    };
    std::vector<Entry> entries;
};

SavedChange parseJournal(const std::vector<uint8_t>& bytes, std::size_t pageSize)
{
    SavedChange change;
    const ByteView view(bytes);
    const std::size_t entrySize = kEntryHeaderSize + pageSize;
    if (!view.has(0, kHeaderSize) || std::memcmp(bytes.data(), kMagic, sizeof kMagic) != 0 ||
        view.u32(16) != kFormatVersion || view.u32(20) != pageSize ||
        view.u32(kHeaderChecksumOffset) != crc32(view.sub(0, kHeaderChecksumOffset).span()) ||
        bytes.size() != kHeaderSize + std::size_t(view.u32(40)) * entrySize)
        return change;
    change.sizeBefore = view.u64(24);
    change.sizeAfter = view.u64(32);
    for (std::size_t at = kHeaderSize; at < bytes.size(); at += entrySize) {
        SavedChange::Entry entry{view.u32(at), view.u32(at + 4), view.u32(at + 8),
                                 view.sub(at + kEntryHeaderSize, pageSize)};
        if (entry.originalChecksum != entryChecksum(entry.page, entry.original.span()))
            return change;
        change.entries.push_back(entry);
    }
    change.complete = true;
    return change;
}

// Whether `database` is the file the change was being made to: its size
// between the sizes before and after, each saved page holding its original
// or its new bytes.
Result<bool> belongsTo(const SavedChange& change, File& database, std::size_t pageSize)
{
    auto size = database.size();
    if (!size)
        return size.error();
    if (*size < change.sizeBefore || *size > change.sizeAfter)
        return false;
    std::vector<uint8_t> page(pageSize);
    for (const SavedChange::Entry& entry : change.entries) {
        if (Status read = database.read(uint64_t(entry.page) * pageSize, page); !read)
            return read.error();
        const uint32_t current = crc32(page);
        if (entryChecksum(entry.page, page) != entry.originalChecksum && current != entry.newChecksum)
            return false;
    }
    return true;
}

Status emptyJournal(FileSystem& files, const std::string& journalPath)
{
    auto writable = files.open(journalPath, OpenMode::ReadWrite);
    if (!writable)
        return writable.error();
    if (Status emptied = (*writable)->truncate(0); !emptied)
        return emptied;
    return (*writable)->sync();
}

// Moves a journal that belongs to another file out of the way, under a name
// no other file has.
Result<std::string> setAside(FileSystem& files, const std::string& journalPath)
{
    for (int attempt = 1; attempt < 1000; ++attempt) {
        const std::string target = journalPath + ".stale-" + std::to_string(attempt);
        if (files.exists(target))
            continue;
        if (Status moved = files.renameNoReplace(journalPath, target); !moved)
            return moved.error();
        return target;
    }
    return ioError("cannot find a free name to set aside " + journalPath);
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

Result<Recovery> recover(FileSystem& files, const std::string& databasePath, File& database, std::size_t pageSize)
{
    const std::string journalPath = pathFor(databasePath);
    if (!needsRecovery(files, databasePath))
        return Recovery{};
    std::vector<uint8_t> bytes;
    {
        auto journal = files.open(journalPath, OpenMode::ReadOnly);
        if (!journal)
            return within("cannot read the journal of an interrupted change", journal.error());
        auto size = (*journal)->size();
        if (!size)
            return size.error();
        // A complete journal is never larger than the file it saves pages
        // of, with a header per page; a larger one is not read at all.
        auto databaseSize = database.size();
        if (!databaseSize)
            return databaseSize.error();
        const uint64_t largest = kHeaderSize + (*databaseSize / pageSize) * (kEntryHeaderSize + pageSize);
        if (*size <= largest) {
            bytes.resize(*size);
            if (Status read = (*journal)->read(0, bytes); !read)
                return read.error();
        }
    }

    const SavedChange change = parseJournal(bytes, pageSize);
    Recovery recovery;
    if (change.complete) {
        auto ours = belongsTo(change, database, pageSize);
        if (!ours)
            return ours.error();
        if (!*ours) {
            auto moved = setAside(files, journalPath);
            if (!moved)
                return moved.error();
            recovery.setAside = *moved;
            return recovery;
        }
        // Each page is put back; doing this twice does no harm.
        for (const SavedChange::Entry& entry : change.entries) {
            if (Status written = database.write(uint64_t(entry.page) * pageSize, entry.original.span()); !written)
                return written.error();
        }
        if (Status cut = database.truncate(change.sizeBefore); !cut)
            return cut.error();
        if (Status synced = database.sync(); !synced)
            return synced.error();
        recovery.undone = true;
    }
    if (Status emptied = emptyJournal(files, journalPath); !emptied)
        return emptied.error();
    return recovery;
}

}  // namespace Journal

}  // namespace mdb
