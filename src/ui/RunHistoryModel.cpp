#include "ui/RunHistoryModel.h"

#include "ui/RunRow.h"
#include "ui/ShortcutRoles.h"

int RunHistoryModel::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : int(m_entries.size());
}

const RunEntry *RunHistoryModel::entryAt(const QModelIndex &index) const
{
    return index.isValid() && index.row() < m_entries.size() ? &m_entries.at(index.row()) : nullptr;
}

int RunHistoryModel::rowOf(qint64 id) const
{
    for (int row = 0; row < m_entries.size(); ++row)
        if (m_entries.at(row).id == id)
            return row;
    return -1;
}

void RunHistoryModel::setEntries(const QList<RunEntry> &entries)
{
    beginResetModel();
    m_entries = entries;
    endResetModel();
}

QVariant RunHistoryModel::data(const QModelIndex &index, int role) const
{
    const RunEntry *entry = entryAt(index);
    if (!entry)
        return {};
    switch (role) {
    case Qt::DisplayRole:
        return RunRow::summaryLine(*entry);
    case Qt::AccessibleTextRole:
        return RunRow::accessibleText(*entry);
    case RunHistoryRoles::outcome:
        return int(entry->outcome);
    case RunHistoryRoles::when:
        return RunRow::whenText(*entry);
    default:
        return {};
    }
}
