#include "app/CommandLine.h"

#include "app/GraphCommand.h"
#include "app/ImportBench.h"
#include "app/ImportCommand.h"
#include "app/CommandArguments.h"
#include "app/HeadlessRun.h"
#include "app/RemoteBench.h"
#include "app/ServeCommand.h"
#include "app/SummaryCommand.h"

#include "app/DatabaseBench.h"

#include "core/db/NimbrelSchema.h"
#include "mdb/Database.h"
#include "mdb/DatabaseWriter.h"
#include "mdb/FileSystem.h"
#include "mdb/Journal.h"
#include "mdb/Verifier.h"
#include "core/errors/ErrorLogFile.h"
#include "core/errors/ErrorReporter.h"
#include "core/readings/StationSimulator.h"
#include "core/readings/WeatherReading.h"
#include "core/text/NumberText.h"

#include <QCoreApplication>
#include <QDateTime>
#include <QRegularExpression>
#include <QTimer>
#include <QTextStream>
#include <cstdio>

namespace {

const char* const kUsage =
    "Usage: nimbrel [COMMAND]\n"
    "\n"
    "Without a command, Nimbrel starts its window.\n"
    "\n"
    "Commands:\n"
    "  --help               show this text\n"
    "  --version            show Nimbrel's version\n"
    "  read FILE [--feed]   read a station current-data file (currdat.lst), or with\n"
    "                       --feed a saved weather feed page, and print the reading:\n"
    "                       \"Result: true|false\", then one \"Name: value\" line per value.\n"
    "                       Read errors are printed to standard error.\n"
    "  mdb-dump FILE [TABLE] list the tables of an Access database with their columns\n"
    "                       and row counts, or print one table's rows (tab-separated).\n"
    "  create-db FILE       make a new Access database with Nimbrel's tables\n"
    "                       (History, Sources, Favorites, Traces, DayDiary); never\n"
    "                       writes over an existing file.\n"
    "  verify-db FILE [--repair] [--notes] check an Access database's rows, indexes\n"
    "                       and page maps. --notes lists what Access itself leaves\n"
    "                       behind (no fault); --repair first rewrites what earlier\n"
    "                       versions of Nimbrel wrote in forms other programs cannot read.\n"
    "  export-graph DATABASE FAVOURITE OUT.gif [--to DATE] [--from DATE] [--settings FILE]\n"
    "                       draw a saved favourite graph (by name or number) into a\n"
    "                       GIF picture, without a window: the favourite's span of\n"
    "                       days up to today, or to --to (dates as yyyy-MM-dd), with\n"
    "                       the axis ranges and export colours of your preferences\n"
    "                       (or of the settings file given).\n"
    "  simulate FILE [--once] be a weather station: write a current-data file to FILE\n"
    "                       now and as every minute begins (with --once: now only).\n"
    "  --demo               start the window on the demo station (its own database,\n"
    "                       settings and simulated station file in the user's data folder).\n"
    "  --demo --speed N     the same with the demo's clock N times faster (1 to 600): at\n"
    "                       60 a ten-minute mark, with its logging, feed and pictures,\n"
    "                       comes every ten seconds.\n"
    "  summary maxmin|wind|rain|month|year DATABASE SOURCE ...\n"
    "                       a source's daily extremes, a day's wind, a month's rain\n"
    "                       days, or a month's or year's climate summary, as a table\n"
    "                       (--csv), the first three also as a GIF (--picture OUT.gif);\n"
    "                       nimbrel summary --help says more.\n"
    "  import DATABASE SOURCE FILE [--pages|--history] [--every-record|--cycle N]\n"
    "                       store the past readings of a saved observations page or\n"
    "                       of the station program's history.dat as readings of\n"
    "                       SOURCE, leaving out those already there.\n"
    "  run --headless [--settings FILE]\n"
    "                       the refresh cycle without a window, tray or display (for a\n"
    "                       service): read, log, export on the ten-minute marks; errors\n"
    "                       to the error log, mail and standard error. SIGHUP reads the\n"
    "                       settings again, SIGTERM stops it.\n"
    "  serve DATABASE [--port N] [--bind ADDRESS] [--allow CIDR]...\n"
    "                       serve the sources and readings of DATABASE to the Remote\n"
    "                       Data D/L of other Nimbrels (read-only; 127.0.0.1 port\n"
    "                       5850 unless told otherwise) until SIGTERM or Ctrl+C.\n"
    "  bench db [FOLDER]    build a ten-year database (in FOLDER, kept, or in a\n"
    "                       temporary folder) and time logging a reading,\n"
    "                       reading a day, a month and a year of one quantity,\n"
    "                       and drawing a year's and a week's graph into a GIF.\n"
    "  bench import [HISTORY.dat]  time importing HISTORY.dat (twice) and a generated\n"
    "                       ten-year history of one-minute records.\n"
    "  bench remote [TEN-YEARS.mdb]  time downloading a year and ten years of the\n"
    "                       bench's ten-year database from nimbrel serve.\n"
    "  --verify             (with any other command or the window) check the database\n"
    "                       after every change Nimbrel writes.\n";

// Error-log lines, dated as in the log file, on standard error (with the
// terminal's line ends).
class StandardErrorReporter final : public ErrorReporter {
public:
    void report(const QString& message) override
    {
        QString line = ErrorLogFile::entry(QDateTime::currentDateTime(), message);
        QTextStream(stderr) << line.replace(QStringLiteral("\r\n"), QStringLiteral("\n"));
    }
};

// "Result: true" and every value of the reading, or "Result: false" alone.
void printReading(QTextStream& out, bool result, const WeatherReading& w)
{
    const auto number = [](double value) { return NumberText::generalNumber(value); };
    out << "Result: " << (result ? "true" : "false") << '\n';
    if (!result)
        return;
    out << "ReadDate: " << w.readDate().toString(QStringLiteral("yyyy-MM-dd HH:mm:ss")) << '\n';
    out << "Stability: " << w.stabilityText() << '\n';
    out << "StabilityData: " << w.stabilityCode() << '\n';
    out << "Trend: " << w.trendText() << '\n';
    out << "TrendData: " << w.trendCode() << '\n';
    out << "StormWarning: " << w.stormText() << '\n';
    out << "StormWarningData: " << w.stormCode() << '\n';
    out << "RainTotal: " << number(w.rainTotal()) << '\n';
    out << "Rain24hr: " << number(w.rain24h()) << '\n';
    out << "Rain1hr: " << number(w.rain1h()) << '\n';
    out << "WindChill: " << number(w.windChill()) << '\n';
    out << "Dewpoint: " << number(w.dewpoint()) << '\n';
    out << "WindDirection: " << w.windDirection() << '\n';
    out << "WindSpeed: " << number(w.windSpeed()) << '\n';
    out << "HumidityIn: " << number(w.humidityIn()) << '\n';
    out << "HumidityOut: " << number(w.humidityOut()) << '\n';
    out << "TemperatureIn: " << number(w.temperatureIn()) << '\n';
    out << "TemperatureOut: " << number(w.temperatureOut()) << '\n';
    out << "Barometer: " << number(w.barometer()) << '\n';
}

int runRead(const QStringList& arguments)
{
    QTextStream out(stdout);
    QTextStream errorLines(stderr);
    CommandArguments command("read",
                             "Usage: nimbrel read FILE [--feed]\n"
                             "Reads a station's current-data file (currdat.lst), or with --feed a saved\n"
                             "weather feed page, and prints the reading: \"Result: true|false\", then one\n"
                             "\"Name: value\" line per value. Read errors go to standard error.\n",
                             {{"feed", "FILE is a saved weather feed page"}}, 1, 1);
    if (int code = 0; !command.read(arguments, out, errorLines, code))
        return code;
    const QStringList files = command.positional();
    const bool feed = command.isSet("feed");

    StandardErrorReporter errors;
    WeatherReading reading;
    const bool result = reading.readSourceFile(files.first(), feed ? SourceKind::Feed : SourceKind::StationFile, errors, QDateTime::currentDateTime());
    printReading(out, result, reading);
    return result ? 0 : 1;
}

void printTableSummary(QTextStream& out, mdb::Database& database, const mdb::TableEntry& entry)
{
    auto table = database.definition(entry.name);
    if (!table) {
        out << QString::fromStdString(entry.name) << ": " << QString::fromStdString(table.error().message) << '\n';
        return;
    }
    out << QString::fromStdString(entry.name) << (entry.isSystem() ? " (system)" : "") << ": "
        << table->rowCount << " rows\n";
    for (const mdb::Column& column : table->columns) {
        out << "  " << QString::fromStdString(column.name) << "  " << mdb::typeName(column.type);
        if (column.type == mdb::ColumnType::Text)
            out << " (" << column.length / 2 << ")";
        if (column.isAutonumber())
            out << ", autonumber";
        out << '\n';
    }
    for (const mdb::Index& index : table->indexes) {
        out << "  index " << QString::fromStdString(index.name) << " (";
        const auto& columns = table->realIndexes[index.realIndex].columns;
        for (std::size_t i = 0; i < columns.size(); ++i) {
            const mdb::Column* column = table->columnByNumber(columns[i].columnNumber);
            out << (i ? ", " : "") << QString::fromStdString(column ? column->name : "?");
        }
        out << ")" << (index.kind == mdb::Index::kPrimaryKey ? ", primary key" : "") << '\n';
    }
}

int printRows(QTextStream& out, mdb::Database& database, const std::string& tableName)
{
    auto table = database.definition(tableName);
    if (!table) {
        QTextStream(stderr) << "nimbrel mdb-dump: " << QString::fromStdString(table.error().message) << '\n';
        return 1;
    }
    QStringList names;
    for (const mdb::Column& column : table->columns)
        names << QString::fromStdString(column.name);
    out << names.join(u'\t') << '\n';
    mdb::Status scanned = database.scan(*table, [&out](const mdb::Row& row) {
        QStringList cells;
        for (const mdb::Value& value : row.values)
            cells << QString::fromStdString(mdb::toText(value)).replace(u'\t', u' ').replace(u'\n', u' ');
        out << cells.join(u'\t') << '\n';
        return true;
    });
    if (!scanned) {
        out.flush();
        QTextStream(stderr) << "nimbrel mdb-dump: " << QString::fromStdString(scanned.error().message) << '\n';
        return 1;
    }
    return 0;
}

// Opens a database for a command, saying on standard error first when the
// journal of an interrupted change lies beside it (opening deals with it,
// which writes to the file even for a command that only reads), and then
// what opening found.
mdb::Result<std::unique_ptr<mdb::Database>> openForCommand(const QString& command, const std::string& path,
                                                          mdb::OpenMode mode = mdb::OpenMode::ReadOnly)
{
    static mdb::DiskFileSystem disk;
    QTextStream errors(stderr);
    if (mdb::Journal::needsRecovery(disk, path))
        errors << "nimbrel " << command << ": " << QString::fromStdString(path)
               << " has the journal of an interrupted change beside it ("
               << QString::fromStdString(mdb::Journal::pathFor(path))
               << "); it is dealt with before the file is read\n";
    auto database = mdb::Database::open(disk, path, mode);
    if (database) {
        for (const std::string& notice : (*database)->notices())
            errors << "nimbrel " << command << ": " << QString::fromStdString(notice) << '\n';
    }
    return database;
}

int runMdbDump(const QStringList& given)
{
    QTextStream out(stdout);
    QTextStream errors(stderr);
    CommandArguments command("mdb-dump",
                             "Usage: nimbrel mdb-dump FILE [TABLE]\n"
                             "Lists the tables of an Access database with their columns, indexes and row\n"
                             "counts, or prints the rows of TABLE, tab-separated.\n",
                             {}, 1, 2);
    if (int code = 0; !command.read(given, out, errors, code))
        return code;
    const QStringList arguments = command.positional();
    auto database = openForCommand("mdb-dump", arguments.first().toStdString());
    if (!database) {
        errors << "nimbrel mdb-dump: " << QString::fromStdString(database.error().message) << '\n';
        return 1;
    }
    if (arguments.size() == 2)
        return printRows(out, **database, arguments.at(1).toStdString());
    out << QString::fromStdString((*database)->layout().name) << ", code page " << (*database)->header().codePage << '\n';
    for (const mdb::TableEntry& entry : (*database)->tables())
        printTableSummary(out, **database, entry);
    return 0;
}

int runCreateDb(const QStringList& given)
{
    QTextStream out(stdout);
    QTextStream errors(stderr);
    CommandArguments command("create-db",
                             "Usage: nimbrel create-db FILE\n"
                             "Makes a new Access database with Nimbrel's tables (History, Sources,\n"
                             "Favorites, Traces, DayDiary); never writes over an existing file.\n",
                             {}, 1, 1);
    if (int code = 0; !command.read(given, out, errors, code))
        return code;
    const QStringList arguments = command.positional();
    if (mdb::Status created = NimbrelSchema::createDatabase(arguments.first().toStdString()); !created) {
        errors << "nimbrel create-db: " << QString::fromStdString(created.error().message) << '\n';
        return 1;
    }
    out << "Created " << arguments.first() << " with the tables "
                        << QString::fromStdString([] {
                               std::string names;
                               for (const std::string& name : NimbrelSchema::tableNames())
                                   names += (names.empty() ? "" : ", ") + name;
                               return names;
                           }())
                        << '\n';
    return 0;
}

// Rewrites what earlier versions wrote in forms other programs cannot read
// (a change with nothing else in it does just that).
mdb::Status repairDatabase(const std::string& path)
{
    auto database = openForCommand("verify-db", path, mdb::OpenMode::ReadWrite);
    if (!database)
        return database.error();
    mdb::DatabaseWriter writer(**database);
    return writer.commit();
}

int runVerifyDb(const QStringList& arguments)
{
    QTextStream out(stdout);
    QTextStream errors(stderr);
    CommandArguments command("verify-db",
                             "Usage: nimbrel verify-db FILE [--repair] [--notes]\n"
                             "Checks an Access database's rows, indexes and page maps; exit code 1 when\n"
                             "it finds a problem.\n"
                             "  --notes    also list what Access itself leaves behind (no fault)\n"
                             "  --repair   first rewrite what earlier versions of Nimbrel wrote in forms\n"
                             "             other programs cannot read\n",
                             {{"repair", "rewrite what earlier versions wrote in forms others cannot read"},
                              {"notes", "list what Access itself leaves behind"}},
                             1, 1);
    if (int code = 0; !command.read(arguments, out, errors, code))
        return code;
    const bool repair = command.isSet("repair");
    const bool listNotes = command.isSet("notes");
    const QStringList files = command.positional();
    const std::string path = files.first().toStdString();
    if (repair) {
        if (mdb::Status repaired = repairDatabase(path); !repaired) {
            errors << "nimbrel verify-db: " << QString::fromStdString(repaired.error().message) << '\n';
            return 1;
        }
    }
    auto database = openForCommand("verify-db", path);
    if (!database) {
        errors << "nimbrel verify-db: " << QString::fromStdString(database.error().message) << '\n';
        return 1;
    }
    const mdb::VerifyReport report = mdb::verifyDatabase(**database);
    for (const std::string& problem : report.problems)
        out << QString::fromStdString(problem) << '\n';
    if (listNotes) {
        for (const std::string& note : report.notes)
            out << "note: " << QString::fromStdString(note) << '\n';
    }
    if (report.problems.empty())
        out << "No problems found"
            << (report.notes.empty() || listNotes
                    ? QString()
                    : QStringLiteral(" (%1 notes on what Access leaves behind; --notes lists them)").arg(report.notes.size()))
            << '\n';
    else
        out << report.problems.size() << " problems found\n";
    return report.problems.empty() ? 0 : 1;
}

int runSimulate(const QStringList& arguments)
{
    QTextStream out(stdout);
    QTextStream errors(stderr);
    CommandArguments command("simulate",
                             "Usage: nimbrel simulate FILE [--once]\n"
                             "Is a weather station: writes a current-data file to FILE now and as every\n"
                             "minute begins, until stopped (with --once: now only).\n",
                             {{"once", "write the file once and stop"}}, 1, 1);
    if (int code = 0; !command.read(arguments, out, errors, code))
        return code;
    const bool once = command.isSet("once");
    const QStringList files = command.positional();
    const QString path = files.first();
    QString error;
    if (!StationSimulator::writeCurrentDataFile(path, QDateTime::currentDateTime(), error)) {
        errors << "nimbrel simulate: " << error << '\n';
        return 1;
    }
    out << "Wrote " << path << '\n';
    if (once)
        return 0;
    out << "Rewriting it as every minute begins; stop with Ctrl+C.\n";
    out.flush();
    QTimer timer;
    QTime lastWritten = QTime::currentTime();
    QObject::connect(&timer, &QTimer::timeout, [&] {
        const QDateTime now = QDateTime::currentDateTime();
        if (now.time().minute() == lastWritten.minute())
            return;
        lastWritten = now.time();
        QString failure;
        if (!StationSimulator::writeCurrentDataFile(path, now, failure))
            QTextStream(stderr) << "nimbrel simulate: " << failure << '\n';
    });
    timer.start(1000);
    return QCoreApplication::exec();
}

int runBench(const QStringList& arguments)
{
    QTextStream errors(stderr);
    QTextStream out(stdout);
    CommandArguments command("bench",
                             "Usage: nimbrel bench db|import|remote [PATH]\n"
                             "  db [FOLDER]              build a ten-year database (in FOLDER, kept) and time\n"
                             "                           logging, range reads, graphs and summaries\n"
                             "  import [HISTORY.dat]     time importing a history (twice) and a generated\n"
                             "                           ten-year history\n"
                             "  remote [TEN-YEARS.mdb]   time downloads from nimbrel serve\n",
                             {}, 1, 2);
    if (int code = 0; !command.read(arguments, out, errors, code))
        return code;
    const QString bench = command.positional().value(0), path = command.positional().value(1);
    if (bench == u"db")
        return runDatabaseBench(out, errors, path);
    if (bench == u"import")
        return runImportBench(out, errors, path);
    if (bench == u"remote")
        return runRemoteBench(out, errors, path);
    return command.usageError(errors, "there is no bench \"" + bench + "\"");
}

}  // namespace

namespace CommandLine {

bool isCommand(const QStringList& arguments)
{
    if (arguments.size() < 2)
        return false;
    const QString& command = arguments.at(1);
    static const QStringList commands{"--help",    "-h",        "--version", "read", "mdb-dump",
                                      "create-db", "verify-db", "bench",     "simulate", "export-graph", "summary", "import",
                                      "serve", "run"};
    return commands.contains(command);
}

bool drawsPictures(const QStringList& arguments)
{
    static const QStringList drawing{"export-graph", "bench", "summary", "run"};
    return drawing.contains(arguments.value(1));
}

int refuse(const QStringList& arguments)
{
    QTextStream(stderr) << "nimbrel: unknown command or option \"" << arguments.mid(1).join(u' ') << "\"\n\n"
                        << kUsage;
    return 2;
}

bool takesSpeed(const QStringList& arguments)
{
    return arguments.value(1) == u"run";
}

int run(const QStringList& arguments, double speed)
{
    const QString command = arguments.value(1);
    if (command == u"--version") {
        QTextStream(stdout) << "Nimbrel " << NIMBREL_VERSION << '\n';
        return 0;
    }
    if (command == u"read")
        return runRead(arguments.mid(2));
    if (command == u"mdb-dump")
        return runMdbDump(arguments.mid(2));
    if (command == u"create-db")
        return runCreateDb(arguments.mid(2));
    if (command == u"verify-db")
        return runVerifyDb(arguments.mid(2));
    if (command == u"bench")
        return runBench(arguments.mid(2));
    if (command == u"simulate")
        return runSimulate(arguments.mid(2));
    if (command == u"export-graph") {
        QTextStream out(stdout);
        QTextStream errors(stderr);
        return GraphCommand::run(arguments.mid(2), out, errors);
    }
    if (command == u"import") {
        QTextStream out(stdout);
        QTextStream errors(stderr);
        return ImportCommand::run(arguments.mid(2), out, errors);
    }
    if (command == u"run") {
        QTextStream out(stdout);
        QTextStream log(stderr);
        return HeadlessRun::run(arguments.mid(2), speed, out, log);
    }
    if (command == u"serve") {
        QTextStream out(stdout);
        QTextStream log(stderr);
        return ServeCommand::run(arguments.mid(2), out, log);
    }
    if (command == u"summary") {
        QTextStream out(stdout);
        QTextStream errors(stderr);
        return SummaryCommand::run(arguments.mid(2), out, errors);
    }
    QTextStream(stdout) << kUsage;
    return 0;
}

}  // namespace CommandLine
