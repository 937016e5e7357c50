#pragma once

#include "core/errors/ErrorReporter.h"
#include "core/errors/ErrorRouting.h"

#include <QDateTime>
#include <QHash>
#include <QMutex>

#include <optional>

class Clock;
class MailSender;
class MessageBoxes;

// The program's error routine. It asks its routing (the live preferences) at
// the moment of each call, so unsaved edits apply at once.
//
// Attended, a message is shown in a "Nimbrel Error" box. Unattended, it is
// appended to the error log as a dated line and, when mailing is on, also
// mailed. A step that fails is skipped and the
// next one still runs: a log file that cannot be written still lets the mail
// go out, and nothing is reported about the lost line.
//
// A message mailed less than an hour ago is logged but not mailed again: it
// is counted, and its next mail (an hour or more later) says how often it
// came in between ("(repeated 6 times since ...)"), so a fault that
// persists sends one mail an hour, not one per cycle.
class ErrorRouter final : public ErrorReporter {
public:
    ErrorRouter(const ErrorRoutingSource& routing, MessageBoxes& boxes, MailSender& mail, const Clock& clock);

    void report(const QString& message) override;

    // Sends one mail with the configured server and addresses. Returns false
    // without doing anything when the server, the sender or the recipients
    // are empty. A failure to send shows a "Mail Error" box (even when
    // unattended, so that a wrong mail set-up is noticed) and returns false.
    bool sendErrorMail(const QString& subject, const QString& message);

    // The Preferences dialog's test: a test mail, then "No errors were
    // encounted" when it went out.
    bool sendTestMail();

    // The present moment in the platform's general date-and-time form, as
    // used in mail subjects.
    QString generalNow() const;

private:
    const ErrorRoutingSource& routing_;
    MessageBoxes& boxes_;
    MailSender& mail_;
    // Whether to mail `message` now; its text with the count of repeats
    // not mailed before it.
    std::optional<QString> mailDue(const QString& message);

    const Clock& clock_;
    QMutex logMutex_;  // one writer of the log file at a time

    struct Mailed {
        QDateTime at;
        int repeats = 0;  // reported since, not mailed
    };
    QMutex mailedMutex_;
    QHash<QString, Mailed> mailed_;
};
