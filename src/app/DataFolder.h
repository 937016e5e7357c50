#pragma once

#include <QDir>
#include <QStandardPaths>
#include <QString>

// The user's data folder for Nimbrel (~/.local/share/Nimbrel on Linux),
// made when missing: the error log's place unless the settings name another.
inline QString dataFolder()
{
    const QString folder = QStandardPaths::writableLocation(QStandardPaths::AppLocalDataLocation);
    QDir().mkpath(folder);
    return folder;
}
