#include "core/remote/ReadingCursor.h"

#include "core/db/DatabaseSession.h"

#include <algorithm>

namespace {

constexpr qint64 kFirstWindowDays = 4;

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

    // A range read gathers the whole range's index entries first, so the
    // range is a window of days after the cursor, not the rest of the file;
    // a window without readings (a gap, or the end) is widened eightfold.
    static const QDateTime end(QDate(9999, 12, 31), QTime(23, 59));
    std::vector<ImportRow> rows;
    qint64 windowDays = kFirstWindowDays;
    while (int(rows.size()) < limit) {
        const QDateTime high = std::min(last_.addDays(windowDays), end);
        const QDateTime from = last_;
        int skip = sentAtLast_;
        const std::size_t before = rows.size();
        const mdb::Status read = (*session)->rowsBetween(
            *table, {{"SourceID", dataID_}}, {"DateRead", from}, high,
            [&](const mdb::Row& stored) {
                ImportRow row = rowOf(*table, stored);
                if (row.time == from && skip > 0) {
                    --skip;  // sent before
                    return true;
                }
                sentAtLast_ = row.time == last_ ? sentAtLast_ + 1 : 1;
                last_ = row.time;
                rows.push_back(std::move(row));
                return int(rows.size()) < limit;
            },
            kColumns);
        if (!read)
            return read.error();
        if (rows.size() == before) {
            if (high == end)
                break;
            windowDays *= 8;
        }
    }
    return rows;
}
