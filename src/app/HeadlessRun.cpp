#include "app/HeadlessRun.h"

#include "app/CommandArguments.h"
#include "app/DataFolder.h"
#include "app/ProcessSignals.h"
#include "app/SettingsStore.h"
#include "app/SingleInstance.h"

#include "core/cycle/CycleWorker.h"
#include "core/errors/ErrorRouter.h"
#include "core/errors/MessageBoxes.h"
#include "core/errors/SmtpMailer.h"
#include "core/graphs/HistoryChart.h"
#include "core/settings/SettingsModel.h"
#include "core/text/Clock.h"

#include <QCoreApplication>
#include <QDateTime>
#include <QFileInfo>
#include <QMutex>
#include <QThread>
#include <QTimer>

#include <csignal>
#include <memory>

namespace HeadlessRun {

namespace {

const char* const kUsage =
    "Usage: nimbrel run --headless [--settings FILE]\n"
    "Runs the refresh cycle without a window: reads the sources, logs their\n"
    "readings, writes the feed and the favourites' pictures on the ten-minute\n"
    "marks, with the settings of the window (or those of FILE, an INI file).\n"
    "Errors go to the error log (and mail, when set up) and to standard error.\n"
    "SIGHUP reads the settings again; SIGTERM or Ctrl+C stops it.\n";

// One line per message on the log stream, with its level; any thread.
class LogLines {
public:
    explicit LogLines(QTextStream& log) : log_(log) {}
    void line(const char* level, const QString& text)
    {
        QMutexLocker lock(&mutex_);
        log_ << level << ": " << QString(text).replace("\r\n", " ").simplified() << Qt::endl;
    }

private:
    QMutex mutex_;
    QTextStream& log_;
};

// The settings' routing, always unattended: there is nobody to close a box.
class UnattendedRouting final : public ErrorRoutingSource {
public:
    explicit UnattendedRouting(const ErrorRoutingSource& settings) : settings_(settings) {}
    ErrorRouting errorRouting() const override
    {
        ErrorRouting routing = settings_.errorRouting();
        routing.unattended = true;
        return routing;
    }

private:
    const ErrorRoutingSource& settings_;
};

// Boxes become log lines ("Mail Error" among them); a question is answered Cancel.
class LoggedBoxes final : public MessageBoxes {
public:
    explicit LoggedBoxes(LogLines& lines) : lines_(lines) {}
    void show(const QString& title, const QString& text, Icon icon) override
    {
        lines_.line(icon == Icon::Information ? "info" : "error", title + ": " + text);
    }
    bool askOkCancel(const QString& title, const QString& text) override
    {
        lines_.line("warning", title + ": " + text + " (answered Cancel)");
        return false;
    }

private:
    LogLines& lines_;
};

// Every error to the error routine and, as a line, to the log.
class LoggedErrors final : public ErrorReporter {
public:
    LoggedErrors(ErrorReporter& router, LogLines& lines) : router_(router), lines_(lines) {}
    void report(const QString& message) override
    {
        lines_.line("error", message);
        router_.report(message);
    }

private:
    ErrorReporter& router_;
    LogLines& lines_;
};

}  // namespace

int run(const QStringList& arguments, double speed, QTextStream& out, QTextStream& log)
{
    CommandArguments parser("run", kUsage,
                            {{"headless", "run without a window"},
                             {"settings", "the settings to run with (an INI file)", "FILE"}},
                            0, 0);
    if (int code = 0; !parser.read(arguments, out, log, code))
        return code;
    if (!parser.isSet("headless"))
        return parser.usageError(log, "wants --headless (the window starts without a command)");
    const std::unique_ptr<QSettings> store =
        settingsStore(parser.isSet("settings") ? QFileInfo(parser.value("settings")).absoluteFilePath() : QString());
    const QString settingsFile = store->fileName();
    SingleInstance instance(settingsFile);
    if (instance.anotherIsRunning()) {
        log << "nimbrel run: Nimbrel is already running with the settings in " << settingsFile << Qt::endl;
        return 3;
    }

    const std::unique_ptr<Clock> clock =
        speed > 1 ? std::unique_ptr<Clock>(new FastClock(speed)) : std::unique_ptr<Clock>(new SystemClock);
    LogLines lines(log);
    LoggedBoxes boxes(lines);
    SmtpMailer mailer;
    SettingsModel settings;
    UnattendedRouting routing(settings);
    ErrorRouter router(routing, boxes, mailer, *clock);
    LoggedErrors errors(router, lines);
    const Environment environment{errors, boxes, *clock};

    settings.load(*store, dataFolder(), errors);

    HistoryChartRenderer renderer;
    QThread thread;
    thread.setObjectName("Refresh cycle");
    auto* worker = new CycleWorker(settings, environment, &renderer);
    worker->moveToThread(&thread);
    QObject::connect(&thread, &QThread::finished, worker, &QObject::deleteLater);
    thread.start();
    const auto startCycle = [&] {
        QMetaObject::invokeMethod(worker, [&, worker] { worker->start(settings.primaryDatabase()); },
                                  Qt::QueuedConnection);
    };
    startCycle();
    lines.line("info", "running with the settings in " + settingsFile + ", logging into " + settings.primaryDatabase());

    QTimer timing;
    timing.setInterval(CycleWorker::tickIntervalMs(speed));
    QObject::connect(&timing, &QTimer::timeout, worker, [worker] { worker->requestTick(); });
    timing.start();

    onSignals([&](int signal) {
        if (signal == SIGHUP) {
            lines.line("info", "SIGHUP: reading the settings again");
            store->sync();
            settings.load(*store, dataFolder(), errors);
            startCycle();
            return;
        }
        lines.line("info", QString(signal == SIGTERM ? "SIGTERM" : "SIGINT") + ": stopping");
        timing.stop();
        QCoreApplication::quit();
    }, {SIGTERM, SIGINT, SIGHUP});
    const int code = QCoreApplication::exec();
    thread.quit();  // after the work in progress
    thread.wait();
    return code;
}

}  // namespace HeadlessRun
