#pragma once

#include "core/errors/ErrorReporter.h"
#include "core/errors/MessageBoxes.h"

#include <QString>
#include <QTextStream>

// Errors and messages of a command without a window, one line each on the
// given stream (standard error). A question is answered "Cancel".
class ErrorLines final : public ErrorReporter, public MessageBoxes {
public:
    explicit ErrorLines(QTextStream& out) : out_(out) {}
    void report(const QString& message) override
    {
        out_ << QString(message).replace("\r\n", " ").trimmed() << Qt::endl;  // a line at once, for logs
    }
    void show(const QString&, const QString& text, Icon) override { report(text); }
    bool askOkCancel(const QString&, const QString& text) override
    {
        report(text);
        return false;
    }

private:
    QTextStream& out_;
};
