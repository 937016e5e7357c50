#pragma once

#include "core/plot/Chart.h"

#include <QImage>
#include <QTimer>
#include <QWidget>

#include <optional>

class DatabaseService;

// Shows a chart drawn on the worker thread. Given a chart, it asks the
// worker for a picture of its own size, and again a moment after its size
// has settled; meanwhile it shows the last picture scaled. Pictures asked
// for before the latest are dropped when they come back. The service must
// outlive the view.
class ChartView final : public QWidget {
    Q_OBJECT

public:
    explicit ChartView(DatabaseService& service, QWidget* parent = nullptr);

    void setChart(plot::Chart chart);
    const std::optional<plot::Chart>& chart() const { return chart_; }
    // The picture shown (null before the first has come back).
    const QImage& picture() const { return picture_; }

signals:
    // A new picture is shown.
    void pictureShown();

protected:
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

private:
    void redraw();

    DatabaseService& service_;
    std::optional<plot::Chart> chart_;
    QImage picture_;
    QTimer settle_;
    unsigned asked_ = 0;  // the number of the latest picture asked for
};
