#include "app/CommandLine.h"
#include "app/DataFolder.h"
#include "app/SingleInstance.h"
#include "core/cycle/DemoStation.h"
#include "ui/Choosers.h"
#include "ui/GuiBusyCursor.h"
#include "ui/GuiMessageBoxes.h"
#include "ui/MainWindow.h"
#include "mdb/DatabaseWriter.h"
#include "core/errors/ErrorRouter.h"
#include "core/errors/SmtpMailer.h"
#include "core/readings/StationSimulator.h"
#include "core/settings/SettingsModel.h"
#include "core/text/Clock.h"

#include <QApplication>
#include <QMessageBox>
#include <QSettings>
#include <QTextStream>
#include <QTimer>

#include <algorithm>
#include <memory>
#include <optional>

#include <malloc.h>

namespace {

// Keeps freed memory for the next graph instead of handing it back to the
// system at once: a graph of a year fills and frees some ten megabytes, and
// memory that must be mapped again costs a page fault per page, a third of
// the time of drawing the graph.
void keepFreedMemory()
{
    mallopt(M_TRIM_THRESHOLD, 128 << 20);
    mallopt(M_MMAP_THRESHOLD, 32 << 20);
}

// Commands run from cron or a service often have no XDG_RUNTIME_DIR; Qt's
// pictures need none, so its warning about it would only clutter standard
// error (and cron's mail). Everything else passes as it is.
QtMessageHandler defaultMessageHandler = nullptr;
void quietAboutRuntimeFolder(QtMsgType type, const QMessageLogContext& context, const QString& message)
{
    if (type == QtWarningMsg && message.startsWith(QLatin1String("QStandardPaths: XDG_RUNTIME_DIR not set")))
        return;
    defaultMessageHandler(type, context, message);
}

QStringList argumentList(int argc, char** argv)
{
    QStringList arguments;
    for (int i = 0; i < argc; ++i)
        arguments << QString::fromLocal8Bit(argv[i]);
    return arguments;
}

// Keeps the demo's station file fresh: rewritten as each minute of `clock` begins.
void simulateStation(const DemoStation& demo, const Clock& clock, double speed, ErrorReporter& errors, QObject* owner)
{
    auto* timer = new QTimer(owner);
    auto lastMinute = std::make_shared<QDateTime>(clock.now());
    QObject::connect(timer, &QTimer::timeout, owner, [&demo, &clock, &errors, lastMinute] {
        const QDateTime now = clock.now();
        if (now.time().minute() == lastMinute->time().minute() && now.date() == lastMinute->date())
            return;
        *lastMinute = now;
        QString error;
        if (!StationSimulator::writeCurrentDataFile(demo.stationFile(), now, error))
            errors.report("\r\nDemo Station Error: " + error);
    });
    timer->start(std::max(10, int(1000 / speed)));
}

// The demo's clock speed from "--speed N" (taken out of the arguments): 1
// without it; nothing, after saying why, for a speed that is not 1 to 600.
std::optional<double> takeSpeed(QStringList& arguments)
{
    const qsizetype at = arguments.indexOf(QStringLiteral("--speed"));
    if (at < 0)
        return 1.0;
    bool isNumber = false;
    const int speed = arguments.value(at + 1).toInt(&isNumber);
    arguments.remove(at, std::min<qsizetype>(2, arguments.size() - at));
    if (!isNumber || speed < 1 || speed > 600) {
        QTextStream(stderr) << "nimbrel: --speed takes a whole number from 1 to 600 (--demo --speed 60: "
                               "a ten-minute mark every ten seconds)\n";
        return std::nullopt;
    }
    return double(speed);
}

int runWindow(int argc, char** argv, bool demoMode, double speed)
{
    QApplication app(argc, argv);
    QGuiApplication::setApplicationDisplayName(demoMode ? QStringLiteral("Nimbrel Demo") : QStringLiteral("Nimbrel"));

    const std::unique_ptr<Clock> clockOwned =
        speed > 1 ? std::unique_ptr<Clock>(new FastClock(speed)) : std::unique_ptr<Clock>(new SystemClock);
    const Clock& clock = *clockOwned;
    GuiMessageBoxes boxes;
    SmtpMailer mailer;
    SettingsModel settings;
    ErrorRouter errors(settings, boxes, mailer, clock);
    GuiBusyCursor busy;
    const Environment environment{errors, boxes, clock, busy};

    const DemoStation demo(DemoStation::defaultFolder());
    const QString settingsFile = demoMode ? demo.settingsPath() : QSettings().fileName();
    SingleInstance instance(settingsFile);
    if (instance.anotherIsRunning()) {
        QTextStream(stderr) << "Nimbrel is already running with the settings in " << settingsFile
                            << "; its window has been brought to the front.\n";
        return 0;
    }

    std::unique_ptr<QSettings> store;
    if (demoMode) {
        QString error;
        if (!demo.prepare(clock.now(), environment, error)) {
            QMessageBox::critical(nullptr, QStringLiteral("Nimbrel Demo"),
                                  QStringLiteral("The demo station could not be set up in %1:\n%2")
                                      .arg(demo.folder(), error));
            return 1;
        }
        store = std::make_unique<QSettings>(demo.settingsPath(), QSettings::IniFormat);
        simulateStation(demo, clock, speed, errors, &app);
    } else {
        store = std::make_unique<QSettings>();
    }
    settings.load(*store, dataFolder(), errors);

    SystemChoosers choosers;
    MainWindow window(settings, environment, *store, WindowTools{choosers, [&errors] { return errors.sendTestMail(); }});
    QObject::connect(&instance, &SingleInstance::raiseRequested, &window, &MainWindow::showFromTray);
    boxes.setParentWindow(&window);
    if (speed > 1)
        window.runClockFaster(speed);
    window.show();
    window.startUp();
    return app.exec();
}

}  // namespace

int main(int argc, char** argv)
{
    keepFreedMemory();
    // The settings store's names, for the window and the commands alike.
    QCoreApplication::setOrganizationName(QStringLiteral("Nimbrel"));
    QCoreApplication::setApplicationName(QStringLiteral("Nimbrel"));
    QCoreApplication::setApplicationVersion(QStringLiteral(NIMBREL_VERSION));
    QStringList arguments = argumentList(argc, argv);
    if (arguments.removeAll(QStringLiteral("--verify")) > 0)
        mdb::DatabaseWriter::verifyEveryCommit(true);
    const bool demoMode = arguments.removeAll(QStringLiteral("--demo")) > 0;
    const std::optional<double> speed = takeSpeed(arguments);
    if (!speed || (*speed > 1 && !demoMode && !CommandLine::takesSpeed(arguments))) {
        if (speed)
            QTextStream(stderr) << "nimbrel: --speed runs the clock faster; give it with --demo or run --headless\n";
        return 2;
    }
    if (!demoMode && CommandLine::isCommand(arguments)) {
        if (CommandLine::drawsPictures(arguments)) {
            qputenv("QT_QPA_PLATFORM", "offscreen");  // no window: no screen needed
            defaultMessageHandler = qInstallMessageHandler(quietAboutRuntimeFolder);
            QGuiApplication app(argc, argv);  // fonts for the pictures, no widgets
            return CommandLine::run(arguments, *speed);
        }
        QCoreApplication app(argc, argv);
        return CommandLine::run(arguments);
    }
    if (arguments.size() > 1)
        return CommandLine::refuse(arguments);
    return runWindow(argc, argv, demoMode, *speed);
}
