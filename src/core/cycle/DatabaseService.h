#pragma once

#include "core/errors/Environment.h"
#include "core/sources/SourceLists.h"

#include <QCoreApplication>
#include <QList>
#include <QObject>
#include <QPointer>
#include <QString>

#include <functional>

// The window's database work, done on the worker thread that also runs the
// refresh cycle, one request at a time and in the order asked: requests come
// in as queued calls (from any thread), results go out as signals or as
// calls made on the asking object's thread. So the window never waits for
// the file, and no two pieces of work open it at once. Failures are reported
// by the work itself through the environment's error routine.
class DatabaseService final : public QObject {
    Q_OBJECT

public:
    explicit DatabaseService(const Environment& environment) : environment_(environment) {}

    const Environment& environment() const { return environment_; }

    // Asks for the source list and the favourites of `databasePath`
    // (answered by listsLoaded).
    void requestLists(const QString& databasePath);

    // Runs `work` on the worker thread, then `done` with its result on the
    // application's main thread, unless `receiver` is gone by then.
    template <typename Result>
    void request(QObject* receiver, std::function<Result()> work, std::function<void(const Result&)> done)
    {
        QMetaObject::invokeMethod(
            this,
            [guard = QPointer<QObject>(receiver), work = std::move(work), done = std::move(done)] {
                Result result = work();
                QMetaObject::invokeMethod(
                    QCoreApplication::instance(),
                    [guard, done, result = std::move(result)] {
                        if (guard)
                            done(result);
                    },
                    Qt::QueuedConnection);
            },
            Qt::QueuedConnection);
    }

signals:
    void listsLoaded(const QList<SourceLists::ListEntry>& sources, const QList<SourceLists::ListEntry>& favourites);

private:
    void loadLists(const QString& databasePath);

    const Environment& environment_;
};
