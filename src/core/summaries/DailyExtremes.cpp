#include "core/summaries/DailyExtremes.h"

#include "core/db/HistoryColumns.h"

#include <cmath>
#include <map>

mdb::Result<std::vector<DayExtremes>> readDailyExtremes(const SummarySource& source, const QString& column,
                                                        const QDate& first, const QDate& last,
                                                        const Environment& environment)
{
    auto rows = readHistoryColumns(source.database, source.dataID, QDateTime(first, QTime(0, 0)),
                                   QDateTime(last, QTime(23, 59)), {column}, false, environment, true);
    if (!rows)
        return rows.error();
    const std::vector<double>& values = rows->values.front();
    std::map<qint64, DayExtremes> days;
    for (std::size_t i = 0; i < rows->size(); ++i) {
        if (std::isnan(values[i]))
            continue;
        const qint64 day = rows->storedDay(i);
        const auto [entry, added] = days.try_emplace(day, DayExtremes{QDate::fromJulianDay(day), values[i], values[i]});
        if (!added) {
            entry->second.minimum = std::min(entry->second.minimum, values[i]);
            entry->second.maximum = std::max(entry->second.maximum, values[i]);
        }
    }
    std::vector<DayExtremes> extremes;
    extremes.reserve(days.size());
    for (const auto& [day, entry] : days)
        extremes.push_back(entry);
    return extremes;
}
