#include "core/graphs/TraceReader.h"

#include "core/db/ColumnValues.h"
#include "core/db/DatabaseSession.h"
#include "core/graphs/DataTypes.h"
#include "core/text/Compass.h"

#include <QDateTime>
#include <QStringList>

#include <cmath>

namespace {

// "hh:mm" as minutes of the day; -1 for any other text.
int minutesOf(const mdb::Value& value)
{
    const auto* text = std::get_if<std::string>(&value);
    if (!text || text->size() != 5 || (*text)[2] != ':')
        return -1;
    const auto digit = [&](std::size_t i) { return (*text)[i] >= '0' && (*text)[i] <= '9' ? (*text)[i] - '0' : -100; };
    const int hours = digit(0) * 10 + digit(1);
    const int minutes = digit(3) * 10 + digit(4);
    if (hours < 0 || hours > 23 || minutes < 0 || minutes > 59)
        return -1;
    return hours * 60 + minutes;
}

QString textOf(const mdb::Value& value)
{
    const auto* text = std::get_if<std::string>(&value);
    return text ? QString::fromStdString(*text) : QString::fromStdString(mdb::toText(value));
}

// Builds one series reading by reading, in time order.
class SeriesBuilder {
public:
    SeriesBuilder(TraceEntry trace, bool singleDay) : singleDay_(singleDay) { series_.trace = std::move(trace); }

    void add(double stamp, const mdb::Value& stored, const mdb::Value& timeText, std::optional<int> stability)
    {
        const std::optional<double> value = valueOf(stored);
        if (!value)
            return;  // no value, no point
        int minute = minutesOf(timeText);
        const double dayFraction = stamp - std::floor(stamp);
        const int timeOfDay = minute >= 0 ? minute : int(std::lround(dayFraction * 1440.0)) % 1440;
        if (previousTimeOfDay_ >= 0 && timeOfDay < previousTimeOfDay_)
            ++dayCounter_;  // the clock went past midnight
        previousTimeOfDay_ = timeOfDay;
        const double x = singleDay_ ? 24.0 * dayCounter_ + timeOfDay / 60.0 : stamp - series_.trace.offset;

        const bool first = series_.x.empty();
        if (first || *value > series_.maximum) {
            series_.maximum = *value;
            series_.maximumTime = textOf(timeText);
        }
        if (first || *value < series_.minimum) {
            series_.minimum = *value;
            series_.minimumTime = textOf(timeText);
        }
        if (stability && previousStability_ && *stability != *previousStability_)
            series_.marks.push_back({x, *value, *stability});
        if (stability)
            previousStability_ = stability;

        series_.x.push_back(x);
        series_.y.push_back(*value);
        series_.stamps.push_back(stamp);
        series_.minutes.push_back(qint16(minute));
    }

    TraceSeries finish() { return std::move(series_); }

private:
    std::optional<double> valueOf(const mdb::Value& stored) const
    {
        if (series_.trace.dataType == DataTypes::kWindDirection) {
            if (mdb::isNull(stored))
                return std::nullopt;
            return double(Compass::code(textOf(stored)));
        }
        return ColumnValues::asNumber(stored);
    }

    bool singleDay_;
    TraceSeries series_;
    int dayCounter_ = 0;
    int previousTimeOfDay_ = -1;
    std::optional<int> previousStability_;
};

}  // namespace

TraceReader::TraceReader(GraphRange range, bool singleDay, const Environment& environment)
    : range_(range), singleDay_(singleDay), environment_(environment)
{
}

mdb::Result<TraceSeries> TraceReader::series(const std::vector<TraceEntry>& traces, std::size_t index)
{
    const TraceEntry& trace = traces.at(index);
    if (trace.sourceDatabase.isEmpty()) {
        TraceSeries skipped;
        skipped.trace = trace;
        skipped.skipped = true;
        return skipped;
    }
    if (!done_.contains(index)) {
        if (mdb::Status read = readGroup(traces, {trace.sourceDatabase, trace.dataID, trace.offset}); !read)
            return read.error();
    }
    auto found = done_.extract(index);
    return std::move(found.mapped());
}

mdb::Status TraceReader::readGroup(const std::vector<TraceEntry>& traces, const QueryKey& key)
{
    const auto& [database, dataID, offset] = key;
    std::vector<std::size_t> members;
    QStringList columns = {"TimeText", "Stability"};
    for (std::size_t i = 0; i < traces.size(); ++i) {
        const TraceEntry& t = traces[i];
        if (!done_.contains(i) && t.sourceDatabase == database && t.dataID == dataID && t.offset == offset) {
            members.push_back(i);
            const QString column = DataTypes::at(t.dataType).column;
            if (!columns.contains(column, Qt::CaseInsensitive))
                columns << column;
        }
    }

    auto session = DatabaseSession::open(database, DatabaseSession::Access::Read, environment_);
    if (!session)
        return session.error();
    auto table = (*session)->table("History", QStringList(columns) << "SourceID" << "DateRead");
    if (!table)
        return table.error();
    const auto at = [&table](const QString& column) { return std::size_t(table->position(column)); };
    const std::size_t timeAt = at("DateRead"), textAt = at("TimeText"), stabilityAt = at("Stability");

    std::vector<SeriesBuilder> builders;
    std::vector<std::size_t> valueAt;
    for (std::size_t i : members) {
        builders.emplace_back(traces[i], singleDay_);
        valueAt.push_back(at(DataTypes::at(traces[i].dataType).column));
    }
    const auto visit = [&](const mdb::Row& row) {
        const auto* stamp = std::get_if<mdb::DateTime>(&row.values[timeAt]);
        if (!stamp)
            return true;  // a reading without a time has no place on the axis
        const std::optional<double> stability = ColumnValues::asNumber(row.values[stabilityAt]);
        const std::optional<int> level = stability ? std::optional<int>(int(*stability)) : std::nullopt;
        for (std::size_t b = 0; b < builders.size(); ++b)
            builders[b].add(stamp->days, row.values[valueAt[b]], row.values[textAt], level);
        return true;
    };
    const QDateTime from(range_.first.addDays(offset), QTime(0, 0));
    const QDateTime to(range_.last.addDays(offset), QTime(23, 59));
    mdb::Status read = (*session)->rowsBetween(*table, {{"SourceID", dataID}}, {"DateRead", from}, to, visit, columns);
    if (!read)
        return read;
    for (std::size_t b = 0; b < builders.size(); ++b)
        done_[members[b]] = builders[b].finish();
    return mdb::Status::success();
}
