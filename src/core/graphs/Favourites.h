#pragma once

#include "core/errors/Environment.h"
#include "core/graphs/TraceEntry.h"
#include "core/sources/WeatherSource.h"

#include <QDate>

#include <memory>
#include <optional>
#include <vector>

// A saved set-up of the history graph: its traces, whether it is a
// single-day graph, and how many days it spans before its end date.
struct Favourite {
    bool dayOnly = false;
    int dateRange = 0;  // days from the first day to the last
    std::vector<TraceEntry> traces;
};

// The Favorites and Traces tables of the Primary database. Each operation
// opens the file and closes it again; a failure is reported through the
// environment ("Save Fav Error: ", "Load Fav Error: ") and changes nothing.
namespace Favourites {

// Saves the favourite under `name` with its traces numbered 1..n, in one
// change, and returns the key the database gave it; 0 when nothing was
// saved (no database set, or a failure).
qint32 save(const QString& databasePath, const QString& name, const Favourite& favourite,
            const Environment& environment);

// The favourite `favID` with its traces in TraceID order. Traces whose
// source is no longer in Sources are left out; their database and data id
// come from `sources` (the program's loaded sources), and a source missing
// there is a failure. A favourite without (remaining) traces comes back
// with none. Nothing on failure or with no database set.
std::optional<Favourite> load(const QString& databasePath, qint32 favID,
                              const std::vector<std::shared_ptr<WeatherSource>>& sources,
                              const Environment& environment);

// A favourite whose picture each cycle exports, with the number of its
// picture file (its position among all favourites in FavID order, from 0).
struct MarkedFavourite {
    qint32 favID = 0;
    int number = 0;
    Favourite favourite;
};

// Every favourite marked for picture export, in FavID order, read as load()
// reads one, all in one opening of the file. Nothing on failure (reported
// as "Load Fav Error: ") or with no database set.
std::optional<std::vector<MarkedFavourite>> loadMarkedForExport(
    const QString& databasePath, const std::vector<std::shared_ptr<WeatherSource>>& sources,
    const Environment& environment);

// The first character a favourite's name cannot hold, or nothing. Names are
// kept in an index of the database whose order knows the letters of Western
// European languages, digits, blanks and the usual signs (the characters up
// to U+00FF); a euro sign or a typographic dash has no place in it.
std::optional<QChar> unstorableCharacter(const QString& name);

// A name as offered for a new favourite: typographic dashes, quotes and
// the ellipsis written with their plain characters ("Garden – north" becomes
// "Garden - north"), so that the name offered can be saved.
QString plainName(const QString& name);

}  // namespace Favourites
