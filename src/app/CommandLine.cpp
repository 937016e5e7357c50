#include "app/CommandLine.h"

#include "errors/ErrorLogFile.h"
#include "errors/ErrorReporter.h"
#include "readings/clsWeather.h"
#include "shared/NumberText.h"

#include <QDateTime>
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
    "  read FILE [--feed]   read a station current-data file (currdat.lst), or with\n"
    "                       --feed a saved weather feed page, and print the reading:\n"
    "                       \"Result: true|false\", then one \"Name: value\" line per value.\n"
    "                       Read errors are printed to standard error.\n";

// Error-log lines, dated as in the log file, on standard error.
class StandardErrorReporter final : public ErrorReporter {
public:
    void ReportError(const QString& message) override
    {
        QTextStream(stderr) << ErrorLogFile::entry(QDateTime::currentDateTime(), message);
    }
};

void printReading(QTextStream& out, bool result, const clsWeather& w)
{
    const auto number = [](double value) { return NumberText::GeneralNumber(value); };
    out << "Result: " << (result ? "true" : "false") << '\n';
    out << "ReadDate: " << w.ReadDate().toString(QStringLiteral("yyyy-MM-dd HH:mm:ss")) << '\n';
    out << "Stability: " << w.Stability() << '\n';
    out << "StabilityData: " << w.StabilityData() << '\n';
    out << "Trend: " << w.Trend() << '\n';
    out << "TrendData: " << w.TrendData() << '\n';
    out << "StormWarning: " << w.StormWarning() << '\n';
    out << "StormWarningData: " << w.StormWarningData() << '\n';
    out << "RainTotal: " << number(w.RainTotal()) << '\n';
    out << "Rain24hr: " << number(w.Rain24hr()) << '\n';
    out << "Rain1hr: " << number(w.Rain1hr()) << '\n';
    out << "WindChill: " << number(w.WindChill()) << '\n';
    out << "Dewpoint: " << number(w.Dewpoint()) << '\n';
    out << "WindDirection: " << w.WindDirection() << '\n';
    out << "WindSpeed: " << number(w.WindSpeed()) << '\n';
    out << "HumidityIn: " << number(w.HumidityIn()) << '\n';
    out << "HumidityOut: " << number(w.HumidityOut()) << '\n';
    out << "TemperatureIn: " << number(w.TemperatureIn()) << '\n';
    out << "TemperatureOut: " << number(w.TemperatureOut()) << '\n';
    out << "Barometer: " << number(w.Barometer()) << '\n';
}

int runRead(const QStringList& arguments)
{
    QStringList files;
    bool feed = false;
    for (const QString& argument : arguments) {
        if (argument == u"--feed")
            feed = true;
        else
            files << argument;
    }
    if (files.size() != 1) {
        QTextStream(stderr) << "nimbrel read: give one data file, for example: nimbrel read currdat.lst\n";
        return 2;
    }

    StandardErrorReporter errors;
    clsWeather reading;
    const bool result = reading.RefreshData(files.first(), feed ? 1 : 0, errors, QDateTime::currentDateTime());
    QTextStream out(stdout);
    printReading(out, result, reading);
    return result ? 0 : 1;
}

}  // namespace

namespace CommandLine {

bool isCommand(const QStringList& arguments)
{
    if (arguments.size() < 2)
        return false;
    const QString& command = arguments.at(1);
    return command == u"--help" || command == u"-h" || command == u"read";
}

int run(const QStringList& arguments)
{
    const QString command = arguments.value(1);
    if (command == u"read")
        return runRead(arguments.mid(2));
    QTextStream(stdout) << kUsage;
    return 0;
}

}  // namespace CommandLine
