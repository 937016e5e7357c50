#include "support/SmtpTestServer.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QThread>

namespace {

// A self-signed certificate for 127.0.0.1 and its key, made with openssl.
bool makeCertificate(const QString& certificate, const QString& key)
{
    QProcess openssl;
    openssl.start(QStringLiteral("openssl"),
                  {"req", "-x509", "-newkey", "rsa:2048", "-nodes", "-days", "2", "-subj", "/CN=127.0.0.1",
                   "-addext", "subjectAltName=IP:127.0.0.1", "-keyout", key, "-out", certificate});
    return openssl.waitForFinished(30000) && openssl.exitCode() == 0;
}

}  // namespace

SmtpTestServer::SmtpTestServer(const QString& user, const QString& password, Encryption encryption)
{
    QStringList arguments{QStringLiteral(NIMBREL_SMTP_SERVER_SCRIPT), QStringLiteral("--out"), folder_.path()};
    if (!user.isEmpty())
        arguments << QStringLiteral("--user") << user << QStringLiteral("--password") << password;
    if (encryption == Encryption::StartTls) {
        const QString certificate = QDir(folder_.path()).filePath(QStringLiteral("server.pem"));
        const QString key = QDir(folder_.path()).filePath(QStringLiteral("server.key"));
        if (!makeCertificate(certificate, key))
            return;
        certificate_ = certificate;
        arguments << QStringLiteral("--cert") << certificate << QStringLiteral("--key") << key;
    }
    // The system interpreter: the SMTP package is installed for it alone.
    process_.start(QStringLiteral("/usr/bin/python3"), arguments);
    if (!process_.waitForStarted(5000))
        return;
    QElapsedTimer timer;
    timer.start();
    while (!process_.canReadLine() && timer.elapsed() < 10000)
        process_.waitForReadyRead(200);
    port_ = process_.readLine().trimmed().toInt();
}

SmtpTestServer::~SmtpTestServer()
{
    if (process_.state() == QProcess::NotRunning)
        return;
    process_.closeWriteChannel();
    if (!process_.waitForFinished(5000)) {
        process_.kill();
        process_.waitForFinished(2000);
    }
}

std::vector<SmtpTestServer::Received> SmtpTestServer::messages(int atLeast, int waitMs) const
{
    QElapsedTimer timer;
    timer.start();
    QStringList files;
    do {
        files = QDir(folder_.path()).entryList({QStringLiteral("msg-*.json")}, QDir::Files, QDir::Name);
        if (files.size() >= atLeast)
            break;
        QThread::msleep(50);
    } while (timer.elapsed() < waitMs);

    std::vector<Received> received;
    for (const QString& name : files) {
        QFile file(QDir(folder_.path()).filePath(name));
        if (!file.open(QIODevice::ReadOnly))
            continue;
        const QJsonObject record = QJsonDocument::fromJson(file.readAll()).object();
        Received message;
        message.from = record.value("from").toString();
        for (const auto& to : record.value("to").toArray())
            message.to << to.toString();
        message.data = record.value("data").toString();
        received.push_back(message);
    }
    return received;
}
