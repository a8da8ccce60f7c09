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

ShortcutPainter::ViewState ShortcutItemDelegate::viewState(const QStyleOptionViewItem &option,
                                                           const QModelIndex &index) const
{
    ShortcutPainter::ViewState state;
    state.selected = option.state.testFlag(QStyle::State_Selected);
    state.hovering = option.state.testFlag(QStyle::State_MouseOver);
    state.running = index.data(ShortcutRoles::isRunning).toBool();
    state.spinnerAngle = m_spinnerAngle;
    return state;
}

void ShortcutItemDelegate::prepare(const QList<QStyleOptionViewItem> &options,
                                   const QModelIndexList &indexes, qreal dpr) const
{
    if (m_mode != Mode::grid)
        return;
    QList<ShortcutPainter::TileRequest> tiles;
    for (qsizetype i = 0; i < indexes.size(); ++i) {
        if (const ShortcutItem *shortcut = item(indexes.at(i)))
            tiles.append({shortcut, indexes.at(i).data(ShortcutRoles::revision).toULongLong(),
                          options.at(i).rect, viewState(options.at(i), indexes.at(i))});
    }
    ShortcutPainter::prepareTiles(tiles, dpr);
}

void ShortcutItemDelegate::paint(QPainter *painter, const QStyleOptionViewItem &option,
                                 const QModelIndex &index) const
{
    const ShortcutItem *shortcut = item(index);
    if (!shortcut)
        return;
    const ShortcutPainter::ViewState state = viewState(option, index);
    const quint64 revision = index.data(ShortcutRoles::revision).toULongLong();
    if (m_mode == Mode::grid)
        ShortcutPainter::drawTileCached(*painter, option.rect, *shortcut, revision, state);
    else
        ShortcutPainter::drawRow(*painter, option.rect, *shortcut, revision, state, option.palette);
}

QSize ShortcutItemDelegate::sizeHint(const QStyleOptionViewItem &option, const QModelIndex &) const
{
    if (m_mode == Mode::list)
        return QSize(option.rect.width(), ShortcutPainter::rowHeight);
    return QSize(142, qRound(142 / ShortcutPainter::tileAspectRatio));
}
