#include "DatabaseFixture.h"
#include "core/cycle/GraphEngine.h"
#include "core/cycle/RefreshCycle.h"
#include "core/db/DatabaseSession.h"
#include "core/readings/StationSimulator.h"
#include "core/errors/ErrorRouter.h"
#include "core/graphs/Favourites.h"
#include "core/sources/SourceLists.h"
#include "core/errors/SmtpMailer.h"
#include "core/settings/SettingsModel.h"
#include "mdb/FileSystem.h"
#include "mdb/Layout.h"
#include "support/SmtpTestServer.h"

#include <QFile>
#include <QTimeZone>

namespace {

// Remembers what the cycle showed.
class RecordingView final : public CycleView {
public:
    void setTrayState(TrayState state) override { states.push_back(int(state)); }
    void showReading(const WeatherReading& reading) override { shown.push_back(reading); }
    void showLoggingProblem(const QString& problem) override { problems << problem; }
    std::vector<int> states;
    QStringList problems;
    std::vector<WeatherReading> shown;
};

// A graph that records what it was asked to do and fails the redraws it is told to.
class ScriptedGraph final : public CycleGraph {
public:
    void moveToToday(const QDate& today) override { calls << "today " + today.toString(Qt::ISODate); }
    QList<PictureFavourite> exportFavourites() override { return favourites; }
    bool loadFavourite(qint32 favID) override
    {
        calls << QString("load %1").arg(favID);
        return true;
    }
    bool redraw() override
    {
        calls << "redraw";
        return failingRedraws-- <= 0;
    }
    void exportPicture(int position) override { calls << QString("picture %1").arg(position); }
    void showOnScreen() override { calls << "screen"; }

    QList<PictureFavourite> favourites;
    int failingRedraws = 0;
    QStringList calls;
};

class RefreshCycleTest : public DatabaseFixture {
protected:
    const QDateTime kStart{QDate(2026, 3, 10), QTime(10, 0, 0)};

    void SetUp() override
    {
        DatabaseFixture::SetUp();
        settings.setDatabase(path);
        stationFile = folder.file("currdat.lst");
    }

    void addSource(qint32 id, qint16 type, const QString& file, qint32 logMultiple)
    {
        auto session = DatabaseSession::open(path, DatabaseSession::Access::Write, environment);
        ASSERT_TRUE(session);
        auto table = (*session)->table("Sources");
        ASSERT_TRUE(table);
        ASSERT_TRUE((*session)->insert(*table, {{"SourceID", id},
                                                {"SourceName", QString("Station %1").arg(id)},
                                                {"SourceType", type},
                                                {"SourceFileName", file},
                                                {"LogMultiple", logMultiple}}));
        ASSERT_TRUE((*session)->commit());
    }

    // Rewritten in place: the ticks run on this thread, so no reader can
    // meet half a file (and a day of minutes is not slowed by flushes to disk).
    void writeStation(const QDateTime& time)
    {
        folder.write("currdat.lst", StationSimulator::currentDataFile(StationSimulator::weatherAt(time)));
    }

    void startCycle()
    {
        cycle.start(loadSources(path, environment), kStart);
        now = kStart;
    }

    // Ticks every five seconds up to and including `end`, with the station
    // file rewritten as each minute begins when `station` is set.
    void runUntil(const QDateTime& end, bool station = true)
    {
        for (; now <= end; now = now.addSecs(5)) {
            if (station && now.time().second() == 0)
                writeStation(now);
            clock.set(now);
            cycle.tick(now);
        }
    }

    // The DateRead values of History, as mdbtools reads them.
    std::vector<std::string> loggedTimes()
    {
        const MdbTools::Export history = exported("History");
        EXPECT_TRUE(history.ok) << history.error;
        std::vector<std::string> times;
        for (std::size_t row = 0; row < history.rows.size(); ++row)
            times.push_back(cell(history, row, "DateRead").substr(11, 5));
        std::sort(times.begin(), times.end());
        return times;
    }

    SettingsModel settings;
    RecordingView view;
    ScriptedGraph graph;
    RefreshCycle cycle{settings, environment, view, graph};
    QString stationFile;
    QDateTime now;
};

TEST(RefreshCycleDue, NextDueIsCutToItsTenMinuteMark)
{
    const QDate day(2026, 3, 10);
    const auto due = [&day](QTime time, int minutes) {
        return RefreshCycle::nextDueAfter(QDateTime(day, time), minutes);
    };
    EXPECT_EQ(due(QTime(10, 27), 10), QDateTime(day, QTime(10, 30)));
    EXPECT_EQ(due(QTime(10, 31), 10), QDateTime(day, QTime(10, 40)));
    EXPECT_EQ(due(QTime(10, 39, 59), 10), QDateTime(day, QTime(10, 40))) << "seconds are dropped";
    EXPECT_EQ(due(QTime(10, 27), 60), QDateTime(day, QTime(11, 20)));
    EXPECT_EQ(due(QTime(23, 55), 10), QDateTime(day.addDays(1), QTime(0, 0)));
}

// The clocks go forward (29 March 2026, 02:00 CET becomes 03:00 CEST) and
// back (25 October 2026, 03:00 CEST becomes 02:00 CET) in the tests' time
// zone, Europe/Berlin. Two hours on the timeline hold as many cycles as any
// two hours, and every due time lies ahead of the moment it was set.
TEST(RefreshCycleDue, SummerTimeChangesKeepTheCyclesOnTheTimeline)
{
    ASSERT_EQ(QTimeZone::systemTimeZoneId(), "Europe/Berlin");
    for (const QDateTime& start : {QDateTime(QDate(2026, 3, 29), QTime(1, 0)),   // before the spring change
                                   QDateTime(QDate(2026, 10, 25), QTime(1, 0)),  // before the autumn change
                                   QDateTime(QDate(2026, 7, 1), QTime(1, 0))}) {  // an ordinary night
        SCOPED_TRACE(start.toString(Qt::ISODate).toStdString());
        QDateTime due = RefreshCycle::nextDueAfter(start, 10);
        int cycles = 0;
        for (QDateTime now = start; now.secsTo(start.addSecs(7200)) > 0; now = now.addSecs(5)) {
            if (due.secsTo(now) >= 0) {
                ++cycles;
                due = RefreshCycle::nextDueAfter(now, 10);
                ASSERT_GT(now.secsTo(due), 0) << "due " << due.toString(Qt::ISODateWithMs).toStdString();
            }
        }
        EXPECT_EQ(cycles, 11);
    }
    // At 02:50 summer time in the repeated hour, the next mark is 02:00 winter time.
    const QDateTime summer = QDateTime(QDate(2026, 10, 25), QTime(0, 50), Qt::UTC).toLocalTime();
    ASSERT_EQ(summer.time(), QTime(2, 50));
    const QDateTime next = RefreshCycle::nextDueAfter(summer, 10);
    EXPECT_EQ(next.time(), QTime(2, 0));
    EXPECT_EQ(summer.secsTo(next), 600);
}

TEST_F(RefreshCycleTest, WithEveryFlagOffTicksOnlyCount)
{
    addSource(0, 0, stationFile, 1);
    startCycle();
    cycle.setPanelSource(0);
    runUntil(kStart.addSecs(3600), false);
    EXPECT_TRUE(view.states.empty());
    EXPECT_TRUE(view.shown.empty());
    EXPECT_TRUE(errors.empty()) << "the missing station file was never read";
    EXPECT_EQ(MdbTools::count(path.toStdString(), "History"), 0);
    EXPECT_EQ(cycle.nextDue(), QDateTime(kStart.date(), QTime(11, 10))) << "the due time moves on every cycle";
}

TEST_F(RefreshCycleTest, EveryThirdCycleWithARetryAfterAFailedRead)
{
    settings.setAutoDatabase(true);
    addSource(0, 0, stationFile, 3);
    startCycle();
    runUntil(QDateTime(kStart.date(), QTime(11, 30)));
    EXPECT_EQ(loggedTimes(), (std::vector<std::string>{"10:10", "10:40", "11:10"}));

    // The station program has the file away at 11:40: tried again at 11:50.
    runUntil(QDateTime(kStart.date(), QTime(11, 39, 55)));
    QFile::remove(stationFile);
    runUntil(QDateTime(kStart.date(), QTime(11, 40)), false);
    runUntil(QDateTime(kStart.date(), QTime(12, 30)));
    EXPECT_EQ(loggedTimes(), (std::vector<std::string>{"10:10", "10:40", "11:10", "11:50", "12:20"}));
    ASSERT_EQ(errors.messages().size(), 1);
    EXPECT_TRUE(errors.messages()[0].contains("Current Data Read Error: "));
}

TEST_F(RefreshCycleTest, AFailedRedrawEndsItsCycleWithoutRunningItAgain)
{
    settings.setAutoDatabase(true);
    settings.setAutoGraph(true);
    graph.failingRedraws = 1;
    addSource(0, 0, stationFile, 1);
    startCycle();
    runUntil(QDateTime(kStart.date(), QTime(10, 19, 55)));
    EXPECT_EQ(graph.calls, QStringList({"today 2026-03-10", "redraw", "screen"})) << "tried once, not every five seconds";
    EXPECT_EQ(loggedTimes(), std::vector<std::string>{"10:10"});
    EXPECT_EQ(cycle.nextDue(), QDateTime(kStart.date(), QTime(10, 20)));
    runUntil(QDateTime(kStart.date(), QTime(10, 20)));
    EXPECT_EQ(graph.calls.size(), 6) << "the next cycle redraws again";
}

TEST_F(RefreshCycleTest, AFailedRedrawEndsTheCyclesPictures)
{
    settings.setAutoGraph(true);
    settings.setAutoPicture(true);
    graph.favourites = {{4, 0}, {2, 1}};
    graph.failingRedraws = 1;
    startCycle();
    runUntil(QDateTime(kStart.date(), QTime(10, 20)), false);
    EXPECT_EQ(graph.calls, QStringList({"today 2026-03-10", "load 4", "redraw", "screen", "today 2026-03-10",
                                        "load 4", "redraw", "picture 0", "load 2", "redraw", "picture 1", "screen"}));
}

TEST_F(RefreshCycleTest, TheMinutesReadingOfAMissingFileIsReportedOncePerCycle)
{
    settings.setAutoRefresh(true);
    addSource(0, 0, stationFile, 1);
    startCycle();
    cycle.setPanelSource(0);
    runUntil(QDateTime(kStart.date(), QTime(10, 29, 55)), false);
    // Read every minute, told at the first minute and after each of the two due times.
    EXPECT_EQ(errors.messages().size(), 3);
}

// Whenever readings stop reaching the database the view is told why, and
// told again when they reach it once more.
TEST_F(RefreshCycleTest, ALoggingStopIsShownUntilItWorksAgain)
{
    settings.setAutoDatabase(true);
    settings.setDatabase("");
    cycle.start({}, kStart);
    EXPECT_EQ(view.problems, QStringList{"Nothing is logged: no Primary Weather Database is set"});

    settings.setDatabase(path);
    startCycle();
    EXPECT_EQ(view.problems.last(),
              "Nothing is logged: the Primary Weather Database has no sources, or they could not be read");

    addSource(0, 0, stationFile, 1);
    startCycle();
    runUntil(QDateTime(kStart.date(), QTime(10, 10)), false);  // the station file is missing
    EXPECT_EQ(view.problems.last(), "Not logged at 10:10: the file of Station 0 could not be read");
    runUntil(QDateTime(kStart.date(), QTime(10, 20)));
    EXPECT_EQ(view.problems.last(), "");
    EXPECT_EQ(view.problems.size(), 5) << "told on changes only: " << view.problems.join("|").toStdString();
    EXPECT_EQ(errors.messages().size(), 1) << "the read error itself, once";
}

TEST_F(RefreshCycleTest, GraphAloneRedrawsOneMinuteAfterItsDueTime)
{
    settings.setAutoGraph(true);
    startCycle();
    runUntil(QDateTime(kStart.date(), QTime(10, 10)), false);
    EXPECT_EQ(graph.calls, QStringList({"today 2026-03-10"})) << "first the redraw is put off";
    EXPECT_EQ(cycle.nextDue(), QDateTime(kStart.date(), QTime(10, 10)));
    runUntil(QDateTime(kStart.date(), QTime(10, 11)), false);
    EXPECT_EQ(graph.calls, QStringList({"today 2026-03-10", "today 2026-03-10", "redraw", "screen"}));
    EXPECT_EQ(cycle.nextDue(), QDateTime(kStart.date(), QTime(10, 20)));
}

TEST_F(RefreshCycleTest, PicturesOfTheExportedFavouritesInListOrder)
{
    settings.setAutoGraph(true);
    settings.setAutoPicture(true);
    graph.favourites = {{4, 0}, {2, 3}};  // the second is the fourth favourite of the list
    startCycle();
    runUntil(QDateTime(kStart.date(), QTime(10, 10)), false);
    EXPECT_EQ(graph.calls, QStringList({"today 2026-03-10", "load 4", "redraw", "picture 0", "load 2", "redraw",
                                        "picture 3", "screen"}));
}

TEST_F(RefreshCycleTest, TrayShowsReadingAndCycle)
{
    settings.setAutoRefresh(true);
    settings.setAutoDatabase(true);
    addSource(0, 0, stationFile, 1);
    startCycle();
    cycle.setPanelSource(0);
    runUntil(kStart.addSecs(5));
    EXPECT_EQ(view.states, (std::vector<int>{1, 0})) << "the minute's pass, then idle";
    ASSERT_EQ(view.shown.size(), 1u);
    EXPECT_EQ(view.shown[0], StationSimulator::weatherAt(kStart));

    view.states.clear();
    runUntil(QDateTime(kStart.date(), QTime(10, 10, 5)));
    const std::vector<int> lastMinute(view.states.end() - 3, view.states.end());
    EXPECT_EQ(lastMinute, (std::vector<int>{1, 2, 0}));
}

TEST_F(RefreshCycleTest, FeedReadingsKeepTheirOwnTime)
{
    settings.setAutoDatabase(true);
    const QString feed = folder.write("feed.xml",
                                      "<pubDate>Tue, 10 Mar 2026 09:55:00 GMT</pubDate>\n"
                                      "<title>Current weather for Perth at 9:55 am WST</title>\n"
                                      "<b>Temperature:</b> 23.4&deg;C\n");
    addSource(1, 1, feed, 1);
    startCycle();
    runUntil(QDateTime(kStart.date(), QTime(10, 10)), false);
    EXPECT_EQ(loggedTimes(), std::vector<std::string>{"09:55"});
}

// A station rewriting its file every minute for a whole day, read on a
// ten-minute cycle: one row per slot, each holding that minute's weather.
TEST_F(RefreshCycleTest, ADayOfReadingsGivesOneRowPerSlot)
{
    settings.setAutoRefresh(true);
    settings.setAutoDatabase(true);
    addSource(0, 0, stationFile, 1);
    const QDateTime midnight(QDate(2026, 3, 11), QTime(0, 0));
    cycle.start(loadSources(path, environment), midnight);
    cycle.setPanelSource(0);
    now = midnight;
    runUntil(midnight.addDays(1));
    EXPECT_TRUE(errors.empty()) << errors.messages().join("|").toStdString();

    const MdbTools::Export history = exported("History");
    ASSERT_TRUE(history.ok) << history.error;
    ASSERT_EQ(history.rows.size(), 144u);
    std::map<std::string, std::size_t> rowAt;
    for (std::size_t row = 0; row < history.rows.size(); ++row)
        rowAt[cell(history, row, "DateRead")] = row;
    ASSERT_EQ(rowAt.size(), 144u);
    for (int slot = 1; slot <= 144; ++slot) {
        const QDateTime time = midnight.addSecs(600LL * slot);
        const std::string stamp = time.toString("yyyy-MM-dd HH:mm:ss").toStdString();
        ASSERT_TRUE(rowAt.count(stamp)) << stamp;
        const std::size_t row = rowAt[stamp];
        const WeatherReading expected = StationSimulator::weatherAt(time);
        // mdbtools prints 16 significant digits: 8.2 comes out as 8.199999999999999.
        const auto number = [&](const char* column) { return std::stod(cell(history, row, column)); };
        EXPECT_NEAR(number("OutTemperature"), expected.temperatureOut(), 1e-9) << stamp;
        EXPECT_NEAR(number("Pressure"), expected.barometer(), 1e-9) << stamp;
        EXPECT_NEAR(number("WindSpeed"), expected.windSpeed(), 1e-9) << stamp;
        EXPECT_NEAR(number("RainTotal"), expected.rainTotal(), 1e-9) << stamp;
        EXPECT_EQ(cell(history, row, "WindDir"), expected.windDirection().toStdString()) << stamp;
        EXPECT_EQ(cell(history, row, "BarTrend"), std::to_string(expected.trendCode())) << stamp;
        EXPECT_EQ(cell(history, row, "TimeText"), time.toString("HH:mm").toStdString()) << stamp;
    }
}

}  // namespace

namespace {

// Breaks the data page holding the row of `minute`: its first row offset
// points into the page header, as a damaged disk block might.
void damageHistoryPageOf(const QString& path, const QDateTime& minute, const Environment& environment)
{
    std::optional<uint32_t> page;
    {
        auto session = DatabaseSession::open(path, DatabaseSession::Access::Read, environment);
        ASSERT_TRUE(session);
        auto history = (*session)->table("History");
        ASSERT_TRUE(history);
        auto rows = (*session)->rowsWhere(*history, {{"SourceID", 0}, {"DateRead", minute}});
        ASSERT_TRUE(rows && rows->size() == 1);
        page = rows->front().location.page;
    }
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::ReadWrite));
    ASSERT_TRUE(file.seek(qint64(*page) * 4096 + mdb::jet4Layout().dataFirstRowOffset));
    ASSERT_EQ(file.write(QByteArray("\x04\x00", 2)), 2);
}

}  // namespace

// A History page goes bad under a running Nimbrel with error mail on: for an
// hour of five-second ticks on a ten-minute cycle, each failing step is
// logged once per cycle and mailed once.
TEST_F(RefreshCycleTest, ADamagedHistoryIsLoggedOncePerCycleAndMailedOnce)
{
    SmtpTestServer server;
    ASSERT_TRUE(server.started());
    const QString logPath = folder.file("ErrorLog.txt");
    settings.setUnattended(true);
    settings.setErrorLog(logPath);
    settings.setErrorMail(true);
    settings.setErrorSmtp(server.address());
    settings.setErrorFrom("station@example.org");
    settings.setErrorTo("owner@example.org");
    settings.setAutoRefresh(true);
    settings.setAutoDatabase(true);
    settings.setAutoGraph(true);
    SmtpMailer mailer(SmtpMailer::Timeouts{std::chrono::seconds(5), std::chrono::seconds(5)});
    ErrorRouter router(settings, boxes, mailer, clock);
    const Environment unattended{router, boxes, clock};

    addSource(0, 0, stationFile, 1);
    {
        auto session = DatabaseSession::open(path, DatabaseSession::Access::Write, environment);
        ASSERT_TRUE(session);
        auto history = (*session)->table("History");
        ASSERT_TRUE(history);
        const QDateTime midnight(kStart.date(), QTime(0, 0));
        for (QDateTime minute = midnight; minute < kStart; minute = minute.addSecs(60))
            ASSERT_TRUE((*session)->insert(*history, ReadingLogger::historyRow(StationSimulator::weatherAt(minute), 0)));
        ASSERT_TRUE((*session)->commit());
    }
    damageHistoryPageOf(path, QDateTime(kStart.date(), QTime(5, 0)), environment);

    std::vector<std::shared_ptr<WeatherSource>> sources = loadSources(path, unattended);
    GraphEngine graph(settings, unattended, [&sources]() -> const GraphEngine::Sources& { return sources; }, nullptr);
    graph.graph().addTrace({0, 0, "Station 0", path, 0, 1, false, 0});
    std::ignore = QFile::remove(logPath);  // only the cycle's own reports count
    RefreshCycle hour(settings, unattended, view, graph);
    hour.start(sources, kStart);
    hour.setPanelSource(0);
    for (now = kStart; now <= kStart.addSecs(3600); now = now.addSecs(5)) {
        if (now.time().second() == 0)
            writeStation(now);
        clock.set(now);
        hour.tick(now);
    }

    const QStringList lines = QString::fromUtf8(readAll(logPath)).split("\r\n");
    const qsizetype graphReports = lines.filter("Database Read Error: ").size();
    EXPECT_GE(graphReports, 1);
    EXPECT_LE(graphReports, 6) << "one report per cycle: " << lines.join("|").toStdString();
    EXPECT_EQ(lines.filter("Database Write Error: ").size(), 0) << "logging goes on beside the damaged page";
    const auto mails = server.messages(1, 3000);
    EXPECT_EQ(mails.size(), 1u) << "the same error repeated within the hour is not mailed again";
    EXPECT_EQ(MdbTools::count(path.toStdString(), "History"), 600 + 6);
}

namespace {

// Draws nothing and counts what it was asked to draw.
class CountingRenderer final : public GraphRenderer {
public:
    GraphPicture render(const GraphData&, const GraphPictureRequest& request) override
    {
        ++pictures;
        GraphPicture picture;
        picture.image = QImage(request.size, QImage::Format_RGB32);
        picture.image.fill(Qt::white);
        return picture;
    }
    int pictures = 0;
};

// The computer's files, counting the openings of one of them.
class CountingFiles final : public mdb::FileSystem {
public:
    explicit CountingFiles(std::string watched) : watched_(std::move(watched)) {}
    mdb::Result<std::unique_ptr<mdb::File>> open(const std::string& path, mdb::OpenMode mode) override
    {
        openings += path == watched_;
        return disk_.open(path, mode);
    }
    bool exists(const std::string& path) override { return disk_.exists(path); }
    mdb::Status remove(const std::string& path) override { return disk_.remove(path); }
    mdb::Status renameNoReplace(const std::string& from, const std::string& to) override
    {
        return disk_.renameNoReplace(from, to);
    }
    mdb::Status syncFolderOf(const std::string& path) override { return disk_.syncFolderOf(path); }
    mdb::Status lock(mdb::File& file, mdb::LockKind kind, std::chrono::milliseconds wait) override
    {
        return disk_.lock(file, kind, wait);
    }
    int openings = 0;

private:
    std::string watched_;
    mdb::DiskFileSystem disk_;
};

}  // namespace

// Each favourite marked for export is drawn once per cycle, for its picture;
// the favourites are read in one opening of the Primary database; the
// window's graph is drawn once, when the cycle is done.
TEST_F(RefreshCycleTest, EachExportedFavouriteIsDrawnOnceAndReadInOneOpening)
{
    const QString history = folder.file("history.mdb");
    ASSERT_TRUE(NimbrelSchema::createDatabase(history.toStdString()));
    {
        auto session = DatabaseSession::open(path, DatabaseSession::Access::Write, environment);
        ASSERT_TRUE(session);
        auto table = (*session)->table("Sources");
        ASSERT_TRUE((*session)->insert(*table, {{"SourceID", 0}, {"SourceName", "Roof"}, {"SourceDatabase", history}}));
        ASSERT_TRUE((*session)->commit());
    }
    std::vector<std::shared_ptr<WeatherSource>> sources = loadSources(path, environment);
    for (const char* name : {"Week", "Day", "Month"}) {
        const Favourite favourite{false, 2, {{0, 0, "Roof", history, 0, 1, false, 0}}};
        const qint32 favID = Favourites::save(path, name, favourite, environment);
        ASSERT_NE(favID, 0);
        if (QString(name) != "Day") {
            ASSERT_TRUE(SourceLists::setFavouriteExport(path, favID, true, environment));
        }
    }
    settings.setAutoGraph(true);
    settings.setAutoPicture(true);
    settings.setGraphicFolder(folder.path());

    CountingFiles files(path.toStdString());
    const Environment counted{errors, boxes, clock, Environment::noBusyIndicator(), files};
    CountingRenderer renderer;
    GraphEngine engine(settings, counted, [&sources]() -> const GraphEngine::Sources& { return sources; }, &renderer);
    engine.setViewSize(QSize(800, 500), 1);
    renderer.pictures = 0;
    RefreshCycle oneCycle(settings, counted, view, engine);
    oneCycle.start(sources, kStart);
    for (now = kStart; now <= QDateTime(kStart.date(), QTime(10, 10)); now = now.addSecs(5))
        oneCycle.tick(now);

    EXPECT_EQ(renderer.pictures, 2 + 1) << "two pictures and the window's graph";
    EXPECT_EQ(files.openings, 1);
    EXPECT_TRUE(QFile::exists(folder.file("wgraph0.gif")));
    EXPECT_TRUE(QFile::exists(folder.file("wgraph2.gif")));
    EXPECT_FALSE(QFile::exists(folder.file("wgraph1.gif")));
}
