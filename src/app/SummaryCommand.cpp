#include "app/SummaryCommand.h"

#include "app/CommandArguments.h"
#include "app/DataFolder.h"
#include "app/ErrorLines.h"
#include "app/SettingsStore.h"
#include "app/SourceArgument.h"

#include "core/export/GifFile.h"
#include "core/export/PictureExport.h"
#include "core/graphs/DataTypes.h"
#include "core/plot/ChartPainter.h"
#include "core/settings/SettingsModel.h"
#include "core/settings/StoredColour.h"
#include "core/summaries/SummaryCharts.h"
#include "core/summaries/SummaryTable.h"
#include "core/text/Clock.h"
#include "core/text/NumberText.h"

#include <QCoreApplication>
#include <QFileInfo>

#include <memory>

namespace SummaryCommand {

namespace {

const char* const kUsage =
    "Usage:\n"
    "  nimbrel summary maxmin DATABASE SOURCE --from yyyy-MM-dd --to yyyy-MM-dd [--type NAME]\n"
    "  nimbrel summary wind   DATABASE SOURCE yyyy-MM-dd\n"
    "  nimbrel summary rain   DATABASE SOURCE yyyy-MM\n"
    "  nimbrel summary month  DATABASE SOURCE yyyy-MM\n"
    "  nimbrel summary year   DATABASE SOURCE yyyy\n"
    "SOURCE is a source's name or number. Options: --csv (comma-separated),\n"
    "--picture OUT.gif (maxmin, wind and rain: the chart as a GIF),\n"
    "--settings FILE (the preferences to use for axes and colours).\n";

class UsageError {
public:
    explicit UsageError(QString text) : text(std::move(text)) {}
    QString text;
};

QDate dateOf(const QString& text, const QString& format, const QString& what)
{
    const QDate date = QDate::fromString(text, format);
    if (!date.isValid())
        throw UsageError(what + " wants a date as " + format + ", not \"" + text + "\"");
    return date;
}

std::optional<int> typeNamed(const QString& name)
{
    for (int type = 0; type < DataTypes::kCount; ++type) {
        if (DataTypes::name(type).compare(name, Qt::CaseInsensitive) == 0)
            return type;
    }
    return std::nullopt;
}

// The source by name or number, when it keeps readings.
std::optional<SummarySource> findSource(const QString& database, const QString& wanted, const Environment& environment,
                                        QTextStream& errors)
{
    const std::optional<SourceArgument> source = SourceArgument::find(database, wanted, "summary", environment, errors);
    if (!source)
        return std::nullopt;
    if (source->database.isEmpty()) {
        errors << "nimbrel summary: the source \"" << source->name << "\" keeps no readings\n";
        return std::nullopt;
    }
    return SummarySource{source->name, source->database, source->dataID};
}

bool writeGif(const plot::Chart& chart, const QString& path, QTextStream& errors)
{
    const std::vector<quint32> exact = {chart.background.rgb() & 0xFFFFFF, chart.text.rgb() & 0xFFFFFF};
    QString error;
    if (!GifFile::write(path, plot::draw(chart, PictureExport::kPictureSize), exact, error)) {
        errors << "nimbrel summary: " << error << '\n';
        return false;
    }
    return true;
}

// One summary, once the source is known: prints it and draws its picture.
class Summary {
public:
    Summary(const CommandArguments& parser, const SettingsModel& settings, const Environment& environment,
            QTextStream& out, QTextStream& errors)
        : parser_(parser), settings_(settings), environment_(environment), out_(out), errors_(errors),
          text_(StoredColour::toColour(settings.fontColourExport())),
          background_(StoredColour::toColour(settings.backColourExport()))
    {
    }

    int run(const QString& kind, const SummarySource& source, const QString& when)
    {
        if (kind == u"maxmin")
            return maxMin(source);
        if (kind == u"wind")
            return wind(source, dateOf(when, "yyyy-MM-dd", "wind"));
        if (kind == u"rain")
            return rain(source, dateOf(when, "yyyy-MM", "rain"));
        if (kind == u"month") {
            const QDate month = dateOf(when, "yyyy-MM", "month");
            return climate(source, month, month.addMonths(1).addDays(-1));
        }
        const QDate year = dateOf(when, "yyyy", "year");
        return climate(source, year, QDate(year.year(), 12, 31));
    }

private:
    int maxMin(const SummarySource& source)
    {
        const QDate from = dateOf(parser_.value("from"), "yyyy-MM-dd", "--from");
        const QDate to = dateOf(parser_.value("to"), "yyyy-MM-dd", "--to");
        if (from >= to)
            throw UsageError("--to must be a later day than --from");
        const QString typeName = parser_.isSet("type") ? parser_.value("type") : "Temperature Out";
        const std::optional<int> type = typeNamed(typeName);
        if (!type)
            throw UsageError("there is no quantity \"" + typeName + "\"");
        const DataType& dataType = DataTypes::at(*type);
        auto days = readDailyExtremes(source, dataType.column, from, to, environment_);
        if (!days)
            return failed(days.error());
        print(SummaryTables::maxMin(*days));
        const double a = NumberText::leadingNumber(settings_.axisMinimum(dataType.scaleGroup));
        const double b = NumberText::leadingNumber(settings_.axisMaximum(dataType.scaleGroup));
        return picture(SummaryCharts::maxMin({{source.name, dataType.name, *days}}, {a, b}, text_, background_));
    }

    int wind(const SummarySource& source, const QDate& day)
    {
        auto wind = readWindDay(source, day, environment_);
        if (!wind)
            return failed(wind.error());
        print(SummaryTables::wind(*wind));
        return picture(SummaryCharts::wind(*wind, text_, background_));
    }

    int rain(const SummarySource& source, const QDate& month)
    {
        auto rain = readRainMonth(source, month, environment_);
        if (!rain)
            return failed(rain.error());
        print(SummaryTables::rain(*rain));
        return picture(SummaryCharts::rain(*rain, text_, background_));
    }

    int climate(const SummarySource& source, const QDate& first, const QDate& last)
    {
        if (parser_.isSet("picture"))
            throw UsageError("month and year summaries are tables only; --picture is for maxmin, wind and rain");
        auto summary = readClimateSummary(source, first, last, environment_);
        if (!summary)
            return failed(summary.error());
        print(SummaryTables::climate(*summary));
        return 0;
    }

    void print(const SummaryTable& table)
    {
        if (parser_.isSet("csv"))
            out_ << QString::fromUtf8(table.toCsv());
        else
            out_ << table.toText();
    }

    int picture(const plot::Chart& chart)
    {
        if (!parser_.isSet("picture"))
            return 0;
        return writeGif(chart, parser_.value("picture"), errors_) ? 0 : 1;
    }

    int failed(const mdb::Error& error)
    {
        errors_ << "nimbrel summary: " << QString::fromStdString(error.message) << '\n';
        return 1;
    }

    const CommandArguments& parser_;
    const SettingsModel& settings_;
    const Environment& environment_;
    QTextStream& out_;
    QTextStream& errors_;
    QColor text_, background_;
};

}  // namespace

int run(const QStringList& arguments, QTextStream& out, QTextStream& errors)
{
    CommandArguments parser("summary", kUsage,
                            {{"from", "first day (maxmin)", "yyyy-MM-dd"},
                             {"to", "last day (maxmin)", "yyyy-MM-dd"},
                             {"type", "quantity (maxmin), Temperature Out unless given", "NAME"},
                             {"csv", "print comma-separated values"},
                             {"picture", "also draw the chart into a GIF", "OUT.gif"},
                             {"settings", "preferences file", "FILE"}},
                            1, 4);
    if (int code = 0; !parser.read(arguments, out, errors, code))
        return code;
    const QStringList plain = parser.positional();
    static const QStringList kinds = {"maxmin", "wind", "rain", "month", "year"};
    const QString kind = plain.value(0);
    const qsizetype wanted = kind == u"maxmin" ? 3 : 4;
    if (!kinds.contains(kind) || plain.size() != wanted)
        return parser.usageError(errors, kinds.contains(kind) ? "wrong number of arguments" : "which summary?");
    if (!QFileInfo(plain[1]).isFile()) {
        errors << "nimbrel summary: no database " << plain[1] << '\n';
        return 1;
    }
    ErrorLines lines(errors);
    SystemClock clock;
    const Environment environment{lines, lines, clock};
    const std::unique_ptr<QSettings> store = settingsStore(parser.value("settings"));
    SettingsModel settings;
    settings.load(*store, dataFolder(), lines);
    try {
        const std::optional<SummarySource> source = findSource(plain[1], plain[2], environment, errors);
        if (!source)
            return 1;
        return Summary(parser, settings, environment, out, errors).run(kind, *source, plain.value(3));
    } catch (const UsageError& usage) {
        return parser.usageError(errors, usage.text);
    }
}

}  // namespace SummaryCommand
