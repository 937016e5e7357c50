#pragma once

#include "core/errors/ErrorReporter.h"
#include "core/errors/MessageBoxes.h"

#include <QString>

// What the benches share: where the errors of the timed work go, and how a
// time is printed.

// Keeps the last error or message text, to print when a timed step fails;
// answers every question with Cancel.
class BenchErrors final : public ErrorReporter, public MessageBoxes {
public:
    void report(const QString& message) override { last = message; }
    void show(const QString&, const QString& text, Icon) override { last = text; }
    bool askOkCancel(const QString&, const QString&) override { return false; }

    QString last;
};

// "2.50 ms", "18.0 ms": two decimals below ten milliseconds, one above.
inline QString milliseconds(double ms)
{
    return QString::number(ms, 'f', ms < 10 ? 2 : 1) + " ms";
}
