#pragma once

#include <QWidget>
#include <functional>

class EmptyStatePanel;
class QStackedWidget;
class ShortcutItem;

// The right column: the selected shortcut's detail view, or an empty state when nothing is
// selected.
class InspectorPane : public QWidget {
    Q_OBJECT
public:
    explicit InspectorPane(QWidget *parent = nullptr);

    // The detail view and how to hand it an item; the pane takes ownership.
    void setDetailView(QWidget *detail, std::function<void(ShortcutItem *)> showItem);
    void setItem(ShortcutItem *item);
    ShortcutItem *item() const { return m_item; }
    bool isShowingEmptyState() const;
    EmptyStatePanel *emptyState() const { return m_empty; }

private:
    QStackedWidget *m_stack;
    EmptyStatePanel *m_empty;
    QWidget *m_detail = nullptr;
    std::function<void(ShortcutItem *)> m_showItem;
    ShortcutItem *m_item = nullptr;
};
