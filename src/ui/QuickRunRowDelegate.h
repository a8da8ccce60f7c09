#pragma once

#include <QStyledItemDelegate>

class ShortcutItem;

// Paints a Quick Run result from ShortcutListModel's roles: the shortcut's icon, its name and,
// beneath, its folder path and tags, each cut short with an ellipsis at the row's end.
class QuickRunRowDelegate : public QStyledItemDelegate {
    Q_OBJECT
public:
    static constexpr int rowHeight = 40;

    using QStyledItemDelegate::QStyledItemDelegate;

    // "Work › Clients · Errands, Home"; empty for an unfiled, untagged shortcut.
    static QString caption(const ShortcutItem &item);

    void paint(QPainter *painter, const QStyleOptionViewItem &option,
               const QModelIndex &index) const override;
    QSize sizeHint(const QStyleOptionViewItem &option, const QModelIndex &index) const override;
};
