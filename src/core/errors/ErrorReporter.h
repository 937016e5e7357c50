#pragma once

#include <QString>

// The one routine that receives every run-time error message of the program.
// A message is a fixed prefix naming the failed operation and a description,
// with a line break (CR LF) between them ("RSS Data Export Error: \r\n" +
// description) or, for the database operations and the station reader,
// before the prefix ("\r\nDatabase Write Error: " + description). Reporting
// never fails towards the caller and may be called from any thread.
class ErrorReporter {
public:
    virtual ~ErrorReporter() = default;
    virtual void report(const QString& message) = 0;
};
