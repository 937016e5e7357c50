#include "core/db/DatabaseSession.h"
#include "core/db/NimbrelSchema.h"
#include "core/errors/Environment.h"
#include "core/text/Clock.h"
#include "support/TestSupport.h"
#include "ProgramRun.h"

#include <QImage>

#include <gtest/gtest.h>

namespace {

ProgramRun summary(const QStringList& arguments, const QString& settings)
{
    return nimbrel(QStringList{"summary"} + arguments + QStringList{"--settings", settings});
}

// A station "Garden" (source 2) with six readings over three days, worked
// out by hand below.
class SummaryCommandTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        ASSERT_TRUE(NimbrelSchema::createDatabase(path.toStdString()));
        RecordingErrors errors;
        RecordingMessageBoxes boxes;
        FixedClock clock{QDateTime(QDate(2026, 11, 23), QTime(12, 0))};
        const Environment environment{errors, boxes, clock};
        auto session = DatabaseSession::open(path, DatabaseSession::Access::Write, environment);
        ASSERT_TRUE(session);
        auto sources = (*session)->table("Sources");
        ASSERT_TRUE((*session)->insert(*sources, {{"SourceID", 2}, {"SourceName", "Garden"},
                                                  {"SourceDatabase", path}, {"DataID", 2}}));
        auto history = (*session)->table("History");
        struct Reading {
            int day, hour;
            double temperature, speed;
            const char* direction;
            double rain;
        };
        const Reading readings[] = {{1, 9, 3.5, 0, "---", 20.0},  {1, 15, 9.25, 6, "SW", 20.0},
                                    {2, 9, 1.0, 10, "SW", 21.5},  {2, 21, 6.0, 10, "NNE", 24.0},
                                    {3, 9, -0.5, 4, "N", 24.5},   {4, 10, 2.0, 2, "N", 24.5}};
        for (const Reading& r : readings) {
            const QDateTime time(QDate(2026, 11, r.day), QTime(r.hour, 0));
            ASSERT_TRUE((*session)->insert(*history, {{"SourceID", 2}, {"DateRead", time},
                                                      {"DateText", time.toString("dd.MM.yyyy")},
                                                      {"TimeText", time.toString("HH:mm")},
                                                      {"OutTemperature", r.temperature}, {"WindSpeed", r.speed},
                                                      {"WindDir", r.direction}, {"RainTotal", r.rain}}));
        }
        ASSERT_TRUE((*session)->commit());
    }

    TempFolder folder;
    QString path = folder.file("Weather.mdb");
    QString settings = folder.file("settings.ini");
};

}  // namespace

TEST_F(SummaryCommandTest, PrintsTheNumbersWorkedOutByHand)
{
    ProgramRun maxMin = summary({"maxmin", path, "Garden", "--from", "2026-11-01", "--to", "2026-11-03"}, settings);
    EXPECT_EQ(maxMin.exitCode, 0) << maxMin.err.toStdString();
    EXPECT_EQ(maxMin.out.toStdString(), "Day          Min   Max\n"
                                        "01.11.2026   3.5   9.3\n"
                                        "02.11.2026   1.0   6.0\n"
                                        "03.11.2026  -0.5  -0.5\n");

    // The 2nd: 10 knots from the SW at 09:00 (first of two tops), 10 from NNE.
    ProgramRun wind = summary({"wind", path, "2", "2026-11-02", "--csv"}, settings);
    EXPECT_EQ(wind.exitCode, 0) << wind.err.toStdString();
    EXPECT_TRUE(wind.out.startsWith("Direction,Sum of speeds\nN,0.0\nNNE,10.0\n")) << wind.out.toStdString();
    EXPECT_TRUE(wind.out.contains("\nSW,10.0\n"));

    // Rain days: the first reading (09:00 on the 1st) closes day 01 with
    // nothing before it; 09:00 on the 2nd closes day 02 (21.5 - 20.0), and
    // so on; the total is 24.5 - 20.0.
    ProgramRun rain = summary({"rain", path, "Garden", "2026-11"}, settings);
    EXPECT_EQ(rain.exitCode, 0) << rain.err.toStdString();
    EXPECT_EQ(rain.out.toStdString(), "Day         Rain (mm)\n"
                                      "01.11.2026    no data\n"
                                      "02.11.2026        1.5\n"
                                      "03.11.2026        3.0\n"
                                      "04.11.2026        0.0\n"
                                      "Rainfall for November 2026.    Total is 4.5mm\n");

    ProgramRun month = summary({"month", path, "Garden", "2026-11"}, settings);
    EXPECT_EQ(month.exitCode, 0) << month.err.toStdString();
    const QStringList lines = month.out.split('\n');
    // Mean (1.0 + 6.0) / 2; 10 knots from SW and from NNE: the first point clockwise from north.
    EXPECT_EQ(lines.value(2).simplified().toStdString(), "02.11.2026 6.0 1.0 3.5 1.5 10.0 NNE") << month.out.toStdString();
    EXPECT_TRUE(month.out.contains("Highest: 9.3 on 01.11.2026\nLowest: -0.5 on 03.11.2026\n"
                                   "Rain: 4.5 mm on 2 days\nStrongest wind: 10.0 on 02.11.2026\n"))
        << month.out.toStdString();
}

TEST_F(SummaryCommandTest, DrawsPicturesAndRefusesWhatItCannotDo)
{
    const QString gif = folder.file("rain.gif");
    EXPECT_EQ(summary({"rain", path, "Garden", "2026-11", "--picture", gif}, settings).exitCode, 0);
    EXPECT_EQ(QImage(gif).size(), QSize(613, 467));

    ProgramRun unknown = summary({"wind", path, "Roof", "2026-11-02"}, settings);
    EXPECT_EQ(unknown.exitCode, 1);
    EXPECT_TRUE(unknown.err.endsWith("nimbrel summary: " + path + " has no source \"Roof\"; it has \"Garden\" (2)\n"))
        << unknown.err.toStdString();
    ProgramRun badDate = summary({"wind", path, "Garden", "2.11.2026"}, settings);
    EXPECT_EQ(badDate.exitCode, 2);
    EXPECT_TRUE(badDate.err.contains("nimbrel summary: wind wants a date as yyyy-MM-dd")) << badDate.err.toStdString();
    ProgramRun missing = summary({"rain", folder.file("none.mdb"), "Garden", "2026-11"}, settings);
    EXPECT_EQ(missing.exitCode, 1);
    EXPECT_TRUE(missing.err.contains("no database")) << missing.err.toStdString();
    EXPECT_EQ(summary({"maxmin", path, "Garden", "--from", "2026-11-02", "--to", "2026-11-02"}, settings).exitCode, 2);
}
