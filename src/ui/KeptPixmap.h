#pragma once

#include <QPixmap>
#include <QSizeF>
#include <QString>
#include <functional>

class QPainter;

// A drawing made once per name, size and pixel ratio and kept in QPixmapCache: filling
// antialiased curves costs far more than copying a pixmap. `draw` paints into a transparent
// pixmap of `size` (logical pixels) with antialiasing on.
QPixmap keptPixmap(const QString &name, const QSizeF &size, qreal dpr,
                   const std::function<void(QPainter &)> &draw);
