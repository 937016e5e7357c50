// What the engine cannot change safely it refuses before touching the file;
// unique keys stay unique; another writer (or Access) holding the file is
// respected; index pages are released and reused.
#include "MdbToolsOracle.h"
#include "mdb/DatabaseCreator.h"
#include "mdb/Verifier.h"

#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace {

using namespace mdb;
namespace fs = std::filesystem;

class WriteSafety : public ::testing::Test {
protected:
    void SetUp() override
    {
        folder = fs::temp_directory_path() / ("nimbrel-writes-" + std::to_string(::getpid()));
        fs::create_directories(folder);
    }
    void TearDown() override { fs::remove_all(folder); }

    fs::path folder;
};

}  // namespace

TEST_F(WriteSafety, UniqueKeysStayUnique)
{
    const std::string path = (folder / "unique.mdb").string();
    ASSERT_TRUE(createDatabase(path, [](DatabaseWriter& writer) {
        return writer.createTable("Sources", {{"SourceID", ColumnType::Long}, {"SourceName", ColumnType::Text}},
                                  {{"SourceID", {"SourceID"}, true, true}});
    }));
    auto database = Database::open(path, OpenMode::ReadWrite);
    DatabaseWriter writer(**database);
    ASSERT_TRUE(writer.append("Sources", {int32_t(1), std::string("Home")}));
    auto duplicate = writer.append("Sources", {int32_t(1), std::string("Roof")});
    ASSERT_FALSE(duplicate);
    EXPECT_NE(duplicate.error().message.find("SourceID"), std::string::npos);
}

TEST_F(WriteSafety, AccessOrAnotherWriterHoldingTheFileIsRespected)
{
    const std::string path = (folder / "held.mdb").string();
    ASSERT_TRUE(createDatabase(path));
    {
        std::ofstream lock(Database::accessLockPath(path));
    }
    auto refused = Database::open(path, OpenMode::ReadWrite);
    ASSERT_FALSE(refused);
    EXPECT_NE(refused.error().message.find("open in Access"), std::string::npos);
    fs::remove(Database::accessLockPath(path));

    DiskFileSystem disk;
    auto writer = Database::open(disk, path, OpenMode::ReadWrite);
    ASSERT_TRUE(writer) << writer.error().message;
    auto second = Database::open(disk, path, OpenMode::ReadWrite, std::chrono::milliseconds(50));
    ASSERT_FALSE(second);
    EXPECT_EQ(second.error().kind, ErrorKind::Busy);
    EXPECT_NE(second.error().message.find("another task of this Nimbrel"), std::string::npos)
        << second.error().message;
    auto reader = Database::open(disk, path, OpenMode::ReadOnly, std::chrono::milliseconds(50));
    EXPECT_FALSE(reader) << "a reader waits while a writer holds the file";
    // A reader waiting in this process gets the file as soon as the writer closes it.
    std::thread release([&writer] {
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
        writer->reset();
    });
    auto waiting = Database::open(disk, path, OpenMode::ReadOnly, std::chrono::milliseconds(3000));
    release.join();
    EXPECT_TRUE(waiting) << waiting.error().message;
    waiting->reset();

    // Another process holding the file is named as such.
    const pid_t child = ::fork();
    if (child == 0) {
        auto held = Database::open(disk, path, OpenMode::ReadWrite);
        ::sleep(held ? 2 : 0);
        ::_exit(0);
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(300));
    auto meanwhile = Database::open(disk, path, OpenMode::ReadWrite, std::chrono::milliseconds(50));
    ASSERT_FALSE(meanwhile);
    EXPECT_NE(meanwhile.error().message.find("another Nimbrel process"), std::string::npos)
        << meanwhile.error().message;
    ::waitpid(child, nullptr, 0);
    EXPECT_TRUE(Database::open(disk, path, OpenMode::ReadWrite, std::chrono::milliseconds(50)));
}

TEST_F(WriteSafety, EmptyingAnIndexReleasesItsPages)
{
    const std::string path = (folder / "emptied.mdb").string();
    ASSERT_TRUE(createDatabase(path, [](DatabaseWriter& writer) {
        return writer.createTable("Words", {{"Word", ColumnType::Text, 60}}, {{"Word", {"Word"}}});
    }));
    std::vector<RowPointer> rows;
    {
        auto database = Database::open(path, OpenMode::ReadWrite);
        DatabaseWriter writer(**database);
        for (int i = 0; i < 4000; ++i) {
            // Long keys make a tree of three levels.
            auto row = writer.append("Words", {std::string(55, char('a' + i % 25)) + char('a' + i / 25 % 25) +
                                                   char('a' + i / 625 % 25)});
            ASSERT_TRUE(row);
            rows.push_back(*row);
        }
        ASSERT_TRUE(writer.commit());
    }
    const auto sizeAfterFilling = fs::file_size(path);
    {
        auto database = Database::open(path, OpenMode::ReadWrite);
        DatabaseWriter writer(**database);
        for (RowPointer row : rows)
            ASSERT_TRUE(writer.remove("Words", row));
        ASSERT_TRUE(writer.commit());
        // Refilling reuses the released pages instead of growing the file.
        for (int i = 0; i < 4000; ++i)
            ASSERT_TRUE(writer.append("Words", {std::string(56, 'q') + char('a' + i % 25) + char('a' + i / 25 % 25)}));
        ASSERT_TRUE(writer.commit());
    }
    EXPECT_LE(fs::file_size(path), sizeAfterFilling);
    auto database = Database::open(path);
    const auto problems = verifyDatabase(**database).problems;
    EXPECT_TRUE(problems.empty()) << problems.front();
    EXPECT_EQ(MdbTools::count(path, "Words"), 4000);
}

// A new database is written under a temporary name and renamed into place
// when complete; a failure on the way names the database, not the
// temporary file, and leaves nothing behind.
TEST(NewDatabases, AFailureNamesTheDatabaseAndLeavesNoFile)
{
    MemoryFileSystem files;
    files.failWriteAt(1);
    const Status created = createDatabase(files, "/weather/My Weather.mdb", nullptr);
    ASSERT_FALSE(created);
    EXPECT_NE(created.error().message.find("/weather/My Weather.mdb"), std::string::npos) << created.error().message;
    EXPECT_EQ(created.error().message.find("nimbrel-new"), std::string::npos) << created.error().message;
    EXPECT_FALSE(files.exists("/weather/My Weather.mdb"));
    EXPECT_FALSE(files.exists("/weather/My Weather.mdb.nimbrel-new"));
}

// A read scattered into parts fills them exactly as one read of their total
// size, on disk (one system call) and in memory; a read past the end fails.
TEST_F(WriteSafety, ReadsScatteredIntoPartsMatchOneRead)
{
    std::vector<uint8_t> content(3 * 4096 + 100);
    for (std::size_t i = 0; i < content.size(); ++i)
        content[i] = uint8_t(i * 7 + i / 256);
    const std::string path = (folder / "parts.bin").string();
    {
        auto file = openDiskFile(path, OpenMode::CreateNew);
        ASSERT_TRUE(file);
        ASSERT_TRUE((*file)->write(0, content));
    }
    auto disk = openDiskFile(path, OpenMode::ReadOnly);
    ASSERT_TRUE(disk);
    MemoryFile memory(content);
    for (File* file : {disk->get(), static_cast<File*>(&memory)}) {
        SCOPED_TRACE(file->name());
        std::vector<uint8_t> a(4096), b(0), c(5000), d(1);
        const std::vector<std::span<uint8_t>> parts{a, b, c, d};
        ASSERT_TRUE(file->readParts(50, parts));
        std::vector<uint8_t> joined;
        for (const auto& part : {a, b, c, d})
            joined.insert(joined.end(), part.begin(), part.end());
        EXPECT_TRUE(std::equal(joined.begin(), joined.end(), content.begin() + 50));

        std::vector<uint8_t> tooFar(200);
        const std::vector<std::span<uint8_t>> pastTheEnd{a, tooFar};
        const Status read = file->readParts(content.size() - 4096 - 100, pastTheEnd);
        ASSERT_FALSE(read);
        EXPECT_NE(read.error().message.find("unexpected end of file"), std::string::npos) << read.error().message;
    }
}
