#include "ui/GraphView.h"

#include "ui/ChartRenderer.h"
#include "core/text/NumberText.h"

#include <QHelpEvent>
#include <QPainter>
#include <QToolTip>

#include <algorithm>

GraphView::GraphView(QWidget* parent) : QWidget(parent)
{
    setObjectName("graphView");
    setMinimumSize(320, 220);
    setMouseTracking(true);
    settle_.setSingleShot(true);
    settle_.setInterval(120);
    connect(&settle_, &QTimer::timeout, this, [this] { emit sizeWanted(size(), devicePixelRatioF()); });
}

void GraphView::show(const GraphUpdate& update)
{
    update_ = update;
    image_ = update.picture ? imageOf(*update.picture) : QImage();
    QWidget::update();
}

void GraphView::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    if (image_.isNull()) {
        painter.fillRect(rect(), palette().window());
        return;
    }
    painter.setRenderHint(QPainter::SmoothPixmapTransform);
    painter.drawImage(rect(), image_);  // scaled while a picture of the new size is on its way
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

QString GraphView::valuesAt(const QPoint& position) const
{
    if (!update_.picture || !update_.data || image_.isNull())
        return {};
    const GraphData& data = *update_.data;
    // The picture may be shown scaled: back to its own logical pixels.
    const double sx = double(update_.picture->width) / update_.picture->scale / width();
    const double sy = double(update_.picture->height) / update_.picture->scale / height();
    const QPointF at(position.x() * sx, position.y() * sy);
    const QRectF plot = update_.picture->plotArea;
    if (!plot.contains(at))
        return {};
    const double x = data.xMinimum + (at.x() - plot.left()) / plot.width() * (data.xMaximum - data.xMinimum);
    const double reach = (data.xMaximum - data.xMinimum) / plot.width() * 6;  // six pixels either side
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
