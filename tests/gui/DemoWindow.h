#pragma once

#include "core/cycle/DemoStation.h"
#include "core/settings/SettingsModel.h"
#include "core/text/Clock.h"
#include "mdb/FileSystem.h"
#include "support/TestSupport.h"
#include "ui/MainWindow.h"
#include "ScriptedChoosers.h"
#include "WidgetTestSupport.h"

#include <QAtomicInt>
#include <QCoreApplication>
#include <QSettings>
#include <QThread>

#include <memory>

// The computer's files, noting every database opened on the window's thread.
class WatchedFiles final : public mdb::FileSystem {
public:
    mdb::Result<std::unique_ptr<mdb::File>> open(const std::string& path, mdb::OpenMode mode) override
    {
        if (QThread::currentThread() == qApp->thread() && path.ends_with(".mdb"))
            openedOnWindowThread.storeRelaxed(openedOnWindowThread.loadRelaxed() + 1);
        return disk.open(path, mode);
    }
    bool exists(const std::string& path) override { return disk.exists(path); }
    mdb::Status remove(const std::string& path) override { return disk.remove(path); }
    mdb::Status renameNoReplace(const std::string& from, const std::string& to) override
    {
        return disk.renameNoReplace(from, to);
    }
    mdb::Status syncFolderOf(const std::string& path) override { return disk.syncFolderOf(path); }
    mdb::Status lock(mdb::File& file, mdb::LockKind kind, std::chrono::milliseconds wait) override
    {
        return disk.lock(file, kind, wait);
    }

    mdb::DiskFileSystem disk;
    QAtomicInt openedOnWindowThread;
};

// The main window on a demo station (five weeks of readings, three
// favourites) in a temporary folder, offscreen, at a fixed time, with its
// errors and message boxes recorded and its file choosers scripted.
struct DemoWindow {
    TempFolder folder;
    RecordingErrors errors;
    RecordingMessageBoxes boxes;
    FixedClock clock;
    WatchedFiles files;
    Environment environment{errors, boxes, clock, Environment::noBusyIndicator(), files};
    DemoStation demo{folder.file("Demo")};
    std::unique_ptr<QSettings> store;
    SettingsModel settings;
    ScriptedChoosers choosers;
    std::unique_ptr<MainWindow> window;

    explicit DemoWindow(const QDateTime& now) : clock(now) {}

    // Prepares the demo, then opens the window, 1040 x 680, on the settings
    // file `settingsPath` (the demo's own when empty) and starts it.
    void open(const QString& settingsPath = {})
    {
        QString error;
        if (!demo.prepare(clock.now(), environment, error))
            qFatal("demo: %s", qPrintable(error));
        files.openedOnWindowThread.storeRelaxed(0);  // the demo's set-up is not the window's
        store = std::make_unique<QSettings>(settingsPath.isEmpty() ? demo.settingsPath() : settingsPath,
                                            QSettings::IniFormat);
        settings.load(*store, folder.path(), errors);
        window = std::make_unique<MainWindow>(settings, environment, *store, WindowTools{choosers, {}});
        window->resize(1040, 680);
        window->show();
        window->startUp();
    }

    template <typename T>
    T* find(const QString& name) const
    {
        return namedChild<T>(window.get(), name);
    }
};
