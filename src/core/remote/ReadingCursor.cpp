#include "core/remote/ReadingCursor.h"

#include "core/db/DatabaseSession.h"

namespace {

const QStringList kColumns = {"Pressure", "InTemperature", "InHumidity", "OutTemperature", "OutHumidity",
                              "Dewpoint", "Windchill",     "WindSpeed",  "WindDir",        "RainTotal",
                              "DateRead", "Rain1Hr",       "Rain24Hr",   "BarTrend",       "Stability",
                              "Storm"};

ImportRow rowOf(const SessionTable& table, const mdb::Row& stored)
{
    const auto number = [&](const char* column) { return table.value(stored, column).toDouble(); };
    ImportRow row;
    row.time = table.value(stored, "DateRead").toDateTime();
    row.pressure = number("Pressure");
    row.inTemperature = number("InTemperature");
    row.inHumidity = number("InHumidity");
    row.outTemperature = number("OutTemperature");
    row.outHumidity = number("OutHumidity");
    row.dewpoint = number("Dewpoint");
    row.windChill = number("Windchill");
    row.windSpeed = number("WindSpeed");
    row.windDirection = table.value(stored, "WindDir").toString();
    row.rainTotal = number("RainTotal");
    row.rain1h = number("Rain1Hr");
    row.rain24h = number("Rain24Hr");
    row.trend = int(number("BarTrend"));
    row.stability = int(number("Stability"));
    row.storm = int(number("Storm"));
    return row;
}

}  // namespace

mdb::Result<std::vector<ImportRow>> ReadingCursor::next(int limit, const Environment& environment)
{
    auto session = DatabaseSession::open(database_, DatabaseSession::Access::Read, environment);
    if (!session)
        return session.error();
    auto table = (*session)->table("History", kColumns + QStringList{"SourceID"});
    if (!table)
        return table.error();

    std::vector<ImportRow> rows;
    int skip = sentAtLast_;
    const QDateTime end(QDate(9999, 12, 31), QTime(23, 59));
    const mdb::Status read = (*session)->rowsBetween(
        *table, {{"SourceID", dataID_}}, {"DateRead", last_}, end,
        [&](const mdb::Row& stored) {
            ImportRow row = rowOf(*table, stored);
            if (row.time == last_ && skip > 0) {
                --skip;  // sent with the chunk before
                return true;
            }
            rows.push_back(std::move(row));
            return int(rows.size()) < limit;
        },
        kColumns);
    if (!read)
        return read.error();

    for (const ImportRow& row : rows) {
        sentAtLast_ = row.time == last_ ? sentAtLast_ + 1 : 1;
        last_ = row.time;
    }
    return rows;
}
