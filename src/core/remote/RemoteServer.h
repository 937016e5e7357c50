#pragma once

#include "core/errors/Environment.h"

#include <QHostAddress>
#include <QList>
#include <QObject>
#include <QPair>
#include <QString>

#include <algorithm>
#include <chrono>
#include <functional>

class QTcpServer;
class ServerConnection;

// What a remote collection server serves and to whom.
struct ServerOptions {
    QString database;  // the Nimbrel database whose sources are served
    QHostAddress bind = QHostAddress::LocalHost;
    quint16 port = 5850;                       // 0: any free port
    QList<QPair<QHostAddress, int>> allowed;   // peers' subnets; empty: any peer
    int maxConnections = 16;
    std::chrono::milliseconds idleLimit = std::chrono::minutes(5);
    qint64 sendBound = 256 * 1024;  // bytes waiting to go out before reading more
    int chunkRows = 500;            // readings read from the file at a time
    qsizetype garbageLimit = 256;   // bytes that are no request before the connection is closed
};

// Serves the readings of a database to remote collection clients: "LS"
// lists its sources, "RQ[id]" sends every reading of a source oldest first
// and "RQ[id]dd/mm/yyyy" those from that day on, "QT" closes the
// connection. Read-only: the file is opened for reading, one chunk of
// readings at a time, and a connection reads its next chunk only when the
// last has gone out, so memory stays flat however much is sent. Every
// connection and request is told to `log`, one line each. Lives on the
// thread that runs its event loop.
class RemoteServer : public QObject {
    Q_OBJECT
public:
    using Log = std::function<void(const QString& line)>;

    RemoteServer(ServerOptions options, const Environment& environment, Log log, QObject* parent = nullptr);
    ~RemoteServer() override;

    // Starts listening; false with `error` saying why not.
    bool listen(QString& error);
    quint16 port() const;
    int connectionCount() const { return int(connections_.size()); }
    // Closes every connection and stops listening.
    void close();

    const ServerOptions& options() const { return options_; }
    const Environment& environment() const { return environment_; }
    void log(const QString& line) const { log_(line); }
    // The most bytes any connection had waiting to go out, for the bounds' tests.
    qint64 largestBacklog() const { return largestBacklog_; }
    void noteBacklog(qint64 bytes) { largestBacklog_ = std::max(largestBacklog_, bytes); }

private:
    void accept();
    bool allowed(const QHostAddress& peer) const;

    ServerOptions options_;
    const Environment& environment_;
    Log log_;
    QTcpServer* listener_;
    QList<ServerConnection*> connections_;
    qint64 largestBacklog_ = 0;
};
