#pragma once

#include "model/RunEntry.h"

#include <QAbstractListModel>

// Runs of one shortcut, newest first, as read from the run history; drawn by RunRow::Delegate.
class RunHistoryModel : public QAbstractListModel {
    Q_OBJECT
public:
    using QAbstractListModel::QAbstractListModel;

    int rowCount(const QModelIndex &parent = {}) const override;
    QVariant data(const QModelIndex &index, int role = Qt::DisplayRole) const override;

    // Replaces the rows (a model reset: each read is a new list of at most a hundred).
    void setEntries(const QList<RunEntry> &entries);
    const QList<RunEntry> &entries() const { return m_entries; }
    const RunEntry *entryAt(const QModelIndex &index) const;
    // The row of the entry with this id, or -1.
    int rowOf(qint64 id) const;

private:
    QList<RunEntry> m_entries;
};
