#pragma once

#include <QStyledItemDelegate>

// Paints the sidebar's rows from SidebarRoles: section headers in small bold secondary type,
// hints as wrapped secondary text, and entries as a tinted symbol, the title and the count at
// the trailing edge in tertiary colour with digits of equal width.
class SidebarDelegate : public QStyledItemDelegate {
    Q_OBJECT
public:
    using QStyledItemDelegate::QStyledItemDelegate;

    void paint(QPainter *painter, const QStyleOptionViewItem &option,
               const QModelIndex &index) const override;
    QSize sizeHint(const QStyleOptionViewItem &option, const QModelIndex &index) const override;

    // Where the chevron of a collapsible header sits inside the row's rect.
    static QRect chevronRect(const QRect &rowRect);
    // Draws digits in cells of one width, right-aligned in rect, so counts line up.
    static void drawMonospacedDigits(QPainter *painter, const QRect &rect, const QString &text);
    // The style's own item background in rect, so that selection and hover look native.
    static void drawItemBackground(QPainter *painter, const QStyleOptionViewItem &option,
                                   const QRect &rect);
};
