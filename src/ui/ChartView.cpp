#include "ui/ChartView.h"

#include "core/cycle/DatabaseService.h"
#include "core/plot/ChartPainter.h"

#include <QPainter>

namespace {

constexpr int kSettleMs = 120;

}  // namespace

ChartView::ChartView(DatabaseService& service, QWidget* parent) : QWidget(parent), service_(service)
{
    setMinimumSize(240, 180);
    settle_.setSingleShot(true);
    settle_.setInterval(kSettleMs);
    connect(&settle_, &QTimer::timeout, this, &ChartView::redraw);
}

void ChartView::setChart(plot::Chart chart)
{
    chart_ = std::move(chart);
    redraw();
}

void ChartView::redraw()
{
    if (!chart_ || size().isEmpty())
        return;
    const unsigned number = ++asked_;
    service_.request<QImage>(
        this, [chart = *chart_, size = size(), scale = devicePixelRatioF()] { return plot::draw(chart, size, scale); },
        [this, number](const QImage& picture) {
            if (number != asked_)
                return;  // a newer one is on its way
            picture_ = picture;
            update();
            emit pictureShown();
        });
}

void ChartView::resizeEvent(QResizeEvent*)
{
    settle_.start();
}

void ChartView::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    if (picture_.isNull()) {
        painter.fillRect(rect(), chart_ ? chart_->background : palette().base().color());
        return;
    }
    painter.setRenderHint(QPainter::SmoothPixmapTransform);
    painter.drawImage(rect(), picture_);
}
