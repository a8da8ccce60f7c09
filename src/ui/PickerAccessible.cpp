#include "ui/PickerAccessible.h"

#include "ui/AccessibleLeaf.h"
#include "ui/PickerGrid.h"

#include <QAccessibleWidget>
#include <QHash>
#include <QPointer>

namespace {
class CellInterface : public AccessibleLeaf {
public:
    CellInterface(PickerGrid *picker, int index)
        : AccessibleLeaf(picker), m_picker(picker), m_index(index)
    {
    }

    bool isValid() const override { return m_owner && m_index < m_picker->cellCount(); }
    QString text(QAccessible::Text t) const override
    {
        return t == QAccessible::Name && isValid() ? m_picker->cellName(m_index) : QString();
    }
    QRect rect() const override
    {
        if (!isValid())
            return {};
        return onScreen(m_owner, m_picker->cellRect(m_index));
    }
    QAccessible::Role role() const override { return QAccessible::RadioButton; }
    QAccessible::State state() const override
    {
        QAccessible::State state;
        state.invalid = !isValid();
        state.checkable = true;
        state.checked = isValid() && m_picker->chosenIndex() == m_index;
        return state;
    }
    QStringList actionNames() const override { return {pressAction()}; }
    void doAction(const QString &name) override
    {
        if (name == pressAction() && isValid())
            m_picker->choose(m_index);
    }

private:
    PickerGrid *m_picker;
    int m_index;
};

class PickerInterface : public QAccessibleWidget {
public:
    explicit PickerInterface(PickerGrid *picker)
        : QAccessibleWidget(picker, QAccessible::Grouping), m_picker(picker)
    {
    }
    ~PickerInterface() override
    {
        for (QAccessible::Id id : std::as_const(m_children))
            QAccessible::deleteAccessibleInterface(id);
    }
    int childCount() const override { return m_picker->cellCount(); }
    QAccessibleInterface *child(int index) const override
    {
        if (index < 0 || index >= m_picker->cellCount())
            return nullptr;
        if (const auto found = m_children.constFind(index); found != m_children.cend())
            return QAccessible::accessibleInterface(*found);
        auto *cell = new CellInterface(m_picker, index);
        m_children.insert(index, QAccessible::registerAccessibleInterface(cell));
        return cell;
    }
    int indexOfChild(const QAccessibleInterface *child) const override
    {
        for (auto it = m_children.cbegin(); it != m_children.cend(); ++it)
            if (QAccessible::accessibleInterface(it.value()) == child)
                return it.key();
        return -1;
    }
    QAccessibleInterface *childAt(int x, int y) const override
    {
        const QPoint local = widget()->mapFromGlobal(QPoint(x, y));
        for (int i = 0; i < m_picker->cellCount(); ++i)
            if (m_picker->cellRect(i).contains(local))
                return child(i);
        return nullptr;
    }

private:
    PickerGrid *m_picker;
    mutable QHash<int, QAccessible::Id> m_children;
};
} // namespace

QAccessibleInterface *PickerAccessible::factory(const QString &className, QObject *object)
{
    // Answered for the picker's own class, before Qt falls back to a plain widget's interface.
    auto *picker = qobject_cast<PickerGrid *>(object);
    if (picker && className == QLatin1String(object->metaObject()->className()))
        return new PickerInterface(picker);
    return nullptr;
}

void PickerAccessible::install()
{
    static const bool installed = [] {
        QAccessible::installFactory(&PickerAccessible::factory);
        return true;
    }();
    Q_UNUSED(installed);
}
