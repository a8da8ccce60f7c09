#include "ui/AppIcon.h"

#include <QGuiApplication>
#include <QIcon>
#include <QLinearGradient>
#include <QPainter>
#include <QPainterPath>

QImage AppIcon::render(int size)
{
    QImage image(size, size, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    QPainter p(&image);
    p.setRenderHint(QPainter::Antialiasing);
    p.scale(size / 1024.0, size / 1024.0);

    // Background: the same rounded square proportion the program uses for app icons.
    const QRectF tile(40, 40, 944, 944);
    QLinearGradient bg(tile.topLeft(), tile.bottomLeft());
    bg.setColorAt(0, QColor(0x5E, 0x5C, 0xE6));
    bg.setColorAt(1, QColor(0xBF, 0x5A, 0xF2));
    p.setPen(Qt::NoPen);
    p.setBrush(bg);
    p.drawRoundedRect(tile, 0.2237 * 944, 0.2237 * 944);

    // Thimble body: a dome narrowing upwards.
    QPainterPath body;
    body.moveTo(300, 760);
    body.cubicTo(300, 430, 370, 250, 512, 250);
    body.cubicTo(654, 250, 724, 430, 724, 760);
    body.closeSubpath();
    p.setBrush(QColor(255, 255, 255, 245));
    p.drawPath(body);

    // The dimples, in the background's colour, fading towards the rim.
    for (int row = 0; row < 6; ++row) {
        const double y = 340 + row * 68;
        const double halfWidth = 70 + row * 30;
        const int count = 2 + row;
        for (int i = 0; i < count; ++i) {
            const double x =
                512 - halfWidth + (count == 1 ? halfWidth : i * 2 * halfWidth / (count - 1));
            QColor dot = QColor(0x8E, 0x5B, 0xEC);
            dot.setAlphaF(0.55 - row * 0.05);
            p.setBrush(dot);
            p.drawEllipse(QPointF(x, y), 17, 17);
        }
    }

    // Rim.
    p.setBrush(Qt::white);
    p.drawRoundedRect(QRectF(260, 740, 504, 86), 43, 43);
    p.setBrush(QColor(0x5E, 0x5C, 0xE6, 90));
    p.drawRoundedRect(QRectF(300, 772, 424, 20), 10, 10);
    p.end();
    return image;
}

QIcon AppIcon::icon()
{
    QIcon icon;
    for (int size : {16, 24, 32, 48, 64, 128, 256})
        icon.addPixmap(QPixmap::fromImage(render(size)));
    return icon;
}

void AppIcon::applyToApplication()
{
    // The desktop entry's name lets Wayland compositors and docks match windows to it.
    if (QGuiApplication::desktopFileName().isEmpty())
        QGuiApplication::setDesktopFileName(QString::fromLatin1(desktopFileName));
    if (QGuiApplication::windowIcon().isNull())
        QGuiApplication::setWindowIcon(icon());
}
