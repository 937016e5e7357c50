#include "core/remote/RemoteClient.h"

#include <QSignalBlocker>

RemoteClient::RemoteClient(QObject* parent, qsizetype bufferLimit) : QObject(parent), cutter_(bufferLimit)
{
    socket_.setReadBufferSize(bufferLimit);  // a held socket then leaves the rest with the server
    leaving_.setSingleShot(true);
    connect(&leaving_, &QTimer::timeout, this, [this] { socket_.abort(); });
    connect(&socket_, &QTcpSocket::connected, this, &RemoteClient::connected);
    connect(&socket_, &QTcpSocket::readyRead, this, &RemoteClient::receive);
    connect(&socket_, &QTcpSocket::errorOccurred, this, [this](QAbstractSocket::SocketError error) {
        if (error != QAbstractSocket::RemoteHostClosedError)  // the server leaving is no error
            emit failed(socket_.errorString());
    });
    connect(&socket_, &QTcpSocket::stateChanged, this, [this](QAbstractSocket::SocketState state) {
        if (state == QAbstractSocket::UnconnectedState) {
            leaving_.stop();
            emit closed();
        }
    });
}

RemoteClient::~RemoteClient()
{
    // The socket closes as it goes, after the timer: its signals must find nobody.
    socket_.disconnect(this);
}

std::optional<quint16> RemoteClient::portNumber(const QString& text)
{
    bool isNumber = false;
    const int port = text.trimmed().toInt(&isNumber);
    if (!isNumber || port < 1 || port > 65535)
        return std::nullopt;
    return quint16(port);
}

void RemoteClient::connectTo(const QString& host, quint16 port, quint16 localPort)
{
    socket_.abort();
    cutter_ = RemoteProtocol::MessageCutter(cutter_.limit());
    if (localPort != 0 && !bindTo(localPort)) {
        emit notice(QString("The local port %1 is taken (%2); connecting from any free port instead.")
                        .arg(localPort)
                        .arg(socket_.errorString()));
        QSignalBlocker quiet(socket_);
        socket_.abort();
    }
    socket_.connectToHost(host, port);
}

bool RemoteClient::bindTo(quint16 localPort)
{
    QSignalBlocker quiet(socket_);  // a port that is taken is told as a notice, not as a socket error
    return socket_.bind(QHostAddress::AnyIPv4, localPort, QAbstractSocket::ReuseAddressHint);
}

bool RemoteClient::isOpen() const
{
    const auto state = socket_.state();
    return state != QAbstractSocket::UnconnectedState && state != QAbstractSocket::ClosingState &&
           !leaving_.isActive();
}

void RemoteClient::requestList()
{
    if (socket_.state() == QAbstractSocket::ConnectedState)
        socket_.write(RemoteProtocol::requestText({RemoteProtocol::Request::Kind::List, 0, {}}));
}

void RemoteClient::requestReadings(const QList<qint32>& sourceIDs, std::optional<QDate> from)
{
    for (qint32 id : sourceIDs)
        socket_.write(RemoteProtocol::requestText({RemoteProtocol::Request::Kind::Readings, id, from}));
}

void RemoteClient::leave(std::chrono::milliseconds wait)
{
    if (socket_.state() == QAbstractSocket::UnconnectedState) {
        emit closed();
        return;
    }
    if (socket_.state() == QAbstractSocket::ConnectedState)
        socket_.write(RemoteProtocol::requestText({RemoteProtocol::Request::Kind::Quit, 0, {}}));
    leaving_.start(wait);
}

void RemoteClient::setHeld(bool held)
{
    held_ = held;
    if (!held_)
        QMetaObject::invokeMethod(this, &RemoteClient::receive, Qt::QueuedConnection);
}

void RemoteClient::receive()
{
    if (held_)
        return;  // the socket keeps it, and stops taking more once its buffer is full
    cutter_.append(socket_.readAll());
    while (const auto message = cutter_.next()) {
        handle(*message);
        if (socket_.state() == QAbstractSocket::UnconnectedState)
            return;
    }
    if (cutter_.overLimit()) {
        emit failed(QString("the server sent more than %1 bytes without \"[END]\"").arg(cutter_.limit()));
        socket_.abort();
    }
}

void RemoteClient::handle(const QString& message)
{
    if (const auto sources = RemoteProtocol::sourceList(message))
        emit listed(*sources);
    else if (const auto reading = RemoteProtocol::reading(message))
        emit readingArrived(*reading);
}
