#include "app/ImportBench.h"

#include "app/BenchSupport.h"

#include "core/db/NimbrelSchema.h"
#include "core/import/HistoryImport.h"
#include "core/import/StationHistoryReader.h"
#include "core/text/Clock.h"
#include "core/text/DateText.h"

#include <QElapsedTimer>
#include <QFile>
#include <QTemporaryDir>
#include <QtEndian>

#include <cmath>

namespace {

constexpr qint64 kTenYears = 10LL * 365 * 1440 + 2 * 1440;  // one-minute records, two leap days

// The memory the process uses now (resident set, MB), from /proc; 0 elsewhere.
double residentMegabytes()
{
    return statusMegabytes("/proc/self/status", "VmRSS");
}

bool makeDatabase(const QString& path, const Environment& environment, QTextStream& errors)
{
    if (mdb::Status created = NimbrelSchema::createDatabase(path.toStdString()); !created) {
        errors << "nimbrel bench: " << QString::fromStdString(created.error().message) << '\n';
        return false;
    }
    if (!addBenchStation(path, 1, environment)) {
        errors << "nimbrel bench: cannot add the source\n";
        return false;
    }
    return true;
}

// Ten years of plausible one-minute records, written in blocks.
bool writeTenYears(const QString& path, QTextStream& errors)
{
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly)) {
        errors << "nimbrel bench: " << file.errorString() << '\n';
        return false;
    }
    const double firstDay = double(DateText::zeroDate().daysTo(QDate(2015, 1, 1)));
    QByteArray block;
    float rain = 0;
    for (qint64 i = 0; i < kTenYears; ++i) {
        char record[StationHistoryReader::kRecordSize] = {};
        const double day = double(i) / 1440;
        const auto put = [&record](int offset, float value) { qToLittleEndian(value, record + offset); };
        qToLittleEndian(firstDay + day, record);
        const float out = float(9 + 9 * std::sin((day - 110) * 2 * M_PI / 365) + 4 * std::sin((day - 0.375) * 2 * M_PI));
        if (i % 97 == 0)
            rain += 0.3f;
        put(8, 990);
        put(12, float(1013 + 12 * std::sin(day / 4.5)));
        put(16, float(3 + 2 * std::sin(day * 7)));
        qToLittleEndian(qint32(i / 60 % 16), record + 20);
        put(24, 51);
        put(28, rain);
        put(36, 21);
        put(40, std::round(out * 10) / 10);
        put(44, 45);
        put(48, float(std::round(70 - 2 * (out - 9))));
        block.append(record, sizeof record);
        if (block.size() >= (1 << 22) || i + 1 == kTenYears) {
            if (file.write(block) != block.size()) {
                errors << "nimbrel bench: " << file.errorString() << '\n';
                return false;
            }
            block.clear();
        }
    }
    return true;
}

struct Timed {
    ImportOutcome outcome;
    double ms = 0;
    double memoryAtTenth = 0;
    double memoryAtHalf = 0;
};

Timed timedImport(const QString& history, const QString& database, int cycle, const Environment& environment)
{
    Timed timed;
    QFile file(history);
    if (!file.open(QIODevice::ReadOnly)) {
        timed.outcome.problem = file.errorString();
        return timed;
    }
    QElapsedTimer clock;
    clock.start();
    StationHistoryReader reader(file, environment.clock.now(), cycle);
    timed.outcome = HistoryImport::run(reader, database, 1, environment, [&timed](const ImportCounts&, double done) {
        if (timed.memoryAtTenth == 0 && done >= 0.1)
            timed.memoryAtTenth = residentMegabytes();
        if (timed.memoryAtHalf == 0 && done >= 0.5)
            timed.memoryAtHalf = residentMegabytes();
        return true;
    });
    timed.ms = double(clock.nsecsElapsed()) / 1e6;
    return timed;
}

}  // namespace

int runImportBench(QTextStream& out, QTextStream& errors, const QString& history)
{
    QTemporaryDir folder;
    BenchErrors benchErrors;
    SystemClock clock;
    const Environment environment{benchErrors, benchErrors, clock};
    const auto failed = [&](const ImportOutcome& outcome) {
        if (outcome.ok())
            return false;
        errors << "nimbrel bench: " << outcome.problem << '\n';
        return true;
    };

    if (!history.isEmpty()) {
        const QString database = folder.filePath("fixture.mdb");
        if (!makeDatabase(database, environment, errors))
            return 1;
        const Timed first = timedImport(history, database, 0, environment);
        if (failed(first.outcome))
            return 1;
        out << "history file, every record into an empty database: " << milliseconds(first.ms) << " ("
            << first.outcome.counts.text() << ")\n";
        const Timed again = timedImport(history, database, 0, environment);
        if (failed(again.outcome))
            return 1;
        out << "the same again, all already there: " << milliseconds(again.ms) << '\n';
    }

    const QString tenYears = folder.filePath("history-10y.dat");
    const QString database = folder.filePath("ten-years.mdb");
    if (!writeTenYears(tenYears, errors) || !makeDatabase(database, environment, errors))
        return 1;
    const Timed big = timedImport(tenYears, database, 10, environment);
    if (failed(big.outcome))
        return 1;
    out << "ten years of one-minute records, one per ten minutes: " << milliseconds(big.ms) << ", "
        << QString::number(double(big.outcome.counts.read) / (big.ms / 1000), 'f', 0) << " records/s ("
        << big.outcome.counts.text() << ")\n";
    out << "memory in use after a tenth: " << QString::number(big.memoryAtTenth, 'f', 1)
        << " MB, at half: " << QString::number(big.memoryAtHalf, 'f', 1) << " MB, at the end: " << QString::number(residentMegabytes(), 'f', 1) << " MB\n";
    return 0;
}
