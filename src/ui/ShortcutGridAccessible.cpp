#include "ui/ShortcutGridAccessible.h"

#include "model/ShortcutItem.h"
#include "ui/AccessibleLeaf.h"
#include "ui/ShortcutGridView.h"
#include "ui/ShortcutListModel.h"

#include <QAccessibleWidget>
#include <QHash>
#include <QPointer>

namespace {
// One tile or row. It is keyed by its shortcut, so it follows the shortcut when rows move;
// the pointer is only compared, never followed, until the model still lists it.
class TileInterface : public AccessibleLeaf {
public:
    TileInterface(ShortcutGridView *view, const ShortcutItem *item)
        : AccessibleLeaf(view), m_view(view), m_item(item)
    {
    }

    bool isValid() const override { return row() >= 0; }
    QString text(QAccessible::Text t) const override
    {
        const ShortcutItem *item = shown();
        if (!item)
            return {};
        if (t == QAccessible::Name)
            return item->lastRunOutcome() == RunOutcome::failed
                       ? item->name() + QStringLiteral(", last run failed")
                       : item->name();
        if (t == QAccessible::Description)
            return item->isMissing() ? QStringLiteral("Missing from Shortcuts") : QString();
        return {};
    }
    QRect rect() const override
    {
        const int r = row();
        if (r < 0)
            return {};
        return onScreen(m_view->viewport(), m_view->visualRect(m_view->listModel()->index(r)));
    }
    QAccessible::Role role() const override { return QAccessible::Button; }
    QAccessible::State state() const override
    {
        QAccessible::State state;
        const int r = row();
        if (r < 0) {
            state.invalid = true;
            return state;
        }
        state.focusable = true;
        state.selectable = true;
        state.selected = m_view->selectedItem() == m_item;
        state.focused = state.selected && m_view->hasFocus();
        if (!m_view->viewport()->rect().intersects(
                m_view->visualRect(m_view->listModel()->index(r))))
            state.offscreen = true;
        return state;
    }
    QStringList actionNames() const override { return {pressAction(), showMenuAction()}; }
    void doAction(const QString &name) override
    {
        const int r = row();
        if (r < 0)
            return;
        auto *item = const_cast<ShortcutItem *>(m_item);
        if (name == pressAction())
            emit m_view->itemClicked(item);
        else if (name == showMenuAction())
            emit m_view->contextMenuRequested(item, rect().center());
    }

private:
    int row() const
    {
        if (!m_view || !m_view->listModel())
            return -1;
        return m_view->listModel()->rowOf(m_item);
    }
    const ShortcutItem *shown() const
    {
        const int r = row();
        return r < 0 ? nullptr : m_view->listModel()->itemAt(r);
    }

    QPointer<ShortcutGridView> m_view;
    const ShortcutItem *m_item;
};

class GridInterface : public QAccessibleWidget {
public:
    explicit GridInterface(ShortcutGridView *view) : QAccessibleWidget(view, QAccessible::List) {}
    ~GridInterface() override
    {
        for (QAccessible::Id id : std::as_const(m_tiles))
            QAccessible::deleteAccessibleInterface(id);
    }

    int childCount() const override
    {
        return grid()->listModel() ? grid()->listModel()->rowCount() : 0;
    }
    QAccessibleInterface *child(int index) const override
    {
        const ShortcutListModel *model = grid()->listModel();
        const ShortcutItem *item = model ? model->itemAt(index) : nullptr;
        if (!item)
            return nullptr;
        if (const auto found = m_tiles.constFind(item); found != m_tiles.cend())
            return QAccessible::accessibleInterface(*found);
        auto *tile = new TileInterface(grid(), item);
        m_tiles.insert(item, QAccessible::registerAccessibleInterface(tile));
        return tile;
    }
    int indexOfChild(const QAccessibleInterface *child) const override
    {
        for (auto it = m_tiles.cbegin(); it != m_tiles.cend(); ++it)
            if (QAccessible::accessibleInterface(it.value()) == child)
                return grid()->listModel() ? grid()->listModel()->rowOf(it.key()) : -1;
        return -1;
    }
    QAccessibleInterface *childAt(int x, int y) const override
    {
        const QPoint local = grid()->viewport()->mapFromGlobal(QPoint(x, y));
        const QModelIndex index = grid()->indexAt(local);
        return index.isValid() ? child(index.row()) : nullptr;
    }
    QString text(QAccessible::Text t) const override
    {
        if (t == QAccessible::Name && QAccessibleWidget::text(t).isEmpty())
            return QStringLiteral("Shortcuts");
        return QAccessibleWidget::text(t);
    }

private:
    ShortcutGridView *grid() const { return static_cast<ShortcutGridView *>(widget()); }
    mutable QHash<const ShortcutItem *, QAccessible::Id> m_tiles;
};
} // namespace

QAccessibleInterface *ShortcutGridAccessible::factory(const QString &className, QObject *object)
{
    if (className == QLatin1String("ShortcutGridView") && object && object->isWidgetType())
        return new GridInterface(static_cast<ShortcutGridView *>(object));
    return nullptr;
}
