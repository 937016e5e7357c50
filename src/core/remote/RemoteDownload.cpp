#include "core/remote/RemoteDownload.h"

#include "core/errors/ErrorReporter.h"
#include "core/remote/DownloadQueue.h"

#include <QCoreApplication>
#include <QPointer>

RemoteDownload::RemoteDownload(QString database, const Environment& environment, Runner runOnWorker, QObject* parent)
    : QObject(parent), database_(std::move(database)), environment_(environment),
      runOnWorker_(std::move(runOnWorker)), client_(this), queue_(std::make_shared<DownloadQueue>())
{
    connect(&client_, &RemoteClient::listed, this, [this](const QList<RemoteProtocol::SourceEntry>& sources) {
        remoteNames_.clear();
        for (const auto& source : sources)
            remoteNames_.insert(source.id, source.name);
        emit listed(sources);
    });
    connect(&client_, &RemoteClient::readingArrived, this, &RemoteDownload::arrive);
    connect(&client_, &RemoteClient::failed, this, [this](const QString& description) {
        environment_.errors.report("\r\nSocket Error: \r\n" + description);
    });
    connect(&client_, &RemoteClient::notice, this,
            [this](const QString& text) { environment_.errors.report("\r\nRemote Data D/L: " + text); });
}

RemoteDownload::Runner RemoteDownload::runnerOn(QObject& worker)
{
    return [&worker](std::function<void()> work) {
        QMetaObject::invokeMethod(&worker, std::move(work), Qt::QueuedConnection);
    };
}

RemoteDownload::~RemoteDownload()
{
    queue_->cancel();
}

void RemoteDownload::request(const QList<qint32>& remoteIDs, std::optional<QDate> from)
{
    client_.requestReadings(remoteIDs, from);
}

void RemoteDownload::cancel()
{
    queue_->cancel();
    client_.setHeld(false);
}

void RemoteDownload::arrive(const RemoteProtocol::Reading& reading)
{
    ++received_;
    // A source the list does not have has no name: no local source takes it.
    if (queue_->add(remoteNames_.value(reading.sourceID), reading.row))
        startStore();
    if (queue_->waiting() > kHoldAbove)
        client_.setHeld(true);
    emit progress();
}

void RemoteDownload::startStore()
{
    ++storesRunning_;
    QPointer<RemoteDownload> self(this);
    runOnWorker_([self, queue = queue_, database = database_, &environment = environment_] {
        const auto step = [self](const ImportCounts& counts, const QString& name, bool done) {
            QMetaObject::invokeMethod(
                QCoreApplication::instance(),
                [self, counts, name, done] {
                    if (!self)
                        return;
                    self->stepped(counts, name);
                    if (done)
                        --self->storesRunning_;
                    emit self->progress();
                },
                Qt::QueuedConnection);
        };
        const ImportOutcome outcome = queue->store(
            database, environment, [&](const ImportCounts& counts, const QString& name) { step(counts, name, false); });
        if (!outcome.ok())
            environment.errors.report("\r\nUpdate Database Error: \r\n" + outcome.problem);
        step(outcome.counts, QString(), true);
    });
}

void RemoteDownload::stepped(const ImportCounts& counts, const QString& name)
{
    if (!name.isEmpty() && counts.stored > counts_.stored)
        emit stored(name);
    counts_ = counts;
    if (queue_->waiting() < kResumeBelow)
        client_.setHeld(false);
}
