#include "app/GraphBench.h"

#include "app/BenchSupport.h"
#include "app/GraphCommand.h"
#include "core/export/PictureExport.h"
#include "core/plot/Envelope.h"
#include "core/settings/SettingsModel.h"
#include "core/text/Clock.h"
#include "core/graphs/HistoryChart.h"
#include "core/plot/ChartPainter.h"
#include "core/summaries/ClimateSummary.h"
#include "core/summaries/DailyExtremes.h"
#include "core/summaries/RainDays.h"
#include "core/summaries/SummaryCharts.h"
#include "core/summaries/WindDay.h"

#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QProcess>
#include <QTemporaryDir>

#include <algorithm>
#include <functional>

namespace {

constexpr int kRuns = 7;
const QDate kLastDay(2024, 2, 29);
const char* const kFavourite = "Four temperatures";

// The median of `kRuns` timed runs, after one that warms the caches.
std::optional<double> medianMs(const std::function<bool()>& work)
{
    if (!work())
        return std::nullopt;
    std::vector<double> times;
    for (int run = 0; run < kRuns; ++run) {
        QElapsedTimer timer;
        timer.start();
        if (!work())
            return std::nullopt;
        times.push_back(double(timer.nsecsElapsed()) / 1e6);
    }
    std::sort(times.begin(), times.end());
    return times[times.size() / 2];
}

TraceEntry trace(const QString& database, int dataType, int colour)
{
    TraceEntry entry;
    entry.sourceName = "Bench Station";
    entry.sourceDatabase = database;
    entry.dataType = dataType;
    entry.colour = standardColour(colour);
    return entry;
}

// The source of the bench's readings and a favourite of four temperatures.
bool addFavourite(const QString& database, const std::vector<TraceEntry>& traces, const Environment& environment)
{
    return addBenchStation(database, 0, environment) &&
           Favourites::save(database, kFavourite, {false, 364, traces}, environment) != 0;
}

// The summaries over the bench's readings, each read from the file (open
// and close included) as the tabs and `nimbrel summary` read them.
int timeSummaries(const QString& database, const Environment& environment, QTextStream& out, QTextStream& errors)
{
    const SummarySource source{"Bench Station", database, 0};
    const QDate month(2024, 2, 1);
    std::vector<DayExtremes> year;
    const auto extremes = medianMs([&] {
        auto days = readDailyExtremes(source, "OutTemperature", kLastDay.addDays(-364), kLastDay, environment);
        year = days ? *days : std::vector<DayExtremes>{};
        return bool(days);
    });
    const auto drawn = medianMs([&] {
        return !plot::draw(SummaryCharts::maxMin({{"Bench Station", "Temperature Out", year}}, {-5, 45}, Qt::black,
                                                 Qt::white),
                           {613, 467})
                    .isNull();
    });
    const auto rain = medianMs([&] { return bool(readRainMonth(source, month, environment)); });
    const auto wind = medianMs([&] { return bool(readWindDay(source, kLastDay, environment)); });
    const auto climate = medianMs([&] {
        return bool(readClimateSummary(source, month, month.addMonths(1).addDays(-1), environment));
    });
    if (!extremes || !drawn || !rain || !wind || !climate) {
        errors << "a summary failed\n";
        return 1;
    }
    out << "A year of daily maximum and minimum (" << year.size() << " days) from the file: median "
        << milliseconds(*extremes) << "; drawn into a 613 x 467 picture: median " << milliseconds(*drawn) << '\n'
        << "A month of rain days: median " << milliseconds(*rain) << '\n'
        << "A day's wind summary: median " << milliseconds(*wind) << '\n'
        << "A month's climate summary: median " << milliseconds(*climate) << '\n';
    return 0;
}

}  // namespace

int runGraphBench(const QString& databasePath, QTextStream& out, QTextStream& errors)
{
    BenchErrors reported;
    SystemClock clock;
    const Environment environment{reported, reported, clock};
    SettingsModel settings;
    HistoryChartRenderer renderer;
    QTemporaryDir pictures;
    const std::vector<TraceEntry> four = {trace(databasePath, 1, 11), trace(databasePath, 6, 10),
                                          trace(databasePath, 3, 12), trace(databasePath, 7, 13)};
    if (!addFavourite(databasePath, four, environment)) {
        errors << "cannot save the bench's favourite: " << reported.last << '\n';
        return 1;
    }
    out << "Graph bench: the ten-year database, " << kRuns << " runs each after a warm-up\n";

    HistoryGraph year(settings, environment, kLastDay);
    year.apply({false, 364, {four.front()}});
    const auto oneTrace = medianMs([&] {
        if (!year.refresh())
            return false;
        const GraphData& data = *year.data();
        return !envelope(data.traces[0].x, data.traces[0].y, data.xMinimum, data.xMaximum, 600).empty();
    });
    if (!oneTrace) {
        errors << "the one-year trace failed: " << reported.last << '\n';
        return 1;
    }
    out << "One-year trace ready to show (" << year.data()->traces[0].size()
        << " readings: read, plotted, cut to 600 pixel columns): median " << milliseconds(*oneTrace) << '\n';

    for (int days : {365, 7}) {
        HistoryGraph graph(settings, environment, kLastDay);
        graph.apply({false, days - 1, four});
        const QString gif = QDir(pictures.path()).filePath("bench.gif");
        QString error;
        const auto toGif = medianMs([&] { return GraphCommand::writePicture(graph, settings, renderer, gif, error); });
        if (!toGif) {
            errors << "the four-trace graph failed: " << error << ' ' << reported.last << '\n';
            return 1;
        }
        out << "Four-trace graph of " << (days == 7 ? "a week" : "a year") << " to a 613 x 467 GIF (query included): median "
            << milliseconds(*toGif) << '\n';
    }

    HistoryGraph week(settings, environment, kLastDay);
    week.apply({false, 6, {four.front()}});
    QString weekError;
    const QString weekGif = QDir(pictures.path()).filePath("week.gif");
    const auto oneWeek = medianMs([&] { return GraphCommand::writePicture(week, settings, renderer, weekGif, weekError); });
    if (!oneWeek) {
        errors << "the one-trace week failed: " << weekError << '\n';
        return 1;
    }
    out << "One-trace graph of a week to a 613 x 467 GIF (query included): median " << milliseconds(*oneWeek) << '\n';

    HistoryGraph drawn(settings, environment, kLastDay);
    drawn.apply({false, 364, four});
    if (!drawn.refresh()) {
        errors << "the four-trace year could not be read: " << reported.last << '\n';
        return 1;
    }
    const GraphPictureRequest request = PictureExport::request(*drawn.data(), {0x202020, 0xFFFFFF});
    const auto drawing = medianMs([&] { return !renderer.render(*drawn.data(), request).isNull(); });
    out << "Four-trace graph of a year drawn into a 613 x 467 picture (readings already read): median "
        << milliseconds(drawing.value_or(0)) << '\n';

    if (int failed = timeSummaries(databasePath, environment, out, errors))
        return failed;

    const QString program = QCoreApplication::applicationFilePath();
    const QString settingsFile = QDir(pictures.path()).filePath("bench.ini");
    const QStringList arguments = {"export-graph", databasePath, kFavourite, QDir(pictures.path()).filePath("cmd.gif"),
                                   "--to", kLastDay.toString(Qt::ISODate), "--settings", settingsFile};
    const auto runs = [&program](const QStringList& arguments) {
        return medianMs([&] {
            QProcess process;
            process.start(program, arguments);
            return process.waitForFinished(60000) && process.exitCode() == 0;
        });
    };
    const auto command = runs(arguments);
    const auto version = runs({"--version"});
    if (!command || !version) {
        errors << "the export-graph or --version command failed\n";
        return 1;
    }
    out << "The whole command: nimbrel export-graph (a year, four traces, to GIF), a new process each time: median "
        << milliseconds(*command) << '\n';
    out << "nimbrel --version, a new process each time: median " << milliseconds(*version) << '\n';
    return 0;
}
