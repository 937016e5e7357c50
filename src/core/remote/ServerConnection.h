#pragma once

#include "core/remote/ReadingCursor.h"
#include "core/remote/RemoteProtocol.h"

#include <QByteArray>
#include <QList>
#include <QObject>
#include <QTimer>

#include <optional>

class QTcpSocket;
class RemoteServer;

// One client of a remote collection server: takes its requests from what it
// sends, answers them in order, and sends readings a chunk at a time, the
// next chunk only once the socket has sent all but `sendBound` bytes of the
// last. Owns its socket; says `finished` once the connection is closed.
class ServerConnection : public QObject {
    Q_OBJECT
public:
    ServerConnection(QTcpSocket* socket, RemoteServer& server);

    QString peer() const { return peer_; }
    // Closes the connection, telling `why` to the log.
    void close(const QString& why);

signals:
    void finished(ServerConnection* connection);

private:
    void receive();
    void take(bool complete);
    void serveNext();
    void startReadings(const RemoteProtocol::Request& request);
    void pump();
    void log(const QString& text) const;

    QTcpSocket* socket_;
    RemoteServer& server_;
    QString peer_;
    QByteArray input_;
    qsizetype garbage_ = 0;  // bytes that were no request since the last one
    QList<RemoteProtocol::Request> pending_;
    std::optional<ReadingCursor> sending_;
    QString sendingName_;  // "RQ[3]" or "RQ[3]01/11/2026", for the log
    qint32 sendingID_ = 0;
    qint64 sent_ = 0;
    QTimer idle_;
    QTimer settle_;  // a request that may go on is taken as it is when no more comes
    bool closing_ = false;
};
