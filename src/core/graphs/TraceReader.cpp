#include "core/graphs/TraceReader.h"

#include "core/db/HistoryColumns.h"
#include "core/graphs/DataTypes.h"

#include <QDateTime>
#include <QStringList>

#include <cmath>

namespace {

// Where each reading of one query lies on the x axis: its time moved back
// by the offset, or on a single-day graph the hours since 00:00 of the
// first day, counting a day on each time the clock goes past midnight.
std::vector<double> xOf(const HistoryColumns& rows, bool singleDay, int offset)
{
    std::vector<double> x(rows.size());
    int dayCounter = 0;
    int previousTimeOfDay = -1;
    for (std::size_t i = 0; i < rows.size(); ++i) {
        if (!singleDay) {
            x[i] = rows.stamps[i] - offset;
            continue;
        }
        const double stamp = rows.stamps[i];
        const int minute = rows.minutes[i];
        const int timeOfDay = minute >= 0 ? minute : int(std::lround((stamp - std::floor(stamp)) * 1440.0)) % 1440;
        if (previousTimeOfDay >= 0 && timeOfDay < previousTimeOfDay)
            ++dayCounter;
        previousTimeOfDay = timeOfDay;
        x[i] = 24.0 * dayCounter + timeOfDay / 60.0;
    }
    return x;
}

// Copies the elements of `from` at the rows `kept` into `to`; all of them
// at once when every row is kept.
template <typename T>
void copyRows(const std::vector<T>& from, const std::vector<std::size_t>& kept, bool all, std::vector<T>& to)
{
    if (all) {
        to = from;
        return;
    }
    to.reserve(kept.size());
    for (std::size_t i : kept)
        to.push_back(from[i]);
}

// One trace's series from the rows of its query (column `column` its values).
TraceSeries seriesOf(const TraceEntry& trace, const HistoryColumns& rows, const std::vector<double>& x,
                     std::size_t column)
{
    TraceSeries series;
    series.trace = trace;
    const std::vector<double>& values = rows.values[column];
    std::vector<std::size_t> kept;  // the rows with a value, when some have none
    bool all = true;
    std::size_t maximumRow = 0, minimumRow = 0;
    qint16 previousStability = HistoryColumns::kNoStability;
    for (std::size_t i = 0; i < rows.size(); ++i) {
        const double value = values[i];
        if (std::isnan(value)) {  // no value, no point
            if (all) {
                all = false;
                for (std::size_t k = 0; k < i; ++k)
                    kept.push_back(k);
            }
            continue;
        }
        if (!all)
            kept.push_back(i);
        // Ties keep the earlier reading.
        if (value > values[maximumRow] || std::isnan(values[maximumRow]))
            maximumRow = i;
        if (value < values[minimumRow] || std::isnan(values[minimumRow]))
            minimumRow = i;
        const qint16 stability = rows.stability[i];
        if (stability != HistoryColumns::kNoStability) {
            if (previousStability != HistoryColumns::kNoStability && stability != previousStability)
                series.marks.push_back({x[i], value, stability});
            previousStability = stability;
        }
    }
    copyRows(x, kept, all, series.x);
    copyRows(values, kept, all, series.y);
    copyRows(rows.stamps, kept, all, series.stamps);
    copyRows(rows.minutes, kept, all, series.minutes);
    if (!series.y.empty()) {
        series.maximum = values[maximumRow];
        series.minimum = values[minimumRow];
        series.maximumTime = rows.timeText(maximumRow);
        series.minimumTime = rows.timeText(minimumRow);
        series.maximumStamp = rows.stamps[maximumRow];
        series.minimumStamp = rows.stamps[minimumRow];
    }
    return series;
}

}  // namespace

TraceReader::TraceReader(GraphRange range, bool singleDay, bool withStability, const Environment& environment)
    : range_(range), singleDay_(singleDay), withStability_(withStability), environment_(environment)
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
    std::vector<std::size_t> columnOf;
    QStringList columns;
    for (std::size_t i = 0; i < traces.size(); ++i) {
        const TraceEntry& t = traces[i];
        if (done_.contains(i) || t.sourceDatabase != database || t.dataID != dataID || t.offset != offset)
            continue;
        const QString column = DataTypes::at(t.dataType).column;
        qsizetype at = columns.indexOf(column);
        if (at < 0) {
            at = columns.size();
            columns << column;
        }
        members.push_back(i);
        columnOf.push_back(std::size_t(at));
    }
    const QDateTime from(range_.first.addDays(offset), QTime(0, 0));
    const QDateTime to(range_.last.addDays(offset), QTime(23, 59));
    auto rows = readHistoryColumns(database, dataID, from, to, columns, withStability_, environment_);
    if (!rows)
        return rows.error();
    const std::vector<double> x = xOf(*rows, singleDay_, offset);
    for (std::size_t m = 0; m < members.size(); ++m)
        done_[members[m]] = seriesOf(traces[members[m]], *rows, x, columnOf[m]);
    return mdb::Status::success();
}
