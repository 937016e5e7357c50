#pragma once

#include "core/cycle/GraphEngine.h"

#include <QImage>
#include <QTimer>
#include <QWidget>

#include <optional>

// Shows the picture of the history graph that the worker drew, and tells
// the values under the mouse pointer in a tooltip. When its size changes it
// asks (a moment later, once the size has settled) for a picture of the new
// size; until then it shows the old one scaled.
//
// Dragging a rectangle over the plot asks for that part of the graph
// (zoomWanted); a double-click or Escape asks for the view before
// (zoomOutWanted).
class GraphView final : public QWidget {
    Q_OBJECT

public:
    explicit GraphView(QWidget* parent = nullptr);

    void show(const GraphUpdate& update);
    const GraphUpdate& shown() const { return update_; }
    // What the tooltip at `position` (in the widget) says; empty off the plot.
    QString valuesAt(const QPoint& position) const;
    // The part of the graph a rectangle dragged from `from` to `to` (in the
    // widget) covers; none when it is too small or off the plot.
    std::optional<ViewRange> viewBetween(const QPoint& from, const QPoint& to) const;

signals:
    // The size (logical pixels) and the screen's pixel ratio to draw at.
    void sizeWanted(const QSize& size, qreal scale);
    void zoomWanted(const ViewRange& view);
    void zoomOutWanted();

protected:
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    bool event(QEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void mouseDoubleClickEvent(QMouseEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;

private:
    // A point of the widget in the picture's logical pixels (the picture
    // may be shown scaled).
    QPointF inPicture(const QPoint& position) const;

    GraphUpdate update_;
    QTimer settle_;
    std::optional<QPoint> dragStart_;
    QPoint dragNow_;
};
