#pragma once

#include "core/errors/Environment.h"

#include <QString>
#include <QTextStream>

#include <optional>

// A source named on the command line, as the Sources table of a database
// has it.
struct SourceArgument {
    QString name;
    qint32 sourceID = 0;
    QString database;  // where its readings are kept; may be empty
    qint32 dataID = 0;

    // The source of `database` whose name is `wanted`, or whose number it
    // is. None after a line on `errors` ("nimbrel COMMAND: … has no source
    // "x"; it has "Garden" (1), …").
    static std::optional<SourceArgument> find(const QString& database, const QString& wanted, const QString& command,
                                              const Environment& environment, QTextStream& errors);
};
