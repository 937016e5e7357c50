#pragma once

#include "core/errors/Environment.h"
#include "core/import/HistoryImport.h"
#include "core/remote/RemoteClient.h"

#include <QHash>
#include <QObject>

#include <functional>
#include <memory>

class DownloadQueue;

// A download from a remote collection server into the local database: the
// server's sources as it lists them, and the readings asked for stored as
// readings of the local source of the same name (none: left out), minutes
// that source has already left out. Storing runs on the worker through
// `runOnWorker`, in batches; while many readings wait to be stored, the
// client stops taking more from the socket, so the server waits and memory
// stays bounded. Socket errors go to the error routine as "Socket Error: ",
// database errors as "Update Database Error: ". Lives on the window's thread.
class RemoteDownload : public QObject {
    Q_OBJECT
public:
    using Runner = std::function<void(std::function<void()> work)>;
    static constexpr std::size_t kHoldAbove = 20000;  // readings waiting
    static constexpr std::size_t kResumeBelow = 5000;

    RemoteDownload(QString database, const Environment& environment, Runner runOnWorker, QObject* parent = nullptr);
    // A runner that queues work to `worker`'s thread (the database service's, a bench's).
    static Runner runnerOn(QObject& worker);
    ~RemoteDownload() override;

    RemoteClient& client() { return client_; }
    // Asks for the readings of the remote sources `remoteIDs` (from the day `from` on).
    void request(const QList<qint32>& remoteIDs, std::optional<QDate> from);
    // Stops storing what waits (the batch being written is kept).
    void cancel();
    qint64 received() const { return received_; }
    const ImportCounts& counts() const { return counts_; }
    // No reading is waiting to be stored or being stored.
    bool idle() const { return storesRunning_ == 0; }

signals:
    void listed(const QList<RemoteProtocol::SourceEntry>& sources);
    // A reading of the remote source `name` was stored.
    void stored(const QString& name);
    // More readings received or stored.
    void progress();

private:
    void arrive(const RemoteProtocol::Reading& reading);
    void stepped(const ImportCounts& counts, const QString& name);
    void startStore();

    QString database_;
    const Environment& environment_;
    Runner runOnWorker_;
    RemoteClient client_;
    std::shared_ptr<DownloadQueue> queue_;
    QHash<qint32, QString> remoteNames_;
    qint64 received_ = 0;
    ImportCounts counts_;
    int storesRunning_ = 0;
};
