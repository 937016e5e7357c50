#pragma once

#include "core/cycle/GraphEngine.h"

#include <QImage>
#include <QTimer>
#include <QWidget>

// Shows the picture of the history graph that the worker drew, and tells
// the values under the mouse pointer in a tooltip. When its size changes it
// asks (a moment later, once the size has settled) for a picture of the new
// size; until then it shows the old one scaled.
class GraphView final : public QWidget {
    Q_OBJECT

public:
    explicit GraphView(QWidget* parent = nullptr);

    void show(const GraphUpdate& update);
    const GraphUpdate& shown() const { return update_; }
    // What the tooltip at `position` (in the widget) says; empty off the plot.
    QString valuesAt(const QPoint& position) const;

signals:
    // The size (logical pixels) and the screen's pixel ratio to draw at.
    void sizeWanted(const QSize& size, qreal scale);

protected:
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    bool event(QEvent* event) override;

private:
    GraphUpdate update_;
    QImage image_;
    QTimer settle_;
};
