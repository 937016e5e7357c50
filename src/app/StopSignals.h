#pragma once

#include <functional>

// Turns the signals that ask a command without a window to stop (SIGTERM,
// SIGINT) into a call of `stop` on the application's event loop, where it
// can finish what it is doing first. Once per process.
void onStopSignals(std::function<void(int signal)> stop);
