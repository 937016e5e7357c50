#pragma once

#include <QProcess>
#include <QString>
#include <QStringList>
#include <QTemporaryDir>
#include <vector>

// A real SMTP server (aiosmtpd) on 127.0.0.1 for the length of a test.
class SmtpTestServer {
public:
    enum class Encryption { None, StartTls };

    struct Received {
        QString from;
        QStringList to;
        QString data;  // headers and body as received
    };

    // With a user name the server requires AUTH with exactly that pair. With
    // StartTls it offers STARTTLS with a certificate made for 127.0.0.1
    // (certificateFile()), and takes AUTH only once encrypted.
    explicit SmtpTestServer(const QString& user = {}, const QString& password = {},
                            Encryption encryption = Encryption::None);
    ~SmtpTestServer();

    bool started() const { return port_ != 0; }
    int port() const { return port_; }
    QString address() const { return QStringLiteral("127.0.0.1:%1").arg(port_); }
    // The server's certificate, for the client to trust; empty without STARTTLS.
    QString certificateFile() const { return certificate_; }
    // Messages received so far, waiting up to `waitMs` for at least `atLeast`.
    std::vector<Received> messages(int atLeast = 0, int waitMs = 5000) const;

private:
    QTemporaryDir folder_;
    QProcess process_;
    int port_ = 0;
    QString certificate_;
};
