// The Access file engine's speed on a weather station's data:
//   BulkAppend     525,600 readings (ten years at ten-minute steps) appended
//                  to a new database on disk and committed.
//   LogOneReading  on a ten-year file: open, look for the reading's source and
//                  minute through the index, append it, commit, close - what
//                  logging one reading costs.
//   OneGigabyte    eleven sources of ten years each appended to one database
//                  (1 GB, far past the 128 MB a global usage map on page 1
//                  describes), then one reading logged as above.
// Run: build/bench/mdb_bench (the ten-year file is built once, in /tmp).
#include "core/db/NimbrelSchema.h"
#include "mdb/DatabaseCreator.h"

#include <algorithm>
#include <benchmark/benchmark.h>
#include <chrono>
#include <filesystem>
#include <unistd.h>

namespace {

namespace fs = std::filesystem;
using namespace mdb;

constexpr int kTenYears = 525600;
constexpr double kFirstDay = 43831.0;  // 1 Jan 2020

std::vector<Value> reading(int i, int32_t source = 0)
{
    const double days = kFirstDay + i / 144.0;
    return {1013.25 + (i % 300) / 10.0, 21.5, 45.0, 12.5 + (i % 100) / 10.0, 80.0, 9.1, 11.0, 5.4,
            std::string("NNE"), 451.3, std::string("10:20"), std::string("21.11.2026"), DateTime{days},
            0.0, 1.2, int16_t(1), int16_t(1), int16_t(0), source};
}

fs::path benchFolder()
{
    const fs::path folder = fs::temp_directory_path() / ("nimbrel-bench-" + std::to_string(::getpid()));
    fs::create_directories(folder);
    return folder;
}

bool fillHistory(const std::string& path, int rows, int32_t source = 0)
{
    auto database = Database::open(path, OpenMode::ReadWrite);
    if (!database)
        return false;
    DatabaseWriter writer(**database);
    for (int i = 0; i < rows; ++i) {
        if (!writer.append("History", reading(i, source)))
            return false;
    }
    return bool(writer.commit());
}

// Logs reading `i` of source 0 as the program does; the time it took, or a
// negative number when it failed.
double logReading(const std::string& path, int i)
{
    const auto start = std::chrono::steady_clock::now();
    auto database = Database::open(path, OpenMode::ReadWrite);
    if (!database)
        return -1;
    DatabaseWriter writer(**database);
    const std::vector<Value> row = reading(i);
    auto existing = writer.find("History", "SourceDate", {row[18], row[12]});
    if (!existing || !existing->empty() || !writer.append("History", row) || !writer.commit())
        return -1;
    return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start).count();
}

void BulkAppend(benchmark::State& state)
{
    const fs::path folder = benchFolder();
    for (auto _ : state) {
        state.PauseTiming();
        const std::string path = (folder / "bulk.mdb").string();
        fs::remove(path);
        if (!NimbrelSchema::createDatabase(path)) {
            state.SkipWithError("cannot create the database");
            break;
        }
        state.ResumeTiming();
        if (!fillHistory(path, kTenYears)) {
            state.SkipWithError("append failed");
            break;
        }
    }
    state.SetItemsProcessed(state.iterations() * kTenYears);
    state.counters["file_MB"] = double(fs::file_size(folder / "bulk.mdb")) / 1e6;
    fs::remove_all(folder);
}
BENCHMARK(BulkAppend)->Unit(benchmark::kMillisecond)->Iterations(1);

void LogOneReading(benchmark::State& state)
{
    const fs::path folder = benchFolder();
    const std::string path = (folder / "tenyears.mdb").string();
    if (!NimbrelSchema::createDatabase(path) || !fillHistory(path, kTenYears)) {
        state.SkipWithError("cannot build the ten-year database");
        return;
    }
    std::vector<double> milliseconds;
    int next = kTenYears;
    for (auto _ : state) {
        const double taken = logReading(path, next++);
        if (taken < 0) {
            state.SkipWithError("logging failed");
            break;
        }
        milliseconds.push_back(taken);
    }
    std::sort(milliseconds.begin(), milliseconds.end());
    if (!milliseconds.empty()) {
        state.counters["median_ms"] = milliseconds[milliseconds.size() / 2];
        state.counters["worst_ms"] = milliseconds.back();
    }
    fs::remove_all(folder);
}
BENCHMARK(LogOneReading)->Unit(benchmark::kMillisecond)->Iterations(200);

void OneGigabyte(benchmark::State& state)
{
    constexpr int kSources = 11;
    const fs::path folder = benchFolder();
    const std::string path = (folder / "gigabyte.mdb").string();
    for (auto _ : state) {
        if (!NimbrelSchema::createDatabase(path)) {
            state.SkipWithError("cannot create the database");
            break;
        }
        for (int32_t source = 1; source <= kSources; ++source) {
            if (!fillHistory(path, kTenYears, source)) {
                state.SkipWithError("append failed");
                break;
            }
        }
    }
    state.SetItemsProcessed(int64_t(state.iterations()) * kSources * kTenYears);
    state.counters["file_MB"] = double(fs::file_size(path)) / 1e6;
    std::vector<double> milliseconds;
    for (int i = 0; i < 100; ++i)
        milliseconds.push_back(logReading(path, kTenYears + i));
    std::sort(milliseconds.begin(), milliseconds.end());
    state.counters["log_median_ms"] = milliseconds[milliseconds.size() / 2];
    state.counters["log_worst_ms"] = milliseconds.back();
    if (milliseconds.front() < 0)
        state.SkipWithError("logging a reading failed");
    fs::remove_all(folder);
}
BENCHMARK(OneGigabyte)->Unit(benchmark::kMillisecond)->Iterations(1);

}  // namespace

BENCHMARK_MAIN();
