#pragma once

#include <QStringList>

// The program's command-line commands, which run without a window
// (`nimbrel --help` lists them).
namespace CommandLine {

// True when the arguments (program name first) ask for a command rather than
// the window.
bool isCommand(const QStringList& arguments);

// Whether the command draws pictures (it then needs a QGuiApplication, which
// runs without a screen on the "offscreen" platform).
bool drawsPictures(const QStringList& arguments);

// Runs the command; returns the process exit code. Output goes to standard
// output, error-log lines to standard error. `speed` (1 unless --speed was
// given) runs the clock of `run --headless` faster.
int run(const QStringList& arguments, double speed = 1);

// Whether the command takes --speed (run --headless; the window's demo takes it too).
bool takesSpeed(const QStringList& arguments);

// For arguments that are neither a command nor the window's options: says
// so and shows the usage on standard error; returns the exit code 2.
int refuse(const QStringList& arguments);

}  // namespace CommandLine
