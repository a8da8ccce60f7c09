#include "ui/PickerGrid.h"

#include "ui/PickerAccessible.h"
#include "ui/ShortcutPainter.h"

#include <QHelpEvent>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QPainter>
#include <QToolTip>

PickerGrid::PickerGrid(const Metrics &metrics, const Ring &ring, const QString &accessibleName,
                       QWidget *parent)
    : QWidget(parent), m_metrics(metrics), m_ring(ring)
{
    setFocusPolicy(Qt::StrongFocus);
    QSizePolicy policy(QSizePolicy::Preferred, QSizePolicy::Preferred);
    policy.setHeightForWidth(true);
    setSizePolicy(policy);
    setAccessibleName(accessibleName);
    PickerAccessible::install();
}

int PickerGrid::columnCount(int width) const
{
    return std::max(1,
                    (width + m_metrics.spacing) / (m_metrics.minColumnWidth + m_metrics.spacing));
}

QRect PickerGrid::cellRect(int index) const
{
    if (index < 0 || index >= cellCount())
        return {};
    const int columns = columnCount(width());
    const qreal columnWidth = qreal(width() - (columns - 1) * m_metrics.spacing) / columns;
    const int size = m_metrics.cellSize;
    const int x =
        int((index % columns) * (columnWidth + m_metrics.spacing) + (columnWidth - size) / 2);
    return {x, (index / columns) * (size + m_metrics.spacing), size, size};
}

int PickerGrid::indexAt(const QPoint &pos) const
{
    for (int i = 0; i < cellCount(); ++i)
        if (cellRect(i).contains(pos))
            return i;
    return -1;
}

int PickerGrid::heightForWidth(int width) const
{
    const int columns = columnCount(width);
    const int rows = (cellCount() + columns - 1) / columns;
    return rows * m_metrics.cellSize + (rows - 1) * m_metrics.spacing;
}

QSize PickerGrid::sizeHint() const
{
    const int columns = m_metrics.preferredColumns > 0 ? m_metrics.preferredColumns : cellCount();
    const int width = columns * m_metrics.minColumnWidth + (columns - 1) * m_metrics.spacing;
    return {width, heightForWidth(width)};
}

QSize PickerGrid::minimumSizeHint() const
{
    return {m_metrics.minColumnWidth, m_metrics.cellSize};
}

void PickerGrid::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const int chosen = chosenIndex();
    for (int i = 0; i < cellCount(); ++i) {
        const QRectF cell = cellRect(i);
        paintCell(painter, i, cell, i == chosen);
        if (!hasFocus() || i != std::max(chosen, 0))
            continue;
        painter.save();
        painter.setBrush(Qt::NoBrush);
        painter.setPen(QPen(ShortcutPainter::accentColor(), m_ring.width));
        const qreal o = m_ring.outset;
        const QRectF ring = cell.adjusted(-o, -o, o, o);
        if (m_ring.radius < 0)
            painter.drawEllipse(ring);
        else
            painter.drawRoundedRect(ring, m_ring.radius, m_ring.radius);
        painter.restore();
    }
}

void PickerGrid::mousePressEvent(QMouseEvent *event)
{
    const int index = indexAt(event->position().toPoint());
    if (index >= 0)
        choose(index);
}

void PickerGrid::keyPressEvent(QKeyEvent *event)
{
    const int columns = columnCount(width());
    int step = 0;
    switch (event->key()) {
    case Qt::Key_Left:
        step = -1;
        break;
    case Qt::Key_Right:
        step = 1;
        break;
    case Qt::Key_Up:
        step = m_metrics.rowKeys ? -columns : 0;
        break;
    case Qt::Key_Down:
        step = m_metrics.rowKeys ? columns : 0;
        break;
    default:
        break;
    }
    if (step == 0) {
        QWidget::keyPressEvent(event);
        return;
    }
    // With nothing chosen every arrow starts at the first cell; at an edge the choice stays.
    const int index = chosenIndex();
    const int next = index + step;
    choose(index < 0 ? 0 : (next >= 0 && next < cellCount() ? next : index));
}

bool PickerGrid::event(QEvent *event)
{
    if (event->type() == QEvent::ToolTip) {
        auto *help = static_cast<QHelpEvent *>(event);
        const int index = indexAt(help->pos());
        if (index >= 0)
            QToolTip::showText(help->globalPos(), cellToolTip(index), this, cellRect(index));
        else
            QToolTip::hideText();
        return true;
    }
    return QWidget::event(event);
}
