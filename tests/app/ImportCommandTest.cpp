#include "core/db/NimbrelSchema.h"
#include "support/TestSupport.h"

#include "ProgramRun.h"

#include <gtest/gtest.h>

namespace {

ProgramRun import(const QStringList& arguments)
{
    return nimbrel(QStringList{"import"} + arguments, 60000);
}

// A new database with the source "Garden" (number 4).
class ImportCommandTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        ASSERT_TRUE(NimbrelSchema::createDatabase(path.toStdString()));
        ASSERT_TRUE(insertRow(path, "Sources", {{"SourceID", 4}, {"SourceName", "Garden"}, {"DataID", 4}}));
    }

    TempFolder folder;
    QString path = folder.file("Weather.mdb");
};

}  // namespace

TEST_F(ImportCommandTest, StationHistoryOncePerCycleThenNothingNewFromFixtures)
{
    SKIP_WITHOUT_FIXTURES();
    const QString history = fixturePath("history-hwpro-ws3600.dat");
    const ProgramRun first = import({path, "Garden", history, "--cycle", "10"});
    EXPECT_EQ(first.exitCode, 0) << first.err.toStdString();
    EXPECT_TRUE(first.out.contains("a station history of 20881 records from 17.04.2005 20:30 to 02.05.2005 08:30"))
        << first.out.toStdString();
    EXPECT_TRUE(first.out.contains("20881 read, 2089 stored, 0 already there, 0 bad, 18792 between log cycles"))
        << first.out.toStdString();
    const ProgramRun again = import({path, "4", history, "--history"});
    EXPECT_EQ(again.exitCode, 0);
    EXPECT_TRUE(again.out.contains("20881 read, 18792 stored, 2089 already there, 0 bad")) << again.out.toStdString();
}

// Each refusal is one line naming what is wrong, with an exit code that
// tells usage (2) from a failure (1); nothing is stored.
TEST_F(ImportCommandTest, RefusalsSayWhy)
{
    const QString page = folder.write("page.txt", "<html><body>A forum's page</body></html>\n");
    const ProgramRun otherSite = import({path, "Garden", page});
    EXPECT_EQ(otherSite.exitCode, 1);
    EXPECT_TRUE(otherSite.err.contains("no observations found")) << otherSite.err.toStdString();

    const ProgramRun notHistory = import({path, "Garden", page, "--history"});
    EXPECT_EQ(notHistory.exitCode, 1);
    EXPECT_TRUE(notHistory.err.contains("not a station history file")) << notHistory.err.toStdString();

    const ProgramRun noSource = import({path, "Roof", page});
    EXPECT_EQ(noSource.exitCode, 1);
    EXPECT_TRUE(noSource.err.contains("has no source \"Roof\"; it has \"Garden\" (4)")) << noSource.err.toStdString();

    const ProgramRun folderGiven = import({path, "Garden", folder.path()});
    EXPECT_EQ(folderGiven.exitCode, 1);
    EXPECT_TRUE(folderGiven.err.contains("it is a folder")) << folderGiven.err.toStdString();

    EXPECT_EQ(import({path, "Garden", page, "--cycle", "ten"}).exitCode, 2);
    EXPECT_EQ(import({path, "Garden"}).exitCode, 2);
    EXPECT_EQ(import({folder.file("none.mdb"), "Garden", page}).exitCode, 1);
}
