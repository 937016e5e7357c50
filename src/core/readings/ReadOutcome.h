#pragma once

#include <QString>

// What one read of a data file gave: the read's result flag, and the
// description of the failure that ended it (empty when none did).
struct ReadOutcome {
    bool result = false;
    QString error;
};
