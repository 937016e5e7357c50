#include "DatabaseFixture.h"
#include "core/db/DatabaseSession.h"
#include "core/sources/SourceLists.h"
#include "mdb/Database.h"
#include "core/sources/WeatherSource.h"

#include <QFile>

namespace {

class SourceRecords : public DatabaseFixture {
protected:
    // Adds a Sources row directly, as a user editing the table would.
    void addRow(qint32 id, const QString& name, bool enabled = false)
    {
        auto session = DatabaseSession::open(path, DatabaseSession::Access::Write, environment);
        ASSERT_TRUE(session) << session.error().message;
        auto table = (*session)->table("Sources");
        ASSERT_TRUE(table);
        ASSERT_TRUE((*session)->insert(*table, {{"SourceID", id}, {"SourceName", name}, {"Enabled", enabled}}));
        ASSERT_TRUE((*session)->commit());
    }

    WeatherSource filledSource()
    {
        WeatherSource source(environment);
        source.setSourceName("O'Neil's garden");
        source.setSourceKind(SourceKind::Feed);
        source.setSourceFileName("C:\\Heavy Weather\\currdat.lst");
        source.setSourceDatabase(path);
        source.setDataID(4);
        source.setImportFileName("/home/pat/history page.txt");
        source.setLogMultiple(3);
        return source;
    }
};

TEST_F(SourceRecords, NewKeysFollowTheHighest)
{
    WeatherSource source = filledSource();
    EXPECT_EQ(source.insertNew(path), 0) << "an empty table starts at 0";
    ASSERT_EQ(boxes.boxes().size(), 1u);
    EXPECT_EQ(boxes.boxes()[0].title, "New Source Added");
    EXPECT_EQ(boxes.boxes()[0].text, "Source O'Neil's garden has been added. When you have completed adding "
                                     "Sources, restart the application");
    EXPECT_EQ(boxes.boxes()[0].icon, MessageBoxes::Icon::Information);

    addRow(1, "roof");
    addRow(5, "shed");
    EXPECT_EQ(source.insertNew(path), 6) << "keys 0, 1 and 5 give 6; gaps are not reused";
    EXPECT_EQ(source.sourceID(), 6);
    EXPECT_TRUE(errors.empty());
}

TEST_F(SourceRecords, SaveAndLoadRoundTrip)
{
    WeatherSource saved = filledSource();
    qint32 id = 17;
    EXPECT_TRUE(saved.save(path, id));
    EXPECT_EQ(id, 0) << "an unknown key is added under the next free key, reported back";

    WeatherSource loaded(environment);
    loaded.setLogCounter(2);
    ASSERT_TRUE(loaded.load(path, 0));
    EXPECT_EQ(loaded.sourceID(), 0);
    EXPECT_EQ(loaded.sourceName(), "O'Neil's garden");
    EXPECT_EQ(loaded.sourceKind(), SourceKind::Feed);
    EXPECT_EQ(loaded.sourceFileName(), "C:\\Heavy Weather\\currdat.lst");
    EXPECT_EQ(loaded.sourceDatabase(), path);
    EXPECT_EQ(loaded.dataID(), 4);
    EXPECT_EQ(loaded.importFileName(), "/home/pat/history page.txt");
    EXPECT_EQ(loaded.exportFileName(), "") << "stored as null, loaded as empty";
    EXPECT_EQ(loaded.logMultiple(), 3);
    EXPECT_EQ(loaded.logCounter(), 2) << "never stored, left alone";

    const MdbTools::Export sources = exported("Sources");
    ASSERT_EQ(sources.rows.size(), 1u);
    EXPECT_EQ(cell(sources, 0, "SourceName"), "O'Neil's garden");
    EXPECT_EQ(cell(sources, 0, "ExportFilename"), "<null>");

    loaded.setSourceName("Roof");
    loaded.setExportFileName("/srv/www/feed.xml");
    EXPECT_TRUE(loaded.save(path, id));
    EXPECT_EQ(id, 0);
    EXPECT_EQ(MdbTools::count(path.toStdString(), "Sources"), 1) << "an existing key is changed in place";
    WeatherSource again(environment);
    ASSERT_TRUE(again.load(path, 0));
    EXPECT_EQ(again.sourceName(), "Roof");
    EXPECT_EQ(again.exportFileName(), "/srv/www/feed.xml");
    EXPECT_TRUE(errors.empty()) << errors.messages().join("|").toStdString();
}

TEST_F(SourceRecords, EnabledIsReadButNeverWritten)
{
    addRow(2, "garden", true);
    WeatherSource source(environment);
    ASSERT_TRUE(source.load(path, 2));
    EXPECT_TRUE(source.enabled());
    source.setEnabled(false);
    qint32 id = 2;
    ASSERT_TRUE(source.save(path, id));
    WeatherSource reloaded(environment);
    ASSERT_TRUE(reloaded.load(path, 2));
    EXPECT_TRUE(reloaded.enabled());
}

TEST_F(SourceRecords, MissingRowOrEmptyPathChangesNothing)
{
    WeatherSource source = filledSource();
    EXPECT_FALSE(source.load(path, 9));
    EXPECT_EQ(source.sourceName(), "O'Neil's garden");
    qint32 id = 3;
    EXPECT_FALSE(source.load("", 3));
    EXPECT_FALSE(source.save("", id));
    EXPECT_FALSE(source.insertNew(""));
    EXPECT_TRUE(boxes.boxes().empty());
    EXPECT_TRUE(errors.empty());
    EXPECT_EQ(MdbTools::count(path.toStdString(), "Sources"), 0);
}

TEST_F(SourceRecords, EachOperationNamesItsFailure)
{
    const QString missing = folder.file("gone.mdb");
    WeatherSource source = filledSource();
    qint32 id = 0;
    EXPECT_FALSE(source.load(missing, 0));
    EXPECT_FALSE(source.save(missing, id));
    EXPECT_FALSE(source.insertNew(missing));
    const QStringList messages = errors.messages();
    ASSERT_EQ(messages.size(), 3);
    EXPECT_TRUE(messages[0].startsWith("\r\nDatabase Read Error: cannot open"));
    EXPECT_TRUE(messages[1].startsWith("\r\nDatabase Write Error: cannot open"));
    EXPECT_TRUE(messages[2].startsWith("\r\nDatabase write Error: cannot open"));
    EXPECT_TRUE(boxes.boxes().empty());
}

TEST_F(SourceRecords, TooLongTextIsRefusedAndNothingIsLost)
{
    addRow(0, "roof");
    WeatherSource source = filledSource();
    source.setSourceFileName(QString(300, 'x'));
    EXPECT_FALSE(source.insertNew(path));
    ASSERT_EQ(errors.messages().size(), 1);
    EXPECT_TRUE(errors.messages()[0].contains("at most 255 characters"));
    EXPECT_EQ(MdbTools::count(path.toStdString(), "Sources"), 1);
}

TEST_F(SourceRecords, ReadingIsNeverEmpty)
{
    WeatherSource source(environment);
    source.reading().setBarometer(1000);
    auto shared = std::make_shared<WeatherReading>();
    source.setReading(shared);
    EXPECT_EQ(&source.reading(), shared.get());
    source.setReading(nullptr);
    EXPECT_EQ(source.reading().barometer(), 0) << "a new reading replaces a missing one";
}

using SourceRecordsFromFixtures = SourceRecords;

TEST_F(SourceRecordsFromFixtures, RefreshReadsTheStationFileIntoTheReading)
{
    SKIP_WITHOUT_FIXTURES();
    WeatherSource source(environment);
    source.setSourceFileName(fixturePath("currdat-hwpro-ws2800.lst"));
    EXPECT_TRUE(source.refresh());
    EXPECT_EQ(source.reading().temperatureOut(), 21.5);
}

TEST_F(SourceRecords, SourceListIsInKeyOrder)
{
    addRow(5, "shed");
    addRow(0, "roof");
    addRow(1, "O'Neil's");
    using SourceLists::ListEntry;
    const QList<ListEntry> expected = {{"roof", 0}, {"O'Neil's", 1}, {"shed", 5}};
    EXPECT_EQ(SourceLists::sourceList(path, environment), expected);
    EXPECT_TRUE(SourceLists::sourceList("", environment).isEmpty());
    EXPECT_TRUE(SourceLists::sourceList(folder.file("gone.mdb"), environment).isEmpty());
    ASSERT_EQ(errors.messages().size(), 1);
    EXPECT_TRUE(errors.messages()[0].startsWith("\r\nDatabase Read Error: "));
}

// The picture-export marks of the favourites: listed in key order, changed
// at once, and what another reader sees.
TEST_F(SourceRecords, FavouriteExportMarks)
{
    {
        auto session = DatabaseSession::open(path, DatabaseSession::Access::Write, environment);
        ASSERT_TRUE(session);
        auto table = (*session)->table("Favorites");
        ASSERT_TRUE(table);
        ASSERT_TRUE((*session)->insert(*table, {{"FavName", "Week"}, {"Export", true}}));
        ASSERT_TRUE((*session)->insert(*table, {{"FavName", "O'Neil's day"}, {"Export", false}}));
        ASSERT_TRUE((*session)->commit());
    }
    QList<SourceLists::FavouriteExport> favourites = SourceLists::favouriteExports(path, environment);
    ASSERT_EQ(favourites.size(), 2);
    EXPECT_EQ(favourites[0].name, "Week");
    EXPECT_TRUE(favourites[0].exported);
    EXPECT_EQ(favourites[1].name, "O'Neil's day");
    EXPECT_FALSE(favourites[1].exported);
    EXPECT_LT(favourites[0].key, favourites[1].key);

    EXPECT_TRUE(SourceLists::setFavouriteExport(path, favourites[0].key, false, environment));
    EXPECT_TRUE(SourceLists::setFavouriteExport(path, favourites[1].key, true, environment));
    const MdbTools::Export table = exported("Favorites");
    ASSERT_TRUE(table.ok) << table.error;
    EXPECT_EQ(cell(table, 0, "Export"), "0");
    EXPECT_EQ(cell(table, 1, "Export"), "1");
    EXPECT_EQ(SourceLists::favouriteList(path, environment, true),
              (QList<SourceLists::ListEntry>{{"O'Neil's day", favourites[1].key}}));
    EXPECT_TRUE(errors.empty());

    EXPECT_TRUE(SourceLists::favouriteExports(folder.file("gone.mdb"), environment).isEmpty());
    EXPECT_FALSE(SourceLists::setFavouriteExport(folder.file("gone.mdb"), 1, true, environment));
    ASSERT_EQ(errors.messages().size(), 2);
    EXPECT_TRUE(errors.messages()[0].startsWith("\r\nLoad Favs Error: "));
    EXPECT_TRUE(errors.messages()[1].startsWith("\r\nUpdate Favs Error: "));
}

}  // namespace

// A lookup through a damaged index reports the damage; it is never quietly
// answered by reading the whole table instead.
TEST_F(SourceRecords, ADamagedIndexIsReportedNotReadAround)
{
    addRow(1, "Home");
    addRow(2, "Roof");
    uint32_t root = 0;
    {
        auto database = mdb::Database::open(path.toStdString());
        ASSERT_TRUE(database);
        auto sources = (*database)->definition("Sources");
        root = sources->realIndexes.front().rootPage;
    }
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::ReadWrite));
    file.seek(qint64(root) * 4096);
    file.write(QByteArray(1, '\x09'));  // no longer an index page
    file.close();

    auto session = DatabaseSession::open(path, DatabaseSession::Access::Read, environment);
    ASSERT_TRUE(session);
    auto table = (*session)->table("Sources");
    auto rows = (*session)->rowsWhere(*table, {{"SourceID", 2}});
    ASSERT_FALSE(rows);
    EXPECT_EQ(rows.error().kind, mdb::ErrorKind::Corruption);
    EXPECT_NE(rows.error().message.find("index page " + std::to_string(root)), std::string::npos)
        << rows.error().message;
}
