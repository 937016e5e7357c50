#include "mdb/Database.h"

#include "mdb/DataPage.h"
#include "mdb/IndexKey.h"
#include "mdb/IndexTree.h"
#include "mdb/Journal.h"
#include "mdb/RowDecoder.h"
#include "mdb/UsageMap.h"

#include <chrono>

namespace mdb {

namespace {

constexpr int16_t kTableObjectType = 1;
constexpr uint32_t kPageNumberMask = 0x00FFFFFF;

// Which columns to decode: the named ones, or all when none are named.
Result<std::vector<bool>> columnMask(const TableDefinition& table, const std::vector<std::string>& columns)
{
    std::vector<bool> wanted(table.columns.size(), columns.empty());
    for (const std::string& name : columns) {
        const Column* column = table.column(name);
        if (!column)
            return notFound("table " + table.name + " has no column named " + name);
        wanted[std::size_t(column - table.columns.data())] = true;
    }
    return wanted;
}

template <typename T>
T valueOr(const Value& value, T fallback)
{
    if (const T* v = std::get_if<T>(&value))
        return *v;
    return fallback;
}

}  // namespace

Database::Database(std::unique_ptr<File> file, HeaderInfo header, uint32_t pageCount)
    : file_(std::move(file)), header_(header), pager_(std::make_unique<Pager>(*file_, *header_.layout, pageCount))
{
}

std::string Database::accessLockPath(const std::string& path)
{
    const std::size_t dot = path.find_last_of('.');
    const std::size_t slash = path.find_last_of('/');
    if (dot == std::string::npos || (slash != std::string::npos && dot < slash))
        return path + ".ldb";
    return path.substr(0, dot) + ".ldb";
}

Result<std::unique_ptr<Database>> Database::open(const std::string& path, OpenMode mode)
{
    static DiskFileSystem disk;
    return open(disk, path, mode);
}

Result<std::unique_ptr<Database>> Database::open(FileSystem& files, const std::string& path, OpenMode mode,
                                                 std::chrono::milliseconds lockWait)
{
    if (mode == OpenMode::CreateNew)
        return invalidArgument(path + ": use the database creator to make a new database");
    if (mode == OpenMode::ReadWrite && files.exists(accessLockPath(path)))
        return busy(path + " is open in Access (" + accessLockPath(path) +
                     " exists); close Access, or remove that file if Access is not running");

    // An interrupted change must be undone before anything is read, and that needs writing.
    const bool mustRecover = Journal::needsRecovery(files, path);
    const OpenMode fileMode = mustRecover ? OpenMode::ReadWrite : mode;
    auto file = files.open(path, fileMode);
    if (!file)
        return mustRecover ? within("an interrupted change must be undone but the file cannot be written", file.error())
                           : file.error();
    const LockKind lock = fileMode == OpenMode::ReadOnly ? LockKind::Shared : LockKind::Exclusive;
    if (Status locked = files.lock(**file, lock, lockWait); !locked)
        return locked.error();
    Journal::Recovery recovery;
    if (Journal::needsRecovery(files, path)) {
        auto recovered = Journal::recover(files, path, **file, jet4Layout().pageSize);
        if (!recovered)
            return within(path + ": undoing an interrupted change failed", recovered.error());
        recovery = *recovered;
    }

    auto database = openChecked(std::move(*file));
    if (!database)
        return database.error();
    if (recovery.undone)
        (*database)->notices_.push_back(path + ": a change that was interrupted (by a crash or a failing disk) has "
                                        "been undone; the file reads as it did before that change");
    if (!recovery.setAside.empty())
        (*database)->notices_.push_back(path + ": the journal of an interrupted change did not match this file (it "
                                        "may have been replaced by a copy since) and was not applied; it was set "
                                        "aside as " + recovery.setAside);
    (*database)->files_ = &files;
    (*database)->path_ = path;
    (*database)->mode_ = fileMode;
    return database;
}

Result<std::unique_ptr<Database>> Database::open(std::unique_ptr<File> file)
{
    return openChecked(std::move(file));
}

Result<std::unique_ptr<Database>> Database::openChecked(std::unique_ptr<File> file)
{
    const std::string name = file->name();
    auto size = file->size();
    if (!size)
        return size.error();
    std::vector<uint8_t> first(std::min<uint64_t>(*size, jet4Layout().pageSize));
    if (Status read = file->read(0, first); !read)
        return read.error();
    auto header = readHeader(first);
    if (!header)
        return within(name, header.error());
    const uint64_t pages = *size / header->layout->pageSize;
    if (pages < 3 || pages > kPageNumberMask)
        return corruption(name + ": " + std::to_string(*size) + " bytes is not a whole database");

    std::unique_ptr<Database> database(new Database(std::move(file), *header, uint32_t(pages)));
    if (Status catalog = database->readCatalog(); !catalog)
        return within(name, catalog.error());
    return database;
}

Status Database::commit()
{
    if (broken_)
        return invalidArgument(path_ + ": an earlier change failed; open the database again");
    if (!writable())
        return invalidArgument(path_ + " is open for reading only");
    Status committed = Journal::commit(*files_, path_, *file_, *pager_);
    if (!committed)
        broken_ = true;
    return committed;
}

void Database::rollback()
{
    pager_->discardChanges();
}

Status Database::reloadCatalog()
{
    tables_.clear();
    return readCatalog();
}

Status Database::readCatalog()
{
    auto catalog = readTableDefinition(*pager_, kCatalogPage, "MSysObjects");
    if (!catalog)
        return catalog.error();
    const Column* id = catalog->column("Id");
    const Column* name = catalog->column("Name");
    const Column* type = catalog->column("Type");
    const Column* flags = catalog->column("Flags");
    if (!id || !name || !type || !flags)
        return corruption("the catalog lacks its Id, Name, Type or Flags column");

    const auto position = [&](const Column* c) { return std::size_t(c - catalog->columns.data()); };
    return scan(*catalog, [&](const Row& row) {
        if (valueOr<int16_t>(row.values[position(type)], 0) != kTableObjectType)
            return true;
        TableEntry entry;
        entry.name = valueOr<std::string>(row.values[position(name)], "");
        entry.definitionPage = uint32_t(valueOr<int32_t>(row.values[position(id)], 0)) & kPageNumberMask;
        entry.flags = uint32_t(valueOr<int32_t>(row.values[position(flags)], 0));
        tables_.push_back(entry);
        return true;
    }, {"Id", "Name", "Type", "Flags"});
}

const TableEntry* Database::findTable(const std::string& name) const
{
    for (const TableEntry& entry : tables_) {
        if (entry.name == name)
            return &entry;
    }
    return nullptr;
}

Result<TableDefinition> Database::definition(const std::string& tableName)
{
    const TableEntry* entry = findTable(tableName);
    if (!entry)
        return notFound("no table named " + tableName);
    return readTableDefinition(*pager_, entry->definitionPage, tableName);
}

Status Database::scan(const TableDefinition& table, const std::function<bool(const Row&)>& visit,
                      const std::vector<std::string>& columns)
{
    const std::string where = "table " + table.name;
    auto wanted = columnMask(table, columns);
    if (!wanted)
        return wanted.error();
    auto owned = readUsageMap(*pager_, table.ownedPagesPointer, where + ", owned-page map");
    if (!owned)
        return owned.error();
    const RowDecoder decoder(*pager_, table);
    for (uint32_t pageNumber : owned->pages) {
        auto bytes = pager_->read(pageNumber);
        if (!bytes)
            return within(where, bytes.error());
        const Page page{pageNumber, *bytes};
        // The map may list pages the table no longer uses; only its data pages count.
        if (page.type() != kDataPage || dataPageOwner(page) != table.firstPage)
            continue;
        auto slots = readRowSlots(page, layout());
        if (!slots)
            return within(where, slots.error());
        for (std::size_t i = 0; i < slots->size(); ++i) {
            const RowSlot& slot = (*slots)[i];
            if (slot.deleted)
                continue;
            Row row;
            row.location = RowPointer{pageNumber, uint8_t(i)};
            Page holder;
            auto bytes = slot.overflow ? readRow(*pager_, row.location, holder)
                                       : Result<ByteView>(page.view().sub(slot.start, std::size_t(slot.end - slot.start)));
            if (!bytes)
                return within(where, bytes.error());
            auto values = decoder.decode(*bytes, &*wanted);
            if (!values)
                return within(where + ", data page " + std::to_string(pageNumber) + ", row " + std::to_string(i),
                              values.error());
            row.values = std::move(*values);
            if (!visit(row))
                return Status::success();
        }
    }
    return Status::success();
}

Result<std::vector<Row>> Database::readAll(const TableDefinition& table)
{
    std::vector<Row> rows;
    Status scanned = scan(table, [&rows](const Row& row) {
        rows.push_back(row);
        return true;
    });
    if (!scanned)
        return scanned.error();
    return rows;
}

Result<Row> Database::readRowAt(const TableDefinition& table, RowPointer location,
                               const std::vector<std::string>& columns)
{
    auto wanted = columnMask(table, columns);
    if (!wanted)
        return wanted.error();
    Page holder;
    auto bytes = readRow(*pager_, location, holder);
    if (!bytes)
        return within("table " + table.name, bytes.error());
    if (dataPageOwner(holder) != table.firstPage)
        return corruption("table " + table.name + ": data page " + std::to_string(holder.number) + " belongs to another table");
    auto values = RowDecoder(*pager_, table).decode(*bytes, &*wanted);
    if (!values)
        return within("table " + table.name, values.error());
    return Row{location, std::move(*values)};
}

Result<std::vector<Row>> Database::find(const TableDefinition& table, const std::string& indexName,
                                        const std::vector<Value>& key)
{
    const Index* index = table.index(indexName);
    if (!index)
        return notFound("table " + table.name + " has no index named " + indexName);
    auto form = indexTreeForm(*pager_, table.realIndexes[index->realIndex].rootPage);
    if (!form)
        return within("table " + table.name + ", index " + indexName, form.error());
    PagerIndexPages pages(*pager_, *form);
    return findRows(*this, pages, table, indexName, key);
}

namespace {

// Asks the pager for the data pages of the rows from `first` on, up to
// kPrefetchedPages different pages; returns where the next request begins.
std::size_t prefetchPages(Pager& pager, const std::vector<RowPointer>& rows, std::size_t first)
{
    constexpr std::size_t kPrefetchedPages = 64;
    std::vector<uint32_t> pages;
    std::size_t end = first;
    for (; end < rows.size(); ++end) {
        if (pages.empty() || pages.back() != rows[end].page) {
            if (pages.size() == kPrefetchedPages)
                break;
            pages.push_back(rows[end].page);
        }
    }
    pager.prefetch(std::move(pages));
    return end;
}

}  // namespace

Status Database::scanRangeViews(const TableDefinition& table, const std::string& indexName,
                                const std::vector<Value>& low, const std::vector<Value>& high,
                                const std::function<bool(const RowView&)>& visit)
{
    const Index* index = table.index(indexName);
    if (!index)
        return notFound("table " + table.name + " has no index named " + indexName);
    const std::string where = "table " + table.name + ", index " + indexName;
    const RealIndex& real = table.realIndexes[index->realIndex];
    auto lowKey = encodeKey(table, real, low);
    if (!lowKey)
        return within(where, lowKey.error());
    auto highKey = encodeKey(table, real, high);
    if (!highKey)
        return within(where, highKey.error());
    auto pointers = IndexTree(*pager_, real).range(*lowKey, *highKey);
    if (!pointers)
        return within(where, pointers.error());
    return visitRows(table, *pointers, visit);
}

Status Database::visitRows(const TableDefinition& table, const std::vector<RowPointer>& locations,
                           const std::function<bool(const RowView&)>& visit)
{
    const RowDecoder decoder(*pager_, table);
    RowReader reader(*pager_);
    std::size_t prefetched = 0;  // the rows whose pages have been asked for
    for (std::size_t i = 0; i < locations.size(); ++i) {
        const RowPointer location = locations[i];
        if (i == prefetched)
            prefetched = prefetchPages(*pager_, locations, i);
        auto bytes = reader.read(location);
        if (!bytes)
            return within("table " + table.name, bytes.error());
        if (dataPageOwner(reader.page()) != table.firstPage)
            return corruption("table " + table.name + ": data page " + std::to_string(reader.page().number) +
                              " belongs to another table");
        auto view = decoder.view(*bytes, location);
        if (!view)
            return within("table " + table.name, view.error());
        if (!visit(*view))
            break;
    }
    return Status::success();
}

Status Database::scanRange(const TableDefinition& table, const std::string& indexName,
                           const std::vector<Value>& low, const std::vector<Value>& high,
                           const std::function<bool(const Row&)>& visit, const std::vector<std::string>& columns)
{
    auto positions = columnPositions(table, columns);
    if (!positions)
        return positions.error();
    ViewDecoding rows(table, std::move(*positions), visit);
    return rows.finish(scanRangeViews(table, indexName, low, high, rows.visitor()));
}

Result<std::vector<std::size_t>> columnPositions(const TableDefinition& table, const std::vector<std::string>& names)
{
    auto wanted = columnMask(table, names);
    if (!wanted)
        return wanted.error();
    std::vector<std::size_t> positions;
    for (std::size_t i = 0; i < wanted->size(); ++i) {
        if ((*wanted)[i])
            positions.push_back(i);
    }
    return positions;
}

ViewDecoding::ViewDecoding(const TableDefinition& table, std::vector<std::size_t> positions,
                           const std::function<bool(const Row&)>& visit)
    : table_(table), positions_(std::move(positions)), visit_(visit)
{
    row_.values.resize(table.columns.size());
}

std::function<bool(const RowView&)> ViewDecoding::visitor()
{
    return [this](const RowView& view) {
        decoded_ = view.decodeInto(positions_, row_.values);
        if (!decoded_)
            return false;
        row_.location = view.location();
        return visit_(row_);
    };
}

Status ViewDecoding::finish(const Status& walked) const
{
    if (!decoded_)
        return within("table " + table_.name, decoded_.error());
    return walked;
}

Result<std::vector<Row>> findRows(Database& database, IndexPages& pages, const TableDefinition& table,
                                  const std::string& indexName, const std::vector<Value>& key)
{
    const Index* index = table.index(indexName);
    if (!index)
        return notFound("table " + table.name + " has no index named " + indexName);
    const RealIndex& real = table.realIndexes[index->realIndex];
    auto encoded = encodeKey(table, real, key);
    if (!encoded)
        return within("table " + table.name + ", index " + indexName, encoded.error());
    IndexTree tree(pages, real, database.pager().pageCount());
    auto pointers = tree.find(*encoded);
    if (!pointers)
        return within("table " + table.name + ", index " + indexName, pointers.error());
    // A text ending in blanks may also stand under the key earlier versions wrote.
    if (const auto earlier = earlierFormKey(table, real, key, *encoded)) {
        auto more = tree.find(*earlier);
        if (!more)
            return within("table " + table.name + ", index " + indexName, more.error());
        pointers->insert(pointers->end(), more->begin(), more->end());
    }
    std::vector<Row> rows;
    for (RowPointer pointer : *pointers) {
        auto row = database.readRowAt(table, pointer);
        if (!row)
            return row.error();
        rows.push_back(std::move(*row));
    }
    return rows;
}

}  // namespace mdb
