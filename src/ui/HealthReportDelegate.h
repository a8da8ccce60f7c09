#pragma once

#include <QStyledItemDelegate>

// Paints the health report's rows: headings with the kind's symbol and number of findings,
// wrapped notes, and entries with the record's icon, its name and what is wrong with it.
class HealthReportDelegate : public QStyledItemDelegate {
    Q_OBJECT
public:
    using QStyledItemDelegate::QStyledItemDelegate;

    void paint(QPainter *painter, const QStyleOptionViewItem &option,
               const QModelIndex &index) const override;
    QSize sizeHint(const QStyleOptionViewItem &option, const QModelIndex &index) const override;
};
