#pragma once

#include "core/errors/Environment.h"

#include <QDateTime>
#include <QString>

// The demo: a weather station that needs no hardware, in a folder of its
// own. prepare() makes what is missing there: an Access database with the
// source "Demo Station", the last five weeks of its readings and three
// favourite graphs, a feed template, and a settings file (separate from the
// user's own) with the cycle reading, logging, exporting the feed and the
// first favourite's picture (into the folder's "web" folder) every ten
// minutes. The simulated
// station then rewrites the current-data file there every minute.
class DemoStation {
public:
    explicit DemoStation(QString folder) : folder_(std::move(folder)) {}
    // The demo folder in the user's data folder (…/Nimbrel/Demo).
    static QString defaultFolder();

    // Makes the folder's missing parts, and fills the history of the five
    // weeks before `now` where it has gaps. False with `error` on failure.
    bool prepare(const QDateTime& now, const Environment& environment, QString& error) const;

    QString folder() const { return folder_; }
    QString databasePath() const;
    QString stationFile() const;
    QString settingsPath() const;
    QString feedTemplate() const;
    QString feedFile() const;

private:
    bool writeSettings(const Environment& environment, QString& error) const;
    bool writeFeedTemplate(QString& error) const;
    bool fillDatabase(const QDateTime& now, const Environment& environment, QString& error) const;
    bool addFavourites(const Environment& environment, QString& error) const;

    QString folder_;
};
