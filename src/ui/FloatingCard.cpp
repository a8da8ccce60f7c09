#include "ui/FloatingCard.h"

#include <QPainter>
#include <QPalette>

void FloatingCard::paint(QPainter &painter, const QRect &widgetRect, const QPalette &palette,
                         float materialOpacity)
{
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    const QRectF card =
        QRectF(widgetRect).adjusted(shadowMargin, shadowMargin, -shadowMargin, -shadowMargin);
    // A soft black shadow at 15 %, 4 down.
    painter.setPen(Qt::NoPen);
    for (int i = 0; i < shadowMargin; ++i) {
        painter.setBrush(QColor(0, 0, 0, int(38.0 * (shadowMargin - i) / shadowMargin / 3)));
        const QRectF ring = card.translated(0, 4).adjusted(-i, -i, i, i);
        painter.drawRoundedRect(ring, radius + i, radius + i);
    }
    QColor material = palette.color(QPalette::Window);
    material.setAlphaF(materialOpacity);
    painter.setBrush(material);
    painter.setPen(QPen(QColor(0, 0, 0, 20), 0.5));
    painter.drawRoundedRect(card, radius, radius);
    painter.restore();
}
