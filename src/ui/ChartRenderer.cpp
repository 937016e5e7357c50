#include "ui/ChartRenderer.h"

#include "ui/Choosers.h"
#include "core/graphs/AxisTicks.h"
#include "core/graphs/DataTypes.h"
#include "core/graphs/Envelope.h"

#include <QApplication>
#include <QChart>
#include <QFontMetricsF>
#include <QGraphicsScene>
#include <QLineSeries>
#include <QPainter>
#include <QValueAxis>

#include <cmath>

namespace {

constexpr double kTickLabelGap = 6;
constexpr double kLegendSample = 18;
constexpr double kLongestLabelledSpanDays = 2;  // hour labels say nothing on longer graphs

QColor withAlpha(QColor colour, int alpha)
{
    colour.setAlpha(alpha);
    return colour;
}

// Where everything goes on the picture, worked out before drawing.
class GraphLayout {
public:
    GraphLayout(const GraphData& data, const GraphPictureRequest& request) : data_(data), request_(request)
    {
        font_ = QApplication::font();
        font_.setPixelSize(11);
        const QFontMetricsF metrics(font_);
        lineHeight_ = metrics.height();
        yRange_ = {data.yMinimum.value_or(0), data.yMaximum.value_or(100)};
        if (yRange_.second <= yRange_.first)
            yRange_ = {yRange_.first - 1, yRange_.first + 1};
        titles_ = request.titles;
        for (std::size_t i = std::size_t(titles_.size()); i < data.traces.size(); ++i)
            titles_ << data.traces[i].trace.title();
        layOut(metrics);
    }

    QFont font() const { return font_; }
    QRectF plot() const { return plot_; }
    const std::vector<AxisTick>& xTicks() const { return xTicks_; }
    const std::vector<AxisTick>& yTicks() const { return yTicks_; }
    QString title(std::size_t trace) const { return titles_.value(qsizetype(trace)); }
    QString yTitle() const { return yTitle_; }
    double lineHeight() const { return lineHeight_; }
    std::pair<double, double> yRange() const { return yRange_; }

    QPointF toPixels(double x, double y) const
    {
        const double xSpan = data_.xMaximum - data_.xMinimum;
        const double ySpan = yRange_.second - yRange_.first;
        return {plot_.left() + (x - data_.xMinimum) / xSpan * plot_.width(),
                plot_.bottom() - (y - yRange_.first) / ySpan * plot_.height()};
    }

    // The legend's entries, each at its place.
    std::vector<std::pair<std::size_t, QRectF>> legendEntries() const { return legendEntries_; }

private:
    void layOut(const QFontMetricsF& metrics)
    {
        const QSizeF size = request_.size;
        double left = 8, right = 12, top = 10, bottom = lineHeight_ + kTickLabelGap + 8;
        QStringList units;
        for (const TraceSeries& series : data_.traces) {
            const QString unit = DataTypes::at(series.trace.dataType).unit;
            if (!series.skipped && !units.contains(unit))
                units << unit;
        }
        yTitle_ = units.join(", ");
        if (!yTitle_.isEmpty())
            left += lineHeight_ + 4;

        const bool legend = data_.options.showLegend && !data_.traces.empty();
        if (legend && !request_.legendBelow) {
            double widest = 0;
            for (std::size_t i = 0; i < data_.traces.size(); ++i)
                widest = std::max(widest, metrics.horizontalAdvance(title(i)));
            right += std::min(widest + kLegendSample + 12, size.width() * 0.4);
        }
        const double plotWidthGuess = size.width() - left - right - 40;
        if (legend && request_.legendBelow)
            bottom += flowLegend(metrics, 8, plotWidthGuess + 40) + 6;

        const double plotHeight = size.height() - top - bottom;
        yTicks_ = AxisTicks::valueTicks(yRange_.first, yRange_.second, std::max(2, int(plotHeight / 36)));
        double labelWidth = 0;
        for (const AxisTick& tick : yTicks_)
            labelWidth = std::max(labelWidth, metrics.horizontalAdvance(tick.label));
        left += labelWidth + kTickLabelGap;
        plot_ = QRectF(left, top, size.width() - left - right, plotHeight);

        const int maxXTicks = std::max(2, int(plot_.width() / 70));
        xTicks_ = data_.options.singleDay ? AxisTicks::hourTicks(data_.xMinimum, data_.xMaximum, maxXTicks)
                                          : AxisTicks::timeTicks(data_.xMinimum, data_.xMaximum, maxXTicks);
        if (legend && request_.legendBelow) {
            legendEntries_.clear();
            flowLegend(metrics, plot_.bottom() + lineHeight_ + kTickLabelGap + 10, size.width() - 16);
        } else if (legend) {
            const double x = plot_.right() + 12;
            for (std::size_t i = 0; i < data_.traces.size(); ++i)
                legendEntries_.push_back({i, QRectF(x, top + i * (lineHeight_ + 4), right - 16, lineHeight_)});
        }
    }

    // Lays the legend out in rows from `top`, `width` wide; returns its height.
    double flowLegend(const QFontMetricsF& metrics, double top, double width)
    {
        double x = 8, y = top;
        for (std::size_t i = 0; i < data_.traces.size(); ++i) {
            const double entry = std::min(kLegendSample + 6 + metrics.horizontalAdvance(title(i)), width);
            if (x > 8 && x + entry > width) {
                x = 8;
                y += lineHeight_ + 2;
            }
            legendEntries_.push_back({i, QRectF(x, y, entry, lineHeight_)});
            x += entry + 14;
        }
        return y + lineHeight_ - top;
    }

    const GraphData& data_;
    const GraphPictureRequest& request_;
    QFont font_;
    double lineHeight_ = 12;
    std::pair<double, double> yRange_;
    QStringList titles_;
    QString yTitle_;
    QRectF plot_;
    std::vector<AxisTick> xTicks_;
    std::vector<AxisTick> yTicks_;
    std::vector<std::pair<std::size_t, QRectF>> legendEntries_;
};

// The traces' lines, drawn by the charting library into the plot area.
// The plot area and the axes' ranges are set before any point is given, so
// that each series lays its points out once (the library redoes its whole
// geometry at every change of them).
void paintSeries(QPainter& painter, const GraphData& data, const GraphLayout& layout, qreal scale)
{
    QGraphicsScene scene;
    auto* chart = new QChart;
    scene.addItem(chart);
    chart->setAnimationOptions(QChart::NoAnimation);
    chart->setBackgroundVisible(false);
    chart->setPlotAreaBackgroundVisible(false);
    chart->legend()->setVisible(false);
    chart->setMargins(QMargins());
    chart->setGeometry(QRectF(QPointF(0, 0), QSizeF(painter.device()->width() / scale,
                                                   painter.device()->height() / scale)));
    chart->setPlotArea(layout.plot());
    auto* xAxis = new QValueAxis;
    auto* yAxis = new QValueAxis;
    xAxis->setRange(data.xMinimum, data.xMaximum);
    yAxis->setRange(layout.yRange().first, layout.yRange().second);
    chart->addAxis(xAxis, Qt::AlignBottom);
    chart->addAxis(yAxis, Qt::AlignLeft);
    xAxis->setVisible(false);
    yAxis->setVisible(false);

    const int columns = int(std::ceil(layout.plot().width() * scale));
    for (const TraceSeries& trace : data.traces) {
        if (trace.skipped)
            continue;
        auto* series = new QLineSeries;
        QPen pen(colourOf(trace.trace.colour), 1);
        pen.setCosmetic(true);  // one device pixel wide: the fast way to draw a long line
        series->setPen(pen);
        chart->addSeries(series);
        series->attachAxis(xAxis);
        series->attachAxis(yAxis);
        const std::vector<QPointF> points = envelope(trace.x, trace.y, data.xMinimum, data.xMaximum, columns);
        series->replace(QList<QPointF>(points.begin(), points.end()));
    }
    scene.setSceneRect(chart->geometry());
    scene.render(&painter, chart->geometry(), chart->geometry());
}

void paintGrid(QPainter& painter, const GraphLayout& layout, const QColor& text)
{
    painter.setPen(QPen(withAlpha(text, 45), 1));
    const QRectF plot = layout.plot();
    for (const AxisTick& tick : layout.xTicks()) {
        const double x = layout.toPixels(tick.value, 0).x();
        painter.drawLine(QPointF(x, plot.top()), QPointF(x, plot.bottom()));
    }
    for (const AxisTick& tick : layout.yTicks()) {
        const double y = layout.toPixels(0, tick.value).y();
        painter.drawLine(QPointF(plot.left(), y), QPointF(plot.right(), y));
    }
}

void paintAxes(QPainter& painter, const GraphLayout& layout, const QColor& text)
{
    const QRectF plot = layout.plot();
    painter.setPen(QPen(text, 1));
    painter.drawLine(plot.bottomLeft(), plot.bottomRight());
    painter.drawLine(plot.bottomLeft(), plot.topLeft());
    const double height = layout.lineHeight();
    double lastRight = -1e9;
    for (const AxisTick& tick : layout.xTicks()) {
        const double x = layout.toPixels(tick.value, 0).x();
        const double width = painter.fontMetrics().horizontalAdvance(tick.label);
        QRectF box(x - width / 2, plot.bottom() + kTickLabelGap - 2, width, height);
        box.moveLeft(std::clamp(box.left(), 0.0, double(painter.device()->width()) - width));
        if (box.left() < lastRight + 6)
            continue;  // no room: the next one
        painter.drawText(box, Qt::AlignCenter, tick.label);
        lastRight = box.right();
    }
    for (const AxisTick& tick : layout.yTicks()) {
        const double y = layout.toPixels(0, tick.value).y();
        painter.drawText(QRectF(0, y - height / 2, plot.left() - kTickLabelGap, height),
                         Qt::AlignRight | Qt::AlignVCenter, tick.label);
    }
    if (!layout.yTitle().isEmpty()) {
        painter.save();
        painter.translate(8 + height / 2, plot.center().y());
        painter.rotate(-90);
        painter.drawText(QRectF(-plot.height() / 2, -height / 2, plot.height(), height), Qt::AlignCenter,
                         layout.yTitle());
        painter.restore();
    }
}

void paintMarks(QPainter& painter, const GraphData& data, const GraphLayout& layout, const QColor& text)
{
    if (!data.options.showStability)
        return;
    painter.setPen(QPen(text, 1));
    for (const TraceSeries& series : data.traces) {
        for (const StabilityMark& mark : series.marks) {
            painter.setBrush(colourOf(standardColour(mark.stability)));
            painter.drawEllipse(layout.toPixels(mark.x, mark.y), 3.5, 3.5);
        }
    }
    painter.setBrush(Qt::NoBrush);
}

// The readings' labels, where they fit without covering one another.
void paintPointLabels(QPainter& painter, const GraphData& data, const GraphLayout& layout)
{
    const double spanDays = data.options.singleDay ? (data.xMaximum - data.xMinimum) / 24
                                                   : data.xMaximum - data.xMinimum;
    if (spanDays > kLongestLabelledSpanDays)
        return;
    QFont small = layout.font();
    small.setPixelSize(9);
    painter.setFont(small);
    const QFontMetricsF metrics(small);
    std::vector<QRectF> placed;
    for (const TraceSeries& series : data.traces) {
        painter.setPen(colourOf(series.trace.colour));
        double lastRight = -1e9;  // a trace's labels keep a label's width apart
        for (std::size_t i = 0; i < series.size(); ++i) {
            const QString label = series.label(i, data.options.singleDay);
            if (label.isEmpty())
                continue;
            const QPointF at = layout.toPixels(series.x[i], series.y[i]);
            const double width = metrics.horizontalAdvance(label);
            const QRectF box(at.x() - width / 2, at.y() - metrics.height() - 3, width, metrics.height());
            const bool free = std::none_of(placed.begin(), placed.end(), [&box](const QRectF& other) {
                return other.adjusted(-3, -1, 3, 1).intersects(box);
            });
            if (!free || !layout.plot().contains(box) || box.left() < lastRight + width)
                continue;
            painter.drawText(box, Qt::AlignCenter, label);
            placed.push_back(box);
            lastRight = box.right();
        }
    }
    painter.setFont(layout.font());
}

void paintAnnotations(QPainter& painter, const GraphData& data, const GraphLayout& layout,
                      const QSize& size)
{
    const QRectF plot = layout.plot();
    const double step = size.height() / 19.0;
    int row = 0;
    for (const TraceSeries& series : data.traces) {
        if (series.skipped)
            continue;
        painter.setPen(colourOf(series.trace.colour));
        painter.drawText(QRectF(plot.left() + 6, plot.top() + 3 + row * step, plot.width() - 12, layout.lineHeight()),
                         Qt::AlignLeft | Qt::AlignVCenter, series.annotation());
        ++row;
    }
}

void paintLegend(QPainter& painter, const GraphData& data, const GraphLayout& layout, const QColor& text)
{
    for (const auto& [trace, box] : layout.legendEntries()) {
        const QColor colour = colourOf(data.traces[trace].trace.colour);
        painter.setPen(QPen(colour, 2));
        const double y = box.center().y();
        painter.drawLine(QPointF(box.left(), y), QPointF(box.left() + kLegendSample, y));
        painter.setPen(text);
        const QRectF label = box.adjusted(kLegendSample + 6, 0, 2, 0);  // room for rounding
        painter.drawText(label, Qt::AlignLeft | Qt::AlignVCenter,
                         painter.fontMetrics().elidedText(layout.title(trace), Qt::ElideRight, int(std::ceil(label.width()))));
    }
}

}  // namespace

QImage ChartRenderer::image(const GraphData& data, const GraphPictureRequest& request, QRectF* plotArea)
{
    const qreal scale = std::max<qreal>(request.scale, 0.1);
    QImage image(QSize(int(std::ceil(request.size.width() * scale)), int(std::ceil(request.size.height() * scale))),
                 QImage::Format_RGB32);
    const QColor text = colourOf(request.colours.text);
    image.fill(colourOf(request.colours.background));
    const GraphLayout layout(data, request);
    if (plotArea)
        *plotArea = layout.plot();

    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setRenderHint(QPainter::TextAntialiasing);
    painter.scale(scale, scale);
    painter.setFont(layout.font());
    paintGrid(painter, layout, text);
    painter.save();
    painter.setClipRect(layout.plot().adjusted(-1, -1, 1, 1));
    paintSeries(painter, data, layout, scale);
    paintMarks(painter, data, layout, text);
    painter.restore();
    paintAxes(painter, layout, text);
    paintPointLabels(painter, data, layout);
    paintAnnotations(painter, data, layout, request.size);
    paintLegend(painter, data, layout, text);
    return image;
}

GraphPicture ChartRenderer::render(const GraphData& data, const GraphPictureRequest& request)
{
    GraphPicture picture;
    const QImage drawn = image(data, request, &picture.plotArea);
    picture.width = drawn.width();
    picture.height = drawn.height();
    picture.scale = request.scale;
    picture.pixels.resize(std::size_t(picture.width) * std::size_t(picture.height));
    for (int y = 0; y < picture.height; ++y) {
        const auto* row = reinterpret_cast<const quint32*>(drawn.constScanLine(y));
        std::copy(row, row + picture.width, picture.pixels.begin() + std::ptrdiff_t(y) * picture.width);
    }
    return picture;
}

QImage imageOf(const GraphPicture& picture)
{
    if (picture.isNull())
        return {};
    QImage image(reinterpret_cast<const uchar*>(picture.pixels.data()), picture.width, picture.height,
                 picture.width * 4, QImage::Format_RGB32);
    QImage copy = image.copy();
    copy.setDevicePixelRatio(picture.scale);
    return copy;
}
