#include "core/remote/ServerConnection.h"

#include "core/remote/RemoteServer.h"
#include "core/sources/SourceLists.h"
#include "core/summaries/SummarySource.h"

#include <QTcpSocket>

using RemoteProtocol::Request;

namespace {

constexpr int kSettleMs = 200;

}  // namespace

ServerConnection::ServerConnection(QTcpSocket* socket, RemoteServer& server)
    : socket_(socket), server_(server),
      peer_(socket->peerAddress().toString() + ":" + QString::number(socket->peerPort()))
{
    socket_->setParent(this);
    idle_.setSingleShot(true);
    idle_.setInterval(server_.options().idleLimit);
    settle_.setSingleShot(true);
    settle_.setInterval(kSettleMs);
    connect(&idle_, &QTimer::timeout, this, [this] { close("idle too long"); });
    connect(&settle_, &QTimer::timeout, this, [this] { take(true); });
    connect(socket_, &QTcpSocket::readyRead, this, &ServerConnection::receive);
    connect(socket_, &QTcpSocket::bytesWritten, this, [this] {
        idle_.start();
        pump();
    });
    connect(socket_, &QTcpSocket::disconnected, this, [this] {
        if (!closing_)
            log("closed by the client");
        closing_ = true;
        idle_.stop();
        settle_.stop();
        emit finished(this);
    });
    idle_.start();
}

void ServerConnection::log(const QString& text) const
{
    server_.log(peer_ + ": " + text);
}

void ServerConnection::close(const QString& why)
{
    if (closing_)
        return;
    closing_ = true;
    log(why);
    pending_.clear();
    sending_.reset();
    socket_->disconnectFromHost();  // says `disconnected` once what is written has gone
}

void ServerConnection::receive()
{
    input_ += socket_->readAll();
    idle_.start();
    take(false);
    if (!input_.isEmpty())
        settle_.start();
}

void ServerConnection::take(bool complete)
{
    if (closing_)
        return;
    qsizetype skipped = 0;
    const QList<Request> requests = RemoteProtocol::takeRequests(input_, complete, skipped);
    garbage_ += skipped;
    if (skipped > 0)
        log(QString("ignored %1 bytes that are no request").arg(skipped));
    if (garbage_ > server_.options().garbageLimit) {
        close(QString("closed: more than %1 bytes that are no request").arg(server_.options().garbageLimit));
        return;
    }
    if (!requests.isEmpty())
        garbage_ = 0;
    pending_ += requests;
    serveNext();
}

void ServerConnection::serveNext()
{
    while (!sending_ && !closing_ && !pending_.isEmpty()) {
        const Request request = pending_.takeFirst();
        switch (request.kind) {
        case Request::Kind::Quit:
            close("QT: leaving");
            return;
        case Request::Kind::List: {
            const auto sources = SourceLists::sourceList(server_.options().database, server_.environment());
            QList<RemoteProtocol::SourceEntry> entries;
            for (const auto& source : sources)
                entries.append({source.key, source.name});
            socket_->write(RemoteProtocol::sourceListMessage(entries));
            log(QString("LS: %1 sources").arg(entries.size()));
            break;
        }
        case Request::Kind::Readings:
            startReadings(request);
            break;
        }
    }
}

void ServerConnection::startReadings(const Request& request)
{
    const QString name = QString::fromLatin1(RemoteProtocol::requestText(request));
    const auto source = SummarySource::find(server_.options().database, request.sourceID, server_.environment());
    if (!source) {
        log(name + ": no such source, nothing sent");
        return;
    }
    const QDateTime from(request.from.value_or(QDate(100, 1, 1)), QTime(0, 0));
    sending_.emplace(source->database, source->dataID, from);
    sendingName_ = name;
    sendingID_ = request.sourceID;
    sent_ = 0;
    log(name + ": sending the readings of " + source->name);
    pump();
}

void ServerConnection::pump()
{
    const ServerOptions& options = server_.options();
    while (sending_ && socket_->bytesToWrite() < options.sendBound) {
        auto rows = sending_->next(options.chunkRows, server_.environment());
        if (!rows) {
            log(sendingName_ + ": cannot read: " + QString::fromStdString(rows.error().message));
            sending_.reset();
            break;
        }
        for (const ImportRow& row : *rows)
            socket_->write(RemoteProtocol::readingMessage(sendingID_, row));
        sent_ += qint64(rows->size());
        server_.noteBacklog(socket_->bytesToWrite());
        if (int(rows->size()) < options.chunkRows) {
            log(QString("%1: %2 readings sent").arg(sendingName_).arg(sent_));
            sending_.reset();
        }
    }
    if (!sending_)
        serveNext();
}
