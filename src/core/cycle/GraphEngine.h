#pragma once

#include "core/cycle/RefreshCycle.h"
#include "core/graphs/GraphRenderer.h"
#include "core/graphs/HistoryGraph.h"

#include <QMetaType>

#include <functional>
#include <map>
#include <memory>

// What the window shows of the history graph: its set-up, what was drawn
// and the picture of it at the window's size (null until that is known).
struct GraphUpdate {
    GraphState state;
    std::shared_ptr<const GraphData> data;
    std::shared_ptr<const GraphPicture> picture;
    bool zoomed = false;  // the picture shows a part of the graph
};
Q_DECLARE_METATYPE(GraphUpdate)

// The history graph as the worker thread keeps it: the graph itself, its
// favourites, its picture on screen and its picture files. The refresh cycle
// drives it through CycleGraph; the window through the worker's requests.
// After every change `changed` is called (on the worker thread).
//
// Not thread-safe: the worker thread alone uses it.
class GraphEngine final : public CycleGraph {
public:
    using Sources = std::vector<std::shared_ptr<WeatherSource>>;

    // `sources` gives the program's loaded sources (for favourites and new
    // traces); `renderer` (may be null: no pictures) draws the pictures.
    GraphEngine(const SettingsModel& settings, const Environment& environment, std::function<const Sources&()> sources,
                GraphRenderer* renderer);

    HistoryGraph& graph() { return graph_; }
    std::function<void()> changed;

    // The size of the graph on screen; it is drawn again at that size.
    void setViewSize(const QSize& size, qreal scale);
    // The current picture for the screen (null when the size is not known).
    std::shared_ptr<const GraphPicture> viewPicture() const { return viewPicture_; }
    // A picture of the graph as shown, any size, in the screen's colours.
    GraphPicture picture(const QSize& size, qreal scale) const { return picture(size, scale, screenColours()); }
    // The same on paper: in the export colours (a light page saves ink).
    GraphPicture printPicture(const QSize& size, qreal scale) const { return picture(size, scale, exportColours()); }
    GraphUpdate update() const { return {graph_.state(), graph_.data(), viewPicture_, !zooms_.empty()}; }

    // Shows only `view` of the graph, its readings read again from the
    // database; zoomOut goes back to what was shown before. A change of the
    // graph's days, traces or options (clearZoom) shows the whole graph again.
    void zoomIn(const ViewRange& view);
    void zoomOut();
    void clearZoom() { zooms_.clear(); }

    // Adds a trace of a loaded source (its database and data id filled in
    // from it) and draws only that trace.
    bool addTrace(TraceEntry trace);
    // Saves the graph's set-up as a favourite; its key, or 0 (nothing
    // saved: no traces, no database, a failure).
    qint32 saveFavourite(const QString& name);
    // Loads favourite `favID` and draws it; false when either failed.
    bool showFavourite(qint32 favID);
    // Loads the first favourite, if there is one, and draws it.
    void showFirstFavourite();
    // Draws again and tells the view.
    bool refresh();
    // Only the picture again (the options that change nothing but the look).
    void redrawPicture();
    // The button's picture: wgraph0.gif of the graph as it is.
    void exportCurrentPicture() { exportPicture(0); }

    // CycleGraph. The favourites to export are read all at once, in one
    // opening of the database; each is drawn once, for its picture, and the
    // window's picture is drawn when the cycle is done.
    void moveToToday(const QDate& today) override;
    QList<PictureFavourite> exportFavourites() override;
    bool loadFavourite(qint32 favID) override;
    bool redraw() override;
    void exportPicture(int number) override;
    void showOnScreen() override;

private:
    GraphColours screenColours() const;
    GraphColours exportColours() const;
    GraphPicture picture(const QSize& size, qreal scale, const GraphColours& colours) const;
    // Reads favourite `favID` from the database and applies it.
    bool readFavourite(qint32 favID);

    const SettingsModel& settings_;
    const Environment& environment_;
    std::function<const Sources&()> sources_;
    GraphRenderer* renderer_;
    HistoryGraph graph_;
    QSize viewSize_;
    qreal viewScale_ = 1;
    std::shared_ptr<const GraphPicture> viewPicture_;
    std::vector<ViewRange> zooms_;  // the last one is shown
    std::map<qint32, Favourite> cycleFavourites_;  // read by exportFavourites for the cycle's pictures
};
