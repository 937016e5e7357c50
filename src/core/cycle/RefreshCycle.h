#pragma once

#include "core/db/ReadingLogger.h"
#include "core/errors/ErrorReporter.h"
#include "core/export/RssExporter.h"
#include "core/sources/WeatherSource.h"

#include <QDateTime>
#include <QList>
#include <QStringList>
#include <QMutex>
#include <memory>
#include <optional>
#include <vector>

class SettingsModel;

// What the tray icon shows of the cycle.
enum class TrayState { Idle = 0, ReadingPanel = 1, RunningCycle = 2 };

// What the cycle shows while it works. Called on the thread that runs the
// cycle; a window passes the calls on to its own thread.
class CycleView {
public:
    virtual ~CycleView() = default;
    virtual void setTrayState(TrayState state) = 0;
    // The panel's source has just been read: show its reading.
    virtual void showReading(const WeatherReading& reading) = 0;
    // Why readings are not logged, in words for the user; empty once they are
    // logged again (or when logging is switched off).
    virtual void showLoggingProblem(const QString& problem) = 0;
};

// A favourite whose picture each cycle exports, with the number of its
// picture file: its position among all favourites (wgraph<number>.gif).
struct PictureFavourite {
    qint32 favID = 0;
    int number = 0;
    bool operator==(const PictureFavourite&) const = default;
};

// The history graph and its picture export, as the cycle drives them.
class CycleGraph {
public:
    virtual ~CycleGraph() = default;
    // Moves the graph's date range on so that it ends today, keeping its length.
    virtual void moveToToday(const QDate& today) = 0;
    // The favourites whose pictures are exported each cycle, in list order.
    virtual QList<PictureFavourite> exportFavourites() = 0;
    virtual bool loadFavourite(qint32 favID) = 0;
    // Reads the graph again; false when it could not. Nothing is drawn yet.
    virtual bool redraw() = 0;
    // Draws the graph's picture and exports it as wgraph<number>.gif.
    virtual void exportPicture(int number) = 0;
    // Draws the graph for the window, once the cycle is done with it.
    virtual void showOnScreen() = 0;
};

// A graph that does nothing and never fails: for a program without one.
class NoGraph final : public CycleGraph {
public:
    void moveToToday(const QDate&) override {}
    QList<PictureFavourite> exportFavourites() override { return {}; }
    bool loadFavourite(qint32) override { return true; }
    bool redraw() override { return true; }
    void exportPicture(int) override {}
    void showOnScreen() override {}
};

// Passes a message on unless the same message was passed on since the last
// newCycle(): a step that fails every minute is reported once a cycle.
class OncePerCycleErrors final : public ErrorReporter {
public:
    explicit OncePerCycleErrors(ErrorReporter& errors) : errors_(errors) {}
    void report(const QString& message) override
    {
        if (!told_.contains(message)) {
            told_ << message;
            errors_.report(message);
        }
    }
    void newCycle() { told_.clear(); }

private:
    ErrorReporter& errors_;
    QStringList told_;
};

// The refresh cycle. The window calls tick() every five seconds with the
// present time. Every twelfth tick is the once-a-minute pass: the panel's
// source is read and shown (autoRefresh). When the due time has come, every
// source is read (each every logMultiple-th cycle), logged and exported
// (autoDatabase, autoExport), the graph is moved on to today and its
// pictures exported (autoGraph, autoPicture), and the next due time is set
// to a ten-minute mark. The automation flags are read from the settings at
// each tick.
//
// A failing step is reported once per cycle and the cycle still ends: a
// redraw that fails ends that cycle's pictures, and the next cycle comes at
// its time (never at once, which would repeat the failure every five
// seconds).
//
// Not thread-safe: one thread runs tick() and the other operations, one at
// a time (the window's worker). Only setPanelSource() may be called from
// any thread.
class RefreshCycle {
public:
    static constexpr int kTicksPerMinute = 12;

    RefreshCycle(const SettingsModel& settings, const Environment& environment, CycleView& view, CycleGraph& graph);

    // The sources, in SourceID order, and the first due time.
    void start(std::vector<std::shared_ptr<WeatherSource>> sources, const QDateTime& now);
    void tick(const QDateTime& now);

    // The source chosen in the panel's source list, if any.
    void setPanelSource(std::optional<qint32> sourceID);
    // Reads the panel's source and shows it, at once (a new choice in the list).
    void showPanelSource();
    // Exports one source's feed file now (the window's test button); false
    // when no template is set, the source is unknown or the export failed.
    bool exportSource(qint32 sourceID);

    QDateTime nextDue() const { return nextDue_; }
    int countdown() const { return countdown_; }
    const std::vector<std::shared_ptr<WeatherSource>>& sources() const { return sources_; }

    // Now plus the cycle length, cut down to its ten-minute mark (seconds
    // dropped): 10:27 with 10 minutes gives 10:30, 10:31 gives 10:40. Always
    // later than `now` on the timeline, across the changes of summer time.
    static QDateTime nextDueAfter(const QDateTime& now, int minutes);

private:
    WeatherSource* findSource(qint32 sourceID) const;
    // What keeps every reading out of the database whatever the files
    // hold (no database, no sources, every source switched off); empty when
    // nothing does.
    QString loggingBlocked() const;
    void setLoggingProblem(const QString& problem);
    // Reads the panel's source, if one is chosen; true when a reading was shown.
    bool refreshPanel(bool showTrayState);
    // Logs every due source; says what failed, in words, or nothing.
    QString logAllSources(const QDateTime& now);
    // The graph steps: the graph moved on to today and redrawn, its pictures exported.
    void updateGraph(const QDate& today);

    const SettingsModel& settings_;
    CycleView& view_;
    CycleGraph& graph_;
    ReadingLogger logger_;
    RssExporter exporter_;
    OncePerCycleErrors panelErrors_;  // the panel is read every minute, its failures told once a cycle
    std::vector<std::shared_ptr<WeatherSource>> sources_;
    QDateTime nextDue_;
    int countdown_ = 0;
    bool skipRedraw_ = false;
    std::optional<QString> loggingProblem_;  // as last shown
    mutable QMutex panelMutex_;
    std::optional<qint32> panelSource_;
};
