#pragma once

#include "core/remote/RemoteProtocol.h"

#include <QObject>
#include <QTcpSocket>
#include <QTimer>

#include <chrono>
#include <optional>

// The client's end of remote collection: connects, asks and cuts what the
// server sends into messages, told as source lists and readings. Nothing is
// stored here. At most `bufferLimit` bytes wait for an "[END]": a server
// that sends more without one is disconnected. Lives on the window's thread
// and never blocks it.
class RemoteClient : public QObject {
    Q_OBJECT
public:
    static constexpr qsizetype kBufferLimit = 1024 * 1024;

    explicit RemoteClient(QObject* parent = nullptr, qsizetype bufferLimit = kBufferLimit);
    ~RemoteClient() override;

    // A port number from its text: 1 to 65535, else none.
    static std::optional<quint16> portNumber(const QString& text);

    // Connects to `host` at `port` from the local port `localPort` (0: any);
    // when that one is taken, from any free port, told as a notice.
    void connectTo(const QString& host, quint16 port, quint16 localPort);
    // Connected or connecting, and not leaving.
    bool isOpen() const;

    void requestList();
    // One "RQ[id]" per source, back to back, each with the day when one is given.
    void requestReadings(const QList<qint32>& sourceIDs, std::optional<QDate> from);
    // Sends "QT"; `closed` follows when the server closes the connection,
    // or after `wait` at the latest.
    void leave(std::chrono::milliseconds wait = std::chrono::seconds(5));
    // While held, what arrives waits in the socket, and the server with it.
    void setHeld(bool held);

signals:
    void connected();
    void listed(const QList<RemoteProtocol::SourceEntry>& sources);
    void readingArrived(const RemoteProtocol::Reading& reading);
    // A socket error (its description); the connection is then as the socket left it.
    void failed(const QString& description);
    void notice(const QString& text);
    void closed();

private:
    bool bindTo(quint16 localPort);
    void receive();
    void handle(const QString& message);

    QTcpSocket socket_;
    RemoteProtocol::MessageCutter cutter_;
    QTimer leaving_;
    bool held_ = false;
};
