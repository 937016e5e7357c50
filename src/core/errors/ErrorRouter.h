#pragma once

#include "core/errors/ErrorReporter.h"

#include <QMutex>

class Clock;
class MailSender;
class MessageBoxes;
class SettingsModel;

// The program's error routine. It reads its settings from the live
// preferences at the moment of each call, so unsaved edits apply at once.
//
// Attended (unattended off), a message is shown in a "Nimbrel Error" box.
// unattended, it is appended to the error log as a dated line and, when
// errorMail is exactly 1, also mailed. A step that fails is skipped and the
// next one still runs: a log file that cannot be written still lets the mail
// go out, and nothing is reported about the lost line.
class ErrorRouter final : public ErrorReporter {
public:
    ErrorRouter(const SettingsModel& settings, MessageBoxes& boxes, MailSender& mail, const Clock& clock);

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
    const SettingsModel& settings_;
    MessageBoxes& boxes_;
    MailSender& mail_;
    const Clock& clock_;
    QMutex logMutex_;  // one writer of the log file at a time
};
