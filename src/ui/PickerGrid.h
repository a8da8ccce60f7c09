#pragma once

#include <QWidget>

class QPainter;

// A grid of painted cells of which at most one is chosen: the colour and symbol pickers. Cells
// flow into as many columns as the width holds; the arrow keys move the choice, a click or a
// screen reader's press makes it, and a focus ring marks the chosen cell (the first when none).
class PickerGrid : public QWidget {
    Q_OBJECT
public:
    struct Metrics {
        int cellSize;
        int minColumnWidth;
        int spacing;
        // Columns at the preferred width; 0 puts every cell in one row.
        int preferredColumns;
        // Up and Down move by a row; without it they are left to the parent.
        bool rowKeys;
    };
    // The focus ring: how far outside the cell, its pen width, and its corner radius (negative:
    // an ellipse).
    struct Ring {
        qreal outset;
        qreal width;
        qreal radius;
    };

    virtual int cellCount() const = 0;
    // The chosen cell, or -1 when the value is none of them.
    virtual int chosenIndex() const = 0;
    virtual void choose(int index) = 0;
    // What a screen reader says for the cell.
    virtual QString cellName(int index) const = 0;

    // Where cell `index` sits at the current width (for tests and the accessibility layer).
    QRect cellRect(int index) const;
    int indexAt(const QPoint &pos) const;

    bool hasHeightForWidth() const override { return true; }
    int heightForWidth(int width) const override;
    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

protected:
    PickerGrid(const Metrics &metrics, const Ring &ring, const QString &accessibleName,
               QWidget *parent);

    virtual QString cellToolTip(int index) const { return cellName(index); }
    // The ring is drawn over the cell afterwards.
    virtual void paintCell(QPainter &painter, int index, const QRectF &cell, bool chosen) = 0;

    void paintEvent(QPaintEvent *event) override;
    void mousePressEvent(QMouseEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;
    bool event(QEvent *event) override;

private:
    int columnCount(int width) const;

    Metrics m_metrics;
    Ring m_ring;
};
