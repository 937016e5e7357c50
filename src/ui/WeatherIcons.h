#pragma once

#include <QIcon>
#include <QPixmap>
#include <QString>

// The program's pictures, painted at the size asked for so that they stay
// sharp on every screen: the weather pictures by their image key ("up",
// "down", "sun", "cloud", "rain", "storm") and the tray icon's three states.
namespace WeatherIcons {

// The picture for `key` at `size` logical pixels; a null pixmap for an
// empty or unknown key.
QPixmap picture(const QString& key, int size, qreal devicePixelRatio = 1.0);

// The tray icon for state 0 (idle), 1 (reading a source) or 2 (running a cycle).
QIcon trayIcon(int state);

// The window's icon.
QIcon applicationIcon();

}  // namespace WeatherIcons
