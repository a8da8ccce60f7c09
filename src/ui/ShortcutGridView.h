#pragma once

#include "ui/GridGeometry.h"
#include "ui/ShortcutItemDelegate.h"

#include <QAbstractItemView>
#include <QElapsedTimer>
#include <QPersistentModelIndex>
#include <QSet>
#include <QTimer>
#include <functional>

class ShortcutItem;
class ShortcutListModel;

// The collection's grid of tiles or list of rows, laid out by GridGeometry. A single click selects
// at once; a double-click (which runs) puts back the selection from before its first click.
class ShortcutGridView : public QAbstractItemView {
    Q_OBJECT
public:
    explicit ShortcutGridView(QWidget *parent = nullptr);

    void setListModel(ShortcutListModel *model);
    ShortcutListModel *listModel() const { return m_model; }
    ShortcutItemDelegate::Mode mode() const { return m_delegate->mode(); }
    void setMode(ShortcutItemDelegate::Mode mode);

    // Called with each shortcut whose tile or row comes on screen.
    void setOnScreenHandler(std::function<void(ShortcutItem *)> handler);

    // The selected item is drawn as selected; nothing else touches the selection.
    void setSelectedItem(ShortcutItem *item);
    ShortcutItem *selectedItem() const;

    // Where everything goes at the current viewport width.
    GridGeometry gridGeometry() const;
    QRect itemRect(int row) const; // in content coordinates
    QRect runButtonRect(const QModelIndex &index) const;
    QModelIndex hoveredIndex() const { return m_hovered; }
    // The tooltip at a viewport point: "Run " and the name over the run button, else the name.
    QString toolTipAt(const QPoint &point) const;

    // The first row on screen and how far its top is above the viewport's top.
    struct Anchor {
        const ShortcutItem *item = nullptr;
        int offset = 0;
        int scrollValue = 0;
    };
    Anchor anchor() const;
    void restore(const Anchor &anchor);

    QRect visualRect(const QModelIndex &index) const override;
    void scrollTo(const QModelIndex &index, ScrollHint hint = EnsureVisible) override;
    QModelIndex indexAt(const QPoint &point) const override;

signals:
    void itemClicked(ShortcutItem *item);
    void itemDoubleClicked(ShortcutItem *item);
    // The selection a double-click's first click replaced (null: none).
    void selectionRestored(ShortcutItem *item);
    void runRequested(ShortcutItem *item);
    void contextMenuRequested(ShortcutItem *item, const QPoint &globalPos);

protected:
    QModelIndex moveCursor(CursorAction cursorAction, Qt::KeyboardModifiers modifiers) override;
    int horizontalOffset() const override { return 0; }
    int verticalOffset() const override;
    bool isIndexHidden(const QModelIndex &) const override { return false; }
    void setSelection(const QRect &rect, QItemSelectionModel::SelectionFlags command) override;
    QRegion visualRegionForSelection(const QItemSelection &selection) const override;
    void updateGeometries() override;

    void paintEvent(QPaintEvent *event) override;
    void resizeEvent(QResizeEvent *event) override;
    void mousePressEvent(QMouseEvent *event) override;
    void mouseMoveEvent(QMouseEvent *event) override;
    void mouseReleaseEvent(QMouseEvent *event) override;
    void mouseDoubleClickEvent(QMouseEvent *event) override;
    bool viewportEvent(QEvent *event) override;
    void leaveEvent(QEvent *event) override;
    void contextMenuEvent(QContextMenuEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;
    void startDrag(Qt::DropActions supportedActions) override;

private:
    void setHovered(const QModelIndex &index);
    void updateSpinner();
    void beginAnchoring();

    ShortcutListModel *m_model = nullptr;
    ShortcutItemDelegate *m_delegate;
    std::function<void(ShortcutItem *)> m_onScreen;
    QSet<const ShortcutItem *> m_shownItems;
    QPersistentModelIndex m_hovered;
    QPersistentModelIndex m_pressed;
    QPoint m_pressPos;
    bool m_pressOnRunButton = false;
    QPersistentModelIndex m_lastClicked;
    QElapsedTimer m_clickedAt;
    ShortcutItem *m_beforeClick = nullptr;
    bool m_quietSelection = false;
    QTimer m_spinTimer;
    QElapsedTimer m_spinClock;
    std::optional<Anchor> m_anchor;
};
