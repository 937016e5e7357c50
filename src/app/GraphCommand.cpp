#include "app/GraphCommand.h"

#include "app/ErrorLines.h"

#include "core/export/PictureExport.h"
#include "core/settings/SettingsModel.h"
#include "core/sources/SourceLists.h"
#include "core/text/Clock.h"
#include "core/graphs/HistoryChart.h"

#include <QCoreApplication>
#include <QSettings>

#include <memory>

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

std::optional<Options> parse(const QStringList& arguments, QTextStream& errors)
{
    Options options;
    QStringList plain;
    for (int i = 0; i < arguments.size(); ++i) {
        const QString& argument = arguments[i];
        const bool valued = argument == u"--to" || argument == u"--from" || argument == u"--settings";
        if (!valued) {
            plain << argument;
            continue;
        }
        const QString value = arguments.value(++i);
        if (argument == u"--settings") {
            options.settingsFile = value;
            continue;
        }
        const QDate date = QDate::fromString(value, Qt::ISODate);
        if (!date.isValid()) {
            errors << "nimbrel export-graph: " << argument << " wants a date as yyyy-MM-dd, not \"" << value << "\"\n";
            return std::nullopt;
        }
        (argument == u"--to" ? options.to : options.from) = date;
    }
    if (plain.size() != 3) {
        errors << "nimbrel export-graph: give DATABASE FAVOURITE OUT.gif, for example:\n"
                  "  nimbrel export-graph \"Weather.mdb\" \"Temperatures this week\" /var/www/week.gif\n";
        return std::nullopt;
    }
    options.database = plain[0];
    options.favourite = plain[1];
    options.output = plain[2];
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

int run(const QStringList& arguments, QTextStream& errors)
{
    const std::optional<Options> options = parse(arguments, errors);
    if (!options)
        return 2;
    ErrorLines lines(errors);
    SystemClock clock;
    const Environment environment{lines, lines, clock};

    std::unique_ptr<QSettings> store = options->settingsFile.isEmpty()
                                           ? std::make_unique<QSettings>()
                                           : std::make_unique<QSettings>(options->settingsFile, QSettings::IniFormat);
    SettingsModel settings;
    settings.load(*store, QCoreApplication::applicationDirPath(), lines);
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
