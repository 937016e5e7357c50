#pragma once

#include <string>
#include <vector>

// The independent check of an Access file: a Java program over an
// open-source Access library (the shared tools folder's access-check), which
// opens the file, scans every table and validates every index.
namespace AccessCheck {

// Whether the checker is here (a plain clone has no shared tools folder).
bool available();

struct Outcome {
    bool opened = false;                // the checker ran and opened the file
    std::vector<std::string> problems;  // its findings that are real faults
    std::string output;                 // all it printed, for messages
};

// Checks `path`. A finding that an index holds fewer entries than its table
// has rows is no fault for an index that ignores nulls when the difference is
// exactly the rows whose indexed values are all null (counted with the
// engine's reader).
Outcome check(const std::string& path);

}  // namespace AccessCheck

#define SKIP_WITHOUT_ACCESS_CHECK()                                                                          \
    do {                                                                                                     \
        if (!AccessCheck::available())                                                                       \
            GTEST_SKIP() << "needs the access-check tool in " NIMBREL_ACCESS_CHECK_DIR ", absent here";      \
    } while (0)
