#pragma once

#include "core/cycle/GraphEngine.h"
#include "core/cycle/RefreshCycle.h"

#include <QObject>

#include <algorithm>
#include <atomic>

// Runs the refresh cycle and the history graph on their own thread, one
// piece of work at a time and in the order asked: the window's thread only
// asks, through queued calls, and hears back through signals. A tick asked
// for while the previous one is still running is skipped (the next tick,
// five seconds on, catches up: the cycle's times come from the clock, not
// from counting ticks).
class CycleWorker final : public QObject, private CycleView {
    Q_OBJECT

public:
    // `renderer` (may be null) draws the graph's pictures, on this worker's thread.
    CycleWorker(const SettingsModel& settings, const Environment& environment, GraphRenderer* renderer = nullptr);

    // How often to ask for a tick, in milliseconds: every five seconds, as
    // many times more often as the clock runs faster (`speed`).
    static int tickIntervalMs(double speed = 1) { return std::max(1, int(5000 / speed)); }
    // Asks for a tick unless one is waiting or running; any thread.
    void requestTick();
    // The panel's source; any thread.
    void setPanelSource(std::optional<qint32> sourceID) { cycle_.setPanelSource(sourceID); }
    // The graph; on the worker's thread only.
    GraphEngine& graph() { return graph_; }

    // The ways the graph's date buttons move the pickers.
    enum class DateStep { From, To, Both };

public slots:
    void start(const QString& databasePath);
    void tick();
    void showPanelSource();
    void exportSource(qint32 sourceID);

    // The history graph: each draws anew and answers with graphShown.
    void showFirstFavourite() { graph_.showFirstFavourite(); }
    void setGraphRange(const QDate& from, const QDate& to);
    void stepGraph(CycleWorker::DateStep which, int days);
    void setGraphOptions(const GraphOptions& options);
    void addTrace(const TraceEntry& trace) { graph_.addTrace(trace); }
    void clearTraces();
    void showFavourite(qint32 favID) { graph_.showFavourite(favID); }
    void saveFavourite(const QString& name);
    void refreshGraph() { graph_.refresh(); }
    void setGraphView(const QSize& size, qreal scale) { graph_.setViewSize(size, scale); }
    void zoomGraphIn(const ViewRange& view) { graph_.zoomIn(view); }
    void zoomGraphOut() { graph_.zoomOut(); }
    void exportCurrentPicture() { graph_.exportCurrentPicture(); }
    // A picture of the graph at `size` for printing (answered by printPictureReady).
    void drawPrintPicture(const QSize& size, qreal scale);

signals:
    void trayStateChanged(TrayState state);
    void readingShown(const WeatherReading& reading);
    // Why readings are not logged; empty once they are again.
    void loggingProblemChanged(const QString& problem);
    void started();
    void graphShown(const GraphUpdate& update);
    // 0 when nothing was saved.
    void favouriteSaved(qint32 favID, const QString& name);
    void printPictureReady(const std::shared_ptr<const GraphPicture>& picture);

private:
    void setTrayState(TrayState state) override { emit trayStateChanged(state); }
    void showReading(const WeatherReading& reading) override { emit readingShown(reading); }
    void showLoggingProblem(const QString& problem) override { emit loggingProblemChanged(problem); }

    const Environment& environment_;
    GraphEngine graph_;
    RefreshCycle cycle_;
    std::atomic<bool> tickPending_{false};
};
