#pragma once

#include "core/errors/Environment.h"
#include "core/graphs/Favourites.h"
#include "core/graphs/GraphData.h"

#include <memory>

class SettingsModel;
class TraceReader;

// What the history graph is set to show: its date pickers ("From" and the
// end date), its traces in the order they were added, and the options.
struct GraphState {
    QDate from;
    QDate to;
    std::vector<TraceEntry> traces;
    GraphOptions options;
    bool operator==(const GraphState&) const = default;
};

// The history graph's logic: the date buttons, the range check, drawing
// every trace from the database into GraphData, favourites applied.
//
// Not thread-safe: one thread (the worker) owns it. Failures are reported
// through the environment's error routine: "Database Read Error: " for a
// trace that cannot be read, "Graph Error: " for one that cannot be drawn.
class HistoryGraph {
public:
    // Both pickers on `today`, no traces.
    HistoryGraph(const SettingsModel& settings, const Environment& environment, const QDate& today);

    const GraphState& state() const { return state_; }
    // What was drawn last (never null).
    std::shared_ptr<const GraphData> data() const { return data_; }

    void setRange(const QDate& from, const QDate& to) { state_.from = from, state_.to = to; }
    // The "From" buttons: moves From; To follows when From passes it.
    void stepFrom(int days);
    // The end-date buttons: moves To; From follows when To falls behind it.
    void stepTo(int days);
    // Both pickers together.
    void stepBoth(int days);
    // Changes the options. True when the graph must be read again (a
    // single-day graph or not, or stability marks that were not read);
    // otherwise the drawing takes the new options at once.
    bool setOptions(const GraphOptions& options);
    // Moves both pickers on so that the range ends today, keeping its length
    // (never back).
    void moveToToday(const QDate& today);
    // A favourite's traces, and its span when it is not a single-day graph
    // (From set that many days before the kept end date). One without
    // traces changes nothing.
    void apply(const Favourite& favourite);
    // The set-up as a favourite saves it.
    Favourite asFavourite() const;

    // Checks the range and draws every trace in order. A reversed range is
    // reported ("Date Range Invalid") and drawn as the one day From. Returns
    // false as soon as a trace fails (the traces before it stay drawn).
    bool refresh();
    // Adds a trace and draws only it; false when it failed.
    bool addTrace(const TraceEntry& trace);
    // No traces; the range checked again.
    void clearTraces();

private:
    // Empties the drawing and checks the range; false when a picker holds no date.
    bool resetRange();
    bool drawTrace(std::size_t index, TraceReader& reader, GraphData& data);
    void fitValueAxis(GraphData& data) const;

    const SettingsModel& settings_;
    const Environment& environment_;
    GraphState state_;
    std::shared_ptr<const GraphData> data_;
};
