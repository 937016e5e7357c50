#include "core/summaries/RainDays.h"

#include "core/db/HistoryColumns.h"
#include "core/plot/TimeScale.h"
#include "core/text/NumberText.h"

#include <QLocale>

#include <cmath>

namespace {

double storedTime(const QDate& day, int hour)
{
    return plot::daysOf(day) + hour / 24.0;
}

// Half a second: stored times are whole seconds, their day fractions are not exact.
constexpr double kHalfSecond = 0.5 / 86400;

}  // namespace

QString RainMonth::title() const
{
    QString text = "Rainfall for " + QLocale::c().toString(month, "MMMM yyyy");
    if (total)
        // To the hundredth: a difference of two counter readings carries the
        // binary fraction's noise (81.8999999999942).
        text += ".    Total is " + NumberText::generalNumber(std::round(*total * 100) / 100) + "mm";
    return text;
}

RainMonth rainDays(const QDate& month, const std::vector<double>& stamps, const std::vector<double>& counters)
{
    RainMonth result;
    result.month = QDate(month.year(), month.month(), 1);
    std::optional<double> first, previous, last;
    QDate nextEnd = result.month;  // the open rain day ends at 09:00 on this day
    for (std::size_t i = 0; i < stamps.size(); ++i) {
        const double counter = counters[i];
        if (std::isnan(counter))
            continue;
        const bool firstReading = !first;
        if (firstReading)
            first = previous = counter;
        if (stamps[i] + kHalfSecond >= storedTime(nextEnd, 9)) {
            // Every rain day that has ended by now is closed; the last one takes the rain.
            while (stamps[i] + kHalfSecond >= storedTime(nextEnd.addDays(1), 9) &&
                   nextEnd.month() == result.month.month()) {
                result.days.push_back({nextEnd, std::nullopt});
                nextEnd = nextEnd.addDays(1);
            }
            // The first reading saw no rain fall: it has nothing before it.
            if (nextEnd.month() == result.month.month())
                result.days.push_back({nextEnd, firstReading ? std::nullopt
                                                             : std::optional(std::max(0.0, counter - *previous))});
            previous = counter;
            nextEnd = nextEnd.addDays(1);
        }
        last = counter;
    }
    if (first)
        result.total = *last - *first;
    return result;
}

mdb::Result<RainMonth> readRainMonth(const SummarySource& source, const QDate& month, const Environment& environment)
{
    const QDate firstDay(month.year(), month.month(), 1);
    auto rows = readHistoryColumns(source.database, source.dataID, QDateTime(firstDay.addDays(-1), QTime(9, 0)),
                                   QDateTime(firstDay.addMonths(1), QTime(8, 59)), {"RainTotal"}, false, environment);
    if (!rows)
        return rows.error();
    return rainDays(firstDay, rows->stamps, rows->values.front());
}
