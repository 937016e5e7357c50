#include "core/cycle/DemoStation.h"

#include "core/db/DatabaseSession.h"
#include "core/db/NimbrelSchema.h"
#include "core/db/ReadingLogger.h"
#include "core/graphs/Favourites.h"
#include "core/readings/StationSimulator.h"
#include "core/settings/SettingsModel.h"
#include "core/sources/SourceLists.h"

#include <QDir>
#include <QFile>
#include <QSettings>
#include <QStandardPaths>

namespace {

constexpr int kHistoryDays = 35;
constexpr qint32 kDemoSourceID = 0;

const char* const kFeedTemplate =
    "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
    "<rss version=\"2.0\">\n"
    "  <channel>\n"
    "    <title>~SourceName~ weather</title>\n"
    "    <link>http://localhost/weather/</link>\n"
    "    <description>Current conditions at ~SourceName~</description>\n"
    "    <lastBuildDate>~NOW~</lastBuildDate>\n"
    "    <item>\n"
    "      <title>~SourceName~ at ~ReadTime~: ~TempOut~ C, wind ~WindDirection~ ~Windspeed~ km/h</title>\n"
    "      <description>Temperature ~TempOut~ C (wind chill ~WindChill~ C, dew point ~Dewpoint~ C), "
    "humidity ~HumidityOut~ %, pressure ~Barometer~ hPa, rain in the last 24 hours ~Rain24hr~ mm."
    "</description>\n"
    "      <pubDate>~NOW~</pubDate>\n"
    "    </item>\n"
    "  </channel>\n"
    "</rss>\n";

}  // namespace

QString DemoStation::defaultFolder()
{
    return QDir(QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation)).filePath("Nimbrel/Demo");
}

QString DemoStation::databasePath() const
{
    return QDir(folder_).filePath("Demo Weather.mdb");
}

QString DemoStation::stationFile() const
{
    return QDir(folder_).filePath("currdat.lst");
}

QString DemoStation::settingsPath() const
{
    return QDir(folder_).filePath("Nimbrel Demo.ini");
}

QString DemoStation::feedTemplate() const
{
    return QDir(folder_).filePath("feed-template.xml");
}

QString DemoStation::feedFile() const
{
    return QDir(folder_).filePath("feed.xml");
}

bool DemoStation::prepare(const QDateTime& now, const Environment& environment, QString& error) const
{
    if (!QDir().mkpath(folder_)) {
        error = "cannot make the folder " + folder_;
        return false;
    }
    return writeSettings(environment, error) && writeFeedTemplate(error) && fillDatabase(now, environment, error) &&
           addFavourites(environment, error) && StationSimulator::writeCurrentDataFile(stationFile(), now, error);
}

// Written once: later changes made in the program stay.
bool DemoStation::writeSettings(const Environment& environment, QString& error) const
{
    if (QFile::exists(settingsPath()))
        return true;
    QSettings store(settingsPath(), QSettings::IniFormat);
    SettingsModel settings;
    settings.load(store, folder_, environment.errors);
    settings.setDatabase(databasePath());
    settings.setErrorLog(QDir(folder_).filePath("ErrorLog.txt"));
    settings.setRssFile(feedTemplate());
    settings.setIntervalPosition(0);
    settings.setAutoRefresh(true);
    settings.setAutoDatabase(true);
    settings.setAutoExport(true);
    settings.setAutoGraph(true);
    settings.setAutoPicture(true);
    settings.setGraphicFolder(QDir(folder_).filePath("web"));
    QDir(folder_).mkpath("web");
    return settings.save(store, error);
}

bool DemoStation::writeFeedTemplate(QString& error) const
{
    if (QFile::exists(feedTemplate()))
        return true;
    QFile file(feedTemplate());
    if (!file.open(QIODevice::WriteOnly) || file.write(kFeedTemplate) < 0) {
        error = QString("cannot write %1: %2").arg(feedTemplate(), file.errorString());
        return false;
    }
    return true;
}

// The Sources row, then a reading every ten minutes for the last five weeks
// where History has none.
bool DemoStation::fillDatabase(const QDateTime& now, const Environment& environment, QString& error) const
{
    if (!QFile::exists(databasePath())) {
        if (mdb::Status created = NimbrelSchema::createDatabase(databasePath().toStdString()); !created) {
            error = QString::fromStdString(created.error().message);
            return false;
        }
    }
    auto fail = [&error](const mdb::Error& failure) {
        error = QString::fromStdString(failure.message);
        return false;
    };
    auto session = DatabaseSession::open(databasePath(), DatabaseSession::Access::Write, environment);
    if (!session)
        return fail(session.error());
    auto sources = (*session)->table("Sources");
    auto history = (*session)->table("History");
    if (!sources)
        return fail(sources.error());
    if (!history)
        return fail(history.error());

    auto known = (*session)->rowsWhere(*sources, {{"SourceID", kDemoSourceID}});
    if (!known)
        return fail(known.error());
    if (known->empty()) {
        const std::vector<ColumnValue> source = {
            {"SourceID", kDemoSourceID},          {"SourceName", "Demo Station"},
            {"SourceType", 0},                    {"SourceFileName", stationFile()},
            {"SourceDatabase", databasePath()},   {"DataID", kDemoSourceID},
            {"ExportFilename", feedFile()},       {"LogMultiple", 1},
            {"Enabled", true}};
        if (auto added = (*session)->insert(*sources, source); !added)
            return fail(added.error());
    }

    const QDateTime lastMark(now.date(), QTime(now.time().hour(), now.time().minute() - now.time().minute() % 10));
    for (QDateTime time = lastMark.addDays(-kHistoryDays); time <= lastMark; time = time.addSecs(600)) {
        auto logged = (*session)->rowsWhere(*history, {{"SourceID", kDemoSourceID}, {"DateRead", time}});
        if (!logged)
            return fail(logged.error());
        if (!logged->empty())
            continue;
        const WeatherReading reading = StationSimulator::weatherAt(time);
        if (auto added = (*session)->insert(*history, ReadingLogger::historyRow(reading, kDemoSourceID)); !added)
            return fail(added.error());
    }
    if (mdb::Status committed = (*session)->commit(); !committed)
        return fail(committed.error());
    return true;
}

// Three favourites to start from, the first exported as a picture; made
// once, when the database has none.
bool DemoStation::addFavourites(const Environment& environment, QString& error) const
{
    if (!SourceLists::favouriteList(databasePath(), environment).isEmpty())
        return true;
    const auto trace = [this](int dataType, int colourIndex, int offset = 0) {
        TraceEntry entry;
        entry.sourceID = kDemoSourceID;
        entry.sourceName = "Demo Station";
        entry.dataType = dataType;
        entry.colour = standardColour(colourIndex);
        entry.offset = offset;
        return entry;
    };
    const std::vector<std::pair<QString, Favourite>> favourites = {
        {"Temperatures this week", {false, 6, {trace(1, 11), trace(6, 10), trace(7, 12)}}},
        {"Barometer, two days", {false, 1, {trace(0, 14)}}},
        {"Today and yesterday", {true, 0, {trace(1, 11), trace(1, 12, -1)}}},
    };
    for (const auto& [name, favourite] : favourites) {
        const qint32 favID = Favourites::save(databasePath(), name, favourite, environment);
        if (favID == 0) {
            error = "cannot save the favourite " + name;
            return false;
        }
        if (&favourite == &favourites.front().second &&
            !SourceLists::setFavouriteExport(databasePath(), favID, true, environment)) {
            error = "cannot mark the favourite " + name + " for export";
            return false;
        }
    }
    return true;
}
