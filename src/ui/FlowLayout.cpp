#include "ui/FlowLayout.h"

#include <QWidget>

FlowLayout::FlowLayout(QWidget *parent, int spacing) : QLayout(parent), m_spacing(spacing)
{
    setContentsMargins(0, 0, 0, 0);
}

FlowLayout::~FlowLayout()
{
    while (QLayoutItem *item = takeAt(0))
        delete item;
}

void FlowLayout::setFlowSpacing(int spacing)
{
    m_spacing = spacing;
    invalidate();
}

void FlowLayout::addItem(QLayoutItem *item)
{
    m_items.append(item);
}

QLayoutItem *FlowLayout::takeAt(int index)
{
    if (index < 0 || index >= m_items.size())
        return nullptr;
    return m_items.takeAt(index);
}

int FlowLayout::heightForWidth(int width) const
{
    const QMargins m = contentsMargins();
    return place(QRect(0, 0, width, 0), false) + m.top() + m.bottom();
}

QSize FlowLayout::sizeHint() const
{
    // Without a proposed width the walk runs against 400.
    const QMargins m = contentsMargins();
    int widest = 0;
    int x = 0;
    for (QLayoutItem *item : m_items) {
        if (item->isEmpty())
            continue;
        const QSize size = item->sizeHint();
        if (x + size.width() > 400 && x > 0)
            x = 0;
        x += size.width();
        widest = std::max(widest, x);
        x += m_spacing;
    }
    return QSize(widest + m.left() + m.right(), heightForWidth(400));
}

QSize FlowLayout::minimumSize() const
{
    // An item wider than the flow is narrowed to it (down to its own minimum), so the flow
    // never holds its column wider than the narrowest item allows.
    QSize size;
    for (QLayoutItem *item : m_items)
        size = size.expandedTo(item->minimumSize());
    const QMargins m = contentsMargins();
    return size + QSize(m.left() + m.right(), m.top() + m.bottom());
}

void FlowLayout::setGeometry(const QRect &rect)
{
    QLayout::setGeometry(rect);
    place(rect.marginsRemoved(contentsMargins()), true);
}

int FlowLayout::place(const QRect &bounds, bool apply) const
{
    const int minX = bounds.x();
    const int maxX = bounds.x() + bounds.width();
    int x = minX;
    int y = bounds.y();
    int rowHeight = 0;
    for (QLayoutItem *item : m_items) {
        if (item->isEmpty())
            continue;
        QSize size = item->sizeHint();
        size.setWidth(std::min(size.width(), std::max(maxX - minX, item->minimumSize().width())));
        if (x + size.width() > maxX && x > minX) {
            x = minX;
            y += rowHeight + m_spacing;
            rowHeight = 0;
        }
        if (apply)
            item->setGeometry(QRect(QPoint(x, y), size));
        x += size.width() + m_spacing;
        rowHeight = std::max(rowHeight, size.height());
    }
    return y + rowHeight - bounds.y();
}
