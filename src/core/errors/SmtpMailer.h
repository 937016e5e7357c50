#pragma once

#include "core/errors/MailSender.h"

#include <QDateTime>
#include <QStringList>
#include <chrono>

// Sends mail through an SMTP server with libcurl: STARTTLS whenever the
// server offers it, and with a user name given, authentication over an
// encrypted connection only (a server that offers no encryption is refused
// before the password is sent); one message to every recipient of the
// ";"-separated list. A dead or silent server cannot hold the caller longer
// than the time-outs allow.
class SmtpMailer final : public MailSender {
public:
    struct Timeouts {
        std::chrono::seconds connect{20};   // to establish the connection
        std::chrono::seconds response{20};  // for each answer of the server
    };

    SmtpMailer() : SmtpMailer(Timeouts{}) {}
    // `trustedCertificates`: a file of certificates to trust instead of the
    // system's (a server with its own certificate, a test server).
    explicit SmtpMailer(Timeouts timeouts, const QString& trustedCertificates = {});

    bool send(const MailMessage& mail, QString& error) override;

    // The message as it goes over the wire: headers, blank line, body, with
    // CR LF line ends. `date` is the Date header's moment.
    static QByteArray compose(const MailMessage& mail, const QDateTime& date);
    // The addresses of a ";"-separated list, trimmed, empty ones dropped.
    static QStringList splitRecipients(const QString& recipients);
    // The server URL for a server text: "mail.example.com" gives
    // "smtp://mail.example.com"; a text with "://" is used as it is.
    static QString serverUrl(const QString& server);

private:
    Timeouts timeouts_;
    QByteArray trustedCertificates_;
};
