#include "simulator/SimulatedIconRenderer.h"

#include <QBuffer>
#include <QLinearGradient>
#include <QPainter>
#include <QPainterPath>
#include <QtMath>
#include <functional>
#include <map>

namespace {
// Every glyph is drawn in a 100 x 100 box; strokes use the painter's white pen.
using Draw = std::function<void(QPainter &)>;

QPainterPath star(QPointF c, double outer, double inner, int points)
{
    QPainterPath p;
    for (int i = 0; i < points * 2; ++i) {
        const double r = i % 2 ? inner : outer;
        const double a = -M_PI / 2 + i * M_PI / points;
        const QPointF pt(c.x() + r * std::cos(a), c.y() + r * std::sin(a));
        i == 0 ? p.moveTo(pt) : p.lineTo(pt);
    }
    p.closeSubpath();
    return p;
}

QPainterPath heart()
{
    QPainterPath p;
    p.moveTo(50, 88);
    p.cubicTo(10, 60, 5, 35, 18, 22);
    p.cubicTo(30, 10, 46, 16, 50, 30);
    p.cubicTo(54, 16, 70, 10, 82, 22);
    p.cubicTo(95, 35, 90, 60, 50, 88);
    return p;
}

const std::map<QString, Draw> &glyphs()
{
    static const std::map<QString, Draw> table = {
        {QStringLiteral("sparkles"),
         [](QPainter &p) {
             p.fillPath(star({42, 55}, 34, 9, 4), Qt::white);
             p.fillPath(star({76, 24}, 16, 4, 4), Qt::white);
         }},
        {QStringLiteral("star"),
         [](QPainter &p) {
             p.fillPath(star({50, 53}, 44, 18, 5), Qt::white);
         }},
        {QStringLiteral("heart"), [](QPainter &p) { p.fillPath(heart(), Qt::white); }},
        {QStringLiteral("music"),
         [](QPainter &p) {
             p.drawEllipse(QRectF(14, 66, 24, 18));
             p.drawEllipse(QRectF(60, 58, 24, 18));
             p.fillRect(QRectF(33, 20, 6, 56), Qt::white);
             p.fillRect(QRectF(79, 12, 6, 56), Qt::white);
             QPainterPath beam;
             beam.moveTo(33, 20);
             beam.lineTo(85, 12);
             beam.lineTo(85, 26);
             beam.lineTo(33, 34);
             p.fillPath(beam, Qt::white);
         }},
        {QStringLiteral("envelope"),
         [](QPainter &p) {
             QPainterPath body;
             body.addRoundedRect(QRectF(8, 22, 84, 58), 8, 8);
             QPainterPath flap;
             flap.moveTo(8, 26);
             flap.lineTo(50, 56);
             flap.lineTo(92, 26);
             flap.lineTo(92, 22);
             flap.lineTo(8, 22);
             p.fillPath(body.subtracted(flap), Qt::white);
             QPainterPath inner;
             inner.moveTo(14, 22);
             inner.lineTo(50, 48);
             inner.lineTo(86, 22);
             p.fillPath(inner, Qt::white);
         }},
        {QStringLiteral("globe"),
         [](QPainter &p) {
             p.setBrush(Qt::NoBrush);
             p.drawEllipse(QRectF(10, 10, 80, 80));
             p.drawEllipse(QRectF(32, 10, 36, 80));
             p.drawLine(QPointF(10, 50), QPointF(90, 50));
             p.drawLine(QPointF(50, 10), QPointF(50, 90));
         }},
        {QStringLiteral("camera"),
         [](QPainter &p) {
             QPainterPath body;
             body.addRoundedRect(QRectF(6, 28, 88, 58), 10, 10);
             body.addRect(QRectF(34, 18, 32, 14));
             QPainterPath lens;
             lens.addEllipse(QPointF(50, 57), 18, 18);
             p.fillPath(body.subtracted(lens), Qt::white);
             p.drawEllipse(QPointF(50, 57), 10, 10);
         }},
        {QStringLiteral("house"),
         [](QPainter &p) {
             QPainterPath h;
             h.moveTo(50, 10);
             h.lineTo(92, 48);
             h.lineTo(80, 48);
             h.lineTo(80, 88);
             h.lineTo(20, 88);
             h.lineTo(20, 48);
             h.lineTo(8, 48);
             h.closeSubpath();
             QPainterPath door;
             door.addRect(QRectF(42, 62, 16, 26));
             p.fillPath(h.subtracted(door), Qt::white);
         }},
        {QStringLiteral("bolt"),
         [](QPainter &p) {
             QPainterPath b;
             b.moveTo(58, 6);
             b.lineTo(18, 56);
             b.lineTo(46, 56);
             b.lineTo(38, 94);
             b.lineTo(82, 40);
             b.lineTo(54, 40);
             b.closeSubpath();
             p.fillPath(b, Qt::white);
         }},
        {QStringLiteral("clock"),
         [](QPainter &p) {
             p.setBrush(Qt::NoBrush);
             p.drawEllipse(QRectF(10, 10, 80, 80));
             p.drawLine(QPointF(50, 50), QPointF(50, 24));
             p.drawLine(QPointF(50, 50), QPointF(68, 62));
         }},
        {QStringLiteral("sun"),
         [](QPainter &p) {
             p.drawEllipse(QPointF(50, 50), 20, 20);
             for (int i = 0; i < 8; ++i) {
                 const double a = i * M_PI / 4;
                 p.drawLine(QPointF(50 + 30 * std::cos(a), 50 + 30 * std::sin(a)),
                            QPointF(50 + 42 * std::cos(a), 50 + 42 * std::sin(a)));
             }
         }},
        {QStringLiteral("moon"),
         [](QPainter &p) {
             QPainterPath full;
             full.addEllipse(QPointF(46, 52), 38, 38);
             QPainterPath bite;
             bite.addEllipse(QPointF(70, 36), 32, 32);
             p.fillPath(full.subtracted(bite), Qt::white);
         }},
        {QStringLiteral("cloud"),
         [](QPainter &p) {
             QPainterPath c;
             c.setFillRule(Qt::WindingFill); // overlapping puffs must not cancel out
             c.addEllipse(QPointF(32, 60), 20, 20);
             c.addEllipse(QPointF(54, 46), 26, 26);
             c.addEllipse(QPointF(74, 62), 18, 18);
             c.addRect(QRectF(32, 62, 42, 18));
             p.fillPath(c, Qt::white);
         }},
        {QStringLiteral("drop"),
         [](QPainter &p) {
             QPainterPath d;
             d.moveTo(50, 6);
             d.cubicTo(70, 36, 82, 52, 82, 64);
             d.arcTo(QRectF(18, 32, 64, 64), 0, -180);
             d.cubicTo(18, 52, 30, 36, 50, 6);
             p.fillPath(d, Qt::white);
         }},
        {QStringLiteral("leaf"),
         [](QPainter &p) {
             QPainterPath l;
             l.moveTo(14, 86);
             l.cubicTo(10, 30, 50, 12, 90, 10);
             l.cubicTo(88, 60, 60, 90, 14, 86);
             p.fillPath(l, Qt::white);
         }},
        {QStringLiteral("cart"),
         [](QPainter &p) {
             p.setBrush(Qt::NoBrush);
             QPainterPath c;
             c.moveTo(6, 16);
             c.lineTo(20, 16);
             c.lineTo(30, 64);
             c.lineTo(80, 64);
             c.lineTo(90, 30);
             c.lineTo(24, 30);
             p.drawPath(c);
             p.setBrush(Qt::white);
             p.drawEllipse(QPointF(36, 82), 7, 7);
             p.drawEllipse(QPointF(74, 82), 7, 7);
         }},
        {QStringLiteral("car"),
         [](QPainter &p) {
             QPainterPath c;
             c.addRoundedRect(QRectF(6, 44, 88, 30), 8, 8);
             QPainterPath roof;
             roof.moveTo(22, 46);
             roof.lineTo(32, 22);
             roof.lineTo(68, 22);
             roof.lineTo(78, 46);
             roof.closeSubpath();
             c = c.united(roof);
             QPainterPath wheels;
             wheels.addEllipse(QPointF(26, 76), 12, 12);
             wheels.addEllipse(QPointF(74, 76), 12, 12);
             p.fillPath(c.subtracted(wheels), Qt::white);
             p.drawEllipse(QPointF(26, 76), 8, 8);
             p.drawEllipse(QPointF(74, 76), 8, 8);
         }},
        {QStringLiteral("book"),
         [](QPainter &p) {
             QPainterPath left;
             left.moveTo(48, 20);
             left.cubicTo(36, 12, 18, 12, 6, 18);
             left.lineTo(6, 84);
             left.cubicTo(18, 78, 36, 78, 48, 86);
             left.closeSubpath();
             QTransform mirror(-1, 0, 0, 1, 100, 0);
             p.fillPath(left.united(mirror.map(left)), Qt::white);
         }},
        {QStringLiteral("bell"),
         [](QPainter &p) {
             QPainterPath b;
             b.moveTo(14, 76);
             b.lineTo(86, 76);
             b.lineTo(78, 64);
             b.lineTo(78, 44);
             b.cubicTo(78, 24, 64, 14, 50, 14);
             b.cubicTo(36, 14, 22, 24, 22, 44);
             b.lineTo(22, 64);
             b.closeSubpath();
             b.setFillRule(Qt::WindingFill);
             b.addEllipse(QPointF(50, 84), 9, 9);
             p.fillPath(b, Qt::white);
         }},
        {QStringLiteral("gear"),
         [](QPainter &p) {
             QPainterPath g = star({50, 50}, 44, 34, 8);
             g = g.united([] {
                 QPainterPath c;
                 c.addEllipse(QPointF(50, 50), 36, 36);
                 return c;
             }());
             QPainterPath hole;
             hole.addEllipse(QPointF(50, 50), 14, 14);
             p.fillPath(g.subtracted(hole), Qt::white);
         }},
        {QStringLiteral("play"),
         [](QPainter &p) {
             QPainterPath t;
             t.moveTo(26, 12);
             t.lineTo(86, 50);
             t.lineTo(26, 88);
             t.closeSubpath();
             p.fillPath(t, Qt::white);
         }},
        {QStringLiteral("doc"),
         [](QPainter &p) {
             QPainterPath d;
             d.moveTo(18, 6);
             d.lineTo(62, 6);
             d.lineTo(84, 28);
             d.lineTo(84, 94);
             d.lineTo(18, 94);
             d.closeSubpath();
             QPainterPath lines;
             for (int y : {44, 58, 72})
                 lines.addRect(QRectF(30, y, 42, 6));
             p.fillPath(d.subtracted(lines), Qt::white);
         }},
        {QStringLiteral("photo"),
         [](QPainter &p) {
             QPainterPath frame;
             frame.addRoundedRect(QRectF(6, 16, 88, 68), 8, 8);
             QPainterPath inner;
             inner.addRect(QRectF(14, 24, 72, 52));
             p.fillPath(frame.subtracted(inner), Qt::white);
             QPainterPath hills;
             hills.moveTo(14, 76);
             hills.lineTo(40, 46);
             hills.lineTo(58, 64);
             hills.lineTo(68, 54);
             hills.lineTo(86, 76);
             hills.closeSubpath();
             p.fillPath(hills, Qt::white);
             p.drawEllipse(QPointF(70, 36), 6, 6);
         }},
        {QStringLiteral("checkmark"),
         [](QPainter &p) {
             QPen pen = p.pen();
             pen.setWidthF(14);
             p.setPen(pen);
             p.setBrush(Qt::NoBrush);
             p.drawPolyline(QPolygonF({QPointF(14, 52), QPointF(40, 78), QPointF(88, 24)}));
         }},
        {QStringLiteral("list"),
         [](QPainter &p) {
             for (int y : {22, 48, 74}) {
                 p.drawEllipse(QPointF(16, y + 4), 7, 7);
                 p.fillRect(QRectF(32, y, 60, 9), Qt::white);
             }
         }},
        {QStringLiteral("pin"),
         [](QPainter &p) {
             QPainterPath m;
             m.moveTo(50, 94);
             m.cubicTo(30, 66, 16, 52, 16, 38);
             m.arcTo(QRectF(16, 4, 68, 68), 180, -180);
             m.cubicTo(84, 52, 70, 66, 50, 94);
             QPainterPath hole;
             hole.addEllipse(QPointF(50, 38), 13, 13);
             p.fillPath(m.subtracted(hole), Qt::white);
         }},
        {QStringLiteral("phone"),
         [](QPainter &p) {
             QPainterPath ph;
             ph.moveTo(22, 8);
             ph.lineTo(38, 8);
             ph.lineTo(44, 30);
             ph.lineTo(32, 40);
             ph.cubicTo(40, 56, 46, 62, 60, 68);
             ph.lineTo(70, 56);
             ph.lineTo(92, 62);
             ph.lineTo(92, 78);
             ph.cubicTo(90, 88, 80, 92, 70, 90);
             ph.cubicTo(40, 84, 16, 60, 10, 30);
             ph.cubicTo(8, 20, 12, 10, 22, 8);
             p.fillPath(ph, Qt::white);
         }},
        {QStringLiteral("bubble"),
         [](QPainter &p) {
             QPainterPath b;
             b.addEllipse(QRectF(6, 12, 88, 66));
             QPainterPath tail;
             tail.moveTo(20, 62);
             tail.lineTo(12, 92);
             tail.lineTo(42, 74);
             tail.closeSubpath();
             p.fillPath(b.united(tail), Qt::white);
         }},
        {QStringLiteral("calendar"),
         [](QPainter &p) {
             QPainterPath c;
             c.addRoundedRect(QRectF(10, 16, 80, 76), 8, 8);
             QPainterPath cells;
             for (int row = 0; row < 3; ++row)
                 for (int col = 0; col < 4; ++col)
                     cells.addRect(QRectF(18 + col * 17, 40 + row * 16, 11, 10));
             p.fillPath(c.subtracted(cells), Qt::white);
             p.fillRect(QRectF(26, 6, 8, 16), Qt::white);
             p.fillRect(QRectF(66, 6, 8, 16), Qt::white);
         }},
        {QStringLiteral("wand"),
         [](QPainter &p) {
             QPen pen = p.pen();
             pen.setWidthF(12);
             p.setPen(pen);
             p.drawLine(QPointF(14, 86), QPointF(62, 38));
             p.fillPath(star({72, 28}, 22, 8, 4), Qt::white);
         }},
        {QStringLiteral("dollar"),
         [](QPainter &p) {
             p.setBrush(Qt::NoBrush);
             QPainterPath s;
             s.moveTo(74, 28);
             s.cubicTo(64, 14, 26, 14, 26, 34);
             s.cubicTo(26, 52, 74, 46, 74, 66);
             s.cubicTo(74, 86, 36, 86, 26, 72);
             p.drawPath(s);
             p.drawLine(QPointF(50, 6), QPointF(50, 94));
         }},
        {QStringLiteral("flame"),
         [](QPainter &p) {
             QPainterPath f;
             f.moveTo(50, 4);
             f.cubicTo(60, 30, 84, 42, 82, 66);
             f.cubicTo(80, 86, 64, 96, 50, 96);
             f.cubicTo(32, 96, 18, 84, 18, 66);
             f.cubicTo(18, 48, 36, 40, 34, 22);
             f.cubicTo(44, 30, 46, 40, 46, 46);
             f.cubicTo(52, 36, 54, 18, 50, 4);
             p.fillPath(f, Qt::white);
         }},
        {QStringLiteral("cup"),
         [](QPainter &p) {
             QPainterPath c;
             c.moveTo(12, 30);
             c.lineTo(72, 30);
             c.lineTo(66, 84);
             c.lineTo(18, 84);
             c.closeSubpath();
             p.fillPath(c, Qt::white);
             p.setBrush(Qt::NoBrush);
             p.drawEllipse(QRectF(64, 38, 24, 24));
             p.drawLine(QPointF(32, 8), QPointF(32, 20));
             p.drawLine(QPointF(50, 8), QPointF(50, 20));
         }},
        {QStringLiteral("bed"),
         [](QPainter &p) {
             p.fillRect(QRectF(6, 50, 88, 22), Qt::white);
             p.fillRect(QRectF(6, 20, 10, 66), Qt::white);
             p.fillRect(QRectF(84, 60, 10, 26), Qt::white);
             p.drawEllipse(QPointF(32, 38), 10, 10);
             QPainterPath pillow;
             pillow.addRoundedRect(QRectF(46, 30, 48, 18), 8, 8);
             p.fillPath(pillow, Qt::white);
         }},
        {QStringLiteral("lock"),
         [](QPainter &p) {
             QPainterPath body;
             body.addRoundedRect(QRectF(16, 44, 68, 50), 8, 8);
             QPainterPath hole;
             hole.addEllipse(QPointF(50, 66), 7, 7);
             p.fillPath(body.subtracted(hole), Qt::white);
             p.setBrush(Qt::NoBrush);
             QPainterPath shackle;
             shackle.moveTo(30, 46);
             shackle.lineTo(30, 30);
             shackle.arcTo(QRectF(30, 10, 40, 40), 180, -180);
             shackle.lineTo(70, 46);
             p.drawPath(shackle);
         }},
        {QStringLiteral("mic"),
         [](QPainter &p) {
             QPainterPath m;
             m.addRoundedRect(QRectF(36, 6, 28, 54), 14, 14);
             p.fillPath(m, Qt::white);
             p.setBrush(Qt::NoBrush);
             p.drawArc(QRectF(22, 24, 56, 50), 180 * 16, 180 * 16);
             p.drawLine(QPointF(50, 74), QPointF(50, 92));
         }},
        {QStringLiteral("airplane"),
         [](QPainter &p) {
             QPainterPath a;
             a.moveTo(50, 4);
             a.cubicTo(56, 4, 56, 14, 56, 34);
             a.lineTo(92, 56);
             a.lineTo(92, 64);
             a.lineTo(56, 52);
             a.lineTo(56, 78);
             a.lineTo(68, 88);
             a.lineTo(68, 94);
             a.lineTo(50, 88);
             a.lineTo(32, 94);
             a.lineTo(32, 88);
             a.lineTo(44, 78);
             a.lineTo(44, 52);
             a.lineTo(8, 64);
             a.lineTo(8, 56);
             a.lineTo(44, 34);
             a.cubicTo(44, 14, 44, 4, 50, 4);
             p.fillPath(a, Qt::white);
         }},
        {QStringLiteral("dumbbell"),
         [](QPainter &p) {
             p.fillRect(QRectF(8, 30, 12, 40), Qt::white);
             p.fillRect(QRectF(22, 22, 12, 56), Qt::white);
             p.fillRect(QRectF(34, 45, 32, 10), Qt::white);
             p.fillRect(QRectF(66, 22, 12, 56), Qt::white);
             p.fillRect(QRectF(80, 30, 12, 40), Qt::white);
         }},
        {QStringLiteral("timer"),
         [](QPainter &p) {
             p.setBrush(Qt::NoBrush);
             p.drawEllipse(QRectF(14, 20, 72, 72));
             p.drawLine(QPointF(50, 56), QPointF(66, 40));
             p.fillRect(QRectF(40, 4, 20, 8), Qt::white);
         }},
        {QStringLiteral("text"),
         [](QPainter &p) {
             p.fillRect(QRectF(14, 12, 72, 14), Qt::white);
             p.fillRect(QRectF(43, 12, 14, 76), Qt::white);
         }},
        {QStringLiteral("battery"),
         [](QPainter &p) {
             QPainterPath b;
             b.addRoundedRect(QRectF(6, 28, 80, 44), 8, 8);
             QPainterPath inner;
             inner.addRect(QRectF(14, 36, 64, 28));
             p.fillPath(b.subtracted(inner), Qt::white);
             p.fillRect(QRectF(18, 40, 36, 20), Qt::white);
             p.fillRect(QRectF(88, 42, 6, 16), Qt::white);
         }},
        {QStringLiteral("person"),
         [](QPainter &p) {
             p.drawEllipse(QPointF(50, 30), 18, 18);
             QPainterPath body;
             body.moveTo(14, 92);
             body.cubicTo(14, 62, 30, 54, 50, 54);
             body.cubicTo(70, 54, 86, 62, 86, 92);
             body.closeSubpath();
             p.fillPath(body, Qt::white);
         }},
        {QStringLiteral("wifi"),
         [](QPainter &p) {
             p.setBrush(Qt::NoBrush);
             for (int r : {20, 36, 52})
                 p.drawArc(QRectF(50 - r, 80 - r, 2 * r, 2 * r), 45 * 16, 90 * 16);
             p.setBrush(Qt::white);
             p.drawEllipse(QPointF(50, 80), 7, 7);
         }},
    };
    return table;
}
} // namespace

QStringList SimulatedIconRenderer::glyphNames()
{
    QStringList names;
    for (const auto &[name, draw] : glyphs())
        names.append(name);
    return names;
}

bool SimulatedIconRenderer::hasGlyph(const QString &glyph)
{
    return glyphs().count(glyph) > 0;
}

QImage SimulatedIconRenderer::render(const QString &glyph, const QColor &top, const QColor &bottom,
                                     int size)
{
    size = qBound(16, size, 1024);
    QImage image(size, size, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    QPainter p(&image);
    p.setRenderHint(QPainter::Antialiasing);
    QLinearGradient gradient(0, 0, 0, size);
    gradient.setColorAt(0, top);
    gradient.setColorAt(1, bottom);
    QPainterPath tile;
    tile.addRoundedRect(QRectF(0, 0, size, size), size * 0.22, size * 0.22);
    p.fillPath(tile, gradient);

    // The glyph takes the middle 56% of the tile, as in the Shortcuts app.
    const double box = size * 0.56;
    p.translate((size - box) / 2, (size - box) / 2);
    p.scale(box / 100.0, box / 100.0);
    QPen pen(Qt::white);
    pen.setWidthF(8);
    pen.setCapStyle(Qt::RoundCap);
    pen.setJoinStyle(Qt::RoundJoin);
    p.setPen(pen);
    p.setBrush(Qt::white);
    const auto it = glyphs().find(glyph);
    (it != glyphs().end() ? it->second : glyphs().at(QStringLiteral("sparkles")))(p);
    p.end();
    return image;
}

QByteArray SimulatedIconRenderer::renderPNG(const QString &glyph, const QColor &top,
                                            const QColor &bottom, int size)
{
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    render(glyph, top, bottom, size).save(&buffer, "PNG");
    return bytes;
}
