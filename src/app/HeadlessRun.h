#pragma once

#include <QStringList>
#include <QTextStream>

// nimbrel run --headless [--settings FILE]: the refresh cycle with the
// user's settings (or FILE) and no window, tray or display: read, log,
// export the feed and the favourites' pictures on the ten-minute marks.
// Errors take the unattended path (error log and mail) whatever the
// settings say, and go to `log` too, one line each with its level. SIGHUP
// reads the settings again; SIGTERM and SIGINT stop it once the work in
// progress is done. `speed` runs its clock that many times faster (tests,
// demonstrations). Exit code 0 after a stop signal, 2 on a usage error, 3
// when another Nimbrel runs with the same settings.
namespace HeadlessRun {
int run(const QStringList& arguments, double speed, QTextStream& out, QTextStream& log);
}
