#include "mdb/DatabaseCreator.h"

#include "mdb/ByteWriter.h"
#include "mdb/DataPageEditor.h"
#include "mdb/Header.h"

#include <cmath>
#include <cstring>

namespace mdb {

namespace {

constexpr int32_t kRootContainerId = 0x0F000000;
constexpr int32_t kDatabasesContainerId = 0x0F000002;
constexpr int32_t kRelationshipsContainerId = 0x0F000003;
constexpr int32_t kDatabaseObjectId = 0x10000000;
constexpr uint16_t kCodePage = 1252;
constexpr uint32_t kSortOrder = 0x0409;
constexpr std::size_t kCreationDateOffset = 0x72;

// The header page (FORMAT.md "Header page"): signature, version, and in the
// masked area the code page, no database key, an empty password, the sort
// order and the creation date.
std::vector<uint8_t> headerPage(const Layout& layout, DateTime created)
{
    std::vector<uint8_t> page(layout.pageSize, 0);
    page[1] = 0x01;
    const char signature[] = "Standard Jet DB";
    std::memcpy(page.data() + 4, signature, sizeof signature);
    page[0x14] = 0x01;  // Jet 4
    ByteWriter fields(page);
    fields.u16(layout.codePageOffset, kCodePage);
    fields.u32(layout.databaseKeyOffset, 0);
    fields.u32(layout.sortOrderOffset, kSortOrder);
    uint64_t bits;
    std::memcpy(&bits, &created.days, sizeof bits);
    for (int i = 0; i < 8; ++i)
        page[kCreationDateOffset + std::size_t(i)] = uint8_t(bits >> (8 * i));
    writeEmptyPassword(page);
    return unmaskHeader(page, layout);
}

// Page 1: the global usage map (pages 0 to 2 in use, the rest free) and a
// second, empty map as Access keeps one.
void globalMapPage(std::vector<uint8_t>& page, const Layout& layout)
{
    DataPageEditor::initialise(page, layout, kGlobalMapPage);
    std::vector<uint8_t> map(kMapRowSize, 0xFF);
    std::fill(map.begin(), map.begin() + kInlineMapHeader, 0);
    map[5] = 0xF8;  // pages 0, 1 and 2 used
    auto editor = DataPageEditor::open(page, layout, kGlobalMapPage);
    (void)editor->insert(map);
    (void)editor->insert(std::vector<uint8_t>(kMapRowSize, 0));
}

std::vector<ColumnSpec> catalogColumns()
{
    using T = ColumnType;
    return {{"Id", T::Long},        {"ParentId", T::Long},      {"Name", T::Text},
            {"Type", T::Integer},   {"DateCreate", T::DateTime}, {"DateUpdate", T::DateTime},
            {"Owner", T::Binary},   {"Flags", T::Long},          {"Database", T::Memo},
            {"Connect", T::Memo},   {"ForeignName", T::Text},    {"RmtInfoShort", T::Binary},
            {"RmtInfoLong", T::Ole}, {"Lv", T::Ole},             {"LvProp", T::Ole},
            {"LvModule", T::Ole},   {"LvExtra", T::Ole}};
}

std::vector<Value> catalogRow(const TableDefinition& catalog, int32_t id, int32_t parent, const std::string& name,
                              int16_t type, DateTime created)
{
    std::vector<Value> values(catalog.columns.size(), Null{});
    const auto set = [&](const char* column, Value value) {
        values[std::size_t(catalog.column(column) - catalog.columns.data())] = std::move(value);
    };
    set("Id", id);
    set("ParentId", parent);
    set("Name", name);
    set("Type", type);
    set("DateCreate", created);
    set("DateUpdate", created);
    set("Flags", int32_t(kSystemObjectFlag));
    return values;
}

// The first pages of a new file: header, global map and the catalog with
// its own rows.
Result<std::vector<uint8_t>> bootstrap(DateTime created)
{
    const Layout& layout = jet4Layout();
    MemoryFile image;
    Pager pager(image, layout, 0);
    for (int i = 0; i < 3; ++i)
        pager.append();
    **pager.modify(0) = headerPage(layout, created);
    globalMapPage(**pager.modify(1), layout);

    PageAllocator allocator(pager);
    UsageMapEditor maps(pager, allocator);
    IndexPageCache indexPages(pager);
    auto catalog = makeTable(pager, indexPages, allocator, maps, kCatalogPage, "MSysObjects", catalogColumns(),
                             {{"Id", {"Id"}, true, true}, {"ParentIdName", {"ParentId", "Name"}, true, false}}, true);
    if (!catalog)
        return within("the catalog", catalog.error());
    TableWriter writer(pager, indexPages, allocator, maps, *catalog);
    const struct {
        int32_t id;
        int32_t parent;
        const char* name;
        int16_t type;
    } rows[] = {
        {int32_t(kTablesContainerId), kRootContainerId, "Tables", 3},
        {kDatabasesContainerId, kRootContainerId, "Databases", 3},
        {kRelationshipsContainerId, kRootContainerId, "Relationships", 3},
        {kDatabaseObjectId, kDatabasesContainerId, "MSysDb", 2},
        {int32_t(kCatalogPage), int32_t(kTablesContainerId), "MSysObjects", 1},
    };
    for (const auto& row : rows) {
        auto added = writer.append(catalogRow(*catalog, row.id, row.parent, row.name, row.type, created));
        if (!added)
            return within("the catalog", added.error());
    }

    if (Status flushed = indexPages.flush(); !flushed)
        return flushed.error();
    std::vector<uint8_t> bytes(std::size_t(pager.pageCount()) * layout.pageSize);
    for (const auto& [pageNumber, page] : pager.changes())
        std::copy(page->begin(), page->end(), bytes.begin() + std::ptrdiff_t(pageNumber * layout.pageSize));
    return bytes;
}

Status addSystemTables(DatabaseWriter& writer)
{
    using T = ColumnType;
    if (Status made = writer.createTable("MSysACEs",
                                         {{"ObjectId", T::Long}, {"SID", T::Binary}, {"ACM", T::Long},
                                          {"FInheritable", T::Boolean}},
                                         {{"ObjectId", {"ObjectId"}}}, true);
        !made)
        return made;
    if (Status made = writer.createTable("MSysQueries",
                                         {{"ObjectId", T::Long}, {"Attribute", T::Byte}, {"Order", T::Binary},
                                          {"Name1", T::Text}, {"Name2", T::Text}, {"Expression", T::Memo},
                                          {"Flag", T::Integer}, {"LvExtra", T::Long}},
                                         {{"ObjectIdAttribute", {"ObjectId", "Attribute", "Order"}, false, true}}, true);
        !made)
        return made;
    return writer.createTable("MSysRelationships",
                              {{"szRelationship", T::Text}, {"grbit", T::Long}, {"ccolumn", T::Long},
                               {"icolumn", T::Long}, {"szObject", T::Text}, {"szColumn", T::Text},
                               {"szReferencedObject", T::Text}, {"szReferencedColumn", T::Text}},
                              {{"szObject", {"szObject"}}, {"szReferencedObject", {"szReferencedObject"}},
                               {"szRelationship", {"szRelationship"}}},
                              true);
}

// Writes the new file under a temporary name beside `path` and renames it
// into place once it is complete.
Status writeThrough(FileSystem& files, const std::string& temporary, const std::string& path,
                    const std::vector<uint8_t>& bytes)
{
    if (files.exists(temporary)) {
        if (Status removed = files.remove(temporary); !removed)
            return removed;
    }
    auto file = files.open(temporary, OpenMode::CreateNew);
    if (!file)
        return file.error();
    Status written = (*file)->write(0, bytes);
    if (written)
        written = (*file)->sync();
    file->reset();
    if (written)
        written = files.renameNoReplace(temporary, path);
    if (written)
        written = files.syncFolderOf(path);
    if (!written)
        (void)files.remove(temporary);
    return written;
}

// An error met on the temporary file, told of the database it was to become:
// the temporary file is this engine's business, not the user's.
Status namingTheDatabase(Status status, const std::string& temporary, const std::string& path)
{
    if (status)
        return status;
    std::string message = status.error().message;
    for (std::size_t at = message.find(temporary); at != std::string::npos; at = message.find(temporary, at + path.size()))
        message.replace(at, temporary.size(), path);
    return Error{status.error().kind, message};
}

Status writeNewFile(FileSystem& files, const std::string& path, const std::vector<uint8_t>& bytes)
{
    const std::string temporary = path + ".nimbrel-new";
    return namingTheDatabase(writeThrough(files, temporary, path, bytes), temporary, path);
}

}  // namespace

Status createDatabase(FileSystem& files, const std::string& path,
                      const std::function<Status(DatabaseWriter&)>& populate)
{
    if (files.exists(path))
        return ioError(path + " already exists; a new database is never written over a file");
    auto image = bootstrap(now());
    if (!image)
        return image.error();

    // The rest is made with the ordinary writer, on a file in memory.
    MemoryFileSystem memory;
    memory.setContent(path, std::move(*image));
    auto database = Database::open(memory, path, OpenMode::ReadWrite);
    if (!database)
        return database.error();
    DatabaseWriter writer(**database);
    if (Status system = addSystemTables(writer); !system)
        return system;
    if (populate) {
        if (Status populated = populate(writer); !populated)
            return populated;
    }
    if (Status committed = writer.commit(); !committed)
        return committed;
    return writeNewFile(files, path, memory.content(path));
}

Status createDatabase(const std::string& path, const std::function<Status(DatabaseWriter&)>& populate)
{
    DiskFileSystem disk;
    return createDatabase(disk, path, populate);
}

}  // namespace mdb
