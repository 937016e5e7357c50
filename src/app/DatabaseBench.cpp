#include "app/DatabaseBench.h"

#include "app/BenchSupport.h"
#include "app/GraphBench.h"

#include "core/db/ColumnValues.h"
#include "core/db/HistoryColumns.h"
#include "core/db/NimbrelSchema.h"
#include "core/db/ReadingLogger.h"
#include "mdb/Database.h"
#include "core/settings/SettingsModel.h"
#include "core/sources/WeatherSource.h"
#include "core/text/Clock.h"
#include "core/text/DateText.h"
#include "core/text/Compass.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFileInfo>
#include <QTemporaryDir>

#include <algorithm>
#include <cmath>
#include <random>

namespace {

constexpr int kReadings = 525600;  // ten years of 365 days at ten-minute steps
constexpr int kCommitEvery = 52560;
constexpr int kLoggedReadings = 200;
const QDateTime kFirstReading(QDate(2016, 1, 1), QTime(0, 0));


// A plausible reading for step `i`: daily and yearly temperature swings,
// pressure drifting round 1013 hPa, rain accumulating in showers.
struct Weather {
    std::mt19937 random{20160101};
    double rainTotal = 0;

    std::vector<mdb::Value> historyRow(int i, const QDateTime& time)
    {
        const double day = i / 144.0;
        const double out = 9 + 9 * std::sin((day - 110) * 2 * M_PI / 365) +
                           4 * std::sin((day - 0.375) * 2 * M_PI) + noise(1.0);
        const double humidity = std::clamp(75 - 2 * (out - 9) + noise(5), 20.0, 100.0);
        const double wind = std::max(0.0, 6 + 4 * std::sin(day / 3) + noise(3));
        const bool raining = random() % 40 == 0;
        if (raining)
            rainTotal += 0.3 * double(1 + random() % 5);
        const int direction = 1 + int(random() % 16);
        const double pressure = 1013 + 12 * std::sin(day / 4.5) + noise(0.5);
        const mdb::DateTime stamp = ColumnValues::toDateTime(time);
        return {std::round(pressure * 10) / 10, 21.0 + noise(0.5), 45.0 + noise(3), std::round(out * 10) / 10,
                std::round(humidity), std::round((out - 3) * 10) / 10, std::round((out - wind / 4) * 10) / 10,
                std::round(wind * 10) / 10, Compass::text(direction).toStdString(), rainTotal,
                DateText::format(time, "HH:mm").toStdString(), DateText::format(time, "dd.MM.yyyy").toStdString(),
                stamp, raining ? 0.3 : 0.0, 0.0, int16_t(random() % 3 - 1), int16_t(random() % 3),
                int16_t(0), int32_t(0)};
    }

    double noise(double spread) { return std::normal_distribution<double>(0, spread)(random); }
};

}  // namespace

bool buildTenYearDatabase(const QString& path, QTextStream& out, QTextStream& errors)
{
    if (mdb::Status created = NimbrelSchema::createDatabase(path.toStdString()); !created) {
        errors << "cannot create " << path << ": " << QString::fromStdString(created.error().message) << '\n';
        return false;
    }
    QElapsedTimer timer;
    timer.start();
    Weather weather;
    for (int first = 0; first < kReadings; first += kCommitEvery) {
        auto database = mdb::Database::open(path.toStdString(), mdb::OpenMode::ReadWrite);
        if (!database) {
            errors << QString::fromStdString(database.error().message) << '\n';
            return false;
        }
        mdb::DatabaseWriter writer(**database);
        for (int i = first; i < std::min(first + kCommitEvery, kReadings); ++i) {
            if (auto appended = writer.append("History", weather.historyRow(i, kFirstReading.addSecs(600LL * i)));
                !appended) {
                errors << QString::fromStdString(appended.error().message) << '\n';
                return false;
            }
        }
        if (mdb::Status committed = writer.commit(); !committed) {
            errors << QString::fromStdString(committed.error().message) << '\n';
            return false;
        }
    }
    const double seconds = double(timer.nsecsElapsed()) / 1e9;
    out << "Build: " << kReadings << " readings in " << QString::number(seconds, 'f', 1) << " s ("
        << QString::number(kReadings / seconds, 'f', 0) << " rows/s)\n";
    out << "File size: " << QString::number(double(QFileInfo(path).size()) / 1e6, 'f', 1) << " MB\n";
    return true;
}

namespace {

bool timeLogReading(const QString& path, const Environment& environment, BenchErrors& reported,
                    QTextStream& out, QTextStream& errors)
{
    ReadingLogger logger(environment);
    WeatherSource source(environment);
    std::vector<double> times;
    for (int i = 0; i < kLoggedReadings; ++i) {
        WeatherReading& w = source.reading();
        w.setReadDate(kFirstReading.addSecs(600LL * (kReadings + i)));
        w.setBarometer(1013.2 + i % 7);
        w.setTemperatureOut(8.5 + i % 5);
        w.setWindSpeed(10.799136);
        w.setWindDirection("SSW");
        QElapsedTimer timer;
        timer.start();
        const bool logged = logger.logReading(path, source.sourceID(), source.reading());
        times.push_back(double(timer.nsecsElapsed()) / 1e6);
        if (!logged) {
            errors << "LogReading failed: " << reported.last.trimmed() << '\n';
            return false;
        }
    }
    std::sort(times.begin(), times.end());
    out << "LogReading (open, duplicate test, insert, close), " << kLoggedReadings << " readings: median "
        << milliseconds(times[times.size() / 2]) << ", worst " << milliseconds(times.back()) << '\n';
    return true;
}

bool timeRangeReads(const QString& path, const Environment& environment, QTextStream& out, QTextStream& errors)
{
    struct Span {
        const char* name;
        QDateTime from, to;
    };
    const QDateTime start(QDate(2024, 3, 1), QTime(0, 0));
    const std::vector<Span> spans = {{"one day", start, start.addDays(1).addSecs(-60)},
                                     {"one month", start, start.addMonths(1).addSecs(-60)},
                                     {"one year", start, start.addYears(1).addSecs(-60)}};
    for (const Span& span : spans) {
        std::vector<double> times;
        std::size_t samples = 0;
        for (int repeat = 0; repeat < 5; ++repeat) {
            QElapsedTimer timer;
            timer.start();
            auto read = readHistoryColumns(path, 0, span.from, span.to, {"OutTemperature"}, false, environment);
            times.push_back(double(timer.nsecsElapsed()) / 1e6);
            if (!read) {
                errors << QString::fromStdString(read.error().message) << '\n';
                return false;
            }
            samples = read->size();
        }
        std::sort(times.begin(), times.end());
        out << "Range read of " << span.name << " (" << samples << " values of OutTemperature, with open and close): "
            << "median " << milliseconds(times[times.size() / 2]) << '\n';
    }
    return true;
}

}  // namespace

int runDatabaseBench(QTextStream& out, QTextStream& errors, const QString& keepIn)
{
    QTemporaryDir temporary;
    if (keepIn.isEmpty() && !temporary.isValid()) {
        errors << "cannot make a temporary folder\n";
        return 1;
    }
    const QString path = QDir(keepIn.isEmpty() ? temporary.path() : keepIn).filePath("ten years.mdb");
    BenchErrors reported;
    SystemClock clock;
    const Environment environment{reported, reported, clock};

    out << "Database bench: one source, a reading every ten minutes for ten years\n";
    out.flush();
    if (!buildTenYearDatabase(path, out, errors))
        return 1;
    out.flush();
    if (!timeLogReading(path, environment, reported, out, errors))
        return 1;
    if (!timeRangeReads(path, environment, out, errors))
        return 1;
    out.flush();
    return runGraphBench(path, out, errors);
}
