#pragma once

#include "core/errors/Environment.h"

#include <QList>
#include <QString>
#include <QtGlobal>

// Lists of rows by name and key, as the window's source lists and the
// favourites menu show them.
namespace SourceLists {

// One entry of a list: the name shown and the row's key.
struct ListEntry {
    QString name;
    qint32 key = 0;
    bool operator==(const ListEntry&) const = default;
};

// The entries of a source list, one per row of Sources in SourceID order.
// An empty path gives an empty list. A failure is reported as "Database Read
// Error: " through report and gives an empty list.
QList<ListEntry> sourceList(const QString& databasePath, const Environment& environment);

// The favourites, one per row of Favorites in FavID order; with
// `onlyExported`, only those marked for picture export. A failure is
// reported as "Load Fav Error: " and gives an empty list.
QList<ListEntry> favouriteList(const QString& databasePath, const Environment& environment,
                               bool onlyExported = false);

// A favourite with its picture-export mark, as the preferences list it.
struct FavouriteExport {
    QString name;
    qint32 key = 0;
    bool exported = false;
    bool operator==(const FavouriteExport&) const = default;
};

// Every favourite in FavID order with its mark. A failure is reported as
// "Load Favs Error: " and gives an empty list.
QList<FavouriteExport> favouriteExports(const QString& databasePath, const Environment& environment);

// Marks the favourite `favID` for picture export, or not, at once. A
// failure is reported as "Update Favs Error: " and gives false.
bool setFavouriteExport(const QString& databasePath, qint32 favID, bool exported, const Environment& environment);

}  // namespace SourceLists
