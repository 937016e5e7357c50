#include "app/ImportCommand.h"

#include "app/CommandArguments.h"
#include "app/ErrorLines.h"
#include "app/SourceArgument.h"

#include "core/import/HistoryImport.h"
#include "core/import/PageTextReader.h"
#include "core/import/StationHistoryReader.h"
#include "core/text/Clock.h"
#include "core/text/DateText.h"

#include <QFile>
#include <QFileInfo>

#include <memory>

namespace ImportCommand {

namespace {

const char* const kUsage =
    "Usage: nimbrel import DATABASE SOURCE FILE [--pages|--history] [--every-record|--cycle N]\n"
    "Stores the readings of FILE in DATABASE as readings of SOURCE (its name or\n"
    "number), leaving out those it has already: importing a file again adds nothing.\n"
    "FILE is a saved observations page (--pages) or the station program's binary\n"
    "history, history.dat (--history); without either, Nimbrel tells them apart.\n"
    "Of a history, every record is stored (--every-record, the default) or the\n"
    "first of every N minutes (--cycle N, 10 to 60, as the log cycle).\n";

}  // namespace

int run(const QStringList& arguments, QTextStream& out, QTextStream& errors)
{
    CommandArguments parser("import", kUsage,
                            {{"pages", "FILE is a saved observations page"},
                             {"history", "FILE is the station program's history.dat"},
                             {"every-record", "store every record of a history (the default)"},
                             {"cycle", "store the first record of every N minutes", "N"}},
                            3, 3);
    if (int code = 0; !parser.read(arguments, out, errors, code))
        return code;
    const QStringList plain = parser.positional();
    if (parser.isSet("pages") && parser.isSet("history"))
        return parser.usageError(errors, "--pages or --history, not both");
    int cycle = 0;
    if (parser.isSet("cycle")) {
        bool number = false;
        cycle = parser.value("cycle").toInt(&number);
        if (!number || cycle < 1 || cycle > 1440 || parser.isSet("every-record"))
            return parser.usageError(errors, "--cycle wants a number of minutes (1 to 1440), and no --every-record");
    }
    const QString database = plain[0], path = plain[2];
    if (!QFileInfo(database).isFile()) {
        errors << "nimbrel import: no database " << database << '\n';
        return 1;
    }
    QFile file(path);
    if (const QString unreadable = openImportFile(file); !unreadable.isEmpty()) {
        errors << "nimbrel import: cannot read " << path << ": " << unreadable << '\n';
        return 1;
    }

    ErrorLines lines(errors);
    SystemClock clock;
    const Environment environment{lines, lines, clock};
    const std::optional<SourceArgument> source = SourceArgument::find(database, plain[1], "import", environment, errors);
    if (!source)
        return 1;

    QString notHistory;
    std::optional<StationHistoryReader::Contents> contents;
    if (!parser.isSet("pages"))
        contents = StationHistoryReader::inspect(file, clock.now(), notHistory);
    if (parser.isSet("history") && !contents) {
        errors << "nimbrel import: " << path << ": " << notHistory << '\n';
        return 1;
    }
    std::unique_ptr<ImportReader> reader;
    if (contents) {
        out << path << ": a station history of " << contents->records << " records from "
            << DateText::format(contents->first, "dd.MM.yyyy HH:mm") << " to "
            << DateText::format(contents->last, "dd.MM.yyyy HH:mm") << '\n';
        reader = std::make_unique<StationHistoryReader>(file, clock.now(), cycle);
    } else {
        reader = std::make_unique<PageTextReader>(file, clock.now().date());
    }
    const ImportOutcome outcome = HistoryImport::run(*reader, database, source->sourceID, environment);
    out << path << ": " << outcome.counts.text() << '\n';
    if (!contents && outcome.ok() && outcome.counts.read == 0) {
        errors << "nimbrel import: " << path << ": no observations found (is it a saved observations page?)\n";
        return 1;
    }
    if (!outcome.ok()) {
        errors << "nimbrel import: " << path << ": " << outcome.problem << '\n';
        return 1;
    }
    return 0;
}

}  // namespace ImportCommand
