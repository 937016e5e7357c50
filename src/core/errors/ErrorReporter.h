#pragma once

#include <QString>

// The one routine that receives every run-time error message of the program.
// Messages are a fixed prefix naming the failed operation, a line break and
// the description ("\r\nDatabase Write Error: " + description). Reporting
// never fails towards the caller and may be called from any thread.
class ErrorReporter {
public:
    virtual ~ErrorReporter() = default;
    virtual void report(const QString& message) = 0;
};
