#include "core/plot/ChartPainter.h"

#include "core/plot/ChartLayout.h"
#include "core/plot/Envelope.h"

#include <QPainter>
#include <QPainterPath>
#include <QPolygonF>

#include <algorithm>
#include <cmath>
#include <map>
#include <thread>

namespace plot {

namespace {

constexpr int kGridAlpha = 45;
constexpr double kMarkerRadius = 3.5;
constexpr double kLegibleContrast = 2.4;  // between a line and its background
constexpr std::size_t kPointsWorthAThread = 100000;  // fewer take less time than starting a thread saves

// `colour` laid over `background` at `alpha` (0-255), as one opaque colour:
// the raster engine blends translucent pens far more slowly than it fills.
QColor over(const QColor& colour, const QColor& background, int alpha)
{
    const auto mix = [alpha](int top, int bottom) { return (top * alpha + bottom * (255 - alpha) + 127) / 255; };
    return QColor(mix(colour.red(), background.red()), mix(colour.green(), background.green()),
                  mix(colour.blue(), background.blue()));
}

// The relative luminance of a colour, as the contrast of screen text is measured.
double luminance(const QColor& colour)
{
    const auto channel = [](double value) {
        return value <= 0.03928 ? value / 12.92 : std::pow((value + 0.055) / 1.055, 2.4);
    };
    return 0.2126 * channel(colour.redF()) + 0.7152 * channel(colour.greenF()) + 0.0722 * channel(colour.blueF());
}

double contrast(const QColor& a, const QColor& b)
{
    const double la = luminance(a), lb = luminance(b);
    return (std::max(la, lb) + 0.05) / (std::min(la, lb) + 0.05);
}

// Draws one chart: the layout says where, this says how.
class ChartPainter {
public:
    ChartPainter(QPainter& painter, const Chart& chart, const ChartLayout& layout)
        : painter_(painter), chart_(chart), layout_(layout)
    {
    }

    void paintAll()
    {
        painter_.setFont(layout_.font());
        if (chart_.polar) {
            paintPolar();
        } else {
            paintGrid();
            painter_.save();
            painter_.setClipRect(layout_.plot().adjusted(-1, -1, 1, 1));
            paintBars();
            paintLines();
            paintMarkers();
            painter_.restore();
            paintAxes();
        }
        paintTexts();
        paintPointLabels();
        paintAnnotations();
        paintLegend();
    }

private:
    QColor ink(const QColor& colour) const { return legible(colour, chart_.background); }
    QColor faint(const QColor& colour, int alpha) const { return over(colour, chart_.background, alpha); }

    void paintGrid()
    {
        painter_.setPen(QPen(faint(chart_.text, kGridAlpha), 1));
        const QRectF plot = layout_.plot();
        for (const double x : layout_.xGrid()) {
            const double at = layout_.toPixels(x, 0).x();
            painter_.drawLine(QPointF(at, plot.top()), QPointF(at, plot.bottom()));
        }
        for (const double y : layout_.yGrid()) {
            const double at = layout_.toPixels(0, y).y();
            painter_.drawLine(QPointF(plot.left(), at), QPointF(plot.right(), at));
        }
    }

    // Every line's envelope, worked out before any is drawn; long lines on
    // two threads, as each line's is its own.
    std::vector<std::vector<QPointF>> envelopes(int columns) const
    {
        const std::vector<LineSeries>& lines = chart_.lines;
        std::vector<std::vector<QPointF>> kept(lines.size());
        const auto workOut = [&](std::size_t first) {
            for (std::size_t i = first; i < lines.size(); i += 2)
                kept[i] = envelope(lines[i].x, lines[i].y, layout_.xMinimum(), layout_.xMaximum(), columns);
        };
        std::size_t points = 0;
        for (const LineSeries& line : lines)
            points += line.x.size();
        if (lines.size() < 2 || points < kPointsWorthAThread) {
            workOut(0);
            workOut(1);
            return kept;
        }
        std::thread other(workOut, 1);
        workOut(0);
        other.join();
        return kept;
    }

    void paintLines()
    {
        const double scale = painter_.device()->devicePixelRatioF();
        const int columns = int(std::ceil(layout_.plot().width() * scale));
        const std::vector<std::vector<QPointF>> envelopesOfLines = envelopes(columns);
        for (std::size_t i = 0; i < chart_.lines.size(); ++i) {
            const LineSeries& line = chart_.lines[i];
            QPen pen(ink(line.colour), 1);
            pen.setCosmetic(true);  // one device pixel wide: the fast way to draw a long line
            painter_.setPen(pen);
            const std::vector<QPointF>& kept = envelopesOfLines[i];
            QPolygonF points;
            points.reserve(qsizetype(kept.size()));
            for (const QPointF& point : kept)
                points << layout_.toPixels(point.x(), point.y());
            painter_.drawPolyline(points);
            if (line.dots) {
                painter_.setBrush(ink(line.colour));
                for (const QPointF& point : points)
                    painter_.drawEllipse(point, 2, 2);
                painter_.setBrush(Qt::NoBrush);
            }
        }
    }

    void paintBars()
    {
        const double base = std::clamp(0.0, layout_.yMinimum(), layout_.yMaximum());
        for (const BarSeries& series : chart_.bars) {
            for (const Bar& bar : series.bars) {
                const QPointF a = layout_.toPixels(bar.x - series.width / 2, base);
                const QPointF b = layout_.toPixels(bar.x + series.width / 2, bar.value);
                painter_.setPen(QPen(bar.colour.darker(150), 1));  // a white bar still shows its edge
                painter_.setBrush(bar.colour);
                painter_.drawRect(QRectF(a, b).normalized());
            }
        }
        painter_.setBrush(Qt::NoBrush);
    }

    void paintMarkers()
    {
        painter_.setPen(QPen(chart_.text, 1));
        for (const Marker& marker : chart_.markers) {
            painter_.setBrush(marker.colour);
            painter_.drawEllipse(layout_.toPixels(marker.x, marker.y), kMarkerRadius, kMarkerRadius);
        }
        painter_.setBrush(Qt::NoBrush);
    }

    void paintPolar()
    {
        const QPointF centre = layout_.plot().center();
        const double radius = layout_.plot().width() / 2;
        const PolarSeries& polar = *chart_.polar;
        QPolygonF outline;
        for (const Spoke& spoke : polar.spokes)
            outline << layout_.toPixels(spoke.degrees, std::max(0.0, spoke.value));
        const QColor colour = ink(polar.colour);
        // The area first, so that the rings and spokes show through it.
        painter_.setPen(Qt::NoPen);
        painter_.setBrush(faint(colour, 90));
        painter_.drawPolygon(outline);
        painter_.setBrush(Qt::NoBrush);
        painter_.setPen(QPen(faint(chart_.text, kGridAlpha * 2), 1));
        for (const double ring : layout_.yGrid()) {
            const double r = ring / layout_.yMaximum() * radius;
            painter_.drawEllipse(centre, r, r);
        }
        painter_.drawEllipse(centre, radius, radius);
        for (const Spoke& spoke : polar.spokes)
            painter_.drawLine(centre, layout_.toPixels(spoke.degrees, layout_.yMaximum()));
        painter_.setPen(QPen(colour, 1.5));
        painter_.drawPolygon(outline);
        painter_.setBrush(colour);
        for (const QPointF& point : outline)
            painter_.drawEllipse(point, 2, 2);
        painter_.setBrush(Qt::NoBrush);
        painter_.setPen(chart_.text);
        for (const PlacedText& label : layout_.rimLabels())
            painter_.drawText(label.box, Qt::AlignCenter, label.text);
    }

    void paintAxes()
    {
        const QRectF plot = layout_.plot();
        painter_.setPen(QPen(chart_.text, 1));
        painter_.drawLine(plot.bottomLeft(), plot.bottomRight());
        painter_.drawLine(plot.bottomLeft(), plot.topLeft());
        for (const PlacedText& label : layout_.xLabels())
            painter_.drawText(label.box, Qt::AlignCenter, label.text);
    }

    void paintTexts()
    {
        painter_.setPen(chart_.text);
        const Qt::Alignment yAlignment = chart_.polar ? Qt::AlignLeft | Qt::AlignVCenter : Qt::AlignRight | Qt::AlignVCenter;
        for (const PlacedText& label : layout_.yLabels())
            painter_.drawText(label.box, yAlignment, label.text);
        if (layout_.title()) {
            QFont bold = layout_.font();
            bold.setBold(true);
            painter_.setFont(bold);
            painter_.drawText(layout_.title()->box, Qt::AlignCenter, layout_.title()->text);
            painter_.setFont(layout_.font());
        }
        if (layout_.xTitle())
            painter_.drawText(layout_.xTitle()->box, Qt::AlignCenter, layout_.xTitle()->text);
        if (const auto& title = layout_.yTitle()) {
            painter_.save();
            painter_.translate(title->box.center());
            painter_.rotate(-90);
            painter_.drawText(QRectF(-title->box.height() / 2, -title->box.width() / 2, title->box.height(),
                                     title->box.width()),
                              Qt::AlignCenter, title->text);
            painter_.restore();
        }
    }

    // The labels where they fit: inside the plot, clear of one another, and
    // a label's width apart from the one before of the same colour.
    void paintPointLabels()
    {
        if (chart_.pointLabels.empty())
            return;
        QFont small = layout_.font();
        small.setPixelSize(std::max(7, small.pixelSize() - 2));
        painter_.setFont(small);
        const QFontMetricsF metrics(small);
        std::vector<QRectF> placed;
        std::map<QRgb, double> lastRight;
        for (const PointLabel& label : chart_.pointLabels) {
            const QPointF at = layout_.toPixels(label.x, label.y);
            const double width = metrics.horizontalAdvance(label.text);
            const QRectF box(at.x() - width / 2, at.y() - metrics.height() - 3, width, metrics.height());
            const bool free = std::none_of(placed.begin(), placed.end(), [&box](const QRectF& other) {
                return other.adjusted(-3, -1, 3, 1).intersects(box);
            });
            const auto before = lastRight.find(label.colour.rgb());
            const bool apart = before == lastRight.end() || box.left() >= before->second + width;
            if (!free || !apart || !layout_.plot().contains(box))
                continue;
            painter_.setPen(ink(label.colour));
            painter_.drawText(box, Qt::AlignCenter, label.text);
            placed.push_back(box);
            lastRight[label.colour.rgb()] = box.right();
        }
        painter_.setFont(layout_.font());
    }

    void paintAnnotations()
    {
        const QRectF plot = layout_.plot();
        const double step = std::max(layout_.lineHeight(), layout_.area().height() / 19.0);
        double top = plot.top() + 3;
        for (const Annotation& annotation : chart_.annotations) {
            painter_.setPen(ink(annotation.colour));
            painter_.drawText(QRectF(plot.left() + 6, top, plot.width() - 12, layout_.lineHeight()),
                              Qt::AlignLeft | Qt::AlignVCenter, annotation.text);
            top += step;
        }
    }

    void paintLegend()
    {
        for (const LegendEntry& entry : layout_.legend()) {
            const QRectF box = entry.box;
            painter_.setPen(QPen(ink(entry.colour), 2));
            const double y = box.center().y();
            painter_.drawLine(QPointF(box.left(), y), QPointF(box.left() + ChartLayout::kLegendSample, y));
            painter_.setPen(chart_.text);
            const QRectF label = box.adjusted(ChartLayout::kLegendSample + 6, 0, 0, 0);
            painter_.drawText(label, Qt::AlignLeft | Qt::AlignVCenter,
                              painter_.fontMetrics().elidedText(entry.text, Qt::ElideRight,
                                                                int(std::floor(label.width()))));
        }
    }

    QPainter& painter_;
    const Chart& chart_;
    const ChartLayout& layout_;
};

}  // namespace

Placement paint(QPainter& painter, const Chart& chart, const QRectF& area)
{
    const ChartLayout layout(chart, area);
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setRenderHint(QPainter::TextAntialiasing);
    painter.fillRect(area, chart.background);
    ChartPainter(painter, chart, layout).paintAll();
    painter.restore();

    Placement placement{layout.plot(), layout.xMinimum(), layout.xMaximum(), layout.yMinimum(), layout.yMaximum(), {}};
    for (const auto* texts : {&layout.xLabels(), &layout.yLabels(), &layout.rimLabels()}) {
        for (const PlacedText& text : *texts)
            placement.labelBoxes.push_back(text.box);
    }
    for (const auto* text : {&layout.title(), &layout.xTitle(), &layout.yTitle()}) {
        if (*text)
            placement.labelBoxes.push_back((*text)->box);
    }
    for (const LegendEntry& entry : layout.legend())
        placement.labelBoxes.push_back(entry.box);
    return placement;
}

QImage draw(const Chart& chart, const QSize& size, qreal scale, Placement* placement)
{
    if (size.isEmpty())
        return {};
    scale = std::max<qreal>(scale, 0.1);
    QImage image(QSize(int(std::ceil(size.width() * scale)), int(std::ceil(size.height() * scale))),
                 QImage::Format_RGB32);
    image.setDevicePixelRatio(scale);
    QPainter painter(&image);
    const Placement drawn = paint(painter, chart, QRectF(QPointF(0, 0), QSizeF(size)));
    if (placement)
        *placement = drawn;
    return image;
}

QColor legible(const QColor& colour, const QColor& background)
{
    if (contrast(colour, background) >= kLegibleContrast)
        return colour;
    const QColor towards = luminance(background) > 0.18 ? QColor(Qt::black) : QColor(Qt::white);
    QColor shade = colour;
    for (int step = 1; step <= 20 && contrast(shade, background) < kLegibleContrast; ++step) {
        const double t = step / 20.0;
        shade = QColor::fromRgbF(float(colour.redF() * (1 - t) + towards.redF() * t),
                                 float(colour.greenF() * (1 - t) + towards.greenF() * t),
                                 float(colour.blueF() * (1 - t) + towards.blueF() * t));
    }
    return shade.toRgb();
}

}  // namespace plot
