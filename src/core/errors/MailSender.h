#pragma once

#include <QString>

#include <QDateTime>

// One mail to send: the seven inputs of an error mail and its date.
struct MailMessage {
    QString server;      // host name or address, optionally ":port" or a full smtp:// / smtps:// URL
    QString from;
    QString recipients;  // one or more addresses separated by ";"
    QString userName;    // empty: no authentication
    QString password;
    QString subject;
    QString body;
    QDateTime date;      // the Date header; the moment of sending when unset
};

// Hands mails to a mail server.
class MailSender {
public:
    virtual ~MailSender() = default;
    // Sends the mail; on failure returns false and fills `error` with a
    // description a user can act on.
    virtual bool send(const MailMessage& mail, QString& error) = 0;
};
