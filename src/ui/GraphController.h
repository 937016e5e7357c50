#pragma once

#include "core/cycle/CycleWorker.h"
#include "core/sources/SourceLists.h"

#include <QList>
#include <QObject>
#include <QPointer>

#include <functional>

class Choosers;
class HistoryDataTab;
class HistoryGraphTab;
class QAction;
class QMenu;
class QWidget;
class TraceDialog;

// The main window's part of the history graph: the graph and data tabs,
// the Traces and Favourites menus, the graph's Options and the picture
// button. It asks the worker (which owns the graph) and shows what comes
// back; it never waits for the database.
class GraphController final : public QObject {
    Q_OBJECT

public:
    // The menu items the graph answers to.
    struct Menus {
        QMenu* favourites;
        QAction* favouritesSeparator;  // shown once a favourite exists
        QAction* addTrace;
        QAction* clearTraces;
        QAction* addFavourite;
        QAction* showLegend;
        QAction* showStability;
        QAction* singleDay;
        QAction* printPreview;
    };

    GraphController(CycleWorker* worker, const Environment& environment, Choosers& choosers, QWidget* window);

    HistoryGraphTab* graphTab() const { return graphTab_; }
    HistoryDataTab* dataTab() const { return dataTab_; }
    void attach(const Menus& menus);
    // Stops asking the worker (it is going away).
    void detach() { worker_ = nullptr; }

    // The favourites menu's entries, one per favourite.
    void showFavourites(const QList<SourceLists::ListEntry>& favourites);
    // The sources the trace editor offers.
    void setSources(const QList<SourceLists::ListEntry>& sources) { sources_ = sources; }
    // The picture button: wgraph0.gif of the graph as shown.
    void exportPicture();
    // What the graph showed last.
    const GraphUpdate& shown() const { return shown_; }

private:
    void ask(std::function<void(CycleWorker&)> request);
    void graphShown(const GraphUpdate& update);
    void addTrace();
    void addFavourite();
    void favouriteSaved(qint32 favID, const QString& name);
    void addFavouriteItem(const QString& name, qint32 favID);
    void optionsChanged();
    void printPreview();
    void printPictureReady(const std::shared_ptr<const GraphPicture>& picture);

    QPointer<CycleWorker> worker_;
    const Environment& environment_;
    Choosers& choosers_;
    QWidget* window_;
    Menus menus_{};
    HistoryGraphTab* graphTab_ = nullptr;
    HistoryDataTab* dataTab_ = nullptr;
    TraceDialog* traceDialog_ = nullptr;
    QList<QAction*> favouriteItems_;
    QList<SourceLists::ListEntry> sources_;
    GraphUpdate shown_;
};
