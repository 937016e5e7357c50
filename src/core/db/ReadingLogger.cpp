#include "core/db/ReadingLogger.h"

#include "core/db/DatabaseSession.h"
#include "core/db/NimbrelSchema.h"
#include "core/errors/ErrorReporter.h"
#include "core/readings/WeatherReading.h"
#include "core/text/DateText.h"
#include "core/text/NumberText.h"

namespace {

// The reading's time to the minute; a reading that never had a time counts
// as the zero date at midnight.
QDateTime minuteOf(const QDateTime& readDate)
{
    if (!readDate.isValid())
        return QDateTime(DateText::zeroDate(), QTime(0, 0));
    const QTime time = readDate.time();
    return QDateTime(readDate.date(), QTime(time.hour(), time.minute()));
}

// A number as its general text would store it: 15 significant digits.
QVariant general(double value)
{
    return NumberText::generalNumber(value).toDouble();
}

}  // namespace

std::vector<ColumnValue> ReadingLogger::historyRow(const WeatherReading& reading, qint32 sourceID)
{
    const QDateTime minute = minuteOf(reading.readDate());
    return {
        {"Pressure", general(reading.barometer())},
        {"InTemperature", general(reading.temperatureIn())},
        {"InHumidity", general(reading.humidityIn())},
        {"OutTemperature", general(reading.temperatureOut())},
        {"OutHumidity", general(reading.humidityOut())},
        {"Dewpoint", general(reading.dewpoint())},
        {"Windchill", general(reading.windChill())},
        {"WindSpeed", NumberText::fixedNumber(reading.windSpeed(), 1).toDouble()},
        {"WindDir", reading.windDirection()},
        {"RainTotal", general(reading.rainTotal())},
        {"TimeText", DateText::format(minute, "HH:mm")},
        {"DateText", DateText::format(minute, "dd.MM.yyyy")},
        {"DateRead", minute},
        {"Rain1Hr", general(reading.rain1h())},
        {"Rain24Hr", general(reading.rain24h())},
        {"BarTrend", int(reading.trendCode())},
        {"Stability", int(reading.stabilityCode())},
        {"Storm", int(reading.stormCode())},
        {"SourceID", sourceID},
    };
}

// Looks for the source's row of the same minute through the History index
// and, when there is none, inserts the reading's row with typed values (a
// quote in the wind direction is stored as it is).
ReadingLogger::Outcome ReadingLogger::log(const QString& databasePath, qint32 sourceID, const WeatherReading& reading)
{
    if (databasePath.isEmpty())
        return Outcome::NoDatabase;
    BusyScope busy(environment_.busy);
    auto fail = [this](const mdb::Error& error) {
        environment_.errors.report("\r\nDatabase Write Error: " + QString::fromStdString(error.message));
        return Outcome::Failed;
    };

    auto session = DatabaseSession::open(databasePath, DatabaseSession::Access::Write, environment_);
    if (!session)
        return fail(session.error());
    auto history = NimbrelSchema::table(**session, "History");
    if (!history)
        return fail(history.error());

    const QDateTime minute = minuteOf(reading.readDate());
    auto existing = (*session)->rowsWhere(*history, {{"SourceID", sourceID}, {"DateRead", minute}});
    if (!existing)
        return fail(existing.error());
    if (!existing->empty())
        return Outcome::AlreadyLogged;

    if (auto inserted = (*session)->insert(*history, historyRow(reading, sourceID)); !inserted)
        return fail(inserted.error());
    if (mdb::Status committed = (*session)->commit(); !committed)
        return fail(committed.error());
    return Outcome::Written;
}
