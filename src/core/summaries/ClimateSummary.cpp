#include "core/summaries/ClimateSummary.h"

#include "core/db/HistoryColumns.h"
#include "core/plot/TimeScale.h"
#include "core/summaries/RainDays.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace {

// The sums one day's readings build up.
struct DayTally {
    double high = -INFINITY, low = INFINITY, sum = 0;
    int count = 0;
    std::optional<double> maxWind;
    std::array<double, 16> wind{};

    void addTemperature(double value)
    {
        high = std::max(high, value);
        low = std::min(low, value);
        sum += value;
        ++count;
    }
};

ClimateDay dayOf(const QDate& day, const DayTally& tally)
{
    ClimateDay result{day, {}, {}, {}, {}, tally.maxWind, -1};
    if (tally.count > 0) {
        result.high = tally.high;
        result.low = tally.low;
        result.mean = tally.sum / tally.count;
    }
    const auto most = std::max_element(tally.wind.begin(), tally.wind.end());
    if (*most > 0)
        result.dominantPoint = int(most - tally.wind.begin());
    return result;
}

}  // namespace

mdb::Result<ClimateSummary> readClimateSummary(const SummarySource& source, const QDate& first, const QDate& last,
                                               const Environment& environment)
{
    // From 09:00 the day before, for the first rain day; to 08:59 the day after, for the last.
    auto rows = readHistoryColumns(source.database, source.dataID, QDateTime(first.addDays(-1), QTime(9, 0)),
                                   QDateTime(last.addDays(1), QTime(8, 59)),
                                   {"OutTemperature", "WindSpeed", "WindDir", "RainTotal"}, false, environment, true);
    if (!rows)
        return rows.error();
    const qint64 firstDay = first.toJulianDay();
    std::vector<DayTally> tallies(std::size_t(first.daysTo(last) + 1));
    for (std::size_t i = 0; i < rows->size(); ++i) {
        const qint64 day = rows->storedDay(i);
        if (day < firstDay || day - firstDay >= qint64(tallies.size()))
            continue;
        DayTally& tally = tallies[std::size_t(day - firstDay)];
        if (const double t = rows->values[0][i]; !std::isnan(t))
            tally.addTemperature(t);
        if (const double speed = rows->values[1][i]; !std::isnan(speed)) {
            tally.maxWind = std::max(tally.maxWind.value_or(speed), speed);
            const double code = rows->values[2][i];
            if (speed > 0 && code >= 1 && code <= 16)
                tally.wind[std::size_t(code) - 1] += speed;
        }
    }

    ClimateSummary summary{first, last, {}};
    for (std::size_t d = 0; d < tallies.size(); ++d)
        summary.days.push_back(dayOf(first.addDays(qint64(d)), tallies[d]));
    // Rain, month by month, from the same readings.
    for (QDate month(first.year(), first.month(), 1); month <= last; month = month.addMonths(1)) {
        const double from = plot::daysOf(month.addDays(-1)) + 9.0 / 24;
        const double to = plot::daysOf(month.addMonths(1)) + 9.0 / 24;
        // The readings are in time order: the month's are one stretch of them.
        const auto begin = std::lower_bound(rows->stamps.begin(), rows->stamps.end(), from);
        const auto end = std::lower_bound(begin, rows->stamps.end(), to);
        const auto counters = rows->values[3].begin();
        const std::vector<double> monthStamps(begin, end);
        const std::vector<double> monthCounters(counters + (begin - rows->stamps.begin()),
                                                counters + (end - rows->stamps.begin()));
        for (const RainDay& rain : rainDays(month, monthStamps, monthCounters).days) {
            const qint64 at = first.daysTo(rain.day);
            if (at >= 0 && at < qint64(summary.days.size()))
                summary.days[std::size_t(at)].rain = rain.rain;
        }
    }
    return summary;
}
