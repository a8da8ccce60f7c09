#include "ui/SymbolIcon.h"

#include "ui/ShortcutPainter.h"

#include <QApplication>
#include <QPainter>
#include <QPalette>

QPixmap SymbolIcon::pixmap(const QString &symbolName, const QColor &color, int size, qreal dpr)
{
    QPixmap pixmap(QSize(size, size) * dpr);
    pixmap.setDevicePixelRatio(dpr);
    pixmap.fill(Qt::transparent);
    QPainter painter(&pixmap);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setRenderHint(QPainter::TextAntialiasing);
    ShortcutPainter::drawSymbol(painter, QRectF(0, 0, size, size), symbolName, color);
    return pixmap;
}

QIcon SymbolIcon::icon(const QString &symbolName, const QColor &color)
{
    QIcon icon;
    for (int size : {16, 24, 32, 48, 64})
        icon.addPixmap(pixmap(symbolName, color, size));
    QColor disabled = color;
    disabled.setAlphaF(0.35f);
    for (int size : {16, 24, 32})
        icon.addPixmap(pixmap(symbolName, disabled, size), QIcon::Disabled);
    return icon;
}

QIcon SymbolIcon::icon(const QString &symbolName)
{
    return icon(symbolName, QApplication::palette().color(QPalette::ButtonText));
}
