#include "app/GraphCommand.h"

#include "app/CommandArguments.h"
#include "app/DataFolder.h"
#include "app/ErrorLines.h"
#include "app/SettingsStore.h"

#include "core/export/PictureExport.h"
#include "core/settings/SettingsModel.h"
#include "core/sources/SourceLists.h"
#include "core/text/Clock.h"
#include "core/graphs/HistoryChart.h"

#include <QCoreApplication>

#include <memory>
#include <string_view>
#include <variant>

namespace GraphCommand {

namespace {

struct Options {
    QString database;
    QString favourite;
    QString output;
    QDate from;
    QDate to;
    QString settingsFile;
};

const char* const kUsage =
    "Usage: nimbrel export-graph DATABASE FAVOURITE OUT.gif [--to DATE] [--from DATE] [--settings FILE]\n"
    "Draws a saved favourite graph (by name or number) into a GIF picture, without a\n"
    "window: the favourite's span of days up to today, or to --to (dates as\n"
    "yyyy-MM-dd), with the axis ranges and export colours of your preferences (or of\n"
    "the settings file given).\n"
    "Example: nimbrel export-graph \"Weather.mdb\" \"Temperatures this week\" /var/www/week.gif\n";

// The options, or the exit code after the help or a usage error.
std::variant<Options, int> parse(const QStringList& arguments, QTextStream& out, QTextStream& errors)
{
    CommandArguments command("export-graph", kUsage,
                             {{"to", "the last day", "DATE"},
                              {"from", "the first day", "DATE"},
                              {"settings", "the settings to draw with (an INI file)", "FILE"}},
                             3, 3);
    if (int code = 0; !command.read(arguments, out, errors, code))
        return code;
    Options options;
    for (const char* name : {"to", "from"}) {
        if (!command.isSet(name))
            continue;
        const QDate date = QDate::fromString(command.value(name), Qt::ISODate);
        if (!date.isValid())
            return command.usageError(errors, QString("--%1 wants a date as yyyy-MM-dd, not \"%2\"")
                                                  .arg(name, command.value(name)));
        (name == std::string_view("to") ? options.to : options.from) = date;
    }
    options.settingsFile = command.value("settings");
    options.database = command.positional()[0];
    options.favourite = command.positional()[1];
    options.output = command.positional()[2];
    return options;
}

// The favourite's key, by its name or number; nothing (said) when there is none.
std::optional<qint32> favouriteKey(const Options& options, const Environment& environment, QTextStream& errors)
{
    const QList<SourceLists::ListEntry> favourites = SourceLists::favouriteList(options.database, environment);
    bool isNumber = false;
    const qint32 number = options.favourite.toInt(&isNumber);
    for (const SourceLists::ListEntry& favourite : favourites) {
        if (favourite.name == options.favourite || (isNumber && favourite.key == number))
            return favourite.key;
    }
    errors << "nimbrel export-graph: " << options.database << " has no favourite \"" << options.favourite << "\"";
    if (!favourites.isEmpty()) {
        QStringList names;
        for (const SourceLists::ListEntry& favourite : favourites)
            names << QString("\"%1\" (%2)").arg(favourite.name).arg(favourite.key);
        errors << "; it has " << names.join(", ");
    }
    errors << '\n';
    return std::nullopt;
}

}  // namespace

bool writePicture(HistoryGraph& graph, const SettingsModel& settings, GraphRenderer& renderer, const QString& path,
                  QString& error)
{
    if (!graph.refresh()) {
        error = QStringLiteral("the graph could not be drawn");
        return false;
    }
    const GraphColours colours{settings.fontColourExport(), settings.backColourExport()};
    return PictureExport::writePicture(*graph.data(), path, colours, renderer, error);
}

int run(const QStringList& arguments, QTextStream& out, QTextStream& errors)
{
    const std::variant<Options, int> parsed = parse(arguments, out, errors);
    if (const int* code = std::get_if<int>(&parsed))
        return *code;
    const Options* options = &std::get<Options>(parsed);
    ErrorLines lines(errors);
    SystemClock clock;
    const Environment environment{lines, lines, clock};

    const std::unique_ptr<QSettings> store = settingsStore(options->settingsFile);
    SettingsModel settings;
    settings.load(*store, dataFolder(), lines);
    settings.setDatabase(options->database);

    const std::optional<qint32> key = favouriteKey(*options, environment, errors);
    if (!key)
        return 1;
    const auto sources = loadSources(options->database, environment);
    const std::optional<Favourite> favourite = Favourites::load(options->database, *key, sources, environment);
    if (!favourite)
        return 1;

    HistoryGraph graph(settings, environment, options->to.isValid() ? options->to : clock.now().date());
    graph.apply(*favourite);
    if (options->from.isValid())
        graph.setRange(options->from, graph.state().to);
    HistoryChartRenderer renderer;
    QString error;
    if (!writePicture(graph, settings, renderer, options->output, error)) {
        errors << "nimbrel export-graph: " << error << '\n';
        return 1;
    }
    return 0;
}

}  // namespace GraphCommand
