#include "DatabaseFixture.h"
#include "core/db/DayDiary.h"

#include "mdb/FileSystem.h"

namespace {

// The day diary's table: one entry per day, replaced whole on each save.
class DayDiaryTest : public DatabaseFixture {
protected:
    const QDate day{2026, 3, 15};
};

TEST_F(DayDiaryTest, SavedEntriesReadBackAsAnotherReaderSeesThem)
{
    const DiaryEntry storm{"Hail at 4 o'clock, then \"sun\"", false, true, true, false};
    ASSERT_TRUE(DayDiary::save(path, day, storm, environment));
    ASSERT_TRUE(DayDiary::save(path, day.addDays(1), DiaryEntry{{}, true, false, false, false}, environment));

    auto loaded = DayDiary::load(path, day, environment);
    ASSERT_TRUE(loaded);
    EXPECT_EQ(*loaded, storm);
    const MdbTools::Export table = exported("DayDiary");
    ASSERT_TRUE(table.ok) << table.error;
    ASSERT_EQ(table.rows.size(), 2u);
    EXPECT_EQ(cell(table, 0, "DiaryDate"), "2026-03-15 00:00:00");
    EXPECT_EQ(cell(table, 0, "Details"), storm.details.toStdString());
    EXPECT_EQ(cell(table, 0, "Storm"), "1");
    EXPECT_EQ(cell(table, 0, "Rain"), "0");
    EXPECT_EQ(cell(table, 1, "Details"), "<null>") << "an empty commentary is stored as null";
    EXPECT_EQ(cell(table, 1, "Rain"), "1");
    EXPECT_TRUE(errors.empty());
}

TEST_F(DayDiaryTest, SavingReplacesTheDayAndAnEmptyEntryRemovesIt)
{
    ASSERT_TRUE(DayDiary::save(path, day, DiaryEntry{"first", true, false, false, false}, environment));
    ASSERT_TRUE(DayDiary::save(path, day, DiaryEntry{"second", false, false, false, true}, environment));
    EXPECT_EQ(MdbTools::count(path.toStdString(), "DayDiary"), 1);
    EXPECT_EQ(DayDiary::load(path, day, environment)->details, "second");

    ASSERT_TRUE(DayDiary::save(path, day, DiaryEntry{}, environment));
    EXPECT_EQ(MdbTools::count(path.toStdString(), "DayDiary"), 0);
    EXPECT_TRUE(DayDiary::load(path, day, environment)->isEmpty());
    EXPECT_TRUE(errors.empty());
}

TEST_F(DayDiaryTest, AFailedSaveLeavesTheDayAsItWasAndSaysSo)
{
    // The database in memory, where a write can be made to fail.
    mdb::MemoryFileSystem memory;
    const QByteArray bytes = readAll(path);
    memory.setContent(path.toStdString(), std::vector<uint8_t>(bytes.begin(), bytes.end()));
    const Environment inMemory{errors, boxes, clock, Environment::noBusyIndicator(), memory};

    const DiaryEntry kept{"kept", false, false, false, true};
    ASSERT_TRUE(DayDiary::save(path, day, kept, inMemory));
    memory.failWriteAt(memory.writes() + 2);  // within the replacing change
    EXPECT_FALSE(DayDiary::save(path, day, DiaryEntry{"lost"}, inMemory));
    ASSERT_EQ(errors.messages().size(), 1);
    EXPECT_TRUE(errors.messages()[0].startsWith("Database Error: \r\n"));
    auto loaded = DayDiary::load(path, day, inMemory);
    ASSERT_TRUE(loaded) << loaded.error().message;
    EXPECT_EQ(*loaded, kept);

    EXPECT_FALSE(DayDiary::save("", day, kept, environment)) << "no database set: nothing to do";
    EXPECT_TRUE(DayDiary::load("", day, environment)->isEmpty());
    EXPECT_EQ(errors.messages().size(), 1);
}

}  // namespace
