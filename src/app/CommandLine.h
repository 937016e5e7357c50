#pragma once

#include <QStringList>

// The program's command-line commands, which run without a window
// (`nimbrel --help` lists them).
namespace CommandLine {

// True when the arguments (program name first) ask for a command rather than
// the window.
bool isCommand(const QStringList& arguments);

// Whether the command draws pictures (it then needs a QApplication, which
// runs without a screen on the "offscreen" platform).
bool drawsPictures(const QStringList& arguments);

// Runs the command; returns the process exit code. Output goes to standard
// output, error-log lines to standard error.
int run(const QStringList& arguments);

// For arguments that are neither a command nor the window's options: says
// so and shows the usage on standard error; returns the exit code 2.
int refuse(const QStringList& arguments);

}  // namespace CommandLine
