#pragma once

#include "core/errors/BusyIndicator.h"

#include <chrono>

class Clock;
class ErrorReporter;
class MessageBoxes;
namespace mdb {
class FileSystem;
}

// What the program's operations use of the world besides their arguments:
// where errors and messages go, the time, the files, the wait cursor. The
// application makes one for the run; a test makes its own with recorders, a
// fixed clock and, where it needs to, files in memory. Holds references
// only: the objects must outlive every operation that uses them.
struct Environment {
    ErrorReporter& errors;
    MessageBoxes& boxes;
    const Clock& clock;
    BusyIndicator& busy = noBusyIndicator();
    mdb::FileSystem& files = diskFiles();
    // How long an operation waits for another Nimbrel process that has the
    // database file open for writing.
    std::chrono::milliseconds lockWait{3000};

    static BusyIndicator& noBusyIndicator();
    static mdb::FileSystem& diskFiles();
};
