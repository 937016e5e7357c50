#pragma once

#include <optional>
#include <string>
#include <vector>

// The independent reader: runs mdbtools' command-line programs on a file and
// parses what they print. Used to prove that what Nimbrel reads and writes
// is what another implementation sees.
namespace MdbTools {

// One cell of mdb-export's output: absent for null, else the text (quotes
// removed, doubled quotes undone).
using Cell = std::optional<std::string>;

struct Export {
    bool ok = false;
    std::string error;
    std::vector<std::string> header;
    std::vector<std::vector<Cell>> rows;
};

// mdb-export with binary values in hex and dates as "%Y-%m-%d %H:%M:%S".
Export exportTable(const std::string& path, const std::string& table);

// mdb-tables -1 (user tables) or with -S (all tables).
std::vector<std::string> tables(const std::string& path, bool includeSystem);

// mdb-count, or -1 when it fails.
long count(const std::string& path, const std::string& table);

// Runs a command and returns its standard output (standard error dropped).
std::string run(const std::string& command, int* exitCode = nullptr);

// Quotes a text for the shell.
std::string shellQuote(const std::string& text);

}  // namespace MdbTools
