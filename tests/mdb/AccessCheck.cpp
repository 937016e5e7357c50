#include "AccessCheck.h"

#include "MdbToolsOracle.h"
#include "mdb/Database.h"

#include <algorithm>
#include <filesystem>
#include <regex>
#include <sstream>

namespace AccessCheck {

namespace {

const std::string kFolder = NIMBREL_ACCESS_CHECK_DIR;

std::string command(const std::string& path)
{
    const std::string classPath = kFolder + "/mdbverify.jar:" + kFolder +
                                  "/jackcess-4.0.10.jar:/usr/share/java/commons-lang3.jar:"
                                  "/usr/share/java/commons-logging.jar";
    return "java -cp " + MdbTools::shellQuote(classPath) + " MdbVerify " + MdbTools::shellQuote(path);
}

// How many rows an ignore-nulls index must list: those whose indexed values
// are not all null. -1 when the index does not ignore nulls or is not found.
long expectedIgnoreNullsEntries(const std::string& path, const std::string& tableName, const std::string& indexName)
{
    auto database = mdb::Database::open(path);
    if (!database)
        return -1;
    auto table = (*database)->definition(tableName);
    const mdb::Index* index = table ? table->index(indexName) : nullptr;
    if (!index)
        return -1;
    const mdb::RealIndex& real = table->realIndexes[index->realIndex];
    if (!(real.flags & mdb::RealIndex::kIgnoreNullsFlag))
        return -1;
    long listed = 0;
    mdb::Status scanned = (*database)->scan(*table, [&](const mdb::Row& row) {
        listed += std::any_of(real.columns.begin(), real.columns.end(), [&](const mdb::IndexColumn& column) {
            const mdb::Column* found = table->columnByNumber(column.columnNumber);
            return !mdb::isNull(row.values[std::size_t(found - table->columns.data())]);
        });
        return true;
    });
    return scanned ? listed : -1;
}

bool isFault(const std::string& line, const std::string& path)
{
    static const std::regex entries(R"(^ENTRIES ([^.]+)\.(.+) index=(\d+) rows=(\d+)$)");
    std::smatch match;
    if (std::regex_match(line, match, entries))
        return std::stol(match[3]) != expectedIgnoreNullsEntries(path, match[1], match[2]);
    return line.rfind("ROWCOUNT ", 0) == 0 || line.rfind("INVALID ", 0) == 0 || line.rfind("OPEN FAILED", 0) == 0;
}

}  // namespace

bool available()
{
    return std::filesystem::exists(kFolder + "/mdbverify.jar");
}

Outcome check(const std::string& path)
{
    Outcome outcome;
    int exitCode = -1;
    outcome.output = MdbTools::run(command(path), &exitCode);
    std::istringstream lines(outcome.output);
    for (std::string line; std::getline(lines, line);) {
        if (line.rfind("format ", 0) == 0)
            outcome.opened = true;
        if (isFault(line, path))
            outcome.problems.push_back(line);
    }
    return outcome;
}

}  // namespace AccessCheck
