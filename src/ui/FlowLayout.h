#pragma once

#include <QLayout>
#include <QList>

// Places items in rows, left to right, wrapping when the next one does not fit. The same
// spacing separates items in a row and rows from each other. An item wider than the bounds
// sits alone at the start of its row, narrowed to the bounds as far as its minimum allows.
class FlowLayout : public QLayout {
    Q_OBJECT
public:
    explicit FlowLayout(QWidget *parent = nullptr, int spacing = 6);
    ~FlowLayout() override;

    void setFlowSpacing(int spacing);
    int flowSpacing() const { return m_spacing; }

    void addItem(QLayoutItem *item) override;
    int count() const override { return int(m_items.size()); }
    QLayoutItem *itemAt(int index) const override { return m_items.value(index); }
    QLayoutItem *takeAt(int index) override;
    Qt::Orientations expandingDirections() const override { return {}; }
    bool hasHeightForWidth() const override { return true; }
    int heightForWidth(int width) const override;
    QSize sizeHint() const override;
    QSize minimumSize() const override;
    void setGeometry(const QRect &rect) override;

    // The placement walk inside (minX, minY, maxX); returns the total height. With apply, the
    // items get their geometry.
    int place(const QRect &bounds, bool apply) const;

private:
    QList<QLayoutItem *> m_items;
    int m_spacing;
};
