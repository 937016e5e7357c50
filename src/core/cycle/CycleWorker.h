#pragma once

#include "core/cycle/RefreshCycle.h"

#include <QObject>
#include <atomic>

// Runs the refresh cycle on its own thread, one piece of work at a time and
// in the order asked: the window's thread only asks, through queued calls,
// and hears back through signals. A tick asked for while the previous one is
// still running is skipped (the next tick, five seconds on, catches up: the
// cycle's times come from the clock, not from counting ticks).
class CycleWorker final : public QObject, private CycleView {
    Q_OBJECT

public:
    CycleWorker(const SettingsModel& settings, const Environment& environment);

    // Asks for a tick unless one is waiting or running; any thread.
    void requestTick();
    // The panel's source; any thread.
    void setPanelSource(std::optional<qint32> sourceID) { cycle_.setPanelSource(sourceID); }

public slots:
    void start(const QString& databasePath);
    void tick();
    void showPanelSource();
    void exportSource(qint32 sourceID);

signals:
    void trayStateChanged(TrayState state);
    void readingShown(const WeatherReading& reading);
    void started();

private:
    void setTrayState(TrayState state) override { emit trayStateChanged(state); }
    void showReading(const WeatherReading& reading) override { emit readingShown(reading); }

    const Environment& environment_;
    NoGraph graph_;
    RefreshCycle cycle_;
    std::atomic<bool> tickPending_{false};
};
