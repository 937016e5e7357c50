#include "app/SingleInstance.h"

#include <QCryptographicHash>
#include <QDir>
#include <QElapsedTimer>
#include <QFileInfo>
#include <QLocalSocket>
#include <QThread>

namespace {

constexpr int kConnectMs = 1000;
constexpr int kRaiseWaitMs = 5000;  // the first may still be starting up

// Asks the program listening under `name` to show its window.
bool askToRaise(const QString& name)
{
    QElapsedTimer waited;
    waited.start();
    while (waited.elapsed() < kRaiseWaitMs) {
        QLocalSocket socket;
        socket.connectToServer(name);
        if (socket.waitForConnected(kConnectMs)) {
            socket.write("raise\n");
            socket.waitForBytesWritten(kConnectMs);
            socket.disconnectFromServer();
            return true;
        }
        QThread::msleep(100);
    }
    return false;
}

}  // namespace

SingleInstance::SingleInstance(const QString& settingsFile, QObject* parent) : QObject(parent)
{
    const QByteArray path = QFileInfo(settingsFile).absoluteFilePath().toUtf8();
    name_ = "nimbrel-" + QCryptographicHash::hash(path, QCryptographicHash::Sha1).toHex().left(16);
    connect(&server_, &QLocalServer::newConnection, this, [this] {
        while (QLocalSocket* socket = server_.nextPendingConnection()) {
            socket->deleteLater();
            emit raiseRequested();
        }
    });
}

bool SingleInstance::anotherIsRunning()
{
    lock_ = std::make_unique<QLockFile>(QDir(QDir::tempPath()).filePath(name_ + ".lock"));
    lock_->setStaleLockTime(0);  // only a lock whose program is gone is stale
    if (!lock_->tryLock(0)) {
        askToRaise(name_);
        return true;
    }
    // This program is the first: a name left behind by one that died goes.
    QLocalServer::removeServer(name_);
    server_.listen(name_);
    return false;
}
