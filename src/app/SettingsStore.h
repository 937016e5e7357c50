#pragma once

#include <QSettings>
#include <QString>

#include <memory>

// The settings a command works with: those of the INI file `iniFile`, or
// the user's own store (as the window's) when it is empty.
inline std::unique_ptr<QSettings> settingsStore(const QString& iniFile)
{
    return iniFile.isEmpty() ? std::make_unique<QSettings>() : std::make_unique<QSettings>(iniFile, QSettings::IniFormat);
}
