#pragma once

#include <QStringList>

// The program's command-line commands, which run without a window:
//   nimbrel --help              what the program can do
//   nimbrel read FILE [--feed]  read a data file and print the reading
//   nimbrel mdb-dump FILE [TABLE]  show an Access database's tables or rows
namespace CommandLine {

// True when the arguments (program name first) ask for a command rather than
// the window.
bool isCommand(const QStringList& arguments);

// Runs the command; returns the process exit code. Output goes to standard
// output, error-log lines to standard error.
int run(const QStringList& arguments);

}  // namespace CommandLine
