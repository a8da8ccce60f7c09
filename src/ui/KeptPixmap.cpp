#include "ui/KeptPixmap.h"

#include <QPainter>
#include <QPixmapCache>

QPixmap keptPixmap(const QString &name, const QSizeF &size, qreal dpr,
                   const std::function<void(QPainter &)> &draw)
{
    const QSize pixels = (size * dpr).toSize();
    const QString key = QStringLiteral("%1:%2:%3:%4")
                            .arg(name)
                            .arg(pixels.width())
                            .arg(pixels.height())
                            .arg(qRound(dpr * 100));
    QPixmap pixmap;
    if (QPixmapCache::find(key, &pixmap))
        return pixmap;
    pixmap = QPixmap(pixels);
    pixmap.setDevicePixelRatio(dpr);
    pixmap.fill(Qt::transparent);
    QPainter painter(&pixmap);
    painter.setRenderHint(QPainter::Antialiasing);
    draw(painter);
    painter.end();
    QPixmapCache::insert(key, pixmap);
    return pixmap;
}
