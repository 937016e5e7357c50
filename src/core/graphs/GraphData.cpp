#include "core/graphs/GraphData.h"

#include "core/db/ColumnValues.h"
#include "core/text/DateText.h"
#include "core/text/NumberText.h"

#include <QDateTime>

QString TraceSeries::annotation(bool withDay) const
{
    const auto when = [this, withDay](const QString& time, double stamp) {
        if (!withDay || y.empty())
            return time;
        return wallClockTime(stamp).toString("dd-MMM ") + time;
    };
    return "Max: " + NumberText::generalNumber(maximum) + " @ " + when(maximumTime, maximumStamp) +
           "  Min: " + NumberText::generalNumber(minimum) + " @ " + when(minimumTime, minimumStamp);
}

QString TraceSeries::label(std::size_t i, bool singleDay) const
{
    const int minute = minutes.at(i);
    if (minute < 0 || minute % 60 != 0)
        return {};
    if (minute == 0 && !singleDay)
        return wallClockTime(stamps.at(i)).toString("dd-MMM-yy hh:mm");
    return QString::asprintf("%02d:00", minute / 60);
}

std::pair<double, double> GraphData::xRangeOf(const GraphRange& range, bool singleDay)
{
    const qint64 days = range.first.daysTo(range.last) + 1;
    if (singleDay)
        return {0.0, 24.0 * double(days)};
    const double first = storedDays(range.first);
    return {first, first + double(days - 1) + 1439.0 / 1440.0};
}

QDateTime wallClockTime(double stored)
{
    return ColumnValues::fromDateTime(mdb::DateTime{stored});
}

double storedDays(const QDate& date)
{
    return double(DateText::zeroDate().daysTo(date));
}
