#include "MdbToolsOracle.h"

#include <array>
#include <cstdio>
#include <sstream>
#include <sys/wait.h>

namespace MdbTools {

std::string shellQuote(const std::string& text)
{
    std::string quoted = "'";
    for (char c : text) {
        if (c == '\'')
            quoted += "'\\''";
        else
            quoted += c;
    }
    return quoted + "'";
}

std::string run(const std::string& command, int* exitCode)
{
    std::string output;
    FILE* pipe = ::popen((command + " 2>/dev/null").c_str(), "r");
    if (!pipe)
        return output;
    std::array<char, 65536> buffer;
    std::size_t n;
    while ((n = std::fread(buffer.data(), 1, buffer.size(), pipe)) > 0)
        output.append(buffer.data(), n);
    const int status = ::pclose(pipe);
    if (exitCode)
        *exitCode = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    return output;
}

namespace {

// Splits CSV text into records; a quoted field may hold commas, quotes
// (doubled) and line breaks.
std::vector<std::vector<Cell>> parseCsv(const std::string& text)
{
    std::vector<std::vector<Cell>> records;
    std::vector<Cell> record;
    std::string field;
    bool quoted = false;
    bool inQuotes = false;
    bool any = false;
    const auto endField = [&] {
        if (quoted || !field.empty())
            record.emplace_back(field);
        else
            record.emplace_back(std::nullopt);
        field.clear();
        quoted = false;
    };
    for (std::size_t i = 0; i < text.size(); ++i) {
        const char c = text[i];
        any = true;
        if (inQuotes) {
            if (c == '"' && i + 1 < text.size() && text[i + 1] == '"') {
                field += '"';
                ++i;
            } else if (c == '"') {
                inQuotes = false;
            } else {
                field += c;
            }
        } else if (c == '"') {
            inQuotes = true;
            quoted = true;
        } else if (c == ',') {
            endField();
        } else if (c == '\n') {
            endField();
            records.push_back(std::move(record));
            record.clear();
            any = false;
        } else if (c != '\r') {
            field += c;
        }
    }
    if (any) {
        endField();
        records.push_back(std::move(record));
    }
    return records;
}

}  // namespace

Export exportTable(const std::string& path, const std::string& table)
{
    Export result;
    int exitCode = 0;
    const std::string output = run("mdb-export -b hex -D '%Y-%m-%d %H:%M:%S' -T '%Y-%m-%d %H:%M:%S' " +
                                       shellQuote(path) + " " + shellQuote(table),
                                   &exitCode);
    if (exitCode != 0) {
        result.error = "mdb-export failed with exit code " + std::to_string(exitCode);
        return result;
    }
    auto records = parseCsv(output);
    if (records.empty()) {
        result.error = "mdb-export printed nothing";
        return result;
    }
    for (const Cell& name : records.front())
        result.header.push_back(name.value_or(""));
    result.rows.assign(records.begin() + 1, records.end());
    result.ok = true;
    return result;
}

std::vector<std::string> tables(const std::string& path, bool includeSystem)
{
    std::istringstream lines(run(std::string("mdb-tables -1 ") + (includeSystem ? "-S " : "") + shellQuote(path)));
    std::vector<std::string> names;
    for (std::string line; std::getline(lines, line);) {
        if (!line.empty())
            names.push_back(line);
    }
    return names;
}

long count(const std::string& path, const std::string& table)
{
    int exitCode = 0;
    const std::string output = run("mdb-count " + shellQuote(path) + " " + shellQuote(table), &exitCode);
    if (exitCode != 0 || output.empty())
        return -1;
    return std::stol(output);
}

}  // namespace MdbTools
