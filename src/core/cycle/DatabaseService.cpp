#include "core/cycle/DatabaseService.h"

void DatabaseService::requestLists(const QString& databasePath)
{
    QMetaObject::invokeMethod(this, [this, databasePath] { loadLists(databasePath); }, Qt::QueuedConnection);
}

void DatabaseService::loadLists(const QString& databasePath)
{
    const QList<SourceLists::ListEntry> sources = SourceLists::sourceList(databasePath, environment_);
    const QList<SourceLists::ListEntry> favourites = SourceLists::favouriteList(databasePath, environment_);
    emit listsLoaded(sources, favourites);
}
