#include "core/summaries/WindDay.h"

#include "core/db/HistoryColumns.h"
#include "core/text/Compass.h"

#include <algorithm>
#include <cmath>

QString WindDay::pointName(int bin)
{
    return Compass::text(bin + 1);
}

int WindDay::dominant() const
{
    const auto most = std::max_element(sums.begin(), sums.end());
    return *most > 0 ? int(most - sums.begin()) : -1;
}

mdb::Result<WindDay> readWindDay(const SummarySource& source, const QDate& day, const Environment& environment)
{
    // A reading's stored day may differ from the day of its time around
    // midnight: read the neighbours too, keep the day's own.
    auto rows = readHistoryColumns(source.database, source.dataID, QDateTime(day.addDays(-1), QTime(0, 0)),
                                   QDateTime(day.addDays(1), QTime(23, 59)), {"WindSpeed", "WindDir"}, false,
                                   environment, true);
    if (!rows)
        return rows.error();
    const qint32 wanted = qint32(day.toJulianDay());
    const std::vector<double>& speeds = rows->values[0];
    const std::vector<double>& directions = rows->values[1];
    WindDay wind;
    for (std::size_t i = 0; i < rows->size(); ++i) {
        if (rows->dayTexts[i] != wanted)
            continue;
        const double speed = std::isnan(speeds[i]) ? 0 : speeds[i];
        const int code = std::isnan(directions[i]) ? 0 : int(directions[i]);
        if (speed > wind.maximum) {  // ties keep the earlier reading
            wind.maximum = speed;
            wind.maximumTime = rows->timeText(i);
            wind.maximumDirection = Compass::text(code);
        }
        if (speed <= 0)
            continue;
        if (code < 1 || code > 16)
            return mdb::Error{mdb::ErrorKind::Corruption,
                              "the reading of " + day.toString("dd.MM.yyyy").toStdString() + " " +
                                  rows->timeText(i).toStdString() + " has wind without a compass direction"};
        wind.sums[std::size_t(code - 1)] += speed;
    }
    return wind;
}
