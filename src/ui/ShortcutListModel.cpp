#include "ui/ShortcutListModel.h"

#include "model/ShortcutItem.h"
#include "ui/PlainText.h"
#include "ui/ShortcutDrag.h"
#include "ui/ShortcutRoles.h"

#include <algorithm>

namespace {
// Not QList's operator==: Qt 6.4 hands memcmp a null pointer when an empty list is compared.
bool sameItems(const QList<ShortcutItem *> &a, const QList<ShortcutItem *> &b)
{
    return std::equal(a.cbegin(), a.cend(), b.cbegin(), b.cend());
}
} // namespace

ShortcutListModel::ShortcutListModel(QObject *parent) : QAbstractListModel(parent) {}

int ShortcutListModel::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : int(m_items.size());
}

ShortcutItem *ShortcutListModel::itemAt(int row) const
{
    return row >= 0 && row < m_items.size() ? m_items.at(row) : nullptr;
}

int ShortcutListModel::rowOf(const ShortcutItem *item) const
{
    if (m_rowOfStale) {
        m_rowOf.clear();
        m_rowOf.reserve(m_items.size());
        for (int row = 0; row < m_items.size(); ++row)
            m_rowOf.insert(m_items.at(row), row);
        m_rowOfStale = false;
    }
    return m_rowOf.value(item, -1);
}

QModelIndex ShortcutListModel::indexOf(const ShortcutItem *item) const
{
    const int row = rowOf(item);
    return row < 0 ? QModelIndex() : index(row);
}

QVariant ShortcutListModel::data(const QModelIndex &index, int role) const
{
    if (!checkIndex(index, CheckIndexOption::IndexIsValid | CheckIndexOption::ParentIsInvalid))
        return {};
    const ShortcutItem *item = m_items.at(index.row());
    switch (role) {
    case Qt::DisplayRole:
    case Qt::AccessibleTextRole:
        return item->name();
    case Qt::ToolTipRole:
        return PlainText::markupSafe(item->name());
    case ShortcutRoles::item:
        return QVariant::fromValue(static_cast<void *>(const_cast<ShortcutItem *>(item)));
    case ShortcutRoles::identifier:
        return item->identifier();
    case ShortcutRoles::isFavorite:
        return item->isFavorite();
    case ShortcutRoles::isMissing:
        return item->isMissing();
    case ShortcutRoles::isRunning:
        return m_running.contains(item->identifier());
    case ShortcutRoles::revision:
        return revision(item);
    case ShortcutRoles::lastRunFailed:
        return item->lastRunOutcome() == RunOutcome::failed;
    default:
        return {};
    }
}

QHash<int, QByteArray> ShortcutListModel::roleNames() const
{
    QHash<int, QByteArray> names = QAbstractListModel::roleNames();
    names.insert(ShortcutRoles::item, "item");
    names.insert(ShortcutRoles::identifier, "identifier");
    names.insert(ShortcutRoles::isFavorite, "isFavorite");
    names.insert(ShortcutRoles::isMissing, "isMissing");
    names.insert(ShortcutRoles::isRunning, "isRunning");
    names.insert(ShortcutRoles::revision, "revision");
    names.insert(ShortcutRoles::lastRunFailed, "lastRunFailed");
    return names;
}

Qt::ItemFlags ShortcutListModel::flags(const QModelIndex &index) const
{
    if (!index.isValid())
        return Qt::NoItemFlags;
    return Qt::ItemIsEnabled | Qt::ItemIsSelectable | Qt::ItemIsDragEnabled |
           Qt::ItemNeverHasChildren;
}

QStringList ShortcutListModel::mimeTypes() const
{
    return {QString::fromLatin1(ShortcutDrag::mimeType), QStringLiteral("text/plain")};
}

QMimeData *ShortcutListModel::mimeData(const QModelIndexList &indexes) const
{
    QStringList identifiers;
    for (const QModelIndex &index : indexes) {
        if (const ShortcutItem *item = itemAt(index))
            identifiers.append(item->identifier());
    }
    return identifiers.isEmpty() ? nullptr : ShortcutDrag::mimeData(identifiers);
}

void ShortcutListModel::rebuildRowIndex()
{
    // Built when next asked for: a search's keystroke may never need it.
    m_rowOfStale = true;
}

void ShortcutListModel::reset(const QList<ShortcutItem *> &items)
{
    beginResetModel();
    m_items = items;
    rebuildRowIndex();
    endResetModel();
}

void ShortcutListModel::update(const QList<ShortcutItem *> &items)
{
    if (sameItems(items, m_items))
        return;
    const QSet<const ShortcutItem *> wanted(items.cbegin(), items.cend());

    // A change in many places (the first letters of a search in a large library) is one new
    // layout: row by row, each removal would move the rows after it.
    qsizetype removalRuns = 0;
    for (qsizetype row = 0; row < m_items.size(); ++row) {
        if (!wanted.contains(m_items.at(row)) && (row == 0 || wanted.contains(m_items.at(row - 1))))
            ++removalRuns;
    }
    if (removalRuns > maximumRowRuns) {
        relayout(items, QAbstractItemModel::NoLayoutChangeHint);
        return;
    }

    // Removals, last run first so earlier rows keep their numbers.
    for (qsizetype last = m_items.size() - 1; last >= 0;) {
        if (wanted.contains(m_items.at(last))) {
            --last;
            continue;
        }
        qsizetype first = last;
        while (first > 0 && !wanted.contains(m_items.at(first - 1)))
            --first;
        beginRemoveRows({}, int(first), int(last));
        m_items.remove(first, last - first + 1);
        endRemoveRows();
        last = first - 1;
    }
    const QSet<const ShortcutItem *> kept(m_items.cbegin(), m_items.cend());

    // One reordering of the rows both lists share, with persistent indexes following their item.
    QList<ShortcutItem *> keptInNewOrder;
    keptInNewOrder.reserve(m_items.size());
    for (ShortcutItem *item : items) {
        if (kept.contains(item))
            keptInNewOrder.append(item);
    }
    if (!sameItems(keptInNewOrder, m_items))
        relayout(keptInNewOrder, QAbstractItemModel::VerticalSortHint);

    // Insertions: m_items is now the new list without the new items, in the new order.
    for (qsizetype first = 0; first < items.size();) {
        if (kept.contains(items.at(first))) {
            ++first;
            continue;
        }
        qsizetype last = first;
        while (last + 1 < items.size() && !kept.contains(items.at(last + 1)))
            ++last;
        beginInsertRows({}, int(first), int(last));
        m_items.insert(first, last - first + 1, nullptr);
        std::copy(items.cbegin() + first, items.cbegin() + last + 1, m_items.begin() + first);
        endInsertRows();
        first = last + 1;
    }
    rebuildRowIndex();
}

void ShortcutListModel::relayout(const QList<ShortcutItem *> &items,
                                 QAbstractItemModel::LayoutChangeHint hint)
{
    emit layoutAboutToBeChanged({}, hint);
    const QModelIndexList before = persistentIndexList();
    QList<const ShortcutItem *> itemsBefore;
    itemsBefore.reserve(before.size());
    for (const QModelIndex &index : before)
        itemsBefore.append(m_items.value(index.row()));
    m_items = items;
    rebuildRowIndex();
    QModelIndexList after;
    after.reserve(before.size());
    // A few held rows (the selection, the hovered tile) are looked up without the index.
    const bool few = itemsBefore.size() <= 8;
    for (const ShortcutItem *item : std::as_const(itemsBefore)) {
        const int row = few ? int(m_items.indexOf(item)) : rowOf(item);
        after.append(row < 0 ? QModelIndex() : index(row));
    }
    changePersistentIndexList(before, after);
    emit layoutChanged({}, hint);
}

void ShortcutListModel::recordsChanged(const QSet<ShortcutItem *> &changed)
{
    QList<int> rows;
    for (ShortcutItem *item : changed) {
        m_revision.insert(item, m_nextRevision++);
        const int row = rowOf(item);
        if (row >= 0)
            rows.append(row);
    }
    emitRowsChanged(std::move(rows));
}

bool ShortcutListModel::listsRunning() const
{
    if (m_running.isEmpty())
        return false;
    return std::any_of(m_items.cbegin(), m_items.cend(), [this](const ShortcutItem *item) {
        return m_running.contains(item->identifier());
    });
}

void ShortcutListModel::setRunningIdentifiers(const QSet<QString> &identifiers)
{
    if (identifiers == m_running)
        return;
    QSet<QString> flipped = identifiers;
    flipped.unite(m_running);
    flipped.subtract(QSet<QString>(identifiers).intersect(m_running));
    m_running = identifiers;
    QList<int> rows;
    for (int row = 0; row < m_items.size(); ++row) {
        if (flipped.contains(m_items.at(row)->identifier()))
            rows.append(row);
    }
    emitRowsChanged(std::move(rows));
}

void ShortcutListModel::emitRowsChanged(QList<int> rows)
{
    if (rows.isEmpty())
        return;
    std::sort(rows.begin(), rows.end());
    // A burst (a sync touching thousands of records) is one signal over the span.
    if (rows.size() > 64) {
        emit dataChanged(index(rows.first()), index(rows.last()));
        return;
    }
    int first = rows.first();
    int previous = first;
    for (qsizetype i = 1; i <= rows.size(); ++i) {
        if (i < rows.size() && rows.at(i) == previous + 1) {
            previous = rows.at(i);
            continue;
        }
        emit dataChanged(index(first), index(previous));
        if (i < rows.size())
            first = previous = rows.at(i);
    }
}
