#pragma once

#include <QBuffer>
#include <QImage>
#include <QLinearGradient>
#include <QPainter>
#include <functional>
#include <optional>
#include <utility>

// Image bytes in the given format, as a file or a script reply would carry them.
inline QByteArray encodedImage(const QImage &image, const char *format = "PNG")
{
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    image.save(&buffer, format);
    return bytes;
}

inline QImage solidImage(const QColor &colour, int edge)
{
    QImage image(edge, edge, QImage::Format_ARGB32);
    image.fill(colour);
    return image;
}

inline QImage decodedPng(const std::optional<QByteArray> &png)
{
    QImage image;
    if (png)
        image.loadFromData(*png, "PNG");
    return image.convertToFormat(QImage::Format_ARGB32);
}

inline QLinearGradient verticalGradient(int edge, const QColor &top, const QColor &bottom)
{
    QLinearGradient g(0, 0, 0, edge);
    g.setColorAt(0, top);
    g.setColorAt(1, bottom);
    return g;
}

// A Shortcuts-style icon: a gradient square with whatever the callback paints on top.
inline QImage gradientIcon(int edge, const QColor &top, const QColor &bottom,
                           const std::function<void(QPainter &, int)> &glyph = {})
{
    QImage image(edge, edge, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    QPainter p(&image);
    p.fillRect(image.rect(), verticalGradient(edge, top, bottom));
    if (glyph) {
        p.setRenderHint(QPainter::Antialiasing);
        glyph(p, edge);
    }
    return image;
}

// How many pixels pass the test, and the smallest rectangle that holds them all.
inline std::pair<int, QRect> pixelsWhere(const QImage &image, const std::function<bool(QRgb)> &test)
{
    int count = 0;
    QRect box;
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            if (test(image.pixel(x, y))) {
                ++count;
                box |= QRect(x, y, 1, 1);
            }
        }
    }
    return {count, box};
}
