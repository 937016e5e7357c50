// A change interrupted at any write (a crash, a failing disk, a lost tail)
// leaves a database that reads as before the change or as after it, never
// in between, once it has been opened again.
#include "mdb/DatabaseCreator.h"
#include "mdb/Journal.h"
#include "mdb/Verifier.h"

#include <gtest/gtest.h>

namespace {

using namespace mdb;

const std::string kCrashPath = "/db/crash.mdb";

// The table's rows as text, in storage order.
std::vector<std::string> contentOf(MemoryFileSystem& files)
{
    auto database = Database::open(files, kCrashPath, OpenMode::ReadOnly);
    if (!database)
        return {"open failed: " + database.error().message};
    auto table = (*database)->definition("Log");
    if (!table)
        return {"definition failed: " + table.error().message};
    auto rows = (*database)->readAll(*table);
    if (!rows)
        return {"read failed: " + rows.error().message};
    std::vector<std::string> content;
    for (const Row& row : *rows) {
        std::string text;
        for (const Value& value : row.values)
            text += toText(value) + "|";
        content.push_back(text);
    }
    const auto problems = verifyDatabase(**database).problems;
    if (!problems.empty())
        content.push_back("inconsistent: " + problems.front());
    return content;
}

std::vector<Value> row(int i)
{
    return {Null{}, int32_t(i % 3), std::string("entry") + char('a' + i % 7),
            DateTime{46000.0 + i / 144.0}, double(i) / 4};
}

// A change that touches many pages: appends that split index pages and add
// data pages, updates that move rows, deletes.
Status bigChange(MemoryFileSystem& files)
{
    auto database = Database::open(files, kCrashPath, OpenMode::ReadWrite);
    if (!database)
        return database.error();
    DatabaseWriter writer(**database);
    for (int i = 0; i < 150; ++i) {
        auto appended = writer.append("Log", row(1000 + i));
        if (!appended)
            return appended.error();
    }
    auto table = writer.definition("Log");
    if (!table)
        return table.error();
    auto rows = (*database)->readAll(**table);
    if (!rows)
        return rows.error();
    for (std::size_t i = 0; i < rows->size(); i += 7) {
        std::vector<Value> values = (*rows)[i].values;
        values[2] = std::string(200, 'u');
        if (Status updated = writer.update("Log", (*rows)[i].location, values); !updated)
            return updated;
    }
    for (std::size_t i = 3; i < rows->size(); i += 11) {
        if (Status removed = writer.remove("Log", (*rows)[i].location); !removed)
            return removed;
    }
    return writer.commit();
}

class Crash : public ::testing::Test {
protected:
    void SetUp() override
    {
        Status created = createDatabase(files, kCrashPath, [](DatabaseWriter& writer) {
            using T = ColumnType;
            Status made = writer.createTable("Log",
                                             {{"Id", T::Long, 0, true}, {"Source", T::Long}, {"Text", T::Text, 255},
                                              {"Taken", T::DateTime}, {"Value", T::Double}},
                                             {{"Id", {"Id"}, true, true}, {"SourceTaken", {"Source", "Taken"}},
                                              {"Text", {"Text"}}});
            for (int i = 0; made && i < 200; ++i) {
                auto appended = writer.append("Log", row(i));
                if (!appended)
                    return Status(appended.error());
            }
            return made;
        });
        ASSERT_TRUE(created) << created.error().message;
        original = files.content(kCrashPath);
        restore();
        before = contentOf(files);
        Status changed = bigChange(files);
        ASSERT_TRUE(changed) << changed.error().message;
        after = contentOf(files);
        writesOfChange = files.writes();
        ASSERT_NE(before, after);
        ASSERT_GT(writesOfChange, 10);
    }
    void restore()
    {
        files = MemoryFileSystem();
        files.setContent(kCrashPath, original);
    }

    MemoryFileSystem files;
    std::vector<uint8_t> original;
    std::vector<std::string> before;
    std::vector<std::string> after;
    int writesOfChange = 0;
};

}  // namespace

TEST_F(Crash, AtEveryWriteLeavesBeforeOrAfter)
{
    for (auto mode : {MemoryFileSystem::CrashMode::LoseUnsynced, MemoryFileSystem::CrashMode::KeepUnsynced,
                      MemoryFileSystem::CrashMode::LoseTail}) {
        for (int write = 0; write <= writesOfChange; ++write) {
            restore();
            files.crashAfterWrites(write);
            (void)bigChange(files);
            files.crash(mode);
            const std::vector<std::string> now = contentOf(files);
            ASSERT_TRUE(now == before || now == after)
                << "crash after write " << write << " (mode " << int(mode) << "): " << now.back();
            // The crash left nothing to undo a second time.
            ASSERT_EQ(contentOf(files), now);
        }
    }
}

TEST_F(Crash, FailingWriteUndoesTheChangeAtOnce)
{
    for (int write = 1; write <= writesOfChange; ++write) {
        restore();
        files.failWriteAt(write);
        Status changed = bigChange(files);
        EXPECT_FALSE(changed) << "write " << write;
        ASSERT_EQ(contentOf(files), before) << "write " << write;
    }
}

// A crash leaves a complete journal; before the next open, an older copy of
// the database is put back under its name. The journal belongs to the file
// as it was at the crash, not to the copy: it is set aside, never applied.
TEST_F(Crash, AJournalIsNeverAppliedToAnotherFile)
{
    // An older copy: the database before its last 40 rows.
    restore();
    std::vector<uint8_t> olderCopy;
    {
        MemoryFileSystem earlier;
        ASSERT_TRUE(createDatabase(earlier, kCrashPath, [](DatabaseWriter& writer) {
            using T = ColumnType;
            Status made = writer.createTable("Log",
                                             {{"Id", T::Long, 0, true}, {"Source", T::Long}, {"Text", T::Text, 255},
                                              {"Taken", T::DateTime}, {"Value", T::Double}},
                                             {{"Id", {"Id"}, true, true}, {"SourceTaken", {"Source", "Taken"}},
                                              {"Text", {"Text"}}});
            for (int i = 0; made && i < 160; ++i)
                made = writer.append("Log", row(i)) ? Status::success() : Status(invalidArgument("append"));
            return made;
        }));
        olderCopy = earlier.content(kCrashPath);
    }
    const std::vector<std::string> olderContent = [&] {
        MemoryFileSystem copy;
        copy.setContent(kCrashPath, olderCopy);
        return contentOf(copy);
    }();

    // The journal is written in full, then the crash comes after two pages.
    files.crashAfterWrites(4);
    (void)bigChange(files);
    files.crash(MemoryFileSystem::CrashMode::KeepUnsynced);
    ASSERT_TRUE(Journal::needsRecovery(files, kCrashPath));
    files.setContent(kCrashPath, olderCopy);

    auto database = Database::open(files, kCrashPath, OpenMode::ReadOnly);
    ASSERT_TRUE(database) << database.error().message;
    ASSERT_EQ((*database)->notices().size(), 1u);
    EXPECT_NE((*database)->notices().front().find("set aside"), std::string::npos);
    database->reset();
    EXPECT_EQ(files.content(kCrashPath), olderCopy);
    EXPECT_EQ(contentOf(files), olderContent);
    EXPECT_TRUE(files.exists(Journal::pathFor(kCrashPath) + ".stale-1"));
    EXPECT_FALSE(Journal::needsRecovery(files, kCrashPath));
}

// The same crash, and the file put back is a copy of the database exactly as
// it was before the change: the journal fits it, and undoing is harmless.
TEST_F(Crash, AJournalFitsAnExactCopyOfItsFile)
{
    restore();
    files.crashAfterWrites(4);
    (void)bigChange(files);
    files.crash(MemoryFileSystem::CrashMode::KeepUnsynced);
    files.setContent(kCrashPath, original);
    auto database = Database::open(files, kCrashPath, OpenMode::ReadOnly);
    ASSERT_TRUE(database) << database.error().message;
    ASSERT_EQ((*database)->notices().size(), 1u);
    EXPECT_NE((*database)->notices().front().find("has been undone"), std::string::npos);
    database->reset();
    EXPECT_EQ(contentOf(files), before);
}
