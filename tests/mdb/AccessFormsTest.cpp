// Files the engine writes are in the forms Access itself writes: index page
// headers where Access keeps them (and files of earlier versions of this
// engine read and rewritten), text keys for every character a user may type,
// a global usage map that grows past page 1, passwords and damaged pages
// refused before anything is written.
#include "MdbTestSupport.h"
#include "MdbToolsOracle.h"
#include "mdb/ByteWriter.h"
#include "mdb/DataPage.h"
#include "mdb/DatabaseCreator.h"
#include "mdb/GeneralSortOrder.h"
#include "mdb/Header.h"
#include "mdb/IndexPage.h"
#include "mdb/IndexTree.h"
#include "mdb/PageAllocator.h"
#include "mdb/Text.h"
#include "mdb/UsageMap.h"
#include "mdb/Verifier.h"

#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>

namespace {

using namespace mdb;
namespace fs = std::filesystem;

const std::string kFormsPath = "/db/forms.mdb";

std::vector<ColumnSpec> readingColumns()
{
    using T = ColumnType;
    return {{"Id", T::Long, 0, true}, {"SourceID", T::Long}, {"DateRead", T::DateTime},
            {"OutTemperature", T::Double}, {"Name", T::Text, 50}};
}

std::vector<IndexSpec> readingIndexes()
{
    return {{"Id", {"Id"}, true, true}, {"SourceDate", {"SourceID", "DateRead"}}, {"Name", {"Name"}}};
}

std::vector<Value> reading(int i)
{
    return {Null{}, int32_t(i % 3), DateTime{46000.0 + i / 144.0}, double(i % 400) / 10,
            std::string("Station ") + std::to_string(i % 97)};
}

// A database with `rows` readings, in memory.
std::vector<uint8_t> readingsDatabase(int rows)
{
    MemoryFileSystem files;
    Status created = createDatabase(files, kFormsPath, [rows](DatabaseWriter& writer) {
        Status made = writer.createTable("Readings", readingColumns(), readingIndexes());
        for (int i = 0; made && i < rows; ++i) {
            auto row = writer.append("Readings", reading(i));
            made = row ? Status::success() : Status(row.error());
        }
        return made;
    });
    EXPECT_TRUE(created) << created.error().message;
    return files.content(kFormsPath);
}

std::vector<Row> rowsOf(Database& database)
{
    auto table = database.definition("Readings");
    auto rows = database.readAll(*table);
    EXPECT_TRUE(rows) << rows.error().message;
    return rows ? *rows : std::vector<Row>{};
}

// The forms of the index trees of every table.
std::vector<IndexPageForm> treeForms(Database& database)
{
    std::vector<IndexPageForm> forms;
    for (const TableEntry& entry : database.tables()) {
        auto table = database.definition(entry.name);
        for (const RealIndex& index : table->realIndexes)
            forms.push_back(*indexTreeForm(database.pager(), index.rootPage));
    }
    return forms;
}

}  // namespace

TEST(EarlierEngineFiles, AreReadAndRewrittenInAccessFormByTheNextChange)
{
    std::vector<uint8_t> bytes = readingsDatabase(3000);
    toEarlierEngineForm(bytes);
    MemoryFileSystem files;
    files.setContent(kFormsPath, bytes);

    auto earlier = Database::open(files, kFormsPath, OpenMode::ReadOnly);
    ASSERT_TRUE(earlier) << earlier.error().message;
    EXPECT_TRUE((*earlier)->header().misalignedPasswordMask);
    const std::vector<Row> rows = rowsOf(**earlier);
    ASSERT_EQ(rows.size(), 3000u);
    auto table = (*earlier)->definition("Readings");
    auto found = (*earlier)->find(*table, "SourceDate", {int32_t(2)});
    ASSERT_TRUE(found) << found.error().message;
    EXPECT_EQ(found->size(), 1000u);
    const VerifyReport before = verifyDatabase(**earlier);
    ASSERT_FALSE(before.problems.empty());
    for (const std::string& problem : before.problems)
        EXPECT_NE(problem.find("earlier versions of this program"), std::string::npos) << problem;
    earlier->reset();

    {
        auto database = Database::open(files, kFormsPath, OpenMode::ReadWrite);
        DatabaseWriter writer(**database);
        ASSERT_TRUE(writer.append("Readings", reading(3000)));
        Status committed = writer.commit();
        ASSERT_TRUE(committed) << committed.error().message;
    }
    auto rewritten = Database::open(files, kFormsPath, OpenMode::ReadOnly);
    ASSERT_TRUE(rewritten);
    EXPECT_FALSE((*rewritten)->header().misalignedPasswordMask);
    for (IndexPageForm form : treeForms(**rewritten))
        EXPECT_EQ(form, IndexPageForm::Access);
    const VerifyReport after = verifyDatabase(**rewritten);
    EXPECT_TRUE(after.problems.empty()) << after.problems.front();
    EXPECT_EQ(rowsOf(**rewritten).size(), 3001u);
    found = (*rewritten)->find(*(*rewritten)->definition("Readings"), "SourceDate", {int32_t(2)});
    EXPECT_EQ(found->size(), 1000u);
}

// Every name a user may type for a source or a favourite (the printable
// characters of Windows-1252 that Access's General order covers) is stored
// and found again through its index; the characters it does not cover are
// refused by name, before anything is written.
TEST(TextKeys, EveryPrintableNameIsStoredAndFoundThroughItsIndex)
{
    std::vector<std::u16string> names;
    for (char16_t c = 0x20; c <= 0xFF; ++c) {
        if (c < 0x7F || c >= 0xA0)
            names.push_back(u"Last " + std::u16string(1, c) + u" 7 days");
    }
    names.push_back(u"O'Brien's roof - north");
    names.push_back(u"Stra\u00DFe 12, \u00C9tage \u00BD");

    MemoryFileSystem files;
    ASSERT_TRUE(createDatabase(files, kFormsPath, [](DatabaseWriter& writer) {
        return writer.createTable("Favorites", {{"FavID", ColumnType::Long, 0, true}, {"FavName", ColumnType::Text, 50}},
                                  {{"FavName", {"FavName"}}});
    }));
    auto database = Database::open(files, kFormsPath, OpenMode::ReadWrite);
    DatabaseWriter writer(**database);
    std::map<RowPointer, std::u16string> stored;
    for (const std::u16string& name : names) {
        auto row = writer.append("Favorites", {Null{}, utf16ToUtf8(name)});
        ASSERT_TRUE(row) << utf16ToUtf8(name) << ": " << row.error().message;
        stored[*row] = name;
    }
    ASSERT_TRUE(writer.commit());
    for (const auto& [location, name] : stored) {
        auto found = writer.find("Favorites", "FavName", {utf16ToUtf8(name)});
        ASSERT_TRUE(found) << found.error().message;
        bool foundItself = false;
        for (const Row& row : *found) {
            foundItself = foundItself || row.location == location;
            // Others found have the same key: the same name in another case.
            EXPECT_EQ(*generalTextKey(utf8ToUtf16(std::get<std::string>(row.values[1]))), *generalTextKey(name));
        }
        EXPECT_TRUE(foundItself) << utf16ToUtf8(name);
    }

    const std::vector<uint8_t> committed = files.content(kFormsPath);
    for (const char* refused : {"Rain \xE2\x82\xAC", "\xE2\x80\x9CQuoted\xE2\x80\x9D", "Last \xE2\x80\x93 week"}) {
        auto row = writer.append("Favorites", {Null{}, std::string(refused)});
        ASSERT_FALSE(row) << refused;
        EXPECT_EQ(row.error().kind, ErrorKind::Unsupported);
        EXPECT_NE(row.error().message.find("the character U+20"), std::string::npos) << row.error().message;
    }
    ASSERT_TRUE(writer.commit());
    EXPECT_EQ(files.content(kFormsPath), committed);
    EXPECT_TRUE(verifyDatabase(**database).problems.empty());
}

// The order of the General sort order: case does not count, accents count
// after the letters, blanks and digits before letters.
TEST(TextKeys, OrderAsAccessSortsNames)
{
    const std::vector<std::u16string> ascending = {u"  x", u"1 Home", u"9 Home", u"home", u"HOME 2", u"h\u00F4me 2",
                                                   u"Homestead", u"Roof", u"roof-top", u"Z\u00FCrich"};
    for (std::size_t i = 1; i < ascending.size(); ++i) {
        EXPECT_LT(*generalTextKey(ascending[i - 1]), *generalTextKey(ascending[i]))
            << utf16ToUtf8(ascending[i - 1]) << " before " << utf16ToUtf8(ascending[i]);
    }
    EXPECT_EQ(*generalTextKey(u"Home Station"), *generalTextKey(u"HOME station"));
}

// Access leaves the blanks at the end of a text out of its key ("Week  " is
// found as "Week"). Files in which earlier versions of this engine wrote
// them into the key are read, checked and changed all the same.
TEST(TextKeys, TrailingBlanksAreLeftOutAndTheEarlierFormIsStillRead)
{
    EXPECT_EQ(*generalTextKey(u"Week  "), *generalTextKey(u"Week"));
    EXPECT_NE(*generalTextKey(u"Week  ", TrailingBlanks::Kept), *generalTextKey(u"Week"));
    EXPECT_NE(*generalTextKey(u"  Week"), *generalTextKey(u"Week")) << "leading blanks count";

    for (const bool earlierFile : {false, true}) {
        SCOPED_TRACE(earlierFile ? "written with the blanks in the key" : "written in Access's form");
        MemoryFileSystem files;
        ASSERT_TRUE(createDatabase(files, kFormsPath, [earlierFile](DatabaseWriter& writer) {
            if (earlierFile)
                writer.writeEarlierTextKeys();
            Status made = writer.createTable(
                "Favorites", {{"FavID", ColumnType::Long, 0, true}, {"FavName", ColumnType::Text, 50}},
                {{"FavName", {"FavName"}}});
            for (const char* name : {"Week ", "Day", "Month   "})
                made = made && writer.append("Favorites", {Null{}, std::string(name)}) ? Status::success()
                                                                                         : invalidArgument("append");
            return made;
        }));
        auto database = Database::open(files, kFormsPath, OpenMode::ReadWrite);
        ASSERT_TRUE(database);
        EXPECT_TRUE(verifyDatabase(**database).problems.empty());
        DatabaseWriter writer(**database);
        auto week = writer.find("Favorites", "FavName", {std::string("Week ")});
        ASSERT_TRUE(week && week->size() == 1u);
        // Changing and deleting such a row removes whichever key the index holds.
        ASSERT_TRUE(writer.update("Favorites", week->front().location, {week->front().values[0], std::string("Week")}));
        auto month = writer.find("Favorites", "FavName", {std::string("Month   ")});
        ASSERT_TRUE(month && month->size() == 1u);
        ASSERT_TRUE(writer.remove("Favorites", month->front().location));
        ASSERT_TRUE(writer.commit());
        EXPECT_TRUE(verifyDatabase(**database).problems.empty());
        auto renamed = writer.find("Favorites", "FavName", {std::string("Week")});
        ASSERT_TRUE(renamed);
        EXPECT_EQ(renamed->size(), 1u);
    }
}

TEST(GlobalUsageMap, GrowsPastPageOneIntoMapPages)
{
    const fs::path folder = fs::temp_directory_path() / ("nimbrel-global-map-" + std::to_string(::getpid()));
    fs::create_directories(folder);
    const std::string path = (folder / "large.mdb").string();
    {
        const std::vector<uint8_t> bytes = readingsDatabase(10);
        std::ofstream(path, std::ios::binary).write(reinterpret_cast<const char*>(bytes.data()), std::streamsize(bytes.size()));
    }
    constexpr uint32_t kPages = 34000;  // past the 32,000 or so pages an inline map on page 1 can describe
    std::vector<uint32_t> released;
    {
        auto database = Database::open(path, OpenMode::ReadWrite);
        ASSERT_TRUE(database) << database.error().message;
        PageAllocator allocator((*database)->pager());
        for (uint32_t i = 0; i < kPages; ++i) {
            auto page = allocator.allocate();
            ASSERT_TRUE(page) << "page " << i << ": " << page.error().message;
            if (i % 5000 == 0)
                released.push_back(*page);
        }
        for (uint32_t page : released)
            ASSERT_TRUE(allocator.release(page));
        ASSERT_TRUE((*database)->commit());
    }
    auto database = Database::open(path, OpenMode::ReadWrite);
    ASSERT_TRUE(database);
    auto map = readUsageMap((*database)->pager(), RowPointer{kGlobalMapPage, kGlobalMapRow}.pack(), "global map");
    ASSERT_TRUE(map) << map.error().message;
    EXPECT_EQ(map->kind, UsageMap::Kind::Reference);
    EXPECT_EQ(map->pages, released);
    const uint32_t pagesBefore = (*database)->pager().pageCount();
    {
        DatabaseWriter writer(**database);
        for (int i = 0; i < 2000; ++i)
            ASSERT_TRUE(writer.append("Readings", reading(i)));
        Status committed = writer.commit();
        ASSERT_TRUE(committed) << committed.error().message;
    }
    // The released pages were taken first.
    map = readUsageMap((*database)->pager(), RowPointer{kGlobalMapPage, kGlobalMapRow}.pack(), "global map");
    EXPECT_TRUE(map->pages.empty());
    EXPECT_LT((*database)->pager().pageCount(), pagesBefore + 100);
    const VerifyReport report = verifyDatabase(**database);
    EXPECT_TRUE(report.problems.empty()) << report.problems.front();
    EXPECT_EQ(MdbTools::count(path, "Readings"), 2010);
    fs::remove_all(folder);
}

// Access keeps the global map of a large file by reference, with the slots it
// does not use holding 0xFFFFFF80. Such a file takes new rows.
TEST(GlobalUsageMap, AnAccessMapByReferenceTakesNewRows)
{
    std::vector<uint8_t> bytes = readingsDatabase(10);
    const std::size_t pageSize = 4096;
    const uint32_t mapPage = uint32_t(bytes.size() / pageSize);
    {
        // The free pages of the inline map move to a map page at the end.
        auto database = Database::open(std::make_unique<MemoryFile>(bytes));
        auto inlineMap = readUsageMap((*database)->pager(), RowPointer{kGlobalMapPage, kGlobalMapRow}.pack(), "map");
        ASSERT_TRUE(inlineMap);
        std::vector<uint8_t> page(pageSize, 0);
        page[0] = kUsageMapPage;
        page[1] = 0x01;
        for (uint32_t free : inlineMap->pages)
            page[kMapPageHeader + free / 8] |= uint8_t(1 << (free % 8));
        bytes.insert(bytes.end(), page.begin(), page.end());
        Page holder;
        auto row = readRow((*database)->pager(), RowPointer{kGlobalMapPage, kGlobalMapRow}, holder);
        const std::size_t rowStart = kGlobalMapPage * pageSize + std::size_t(row->data() - holder.bytes->data());
        ASSERT_EQ(row->size(), kMapRowSize);
        std::vector<uint8_t> reference(kMapRowSize, 0);
        ByteWriter writer(reference);
        writer.u8(0, kReferenceMapKind);
        writer.u32(1, mapPage);
        for (std::size_t slot = 1; slot < 17; ++slot)
            writer.u32(1 + 4 * slot, 0xFFFFFF80);
        std::copy(reference.begin(), reference.end(), bytes.begin() + std::ptrdiff_t(rowStart));
    }
    MemoryFileSystem files;
    files.setContent(kFormsPath, bytes);
    auto database = Database::open(files, kFormsPath, OpenMode::ReadWrite);
    ASSERT_TRUE(database) << database.error().message;
    {
        DatabaseWriter writer(**database);
        for (int i = 0; i < 3000; ++i)
            ASSERT_TRUE(writer.append("Readings", reading(i)));
        Status committed = writer.commit();
        ASSERT_TRUE(committed) << committed.error().message;
    }
    EXPECT_EQ(rowsOf(**database).size(), 3010u);
    const VerifyReport report = verifyDatabase(**database);
    EXPECT_TRUE(report.problems.empty()) << report.problems.front();
    EXPECT_NE(std::find(report.notes.begin(), report.notes.end(), "the global usage map has slots marked unused"),
              report.notes.end());
}

TEST(Passwords, AProtectedDatabaseIsRefused)
{
    std::vector<uint8_t> bytes = readingsDatabase(1);
    const Layout& layout = jet4Layout();
    std::vector<uint8_t> header = unmaskHeader(std::span(bytes).first(layout.pageSize), layout);
    header[0x42] ^= 's';  // the first password character
    header[0x44] ^= 'e';
    header = unmaskHeader(header, layout);
    std::copy(header.begin(), header.end(), bytes.begin());
    auto database = Database::open(std::make_unique<MemoryFile>(bytes));
    ASSERT_FALSE(database);
    EXPECT_EQ(database.error().kind, ErrorKind::Unsupported);
    EXPECT_NE(database.error().message.find("protected by a password"), std::string::npos);
}

// A data page whose row offset table points outside the page: the change is
// refused with the table and the page named, and nothing is written.
TEST(DamagedPages, AreRefusedBeforeAnythingIsWritten)
{
    std::vector<uint8_t> bytes = readingsDatabase(100);
    uint32_t lastPage = 0;
    {
        auto database = Database::open(std::make_unique<MemoryFile>(bytes));
        for (const Row& row : rowsOf(**database))
            lastPage = std::max(lastPage, row.location.page);
    }
    const std::size_t offsetTable = std::size_t(lastPage) * 4096 + jet4Layout().dataFirstRowOffset;
    bytes[offsetTable + 2] = 0x4A;  // row 1 starts at 0x1F4A, past the page's end
    bytes[offsetTable + 3] = 0xFF;
    MemoryFileSystem files;
    files.setContent(kFormsPath, bytes);
    {
        auto database = Database::open(files, kFormsPath, OpenMode::ReadWrite);
        ASSERT_TRUE(database);
        DatabaseWriter writer(**database);
        auto appended = writer.append("Readings", reading(100));
        ASSERT_FALSE(appended);
        EXPECT_EQ(appended.error().kind, ErrorKind::Corruption);
        EXPECT_NE(appended.error().message.find("table Readings"), std::string::npos) << appended.error().message;
        EXPECT_NE(appended.error().message.find("data page " + std::to_string(lastPage)), std::string::npos)
            << appended.error().message;
        EXPECT_TRUE(writer.commit());
    }
    EXPECT_EQ(files.content(kFormsPath), bytes);
}
