#include "core/remote/RemoteServer.h"

#include "core/remote/ServerConnection.h"

#include <QTcpServer>
#include <QTcpSocket>

RemoteServer::RemoteServer(ServerOptions options, const Environment& environment, Log log, QObject* parent)
    : QObject(parent), options_(std::move(options)), environment_(environment), log_(std::move(log)),
      listener_(new QTcpServer(this))
{
    connect(listener_, &QTcpServer::newConnection, this, &RemoteServer::accept);
}

RemoteServer::~RemoteServer()
{
    close();
}

bool RemoteServer::listen(QString& error)
{
    if (listener_->listen(options_.bind, options_.port))
        return true;
    error = QString("cannot listen on %1 port %2: %3")
                .arg(options_.bind.toString())
                .arg(options_.port)
                .arg(listener_->errorString());
    return false;
}

quint16 RemoteServer::port() const
{
    return listener_->serverPort();
}

void RemoteServer::close()
{
    listener_->close();
    for (ServerConnection* connection : std::as_const(connections_)) {
        connection->disconnect(this);
        connection->close("closed: the server stops");
        connection->deleteLater();
    }
    connections_.clear();
}

bool RemoteServer::allowed(const QHostAddress& peer) const
{
    if (options_.allowed.isEmpty())
        return true;
    // An IPv4 peer on a dual-stack socket shows as ::ffff:a.b.c.d.
    bool isV4 = false;
    const QHostAddress v4(peer.toIPv4Address(&isV4));
    for (const auto& subnet : options_.allowed) {
        if (peer.isInSubnet(subnet) || (isV4 && v4.isInSubnet(subnet)))
            return true;
    }
    return false;
}

void RemoteServer::accept()
{
    while (QTcpSocket* socket = listener_->nextPendingConnection()) {
        const QString peer = socket->peerAddress().toString() + ":" + QString::number(socket->peerPort());
        QString refused;
        if (!allowed(socket->peerAddress()))
            refused = "refused: not an allowed address";
        else if (connections_.size() >= options_.maxConnections)
            refused = QString("refused: %1 connections are open").arg(connections_.size());
        if (!refused.isEmpty()) {
            log_(peer + ": " + refused);
            socket->abort();
            socket->deleteLater();
            continue;
        }
        auto* connection = new ServerConnection(socket, *this);
        connection->setParent(this);
        connections_.append(connection);
        log_(peer + ": connected");
        connect(connection, &ServerConnection::finished, this, [this](ServerConnection* done) {
            connections_.removeOne(done);
            done->deleteLater();
        });
    }
}
