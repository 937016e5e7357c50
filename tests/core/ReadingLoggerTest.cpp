#include "DatabaseFixture.h"
#include "core/db/DatabaseSession.h"
#include "core/db/ReadingLogger.h"
#include "mdb/Database.h"
#include "mdb/DatabaseCreator.h"
#include "core/sources/WeatherSource.h"

namespace {

class ReadingLoggerTest : public DatabaseFixture {
protected:
    // A source holding a typical reading taken at `time` on 15 Jan 2026.
    std::unique_ptr<WeatherSource> sourceAt(qint32 id, QTime time)
    {
        auto source = std::make_unique<WeatherSource>(environment);
        source->setSourceID(id);
        WeatherReading& w = source->reading();
        w.setReadDate(QDateTime(QDate(2026, 1, 15), time));
        w.setBarometer(1013.25);
        w.setTemperatureIn(21.5);
        w.setHumidityIn(45);
        w.setTemperatureOut(-12.5);
        w.setHumidityOut(84);
        w.setDewpoint(-14.1);
        w.setWindChill(-18.3);
        w.setWindSpeed(10.799136);
        w.setWindDirection("NNE");
        w.setRainTotal(451.3);
        w.setRain1h(0.3);
        w.setRain24h(22.2);
        w.setTrendFromCode("1");
        w.setStabilityFromCode("-1");
        w.setStormFromCode("0");
        return source;
    }

    bool log(const WeatherSource& source) { return logWith(logger, source); }
    bool logWith(ReadingLogger& other, const WeatherSource& source)
    {
        return other.logReading(database, source.sourceID(), source.reading());
    }

    ReadingLogger logger{environment};
    QString database = path;
};

TEST_F(ReadingLoggerTest, StoresEveryValueInItsForm)
{
    auto source = sourceAt(3, QTime(10, 5, 10));
    const WeatherReading before = source->reading();
    EXPECT_TRUE(log(*source));
    EXPECT_TRUE(errors.empty()) << errors.messages().join("|").toStdString();
    EXPECT_EQ(source->reading(), before) << "the reading itself is not changed";

    const MdbTools::Export history = exported("History");
    ASSERT_TRUE(history.ok) << history.error;
    ASSERT_EQ(history.rows.size(), 1u);
    EXPECT_EQ(cell(history, 0, "Pressure"), "1013.25");
    EXPECT_EQ(cell(history, 0, "WindSpeed"), "10.8");
    EXPECT_EQ(cell(history, 0, "OutTemperature"), "-12.5");
    EXPECT_EQ(cell(history, 0, "RainTotal"), "451.3");
    EXPECT_EQ(cell(history, 0, "WindDir"), "NNE");
    EXPECT_EQ(cell(history, 0, "DateRead"), "2026-01-15 10:05:00");
    EXPECT_EQ(cell(history, 0, "DateText"), "15.01.2026");
    EXPECT_EQ(cell(history, 0, "TimeText"), "10:05");
    EXPECT_EQ(cell(history, 0, "BarTrend"), "1");
    EXPECT_EQ(cell(history, 0, "Stability"), "-1");
    EXPECT_EQ(cell(history, 0, "Storm"), "0");
    EXPECT_EQ(cell(history, 0, "SourceID"), "3");
}

TEST_F(ReadingLoggerTest, OneRowPerSourceAndMinute)
{
    EXPECT_TRUE(log(*sourceAt(0, QTime(10, 5, 10))));
    EXPECT_FALSE(log(*sourceAt(0, QTime(10, 5, 50)))) << "same source, same minute";
    EXPECT_TRUE(log(*sourceAt(1, QTime(10, 5, 50)))) << "another source";
    EXPECT_TRUE(log(*sourceAt(0, QTime(10, 6, 0)))) << "the next minute";
    EXPECT_TRUE(errors.empty());
    EXPECT_EQ(MdbTools::count(path.toStdString(), "History"), 3);
}

TEST_F(ReadingLoggerTest, WindDirectionIsStoredAsItIsHeld)
{
    auto quoted = sourceAt(0, QTime(9, 0));
    quoted->reading().setWindDirection("N'E");
    auto empty = sourceAt(0, QTime(9, 10));
    empty->reading().setWindDirection("");
    EXPECT_TRUE(log(*quoted));
    EXPECT_TRUE(log(*empty));

    const MdbTools::Export history = exported("History");
    ASSERT_EQ(history.rows.size(), 2u);
    EXPECT_EQ(cell(history, 0, "WindDir"), "N'E");

    // mdbtools shows empty text as null, so our own reader tells them apart.
    auto session = DatabaseSession::open(path, DatabaseSession::Access::Read, environment);
    ASSERT_TRUE(session);
    auto table = (*session)->table("History");
    ASSERT_TRUE(table);
    auto rows = (*session)->rowsWhere(*table, {{"DateRead", QDateTime(QDate(2026, 1, 15), QTime(9, 10))}});
    ASSERT_TRUE(rows);
    ASSERT_EQ(rows->size(), 1u);
    const QVariant direction = table->value(rows->front(), "WindDir");
    EXPECT_FALSE(direction.isNull()) << "an empty direction is empty text, not null";
    EXPECT_EQ(direction.toString(), "");
}

TEST_F(ReadingLoggerTest, NoPrimaryDatabaseDoesNothing)
{
    auto source = sourceAt(0, QTime(10, 0));
    EXPECT_FALSE(logger.logReading("", source->sourceID(), source->reading()));
    EXPECT_TRUE(errors.empty());
    EXPECT_EQ(MdbTools::count(path.toStdString(), "History"), 0);
}

// Each fault: one "Database Write Error: " message, false, and the rows
// already stored are all still there.
class ReadingLoggerFaults : public ReadingLoggerTest {
protected:
    void SetUp() override
    {
        ReadingLoggerTest::SetUp();
        ASSERT_TRUE(log(*sourceAt(0, QTime(8, 0))));
    }
    void expectOneFailure(const std::string& describing)
    {
        ASSERT_EQ(errors.messages().size(), 1) << errors.messages().join("|").toStdString();
        const QString message = errors.messages().front();
        EXPECT_TRUE(message.startsWith("\r\nDatabase Write Error: ")) << message.toStdString();
        EXPECT_NE(message.toStdString().find(describing), std::string::npos) << message.toStdString();
    }
};

TEST_F(ReadingLoggerFaults, MissingOrForeignFile)
{
    database = folder.file("missing.mdb");
    EXPECT_FALSE(log(*sourceAt(0, QTime(10, 0))));
    expectOneFailure("No such file");

    RecordingErrors second;
    Environment other{second, boxes, clock};
    ReadingLogger otherLogger(other);
    database = folder.write("notes.mdb", "Station notes, not a database\r\n");
    EXPECT_FALSE(logWith(otherLogger, *sourceAt(0, QTime(10, 0))));
    ASSERT_EQ(second.messages().size(), 1);
    EXPECT_TRUE(second.messages().front().contains("too short to be a database"));
}

TEST_F(ReadingLoggerFaults, FileLockedByAnotherWriter)
{
    auto holder = mdb::Database::open(path.toStdString(), mdb::OpenMode::ReadWrite);
    ASSERT_TRUE(holder) << holder.error().message;
    Environment impatient{errors, boxes, clock};
    impatient.lockWait = std::chrono::milliseconds(50);
    ReadingLogger impatientLogger(impatient);
    EXPECT_FALSE(logWith(impatientLogger, *sourceAt(0, QTime(10, 0))));
    expectOneFailure("in use by another task of this Nimbrel");
    holder->reset();
    EXPECT_TRUE(log(*sourceAt(0, QTime(10, 0)))) << "the next cycle succeeds";
    EXPECT_EQ(MdbTools::count(path.toStdString(), "History"), 2);
}

TEST_F(ReadingLoggerFaults, OpenInAccess)
{
    folder.write(QString::fromStdString(mdb::Database::accessLockPath(path.toStdString())).section('/', -1), "");
    EXPECT_FALSE(log(*sourceAt(0, QTime(10, 0))));
    expectOneFailure("is open in Access");
    EXPECT_EQ(MdbTools::count(path.toStdString(), "History"), 1);
}

TEST_F(ReadingLoggerFaults, ReadOnlyFile)
{
    // Root may write any file on disk, so the permission is simulated.
    mdb::MemoryFileSystem files;
    const QByteArray bytes = readAll(path);
    files.setContent("/data/weather.mdb", std::vector<uint8_t>(bytes.begin(), bytes.end()));
    files.setReadOnly("/data/weather.mdb");
    Environment inMemory{errors, boxes, clock, Environment::noBusyIndicator(), files};
    ReadingLogger memoryLogger(inMemory);
    database = "/data/weather.mdb";
    EXPECT_FALSE(logWith(memoryLogger, *sourceAt(0, QTime(10, 0))));
    expectOneFailure("Permission denied");
    EXPECT_EQ(files.content("/data/weather.mdb"), std::vector<uint8_t>(bytes.begin(), bytes.end()));
}

TEST_F(ReadingLoggerFaults, TableOrColumnMissing)
{
    const QString other = folder.file("old layout.mdb");
    ASSERT_TRUE(mdb::createDatabase(other.toStdString(), [](mdb::DatabaseWriter& writer) {
        return writer.createTable("History", {{"SourceID", mdb::ColumnType::Long},
                                              {"DateRead", mdb::ColumnType::DateTime},
                                              {"Pressure", mdb::ColumnType::Double}},
                                  {});
    }));
    database = other;
    EXPECT_FALSE(log(*sourceAt(0, QTime(10, 0))));
    expectOneFailure("table History has no column InTemperature");

    const QString noHistory = folder.file("empty.mdb");
    ASSERT_TRUE(mdb::createDatabase(noHistory.toStdString(), [](mdb::DatabaseWriter&) {
        return mdb::Status::success();
    }));
    database = noHistory;
    EXPECT_FALSE(log(*sourceAt(0, QTime(10, 0))));
    ASSERT_EQ(errors.messages().size(), 2);
    EXPECT_TRUE(errors.messages().back().contains("has no table History"));
}

}  // namespace
