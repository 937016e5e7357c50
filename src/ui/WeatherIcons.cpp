#include "ui/WeatherIcons.h"

#include <QPainter>
#include <QPainterPath>
#include <QtMath>

#include <functional>

namespace WeatherIcons {

namespace {

// Every picture is drawn on a 100 x 100 canvas, scaled to the size asked for.
using Painter = void (*)(QPainter&);

void drawSun(QPainter& p)
{
    p.setPen(QPen(QColor(0xF2, 0x9E, 0x0C), 7, Qt::SolidLine, Qt::RoundCap));
    for (int ray = 0; ray < 8; ++ray) {
        const qreal angle = ray * M_PI / 4;
        p.drawLine(QPointF(50 + 30 * qCos(angle), 50 + 30 * qSin(angle)),
                   QPointF(50 + 44 * qCos(angle), 50 + 44 * qSin(angle)));
    }
    QRadialGradient glow(QPointF(44, 44), 26);
    glow.setColorAt(0, QColor(0xFF, 0xE0, 0x66));
    glow.setColorAt(1, QColor(0xF7, 0xB5, 0x1E));
    p.setPen(Qt::NoPen);
    p.setBrush(glow);
    p.drawEllipse(QPointF(50, 50), 22, 22);
}

QPainterPath cloudShape(qreal top)
{
    QPainterPath cloud;
    cloud.setFillRule(Qt::WindingFill);  // overlapping parts make one outline
    cloud.addEllipse(QPointF(34, top + 26), 18, 16);
    cloud.addEllipse(QPointF(56, top + 18), 24, 22);
    cloud.addEllipse(QPointF(76, top + 30), 16, 13);
    cloud.addRoundedRect(QRectF(16, top + 26, 72, 17), 8, 8);
    return cloud.simplified();
}

void drawCloudAt(QPainter& p, qreal top, const QColor& light, const QColor& dark)
{
    QLinearGradient shade(0, top, 0, top + 45);
    shade.setColorAt(0, light);
    shade.setColorAt(1, dark);
    p.setPen(QPen(dark.darker(125), 2.5));
    p.setBrush(shade);
    p.drawPath(cloudShape(top));
}

void drawCloud(QPainter& p)
{
    // A small sun behind the cloud: sunshine and cloud in turn.
    p.save();
    p.translate(18, 6);
    p.scale(0.55, 0.55);
    drawSun(p);
    p.restore();
    drawCloudAt(p, 28, QColor(0xFB, 0xFC, 0xFE), QColor(0xB4, 0xBE, 0xCB));
}

void drawRain(QPainter& p)
{
    drawCloudAt(p, 12, QColor(0xE4, 0xE9, 0xF0), QColor(0x8D, 0x99, 0xA8));
    p.setPen(QPen(QColor(0x1E, 0x7B, 0xD6), 6, Qt::SolidLine, Qt::RoundCap));
    for (int drop = 0; drop < 4; ++drop) {
        const qreal x = 26 + drop * 16;
        p.drawLine(QPointF(x, 68 + (drop % 2) * 6), QPointF(x - 5, 82 + (drop % 2) * 6));
    }
}

void drawStorm(QPainter& p)
{
    drawCloudAt(p, 10, QColor(0x9A, 0xA3, 0xB0), QColor(0x4A, 0x53, 0x60));
    QPainterPath bolt;
    bolt.moveTo(54, 50);
    bolt.lineTo(38, 76);
    bolt.lineTo(52, 76);
    bolt.lineTo(44, 96);
    bolt.lineTo(68, 66);
    bolt.lineTo(54, 66);
    bolt.lineTo(62, 50);
    bolt.closeSubpath();
    p.setPen(QPen(QColor(0xB7, 0x6E, 0x00), 2, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    p.setBrush(QColor(0xFF, 0xC8, 0x1F));
    p.drawPath(bolt);
}

void drawArrow(QPainter& p, bool up, const QColor& colour)
{
    QPainterPath arrow;
    arrow.moveTo(50, 10);
    arrow.lineTo(86, 50);
    arrow.lineTo(62, 50);
    arrow.lineTo(62, 90);
    arrow.lineTo(38, 90);
    arrow.lineTo(38, 50);
    arrow.lineTo(14, 50);
    arrow.closeSubpath();
    if (!up) {
        p.translate(0, 100);
        p.scale(1, -1);
    }
    p.setPen(QPen(colour.darker(130), 3, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    p.setBrush(colour);
    p.drawPath(arrow);
}

void drawUp(QPainter& p)
{
    drawArrow(p, true, QColor(0x2E, 0xA0, 0x4F));
}

void drawDown(QPainter& p)
{
    drawArrow(p, false, QColor(0xD9, 0x4F, 0x2B));
}

Painter painterFor(const QString& key)
{
    if (key == u"sun")
        return drawSun;
    if (key == u"cloud")
        return drawCloud;
    if (key == u"rain")
        return drawRain;
    if (key == u"storm")
        return drawStorm;
    if (key == u"up")
        return drawUp;
    if (key == u"down")
        return drawDown;
    return nullptr;
}

QPixmap paint(int size, qreal ratio, const std::function<void(QPainter&)>& draw)
{
    QPixmap pixmap(QSize(size, size) * ratio);
    pixmap.setDevicePixelRatio(ratio);
    pixmap.fill(Qt::transparent);
    QPainter painter(&pixmap);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.scale(size / 100.0, size / 100.0);
    draw(painter);
    return pixmap;
}

// A thermometer in a round badge; the badge's colour tells the state.
void drawTrayBadge(QPainter& p, const QColor& colour)
{
    p.setPen(Qt::NoPen);
    p.setBrush(colour);
    p.drawEllipse(QPointF(50, 50), 48, 48);
    p.setBrush(Qt::white);
    p.drawRoundedRect(QRectF(42, 14, 16, 52), 8, 8);
    p.drawEllipse(QPointF(50, 72), 15, 15);
    p.setBrush(colour.darker(110));
    p.drawRoundedRect(QRectF(46.5, 34, 7, 36), 3.5, 3.5);
    p.drawEllipse(QPointF(50, 72), 9, 9);
}

}  // namespace

QPixmap picture(const QString& key, int size, qreal devicePixelRatio)
{
    const Painter draw = painterFor(key);
    if (!draw || size <= 0)
        return {};
    return paint(size, devicePixelRatio, draw);
}

QIcon trayIcon(int state)
{
    const QColor colours[] = {QColor(0x3B, 0x6E, 0xA8), QColor(0xE0, 0x8A, 0x12), QColor(0x2E, 0x9A, 0x4C)};
    const QColor colour = colours[qBound(0, state, 2)];
    QIcon icon;
    for (int size : {16, 22, 24, 32, 48, 64})
        icon.addPixmap(paint(size, 1.0, [&colour](QPainter& p) { drawTrayBadge(p, colour); }));
    return icon;
}

QIcon applicationIcon()
{
    return trayIcon(0);
}

}  // namespace WeatherIcons
