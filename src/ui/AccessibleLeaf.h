#pragma once

#include <QAccessible>
#include <QPointer>
#include <QWidget>
#include <QWindow>

// One painted part of a widget (a tile, a swatch) as its own accessible element: no children,
// no object of its own, and a press action. Subclasses say what it is and where.
class AccessibleLeaf : public QAccessibleInterface, public QAccessibleActionInterface {
public:
    explicit AccessibleLeaf(QWidget *owner) : m_owner(owner) {}

    QObject *object() const override { return nullptr; }
    QWindow *window() const override
    {
        return m_owner ? m_owner->window()->windowHandle() : nullptr;
    }
    QAccessibleInterface *parent() const override
    {
        return m_owner ? QAccessible::queryAccessibleInterface(m_owner.data()) : nullptr;
    }
    QAccessibleInterface *child(int) const override { return nullptr; }
    int childCount() const override { return 0; }
    int indexOfChild(const QAccessibleInterface *) const override { return -1; }
    QAccessibleInterface *childAt(int, int) const override { return nullptr; }
    void setText(QAccessible::Text, const QString &) override {}
    void *interface_cast(QAccessible::InterfaceType type) override
    {
        return type == QAccessible::ActionInterface
                   ? static_cast<QAccessibleActionInterface *>(this)
                   : nullptr;
    }
    QStringList keyBindingsForAction(const QString &) const override { return {}; }

protected:
    // The rectangle local to the owner, on the screen.
    QRect onScreen(const QWidget *surface, const QRect &local) const
    {
        return QRect(surface->mapToGlobal(local.topLeft()), local.size());
    }

    QPointer<QWidget> m_owner;
};
