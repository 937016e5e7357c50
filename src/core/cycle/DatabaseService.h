#pragma once

#include "core/errors/Environment.h"
#include "core/sources/SourceLists.h"

#include <QList>
#include <QObject>
#include <QString>

// The window's database work, done on the worker thread that also runs the
// refresh cycle, one request at a time and in the order asked: requests come
// in as queued calls (from any thread), results go out as signals. So the
// window never waits for the file, and no two pieces of work open it at once.
// Failures are reported through the environment's error routine; a result
// is then empty.
class DatabaseService final : public QObject {
    Q_OBJECT

public:
    explicit DatabaseService(const Environment& environment) : environment_(environment) {}

    // Asks for the source list and the favourites of `databasePath`
    // (answered by listsLoaded).
    void requestLists(const QString& databasePath);

signals:
    void listsLoaded(const QList<SourceLists::ListEntry>& sources, const QList<SourceLists::ListEntry>& favourites);

private:
    void loadLists(const QString& databasePath);

    const Environment& environment_;
};
