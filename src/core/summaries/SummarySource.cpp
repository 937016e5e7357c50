#include "core/summaries/SummarySource.h"

#include "core/sources/WeatherSource.h"

std::optional<SummarySource> SummarySource::find(const QString& database, qint32 sourceID,
                                                 const Environment& environment)
{
    for (const auto& source : loadSources(database, environment)) {
        if (source->sourceID() != sourceID)
            continue;
        if (source->sourceDatabase().isEmpty())
            return std::nullopt;
        return SummarySource{source->sourceName(), source->sourceDatabase(), source->dataID()};
    }
    return std::nullopt;
}
