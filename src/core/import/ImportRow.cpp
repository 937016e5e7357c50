#include "core/import/ImportRow.h"

#include "core/text/DateText.h"

std::vector<ColumnValue> ImportRow::historyRow(qint32 sourceID) const
{
    return {
        {"Pressure", pressure},
        {"InTemperature", inTemperature},
        {"InHumidity", inHumidity},
        {"OutTemperature", outTemperature},
        {"OutHumidity", outHumidity},
        {"Dewpoint", dewpoint},
        {"Windchill", windChill},
        {"WindSpeed", windSpeed},
        {"WindDir", windDirection.isEmpty() ? QVariant() : QVariant(windDirection)},
        {"RainTotal", rainTotal},
        {"TimeText", DateText::format(time, "HH:mm")},
        {"DateText", DateText::format(time, "dd.MM.yyyy")},
        {"DateRead", time},
        {"Rain1Hr", rain1h},
        {"Rain24Hr", rain24h},
        {"BarTrend", trend},
        {"Stability", stability},
        {"Storm", storm},
        {"SourceID", sourceID},
    };
}
