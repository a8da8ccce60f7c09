#include "ui/GridGeometry.h"

#include "ui/ShortcutPainter.h"

#include <algorithm>

using Mode = ShortcutItemDelegate::Mode;

int GridGeometry::columnCount() const
{
    if (mode == Mode::list)
        return 1;
    const int available = width - 2 * inset;
    return std::max(1, (available + spacing) / (minimumColumnWidth + spacing));
}

qreal GridGeometry::columnWidth() const
{
    if (mode == Mode::list)
        return width;
    const int columns = columnCount();
    const qreal available = width - 2 * inset - (columns - 1) * spacing;
    return std::clamp(available / columns, qreal(minimumColumnWidth), qreal(maximumColumnWidth));
}

int GridGeometry::linePitch() const
{
    if (mode == Mode::list)
        return ShortcutPainter::rowHeight;
    return qRound(columnWidth() / ShortcutPainter::tileAspectRatio) + spacing;
}

int GridGeometry::top() const
{
    return mode == Mode::list ? listTop : inset;
}

int GridGeometry::firstColumnLeft() const
{
    if (mode == Mode::list)
        return 0;
    // Columns at their widest leave room: keep the grid centred.
    const int columns = columnCount();
    const qreal used = columns * columnWidth() + (columns - 1) * spacing;
    return std::max(inset, qRound((width - used) / 2));
}

QRect GridGeometry::itemRect(int row) const
{
    if (row < 0)
        return {};
    if (mode == Mode::list)
        return QRect(0, top() + row * ShortcutPainter::rowHeight, width,
                     ShortcutPainter::rowHeight);
    const int columns = columnCount();
    const qreal tileWidth = columnWidth();
    const int x = firstColumnLeft() + qRound((row % columns) * (tileWidth + spacing));
    const int y = top() + (row / columns) * linePitch();
    return QRect(x, y, qRound(tileWidth), linePitch() - spacing);
}

int GridGeometry::contentHeight() const
{
    if (count == 0)
        return 0;
    const int lines = (count + columnCount() - 1) / columnCount();
    if (mode == Mode::list)
        return 2 * listTop + lines * ShortcutPainter::rowHeight;
    return 2 * inset + lines * linePitch() - spacing;
}

int GridGeometry::rowAt(const QPoint &content) const
{
    if (count == 0 || content.y() < top())
        return -1;
    const int line = (content.y() - top()) / linePitch();
    int column = 0;
    if (mode == Mode::grid) {
        const qreal pitch = columnWidth() + spacing;
        column = int((content.x() - firstColumnLeft()) / pitch);
        if (content.x() < firstColumnLeft() || column >= columnCount())
            return -1;
    }
    const int row = line * columnCount() + column;
    return row < count && itemRect(row).contains(content) ? row : -1;
}
