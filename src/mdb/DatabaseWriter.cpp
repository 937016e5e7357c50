#include "mdb/DatabaseWriter.h"

#include "mdb/DataPage.h"
#include "mdb/DataPageEditor.h"
#include "mdb/RowDecoder.h"
#include "mdb/UsageMap.h"
#include "mdb/Verifier.h"

#include <atomic>
#include <chrono>
#include <ctime>

namespace mdb {

namespace {

constexpr int16_t kTableType = 1;

std::atomic<bool> verifyCommits{false};

// A new empty usage map row, on `mapPage` while it has room.
Result<uint32_t> newMapRow(Pager& pager, PageAllocator& allocator, uint32_t& mapPage)
{
    const std::vector<uint8_t> map = UsageMapEditor::emptyInlineMap();
    if (mapPage != 0) {
        auto editor = DataPageEditor::edit(pager, mapPage);
        if (!editor)
            return editor.error();
        if (editor->canInsert(map.size())) {
            auto row = editor->insert(map);
            if (!row)
                return row.error();
            return RowPointer{mapPage, *row}.pack();
        }
    }
    auto allocated = allocator.allocateDataPage(kUsageMapOwner);
    if (!allocated)
        return allocated.error();
    mapPage = *allocated;
    auto editor = DataPageEditor::edit(pager, mapPage);
    if (!editor)
        return editor.error();
    auto row = editor->insert(map);
    if (!row)
        return row.error();
    return RowPointer{mapPage, *row}.pack();
}

}  // namespace

DateTime now()
{
    const std::time_t seconds = std::chrono::system_clock::to_time_t(std::chrono::system_clock::now());
    std::tm local{};
    localtime_r(&seconds, &local);
    return fromLocalDateTime({local.tm_year + 1900, local.tm_mon + 1, local.tm_mday, local.tm_hour, local.tm_min,
                              local.tm_sec});
}

Result<TableDefinition> makeTable(Pager& pager, IndexPageCache& indexPages, PageAllocator& allocator,
                                  UsageMapEditor& maps, uint32_t definitionPage, const std::string& name,
                                  const std::vector<ColumnSpec>& columns, const std::vector<IndexSpec>& indexes,
                                  bool system)
{    TableDefinition table;
    table.name = name;
    table.firstPage = definitionPage;
    table.tableType = system ? 0x53 : 0x4E;
    uint32_t mapPage = 0;
    auto owned = newMapRow(pager, allocator, mapPage);
    auto free = owned ? newMapRow(pager, allocator, mapPage) : owned;
    if (!owned || !free)
        return owned ? free.error() : owned.error();
    table.ownedPagesPointer = *owned;
    table.freePagesPointer = *free;
    for (std::size_t i = 0; i < indexes.size(); ++i) {
        RealIndex real;
        auto map = newMapRow(pager, allocator, mapPage);
        if (!map)
            return map.error();
        real.ownedPagesPointer = *map;
        auto root = IndexWriter::createRoot(indexPages, allocator, definitionPage);
        if (!root)
            return root.error();
        real.rootPage = *root;
        if (Status recorded = maps.add(real.ownedPagesPointer, *root); !recorded)
            return recorded.error();
        table.realIndexes.push_back(real);
    }
    for (std::size_t i = 0; i < columns.size(); ++i) {
        if (columns[i].type != ColumnType::Memo && columns[i].type != ColumnType::Ole)
            continue;
        auto ownedMap = newMapRow(pager, allocator, mapPage);
        auto freeMap = ownedMap ? newMapRow(pager, allocator, mapPage) : ownedMap;
        if (!ownedMap || !freeMap)
            return ownedMap ? freeMap.error() : ownedMap.error();
        table.longValueMaps.push_back({uint16_t(i), *ownedMap, *freeMap});
    }
    auto bytes = buildDefinition(table, columns, indexes, pager.layout());
    if (!bytes)
        return bytes.error();
    if (Status writable = TableWriter::checkWritable(table); !writable && !system)
        return writable.error();
    if (Status written = writeDefinition(pager, allocator, definitionPage, *bytes); !written)
        return written.error();
    return table;
}

DatabaseWriter::DatabaseWriter(Database& database)
    : database_(database), indexPages_(database.pager()), allocator_(database.pager()),
      maps_(database.pager(), allocator_)
{
}

DatabaseWriter::TableState& DatabaseWriter::adopt(TableDefinition definition)
{
    const std::string name = definition.name;
    TableState& state = tables_[name];
    state.definition = std::move(definition);
    state.writer = std::make_unique<TableWriter>(database_.pager(), indexPages_, allocator_, maps_, state.definition);
    if (earlierTextKeys_)
        state.writer->setTextKeyForm(TrailingBlanks::Kept);
    return state;
}

Result<DatabaseWriter::TableState*> DatabaseWriter::state(const std::string& table)
{
    if (!database_.writable())
        return invalidArgument("the database is open for reading only");
    auto found = tables_.find(table);
    if (found != tables_.end())
        return &found->second;
    auto definition = database_.definition(table);
    if (!definition)
        return definition.error();
    if (Status writable = TableWriter::checkWritable(*definition); !writable)
        return writable.error();
    if (Status rewritten = takeEarlierIndexPages(*definition); !rewritten)
        return rewritten.error();
    return &adopt(std::move(*definition));
}

Status DatabaseWriter::takeEarlierIndexPages(const TableDefinition& table)
{
    for (const RealIndex& index : table.realIndexes) {
        if (indexPages_.holds(index.rootPage))
            continue;  // taken in already, or changed: no longer as in the file
        auto form = indexTreeForm(database_.pager(), index.rootPage);
        if (!form)
            return within("table " + table.name, form.error());
        if (*form != IndexPageForm::Access) {
            if (Status taken = indexPages_.adoptTree(index.rootPage, *form); !taken)
                return within("table " + table.name, taken.error());
        }
    }
    return Status::success();
}

Status DatabaseWriter::rewriteEarlierForms()
{
    for (const TableEntry& entry : database_.tables()) {
        if (tables_.count(entry.name))
            continue;
        auto definition = database_.definition(entry.name);
        if (!definition)
            return definition.error();
        if (Status rewritten = takeEarlierIndexPages(*definition); !rewritten)
            return rewritten;
    }
    if (database_.header().misalignedPasswordMask) {
        Pager& pager = database_.pager();
        auto page = pager.modify(0);
        if (!page)
            return page.error();
        **page = alignedPasswordMask(**page, pager.layout());
    }
    return Status::success();
}

Result<TableDefinition*> DatabaseWriter::definition(const std::string& table)
{
    auto found = state(table);
    if (!found)
        return found.error();
    return &(*found)->definition;
}

Result<RowPointer> DatabaseWriter::append(const std::string& table, std::vector<Value> values)
{
    auto found = state(table);
    if (!found)
        return failed(found.error());
    auto row = (*found)->writer->append(std::move(values));
    if (!row)
        return failed(row.error());
    return row;
}

Status DatabaseWriter::update(const std::string& table, RowPointer location, std::vector<Value> values)
{
    auto found = state(table);
    if (!found)
        return failed(Status(found.error()));
    if (Status updated = (*found)->writer->update(location, std::move(values)); !updated)
        return failed(updated);
    return Status::success();
}

Status DatabaseWriter::remove(const std::string& table, RowPointer location)
{
    auto found = state(table);
    if (!found)
        return failed(Status(found.error()));
    if (Status removed = (*found)->writer->remove(location); !removed)
        return failed(removed);
    return Status::success();
}

Status DatabaseWriter::addCatalogRow(const TableDefinition& table, bool system)
{
    auto catalog = state("MSysObjects");
    if (!catalog)
        return catalog.error();
    const TableDefinition& definition = (*catalog)->definition;
    std::vector<Value> values(definition.columns.size(), Null{});
    const auto set = [&](const char* column, Value value) {
        if (const Column* found = definition.column(column))
            values[std::size_t(found - definition.columns.data())] = std::move(value);
    };
    const DateTime created = now();
    set("Id", int32_t(table.firstPage));
    set("ParentId", int32_t(kTablesContainerId));
    set("Name", table.name);
    set("Type", int16_t(kTableType));
    set("DateCreate", created);
    set("DateUpdate", created);
    set("Flags", int32_t(system ? kSystemObjectFlag : 0));
    auto row = (*catalog)->writer->append(std::move(values));
    if (!row)
        return row.error();
    return Status::success();
}

Status DatabaseWriter::createTable(const std::string& name, const std::vector<ColumnSpec>& columns,
                                   const std::vector<IndexSpec>& indexes, bool system)
{
    if (!database_.writable())
        return invalidArgument("the database is open for reading only");
    if (database_.findTable(name) || tables_.count(name))
        return invalidArgument("a table named " + name + " exists already");
    auto page = allocator_.allocate();
    if (!page)
        return failed(Status(page.error()));
    auto table = makeTable(database_.pager(), indexPages_, allocator_, maps_, *page, name, columns, indexes, system);
    if (!table)
        return failed(Status(within("table " + name, table.error())));
    if (Status listed = addCatalogRow(*table, system); !listed)
        return failed(listed);
    adopt(std::move(*table));
    return Status::success();
}

Status DatabaseWriter::createIndex(const std::string& tableName, const IndexSpec& spec)
{
    auto found = state(tableName);
    if (!found)
        return failed(Status(found.error()));
    TableDefinition& table = (*found)->definition;
    if (table.index(spec.name))
        return failed(Status(invalidArgument("table " + tableName + " has an index named " + spec.name + " already")));
    Pager& pager = database_.pager();

    RealIndex real;
    uint32_t mapPage = 0;
    auto map = newMapRow(pager, allocator_, mapPage);
    if (!map)
        return failed(Status(map.error()));
    real.ownedPagesPointer = *map;
    auto root = IndexWriter::createRoot(indexPages_, allocator_, table.firstPage);
    if (!root)
        return failed(Status(root.error()));
    real.rootPage = *root;
    if (Status recorded = maps_.add(real.ownedPagesPointer, *root); !recorded)
        return failed(recorded);
    for (const std::string& columnName : spec.columns) {
        const Column* column = table.column(columnName);
        if (!column)
            return failed(Status(notFound("table " + tableName + " has no column " + columnName)));
        real.columns.push_back({column->number, true});
    }
    if (real.columns.empty())
        return failed(Status(invalidArgument("index " + spec.name + " names no columns")));
    real.flags = uint8_t(RealIndex::kAlwaysSetFlag | (spec.unique ? RealIndex::kUniqueFlag : 0));

    std::vector<uint32_t> chain;
    auto bytes = readDefinitionBytes(pager, table.firstPage, chain);
    if (!bytes)
        return failed(Status(bytes.error()));
    auto grown = addIndexToDefinition(*bytes, table, real, spec.name, pager.layout());
    if (!grown)
        return failed(Status(grown.error()));
    if (Status written = writeDefinition(pager, allocator_, table.firstPage, *grown); !written)
        return failed(written);

    // Read the new definition back and fill the index from the rows. The
    // table's state goes, and `table` with it: keep its page first.
    const uint32_t definitionPage = table.firstPage;
    tables_.erase(tableName);
    auto reread = readTableDefinition(pager, definitionPage, tableName);
    if (!reread)
        return failed(Status(reread.error()));
    if (Status writable = TableWriter::checkWritable(*reread); !writable)
        return failed(writable);
    TableState& fresh = adopt(std::move(*reread));
    if (Status filled = fresh.writer->fillIndex(fresh.definition.realIndexes.size() - 1); !filled)
        return failed(filled);
    return Status::success();
}

Result<std::vector<Row>> DatabaseWriter::find(const std::string& table, const std::string& index,
                                              const std::vector<Value>& key)
{
    auto found = state(table);
    if (!found)
        return found.error();
    return findRows(database_, indexPages_, (*found)->definition, index, key);
}

Status DatabaseWriter::commit()
{
    Status committed = rewriteEarlierForms();
    if (committed)
        committed = indexPages_.flush();
    if (committed)
        committed = database_.commit();
    if (!committed) {
        rollback();
        return committed;
    }
    if (Status reloaded = database_.reloadCatalog(); !reloaded)
        return reloaded;
    if (verifyCommits) {
        const VerifyReport report = verifyDatabase(database_);
        if (!report.problems.empty())
            return corruption("the database failed its check after the change: " + report.problems.front());
    }
    return Status::success();
}

void DatabaseWriter::verifyEveryCommit(bool on)
{
    verifyCommits = on;
}

void DatabaseWriter::rollback()
{
    database_.rollback();
    indexPages_.clear();
    tables_.clear();
}

}  // namespace mdb
