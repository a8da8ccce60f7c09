#pragma once

#include <QImage>

// The raster every icon operation reads and writes: premultiplied RGBA, bytes in memory order.
inline QImage premultipliedRgba(const QImage &image)
{
    return image.format() == QImage::Format_RGBA8888_Premultiplied
               ? image
               : image.convertToFormat(QImage::Format_RGBA8888_Premultiplied);
}
