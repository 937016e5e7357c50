#pragma once

#include <csignal>
#include <functional>
#include <initializer_list>

// Turns the signals a command without a window is stopped or told with
// (SIGTERM and SIGINT unless others are named) into a call of `handle` on
// the application's event loop, where it can finish what it is doing
// first. Once per process.
void onSignals(std::function<void(int signal)> handle, std::initializer_list<int> which = {SIGTERM, SIGINT});
