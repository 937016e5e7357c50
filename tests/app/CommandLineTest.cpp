#include "AccessCheck.h"
#include "MdbTestSupport.h"
#include "MdbToolsOracle.h"
#include "mdb/Database.h"
#include "mdb/DatabaseWriter.h"
#include "mdb/FileSystem.h"
#include "mdb/Journal.h"
#include "support/TestSupport.h"
#include "ProgramRun.h"

#include <QFile>
#include <QProcess>

#include <algorithm>
#include <QThread>

#include <gtest/gtest.h>

TEST(CommandLineFromFixtures, ReadPrintsEveryValueOfTheReading)
{
    SKIP_WITHOUT_FIXTURES();
    const ProgramRun run = nimbrel({"read", fixturePath("currdat-hwpro-ws2800.lst")});
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_EQ(run.err, "");
    EXPECT_EQ(run.out,
              "Result: true\n"
              "ReadDate: 2013-02-27 08:12:37\n"
              "Stability: Fluctuating\n"
              "StabilityData: 1\n"
              "Trend: Rising\n"
              "TrendData: 1\n"
              "StormWarning: \n"
              "StormWarningData: -1\n"
              "RainTotal: 451\n"
              "Rain24hr: 22.2\n"
              "Rain1hr: 0\n"
              "WindChill: 21.5\n"
              "Dewpoint: 18.7\n"
              "WindDirection: SW\n"
              "WindSpeed: 0\n"
              "HumidityIn: 54\n"
              "HumidityOut: 84\n"
              "TemperatureIn: 28.5\n"
              "TemperatureOut: 21.5\n"
              "Barometer: 936\n");
}

TEST(CommandLine, ReadFailurePrintsFalseAndTheLogLineOnStandardError)
{
    TempFolder folder;
    const ProgramRun run = nimbrel({"read", folder.file("missing.lst")});
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_EQ(run.out, "Result: false\n") << "no list of zero values after a failed read";
    EXPECT_TRUE(run.err.contains("Current Data Read Error: File not found")) << run.err.toStdString();
    EXPECT_FALSE(run.err.contains(u'\r')) << "lines on a terminal end in LF alone";
}

// A word the program does not know never starts the window silently.
TEST(CommandLine, UnknownWordsShowTheUsageAndExitWithTwo)
{
    for (const QStringList& arguments : {QStringList{"frobnicate"}, QStringList{"--hlep"}, QStringList{"--demo", "x"}}) {
        const ProgramRun run = nimbrel(arguments);
        EXPECT_EQ(run.exitCode, 2) << arguments.join(' ').toStdString();
        EXPECT_EQ(run.out, "");
        EXPECT_TRUE(run.err.contains("unknown command or option")) << run.err.toStdString();
        EXPECT_TRUE(run.err.contains("Usage: nimbrel")) << run.err.toStdString();
    }
    const ProgramRun version = nimbrel({"--version"});
    EXPECT_EQ(version.exitCode, 0);
    EXPECT_EQ(version.out, "Nimbrel " NIMBREL_VERSION "\n");
}

TEST(CommandLine, ReadFeedAndHelp)
{
    TempFolder folder;
    const QString feed = folder.write("feed.xml",
                                      "<pubDate>Sat, 21 Nov 2026 03:30:00 GMT</pubDate>\n"
                                      "<title>Current weather for Perth at 3:00 am WST</title>\n"
                                      "<b>Temperature:</b> 23.4&deg;C\n");
    const ProgramRun readRun = nimbrel({"read", feed, "--feed"});
    EXPECT_TRUE(readRun.out.contains("TemperatureOut: 23.4\n")) << readRun.out.toStdString();

    const ProgramRun help = nimbrel({"--help"});
    EXPECT_EQ(help.exitCode, 0);
    EXPECT_TRUE(help.out.contains("read FILE [--feed]"));
    EXPECT_TRUE(help.out.contains("bench db [FOLDER]"));

    const ProgramRun unknownBench = nimbrel({"bench", "graphs"});
    EXPECT_EQ(unknownBench.exitCode, 2);
    EXPECT_TRUE(unknownBench.err.contains("nimbrel bench db")) << unknownBench.err.toStdString();
}

TEST(CommandLineFromFixtures, MdbDumpListsTablesAndPrintsRows)
{
    SKIP_WITHOUT_FIXTURES();
    const QString database = fixturePath("mdb/testV2000.mdb");
    const ProgramRun list = nimbrel({"mdb-dump", database});
    EXPECT_EQ(list.exitCode, 0);
    EXPECT_TRUE(list.out.contains("Table1: 2 rows\n  A  Text (50)\n")) << list.out.toStdString();
    EXPECT_TRUE(list.out.contains("  index PrimaryKey (A), primary key\n"));

    const ProgramRun rows = nimbrel({"mdb-dump", database, "Table1"});
    EXPECT_EQ(rows.out, "A\tB\tC\tD\tE\tF\tG\tH\tI\n"
                        "abcdefg\thijklmnop\t2\t222\t333333333\t444.555\t1974-09-21 00:00:00\t3.5000\t1\n"
                        "a\tb\t0\t0\t0\t0\t1981-12-12 00:00:00\t0.0000\t0\n");

    const ProgramRun missing = nimbrel({"mdb-dump", database, "NoSuchTable"});
    EXPECT_EQ(missing.exitCode, 1);
    EXPECT_TRUE(missing.err.contains("no table named NoSuchTable"));
}

TEST(CommandLine, CreateDbMakesTheFiveTablesAndNeverOverwrites)
{
    TempFolder folder;
    const QString path = folder.file("weather.mdb");
    const ProgramRun created = nimbrel({"create-db", path});
    EXPECT_EQ(created.exitCode, 0) << created.err.toStdString();
    EXPECT_EQ(created.out, "Created " + path + " with the tables History, Sources, Favorites, Traces, DayDiary\n");

    QProcess tables;
    tables.start("mdb-tables", {"-1", path});
    tables.waitForFinished();
    EXPECT_EQ(QString::fromUtf8(tables.readAllStandardOutput()), "History\nSources\nFavorites\nTraces\nDayDiary\n");

    const ProgramRun verified = nimbrel({"verify-db", path});
    EXPECT_EQ(verified.exitCode, 0);
    EXPECT_EQ(verified.out, "No problems found\n");

    const QByteArray before = readAll(path);
    const ProgramRun again = nimbrel({"create-db", path});
    EXPECT_EQ(again.exitCode, 1);
    EXPECT_TRUE(again.err.contains("already exists"));
    EXPECT_EQ(readAll(path), before);

    if (AccessCheck::available()) {
        const AccessCheck::Outcome checked = AccessCheck::check(path.toStdString());
        EXPECT_TRUE(checked.opened && checked.problems.empty()) << checked.output;
    }
}

// A file written by an earlier version is reported, and --repair rewrites it
// in the form other programs read.
TEST(CommandLine, VerifyDbRepairsWhatEarlierVersionsWrote)
{
    TempFolder folder;
    const QString path = folder.file("earlier.mdb");
    ASSERT_EQ(nimbrel({"create-db", path}).exitCode, 0);
    std::vector<uint8_t> bytes = fileBytes(path.toStdString());
    toEarlierEngineForm(bytes);
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
    file.write(reinterpret_cast<const char*>(bytes.data()), qint64(bytes.size()));
    file.close();

    const ProgramRun reported = nimbrel({"verify-db", path});
    EXPECT_EQ(reported.exitCode, 1);
    EXPECT_TRUE(reported.out.contains("earlier versions")) << reported.out.toStdString();
    const ProgramRun repaired = nimbrel({"verify-db", path, "--repair"});
    EXPECT_EQ(repaired.exitCode, 0) << repaired.out.toStdString() << repaired.err.toStdString();
    EXPECT_EQ(repaired.out, "No problems found\n");
}

namespace {

void writeFile(const std::string& path, const std::vector<uint8_t>& bytes)
{
    QFile file(QString::fromStdString(path));
    ASSERT_TRUE(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
    ASSERT_EQ(file.write(reinterpret_cast<const char*>(bytes.data()), qint64(bytes.size())), qint64(bytes.size()));
}

// A new database with the journal of a change cut off by a crash after the
// journal and one page were written, as a crash leaves them on disk. The
// database file is `path` before the change (`changedFile` false) or as the
// crash left it.
void leaveInterruptedChange(const std::string& path, bool changedFile)
{
    ASSERT_EQ(nimbrel({"create-db", QString::fromStdString(path)}).exitCode, 0);
    const std::vector<uint8_t> before = fileBytes(path);
    mdb::MemoryFileSystem memory;
    memory.setContent(path, before);
    {
        auto database = mdb::Database::open(memory, path, mdb::OpenMode::ReadWrite);
        ASSERT_TRUE(database) << database.error().message;
        mdb::DatabaseWriter writer(**database);
        for (int i = 0; i < 300; ++i)
            ASSERT_TRUE(writer.append("DayDiary", {mdb::DateTime{46000.0 + i}, std::string(100, 'x'), true, false,
                                                   false, false}));
        memory.crashAfterWrites(memory.writes() + 2);
        (void)writer.commit();  // the crash comes in the middle; the program does not see it
    }
    memory.crash(mdb::MemoryFileSystem::CrashMode::KeepUnsynced);
    writeFile(mdb::Journal::pathFor(path), memory.content(mdb::Journal::pathFor(path)));
    writeFile(path, changedFile ? memory.content(path) : std::vector<uint8_t>(before.begin(), before.end() - 4096));
}

}  // namespace

// Reading a database whose last change was interrupted writes to it: the
// command says so first, then what it did, on standard error.
TEST(CommandLine, ReadingCommandsSayWhenTheyUndoOrSetAsideAnInterruptedChange)
{
    TempFolder folder;
    const std::string undone = folder.file("undone.mdb").toStdString();
    leaveInterruptedChange(undone, true);
    const ProgramRun verified = nimbrel({"verify-db", QString::fromStdString(undone)});
    EXPECT_EQ(verified.exitCode, 0);
    EXPECT_EQ(verified.out, "No problems found\n");
    EXPECT_TRUE(verified.err.contains("has the journal of an interrupted change beside it")) << verified.err.toStdString();
    EXPECT_TRUE(verified.err.contains("has been undone; the file reads as it did before that change"))
        << verified.err.toStdString();
    EXPECT_EQ(MdbTools::count(undone, "DayDiary"), 0);

    const std::string foreign = folder.file("foreign.mdb").toStdString();
    leaveInterruptedChange(foreign, false);  // another file under the name: the journal is not applied
    const ProgramRun dumped = nimbrel({"mdb-dump", QString::fromStdString(foreign), "DayDiary"});
    EXPECT_TRUE(dumped.err.contains("set aside as")) << dumped.err.toStdString();
    EXPECT_TRUE(QFile::exists(QString::fromStdString(mdb::Journal::pathFor(foreign) + ".stale-1")));
}

TEST(CommandLine, SimulateOnceWritesAFileTheReaderAccepts)
{
    TempFolder folder;
    const QString file = folder.file("currdat.lst");
    const ProgramRun simulated = nimbrel({"simulate", file, "--once"});
    EXPECT_EQ(simulated.exitCode, 0) << simulated.err.toStdString();
    const ProgramRun read = nimbrel({"read", file});
    EXPECT_EQ(read.exitCode, 0);
    EXPECT_TRUE(read.out.startsWith("Result: true\n")) << read.out.toStdString();
    EXPECT_TRUE(read.err.isEmpty()) << read.err.toStdString();

    EXPECT_EQ(nimbrel({"simulate"}).exitCode, 2);
}

namespace {

// The program's environment with its home (settings, the demo's files) in
// `home`, offscreen.
QProcessEnvironment demoEnvironment(const TempFolder& home)
{
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert("HOME", home.path());
    environment.insert("XDG_DATA_HOME", home.file("data"));
    environment.insert("XDG_CONFIG_HOME", home.file("config"));
    environment.insert("QT_QPA_PLATFORM", "offscreen");
    return environment;
}

}  // namespace

// One window per settings file: a second start of the demo says so, brings
// the first to the front, and ends.
TEST(Program, ASecondStartWithTheSameSettingsLeavesTheFirstAlone)
{
    TempFolder home;
    const QProcessEnvironment environment = demoEnvironment(home);
    QProcess first;
    first.setProcessEnvironment(environment);
    first.start(QStringLiteral(NIMBREL_PROGRAM), {"--demo"});
    ASSERT_TRUE(first.waitForStarted(5000));

    // The first has taken its lock once it has set up the demo's files.
    const QString demoSettings = home.file("data/Nimbrel/Demo/Nimbrel Demo.ini");
    for (int waited = 0; waited < 150 && !QFile::exists(demoSettings); ++waited)
        QThread::msleep(100);
    ASSERT_TRUE(QFile::exists(demoSettings));
    QProcess second;
    second.setProcessEnvironment(environment);
    second.start(QStringLiteral(NIMBREL_PROGRAM), {"--demo"});
    ASSERT_TRUE(second.waitForFinished(15000)) << "the second must end on its own";
    const QString said = QString::fromUtf8(second.readAllStandardError());
    EXPECT_EQ(second.exitCode(), 0);
    EXPECT_TRUE(said.contains("Nimbrel is already running with the settings in")) << said.toStdString();
    EXPECT_EQ(first.state(), QProcess::Running) << "the first keeps running";
    first.terminate();
    if (!first.waitForFinished(5000))
        first.kill();
}

namespace {

// Readings of the demo's database stamped more than twenty minutes after
// `started`: only the fast clock can have written them. An unreadable file
// (the program may be writing it) counts none.
std::size_t readingsAheadOf(const QString& database, const QDateTime& started)
{
    const MdbTools::Export history = MdbTools::exportTable(database.toStdString(), "History");
    if (!history.ok)
        return 0;
    const auto column = std::find(history.header.begin(), history.header.end(), "DateRead");
    if (column == history.header.end())
        return 0;
    const std::size_t index = std::size_t(column - history.header.begin());
    return std::size_t(std::count_if(history.rows.begin(), history.rows.end(), [&](const auto& row) {
        const QDateTime stamp = QDateTime::fromString(QString::fromStdString(row.at(index).value_or("")),
                                                      "yyyy-MM-dd HH:mm:ss");
        return stamp > started.addSecs(20 * 60);
    }));
}

}  // namespace

// "--demo --speed 600" runs the demo's clock 600 times faster: a ten-minute
// mark every second, each logging a reading and writing the feed and the
// favourite's picture, so a day of cycles can be watched in minutes.
TEST(Program, TheDemoAtSpeedLogsAtEveryMarkOfItsFastClock)
{
    TempFolder home;
    const QProcessEnvironment environment = demoEnvironment(home);
    QProcess demo;
    demo.setProcessEnvironment(environment);
    const QDateTime started = QDateTime::currentDateTime();
    demo.start(QStringLiteral(NIMBREL_PROGRAM), {"--demo", "--speed", "600"});
    ASSERT_TRUE(demo.waitForStarted(5000));
    const QString folder = home.file("data/Nimbrel/Demo");
    const QString database = folder + "/Demo Weather.mdb";
    // A loaded machine runs fewer fast marks a second: wait for the readings,
    // not for a fixed time.
    for (int waited = 0; waited < 120 && readingsAheadOf(database, started) < 3; ++waited)
        QThread::msleep(500);
    demo.terminate();
    if (!demo.waitForFinished(5000))
        demo.kill();

    EXPECT_TRUE(QFile::exists(folder + "/web/wgraph0.gif"));
    EXPECT_TRUE(QFile::exists(folder + "/feed.xml"));
    EXPECT_GE(readingsAheadOf(database, started), 3u) << "cycles of the fast clock, each a reading";

    QProcess slow;
    slow.setProcessEnvironment(environment);
    slow.start(QStringLiteral(NIMBREL_PROGRAM), {"--speed", "60"});
    ASSERT_TRUE(slow.waitForFinished(15000));
    EXPECT_EQ(slow.exitCode(), 2) << "the speed is the demo's";
    EXPECT_TRUE(QString::fromUtf8(slow.readAllStandardError()).contains("give it with --demo or run --headless"));
}
