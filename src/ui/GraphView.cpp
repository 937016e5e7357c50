#include "ui/GraphView.h"

#include "core/text/NumberText.h"

#include <QHelpEvent>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QPainter>
#include <QToolTip>

#include <algorithm>

namespace {
constexpr int kSmallestZoom = 6;  // pixels each way; a smaller drag is a click
}

GraphView::GraphView(QWidget* parent) : QWidget(parent)
{
    setObjectName("graphView");
    setMinimumSize(320, 220);
    setMouseTracking(true);
    setFocusPolicy(Qt::ClickFocus);  // Escape zooms out
    settle_.setSingleShot(true);
    settle_.setInterval(120);
    connect(&settle_, &QTimer::timeout, this, [this] { emit sizeWanted(size(), devicePixelRatioF()); });
}

void GraphView::show(const GraphUpdate& update)
{
    update_ = update;
    QWidget::update();
}

void GraphView::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    if (!update_.picture || update_.picture->isNull()) {
        painter.fillRect(rect(), palette().window());
        return;
    }
    painter.setRenderHint(QPainter::SmoothPixmapTransform);
    painter.drawImage(rect(), update_.picture->image);  // scaled while a picture of the new size is on its way
    if (dragStart_) {
        painter.setPen(QPen(palette().highlight().color(), 1, Qt::DashLine));
        QColor fill = palette().highlight().color();
        fill.setAlpha(50);
        painter.setBrush(fill);
        painter.drawRect(QRect(*dragStart_, dragNow_).normalized());
    }
}

void GraphView::resizeEvent(QResizeEvent*)
{
    settle_.start();
}

bool GraphView::event(QEvent* event)
{
    if (event->type() == QEvent::ToolTip) {
        const auto* help = static_cast<QHelpEvent*>(event);
        const QString text = valuesAt(help->pos());
        if (text.isEmpty())
            QToolTip::hideText();
        else
            QToolTip::showText(help->globalPos(), text, this);
        return true;
    }
    return QWidget::event(event);
}

QPointF GraphView::inPicture(const QPoint& position) const
{
    const QSizeF picture = update_.picture->image.deviceIndependentSize();
    return {position.x() * picture.width() / width(), position.y() * picture.height() / height()};
}

QString GraphView::valuesAt(const QPoint& position) const
{
    if (!update_.picture || update_.picture->isNull() || !update_.data)
        return {};
    const GraphData& data = *update_.data;
    const QPointF at = inPicture(position);
    const QRectF plot = update_.picture->plotArea;
    if (!plot.contains(at))
        return {};
    const ViewRange& shown = update_.picture->shown;
    const double perPixel = (shown.xMaximum - shown.xMinimum) / plot.width();
    const double x = shown.xMinimum + (at.x() - plot.left()) * perPixel;
    const double reach = perPixel * 6;  // six pixels either side
    QStringList lines;
    for (const TraceSeries& series : data.traces) {
        if (series.x.empty())
            continue;
        auto next = std::lower_bound(series.x.begin(), series.x.end(), x);
        if (next == series.x.end() || (next != series.x.begin() && x - *(next - 1) < *next - x))
            --next;
        if (std::abs(*next - x) > reach)
            continue;
        const auto i = std::size_t(next - series.x.begin());
        QString label = series.label(i, data.options.singleDay);
        if (label.isEmpty())
            label = wallClockTime(series.stamps[i]).toString("hh:mm dd-MMM-yy");
        lines << QStringLiteral("%1: %2  (%3)").arg(series.trace.title(), NumberText::generalNumber(series.y[i]), label);
    }
    return lines.join(u'\n');
}

std::optional<ViewRange> GraphView::viewBetween(const QPoint& from, const QPoint& to) const
{
    if (!update_.picture || update_.picture->isNull())
        return std::nullopt;
    const QRect dragged = QRect(from, to).normalized();
    if (dragged.width() < kSmallestZoom || dragged.height() < kSmallestZoom)
        return std::nullopt;
    const QRectF plot = update_.picture->plotArea;
    const QRectF part = QRectF(inPicture(dragged.topLeft()), inPicture(dragged.bottomRight())).intersected(plot);
    if (part.isEmpty())
        return std::nullopt;
    const ViewRange& shown = update_.picture->shown;
    const double xPerPixel = (shown.xMaximum - shown.xMinimum) / plot.width();
    const double yPerPixel = (shown.yMaximum - shown.yMinimum) / plot.height();
    return ViewRange{shown.xMinimum + (part.left() - plot.left()) * xPerPixel,
                     shown.xMinimum + (part.right() - plot.left()) * xPerPixel,
                     shown.yMinimum + (plot.bottom() - part.bottom()) * yPerPixel,
                     shown.yMinimum + (plot.bottom() - part.top()) * yPerPixel};
}

void GraphView::mousePressEvent(QMouseEvent* event)
{
    if (event->button() != Qt::LeftButton || !update_.picture || update_.picture->isNull())
        return QWidget::mousePressEvent(event);
    dragStart_ = event->position().toPoint();
    dragNow_ = *dragStart_;
}

void GraphView::mouseMoveEvent(QMouseEvent* event)
{
    if (dragStart_) {
        dragNow_ = event->position().toPoint();
        QWidget::update();
    }
    QWidget::mouseMoveEvent(event);
}

void GraphView::mouseReleaseEvent(QMouseEvent* event)
{
    if (!dragStart_ || event->button() != Qt::LeftButton)
        return QWidget::mouseReleaseEvent(event);
    const std::optional<ViewRange> view = viewBetween(*dragStart_, event->position().toPoint());
    dragStart_.reset();
    QWidget::update();
    if (view)
        emit zoomWanted(*view);
}

void GraphView::mouseDoubleClickEvent(QMouseEvent* event)
{
    if (event->button() == Qt::LeftButton && update_.zoomed)
        emit zoomOutWanted();
}

void GraphView::keyPressEvent(QKeyEvent* event)
{
    if (event->key() == Qt::Key_Escape && update_.zoomed) {
        emit zoomOutWanted();
        return;
    }
    QWidget::keyPressEvent(event);
}
