#include "ui/PickerAccessible.h"

#include "ui/AccessibleLeaf.h"
#include "ui/ColorSwatchPicker.h"
#include "ui/SymbolPicker.h"

#include <QAccessibleWidget>
#include <QHash>
#include <QPointer>
#include <functional>

namespace {
// What the accessibility layer needs to know of a picker's cells.
struct Cells {
    std::function<int()> count;
    std::function<QString(int)> name;
    std::function<QRect(int)> rect;
    std::function<bool(int)> checked;
    std::function<void(int)> choose;
};

Cells cellsOf(ColorSwatchPicker *picker)
{
    return {[picker] { return picker->swatchCount(); },
            [picker](int i) { return picker->swatchName(i); },
            [picker](int i) { return picker->swatchRect(i); },
            [picker](int i) { return picker->checkedIndex() == i; },
            [picker](int i) { picker->setHex(picker->swatchHex(i)); }};
}

Cells cellsOf(SymbolPicker *picker)
{
    return {[] { return int(SymbolPicker::symbols().size()); },
            [](int i) { return QString(SymbolPicker::symbols().value(i)).replace(u'.', u' '); },
            [picker](int i) { return picker->cellRect(i); },
            [picker](int i) { return picker->symbol() == SymbolPicker::symbols().value(i); },
            [picker](int i) { picker->setSymbol(SymbolPicker::symbols().value(i)); }};
}

class CellInterface : public AccessibleLeaf {
public:
    CellInterface(QWidget *picker, const Cells &cells, int index)
        : AccessibleLeaf(picker), m_cells(cells), m_index(index)
    {
    }

    bool isValid() const override { return m_owner && m_index < m_cells.count(); }
    QString text(QAccessible::Text t) const override
    {
        return t == QAccessible::Name && isValid() ? m_cells.name(m_index) : QString();
    }
    QRect rect() const override
    {
        if (!isValid())
            return {};
        return onScreen(m_owner, m_cells.rect(m_index));
    }
    QAccessible::Role role() const override { return QAccessible::RadioButton; }
    QAccessible::State state() const override
    {
        QAccessible::State state;
        state.invalid = !isValid();
        state.checkable = true;
        state.checked = isValid() && m_cells.checked(m_index);
        return state;
    }
    QStringList actionNames() const override { return {pressAction()}; }
    void doAction(const QString &name) override
    {
        if (name == pressAction() && isValid())
            m_cells.choose(m_index);
    }

private:
    Cells m_cells;
    int m_index;
};

class PickerInterface : public QAccessibleWidget {
public:
    PickerInterface(QWidget *picker, Cells cells)
        : QAccessibleWidget(picker, QAccessible::Grouping), m_cells(std::move(cells))
    {
    }
    ~PickerInterface() override
    {
        for (QAccessible::Id id : std::as_const(m_children))
            QAccessible::deleteAccessibleInterface(id);
    }
    int childCount() const override { return m_cells.count(); }
    QAccessibleInterface *child(int index) const override
    {
        if (index < 0 || index >= m_cells.count())
            return nullptr;
        if (const auto found = m_children.constFind(index); found != m_children.cend())
            return QAccessible::accessibleInterface(*found);
        auto *cell = new CellInterface(widget(), m_cells, index);
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
        for (int i = 0; i < m_cells.count(); ++i)
            if (m_cells.rect(i).contains(local))
                return child(i);
        return nullptr;
    }

private:
    Cells m_cells;
    mutable QHash<int, QAccessible::Id> m_children;
};
} // namespace

QAccessibleInterface *PickerAccessible::factory(const QString &className, QObject *object)
{
    if (className == QLatin1String("ColorSwatchPicker"))
        if (auto *picker = qobject_cast<ColorSwatchPicker *>(object))
            return new PickerInterface(picker, cellsOf(picker));
    if (className == QLatin1String("SymbolPicker"))
        if (auto *picker = qobject_cast<SymbolPicker *>(object))
            return new PickerInterface(picker, cellsOf(picker));
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
