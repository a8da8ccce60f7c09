#pragma once

#include "ui/ShortcutPainter.h"

#include <QStyledItemDelegate>

class ShortcutItem;

// Paints a shortcut of ShortcutListModel as a grid tile or a list row, from the model's roles.
class ShortcutItemDelegate : public QStyledItemDelegate {
    Q_OBJECT
public:
    enum class Mode { grid, list };
    explicit ShortcutItemDelegate(QObject *parent = nullptr);

    Mode mode() const { return m_mode; }
    void setMode(Mode mode) { m_mode = mode; }
    // Rotation of running spinners, advanced by the view while something runs.
    void setSpinnerAngle(qreal angle) { m_spinnerAngle = angle; }

    static ShortcutItem *item(const QModelIndex &index);
    // Where the run button of an item drawn in rect sits.
    QRectF runButtonRect(const QRectF &rect) const;

    void paint(QPainter *painter, const QStyleOptionViewItem &option,
               const QModelIndex &index) const override;
    QSize sizeHint(const QStyleOptionViewItem &option, const QModelIndex &index) const override;
    // Readies what painting these items will need, all at once (the icons of new tiles).
    void prepare(const QList<QStyleOptionViewItem> &options, const QModelIndexList &indexes,
                 qreal dpr) const;

private:
    ShortcutPainter::ViewState viewState(const QStyleOptionViewItem &option,
                                         const QModelIndex &index) const;

    Mode m_mode = Mode::grid;
    qreal m_spinnerAngle = 0;
};
