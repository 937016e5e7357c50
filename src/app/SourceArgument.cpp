#include "app/SourceArgument.h"

#include "core/sources/WeatherSource.h"

#include <QStringList>

std::optional<SourceArgument> SourceArgument::find(const QString& database, const QString& wanted,
                                                   const QString& command, const Environment& environment,
                                                   QTextStream& errors)
{
    bool isNumber = false;
    const qint32 number = wanted.toInt(&isNumber);
    QStringList names;
    for (const auto& source : loadSources(database, environment)) {
        if (source->sourceName() == wanted || (isNumber && source->sourceID() == number))
            return SourceArgument{source->sourceName(), source->sourceID(), source->sourceDatabase(), source->dataID()};
        names << QString("\"%1\" (%2)").arg(source->sourceName()).arg(source->sourceID());
    }
    errors << "nimbrel " << command << ": " << database << " has no source \"" << wanted << "\"";
    if (!names.isEmpty())
        errors << "; it has " << names.join(", ");
    errors << '\n';
    return std::nullopt;
}
