#include "ui/ShortcutItemDelegate.h"

#include "ui/ShortcutPainter.h"
#include "ui/ShortcutRoles.h"

#include <QPainter>

ShortcutItemDelegate::ShortcutItemDelegate(QObject *parent) : QStyledItemDelegate(parent) {}

ShortcutItem *ShortcutItemDelegate::item(const QModelIndex &index)
{
    return static_cast<ShortcutItem *>(index.data(ShortcutRoles::item).value<void *>());
}

QRectF ShortcutItemDelegate::runButtonRect(const QRectF &rect) const
{
    return m_mode == Mode::grid ? ShortcutPainter::tileRunButtonRect(rect)
                                : ShortcutPainter::rowRunButtonRect(rect);
}

void ShortcutItemDelegate::paint(QPainter *painter, const QStyleOptionViewItem &option,
                                 const QModelIndex &index) const
{
    const ShortcutItem *shortcut = item(index);
    if (!shortcut)
        return;
    ShortcutPainter::ViewState state;
    state.selected = option.state.testFlag(QStyle::State_Selected);
    state.hovering = option.state.testFlag(QStyle::State_MouseOver);
    state.running = index.data(ShortcutRoles::isRunning).toBool();
    state.spinnerAngle = m_spinnerAngle;
    const quint64 revision = index.data(ShortcutRoles::revision).toULongLong();
    if (m_mode == Mode::grid)
        ShortcutPainter::drawTile(*painter, option.rect, *shortcut, revision, state);
    else
        ShortcutPainter::drawRow(*painter, option.rect, *shortcut, revision, state, option.palette);
}

QSize ShortcutItemDelegate::sizeHint(const QStyleOptionViewItem &option, const QModelIndex &) const
{
    if (m_mode == Mode::list)
        return QSize(option.rect.width(), ShortcutPainter::rowHeight);
    return QSize(142, qRound(142 / ShortcutPainter::tileAspectRatio));
}
